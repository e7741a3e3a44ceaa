#pragma once

#include "Failure.h"
#include "Library.h"

namespace Orvane { namespace ZelKit {

/// False, with a message, without a current context, or before the library has loaded its functions. Makes a GL call, so it is not
/// for functions that are called for each draw.
inline bool hasContext(const char *what, QString *error)
{
    if (isContextLost(error)) {
        return false;
    }
    if (hasFunctions()) {
        return true;
    }
    fail(error,
         QStringLiteral("%1: no OpenGL context is current, or initializeGLFunctions() has not been called")
             .arg(QLatin1String(what)));
    return false;
}

/// Whether the value of an option is in its range; otherwise a message names it.
inline bool isWithin(const char *what, const char *name, int value, int least, int most, QString *error)
{
    if (value >= least && value <= most) {
        return true;
    }
    fail(error, QStringLiteral("%1: '%2' must be from %3 to %4, not %5")
                    .arg(QLatin1String(what), QLatin1String(name))
                    .arg(least)
                    .arg(most)
                    .arg(value));
    return false;
}

}} // namespace Orvane::ZelKit
