#pragma once

#include "TextureToken.h"

#include <QtCore/QVector>

namespace Orvane { namespace Zel {

class ShaderProgram;
class Texture;

/// The sampler array `u_ManagedTextureSlots` of the managers that sample through
/// texture units: which unit sits in which slot, and how often.
///
/// Units:   texture units as GL numbers them.
/// Context: that of the textures, current.
/// Private to the library.
class SamplerSlots
{
    Q_DISABLE_COPY(SamplerSlots)

public:
    /// Where a program, or the current GL program for null, keeps the slots and the slot map.
    struct Locations
    {
        int map;
        int units;
    };
    static Locations locations(const ShaderProgram *program);
    /// The entries of a token-to-slot map: as many as tokens, short of what no table can hold.
    static int mapWidth(const TextureToken &maxToken);
    /// A texture of one row for such a map.
    static Texture *makeMapTexture(int internalFormat, int width);
    /// Gives the units back that it still holds; leaves null.
    static void deleteMapTexture(Texture *&texture);

    SamplerSlots();

    /// The slot of a unit: the one it has, with one reference more, or the first
    /// without references, or a new one.
    int take(int unit);
    /// One reference less for the slot of a unit.
    void release(int unit);
    int used() const;
    void clear();

    /// Makes the texture of unused slots, which has no storage, at the first call.
    void makeEmptyTexture();
    /// Sets the sampler array: every slot gets its unit, unused ones that of the empty texture.
    void uploadUnits(int location, int slotCount);
    void unbindEmptyTexture();

private:
    QVector<int> _slotUnits; ///< the unit in each slot
    QVector<int> _slotRefCounts;
    Texture *_emptySlotTexture = nullptr;      ///< left to the context at the end
    Texture *_boundEmptySlotTexture = nullptr; ///< not null while it is bound
};

}} // namespace Orvane::Zel
