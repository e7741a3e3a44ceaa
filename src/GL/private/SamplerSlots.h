#pragma once

#include "../TextureToken.h"
#include "Hints.h"
#include "UniformLookup.h"

#include <QtCore/QVector>

#include <algorithm>

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

    /// Reports that more slots are in use than the shader has. The function is the manager's, since the message names
    /// its file.
    using ReportOverflow = void (*)(int used, int available);

    SamplerSlots(const MapFormat &mapFormat, ReportOverflow reportOverflow);

    /// The slot of a unit: the one it has, with one reference more, or the first
    /// without references, or a new one.
    int acquire(int unit);
    /// One reference less for the slot of a unit.
    void release(int unit);
    /// Forgets the slots; the table stays.
    void clear();

    /// The table's entries changed.
    void dirtyMap();
    /// Unbinds the table and the empty texture.
    void unbind();

protected:
    /// The entries of the table: one for each token, up to more than any texture can hold.
    static int mapWidth(TextureToken maxToken)
    {
        return static_cast<int>(std::min(maxToken.token, kMaxMapWidth));
    }

    /// The table's width is out of date.
    void discardMap();
    /// Binds the table, uploads the entries if it is dirty, and sets both uniforms of the program, or of the current GL
    /// program for null. A slot without a texture gets the unit of an empty texture.
    void bind(const ShaderProgram *program, const void *entries, int width, int slotCount);

private:
    int bindMap(const ShaderProgram *program, const void *entries, int width);
    void uploadUnits(int location, int slotCount);
    void makeEmptyTexture();
    void makeMap(int width);
    void uploadMap(const void *entries, int width);
    void gatherUnits(int slotCount);
    int emptyUnit();

    static constexpr quint64 kMaxMapWidth = 1 << 24; ///< far above what a texture can hold

    const MapFormat _mapFormat;
    const ReportOverflow _reportOverflow;
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

/// SamplerSlots together with the entries of the table, whose type differs from manager to manager.
template <typename Entry> class SamplerSlotMap : public SamplerSlots
{
public:
    using SamplerSlots::SamplerSlots;

    /// Makes entries for all tokens below \a maxToken.
    void resize(TextureToken maxToken)
    {
        discardMap();
        _entries.resize(mapWidth(maxToken));
    }

    void setEntry(quint64 index, const Entry &entry)
    {
        if (index < static_cast<quint64>(_entries.size()) && _entries.at(static_cast<int>(index)) != entry) {
            _entries[static_cast<int>(index)] = entry;
            dirtyMap();
        }
    }

    void bind(const ShaderProgram *program, TextureToken maxToken, int slotCount)
    {
        const int width = mapWidth(maxToken);
        if (_entries.size() < width) {
            bindAndGrow(program, width, slotCount);
        } else {
            SamplerSlots::bind(program, _entries.constData(), width, slotCount);
        }
    }

    /// Forgets slots and entries; the texture of the table stays.
    void clear()
    {
        _entries.clear();
        SamplerSlots::clear();
    }

private:
    // A block of tokens is reserved without a call of resize().
    ZELGL_COLD_PATH void bindAndGrow(const ShaderProgram *program, int width, int slotCount)
    {
        _entries.resize(width);
        SamplerSlots::bind(program, _entries.constData(), width, slotCount);
    }

    QVector<Entry> _entries; ///< by token
};

}} // namespace Orvane::Zel
