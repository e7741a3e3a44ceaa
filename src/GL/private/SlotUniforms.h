#pragma once

#include "../TextureSlot.h"

#include <QtCore/QVector>

namespace Orvane { namespace Zel {

class GLSLMacroProcessor;
class ShaderProgram;
class Texture;

/// What shaders know of an Array2DTextureManager: the uniforms of the slot map, which has a record for each token, the uniforms
/// of the slots, and the defines by which the manager's GLSL files declare both.
///
/// Units:   elements of the slot map are ivec4, two for each token.
/// Context: that of the slots must be current. The texture of the slot map is left to the context at the end.
/// Private to the library; a part of Array2DTextureManager.
class SlotUniforms
{
    Q_DISABLE_COPY(SlotUniforms)

public:
    /// -1 for each uniform that a program does not have.
    struct Locations
    {
        bool any() const { return mapTexture >= 0 || mapArray >= 0 || slotArray >= 0; }

        int mapTexture;
        int mapArray;
        int slotArray; ///< of samplers or of handles
    };

    SlotUniforms();

    void setUseExplicitArrayAccess(bool use) { _useExplicitArrayAccess = use; }
    void setUseMapArray(bool use) { _useMapArray = use; }
    void setUseMapTexture(bool use) { _useMapTexture = use; }
    void addDefines(GLSLMacroProcessor *processor, int slotCount) const;

    /// Returns the locations in a program or, for null, in the current GL program.
    static Locations locationsIn(const ShaderProgram *program, bool bindless);

    /// Makes the next uploadMap() upload the texture of the map. The uniform array is uploaded each time.
    void mapChanged() { _mapChanged = true; }
    /// Leaves the texture of the map bound if the program samples it.
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
