#include "AutoDisabler.h"

namespace Orvane { namespace Zel {

AutoDisabler::AutoDisabler(GLenum capability)
    : _wasEnabled(glIsEnabled(capability) != GL_FALSE)
    , _capability(capability)
{
    glDisable(_capability);
}

AutoDisabler::~AutoDisabler()
{
    if (_wasEnabled) {
        glEnable(_capability);
    } else {
        glDisable(_capability);
    }
}

}} // namespace Orvane::Zel
