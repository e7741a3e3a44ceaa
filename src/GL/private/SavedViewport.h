#pragma once

/// \file
/// Private to the library. Used by whatever renders at a size of its own: passes, bakes, conversions.

#include "../GLUtilities.h"

namespace Orvane { namespace Zel {

/// Restores the viewport at the end of its scope.
///
/// Context: the same context must be current at both ends of the scope.
class SavedViewport
{
    Q_DISABLE_COPY(SavedViewport)

public:
    SavedViewport() { glGetIntegerv(GL_VIEWPORT, _viewport); }

    ~SavedViewport() { glViewport(_viewport[0], _viewport[1], _viewport[2], _viewport[3]); }

private:
    GLint _viewport[4] = {0, 0, 0, 0};
};

}} // namespace Orvane::Zel
