#pragma once

#include "TextureManager.h"
#include "TextureSlot.h"

#include <QtCore/QVector>

#include <memory>

namespace Orvane { namespace Zel {

class SlotHandles;
class SlotUniforms;

/// Packs all textures into a fixed number of 2D array textures, the slots, so that a shader needs one sampler for each slot,
/// however many textures the scene has.
///
/// bind(tokens) loads textures and finds a place for each: in a slot of its format, in an empty slot, scaled in a slot of a
/// similar format, or in a slot that becomes free when two others are merged. bind(program) makes the storage of slots,
/// copies pending textures into their layers and sets the program's uniforms. The textures stay alive as master copies.
///
/// TextureManager::Instance() never makes this manager: a host constructs it and calls setInstance().
///
/// \snippet managers.cpp Array2DTextureManager
///
/// Units:   sizes in texels; slots and layers from 0. The last layer of a slot stays unused. The slot map has records for
///          GL_MAX_TEXTURE_SIZE / 2 tokens as a texture and for 64 tokens as uniforms. With BindModeSampler, bind(program)
///          binds a texture unit for each slot and one for the slot map; a texture that is loaded or placed before
///          unbind(program) needs one more.
/// Context: construct, use and destroy with the same context current. bind(program) copies by glBlitFramebuffer(), whatever
///          the scissor test of the host is, and leaves the host's draw framebuffer bound as GL_FRAMEBUFFER.
/// Errors:  a texture without a place logs a warning, is sampled as the invalid texel, and is tried again at its next bind.
///          Scaling a texture logs a warning. Since layers are drawn to, a format that GL cannot render to, such as all
///          compressed ones, is a GL error. Compressed KTX images arrive uncompressed unless their TextureFileInfo keeps the
///          orientation.
/// Source:  OpenGL 3.2 core; GL_ARB_bindless_texture for BindModeBindless.
class ZELGL_EXPORT Array2DTextureManager : public TextureManager
{
public:
    /// How shaders access the slots: by samplers or by bindless handles.
    enum BindMode {
        BindModeSampler = 0,
        BindModeBindless = 1,
    };
    // Known by this class too.
    using SlotFormat = Zel::SlotFormat;
    using SlotData = Zel::SlotData;
    using SlotLayerData = Zel::SlotLayerData;

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
    /// Forgets all slots and places, but keeps tokens and textures; bind(tokens) reports a kept token above 0 as unknown until
    /// a higher one is issued. The slots are not deleted: without a call of deleteSlots() before this one, their GL textures
    /// leak. To empty the manager, call deleteSlots(), TextureManager::clear() and clear(), in this order.
    void clear() override;
    /// Call it before any token is bound.
    void setMaxSlots(int count) override;
    void setSlotReallocationMethod(SlotReallocationMethod method) override;
    bool supportsUDIMs() const override;
    void textureTokenIssued(const TextureToken &token) override;
    void textureTokenRevoked(const TextureToken &token) override;

    // setup() reads these four: they affect the shaders that are built after it.

    /// Call it before any token is bound.
    void setBindMode(BindMode mode);
    /// For drivers that index samplers by constants only, or by values that are the same for all fragments, if the tokens of a
    /// draw differ. Shaders with more than 32 slots do not compile. Before OpenGL 4.0 the shaders index so without this call.
    void setUseExplicitlyArrayAccessInGLSL(bool use);
    void setUseSlotMapUniforms(bool use);
    void setUseSlotMapTexture(bool use);

    // Places of textures.
    void setupSlots();
    void deleteSlots();
    SlotFormat alignedSlotFormat(const SlotFormat &format) const;
    /// Returns a place of \a layerCount consecutive layers, or an invalid entry.
    SlotLayerData findSlotLayer(const SlotFormat &format, int layerCount);
    void determineSlotLayerDataForTexture(Texture *texture, TextureToken token, SlotLayerData &out);
    /// Moves all textures of one slot to another. Returns false if the other is full before all are moved.
    bool moveSlotLayers(int from, int to);
    QVector<int> filterSlotsBySimilar(const SlotFormat &format, const QVector<int> &slotIndices) const;
    QVector<int> sortSlotsByLargest(const QVector<int> &slotIndices) const;
    bool searchForSimilarSlot(const SlotFormat &format, SlotData *&slot, int &index,
                              SlotData *excluded) const;
    bool seachForSlotWithLargestXY(SlotData *&slot, int &index) const;
    /// Logs a debug message with a line for each slot.
    void dumpSlots() const;

    /// Makes missing storage and copies pending textures into their layers.
    void updateSlots();
    /// Returns false if the copy must be tried again.
    bool blitTokenToTextureSlot(const TextureToken &token);

private:
    template <typename Tokens> ZELGL_NO_EXPORT void bindTextureTokens(const Tokens &tokens);
    ZELGL_NO_EXPORT void buildUDIMSet(const TextureToken &token);

    ZELGL_NO_EXPORT bool hasEntry(const TextureToken &token) const;
    ZELGL_NO_EXPORT SlotLayerData &entry(const TextureToken &token);
    ZELGL_NO_EXPORT int layerCount(const TextureToken &token) const;
    ZELGL_NO_EXPORT bool isPlacedIn(int tokenIndex, int slotIndex) const;
    ZELGL_NO_EXPORT void growTables(quint64 size);

    ZELGL_NO_EXPORT SlotLayerData placeIn(int index, int layerCount);
    ZELGL_NO_EXPORT SlotLayerData placeExactly(const SlotFormat &aligned, int layerCount);
    ZELGL_NO_EXPORT SlotLayerData placeInUnusedSlot(const SlotFormat &aligned, int layerCount);
    ZELGL_NO_EXPORT SlotLayerData placeScaled(const SlotFormat &format, const SlotFormat &aligned,
                                              int layerCount);
    ZELGL_NO_EXPORT SlotLayerData placeByMerging(const SlotFormat &aligned, int layerCount);
    ZELGL_NO_EXPORT void reportResize(int fromWidth, int fromHeight, const SlotFormat &to) const;

    ZELGL_NO_EXPORT void allocateSlot(int index);
    ZELGL_NO_EXPORT void makeHandle(int index);

    int _minSlotWidth = 1;
    int _minSlotHeight = 1;
    int _maxSlotWidth = 1;
    int _maxSlotHeight = 1;
    int _slotAlignX = 1;
    int _slotAlignY = 1;
    int _bindDepth = 0;
    bool _anisotropySupported = false;
    float _maxAnisotropy = 1.0f;
    std::unique_ptr<TokenSet> _pendingTokens;            ///< their pixels are still to be copied
    QVector<SlotLayerData> _textureTokenToSlotLayerData; ///< by token
    QVector<unsigned int> _textureTokenToLayerCount;     ///< by token
    QVector<SlotData *> _slots;                          ///< owned
    SlotReallocationMethod _slotReallocationMethod = SlotReallocationDownscale;
    BindMode _bindMode = BindModeSampler;
    std::unique_ptr<SlotUniforms> _uniforms;
    std::unique_ptr<SlotHandles> _handles;
    QHash<TextureToken, TextureToken>
        _udimPatchToToken; ///< slot token of a patch to the token of its texture
};

// Known by this namespace too.
using BindMode = Array2DTextureManager::BindMode;
constexpr BindMode BindModeSampler = Array2DTextureManager::BindModeSampler;
constexpr BindMode BindModeBindless = Array2DTextureManager::BindModeBindless;

}} // namespace Orvane::Zel
