#pragma once

#include "../GLLoader.h"

namespace Orvane { namespace Zel {

/// What AutoEnabler and AutoDisabler have in common: the change at the start and the restoration at the end.
///
/// Context: the same one for both halves.
/// Errors:  none are checked.
/// Private to the library.
namespace ScopedCapability {

inline void set(GLenum capability, bool enabled)
{
    if (enabled) {
        glEnable(capability);
    } else {
        glDisable(capability);
    }
}

/// Returns whether the capability was enabled before.
inline bool exchange(GLenum capability, bool enabled)
{
    const bool wasEnabled = glIsEnabled(capability) != GL_FALSE;
    set(capability, enabled);
    return wasEnabled;
}

} // namespace ScopedCapability

}} // namespace Orvane::Zel
