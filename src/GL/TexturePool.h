#pragma once

#include "TextureFormat.h"

#include <QtCore/QHash>
#include <QtCore/QVector>

namespace Orvane { namespace Zel {

class Texture;

/// Recycles render targets and other scratch textures.
///
/// take() returns a texture with one reference. When the last reference is released,
/// the texture becomes free, and the next request of exactly the same format, size and
/// sample count gets it. Only deleteUnused() frees GPU memory.
///
/// \snippet textures.cpp TexturePool
///
/// Units:   sizes are texels; a depth above 1 creates an array of that many layers, and
///          samples above 1 a multisample texture.
/// Context: all calls with the same context current, which owns the textures.
/// Errors:  a size or sample count below 1 logs a critical message and is used anyway.
///          A texture that is not in use here is ignored. If no texture unit is free,
///          take() returns a texture without storage, which is deleted with its last
///          reference and never becomes free. Allocations that GL refuses are not
///          detected.
/// Source:  OpenGL 3.2 core.
///
/// The destructor does not delete the textures: release all of them and call
/// deleteUnused() before. The contents of a texture that take() returns are undefined.
class ZELGL_EXPORT TexturePool
{
    Q_DISABLE_COPY(TexturePool)

public:
    /// Identifies a kind of texture.
    struct ZELGL_EXPORT Key
    {
        Key() = default;
        Key(TextureFormat format, int width, int height, int depth, int samples);

        TextureFormat format = RGBA;
        int width = 0;
        int height = 0;
        int depth = -1;
        int samples = 1;
    };

    TexturePool();
    ~TexturePool();

    /// Reduces a sample count above GL_MAX_SAMPLES, with a debug message. Of several
    /// free textures the one at the highest address is returned.
    Texture *take(TextureFormat format, int width, int height, int depth, int samples);
    void addRef(Texture *texture, int count);
    void releaseRef(Texture *texture, int count);

    /// Sets whether multisample textures that are created from now on have the same
    /// sample locations in every texel.
    void setFixedSampleLocations(bool fixedSampleLocations);
    /// Deletes the textures that have no references.
    void deleteUnused();
    /// Logs the number of textures at debug level, and one line for each kind.
    void printSummary();

private:
    /// A texture of the pool, in use or free.
    struct Managed
    {
        Key key;
        bool hasStorage = false;
        int references = 0; ///< 0: free
    };

    QHash<Key, QVector<Texture *>> _free;
    QHash<Texture *, Managed> _textures;
    bool _fixedSampleLocations = false;
};

ZELGL_EXPORT bool operator==(const TexturePool::Key &left, const TexturePool::Key &right);
ZELGL_EXPORT uint qHash(const TexturePool::Key &key);

}} // namespace Orvane::Zel
