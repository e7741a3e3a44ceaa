#include "AutoDisabler.h"

#include "private/ScopedCapability.h"

namespace Orvane { namespace Zel {

AutoDisabler::AutoDisabler(GLenum capability)
    : _wasEnabled(ScopedCapability::exchange(capability, false))
    , _capability(capability)
{
}

AutoDisabler::~AutoDisabler()
{
    // Without a comparison: the host may have changed the capability, and each end must make one call; see BindScopesTest.
    ScopedCapability::set(_capability, _wasEnabled);
}

}} // namespace Orvane::Zel
