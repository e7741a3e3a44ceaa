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

    bool event(QEvent *event) override
    {
        if (picture && picture->camera.handle(event, size())) {
            update();
        }
        return QOpenGLWindow::event(event);
    }

private:
    std::unique_ptr<Picture> picture;
};

bool writePicture(const QString &file)
{
    const auto context = HeadlessContext::create();
    return context && RenderTarget::picture(kSize, [] { Picture().draw(kSize); }).save(file);
}

int main(int argc, char **argv)
{
    const bool isOffscreen = argc == 3 && QString(argv[1]) == "--offscreen";
    HeadlessContext::choosePlatform(isOffscreen ? HeadlessContext::eForPictures
                                                : HeadlessContext::eForWindows);
    QGuiApplication application(argc, argv);
    const MessageLog log; // prints what the library reports
    if (isOffscreen) {
        return writePicture(argv[2]) ? 0 : 1;
    }
    Window window;
    window.resize(kSize);
    window.show();
    return QGuiApplication::exec();
}
