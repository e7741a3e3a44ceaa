#include "HeadlessContext.h"

#include "private/ContextBackend.h"
#include "private/Failure.h"

#include <ZelGL/GLUtilities.h>
#include <ZelGL/OpenGLDeviceContext.h>

#include <QtGui/QSurfaceFormat>

using namespace Orvane::Zel;

namespace Orvane { namespace ZelKit {

namespace {

void setDefault(const char *variable, const char *value)
{
    if (qEnvironmentVariableIsEmpty(variable)) {
        qputenv(variable, value);
    }
}

QSurfaceFormat windowFormat(bool isDebug)
{
    QSurfaceFormat format;
    format.setVersion(3, 2); // drivers return the newest compatible version
    format.setProfile(QSurfaceFormat::CoreProfile);
    format.setDepthBufferSize(24);
    format.setStencilBufferSize(8);
    format.setOption(QSurfaceFormat::DebugContext, isDebug);
    return format;
}

int integerOf(const ContextBackend &context, GLenum name)
{
    GLint value = 0;
    if (const PFNGLGETINTEGERVPROC query = context.integerQuery()) {
        query(name, &value);
    }
    return value;
}

/// Queries GL itself: Qt reports the requested profile even if its platform ignores it.
bool hasRequested(const ContextBackend &context, const HeadlessContext::Options &options)
{
    const int major = integerOf(context, GL_MAJOR_VERSION);
    const int minor = integerOf(context, GL_MINOR_VERSION);
    const int profile = options.profile == HeadlessContext::eCore ? GL_CONTEXT_CORE_PROFILE_BIT
                                                                  : GL_CONTEXT_COMPATIBILITY_PROFILE_BIT;
    return (major > options.majorVersion || (major == options.majorVersion && minor >= options.minorVersion))
           && (integerOf(context, GL_CONTEXT_PROFILE_MASK) & profile) != 0;
}

} // namespace

QString ContextBackend::describeMissing(const Options &options)
{
    return QStringLiteral("the driver has no OpenGL %1.%2 %3 profile")
        .arg(options.majorVersion)
        .arg(options.minorVersion)
        .arg(options.profile == HeadlessContext::eCore ? QStringLiteral("core")
                                                       : QStringLiteral("compatibility"));
}

void ContextBackend::choosePlatform(HeadlessContext::Purpose purpose)
{
    const bool hasDisplay = !qEnvironmentVariableIsEmpty("DISPLAY");
    setDefault("QT_QPA_PLATFORM",
               purpose == HeadlessContext::eForWindows || hasDisplay ? "xcb" : "offscreen");
    setDefault("QT_XCB_GL_INTEGRATION", "xcb_glx"); // the library looks up GL entry points by GLX
}

void HeadlessContext::choosePlatform(Purpose purpose, bool isDebug)
{
    ContextBackend::choosePlatform(purpose);
    if (QSurfaceFormat::defaultFormat() == QSurfaceFormat()) {
        QSurfaceFormat::setDefaultFormat(windowFormat(isDebug));
    }
}

HeadlessContext::HeadlessContext(std::unique_ptr<ContextBackend> backend, bool hasStartedLibrary)
    : _backend(std::move(backend))
    , _hasStartedLibrary(hasStartedLibrary)
{
}

HeadlessContext::~HeadlessContext()
{
    if (_hasStartedLibrary && isCurrent()) {
        OpenGLDeviceContext::resetContext();
    }
}

std::unique_ptr<HeadlessContext> HeadlessContext::create(const Options &options, QString *error)
{
    const bool usesGlx =
        options.platform == eGLX || (options.platform == eAnyPlatform && ContextBackend::canUseGlx());
    std::unique_ptr<ContextBackend> backend =
        usesGlx ? ContextBackend::createGlx(options, error) : ContextBackend::createEgl(options, error);
    if (backend == nullptr) {
        return nullptr;
    }
    if (!backend->makeCurrent()) {
        fail(error, QStringLiteral("the OpenGL context cannot be made current; if another one is current in "
                                   "this thread, call its doneCurrent()"));
        return nullptr;
    }
    if (!hasRequested(*backend, options)) {
        fail(error, ContextBackend::describeMissing(options));
        return nullptr;
    }
    if (options.startsLibrary && !initializeGLFunctions()) {
        fail(error, QStringLiteral("the driver lacks functions that ZelGL needs"));
        return nullptr;
    }
    return std::unique_ptr<HeadlessContext>(new HeadlessContext(std::move(backend), options.startsLibrary));
}

bool HeadlessContext::makeCurrent()
{
    return _backend->makeCurrent();
}

void HeadlessContext::doneCurrent()
{
    if (isCurrent()) {
        _backend->doneCurrent();
    }
}

bool HeadlessContext::isCurrent() const
{
    return _backend->isCurrent();
}

HeadlessContext::Platform HeadlessContext::platform() const
{
    return qtContext() != nullptr ? eGLX : eEGL;
}

QOpenGLContext *HeadlessContext::qtContext() const
{
    return _backend->qtContext();
}

}} // namespace Orvane::ZelKit
