#pragma once

#include <QtCore/QStringList>

#include <memory>
#include <vector>

namespace Orvane { namespace Zel {
class Texture;
}} // namespace Orvane::Zel

namespace zelview {

struct TextureSource;

/// The textures of a scene, loaded by the library.
///
/// Context: construct, use and delete with one and the same context current.
/// Errors:  an image that cannot be read is white, and told among the remarks.
class ModelTextures
{
    Q_DISABLE_COPY(ModelTextures)

public:
    explicit ModelTextures(const std::vector<TextureSource> &sources);
    ~ModelTextures();

    /// By the scene's index; -1 is white.
    Orvane::Zel::Texture *texture(int index);

    const QStringList &remarks() const { return _remarks; }

private:
    std::unique_ptr<Orvane::Zel::Texture> _white;
    std::vector<std::unique_ptr<Orvane::Zel::Texture>> _textures; ///< null where the image cannot be read
    QStringList _remarks;
};

} // namespace zelview
