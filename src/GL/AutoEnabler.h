#pragma once

#include "GLLoader.h"

#include <QtCore/QtGlobal>

namespace Orvane { namespace Zel {

/// Has a GL capability Enabled for the length of a scope, and restores it.
///
/// \snippet frame.cpp AutoEnabler
///
/// Context: the same context must be current at both ends of the scope.
/// Source:  OpenGL, glIsEnabled, glEnable, glDisable; the end always makes one call.
class ZELGL_EXPORT AutoEnabler
{
    Q_DISABLE_COPY(AutoEnabler)

public:
    explicit AutoEnabler(GLenum capability);
    ~AutoEnabler();

private:
    bool _wasEnabled;
    GLenum _capability;
};

}} // namespace Orvane::Zel
