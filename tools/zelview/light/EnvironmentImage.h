#pragma once

#include "frame/Options.h"
#include "frame/Outcome.h"
#include "image/ExrFile.h"

#include <optional>

namespace zelview {

/// An environment image. Uses no GL after loading.
///
/// Units: linear radiance; directions in the world, y up. The first row is the sky's.
struct EnvironmentImage
{
    EnvironmentLayout layout = EnvironmentLayout::eLatLong; ///< never a cross: loading converts it to a strip
    LightImage image;

    QVector3D &at(int x, int y) { return image.texels[size_t(y) * size_t(image.size.width()) + size_t(x)]; }
    const QVector3D &at(int x, int y) const { return const_cast<EnvironmentImage *>(this)->at(x, y); }

    /// The direction towards the centre of a texel, unit length.
    QVector3D direction(int x, int y) const;
    /// The solid angle of a texel, in steradians.
    float solidAngle(int x, int y) const;
};

/// The image at half the size; the last row or column is dropped if their number is odd.
LightImage halved(const LightImage &image);

/// Reads OpenEXR files, KTX cube maps and all images that the library reads. Decodes sRGB, replaces NaNs and negative
/// values by 0, and reduces images that are finer than needed. Without a \a layout the aspect ratio decides.
///
/// Context: needs a current one, since the library's readers load into textures.
/// Errors:  ExitCode::eFile for a file that cannot be opened, ExitCode::eInput for one that is not an environment image.
Expected<EnvironmentImage> loadEnvironmentImage(const QString &path, std::optional<EnvironmentLayout> layout);

} // namespace zelview
