#include "Show.h"

#include <ZelGL/ZelGL.h>
#include <ZelKit/HeadlessContext.h>
#include <ZelKit/MessageLog.h>
#include <ZelKit/RenderTarget.h>

#include <QtCore/QCommandLineParser>
#include <QtCore/QElapsedTimer>
#include <QtCore/QFileInfo>
#include <QtCore/QtMath>
#include <QtGui/QGuiApplication>
#include <QtGui/QImage>
#include <QtGui/QImageWriter>
#include <QtGui/QKeyEvent>
#include <QtGui/QOpenGLWindow>

#include <algorithm>
#include <cmath>
#include <cstdlib>

using namespace Orvane::Zel;
using namespace Orvane::ZelKit;

namespace {

using MakeShow = std::function<std::unique_ptr<Show>()>;

constexpr float kPictureSeconds = 1.5f; ///< the time that a picture shows
constexpr int kClickPixels = 3;         ///< a longer movement is a drag

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
        if (!initializeGLFunctions()) {
            QGuiApplication::exit(1);
            return;
        }
        initializeGLDebugging();
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

    void keyPressEvent(QKeyEvent *event) override
    {
        if (event->key() == Qt::Key_Escape) {
            close();
        }
    }

    bool event(QEvent *event) override
    {
        if (_show) {
            _show->move(event, size());
        }
        return QOpenGLWindow::event(event);
    }

    void mousePressEvent(QMouseEvent *event) override { _pressed = event->pos(); }

    void mouseReleaseEvent(QMouseEvent *event) override
    {
        if (_show && (event->pos() - _pressed).manhattanLength() <= kClickPixels) {
            makeCurrent();
            _show->click(event->pos(), size());
        }
    }

private:
    MakeShow _make;
    std::unique_ptr<Show> _show;
    QElapsedTimer _clock;
    QPoint _pressed;
};

/// Draws at twice the size, to smooth the edges.
QImage takePicture(Show &show)
{
    const std::unique_ptr<RenderTarget> target = RenderTarget::create(2 * windowSize(), GL_RGBA8);
    if (target == nullptr) {
        return QImage();
    }
    show.prepare(aspectOf(target->size()), kPictureSeconds);
    {
        const AutoBinder bound(target->framebuffer());
        drawInto(show, target->size(), kPictureSeconds);
    }
    return target->image().scaled(windowSize(), Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
}

bool isEmpty(const QImage &image)
{
    const QImage scaled = image.convertToFormat(QImage::Format_RGB32);
    const auto *pixels = reinterpret_cast<const QRgb *>(scaled.constBits());
    const int count = scaled.width() * scaled.height();
    return std::all_of(pixels, pixels + count, [pixels](QRgb pixel) { return pixel == *pixels; });
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
    return savePicture(image, file, log);
}

} // namespace

Show::~Show()
{
    InstanceDataRegistry::Instance()->clear();
}

void Show::prepare(float, float) {}

void Show::click(const QPoint &, const QSize &) {}

void Show::move(const QEvent *event, const QSize &viewport)
{
    _isMoved = _mouse.handle(event, viewport) || _isMoved;
}

QVector3D Show::movedEye(const QVector3D &eye, const QVector3D &target) const
{
    if (!_isMoved) {
        return eye;
    }
    const QVector3D offset = eye - target;
    const float distance = offset.length();
    const float azimuth = std::atan2(offset.x(), offset.z()) + qDegreesToRadians(_mouse.azimuth());
    const float elevation = std::asin(offset.y() / distance) + qDegreesToRadians(_mouse.elevation());
    const float rise = std::clamp(elevation, -1.5f, 1.5f);
    const QVector3D direction(std::sin(azimuth) * std::cos(rise), std::sin(rise),
                              std::cos(azimuth) * std::cos(rise));
    // The camera of the mouse began at a distance of 1.
    return target + direction * distance * (_mouse.eye() - _mouse.target()).length();
}

QMatrix4x4 Show::viewProjection(float fieldOfView, float aspect, const QVector3D &eye,
                                const QVector3D &target)
{
    QMatrix4x4 matrix;
    matrix.perspective(fieldOfView, aspect, 1.0f, 100.0f);
    matrix.lookAt(eye, target, {0.0f, 1.0f, 0.0f});
    return matrix;
}

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
    window.setFormat(windowFormat());
    window.setTitle(QFileInfo(QCoreApplication::applicationFilePath()).baseName());
    window.resize(windowSize());
    window.show();
    return QGuiApplication::exec();
}

QString readPictureFile(int argc, char **argv)
{
    const QCoreApplication application(argc, argv); // for the arguments; needs no display
    QCommandLineParser parser;
    parser.setApplicationDescription("Opens a window, unless a picture is asked for.");
    parser.addHelpOption();
    parser.addOption({"offscreen", "Write one picture instead of opening a window.", "FILE"});
    parser.process(application);
    const QString file = parser.value("offscreen");
    const bool isNamed = !parser.isSet("offscreen") || !file.isEmpty();
    if (!isNamed || !parser.positionalArguments().isEmpty()) {
        qCritical(isNamed ? "Only --offscreen FILE is allowed (see --help)"
                          : "--offscreen takes the name of a file (see --help)");
        std::exit(1);
    }
    return file;
}

QSurfaceFormat windowFormat()
{
    QSurfaceFormat format;
    format.setProfile(QSurfaceFormat::CoreProfile);
    format.setVersion(3, 2); // drivers return the newest compatible version
    format.setOption(QSurfaceFormat::DebugContext);
    format.setDepthBufferSize(24);
    format.setSamples(8);
    return format;
}

QSize windowSize()
{
    return {960, 540};
}

int savePicture(const QImage &image, const QString &file, const MessageLog &log)
{
    if (isEmpty(image)) {
        qCritical("The picture is empty");
        return 1;
    }
    QImageWriter writer(file); // the suffix of the name decides on the format
    if (!writer.write(image)) {
        qCritical("'%s' cannot be written: %s", qPrintable(file), qPrintable(writer.errorString()));
        return 1;
    }
    return log.count(QtWarningMsg) == 0 ? 0 : 1;
}
