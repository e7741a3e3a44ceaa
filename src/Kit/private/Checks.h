#pragma once

#include "Failure.h"

#include <ZelGL/GLContextTracker.h>

namespace Orvane { namespace ZelKit {

/// False, with a message, without a current context: the GL functions are not loaded then.
inline bool hasContext(const char *what, QString *error)
{
    if (Zel::GLContextTracker::currentContext() != nullptr) {
        return true;
    }
    fail(error,
         QStringLiteral("%1: no OpenGL context is current; make one current first").arg(QLatin1String(what)));
    return false;
}

}} // namespace Orvane::ZelKit
