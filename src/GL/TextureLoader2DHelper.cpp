#include "TextureLoader2DHelper.h"

namespace Orvane { namespace Zel {

// The properties that pictures of all formats share; a loader overrides what differs.
bool TextureLoader2DHelper::isCompressed() const
{
    return false;
}

bool TextureLoader2DHelper::isArrayTexture() const
{
    return false;
}

bool TextureLoader2DHelper::isCubeMapTexture() const
{
    return false;
}

bool TextureLoader2DHelper::is1DTexture() const
{
    return false;
}

bool TextureLoader2DHelper::is2DTexture() const
{
    return true;
}

bool TextureLoader2DHelper::is3DTexture() const
{
    return false;
}

bool TextureLoader2DHelper::hasMipMaps() const
{
    return false;
}

unsigned int TextureLoader2DHelper::depth() const
{
    return 0;
}

unsigned int TextureLoader2DHelper::arraySize() const
{
    return 0;
}

// 1 and not 0, as for the levels: a picture counts as one image.
unsigned int TextureLoader2DHelper::cubeFaces() const
{
    return 1;
}

unsigned int TextureLoader2DHelper::mipmapLevels() const
{
    return 1;
}

unsigned int TextureLoader2DHelper::numMetadataEntries() const
{
    return 0;
}

QString TextureLoader2DHelper::key(unsigned int index) const
{
    return QString::fromUtf8(rawKey(index)); // null gives a null string
}

QString TextureLoader2DHelper::value(unsigned int index) const
{
    return QString::fromUtf8(rawValue(index));
}

const char *TextureLoader2DHelper::rawKey(unsigned int) const
{
    return nullptr;
}

const char *TextureLoader2DHelper::rawValue(unsigned int) const
{
    return nullptr;
}

}} // namespace Orvane::Zel
