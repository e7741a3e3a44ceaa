#pragma once

#include "TextureManager.h"

#include <memory>

namespace Orvane { namespace Zel {

class BindlessFunctions;
template <typename Entry> class SamplerSlotMap;

/// The texture manager for drivers with bindless textures.
///
/// The token of a read-only texture is its 64-bit GL handle, so that shaders sample from the token itself. A texture that can
/// still change has no handle: its token has 0xFFFFFFFF in the high word, and shaders find it in a table of sampler slots.
/// tokenForImage() and tokenForColor() load at once, since the handle is the token.
///
/// In GLSL, managedTextureOffset() moves the coordinate by texels of the base level, whichever level is sampled. It works with
/// this manager only: with the others it returns the invalid texel.
///
/// \snippet managers.cpp BindlessTextureManager
///
/// Units:   slots; the writable textures of a draw need at most setMaxSlots() of them.
/// Context: as TextureManager; the context of construction must have GL_ARB_bindless_texture or GL_NV_bindless_texture. The
///          manager leaves its helper textures and resident handles to the context at its end.
/// Errors:  more writable textures in use than slots log a warning.
/// Source:  GL_ARB_bindless_texture, GL_NV_bindless_texture.
class ZELGL_EXPORT BindlessTextureManager : public TextureManager
{
public:
    /// An entry of the table of slots, in the shader a texel of four words.
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

    /// Returns true for a handle, false for a slot token and for the null token.
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

/// Known by this namespace too.
using TokenInfo = BindlessTextureManager::TokenInfo;

}} // namespace Orvane::Zel
