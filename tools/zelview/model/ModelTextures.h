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

namespace zeltools {

/// The textures of a scene, loaded by the library and owned by a texture manager; shaders sample them by token.
///
/// Context: construct, use and delete with the same context current; a process may have only one.
/// Errors:  an unreadable image is white, an unreadable tile is left out. The remarks list both, and sets of tiles of which
///          the manager shows only the first, and sizes of textures that it scales or has no slot for.
class ModelTextures
{
    Q_DISABLE_COPY(ModelTextures)

public:
    static bool isSupported(ManagerKind kind);
    /// To be called before the context is deleted, when no object of this class is left: the managers keep textures, whose
    /// names mean others in the next context.
    static void deleteManagers();

    ModelTextures(const Scene &scene, ManagerKind kind);
    ~ModelTextures();

    ManagerKind kind() const { return _kind; }

    Orvane::Zel::TextureManager *manager() const { return _manager; }

    /// The texture that shaders sample for a map: white if the material has none. If no material has such a map, shaders do
    /// not sample it; then this is the token of the colour map, so that no further texture is bound.
    Orvane::Zel::TextureToken token(const Material &material, MapKind kind) const;
    /// The same for all maps, by MapKind.
    std::array<Orvane::Zel::TextureToken, kMapKinds> tokens(const Material &material) const;

    /// Adds the defines of the manager, and those such as ZELVIEW_SURFACE_MAP for maps that a material has.
    void setUp(Orvane::Zel::GLSLMacroProcessor *processor) const;
    /// The shader file of the manager, which programs that sample by token must link.
    QString shaderFile() const;

    // For the manager's debug view with the current program: bind as many textures as possible at once, and unbind them.
    void bind(Orvane::Zel::ShaderProgram *program) const;
    void unbind(Orvane::Zel::ShaderProgram *program) const;

    const QStringList &remarks() const { return _remarks; }

private:
    struct Tile
    {
        Orvane::Zel::TextureToken set;
        Orvane::Zel::Texture *texture; ///< one of _textures
    };

    Orvane::Zel::TextureToken add(const TextureSource &source);
    Orvane::Zel::TextureToken addSet(const TextureSource &source);
    Orvane::Zel::TextureToken addTexture(Orvane::Zel::Texture *texture);
    /// Makes an array manager place all textures in slots, and adds remarks about those that it scales.
    void placeInSlots();
    void remarkTooLarge();
    QVector<Orvane::Zel::TextureToken> tokensAtOnce() const;
    Orvane::Zel::TextureToken tokenOf(int index) const;

    ManagerKind _kind;
    std::array<bool, kMapKinds> _isUsed; ///< whether any material has such a map
    Orvane::Zel::TextureManager *_manager;
    Orvane::Zel::TextureToken _white;
    QVector<Orvane::Zel::TextureToken> _tokens;    ///< by texture index of the scene; the last is white
    std::vector<Orvane::Zel::Texture *> _textures; ///< owned by the manager
    std::vector<Tile> _tiles;
    QStringList _remarks;
};

} // namespace zeltools
