#include "Show.h"

#include <ZelGL/ZelGL.h>
#include <ZelKit/HeadlessContext.h>
#include <ZelKit/MessageLog.h>

#include <QtCore/QCommandLineParser>
#include <QtCore/QElapsedTimer>
#include <QtCore/QFileInfo>
#include <QtGui/QGuiApplication>
#include <QtGui/QImage>
#include <QtGui/QOpenGLWindow>

using namespace Orvane::Zel;
using Orvane::ZelKit::HeadlessContext;
using Orvane::ZelKit::MessageLog;

namespace {

using MakeShow = std::function<std::unique_ptr<Show>()>;

constexpr float kPictureSeconds = 1.5f; ///< the time that a picture shows
const QSize kSize(960, 540);

QSurfaceFormat format()
{
    QSurfaceFormat format;
    format.setProfile(QSurfaceFormat::CoreProfile);
    format.setVersion(3, 2); // drivers return the newest compatible version
    format.setOption(QSurfaceFormat::DebugContext);
    format.setDepthBufferSize(24);
    format.setSamples(8);
    return format;
}

bool startLibrary()
{
    if (!initializeGLFunctions()) {
        return false;
    }
    initializeGLDebugging();
    return true;
}

float aspectOf(const QSize &size)
{
    return float(size.width()) / float(size.height());
}

void drawInto(Show &show, const QSize &size, float seconds)
{
    glViewport(0, 0, size.width(), size.height());
    glClearColor(0.075f, 0.086f, 0.105f, 1.0f);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    show.draw(aspectOf(size), seconds);
}

class ShowWindow : public QOpenGLWindow
{
public:
    explicit ShowWindow(const MakeShow &make)
        : _make(make)
    {
    }

    ~ShowWindow() override
    {
        makeCurrent();
        _show.reset();
        OpenGLDeviceContext::resetContext();
        doneCurrent();
    }

protected:
    void initializeGL() override
    {
        if (!startLibrary()) {
            QGuiApplication::exit(1);
            return;
        }
        _show = _make();
        _clock.start();
    }

    void paintGL() override
    {
        if (!_show) {
            return;
        }
        const float seconds = float(_clock.elapsed()) / 1000.0f;
        _show->prepare(aspectOf(size()), seconds);
        glBindFramebuffer(GL_FRAMEBUFFER, defaultFramebufferObject());
        drawInto(*_show, size() * devicePixelRatio(), seconds);
        update();
    }

private:
    MakeShow _make;
    std::unique_ptr<Show> _show;
    QElapsedTimer _clock;
};

/// Draws at twice the size, to smooth the edges.
QImage takePicture(Show &show)
{
    const QSize size = 2 * kSize;
    Texture color(nullptr);
    Texture depth(nullptr);
    color.create2D(GL_TEXTURE_2D, GL_RGBA8, size.width(), size.height());
    depth.create2D(GL_TEXTURE_2D, GL_DEPTH_COMPONENT32F, size.width(), size.height());
    FramebufferObject target(nullptr);

    show.prepare(aspectOf(size), kPictureSeconds);
    const AutoBinder bound(&target);
    target.attach(&color, GL_COLOR_ATTACHMENT0, 0);
    target.attach(&depth, GL_DEPTH_ATTACHMENT, 0);
    target.setDrawBuffers();
    drawInto(show, size, kPictureSeconds);

    QImage image(size, QImage::Format_RGBX8888);
    glPixelStorei(GL_PACK_ALIGNMENT, 4);
    glReadPixels(0, 0, size.width(), size.height(), GL_RGBA, GL_UNSIGNED_BYTE, image.bits());
    target.detachAll();
    return image.mirrored().scaled(kSize, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
}

bool isEmpty(const QImage &image)
{
    const QRgb first = image.pixel(0, 0);
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if (image.pixel(x, y) != first) {
                return false;
            }
        }
    }
    return true;
}

int writePicture(const MakeShow &make, const QString &file, const MessageLog &log)
{
    HeadlessContext::Options options;
    options.isDebug = true;
    const std::unique_ptr<HeadlessContext> context = HeadlessContext::create(options);
    if (context == nullptr) {
        return 1;
    }
    initializeGLDebugging();
    std::unique_ptr<Show> show = make();
    const QImage image = takePicture(*show);
    show.reset();
    if (isEmpty(image)) {
        qCritical("The picture is empty");
        return 1;
    }
    if (!image.save(file)) {
        qCritical("'%s' cannot be written", qPrintable(file));
        return 1;
    }
    return log.count(QtWarningMsg) == 0 ? 0 : 1;
}

/// Needs an application object for the arguments, but no display.
QString readPictureFile(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    QCommandLineParser parser;
    parser.setApplicationDescription("Opens a window, unless a picture is asked for.");
    parser.addHelpOption();
    parser.addOption({"offscreen", "Write one picture instead of opening a window.", "FILE"});
    parser.process(application);
    if (!parser.positionalArguments().isEmpty()) {
        parser.showHelp(1);
    }
    return parser.value("offscreen");
}

} // namespace

void Show::prepare(float, float) {}

int present(int argc, char **argv, const MakeShow &make)
{
    const QString file = readPictureFile(argc, argv);
    HeadlessContext::choosePlatform(file.isEmpty() ? HeadlessContext::eForWindows
                                                   : HeadlessContext::eForPictures);
    QGuiApplication application(argc, argv);
    const MessageLog log; // from here on: Qt itself may warn about the machine
    if (!file.isEmpty()) {
        return writePicture(make, file, log);
    }

    ShowWindow window(make);
    window.setFormat(format());
    window.setTitle(QFileInfo(QCoreApplication::applicationFilePath()).baseName());
    window.resize(kSize);
    window.show();
    return QGuiApplication::exec();
}
