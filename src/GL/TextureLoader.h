#pragma once

#include "Export.h"
#include "TextureFileInfo.h"

#include <QtCore/QString>

namespace Orvane { namespace Zel {

class Texture;

/// One recognised image: the answers of its header, and the load into a texture.
///
/// \snippet images.cpp TextureLoader
///
/// Units:   sizes in texels of the base level.
/// Context: load() needs a current one; the questions call no GL.
/// Errors:  an image whose valid() is false is not to be loaded; load() answers
///          null, with a message of the reader, and leaves nothing behind in GL.
class ZELGL_EXPORT TextureLoader
{
public:
    virtual ~TextureLoader();

    /// Whether the header is sound.
    virtual bool valid() const = 0;

    virtual bool isCompressed() const = 0;
    virtual bool isArrayTexture() const = 0;
    virtual bool isCubeMapTexture() const = 0;
    virtual bool is1DTexture() const = 0;
    virtual bool is2DTexture() const = 0;
    virtual bool is3DTexture() const = 0;
    virtual bool hasMipMaps() const = 0;

    virtual unsigned int width() const = 0;
    virtual unsigned int height() const = 0;
    virtual unsigned int depth() const = 0;
    virtual unsigned int arraySize() const = 0;
    virtual unsigned int cubeFaces() const = 0;
    virtual unsigned int mipmapLevels() const = 0;
    virtual unsigned int numMetadataEntries() const = 0;

    /// Metadata by index, as text.
    virtual QString key(unsigned int index) const = 0;
    virtual QString value(unsigned int index) const = 0;
    /// The same as it lies in the file: NUL-terminated, owned by the reader; null
    /// when there is no such text.
    virtual const char *rawKey(unsigned int index) const = 0;
    virtual const char *rawValue(unsigned int index) const = 0;

    /// A new texture, which is the caller's, or null.
    virtual Texture *load(const TextureFileInfo &info) = 0;
};

}} // namespace Orvane::Zel
