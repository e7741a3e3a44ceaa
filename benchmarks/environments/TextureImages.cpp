#include "TextureImages.h"

#include <ZelGL/TextureIO.h>
#include <ZelGL/TextureProcessing.h>
#include <ZelGL/TvoImageCubemapUtils.h>

using namespace Orvane::Zel;

namespace TextureImages {

Image::Image(int imageWidth, int imageHeight)
    : width(imageWidth)
    , height(imageHeight)
    , values(size_t(imageWidth) * size_t(imageHeight) * 4, 1.0f)
{
}

Image::Image(int imageWidth, int imageHeight, const Colors &colors)
    : Image(imageWidth, imageHeight)
{
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            colors((x + 0.5) / width, (y + 0.5) / height, at(x, y));
        }
    }
}

GLenum faceTarget(int face)
{
    return GL_TEXTURE_CUBE_MAP_POSITIVE_X + GLenum(face);
}

Image readBack(Texture &texture, GLenum image, int level)
{
    texture.bind();
    Image result(texture.width(level), texture.height(level));
    glGetTexImage(image, level, GL_RGBA, GL_FLOAT, result.values.data());
    texture.unbind();
    return result;
}

TexturePointer upload(const Image &image)
{
    auto texture =
        std::make_unique<Texture>(GL_TEXTURE_2D, GL_RGBA16F, image.width, image.height, 0, nullptr);
    texture->bind();
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA16F, image.width, image.height, 0, GL_RGBA, GL_FLOAT,
                 image.values.data());
    glGenerateMipmap(GL_TEXTURE_2D);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR_MIPMAP_LINEAR);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
    texture->unbind();
    return texture;
}

TexturePointer load(const QString &path)
{
    return TexturePointer(LoadTextureFromFile(path, TextureFileInfo()));
}

TexturePointer cubeOfLatLong(TexturePointer latLong, int maxSize)
{
    using namespace TvoImageCubemapUtils;
    Texture *skyFirst = latLong.release();
    FlipY(skyFirst);
    const TexturePointer owner(skyFirst);
    return TexturePointer(createGLCubemapFromTexture(skyFirst, eSourceLatLong, GL_TEXTURE_CUBE_MAP,
                                                     eColorSpaceLinear, maxSize));
}

} // namespace TextureImages
