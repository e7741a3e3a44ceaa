#pragma once

#include "GLLoader.h"

#include <QtCore/QtGlobal>

namespace Orvane { namespace Zel {

/// Has a GL capability Disabled for the length of a scope, and restores it.
///
/// \snippet frame.cpp AutoDisabler
///
/// Context: the same context must be current at both ends of the scope.
/// Source:  OpenGL, glIsEnabled, glEnable, glDisable; the end always makes one call.
class ZELGL_EXPORT AutoDisabler
{
    Q_DISABLE_COPY(AutoDisabler)

public:
    explicit AutoDisabler(GLenum capability);
    ~AutoDisabler();

private:
    bool _wasEnabled;
    GLenum _capability;
};

}} // namespace Orvane::Zel
