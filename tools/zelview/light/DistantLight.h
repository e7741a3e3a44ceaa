#pragma once

#include <QtGui/QVector3D>

#include <optional>

namespace zelview {

struct EnvironmentImage;

/// A light so far away that it comes from one direction.
struct DistantLight
{
    QVector3D direction;  ///< towards the light, unit length
    QVector3D irradiance; ///< of a surface that faces it
};

/// Takes the strongest light of an environment out of it, such as the sun or the main lamp of a studio: the light that
/// comes back is missing from the image afterwards, where its place keeps no more than the brightness of a plain lamp.
/// None where no light stands out.
std::optional<DistantLight> takeStrongestLight(EnvironmentImage &environment);

} // namespace zelview
