#include "Library.h"

#include "Failure.h"

#include <ZelGL/GLLoader.h>

namespace Orvane { namespace ZelKit {

bool isLibraryReady(QString *error)
{
    if (_ptrc_glGetString != nullptr && glGetString(GL_VERSION) != nullptr) {
        return true;
    }
    fail(error,
         QStringLiteral("no OpenGL context is current, or initializeGLFunctions() has not been called"));
    return false;
}

}} // namespace Orvane::ZelKit
