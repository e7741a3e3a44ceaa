#include "ShadowFit.h"

#include "../Bounds.h"
#include "FrustumCorners.h"

#include <algorithm>
#include <cmath>

namespace Orvane { namespace Zel {

namespace {

constexpr float kMargin = 0.99f; ///< against bleeding at the edges of a map
constexpr float kMinDepth = 1e-5f;
constexpr float kQuarterPi = 0.7853982f;
constexpr float kThreeQuarterPi = 2.3561945f;

Bounds transformedBounds(QVector<QVector3D> points, const DoubleMatrix &transform)
{
    for (QVector3D &point : points) {
        point = transform.map(DoubleVector(point)).rounded();
    }
    return Bounds(points);
}

/// A unit vector in the world along an axis of a face.
QVector3D axisOf(const QMatrix4x4 &faceToWorld, int axis)
{
    return DoubleVector(faceToWorld.column(axis).toVector3D()).normalized().rounded();
}

/// In the world.
QVector3D apexOf(const QMatrix4x4 &faceToWorld)
{
    return faceToWorld.map(QVector3D());
}

/// Depths along the axis of a face, from the first to the last that its map must hold.
struct DepthRange
{
    float nearest;
    float farthest;
};

std::optional<DepthRange> depthRange(const LitPoints &litInWorld, const DoubleMatrix &worldToFace)
{
    QMatrix4x4 flipZ; // a face looks along -z, depth increases along +z
    flipZ.scale(1.0f, 1.0f, -1.0f);
    const DoubleMatrix worldToDepth = DoubleMatrix(flipZ) * worldToFace;

    // Without points the bounds are inverted, and all depths are below the minimum.
    const float farthest = transformedBounds(litInWorld.inScene, worldToDepth).boxUpperBounds().z();
    if (farthest <= kMinDepth) {
        return {};
    }
    const float seenFrom = transformedBounds(litInWorld.anywhere, worldToDepth).boxLowerBounds().z();
    // At most 100 to 1: a nearer plane would leave the far depths too few digits.
    const float nearest = std::max({seenFrom, farthest / 100.0f, kMinDepth});
    if (farthest <= nearest) {
        return {};
    }
    return DepthRange{nearest, farthest};
}

/// A rectangle of a map, empty until points widen it.
struct MapRectangle
{
    float loX = 1.0f;
    float loY = 1.0f;
    float hiX = -1.0f;
    float hiY = -1.0f;

    bool isEmpty() const { return !(hiX > loX) || !(hiY > loY); } // true for a NaN too
};

MapRectangle rectangleOf(const QVector<QVector3D> &pointsInWorld, const DoubleMatrix &worldToClip,
                         const QVector3D &apexInWorld)
{
    MapRectangle result;
    for (const QVector3D &pointInWorld : pointsInWorld) {
        const DoubleVector exact(pointInWorld);
        const double w = worldToClip.coordinate(3, exact);
        // The apex has w = 0. Rounding may raise it above 0, which would make x and y arbitrary.
        if (w > 0.0 && pointInWorld != apexInWorld) {
            const auto x = float(worldToClip.coordinate(0, exact) / w);
            const auto y = float(worldToClip.coordinate(1, exact) / w);
            result.loX = std::min(result.loX, x);
            result.loY = std::min(result.loY, y);
            result.hiX = std::max(result.hiX, x);
            result.hiY = std::max(result.hiY, y);
        }
    }
    return result;
}

} // namespace

DirectionalShadowFit::DirectionalShadowFit(const QMatrix4x4 &lightToWorld,
                                           const QVector<QVector3D> &casterCornersInWorld)
    : _worldToLight(DoubleMatrix(lightToWorld).inverted())
    , _isMirrored(!(lightToWorld.determinant() > 0.0))
{
    const FrustumCorners castersInLight = FrustumCorners::ofBox(casterCornersInWorld, _worldToLight);
    _castersInLight = castersInLight.points();
    _casterPlanesInLight = castersInLight.planes();
    _castersEndInLight = Bounds(_castersInLight).boxLowerBounds().z();
}

QMatrix4x4 DirectionalShadowFit::worldToMap(const QVector<QVector3D> &slicePointsInWorld) const
{
    // 1. The box around the slice. The light shines along +z: casters have lower z than what they shadow.
    const Bounds sliceInLight = transformedBounds(slicePointsInWorld, _worldToLight);
    const QVector3D lo = sliceInLight.boxLowerBounds();
    const QVector3D hi = sliceInLight.boxUpperBounds();

    // 2. The same box extended toward the light, since casters out of view throw shadows into it. It ends with the
    //    volume of the casters; an end at infinity would leave the clipped depths no digits.
    const Bounds towardLight(QVector3D(lo.x(), lo.y(), std::min(_castersEndInLight, lo.z())), hi);

    // 3. The lowest depth at which the volume of the casters is in this box. The slice is part of that volume, but
    //    rounding may clip all of a flat one.
    const Bounds castersInReach(towardLight.frustrumClipped(_casterPlanesInLight, _castersInLight, {}));
    const float depthBegin = std::min(castersInReach.boxLowerBounds().z(), lo.z());

    // 4. The slice to x and y from -1 to 1 less the margin, and the depths to 0 to 1. y is flipped unless the light
    //    is mirrored, see ShadowMapManagerCullingTest.ProjectionsHoldWhatIsLitAndSeenAndNoMore.
    QMatrix4x4 lightToMap;
    if (!_isMirrored) {
        lightToMap.scale(1.0f, -1.0f, 1.0f);
    }
    lightToMap.scale(2.0f / (hi.x() - lo.x()), 2.0f / (hi.y() - lo.y()), 1.0f);
    lightToMap.translate(-0.5f * (hi.x() + lo.x()), -0.5f * (hi.y() + lo.y()), 0.0f);
    // Required: the margin applies about the light's origin, not about the slice; see
    // ShadowMapManagerCullingTest.ProjectionsHoldWhatIsLitAndSeenAndNoMore.
    lightToMap.scale(kMargin, kMargin, 1.0f / (hi.z() - depthBegin));
    lightToMap.translate(0.0f, 0.0f, -depthBegin);
    return (DoubleMatrix(lightToMap) * _worldToLight).rounded();
}

int shadowFaceCount(float spotCutoff)
{
    if (spotCutoff <= 0.0f || spotCutoff > kThreeQuarterPi) {
        return 6;
    }
    return spotCutoff <= kQuarterPi ? 1 : 5;
}

QMatrix4x4 shadowFaceRotation(int face)
{
    static constexpr float columns[6][3][3] = {
        {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}},   {{0, 1, 0}, {0, 0, 1}, {1, 0, 0}},
        {{0, 1, 0}, {0, 0, -1}, {-1, 0, 0}}, {{0, 0, 1}, {1, 0, 0}, {0, 1, 0}},
        {{0, 0, 1}, {-1, 0, 0}, {0, -1, 0}}, {{-1, 0, 0}, {0, 1, 0}, {0, 0, -1}},
    };
    QMatrix4x4 rotation;
    for (int i = 0; i < 3; ++i) {
        const float *column = columns[face][i];
        rotation.setColumn(i, QVector4D(column[0], column[1], column[2], 0.0f));
    }
    return rotation;
}

ClipperVolume shadowFacePyramid(const QMatrix4x4 &faceToWorld, float depth, float halfAngle)
{
    // 1. The apex and the half axes of the far side, all in the world.
    const QVector3D apex = apexOf(faceToWorld);
    const QVector3D forward = -axisOf(faceToWorld, 2) * depth;
    QVector3D right = axisOf(faceToWorld, 0) * depth;
    QVector3D up = axisOf(faceToWorld, 1) * depth;
    if (faceToWorld.determinant() < 0.0) {
        right = -right; // so that the planes of a mirrored light point outward too
    }
    if (halfAngle > 0.0f && halfAngle < kQuarterPi) {
        right *= std::tan(halfAngle);
        up *= std::tan(halfAngle);
    }

    // 2. The corners of the far side, and the faces: counter-clockwise as seen from outside.
    const QVector3D c0 = apex + forward + right + up;
    const QVector3D c1 = apex + forward - right + up;
    const QVector3D c2 = apex + forward - right - up;
    const QVector3D c3 = apex + forward + right - up;
    ClipperVolume pyramid;
    pyramid.addLoopPlane(apex, c0, c1);
    pyramid.addLoopPlane(apex, c1, c2);
    pyramid.addLoopPlane(apex, c2, c3);
    pyramid.addLoopPlane(apex, c3, c0);
    pyramid.addLoopPlane(c0, c3, c2, c1);
    return pyramid;
}

Plane shadowFacePlane(const QMatrix4x4 &faceToWorld)
{
    return Plane(-axisOf(faceToWorld, 2), apexOf(faceToWorld));
}

std::optional<QMatrix4x4> fitShadowFace(const QMatrix4x4 &faceToWorld, const LitPoints &litInWorld)
{
    // 1. The depths that count: from where something is seen to the end of the scene.
    const DoubleMatrix worldToFace = DoubleMatrix(faceToWorld).inverted();
    const std::optional<DepthRange> depths = depthRange(litInWorld, worldToFace);
    if (!depths) {
        return {};
    }

    // 2. The projection of the whole face over these depths and a little more, for they are rounded. A map holds z from
    //    0 on, not from -1: z is 0 at up to twice the near plane, which is why that is at less than half the distance.
    QMatrix4x4 faceToClip;
    faceToClip.perspective(kShadowFaceAngle, 1.0f, depths->nearest * 0.475f, depths->farthest * 1.05f);
    if (faceToWorld.determinant() > 0.0) {
        faceToClip.scale(1.0f, -1.0f, 1.0f);
    }
    const DoubleMatrix worldToClip = DoubleMatrix(faceToClip) * worldToFace;

    // 3. The part of the face that the points occupy. Points at w <= 0 have no place in it.
    const MapRectangle used = rectangleOf(litInWorld.inScene, worldToClip, apexOf(faceToWorld));
    if (used.isEmpty()) {
        return {};
    }

    // 4. That part widened to the whole map, less the margin.
    QMatrix4x4 clipToMap;
    clipToMap.scale(2.0f * kMargin / (used.hiX - used.loX), 2.0f * kMargin / (used.hiY - used.loY), 1.0f);
    clipToMap.translate(-0.5f * (used.hiX + used.loX), -0.5f * (used.hiY + used.loY), 0.0f);
    return (DoubleMatrix(clipToMap) * worldToClip).rounded();
}

}} // namespace Orvane::Zel
