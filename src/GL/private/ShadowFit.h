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
    /// \a casterCornersInWorld are the eight corners of the box that holds all casters.
    DirectionalShadowFit(const QMatrix4x4 &lightToWorld, const QVector<QVector3D> &casterCornersInWorld);

    /// The projection of a slice, which starts at the first caster between the slice and the light.
    QMatrix4x4 worldToMap(const QVector<QVector3D> &slicePointsInWorld) const;

private:
    DoubleMatrix _worldToLight;
    bool _isMirrored;
    QVector<QVector3D> _castersInLight;
    QVector<Plane> _casterPlanesInLight;
    float _castersEndInLight; ///< the lowest z
};

/// What one face of a point light lights.
struct LitPoints
{
    QVector<QVector3D> inScene;  ///< of the part of the scene that is seen
    QVector<QVector3D> anywhere; ///< of all that is seen, with scene or without
};

/// The number of faces of a point light with this half angle, in radians.
int shadowFaceCount(float spotCutoff);

/// The rotation of a face within its light: it looks along its own -z.
QMatrix4x4 shadowFaceRotation(int face);

/// The pyramid of a face out to \a depth, 90 degrees wide unless the half angle is less.
ClipperVolume shadowFacePyramid(const QMatrix4x4 &faceToWorld, float depth, float halfAngle);

/// The plane through a face's apex. Distances to it are depths.
Plane shadowFacePlane(const QMatrix4x4 &faceToWorld);

/// The perspective projection of a face; none if its points have no depth or no extent in the map.
std::optional<QMatrix4x4> fitShadowFace(const QMatrix4x4 &faceToWorld, const LitPoints &litInWorld);

}} // namespace Orvane::Zel
