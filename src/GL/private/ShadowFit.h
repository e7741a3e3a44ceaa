#pragma once

#include "../ClipperVolume.h"
#include "DoublePrecision.h"

#include <QtCore/QVector>
#include <QtGui/QMatrix4x4>

#include <optional>

namespace Orvane { namespace Zel {

/// \file
/// Projections of shadow maps, each fitted to points of the world. A light's space has the axes of its transform; a map
/// has x and y from -1 to 1 and depths from 0 to 1.
///
/// Context: none.
/// Private to the library: ShadowMapManager, ShadowMapManagerCulling.

/// The angle of a point light's face, in degrees: one more than a right angle, so that neighbouring faces overlap at
/// their edges. The shader takes the minimum of both.
constexpr float kShadowFaceAngle = 91.0f;

/// Orthographic projections of one directional light.
class DirectionalShadowFit
{
public:
    /// \a casterCornersInWorld: the eight corners of the box that holds all casters.
    DirectionalShadowFit(const QMatrix4x4 &lightToWorld, const QVector<QVector3D> &casterCornersInWorld);

    /// Returns the projection of a cascade, whose depths start at the first caster between the slice and the light.
    QMatrix4x4 worldToMap(const QVector<QVector3D> &slicePointsInWorld) const;

private:
    DoubleMatrix _worldToLight;
    bool _isMirrored;
    QVector<QVector3D> _castersInLight;
    QVector<Plane> _casterPlanesInLight;
    float _castersEndInLight; ///< the lowest z
};

/// The corners of the volume that one face of a point light lights and the camera sees.
struct LitPoints
{
    QVector<QVector3D> inScene;
    QVector<QVector3D> anywhere; ///< not clipped by the scene
};

/// Returns the number of faces of a point light with this half angle of its cone, in radians.
int shadowFaceCount(float spotCutoff);

/// Returns the transform from the space of a face, which looks along its -z axis, to that of its light. Face 0 has the
/// axes of the light, so that a light with one face shines along the light's own -z axis.
QMatrix4x4 shadowFaceRotation(int face);

/// Returns the pyramid of a face from its apex to \a depth, 90 degrees wide unless the half angle is less.
ClipperVolume shadowFacePyramid(const QMatrix4x4 &faceToWorld, float depth, float halfAngle);

/// Returns the plane through the apex of a face. The distance of a point to it is the point's depth.
Plane shadowFacePlane(const QMatrix4x4 &faceToWorld);

/// Returns the perspective projection of a face, or none if its points have no extent in depth or in the map.
std::optional<QMatrix4x4> fitShadowFace(const QMatrix4x4 &faceToWorld, const LitPoints &litInWorld);

}} // namespace Orvane::Zel
