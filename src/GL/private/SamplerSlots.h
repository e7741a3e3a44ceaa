#pragma once

#include "../TextureToken.h"
#include "UniformLookup.h"

#include <QtCore/QVector>

namespace Orvane { namespace Zel {

class ShaderProgram;
class Texture;

/// The sampler array `u_ManagedTextureSlots` of the managers that sample through
/// texture units: which unit sits in which slot, and how often; and the table from
/// token to slot by which a shader finds it.
///
/// Units:   texture units as GL numbers them.
/// Context: that of the textures, current.
/// Private to the library.
class SamplerSlots
{
    Q_DISABLE_COPY(SamplerSlots)

public:
    /// The texels of the table.
    struct MapFormat
    {
        int internalFormat;
        unsigned int format;
        unsigned int type;
    };

    /// The entries of the table: as many as tokens, short of what no texture can hold.
    static int mapWidth(const TextureToken &maxToken);

    explicit SamplerSlots(const MapFormat &mapFormat);

    /// The slot of a unit: the one it has, with one reference more, or the first
    /// without references, or a new one.
    int take(int unit);
    /// One reference less for the slot of a unit.
    void release(int unit);
    int used() const;
    /// Forgets the slots; the table stays.
    void clear();

    /// The table's entries changed.
    void dirtyMap();
    /// The table's width is out of date.
    void discardMap();

    /// Binds the table, uploaded from the entries if it is dirty, and tells the
    /// program, or the current GL program for null. Where that has the sampler array.
    int bindMap(const ShaderProgram *program, const void *entries, int width);
    /// Sets the sampler array: every slot gets its unit, unused ones that of an empty texture.
    void uploadUnits(int location, int slotCount);
    /// Unbinds the table and the empty texture.
    void unbind();

private:
    void makeEmptyTexture();
    void makeMap(int width);
    void uploadMap(const void *entries, int width);
    void gatherUnits(int slotCount);
    int emptyUnit();

    const MapFormat _mapFormat;
    bool _mapDirty = true;
    Texture *_mapTexture = nullptr; ///< left to the context at the end
    RememberedUniform _mapUniform{"u_TextureTokenManagedTextureSlotMap"};
    RememberedUniform _unitsUniform{"u_ManagedTextureSlots[0]"};
    QVector<int> _slotUnits; ///< the unit in each slot
    QVector<int> _slotRefCounts;
    QVector<int> _gatheredUnits;               ///< for all slots of the shader, as last set
    bool _unitsDirty = true;                   ///< these are out of date
    Texture *_emptySlotTexture = nullptr;      ///< left to the context at the end
    Texture *_boundEmptySlotTexture = nullptr; ///< not null while it is bound
};

}} // namespace Orvane::Zel
