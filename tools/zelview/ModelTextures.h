#pragma once

#include "Options.h"

#include <ZelGL/TextureToken.h>

#include <QtCore/QStringList>
#include <QtCore/QVector>

#include <vector>

namespace Orvane { namespace Zel {
class GLSLMacroProcessor;
class ShaderProgram;
class Texture;
class TextureManager;
}} // namespace Orvane::Zel

namespace zelview {

struct TextureSource;

/// The textures of a scene, loaded by the library and handed to a texture manager: shaders sample them by token.
///
/// Context: construct, use and delete with one and the same context current, of which a process has one.
/// Errors:  an image that cannot be read is white, a tile is left out; both are told among the remarks, and so is a set
///          of tiles that the manager takes as its first tile alone.
class ModelTextures
{
    Q_DISABLE_COPY(ModelTextures)

public:
    static bool isSupported(ManagerKind kind);

    ModelTextures(const std::vector<TextureSource> &sources, ManagerKind kind);
    ~ModelTextures();

    ManagerKind kind() const { return _kind; }

    /// By the scene's index; -1 is white.
    Orvane::Zel::TextureToken token(int index) const;

    /// Whether draws see but the texture that is bound for them: the sampler manager's cost grows with the textures
    /// that are bound at once.
    bool isOneByOne() const { return _kind == ManagerKind::eSampler; }

    /// Adds the manager's defines.
    void setUp(Orvane::Zel::GLSLMacroProcessor *processor) const;
    /// The manager's own file, which goes into programs that sample by token.
    QString shaderFile() const;

    /// Around draws with the current program: the texture of the scene's index, or all unless it goes one by one.
    void bind(int index, Orvane::Zel::ShaderProgram *program) const;
    void unbind(int index, Orvane::Zel::ShaderProgram *program) const;

    const QStringList &remarks() const { return _remarks; }

private:
    Orvane::Zel::TextureToken add(const TextureSource &source);
    Orvane::Zel::TextureToken addSet(const TextureSource &source);
    Orvane::Zel::TextureToken addTexture(Orvane::Zel::Texture *texture);
    QVector<Orvane::Zel::TextureToken> tokensFor(int index) const;

    ManagerKind _kind;
    Orvane::Zel::TextureManager *_manager;
    Orvane::Zel::TextureToken _white;
    QVector<Orvane::Zel::TextureToken> _tokens;    ///< by the scene's index, and white
    std::vector<Orvane::Zel::Texture *> _textures; ///< the manager's
    struct Tile
    {
        Orvane::Zel::TextureToken set;
        Orvane::Zel::Texture *texture; ///< one of the above
    };
    std::vector<Tile> _tiles;
    QStringList _remarks;
};

} // namespace zelview
