#pragma once

#include "KitExport.h"

#include <QtCore/QSize>
#include <QtCore/QString>
#include <QtGui/QImage>
#include <QtGui/QVector3D>

#include <memory>
#include <optional>
#include <vector>

namespace Orvane {

namespace Zel {
class Texture;
}

namespace ZelKit {

/// The linear colours of an image, row by row from the top.
struct LightImage
{
    QSize size;
    std::vector<QVector3D> texels;
};

/// The image at half the size; the last row or column is dropped if their number is odd. Empty, with a warning, if the number of
/// texels is not that of the size.
ZELKIT_EXPORT LightImage halved(const LightImage &image);

/// A light so far away that it comes from one direction.
struct DistantLight
{
    QVector3D direction;  ///< towards the light, unit length
    QVector3D irradiance; ///< of a surface that faces the light
};

/// An environment image: the light that arrives from each direction.
///
/// - Units: linear radiance; directions in the world, y up. The first row is the sky's. docs/environment-images.md draws the
///   layouts.
/// - Context: needed by load(), fromTexture() and cubeMap(); isFirstRowLowest() needs that the library is initialized.
/// - Errors: a function that can fail explains why in its last argument, or logs it.
///
/// \snippet kit.cpp EnvironmentImage
struct ZELKIT_EXPORT EnvironmentImage
{
    enum Layout {
        eLatLong, ///< twice as wide as high; the left edge is +x
        eCross,   ///< 4 by 3 or 3 by 4 cells
        eStrip    ///< six faces side by side: +x, -x, +y, -y, +z, -z
    };

    Layout layout = eLatLong; ///< a cross only before prepared()
    LightImage image;

    /// The layout that a size suggests: cells are square, and the texels of a panorama are.
    static std::optional<Layout> layoutOf(const QSize &size);

    /// An image that can be baked: a cross becomes a strip, NaNs and negative values become 0, and images that are finer than
    /// visible are reduced, except for faces of an odd size. Without a layout that of the size; a panorama may have any size and is
    /// stretched. Empty if the size fits no layout or not the given one, if the image is too small, or if the number of texels is
    /// not that of the size.
    static std::optional<EnvironmentImage> prepared(LightImage image, std::optional<Layout> layout = {},
                                                    QString *error = nullptr);

    /// Reads an image file of any format that the library loads, and prepares it. An OpenEXR file goes through prepared() instead.
    static std::optional<EnvironmentImage> load(const QString &path, std::optional<Layout> layout = {},
                                                QString *error = nullptr);

    /// Reads a 2D texture or a cube map of the current context back, decodes sRGB, and prepares it. \a isFirstRowLowest: the rows
    /// go up; false for cube maps of the bakes. \a layout: of a 2D texture. Empty, besides, for a texture of integers.
    static std::optional<EnvironmentImage> fromTexture(Zel::Texture &texture, bool isFirstRowLowest,
                                                       std::optional<Layout> layout = {},
                                                       QString *error = nullptr);

    /// Whether the library uploads the rows of this file from the lowest one if TextureFileInfo::keepOrientation is set: those of all
    /// files but ASTC, and KTX without "T=u" in its metadata.
    static bool isFirstRowLowest(const QString &path);

    /// A preview, encoded in sRGB. \a exposure: as a power of two. Null if the number of texels is not that of the size.
    QImage picture(float exposure = 0.0f) const;

    QVector3D &at(int x, int y) { return image.texels[size_t(y) * size_t(image.size.width()) + size_t(x)]; }
    const QVector3D &at(int x, int y) const { return const_cast<EnvironmentImage *>(this)->at(x, y); }

    /// The direction towards the centre of a texel, unit length; 0 outside of the image.
    QVector3D direction(int x, int y) const;
    /// The solid angle of a texel, in steradians; 0 outside of the image.
    float solidAngle(int x, int y) const;

    /// Removes the strongest light, such as the sun or the main lamp of a studio, and returns it, so that it can cast shadows.
    /// Its texels keep at most the brightness of an ordinary lamp. Returns an empty value and changes nothing if no light is
    /// strong enough or, with a warning, if the image is not prepared.
    std::optional<DistantLight> takeStrongestLight();

    /// A cube map with a mip chain, of half floats; null if the driver refuses it or the image is not prepared. The most
    /// expensive part of a bake that cannot be divided: up to 1.6 million texels, or more if faces have an odd size.
    std::unique_ptr<Zel::Texture> cubeMap(QString *error = nullptr) const;
};

} // namespace ZelKit
} // namespace Orvane
