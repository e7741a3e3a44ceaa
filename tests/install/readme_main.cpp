// Is appended to the host code of the README. The resulting program runs that code and checks the picture.

#include <QtGui/QGuiApplication>
#include <QtGui/QImage>
#include <QtGui/QOffscreenSurface>
#include <QtGui/QOpenGLContext>
#include <QtGui/QOpenGLFramebufferObject>

#include <cstdio>

int main(int argc, char **argv)
{
    QSurfaceFormat format;
    format.setVersion(3, 2);
    format.setProfile(QSurfaceFormat::CoreProfile);
    QSurfaceFormat::setDefaultFormat(format);
    const QGuiApplication application(argc, argv);
    QOffscreenSurface surface;
    surface.create();
    QOpenGLContext context;
    if (!context.create() || !context.makeCurrent(&surface) || !initializeGLFunctions()) {
        std::puts("there is no OpenGL context");
        return 1;
    }
    QOpenGLFramebufferObject target(64, 64);
    target.bind();
    OpenGLDeviceContext::current()->fullscreenQuad(); // libZelGL deletes it after main()
    glViewport(0, 0, 64, 64);
    const QColor color(255, 160, 0);
    const bool drawn = drawDisc(color);
    const QImage picture = target.toImage();
    const bool good = drawn && picture.pixelColor(32, 32) == color && picture.pixelColor(1, 1).value() == 0;
    if (!good) {
        picture.save("README-host.png");
        std::puts("the disc is missing; the picture is README-host.png");
    }
    return good ? 0 : 1;
}
