#pragma once

#include "../TextureSlot.h"

#include <QtCore/QVector>

namespace Orvane { namespace Zel {

class GLSLMacroProcessor;
class ShaderProgram;
class Texture;

/// The shader's side of Array2DTextureManager: the uniforms of the slot map, which has one record for each token,
/// and of the slots themselves, and the defines by which the manager's GLSL files declare them.
///
/// Units:   elements of the slot map are ivec4, two for each token.
/// Context: that of the slots. The texture of the slot map is left to the context at the end.
/// Private to the library; a part of Array2DTextureManager.
class SlotUniforms
{
    Q_DISABLE_COPY(SlotUniforms)

public:
    /// -1 for what a program does not have.
    struct Locations
    {
        bool any() const { return mapTexture >= 0 || mapArray >= 0 || slotArray >= 0; }

        int mapTexture;
        int mapArray;
        int slotArray; ///< samplers or handles
    };

    SlotUniforms();

    void setUseExplicitArrayAccess(bool use) { _useExplicitArrayAccess = use; }
    void setUseMapArray(bool use) { _useMapArray = use; }
    void setUseMapTexture(bool use) { _useMapTexture = use; }
    void addDefines(GLSLMacroProcessor *processor, int slotCount) const;

    /// Of a program or, for null, of GL's current one.
    static Locations locationsIn(const ShaderProgram *program, bool bindless);

    /// The map differs from its texture, which the next upload brings up to date.
    void mapChanged() { _mapChanged = true; }
    /// Leaves the texture of the map bound if the program has it.
    void uploadMap(const Locations &locations, const QVector<SlotLayerData> &map);
    void unbindMap(const Locations &locations);

    /// Leaves the textures of all slots bound.
    void uploadUnits(int location, const QVector<SlotData *> &allSlots);
    void uploadHandles(int location, const QVector<SlotData *> &allSlots);

private:
    struct Handle
    {
        unsigned int low;
        unsigned int high;
    };

    bool _useExplicitArrayAccess = false;
    bool _useMapArray = false;
    bool _useMapTexture = true;
    bool _mapChanged = true;
    Texture *_mapTexture = nullptr; ///< left to the context at the end
    QVector<int> _units;            ///< by slot
    QVector<Handle> _handles;       ///< by slot
};

}} // namespace Orvane::Zel
