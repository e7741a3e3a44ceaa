#pragma once

#include "TextureManager.h"
#include "TextureSlot.h"

#include <QtCore/QVector>

#include <memory>

namespace Orvane { namespace Zel {

class BindlessFunctions;

/// The texture manager that packs all textures into a fixed number of 2D array
/// textures, the slots: a shader needs one sampler a slot, however many textures
/// the scene has.
///
/// bind(tokens) loads what is not loaded yet and places it: in a slot of its
/// format, in an empty slot, scaled into a slot of a similar format, or in a slot
/// that merging two others set free. bind(program) makes the storage, copies
/// pending textures into their layers and hands slot map and slots to the program.
/// The textures themselves stay alive as master copies.
///
/// A host makes this manager and installs it with setInstance().
///
/// Units:   sizes in texels; layers counted from 0. The last layer of a slot is
///          never given out. The slot map as a texture holds GL_MAX_TEXTURE_SIZE / 2
///          tokens, as uniforms 64.
/// Context: construct and use with one and the same context current. bind(program)
///          copies by glBlitFramebuffer(), which the scissor test clips; it leaves
///          the host's draw framebuffer bound as GL_FRAMEBUFFER.
/// Errors:  a texture without a place is told, gives the invalid texel and is
///          tried again at its next bind; scaling a texture is told. Layers are
///          drawn to: a format that GL cannot render to, a compressed one above
///          all, is an error of GL. Compressed KTX images arrive uncompressed,
///          unless their TextureFileInfo keeps the orientation.
/// Source:  OpenGL 3.2 core; GL_ARB_bindless_texture for BindModeBindless.
class ZELGL_EXPORT Array2DTextureManager : public TextureManager
{
public:
    /// How the slots reach the shader.
    enum BindMode {
        BindModeSampler = 0,
        BindModeBindless = 1,
    };

    static bool isBindlessSupported();

    Array2DTextureManager();
    ~Array2DTextureManager() override;

    using TextureManager::bind;
    using TextureManager::unbind;
    void bind(const QVector<TextureToken> &tokens) override;
    void bind(const QSet<TextureToken> &tokens) override;
    void bind(const QList<TextureToken> &tokens) override;
    void unbind(const QVector<TextureToken> &tokens) override;
    void bind(ShaderProgram *program) override;
    void unbind(ShaderProgram *program) override;

    void dirty(Texture *texture) override;
    void setup(GLSLMacroProcessor *processor) override;
    QString getShaderFile() override;
    void clear() override;
    /// Before any token is bound.
    void setMaxSlots(int count) override;
    void setSlotReallocationMethod(SlotReallocationMethod method) override;
    bool supportsUDIMs() const override;
    void textureTokenIssued(const TextureToken &token) override;
    void textureTokenRevoked(const TextureToken &token) override;

    // Read by setup(): they take effect on shaders built after it.

    /// Before any token is bound.
    void setBindMode(BindMode mode);
    /// For drivers that index samplers by constants only, or by what is the same for
    /// all fragments of a draw whose tokens differ. At most 32 slots. Before OpenGL 4.0
    /// the shaders do so without this call.
    void setUseExplicitlyArrayAccessInGLSL(bool use);
    void setUseSlotMapUniforms(bool use);
    void setUseSlotMapTexture(bool use);

    // Placement.
    void setupSlots();
    void deleteSlots();
    SlotFormat alignedSlotFormat(const SlotFormat &format) const;
    /// A place for \a layerCount consecutive layers, or an invalid entry.
    SlotLayerData findSlotLayer(const SlotFormat &format, int layerCount);
    void determineSlotLayerDataForTexture(Texture *texture, TextureToken token, SlotLayerData &out);
    /// Moves what stands in one slot to another; false, with part of it moved, when that is full.
    bool moveSlotLayers(int from, int to);
    QVector<int> filterSlotsBySimilar(const SlotFormat &format, const QVector<int> &slotIndices) const;
    QVector<int> sortSlotsByLargest(const QVector<int> &slotIndices) const;
    bool searchForSimilarSlot(const SlotFormat &format, SlotData *&slot, int &index,
                              SlotData *excluded) const;
    bool seachForSlotWithLargestXY(SlotData *&slot, int &index) const;
    /// Logs the slots at debug level.
    void dumpSlots() const;

    /// Makes the storage that is lacking and copies pending textures into their layers.
    void updateSlots();
    /// True when the token needs no further copy.
    bool blitTokenToTextureSlot(const TextureToken &token);

private:
    struct BindlessHandleUVec2
    {
        unsigned int low = 0;
        unsigned int high = 0;
    };
    struct UniformLocations
    {
        bool any() const { return mapSampler >= 0 || mapUniforms >= 0 || slotArray >= 0; }

        int mapSampler;
        int mapUniforms;
        int slotArray; ///< samplers or handles, by the bind mode
    };

    template <typename Tokens> void bindTextureTokens(const Tokens &tokens);
    void buildUDIMSet(const TextureToken &token);

    bool hasEntry(const TextureToken &token) const;
    SlotLayerData &entry(const TextureToken &token);
    int layerCount(const TextureToken &token) const;
    bool isPlacedIn(int tokenIndex, int slotIndex) const;
    void growTables(quint64 size);

    /// Null for an index that is none.
    SlotData *slotAt(unsigned int index) const;
    SlotLayerData placeIn(int index, int layerCount);
    SlotLayerData placeExactly(const SlotFormat &aligned, int layerCount);
    SlotLayerData placeInUnusedSlot(const SlotFormat &aligned, int layerCount);
    SlotLayerData placeScaled(const SlotFormat &format, const SlotFormat &aligned, int layerCount);
    SlotLayerData placeByMerging(const SlotFormat &aligned, int layerCount);
    void reportResize(int fromWidth, int fromHeight, const SlotFormat &to) const;

    void allocateSlot(int index);
    void makeHandle(int index);
    void dropHandle(SlotData &slot);

    UniformLocations uniformLocations(const ShaderProgram *program) const;
    void uploadSlotMap(const UniformLocations &locations);
    void uploadHandles(int location);
    void uploadSlots(int location);

    int _minSlotWidth = 1;
    int _minSlotHeight = 1;
    int _maxSlotWidth = 1;
    int _maxSlotHeight = 1;
    int _slotAlignX = 1;
    int _slotAlignY = 1;
    int _bindDepth = 0;
    int _uniformsSize = 128; ///< ivec4 elements of the uniform slot map
    bool _dirty = true;      ///< the slot map changed since its last upload
    bool _useExplicitArrayAccess = false;
    bool _useSlotMapUniforms = false;
    bool _useSlotMapTexture = true;
    bool _anisotropySupported = false;
    float _maxAnisotropy = 1.0f;
    std::unique_ptr<TokenSet> _pendingTokens;            ///< their pixels are still to be copied
    Texture *_slotMapTexture = nullptr;                  ///< left to the context at the end
    QVector<SlotLayerData> _textureTokenToSlotLayerData; ///< by token
    QVector<unsigned int> _textureTokenToLayerCount;     ///< by token
    QVector<SlotData *> _slots;                          ///< owned
    QVector<int> _slotUnits;
    SlotReallocationMethod _slotReallocationMethod = SlotReallocationDownscale;
    BindMode _bindMode = BindModeSampler;
    QVector<BindlessHandleUVec2> _slotHandles;
    std::unique_ptr<BindlessFunctions> _bindless;
    QHash<TextureToken, TextureToken>
        _udimPatchToToken; ///< slot token of a patch to the token of its texture
};

}} // namespace Orvane::Zel
