#pragma once

#include <QtGui/QVector3D>

#include <array>

namespace zeltools {

/// A soft distant light, whose radiance around its direction is a spherical Gaussian:
/// radiance * exp(sharpness * (cos(angle) - 1)).
struct SoftLight
{
    QVector3D direction; ///< towards the light, unit length
    float sharpness;     ///< the higher, the smaller the light
    QVector3D radiance;  ///< at its centre
};

/// The direction at these angles around the vertical axis and above the horizon, in degrees.
QVector3D towards(float azimuth, float elevation);

/// The default lighting of models: a key, a fill and a rim light, and a dome that is bright above and darker below.
///
/// Units: directions in the world, y up; radiance 1 is the greatest value of the screen.
struct StudioLight
{
    std::array<SoftLight, 3> lights;
    QVector3D sky;
    QVector3D ground;

    /// The lights, rotated for a camera at this azimuth in degrees: the key light shines over its shoulder.
    static StudioLight facing(float azimuth);

    /// Switches off the first \a count lights, when other lights replace them.
    void switchOff(int count);
};

} // namespace zeltools
