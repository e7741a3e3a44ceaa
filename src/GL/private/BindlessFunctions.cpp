#include "BindlessFunctions.h"

#include "../GLUtilities.h"
#include "../Texture.h"

namespace Orvane { namespace Zel {

namespace {

template <typename Function>
void find(Function &function, BindlessFunctions::Vendor vendor, const char *arbName, const char *nvName)
{
    const char *name = vendor == BindlessFunctions::eARB ? arbName : nvName;
    function = reinterpret_cast<Function>(getGLProcAddress(name, false));
}

} // namespace

void BindlessFunctions::lookUp(Vendor vendor)
{
    // Both extensions have the same functions; a driver may have the older one only.
    find(_getTextureHandle, vendor, "glGetTextureHandleARB", "glGetTextureHandleNV");
    find(_makeTextureHandleResident, vendor, "glMakeTextureHandleResidentARB",
         "glMakeTextureHandleResidentNV");
    find(_makeTextureHandleNonResident, vendor, "glMakeTextureHandleNonResidentARB",
         "glMakeTextureHandleNonResidentNV");
    find(_uniformHandleui64v, vendor, "glUniformHandleui64vARB", "glUniformHandleui64vNV");
    find(_isTextureHandleResident, vendor, "glIsTextureHandleResidentARB", "glIsTextureHandleResidentNV");
}

quint64 BindlessFunctions::handleOf(const Texture &texture) const
{
    return _getTextureHandle != nullptr ? _getTextureHandle(texture.textureID()) : 0;
}

bool BindlessFunctions::isResident(quint64 handle) const
{
    return handle != 0 && _isTextureHandleResident(handle) != GL_FALSE;
}

void BindlessFunctions::makeResident(quint64 handle) const
{
    // GL reports an error for a handle that is resident already, which another user of the texture may have made so.
    if (handle != 0 && !isResident(handle)) {
        _makeTextureHandleResident(handle);
    }
}

void BindlessFunctions::makeNonResident(quint64 handle) const
{
    if (isResident(handle)) {
        _makeTextureHandleNonResident(handle);
    }
}

}} // namespace Orvane::Zel
