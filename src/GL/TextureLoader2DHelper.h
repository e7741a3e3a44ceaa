#pragma once

#include "TextureLoader.h"

namespace Orvane { namespace Zel {

/// Base class of readers of a single, uncompressed 2D image without metadata. A reader
/// implements valid(), width(), height() and load().
///
/// \snippet images.cpp TextureLoader2DHelper
class ZELGL_EXPORT TextureLoader2DHelper : public TextureLoader
{
public:
    bool isCompressed() const override;
    bool isArrayTexture() const override;
    bool isCubeMapTexture() const override;
    bool is1DTexture() const override;
    bool is2DTexture() const override;
    bool is3DTexture() const override;
    bool hasMipMaps() const override;

    unsigned int depth() const override;
    unsigned int arraySize() const override;
    unsigned int cubeFaces() const override;
    unsigned int mipmapLevels() const override;
    unsigned int numMetadataEntries() const override;

    /// Returns the text of rawKey() or rawValue(): a null string if that is null.
    QString key(unsigned int index) const override;
    QString value(unsigned int index) const override;
    const char *rawKey(unsigned int index) const override;
    const char *rawValue(unsigned int index) const override;
};

}} // namespace Orvane::Zel
