#include "Picture.h"

#include <QtGui/QGuiApplication>
#include <QtGui/QOpenGLWindow>

const QSize kSize(640, 360);

class Window : public QOpenGLWindow
{
public:
    ~Window() override { makeCurrent(); } // for the picture

protected:
    void initializeGL() override
    {
        if (initializeGLFunctions()) {
            picture = std::make_unique<Picture>();
        }
    }

    void paintGL() override
    {
        if (picture) {
            picture->draw(size() * devicePixelRatio());
        }
    }

private:
    std::unique_ptr<Picture> picture;
};

int writePicture(const QString &file)
{
    const auto context = HeadlessContext::create();
    const auto target = context ? RenderTarget::create(kSize, GL_RGBA8) : nullptr;
    if (target == nullptr) {
        return 1; // the reason is logged
    }
    {
        const AutoBinder bound(target->framebuffer());
        Picture().draw(kSize);
    }
    return target->image().save(file) ? 0 : 1;
}

int main(int argc, char **argv)
{
    const bool isOffscreen = argc == 3 && QString(argv[1]) == "--offscreen";
    HeadlessContext::choosePlatform(isOffscreen ? HeadlessContext::eForPictures
                                                : HeadlessContext::eForWindows);
    QSurfaceFormat format;
    format.setVersion(3, 2);
    format.setProfile(QSurfaceFormat::CoreProfile);
    format.setDepthBufferSize(24);
    QSurfaceFormat::setDefaultFormat(format);
    QGuiApplication application(argc, argv);
    const MessageLog log; // prints what the library reports
    if (isOffscreen) {
        return writePicture(argv[2]);
    }
    Window window;
    window.resize(kSize);
    window.show();
    return QGuiApplication::exec();
}
