// A host to start from: a window whose view the mouse turns, until Escape. "--offscreen FILE" writes a picture instead.

#include "Scene.h"

#include <QtGui/QGuiApplication>
#include <QtGui/QOpenGLWindow>

int main(int argc, char **argv)
{
    using Window = SceneView<QOpenGLWindow, Scene>;
    const QSize size(960, 540);
    const bool isOffscreen = argc == 3 && QString(argv[1]) == "--offscreen";
    HeadlessContext::choosePlatform(isOffscreen ? HeadlessContext::eForPictures
                                                : HeadlessContext::eForWindows);
    QGuiApplication application(argc, argv);
    const MessageLog log; // prints warnings
    if (isOffscreen) {
        return Window::picture(size).save(argv[2]) && log.count(QtWarningMsg) == 0 ? 0 : 1;
    }
    Window window;
    window.resize(size);
    window.show();
    return QGuiApplication::exec();
}
