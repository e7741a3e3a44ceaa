#pragma once

#include "TextureManager.h"

#include <memory>

namespace Orvane { namespace Zel {

template <typename Entry> class SamplerSlotMap;

/// The texture manager for drivers without bindless textures: every texture in
/// use is bound on a unit of its own, and a token reaches its sampler through a
/// table from token to slot.
///
/// Units:   slots, at most setMaxSlots() a draw; set them before setup().
/// Context: as TextureManager. The helper textures are left to the context at
///          the end.
/// Errors:  more textures in use than slots are told; their tokens give the
///          invalid texel. Cube maps and UDIM sets are not supported.
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
    // Apart, since most draws have no tokens.
    ZELGL_NO_EXPORT void bindAll(const QList<TextureToken> &tokens);
    ZELGL_NO_EXPORT void unbindAll(const QVector<TextureToken> &tokens);

    std::unique_ptr<SamplerSlotMap<int>> _slots; ///< the entries are slots
};

}} // namespace Orvane::Zel
