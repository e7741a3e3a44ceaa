#include "Picture.h"

#include <QtGui/QGuiApplication>
#include <QtGui/QOpenGLWindow>

int main(int argc, char **argv)
{
    using Window = SceneView<QOpenGLWindow, Picture>;
    const QSize size(640, 360);
    const bool isOffscreen = argc == 3 && QString(argv[1]) == "--offscreen";
    HeadlessContext::choosePlatform(isOffscreen ? HeadlessContext::eForPictures
                                                : HeadlessContext::eForWindows);
    QGuiApplication application(argc, argv);
    const MessageLog log; // prints warnings
    if (isOffscreen) {
        if (!Window::picture(size).save(argv[2])) {
            qWarning("Cannot write %s", argv[2]);
        }
        return log.count(QtWarningMsg) == 0 ? 0 : 1;
    }
    Window window;
    window.resize(size);
    window.show();
    return QGuiApplication::exec();
}
