#pragma once

#include "Export.h"
#include "TextureFileInfo.h"

#include <QtCore/QString>

namespace Orvane { namespace Zel {

class Texture;

/// Reads one image: returns the values of its header and loads it into a texture.
///
/// \snippet images.cpp TextureLoader
///
/// Units:   sizes are texels of the base level.
/// Context: load() needs a current context; the other functions call no GL.
/// Errors:  do not load an image that is not valid(). A failed load() logs a message
///          of the reader, returns null and leaves no GL object.
class ZELGL_EXPORT TextureLoader
{
public:
    virtual ~TextureLoader();

    /// Whether the header is well-formed.
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
    /// The same as bytes of the file: NUL-terminated and owned by the reader. Null if
    /// there is no such text.
    virtual const char *rawKey(unsigned int index) const = 0;
    virtual const char *rawValue(unsigned int index) const = 0;

    /// Returns a new texture, owned by the caller, or null.
    virtual Texture *load(const TextureFileInfo &info) = 0;
};

}} // namespace Orvane::Zel
