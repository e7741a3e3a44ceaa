#include "frame/Graphics.h"

#include "file/Console.h"
#include "frame/Options.h"

#include <ZelGL/ZelGL.h>

#include <QtGui/QOpenGLContext>

using namespace Orvane::Zel;
using Orvane::ZelKit::HeadlessContext;

namespace zeltools {

namespace {

QString glString(GLenum name)
{
    return QString::fromLatin1(reinterpret_cast<const char *>(glGetString(name)));
}

/// From now on the library's messages are shown, and those of the driver if the options ask for them.
void showMessages(const Options &options)
{
    Console::setGraphicsStarted();
    if (options.verbose) {
        initializeGLDebugging();
    }
}

} // namespace

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
    showMessages(options);
    return {};
}

QString describeDriver()
{
    return QStringLiteral("%1, OpenGL %2").arg(glString(GL_RENDERER), glString(GL_VERSION));
}

Expected<std::unique_ptr<HeadlessContext>> makeOffscreenContext(const Options &options)
{
    HeadlessContext::Options wanted;
    wanted.isDebug = options.verbose;
    QString error;
    std::unique_ptr<HeadlessContext> context = HeadlessContext::create(wanted, &error);
    if (context == nullptr) {
        return Problem{ExitCode::eGL, error};
    }
    showMessages(options);
    return context;
}

} // namespace zeltools
