#include "AutoEnabler.h"

#include "private/ScopedCapability.h"

namespace Orvane { namespace Zel {

AutoEnabler::AutoEnabler(GLenum capability)
    : _wasEnabled(ScopedCapability::exchange(capability, true))
    , _capability(capability)
{
}

AutoEnabler::~AutoEnabler()
{
    // Without a comparison: the host may have changed the capability, and each end must make one call; see BindScopesTest.
    ScopedCapability::set(_capability, _wasEnabled);
}

}} // namespace Orvane::Zel
