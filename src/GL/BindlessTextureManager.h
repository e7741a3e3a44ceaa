#pragma once

#include "TextureManager.h"

#include <memory>

namespace Orvane { namespace Zel {

class BindlessFunctions;
template <typename Entry> class SamplerSlotMap;

/// The texture manager for drivers with bindless textures.
///
/// The token of a read-only texture is its 64-bit GL handle, so that the shader
/// samples straight from the token. A texture that can still change has no handle;
/// its token carries 0xFFFFFFFF in the high word and goes through a sampler slot.
/// Images and colours are loaded at once, since the handle is the token.
///
/// In GLSL, managedTextureOffset() moves the coordinate by texels of the base level,
/// whichever level is sampled. The other managers have no such offsets: the function
/// gives the invalid texel there.
///
/// Units:   slots of writable textures, at most setMaxSlots() a draw.
/// Context: as TextureManager; construct with GL_ARB_bindless_texture or
///          GL_NV_bindless_texture there. Helper textures and the residency of
///          handles are left to the context at the end.
/// Errors:  more writable textures in use than slots are told.
/// Source:  GL_ARB_bindless_texture, GL_NV_bindless_texture.
class ZELGL_EXPORT BindlessTextureManager : public TextureManager
{
public:
    /// One entry of the slot map, a texel of four words.
    struct TokenInfo
    {
        TokenInfo() = default;
        TokenInfo(unsigned int slotIndex, unsigned long handle)
            : slot(slotIndex)
            , handleLow(static_cast<unsigned int>(handle))
            , handleHigh(static_cast<unsigned int>(handle >> 32))
        {
        }

        bool operator!=(const TokenInfo &other) const
        {
            return slot != other.slot || handleLow != other.handleLow || handleHigh != other.handleHigh;
        }

        unsigned int slot = ~0u;
        unsigned int handleLow = 0;
        unsigned int handleHigh = 0;
        unsigned int padding = 0;
    };

    static bool isSupported();

    BindlessTextureManager();
    ~BindlessTextureManager() override;

    /// True for a handle, false for a slot token and for the null token.
    bool isBindlessToken(const TextureToken &token) const;

    Texture *textureForToken(const TextureToken &token) override;
    Texture *textureForImage(const QString &path, const TextureFileInfo &info) override;
    Texture *textureForColor(const QColor &color) override;
    TextureToken tokenForTexture(Texture *texture) override;
    TextureToken tokenForImage(const QString &path, const TextureFileInfo &info) override;
    TextureToken tokenForColor(const QColor &color) override;
    void deleteTexture(const TextureToken &token) override;
    void deleteTexture(Texture *texture) override;

    using TextureManager::bind;
    using TextureManager::unbind;
    void bind(const QList<TextureToken> &tokens) override;
    void unbind(const QVector<TextureToken> &tokens) override;
    void bind(ShaderProgram *program) override;
    void unbind(ShaderProgram *program) override;

    void setup(GLSLMacroProcessor *processor) override;
    QString getShaderFile() override;
    void clear() override;
    void textureTokenIssued(const TextureToken &token) override;

private:
    bool _useARB = false;
    bool _useNV = false;
    std::unique_ptr<SamplerSlotMap<TokenInfo>> _slots; ///< the entries are by the low word of a slot token
    std::unique_ptr<BindlessFunctions> _bindless;
};

}} // namespace Orvane::Zel
