#pragma once

#include <QtGui/QVector3D>

#include <optional>

namespace zelview {

struct EnvironmentImage;

/// A light so far away that it comes from one direction.
struct DistantLight
{
    QVector3D direction;  ///< towards the light, unit length
    QVector3D irradiance; ///< of a surface that faces the light
};

/// Removes the strongest light, such as the sun or the main lamp of a studio, from an environment, and returns it. Its
/// texels keep at most the brightness of an ordinary lamp. Returns an empty value and changes nothing if no light is
/// strong enough.
std::optional<DistantLight> takeStrongestLight(EnvironmentImage &environment);

} // namespace zelview
