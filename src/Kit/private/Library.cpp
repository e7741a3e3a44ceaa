#include "Library.h"

#include "Failure.h"

#include <ZelGL/GLLoader.h>
#include <ZelGL/GLUtilities.h>

namespace Orvane { namespace ZelKit {

namespace {

constexpr GLenum kContextLost = 0x0507; ///< GL_CONTEXT_LOST of OpenGL 4.5

/// Whether a robust context was reset. Others do not notice it.
bool isReset()
{
    using GetStatus = GLenum(APIENTRY *)();
    if (!openGlVersionSupported(4, 5) && !hasGLExtension("GL_KHR_robustness")) {
        return false;
    }
    const auto getStatus = reinterpret_cast<GetStatus>(getGLProcAddress("glGetGraphicsResetStatus", true));
    return getStatus != nullptr && getStatus() != GL_NO_ERROR;
}

} // namespace

bool hasFunctions()
{
    return _ptrc_glGetString != nullptr && glGetString(GL_VERSION) != nullptr;
}

bool isContextLost(QString *error)
{
    if (_ptrc_glGetError == nullptr || !(hasFunctions() ? isReset() : glGetError() == kContextLost)) {
        return false;
    }
    fail(error, QStringLiteral("the OpenGL context is lost, for instance after a reset of the graphics card; "
                               "delete all objects of the context, and make another one"));
    return true;
}

bool isLibraryReady(QString *error)
{
    if (isContextLost(error)) {
        return false;
    }
    if (hasFunctions()) {
        return true;
    }
    fail(error,
         QStringLiteral("no OpenGL context is current, or initializeGLFunctions() has not been called"));
    return false;
}

}} // namespace Orvane::ZelKit
