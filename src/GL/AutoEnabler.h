#pragma once

#include "GLLoader.h"

#include <QtCore/QtGlobal>

namespace Orvane { namespace Zel {

/// Enables a GL capability during a scope, and then restores its state.
///
/// \snippet frame.cpp AutoEnabler
///
/// Context: the same context must be current at the start and the end of the scope.
/// Errors:  none are checked.
/// Source:  OpenGL glIsEnabled(), glEnable(), glDisable(). The destructor always calls
///          one of the last two, even if the state is the same.
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
