#include "ModelTextures.h"

#include "Console.h"
#include "Scene.h"

#include <ZelGL/ZelGL.h>

using namespace Orvane::Zel;

namespace zelview {

namespace {

Texture *loadEmbedded(const TextureSource &source, const TextureFileInfo &info)
{
    const QImage image = source.pixels.isNull() ? QImage::fromData(source.encoded) : source.pixels;
    if (!image.isNull()) {
        // Rows in GL's order, as the library's own way from a QImage has them.
        return QImageToTexture(image.mirrored().convertToFormat(QImage::Format_ARGB32), false, info);
    }
    QByteArray bytes = source.encoded; // a copy: readers may write into what they read
    return LoadTextureFromMemory(reinterpret_cast<unsigned char *>(bytes.data()), ulong(bytes.size()), info,
                                 source.name);
}

GLint toGL(TextureSource::Wrap wrap)
{
    switch (wrap) {
    case TextureSource::eClamp:
        return GL_CLAMP_TO_EDGE;
    case TextureSource::eMirror:
        return GL_MIRRORED_REPEAT;
    default:
        return GL_REPEAT;
    }
}

std::unique_ptr<Texture> load(const TextureSource &source)
{
    TextureFileInfo info;
    info.srgb = true;
    // No anisotropy: llvmpipe (Mesa 22.3) filters some footprints of a model for minutes with it.
    const Console::Collector quiet; // the remark says it all
    std::unique_ptr<Texture> texture(source.path.isEmpty() ? loadEmbedded(source, info)
                                                           : LoadTextureFromFile(source.path, info));
    if (texture == nullptr || texture->target() != GL_TEXTURE_2D) {
        return nullptr;
    }
    const AutoBinder bound(texture.get());
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, toGL(source.wrapU));
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, toGL(source.wrapV));
    return texture;
}

} // namespace

ModelTextures::ModelTextures(const std::vector<TextureSource> &sources)
    : _white(SolidColorTexture(1.0f, 1.0f, 1.0f, 1.0f))
{
    for (const TextureSource &source : sources) {
        _textures.push_back(load(source));
        if (_textures.back() == nullptr) {
            _remarks.append(
                QStringLiteral("texture '%1' cannot be read, and is drawn white").arg(source.name));
        }
    }
}

ModelTextures::~ModelTextures() = default;

Texture *ModelTextures::texture(int index)
{
    Texture *texture = index < 0 ? nullptr : _textures[size_t(index)].get();
    return texture != nullptr ? texture : _white.get();
}

} // namespace zelview
