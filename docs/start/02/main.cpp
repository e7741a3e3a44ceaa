#include "Picture.h"

#include <QtGui/QOpenGLWindow>

int main(int argc, char **argv)
{
    return SceneView<QOpenGLWindow, Picture>::run(argc, argv, {640, 360});
}
