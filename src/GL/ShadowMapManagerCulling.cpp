#include "ShadowMapManagerCulling.h"

#include "PlaneClipper.h"
#include "Reporting.h"
#include "private/FrustumCorners.h"
#include "private/ShadowFit.h"
#include "private/ShadowTable.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <optional>

namespace Orvane { namespace Zel {

namespace {

using RenderData = ShadowMapManager::RenderData;
using ProcessCSMData = ShadowMapManagerCulling::ProcessCSMData;

bool isFinite(const QVector<Plane> &planes)
{
    return std::all_of(planes.begin(), planes.end(), [](const Plane &plane) {
        return std::isfinite(plane.normal.lengthSquared()); // false with a NaN too
    });
}

/// Logged once in the process: the same warning in each frame would hide all others.
void warnOfInfiniteFrustum()
{
    static std::atomic<bool> wasLogged(false);
    if (!wasLogged.exchange(true)) {
        ZEL_LOG_WARNING("The camera's frustum is not finite (a far plane at infinity?): "
                        "directional and point lights cast no shadows");
    }
}

/// A point at the end of the cascades next to one plane of the camera: on the plane if the scene reaches it, otherwise the
/// corner of the scene closest to it. Cascades thus split the depths of the scene, not the empty ones before or after it.
QVector3D cascadeEnd(const Plane &plane, const Plane &opposite, const QVector<QVector3D> &sceneCorners)
{
    // It stays at the origin if the whole scene is beyond the opposite plane, which isSceneOutOfView() excludes.
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

/// At most as many cascades as the table has projections. Without this limit a request for 2^31 cascades would clip all
/// of them, since empty ones do not fill the table; see ShadowMapManagerCullingTest.LightsStopAtTheEndOfTheTable.
int levelsTried(int levels, const RenderData &renderData)
{
    return std::min(levels, renderData.transforms.size());
}

/// The planes of the camera, with near and far replaced by the ends of a cascade (Zhang et al., Parallel-Split Shadow Maps
/// for Large-Scale Virtual Environments, 2006; here with quadratic splits).
QVector<Plane> slicePlanes(int level, const ProcessCSMData &data, QVector<Plane> cameraPlanes)
{
    if (data.enabled && !cameraPlanes.isEmpty()) {
        // Near cascades are much thinner than far ones: a texel close to the eye covers more of the screen.
        const float levels = static_cast<float>(data.levels);
        const float t0 = static_cast<float>(level) / levels;
        const float t1 = static_cast<float>(level + 1) / levels;
        cameraPlanes[0] = Plane(cameraPlanes.at(0).normal, data.nearPoint + t0 * t0 * data.nearToFar);
        cameraPlanes[1] = Plane(cameraPlanes.at(1).normal, data.nearPoint + t1 * t1 * data.nearToFar);
    }
    return cameraPlanes;
}

/// Clips the faces of a point light in one cascade.
class FaceClipper
{
public:
    /// Without a camera \a cameraPlanes is empty.
    FaceClipper(int level, const ProcessCSMData &data, const QVector<QVector3D> &sceneCorners,
                const QVector<Plane> &cameraPlanes)
        : _sceneCorners(sceneCorners)
        , _scene((data.enabled ? data.sceneBounds : Bounds(sceneCorners)).clippingVolume())
    {
        if (!cameraPlanes.isEmpty()) {
            _camera.planes = slicePlanes(level, data, cameraPlanes);
            _camera.loops = PlaneClipper::getFrustrumLoops(PlaneClipper::getFrustrumPoints(_camera.planes));
        }
    }

    LitPoints litPoints(const QMatrix4x4 &faceToWorld, float halfAngle) const
    {
        // 1. The depth at which the scene ends. A pyramid of infinite depth could not be clipped.
        const Plane facePlane = shadowFacePlane(faceToWorld);
        float depth = 0.0f;
        for (const QVector3D &corner : _sceneCorners) {
            depth = std::max(depth, facePlane.DistanceTo(corner));
        }
        if (depth <= 0.0f) {
            return {}; // the face looks away from the scene
        }

        // 2. The pyramid of the face, a little deeper: its far plane must not clip the scene.
        ClipperVolume lit = shadowFacePyramid(faceToWorld, depth * 1.01f, halfAngle);

        // 3. The part that the camera sees, and the part of that in the scene. The former starts at a smaller depth if
        //    the eye is outside the scene; the fit takes its near plane from there.
        if (!_camera.planes.isEmpty()) {
            lit = PlaneClipper::clip(_camera, lit);
        }
        return {PlaneClipper::loopsToPoints(PlaneClipper::clip(lit, _scene).loops),
                PlaneClipper::loopsToPoints(lit.loops)};
    }

private:
    QVector<QVector3D> _sceneCorners;
    ClipperVolume _scene;
    ClipperVolume _camera; ///< empty without a camera
};

} // namespace

void ShadowMapManagerCulling::setupCameras(const QMatrix4x4 *view, const QMatrix4x4 *projection)
{
    if (view != nullptr && projection != nullptr) {
        const FrustumCorners corners = FrustumCorners::ofView(*view, *projection);
        _cameraFrustumPoints = corners.points();
        _cameraFrustumPlanes = corners.planes();
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
    return FrustumCorners::ofView(view, projection).points();
}

QVector<Plane> ShadowMapManagerCulling::getWorldFrustrumPlanes(const QMatrix4x4 &view,
                                                               const QMatrix4x4 &projection)
{
    return FrustumCorners::ofView(view, projection).planes();
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
    const QVector<Plane> planes = slicePlanes(level, data, _cameraFrustumPlanes);
    data.points =
        data.sceneBounds.frustrumClipped(planes, PlaneClipper::getFrustrumPoints(planes), extraPlanes);
    return data.points;
}

const QVector<QVector3D> &ShadowMapManagerCulling::getSceneCameraFrustrumLightFrustrumPointsCSM(
    int level, ProcessCSMData &data, const QMatrix4x4 &lightMatrix, float halfAngle, const QVector<Plane> &,
    QVector<QVector3D> &unclippedPoints) const
{
    data.points.clear();
    unclippedPoints.clear();
    if (isSceneOutOfView()) {
        return data.points;
    }
    const FaceClipper clipper(level, data, _sceneCorners, _cameraFrustumPlanes);
    const LitPoints litInWorld = clipper.litPoints(lightMatrix, halfAngle);
    data.points = litInWorld.inScene;
    unclippedPoints = litInWorld.anywhere;
    return data.points;
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
    // The scene box also holds the casters that the camera does not see.
    const DirectionalShadowFit fit(light->transform(), _cameraSceneVolumePoints);
    const int levels = levelsTried(data.levels, renderData);
    for (int level = 0; level < levels && !isTableFull(renderData, info); ++level) {
        const QVector<QVector3D> &pointsInWorld = getSceneCameraFrustrumPointsCSM(level, data, {});
        if (!pointsInWorld.isEmpty()) { // an empty slice costs no projection
            appendProjection(renderData, info, fit.worldToMap(pointsInWorld), changed);
        }
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
    if (isSceneOutOfView()) {
        return true; // handled, without any projection: no shadow would be seen
    }
    // 1. The faces and cascades that the light asks for.
    ProcessCSMData data;
    setupLightCSMData(light, data);
    const int faces = shadowFaceCount(light->spotCutoff());
    const float halfAngle = faces == 1 ? light->spotCutoff() : -1.0f;
    const int levels = levelsTried(data.levels, renderData);
    // 2. A projection for each face and cascade in which the camera sees something lit. Required: the faces are the outer loop,
    //    because the order of the projections is that of the host's layers.
    std::optional<FaceClipper> clipper;
    for (int face = 0; face < faces; ++face) {
        const QMatrix4x4 faceToWorld = light->transform() * shadowFaceRotation(face);
        for (int level = 0; level < levels; ++level) {
            if (isTableFull(renderData, info)) {
                return true;
            }
            if (data.enabled || face == 0) { // without cascades all faces share one clipper
                clipper.emplace(level, data, _sceneCorners, _cameraFrustumPlanes);
            }
            const LitPoints litInWorld = clipper->litPoints(faceToWorld, halfAngle);
            const auto worldToMap = fitShadowFace(faceToWorld, litInWorld);
            if (worldToMap) {
                appendProjection(renderData, info, *worldToMap, changed);
            }
        }
    }
    return true;
}

/// True also for a frustum that is not finite. The ends of cascades are then arbitrary, so that nothing may be clipped
/// with them; see ShadowMapManagerCullingOwnProcessTest.WithoutAKnownSceneOrAFiniteViewNothingIsFitted.
bool ShadowMapManagerCulling::isSceneOutOfView() const
{
    return _valid && _visibleScenePoints.isEmpty();
}

}} // namespace Orvane::Zel
