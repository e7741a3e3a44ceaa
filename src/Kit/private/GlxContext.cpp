#include "ContextBackend.h"

#include "Failure.h"

#include <QtGui/QGuiApplication>
#include <QtGui/QOffscreenSurface>
#include <QtGui/QOpenGLContext>

#include <X11/Xlib.h>

namespace Orvane { namespace ZelKit {

namespace {

/// Created for hosts without an application object.
std::weak_ptr<QGuiApplication> gApplication;

/// Qt ends the process if there is no display, so the display is opened before.
bool canOpenDisplay()
{
    Display *display = XOpenDisplay(nullptr);
    if (display != nullptr) {
        XCloseDisplay(display);
    }
    return display != nullptr;
}

bool usesX()
{
    return qobject_cast<QGuiApplication *>(QCoreApplication::instance()) != nullptr
           && QGuiApplication::platformName() == QLatin1String("xcb");
}

std::shared_ptr<QGuiApplication> makeApplication()
{
    static int argc = 1;
    static char name[] = "ZelKit";
    static char *argv[] = {name, nullptr};
    ContextBackend::choosePlatform(HeadlessContext::eForPictures);
    const auto application = std::make_shared<QGuiApplication>(argc, argv);
    gApplication = application;
    return application;
}

QSurfaceFormat formatOf(const ContextBackend::Options &options)
{
    QSurfaceFormat format;
    format.setRenderableType(QSurfaceFormat::OpenGL);
    format.setVersion(options.majorVersion, options.minorVersion);
    format.setProfile(options.profile == HeadlessContext::eCore ? QSurfaceFormat::CoreProfile
                                                                : QSurfaceFormat::CompatibilityProfile);
    format.setOption(QSurfaceFormat::DebugContext, options.isDebug);
    format.setOption(QSurfaceFormat::DeprecatedFunctions); // else Qt creates forward-compatible contexts
    return format;
}

class GlxContext : public ContextBackend
{
public:
    GlxContext()
        : _application(QCoreApplication::instance() != nullptr ? gApplication.lock() : makeApplication())
    {
    }

    ~GlxContext() override
    {
        if (isCurrent()) {
            doneCurrent();
        }
    }

    bool create(const Options &options)
    {
        _context.setFormat(formatOf(options));
        if (options.shared != nullptr) {
            _context.setShareContext(options.shared->qtContext());
        }
        if (!_context.create()) {
            return false;
        }
        _surface.setFormat(_context.format());
        _surface.create();
        return _surface.isValid();
    }

    bool makeCurrent() override { return _context.makeCurrent(&_surface); }
    void doneCurrent() override { _context.doneCurrent(); }
    bool isCurrent() const override { return QOpenGLContext::currentContext() == &_context; }
    QOpenGLContext *qtContext() override { return &_context; }
    PFNGLGETINTEGERVPROC integerQuery() const override
    {
        return reinterpret_cast<PFNGLGETINTEGERVPROC>(_context.getProcAddress("glGetIntegerv"));
    }

private:
    /// Null: the host has one. First, because the others need it at their construction.
    std::shared_ptr<QGuiApplication> _application;
    QOffscreenSurface _surface;
    QOpenGLContext _context;
};

} // namespace

bool ContextBackend::canUseGlx()
{
    return QCoreApplication::instance() != nullptr ? usesX() : canOpenDisplay();
}

std::unique_ptr<ContextBackend> ContextBackend::createGlx(const Options &options, QString *error)
{
    if (!canUseGlx()) {
        fail(
            error,
            QCoreApplication::instance() == nullptr
                ? QStringLiteral("GLX needs a display (is DISPLAY set and its server running?); EGL does not")
                : QStringLiteral("GLX needs a QGuiApplication on Qt's platform xcb; call "
                                 "HeadlessContext::choosePlatform() before the application object exists"));
        return nullptr;
    }
    if (options.shared != nullptr && options.shared->qtContext() == nullptr) {
        fail(error, QStringLiteral("a GLX context cannot share with an EGL context"));
        return nullptr;
    }
    auto context = std::make_unique<GlxContext>();
    if (!context->create(options)) {
        fail(error, QStringLiteral("the display provides no OpenGL context"));
        return nullptr;
    }
    return context;
}

}} // namespace Orvane::ZelKit
