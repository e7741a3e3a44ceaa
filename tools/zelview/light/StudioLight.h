#pragma once

#include <QtGui/QVector3D>

#include <array>

namespace zelview {

/// A soft light from far away: radiance that falls off around a direction as a spherical Gaussian,
/// radiance * exp(sharpness * (cos(angle) - 1)).
struct SoftLight
{
    QVector3D direction; ///< towards the light, unit length
    float sharpness;     ///< the higher, the smaller the light
    QVector3D radiance;  ///< in its middle
};

/// A direction by degrees around the vertical axis and above the horizon.
QVector3D towards(float azimuth, float elevation);

/// The light in which models are shown: a key, a fill and a rim light, and a dome that is bright above and darker below.
///
/// Units: directions in the world, y up; radiance relative to a white that fills the screen's range.
struct StudioLight
{
    std::array<SoftLight, 3> lights;
    QVector3D sky;
    QVector3D ground;

    /// The rig, turned so that the key light comes over the shoulder of a camera at this azimuth in degrees.
    static StudioLight facing(float azimuth);

    /// Puts the first so many lights out, for others that take their part.
    void switchOff(int count);
};

} // namespace zelview
