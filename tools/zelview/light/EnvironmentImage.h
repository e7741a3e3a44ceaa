#pragma once

#include "frame/Options.h"
#include "frame/Outcome.h"
#include "image/ExrFile.h"

#include <optional>

namespace zelview {

/// Light from all around, out of an image file. Free of GL once it is read.
///
/// Units: linear radiance; directions in the world, y up. The first row is the sky's.
struct EnvironmentImage
{
    EnvironmentLayout layout = EnvironmentLayout::eLatLong; ///< a cross is cut into a strip
    LightImage image;

    QVector3D &at(int x, int y) { return image.texels[size_t(y) * size_t(image.size.width()) + size_t(x)]; }
    const QVector3D &at(int x, int y) const { return const_cast<EnvironmentImage *>(this)->at(x, y); }

    /// From the middle towards that of a texel, unit length.
    QVector3D direction(int x, int y) const;
    /// What a texel covers of the sphere, in steradians.
    float solidAngle(int x, int y) const;
};

/// The image at half the size; a last odd row or column is dropped.
LightImage halved(const LightImage &image);

/// Reads OpenEXR files, KTX cube maps, and all images that the library reads; sRGB becomes linear, what is no number or
/// negative becomes dark, and images finer than is of use are reduced. Without a \a layout the ratio of width and
/// height decides.
///
/// Context: a current one, in which the library's readers load.
/// Errors:  ExitCode::eFile for a file that cannot be opened, ExitCode::eInput for one that is no environment.
Expected<EnvironmentImage> loadEnvironmentImage(const QString &path, std::optional<EnvironmentLayout> layout);

} // namespace zelview
