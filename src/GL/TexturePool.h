#pragma once

#include "TextureFormat.h"

#include <QtCore/QHash>
#include <QtCore/QVector>

namespace Orvane { namespace Zel {

class Texture;

/// Recycles render targets and other scratch textures.
///
/// take() hands out a texture with one reference; when the last one is given back
/// the texture waits for the next request of exactly its format, size and sample
/// count. GPU memory comes back on deleteUnused() alone.
///
/// \snippet textures.cpp TexturePool
///
/// Units:   sizes are texels; a depth above 1 makes an array of that many layers, and
///          samples above 1 a multisample texture.
/// Context: all calls with the one context current whose textures these are.
/// Errors:  a size or sample count below 1 is reported, and used anyway; a texture
///          that is not in use here is ignored. A texture that finds no free unit has
///          no storage: it is deleted with its last reference instead of waiting for
///          the next request. Allocations that GL refuses are not detected.
/// Source:  OpenGL 3.2 core.
///
/// The destructor leaves the textures alone: give all back and call deleteUnused()
/// before. The contents of a texture that comes from take() are not defined.
class ZELGL_EXPORT TexturePool
{
    Q_DISABLE_COPY(TexturePool)

public:
    /// What textures are told apart by.
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

    /// Samples beyond what the driver has are told at debug level, and reduced. Among
    /// several free textures the one at the highest address is taken.
    Texture *take(TextureFormat format, int width, int height, int depth, int samples);
    void addRef(Texture *texture, int count);
    void releaseRef(Texture *texture, int count);

    /// Whether multisample textures made from now on have the same sample locations
    /// in every texel.
    void setFixedSampleLocations(bool fixedSampleLocations);
    /// Deletes the textures that nobody holds.
    void deleteUnused();
    /// Logs counts at debug level, and a line for each kind of texture.
    void printSummary();

private:
    QHash<Key, QVector<Texture *>> _free;
    QHash<Texture *, int> _refCounts; ///< by texture, free ones included at 0
    QHash<Texture *, Key> _keys;      ///< every texture of the pool that has storage
    bool _fixedSampleLocations = false;
};

ZELGL_EXPORT bool operator==(const TexturePool::Key &left, const TexturePool::Key &right);
ZELGL_EXPORT uint qHash(const TexturePool::Key &key);

}} // namespace Orvane::Zel
