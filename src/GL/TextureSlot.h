#pragma once

#include "Export.h"
#include "TextureManager.h"
#include "TextureToken.h"

#include <QtCore/QList>

namespace Orvane { namespace Zel {

class Texture;

/// The properties that all layers of a texture slot share.
///
/// \snippet managers.cpp SlotFormat
///
/// Units:   texels of the base level; enumerants as GL reports them.
/// Context: none.
struct ZELGL_EXPORT SlotFormat
{
    bool operator==(const SlotFormat &other) const;
    /// Returns false before the first call of SlotData::setupFormat().
    bool isUsed() const { return internalFormat != 0; }
    /// Returns the texels of the base level, modulo 2^32.
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

/// A slot of Array2DTextureManager: one 2D array texture, of which textures get one or more consecutive layers.
///
/// \snippet managers.cpp SlotData
///
/// Units:   layers from 0. The last layer of a slot stays unused.
/// Context: construct, set up and destroy with the manager's context current.
/// Errors:  if no texture unit is free, the texture reports it and has no storage.
struct ZELGL_EXPORT SlotData
{
    static constexpr unsigned int kNoLayer = ~0u;
    static constexpr unsigned int kNoFit = ~0u;

    SlotData();
    ~SlotData();
    SlotData(const SlotData &) = delete;
    SlotData &operator=(const SlotData &) = delete;

    /// Replaces the texture by a new one of one texel.
    void createTexture();
    /// Sets the format. The next update of the manager makes the storage. Returns true.
    bool setupFormat(const SlotFormat &wanted);
    bool isCompatible(const SlotFormat &other) const;
    /// Compares all but the size; internal formats need the same transfer format only.
    bool isSimilar(const SlotFormat &other) const;
    /// Returns how well a texture of the size of \a other fits: the smallest value is the best, kNoFit means not at all.
    unsigned int getFormatDeltaScore(const SlotFormat &other,
                                     TextureManager::SlotReallocationMethod method) const;

    /// Returns the first of \a count consecutive layers, or kNoLayer.
    unsigned int getFreeLayer(int count);
    void freeLayer(int first, int count);

    int allocatedLayers = 0; ///< depth of the storage
    int slotGeneration = 0;
    Texture *texture = nullptr; ///< owned
    quint64 bindlessHandle = 0;
    unsigned int residentCount = 0;
    SlotFormat format;
    int maxLayers = 0;
    int usedLayers = 0;    ///< no higher layer is in use
    QList<int> freeLayers; ///< unused layers below usedLayers, ascending
};

/// The slot and the layers of a token's texture. Shaders read it as two ivec4 in the order of the fields.
///
/// \snippet managers.cpp SlotLayerData
///
/// Units:   slots and layers from 0; all bits of the slot mean that the texture has no place.
/// Context: none.
struct ZELGL_EXPORT SlotLayerData
{
    SlotLayerData() = default;
    SlotLayerData(unsigned int slotIndex, unsigned int firstLayer, unsigned long handle);

    void clear();
    bool isValid() const;
    void setBindlessTextureHandle(unsigned long handle);
    /// Turns an invalid entry into the one of a UDIM set, whose patches have consecutive tokens. Does not change a valid one.
    void configureUDIMSet(TextureToken first, int width, int maxPatch);
    bool isUDIMSet() const;
    int getNumUDIMPatches() const;

    unsigned int slot = ~0u; ///< for a UDIM set, the token of the first patch
    unsigned int layer = 0;
    unsigned int bindlessHandleLow = 0;
    unsigned int bindlessHandleHigh = 0;
    int udimWidth = 0;
    int udimMaxPatch = 0;
    int reserved[2] = {0, 0};
};
static_assert(sizeof(SlotLayerData) == 32, "the slot map is uploaded as it stands in memory");

}} // namespace Orvane::Zel
