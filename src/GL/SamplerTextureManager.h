#pragma once

#include "TextureManager.h"

#include <memory>

namespace Orvane { namespace Zel {

template <typename Entry> class SamplerSlotMap;

/// The texture manager for drivers without bindless textures: each texture in use is bound to a texture unit of its own, and
/// shaders find the sampler of a token in a table.
///
/// \snippet managers.cpp SamplerTextureManager
///
/// Units:   slots, at most setMaxSlots() in a draw; set their number before setup().
/// Context: as TextureManager. The manager leaves its helper textures to the context at its end.
/// Errors:  more textures in use than slots log a warning; shaders get the invalid texel for those without a slot. Cube maps
///          and UDIM sets are not supported.
class ZELGL_EXPORT SamplerTextureManager : public TextureManager
{
public:
    SamplerTextureManager();
    ~SamplerTextureManager() override;

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
    // The parts of bind(tokens) and unbind(tokens) that most draws skip, since they have no tokens.
    ZELGL_NO_EXPORT void bindAll(const QList<TextureToken> &tokens);
    ZELGL_NO_EXPORT void unbindAll(const QVector<TextureToken> &tokens);

    std::unique_ptr<SamplerSlotMap<int>> _slots; ///< the entries are slots
};

}} // namespace Orvane::Zel
