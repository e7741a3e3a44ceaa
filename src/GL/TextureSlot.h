#pragma once

#include "Export.h"
#include "TextureManager.h"
#include "TextureToken.h"

#include <QtCore/QList>

namespace Orvane { namespace Zel {

class Texture;

/// What all layers of a texture slot have in common.
///
/// Units: texels of the base level; GL enums as GL reports them.
struct ZELGL_EXPORT SlotFormat
{
    bool operator==(const SlotFormat &other) const;
    /// False for a slot that was never set up.
    bool isUsed() const { return internalFormat != 0; }
    /// Of the base level, in 32 bits.
    int area() const { return static_cast<int>(static_cast<quint32>(width) * static_cast<quint32>(height)); }

    int width = 0;
    int height = 0;
    unsigned int internalFormat = 0;
    int wrapS = 0;
    int wrapT = 0;
    int magFilter = 0;
    int minFilter = 0;
    float anisotropy = 1.0f;
    float lodBias = 0.0f;
};

/// A slot of Array2DTextureManager: one 2D array texture, whose layers are handed
/// out singly or in runs.
///
/// Context: construct, setupFormat() and destroy with the manager's context current.
struct ZELGL_EXPORT SlotData
{
    static constexpr unsigned int kNoLayer = ~0u;
    static constexpr unsigned int kNoFit = ~0u;

    SlotData();
    ~SlotData();
    SlotData(const SlotData &) = delete;
    SlotData &operator=(const SlotData &) = delete;

    /// A new GL name with one defined texel, in place of the old one.
    void createTexture();
    /// Takes a format; storage is made by the next update. Always true.
    bool setupFormat(const SlotFormat &wanted);
    bool isCompatible(const SlotFormat &other) const;
    /// Equal but for the size, with an internal format of the same transfer format.
    bool isSimilar(const SlotFormat &other) const;
    /// How well a texture of this size fits, the smallest unsigned value best; kNoFit where it does not.
    unsigned int getFormatDeltaScore(const SlotFormat &other,
                                     TextureManager::SlotReallocationMethod method) const;

    /// The first of \a count consecutive layers, or kNoLayer.
    unsigned int getFreeLayer(int count);
    void freeLayer(int first, int count);

    int allocatedLayers = 0; ///< depth of the storage
    int slotGeneration = 0;
    Texture *texture = nullptr; ///< owned
    quint64 bindlessHandle = 0;
    unsigned int residentCount = 0;
    SlotFormat format;
    int maxLayers = 0;
    int usedLayers = 0;    ///< high-water mark
    QList<int> freeLayers; ///< holes below it, ascending
};

/// Where a token's texture stands; in memory this is the record that shaders read,
/// two ivec4.
struct ZELGL_EXPORT SlotLayerData
{
    SlotLayerData() = default;
    SlotLayerData(unsigned int slotIndex, unsigned int firstLayer, unsigned long handle);

    void clear();
    bool isValid() const;
    void setBindlessTextureHandle(unsigned long handle);
    /// Makes an invalid entry that of a UDIM set, whose patches have consecutive tokens.
    void configureUDIMSet(TextureToken first, int width, int maxPatch);
    bool isUDIMSet() const;
    int getNumUDIMPatches() const;

    unsigned int slot = ~0u; ///< of a UDIM set: the first patch token
    unsigned int layer = 0;
    unsigned int bindlessHandleLow = 0;
    unsigned int bindlessHandleHigh = 0;
    int udimWidth = 0;
    int udimMaxPatch = 0;
    int reserved[2] = {0, 0};
};
static_assert(sizeof(SlotLayerData) == 32, "the slot map is uploaded as it stands in memory");

}} // namespace Orvane::Zel
