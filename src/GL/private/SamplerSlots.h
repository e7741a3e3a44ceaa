#pragma once

#include "../TextureToken.h"
#include "Hints.h"
#include "UniformLookup.h"

#include <QtCore/QVector>

#include <algorithm>

namespace Orvane { namespace Zel {

class ShaderProgram;
class Texture;

/// The sampler array u_ManagedTextureSlots of the managers that sample through texture units, and the table by which shaders
/// find the slot of a token. A slot has a texture unit and a count of its users.
///
/// Units:   texture units as GL numbers them.
/// Context: that of the textures must be current. The helper textures are left to the context at the end.
/// Private to the library; a part of SamplerTextureManager and BindlessTextureManager.
class SamplerSlots
{
    Q_DISABLE_COPY(SamplerSlots)

public:
    /// How the entries of the table are uploaded.
    struct MapFormat
    {
        int internalFormat;
        unsigned int format;
        unsigned int type;
    };

    /// Logs that more slots are in use than the shader has. Each manager passes a function of its own, since the message
    /// contains the name of the manager's source file.
    using ReportOverflow = void (*)(int used, int available);

    SamplerSlots(const MapFormat &mapFormat, ReportOverflow reportOverflow);

    /// Adds a user to the slot of \a unit and returns the slot. A unit without a slot gets the first unused one or, if there is
    /// none, a new one.
    int acquire(int unit);
    /// Removes a user of the slot of \a unit.
    void release(int unit);
    /// Forgets the slots. The texture of the table stays.
    void clear();

    /// Makes the next bind() upload the entries.
    void dirtyMap();
    /// Unbinds the texture of the table and the empty texture.
    void unbind();

protected:
    /// The entries of the table: one for each token, up to more than any texture can hold.
    static int mapWidth(TextureToken maxToken)
    {
        return static_cast<int>(std::min(maxToken.token, kMaxMapWidth));
    }

    /// Deletes the texture of the table, whose width is out of date.
    void discardMap();
    /// Binds the texture of the table, uploads the entries if they changed, and sets both uniforms of the program or, for null,
    /// of the current GL program. A slot without a texture gets the unit of an empty texture.
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
    QVector<int> _slotUnits;                   ///< by slot
    QVector<int> _slotRefCounts;               ///< by slot
    QVector<int> _gatheredUnits;               ///< what the sampler array was last set to
    bool _unitsDirty = true;                   ///< _gatheredUnits is out of date
    Texture *_emptySlotTexture = nullptr;      ///< left to the context at the end
    Texture *_boundEmptySlotTexture = nullptr; ///< not null while it is bound
};

/// SamplerSlots and the entries of its table, whose type depends on the manager.
template <typename Entry> class SamplerSlotMap : public SamplerSlots
{
public:
    using SamplerSlots::SamplerSlots;

    /// Makes entries for all tokens below \a maxToken, in a new texture.
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
    // For a block of tokens, which is reserved without a call of resize().
    ZELGL_COLD_PATH void bindAndGrow(const ShaderProgram *program, int width, int slotCount)
    {
        _entries.resize(width);
        SamplerSlots::bind(program, _entries.constData(), width, slotCount);
    }

    QVector<Entry> _entries; ///< by token
};

}} // namespace Orvane::Zel
