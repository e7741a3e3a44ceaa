#pragma once

#include "frame/Options.h"
#include "scene/Scene.h"

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

/// The textures of a scene, loaded by the library and handed to a texture manager: shaders sample them by token.
///
/// Context: construct, use and delete with one and the same context current, of which a process has one.
/// Errors:  an image that cannot be read is white, a tile is left out. The remarks list both, sets of tiles of which the
///          manager shows the first alone, and sizes of textures that it scales or has no slot for.
class ModelTextures
{
    Q_DISABLE_COPY(ModelTextures)

public:
    static bool isSupported(ManagerKind kind);

    ModelTextures(const Scene &scene, ManagerKind kind);
    ~ModelTextures();

    ManagerKind kind() const { return _kind; }

    Orvane::Zel::TextureManager *manager() const { return _manager; }

    /// What shaders sample for a map: white where the material has none. Where no material has one, shaders do not
    /// sample it, and it is the colour's, so that no further texture is bound for it.
    Orvane::Zel::TextureToken token(const Material &material, MapKind kind) const;

    /// Adds the manager's defines, and ZELVIEW_SURFACE_MAP and the like for the maps that some material has.
    void setUp(Orvane::Zel::GLSLMacroProcessor *processor) const;
    /// The manager's own file, which goes into programs that sample by token.
    QString shaderFile() const;

    /// Around a look at the manager itself with the current program: all textures, as far as they can be bound at once.
    void bind(Orvane::Zel::ShaderProgram *program) const;
    void unbind(Orvane::Zel::ShaderProgram *program) const;

    const QStringList &remarks() const { return _remarks; }

private:
    Orvane::Zel::TextureToken add(const TextureSource &source);
    Orvane::Zel::TextureToken addSet(const TextureSource &source);
    Orvane::Zel::TextureToken addTexture(Orvane::Zel::Texture *texture);
    /// Makes an array manager find slots for all textures, and remarks what it scales.
    void placeInSlots();
    void remarkTooLarge();
    QVector<Orvane::Zel::TextureToken> tokensAtOnce() const;
    Orvane::Zel::TextureToken tokenOf(int index) const;

    ManagerKind _kind;
    std::array<bool, kMapKinds> _isUsed; ///< whether some material has such a map
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
