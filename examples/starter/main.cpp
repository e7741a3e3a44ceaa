// A host to start from: a window whose view the mouse turns, until Escape. "--offscreen FILE" writes a picture instead.

#include "Scene.h"

#include <QtGui/QOpenGLWindow>

int main(int argc, char **argv)
{
    return SceneView<QOpenGLWindow, Scene>::run(argc, argv, {960, 540});
}
