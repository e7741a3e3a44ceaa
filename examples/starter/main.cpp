// A host to start from: a window whose view the mouse turns, until Escape. "--offscreen FILE" writes a picture instead.

#include "Scene.h"

#include <QtGui/QGuiApplication>
#include <QtGui/QKeyEvent>
#include <QtGui/QOpenGLWindow>

namespace {

const QSize kSize(960, 540);

class Window : public QOpenGLWindow
{
public:
    ~Window() override { makeCurrent(); } // for the scene

protected:
    void initializeGL() override
    {
        if (initializeGLFunctions()) {
            _scene = std::make_unique<Scene>();
        }
    }

    void paintGL() override
    {
        if (_scene) {
            _scene->draw(size() * devicePixelRatio());
        }
    }

    bool event(QEvent *event) override
    {
        if (_scene && _scene->camera.handle(event, size())) {
            update();
        }
        return QOpenGLWindow::event(event);
    }

    void keyPressEvent(QKeyEvent *event) override
    {
        if (event->key() == Qt::Key_Escape) {
            close();
        }
    }

private:
    std::unique_ptr<Scene> _scene;
};

bool writePicture(const QString &file)
{
    const auto context = HeadlessContext::create(); // logs the reason if it fails
    return context && RenderTarget::picture(kSize, [] { Scene().draw(kSize); }).save(file);
}

} // namespace

int main(int argc, char **argv)
{
    const bool isOffscreen = argc == 3 && QString(argv[1]) == "--offscreen";
    HeadlessContext::choosePlatform(isOffscreen ? HeadlessContext::eForPictures
                                                : HeadlessContext::eForWindows);
    QGuiApplication application(argc, argv);
    const MessageLog log; // prints warnings
    if (isOffscreen) {
        return writePicture(argv[2]) && log.count(QtWarningMsg) == 0 ? 0 : 1;
    }
    Window window;
    window.resize(kSize);
    window.show();
    return QGuiApplication::exec();
}
