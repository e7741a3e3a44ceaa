#pragma once

#include <ZelKit/ShadowLayers.h>

#include <QtGui/QVector3D>

#include <vector>

namespace zeltools {

enum class LightRig;
struct Box;
struct Scene;

/// A light that casts shadows, in world space. Uses no GL.
///
/// Units: lengths in units of the scene; angles in radians. The colour of a directional light is in lux, of the others in
///        candela; a white surface at pi lux has the greatest value of the screen.
struct LightSource : Orvane::ZelKit::ShadowLight
{
    QVector3D color;        ///< linear, times intensity
    float range = 0.0f;     ///< distance at which it ends; 0: infinite
    float innerCone = 0.0f; ///< half angle of full strength of a spot light; it is dark beyond halfAngle

    /// The illuminance in lux of a surface that faces the light, without the attenuation by the cone.
    QVector3D illuminance(const QVector3D &point) const;
};

/// A sun. \a towardsIt: direction of unit length.
LightSource makeSun(const QVector3D &towardsIt, const QVector3D &illuminance);

/// The lights of a rig. \a azimuth: the initial azimuth of the camera, in degrees.
std::vector<LightSource> makeLights(LightRig rig, const Scene &scene, float azimuth);

/// The box in which shadows are visible: around the scene and, if there is a ground, its shadows there.
Box shadowedBox(const Box &scene, const std::vector<LightSource> &lights, bool hasGround);

} // namespace zeltools
