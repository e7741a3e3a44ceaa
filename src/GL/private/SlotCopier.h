#pragma once

#include "../AutoDisabler.h"
#include "../GLUtilities.h"
#include "../TextureSlot.h"

#include <QtCore/QtGlobal>

namespace Orvane { namespace Zel {

class Texture;

/// What a texture needs from a slot.
struct SlotRequest
{
    SlotFormat format;
    int layerCount = 1; ///< 6 for a cube map, the layers of a 2D array, 1 for all others
};

/// Queries the format of \a texture, which is bound. Without anisotropic filters in the driver, the format keeps 1.
SlotRequest slotRequestOf(Texture &texture, bool hasAnisotropy);

/// What a copy needs to know of a texture.
struct SlotSource
{
    int width = 0; ///< of level 0
    int height = 0;
    int lastLevel = 0; ///< as GL_TEXTURE_MAX_LEVEL limits it; the texture may have fewer levels
};

/// Queries \a texture, which is bound.
SlotSource slotSourceOf(Texture &texture);

/// Specifies the storage of a slot, which gets as many layers as it uses, and its sampling state. The old texels
/// are lost. Returns false if no texture unit is free.
bool makeSlotStorage(SlotData &slot, bool hasAnisotropy);

/// Copies textures into layers of slots by glBlitFramebuffer(), which scales them to the slot's size.
///
/// A copier has two framebuffer objects during its life. Its destructor binds the host's draw framebuffer to both targets.
///
/// Context: that of the textures must be current.
/// Private to the library; for Array2DTextureManager.
class SlotCopier
{
    Q_DISABLE_COPY(SlotCopier)

public:
    SlotCopier();
    ~SlotCopier();

    /// Fills all levels of \a layer. Levels 0 to \a lastLevel come from the source, if it has them; each further
    /// level comes from the slot's own next larger one. \a sourceLayer is a cube map's face or an array's layer.
    void copyLayer(Texture *source, int sourceLayer, int lastLevel, const SlotData &slot, int layer);

private:
    void attachSource(const Texture *texture, int level, int layer);
    void attachTarget(const Texture *texture, int level, int layer);
    void blit(int sourceWidth, int sourceHeight, int targetWidth, int targetHeight);

    const AutoDisabler _scissorTest{GL_SCISSOR_TEST}; ///< the only test that clips a blit
    int _previous = 0;                                ///< the host's draw framebuffer
    unsigned int _read = 0;                           ///< GL names
    unsigned int _draw = 0;
};

}} // namespace Orvane::Zel
