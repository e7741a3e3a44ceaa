#pragma once

#include <QtGui/QMatrix4x4>
#include <QtGui/QVector3D>

#include <vector>

namespace zelview {

enum class LightRig;
struct Box;
struct Scene;

/// A light that casts shadows, in the world. Free of GL.
///
/// Units: lengths in the scene's; angles in radians. Of a directional light the colour is in lux, of the others in candela,
///        and pi lux on white fill the screen's range.
struct LightSource
{
    enum Type { ePoint, eSpot, eDirectional };

    Type type = eDirectional;
    QVector3D position;                     ///< of what is not directional
    QVector3D direction{0.0f, -1.0f, 0.0f}; ///< in which it shines; unit length; of what is not a point light
    QVector3D color;                        ///< linear, times intensity
    float range = 0.0f;                     ///< where it ends; 0: never
    float innerCone = 0.0f;                 ///< half angle within which a spot light has its full strength
    float outerCone = 0.7853982f;           ///< half angle beyond which it has none
    float size = 0.0f; ///< radius of what shines; of a directional light the tangent of it as seen

    /// A placement whose -z axis is the direction, whichever way up.
    QMatrix4x4 placement() const;
    /// Lux at a point that faces it, without its cone.
    QVector3D illuminance(const QVector3D &point) const;
};

/// A sun; \a towardsIt is of unit length.
LightSource makeSun(const QVector3D &towardsIt, const QVector3D &illuminance);

/// The lights of a rig; \a azimuth is that of the camera in degrees, as it was at first.
std::vector<LightSource> makeLights(LightRig rig, const Scene &scene, float azimuth);

/// Where shadows can be seen: a box around the scene and, with a ground under it, what the lights throw there.
Box shadowedBox(const Box &scene, const std::vector<LightSource> &lights, bool hasGround);

} // namespace zelview
