#include "AutoEnabler.h"

namespace Orvane { namespace Zel {

AutoEnabler::AutoEnabler(GLenum capability)
    : _wasEnabled(glIsEnabled(capability) != GL_FALSE)
    , _capability(capability)
{
    glEnable(_capability);
}

AutoEnabler::~AutoEnabler()
{
    if (_wasEnabled) {
        glEnable(_capability);
    } else {
        glDisable(_capability);
    }
}

}} // namespace Orvane::Zel
