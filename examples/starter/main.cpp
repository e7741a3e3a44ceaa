// A host to start from: a window whose view the mouse turns, until Escape. "--offscreen FILE" writes a picture instead.

#include "Scene.h"

#include <QtGui/QGuiApplication>
#include <QtGui/QMouseEvent>
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

    void mouseMoveEvent(QMouseEvent *event) override
    {
        if (_scene && event->buttons() != Qt::NoButton) {
            _scene->camera.orbit(QVector2D(event->pos() - _mouse) / float(height()));
            update();
        }
        _mouse = event->pos();
    }

    void keyPressEvent(QKeyEvent *event) override
    {
        if (event->key() == Qt::Key_Escape) {
            close();
        }
    }

private:
    std::unique_ptr<Scene> _scene;
    QPoint _mouse;
};

bool writePicture(const QString &file)
{
    const auto context = HeadlessContext::create();
    const auto target = context ? RenderTarget::create(kSize, GL_RGBA8) : nullptr;
    if (!target) {
        return false; // the reason is logged
    }
    {
        const AutoBinder bound(target->framebuffer());
        Scene().draw(kSize);
    }
    return target->image().save(file);
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
    QSurfaceFormat format;
    format.setVersion(3, 2);
    format.setProfile(QSurfaceFormat::CoreProfile);
    format.setDepthBufferSize(24);
    Window window;
    window.setFormat(format);
    window.resize(kSize);
    window.show();
    return QGuiApplication::exec();
}
