#pragma once

#include "Failure.h"

#include <ZelGL/GLContextTracker.h>

namespace Orvane { namespace ZelKit {

/// The context in which an object was made: the one that is current when this is constructed.
class OwnContext
{
public:
    /// False, with a message that names \a what, if another context or none is current. Makes no GL call, so it is for functions
    /// that are called for each draw too. libZelGL cannot distinguish contexts of EGL from each other or from none.
    bool isCurrent(const char *what, QString *error = nullptr) const
    {
        if (_identity == Zel::GLContextTracker::currentContext()) {
            return true;
        }
        fail(error, QStringLiteral("%1: another context is current, or none; make the one current in which "
                                   "the object was created, or create it again")
                        .arg(QLatin1String(what)));
        return false;
    }

private:
    const void *_identity = Zel::GLContextTracker::currentContext();
};

}} // namespace Orvane::ZelKit
