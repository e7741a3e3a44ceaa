#pragma once

#include <ZelGL/GLUtilities.h>
#include <ZelGL/Texture.h>

#include <functional>
#include <memory>
#include <vector>

/// Textures to floats and back, for the programs that look at environments. Rows in the order of GL.
namespace TextureImages {

using TexturePointer = std::unique_ptr<Orvane::Zel::Texture>;

/// Four floats a texel.
struct Image
{
    using Colors = std::function<void(double u, double v, float *rgb)>;

    Image(int imageWidth, int imageHeight);
    /// Each texel by its centre, 0 to 1; alpha is 1.
    Image(int imageWidth, int imageHeight, const Colors &colors);

    float *at(int x, int y) { return values.data() + 4 * (size_t(y) * size_t(width) + size_t(x)); }
    const float *at(int x, int y) const { return const_cast<Image *>(this)->at(x, y); }

    int width;
    int height;
    std::vector<float> values;
};

GLenum faceTarget(int face);

Image readBack(Orvane::Zel::Texture &texture, GLenum image, int level);

/// Half floats with a mip chain, trilinear, closed around the horizon.
TexturePointer upload(const Image &image);

/// A Radiance picture, lowest row first; null where it cannot be read.
TexturePointer load(const QString &path);

/// The cube map of a picture of latitude and longitude, whose lowest row comes first.
TexturePointer cubeOfLatLong(TexturePointer latLong, int maxSize = 0);

} // namespace TextureImages
