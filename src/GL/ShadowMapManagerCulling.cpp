#include "ShadowMapManagerCulling.h"

#include "PlaneClipper.h"
#include "Reporting.h"
#include "private/DoublePrecision.h"

#include <algorithm>
#include <atomic>
#include <cmath>

namespace Orvane { namespace Zel {

namespace {

using RenderData = ShadowMapManager::RenderData;

constexpr float kMargin = 0.99f; ///< against bleeding at the edges of a map
constexpr float kLeastDepth = 1e-5f;
constexpr float kFaceAngle = 91.0f;
constexpr int kMostFaces = 6;
constexpr float kQuarterPi = 0.7853982f;
constexpr float kThreeQuarterPi = 2.3561945f;

/// Corners of the planes of a frustum: near, far, and the four sides.
constexpr int kPlaneCorners[6][3] = {{0, 1, 3}, {4, 6, 7}, {6, 4, 0}, {7, 6, 2}, {5, 7, 3}, {4, 5, 1}};

using Corners = QVector<DoubleVector>;

DoubleVector cornerNormal(const Corners &corners, int plane)
{
    const int *numbers = kPlaneCorners[plane];
    return DoubleVector::normal(corners.at(numbers[0]), corners.at(numbers[1]), corners.at(numbers[2]));
}

/// Renumbers the corners of a mirrored volume, so that its planes face outward.
void faceOutward(Corners &corners)
{
    if (DoubleVector::dot(cornerNormal(corners, 0), corners.at(4) - corners.at(0)) > 0.0) {
        for (int i = 0; i < 8; i += 2) {
            std::swap(corners[i], corners[i + 1]);
        }
    }
}

QVector<Plane> planesOf(const Corners &corners)
{
    QVector<Plane> planes;
    planes.reserve(6);
    for (int plane = 0; plane < 6; ++plane) {
        const QVector3D normal = cornerNormal(corners, plane).rounded();
        const DoubleVector &onPlane = corners.at(kPlaneCorners[plane][0]);
        planes.append(Plane(normal, float(DoubleVector::dot(DoubleVector(normal), onPlane))));
    }
    return planes;
}

QVector<QVector3D> rounded(const Corners &points)
{
    QVector<QVector3D> result;
    result.reserve(points.size());
    for (const DoubleVector &point : points) {
        result.append(point.rounded());
    }
    return result;
}

Corners mapped(const QVector<QVector3D> &points, const DoubleMatrix &matrix)
{
    Corners result;
    result.reserve(points.size());
    for (const QVector3D &point : points) {
        result.append(matrix.map(DoubleVector(point)));
    }
    return result;
}

Bounds mappedBounds(QVector<QVector3D> points, const DoubleMatrix &matrix)
{
    for (QVector3D &point : points) {
        point = matrix.map(DoubleVector(point)).rounded();
    }
    return Bounds(points);
}

Corners frustumCorners(const QMatrix4x4 &view, const QMatrix4x4 &projection)
{
    const DoubleMatrix fromClip = DoubleMatrix(projection).inverted();
    const DoubleMatrix fromView = DoubleMatrix(view).inverted();
    Corners corners;
    corners.reserve(8);
    for (int i = 0; i < 8; ++i) {
        const DoubleVector corner((i & 1) != 0 ? 1.0 : -1.0, (i & 2) != 0 ? 1.0 : -1.0,
                                  (i & 4) != 0 ? 1.0 : -1.0);
        corners.append(fromView.map(fromClip.map(corner)));
    }
    faceOutward(corners);
    return corners;
}

bool isFinite(const QVector<Plane> &planes)
{
    return std::all_of(planes.begin(), planes.end(), [](const Plane &plane) {
        return std::isfinite(plane.normal.lengthSquared()); // not so with any NaN
    });
}

/// Once in the process: a warning in each frame would hide all others.
void warnOfInfiniteFrustum()
{
    static std::atomic<bool> wasLogged(false);
    if (!wasLogged.exchange(true)) {
        ZEL_LOG_WARNING("The camera's frustum is not finite (a far plane at infinity?): "
                        "directional and point lights cast no shadows");
    }
}

/// A unit axis of a light in the world.
QVector3D lightAxis(const QMatrix4x4 &lightMatrix, int axis)
{
    return DoubleVector(lightMatrix.column(axis).toVector3D()).normalized().rounded();
}

/// The end of the cascades at one plane of the camera: the plane, where the scene
/// reaches it, and otherwise the corner of the scene closest to it.
QVector3D cascadeEnd(const Plane &plane, const Plane &opposite, const QVector<QVector3D> &sceneCorners)
{
    QVector3D closest;
    float best = plane.DistanceTo(opposite.normal * opposite.distance);
    for (const QVector3D &corner : sceneCorners) {
        const float distance = plane.DistanceTo(corner);
        if (distance >= 0.0f) {
            return plane.normal * plane.distance;
        }
        if (distance >= best) {
            best = distance;
            closest = corner;
        }
    }
    return closest;
}

/// The rotations of a point light's faces, by column.
QMatrix4x4 faceRotation(int face)
{
    static constexpr float columns[kMostFaces][3][3] = {
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

int faceCount(float spotCutoff)
{
    if (spotCutoff <= 0.0f || spotCutoff > kThreeQuarterPi) {
        return 6;
    }
    return spotCutoff <= kQuarterPi ? 1 : 5;
}

/// The pyramid of a light's face, 90 degrees wide unless the half angle says less,
/// out to \a depth.
ClipperVolume lightPyramid(const QMatrix4x4 &lightMatrix, float depth, float halfAngle)
{
    const QVector3D apex = lightMatrix.map(QVector3D());
    const QVector3D forward = -lightAxis(lightMatrix, 2) * depth;
    QVector3D right = lightAxis(lightMatrix, 0) * depth;
    QVector3D up = lightAxis(lightMatrix, 1) * depth;
    if (lightMatrix.determinant() < 0.0) {
        right = -right; // so that the planes face outward for a mirrored light too
    }
    if (halfAngle > 0.0f && halfAngle < kQuarterPi) {
        right *= std::tan(halfAngle);
        up *= std::tan(halfAngle);
    }
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

bool isFull(const RenderData &renderData, const RenderData::ProjectorInfo &info)
{
    return info.index + info.count >= renderData.transforms.size();
}

/// A host that asks for more cascades than there are projections must not wait for all that come out empty.
int levelsTried(int levels, const RenderData &renderData)
{
    return std::min(levels, renderData.transforms.size());
}

void addProjection(RenderData &renderData, RenderData::ProjectorInfo &info, const QMatrix4x4 &matrix,
                   bool &changed)
{
    changed =
        renderData.setTransform(info.index + info.count, matrix, RenderData::BlurInfo().blur) || changed;
    ++info.count;
}

} // namespace

void ShadowMapManagerCulling::setupCameras(const QMatrix4x4 *view, const QMatrix4x4 *projection)
{
    if (view != nullptr && projection != nullptr) {
        const Corners corners = frustumCorners(*view, *projection);
        _cameraFrustumPoints = rounded(corners);
        _cameraFrustumPlanes = planesOf(corners);
        _hasCamera = true;
    }
}

void ShadowMapManagerCulling::setupScene(const QPair<QVector3D, QVector3D> *bounds)
{
    if (bounds != nullptr) {
        _sceneCorners = Bounds(bounds->first, bounds->second).corners();
        _hasScene = true;
    }
}

void ShadowMapManagerCulling::setupPost()
{
    if (_hasScene && _hasCamera) {
        _visibleScenePoints.clear();
        if (isFinite(_cameraFrustumPlanes)) {
            _visibleScenePoints =
                Bounds(_sceneCorners).frustrumClipped(_cameraFrustumPlanes, _cameraFrustumPoints, {});
        } else {
            warnOfInfiniteFrustum();
        }
        _cameraSceneVolumePoints = _sceneCorners;
        _valid = true;
    } else if (_hasScene) {
        _visibleScenePoints = _sceneCorners;
        _cameraSceneVolumePoints = _sceneCorners;
        _valid = true;
    } else if (_hasCamera) {
        _visibleScenePoints = _cameraFrustumPoints;
        _cameraSceneVolumePoints = _cameraFrustumPoints;
    }
}

QVector<QVector3D> ShadowMapManagerCulling::getWorldFrustrumPoints(const QMatrix4x4 &view,
                                                                   const QMatrix4x4 &projection)
{
    return rounded(frustumCorners(view, projection));
}

QVector<Plane> ShadowMapManagerCulling::getWorldFrustrumPlanes(const QMatrix4x4 &view,
                                                               const QMatrix4x4 &projection)
{
    return planesOf(frustumCorners(view, projection));
}

void ShadowMapManagerCulling::setupLightCSMData(ShadowMapManager::Light *light, ProcessCSMData &data) const
{
    data.enabled = false;
    data.levels = 1;
    if (light->csmLevels() < 2 || !_hasScene || !_hasCamera) {
        return;
    }
    data.enabled = true;
    data.levels = light->csmLevels();
    const Plane &nearPlane = _cameraFrustumPlanes.at(0);
    const Plane &farPlane = _cameraFrustumPlanes.at(1);
    data.nearPoint = cascadeEnd(nearPlane, farPlane, _sceneCorners);
    data.farPoint = cascadeEnd(farPlane, nearPlane, _sceneCorners);
    data.nearToFar = data.farPoint - data.nearPoint;
    data.sceneBounds = Bounds(_sceneCorners);
}

const QVector<QVector3D> &
ShadowMapManagerCulling::getSceneCameraFrustrumPointsCSM(int level, ProcessCSMData &data,
                                                         const QVector<Plane> &extraPlanes) const
{
    if (!data.enabled) {
        return _visibleScenePoints;
    }
    data.points.clear();
    if (isSceneOutOfView()) {
        return data.points;
    }
    const QVector<Plane> planes = slicePlanes(level, data);
    data.points =
        data.sceneBounds.frustrumClipped(planes, PlaneClipper::getFrustrumPoints(planes), extraPlanes);
    return data.points;
}

const QVector<QVector3D> &ShadowMapManagerCulling::getSceneCameraFrustrumLightFrustrumPointsCSM(
    int level, ProcessCSMData &data, const QMatrix4x4 &lightMatrix, float halfAngle, const QVector<Plane> &,
    QVector<QVector3D> &unclippedPoints) const
{
    return clipPyramid(sliceVolumes(level, data), data, lightMatrix, halfAngle, unclippedPoints);
}

bool ShadowMapManagerCulling::processLightDirectional(ShadowMapManager::RenderData &renderData,
                                                      ShadowMapManager::RenderData::ProjectorInfo &info,
                                                      ShadowMapManager::Light *light, bool &changed) const
{
    if (!_valid) {
        return false;
    }
    ProcessCSMData data;
    setupLightCSMData(light, data);
    const DoubleMatrix toLight = DoubleMatrix(light->transform()).inverted();
    const bool mirrored = !(light->transform().determinant() > 0.0);
    Corners corners = mapped(_cameraSceneVolumePoints, toLight);
    faceOutward(corners);
    const QVector<QVector3D> volume = rounded(corners);
    const QVector<Plane> volumePlanes = planesOf(corners);
    const float volumeEnd = Bounds(volume).boxLowerBounds().z();

    const int levels = levelsTried(data.levels, renderData);
    for (int level = 0; level < levels; ++level) {
        if (isFull(renderData, info)) {
            break;
        }
        const QVector<QVector3D> &points = getSceneCameraFrustrumPointsCSM(level, data, {});
        if (points.isEmpty()) {
            continue;
        }
        const Bounds slice = mappedBounds(points, toLight);
        const QVector3D lo = slice.boxLowerBounds();
        const QVector3D hi = slice.boxUpperBounds();
        // Everything from the slice toward the light, which stands at the low end: occluders there count although
        // nobody sees them. The box ends with the volume; one that ends at infinity would lose all digits.
        const Bounds towardLight(QVector3D(lo.x(), lo.y(), std::min(volumeEnd, lo.z())), hi);
        const Bounds depths(towardLight.frustrumClipped(volumePlanes, volume, {}));
        // The slice is part of it, even where rounding leaves nothing of a flat one.
        const float depthEnd = std::min(depths.boxLowerBounds().z(), lo.z());

        QMatrix4x4 fit;
        if (!mirrored) {
            fit.scale(1.0f, -1.0f, 1.0f);
        }
        fit.scale(2.0f / (hi.x() - lo.x()), 2.0f / (hi.y() - lo.y()), 1.0f);
        fit.translate(-0.5f * (hi.x() + lo.x()), -0.5f * (hi.y() + lo.y()), 0.0f);
        fit.scale(kMargin, kMargin, 1.0f / (hi.z() - depthEnd));
        fit.translate(0.0f, 0.0f, -depthEnd);
        addProjection(renderData, info, (DoubleMatrix(fit) * toLight).rounded(), changed);
    }
    return true;
}

bool ShadowMapManagerCulling::processLightPoint(ShadowMapManager::RenderData &renderData,
                                                ShadowMapManager::RenderData::ProjectorInfo &info,
                                                ShadowMapManager::Light *light, bool &changed) const
{
    if (!_valid) {
        return false;
    }
    ProcessCSMData data;
    setupLightCSMData(light, data);
    const int faces = faceCount(light->spotCutoff());
    const float halfAngle = faces == 1 ? light->spotCutoff() : -1.0f;
    const int levels = levelsTried(data.levels, renderData);
    SliceVolumes volumes;
    for (int number = 0; number < faces; ++number) {
        const QMatrix4x4 face = light->transform() * faceRotation(number);
        for (int level = 0; level < levels; ++level) {
            if (isFull(renderData, info)) {
                return true;
            }
            if (data.enabled || number == 0) { // without cascades all faces are clipped with the same
                volumes = sliceVolumes(level, data);
            }
            QMatrix4x4 projection;
            if (fitFace(volumes, halfAngle, data, face, projection)) {
                addProjection(renderData, info, projection, changed);
            }
        }
    }
    return true;
}

/// Of a scene beyond the far plane or behind the eye the ends of cascades are not where it is.
bool ShadowMapManagerCulling::isSceneOutOfView() const
{
    return _valid && _visibleScenePoints.isEmpty();
}

/// The camera's planes, with near and far moved to the ends of a cascade. Near
/// cascades are much thinner than far ones, which is where the resolution is needed.
QVector<Plane> ShadowMapManagerCulling::slicePlanes(int level, const ProcessCSMData &data) const
{
    QVector<Plane> planes = _cameraFrustumPlanes;
    if (data.enabled && _hasCamera) {
        const float levels = static_cast<float>(data.levels);
        const float t0 = static_cast<float>(level) / levels;
        const float t1 = static_cast<float>(level + 1) / levels;
        planes[0] = Plane(planes.at(0).normal, data.nearPoint + t0 * t0 * data.nearToFar);
        planes[1] = Plane(planes.at(1).normal, data.nearPoint + t1 * t1 * data.nearToFar);
    }
    return planes;
}

ShadowMapManagerCulling::SliceVolumes ShadowMapManagerCulling::sliceVolumes(int level,
                                                                            const ProcessCSMData &data) const
{
    SliceVolumes volumes;
    volumes.scene = (data.enabled ? data.sceneBounds : Bounds(_sceneCorners)).clippingVolume();
    if (_hasCamera) {
        volumes.camera.planes = slicePlanes(level, data);
        volumes.camera.loops =
            PlaneClipper::getFrustrumLoops(PlaneClipper::getFrustrumPoints(volumes.camera.planes));
    }
    return volumes;
}

const QVector<QVector3D> &ShadowMapManagerCulling::clipPyramid(const SliceVolumes &volumes,
                                                               ProcessCSMData &data,
                                                               const QMatrix4x4 &lightMatrix, float halfAngle,
                                                               QVector<QVector3D> &unclippedPoints) const
{
    data.points.clear();
    unclippedPoints.clear();
    if (isSceneOutOfView()) {
        return data.points;
    }
    const QVector3D apex = lightMatrix.map(QVector3D());
    const Plane lightPlane(-lightAxis(lightMatrix, 2), apex);
    float depth = 0.0f;
    for (const QVector3D &corner : _sceneCorners) {
        depth = std::max(depth, lightPlane.DistanceTo(corner));
    }
    if (depth <= 0.0f) {
        return data.points; // the face looks away from the scene
    }
    ClipperVolume seen = lightPyramid(lightMatrix, depth * 1.01f, halfAngle);
    if (_hasCamera) {
        seen = PlaneClipper::clip(volumes.camera, seen);
    }
    data.points = PlaneClipper::loopsToPoints(PlaneClipper::clip(seen, volumes.scene).loops);
    unclippedPoints = PlaneClipper::loopsToPoints(seen.loops);
    return data.points;
}

/// The projection of one face of a point light for one cascade; false when it sees nothing.
bool ShadowMapManagerCulling::fitFace(const SliceVolumes &volumes, float halfAngle, ProcessCSMData &data,
                                      const QMatrix4x4 &face, QMatrix4x4 &result) const
{
    QVector<QVector3D> unclipped;
    const QVector<QVector3D> &points = clipPyramid(volumes, data, face, halfAngle, unclipped);
    if (points.isEmpty()) {
        return false;
    }
    const DoubleMatrix faceInverse = DoubleMatrix(face).inverted();
    QMatrix4x4 flipZ; // depth runs positive
    flipZ.scale(1.0f, 1.0f, -1.0f);
    const DoubleMatrix depthView = DoubleMatrix(flipZ) * faceInverse;
    const float farDepth = mappedBounds(points, depthView).boxUpperBounds().z();
    if (farDepth <= kLeastDepth) {
        return false;
    }
    const float seenFrom = mappedBounds(unclipped, depthView).boxLowerBounds().z();
    const float nearDepth = std::max({seenFrom, farDepth / 100.0f, kLeastDepth});
    if (farDepth <= nearDepth) {
        return false;
    }
    QMatrix4x4 projection;
    projection.perspective(kFaceAngle, 1.0f, nearDepth * 0.475f, farDepth * 1.05f);
    if (face.determinant() > 0.0) {
        projection.scale(1.0f, -1.0f, 1.0f);
    }
    const DoubleMatrix toClip = DoubleMatrix(projection) * faceInverse;
    float loX = 1.0f;
    float loY = 1.0f;
    float hiX = -1.0f;
    float hiY = -1.0f;
    const QVector3D apex = face.map(QVector3D());
    for (const QVector3D &point : points) {
        const DoubleVector exact(point);
        const double w = toClip.coordinate(3, exact);
        if (w > 0.0 && point != apex) { // at the apex w is 0, but for rounding
            const auto x = float(toClip.coordinate(0, exact) / w);
            const auto y = float(toClip.coordinate(1, exact) / w);
            loX = std::min(loX, x);
            loY = std::min(loY, y);
            hiX = std::max(hiX, x);
            hiY = std::max(hiY, y);
        }
    }
    if (!(hiX > loX) || !(hiY > loY)) {
        return false;
    }
    QMatrix4x4 fit;
    fit.scale(2.0f * kMargin / (hiX - loX), 2.0f * kMargin / (hiY - loY), 1.0f);
    fit.translate(-0.5f * (hiX + loX), -0.5f * (hiY + loY), 0.0f);
    result = (DoubleMatrix(fit) * toClip).rounded();
    return true;
}

}} // namespace Orvane::Zel
