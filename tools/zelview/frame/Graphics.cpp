#include "frame/Graphics.h"

#include "frame/Console.h"
#include "frame/Options.h"

#include <ZelGL/ZelGL.h>

using namespace Orvane::Zel;

namespace zelview {

namespace {

void setDefault(const char *variable, const char *value)
{
    if (!qEnvironmentVariableIsSet(variable)) {
        qputenv(variable, value);
    }
}

QString glString(GLenum name)
{
    return QString::fromLatin1(reinterpret_cast<const char *>(glGetString(name)));
}

} // namespace

void choosePlatform()
{
    setDefault("QT_QPA_PLATFORM", "xcb");
    setDefault("QT_XCB_GL_INTEGRATION", "xcb_glx");
}

QSurfaceFormat surfaceFormat(const Options &options)
{
    QSurfaceFormat format;
    format.setProfile(QSurfaceFormat::CoreProfile);
    format.setVersion(3, 2); // drivers return the newest compatible version
    if (options.verbose) {
        format.setOption(QSurfaceFormat::DebugContext);
    }
    return format;
}

Failure startLibrary(const Options &options)
{
    const QSurfaceFormat format = QOpenGLContext::currentContext()->format();
    if (!initializeGLFunctions() || !openGlVersionSupported(3, 2)
        || format.profile() != QSurfaceFormat::CoreProfile) {
        return Problem{ExitCode::eGL, QStringLiteral("the driver has no OpenGL 3.2 core profile")};
    }
    Console::setGraphicsStarted();
    if (options.verbose) {
        initializeGLDebugging();
    }
    if (options.drawIDPath == DrawIDPath::eBaseInstance) {
        if (!DrawBuffers::isBaseInstanceDrawingSupported()) {
            return Problem{ExitCode::eGL, QStringLiteral("the driver cannot pass draw IDs by base instance")};
        }
        DrawBuffers::useBaseInstanceDrawing(true);
    }
    return {};
}

QString describeDriver()
{
    return QStringLiteral("%1, OpenGL %2").arg(glString(GL_RENDERER), glString(GL_VERSION));
}

Expected<std::unique_ptr<OffscreenContext>> OffscreenContext::create(const Options &options)
{
    std::unique_ptr<OffscreenContext> offscreen(new OffscreenContext);
    offscreen->_context.setFormat(surfaceFormat(options));
    if (!offscreen->_context.create()) {
        return Problem{ExitCode::eGL, QStringLiteral("the display provides no OpenGL context")};
    }
    offscreen->_surface.setFormat(offscreen->_context.format());
    offscreen->_surface.create();
    if (!offscreen->_context.makeCurrent(&offscreen->_surface)) {
        return Problem{ExitCode::eGL, QStringLiteral("the OpenGL context cannot be used")};
    }
    if (const Failure failure = startLibrary(options)) {
        return *failure;
    }
    return offscreen;
}

OffscreenContext::~OffscreenContext()
{
    if (QOpenGLContext::currentContext() == &_context) {
        OpenGLDeviceContext::resetContext();
        _context.doneCurrent();
    }
}

} // namespace zelview
