#pragma once

#include "Bounds.h"
#include "ClipperVolume.h"
#include "Plane.h"
#include "ShadowMapManager.h"

namespace Orvane { namespace Zel {

/// Fits shadow projections to what the camera sees. It clips the scene box, the
/// camera's frustum or a cascade of it, and the volume of the light against each
/// other, and fits the projection to the points that remain.
///
/// ShadowMapManager::processLights() uses one object for all its lights: it calls
/// setupCameras(), setupScene() and setupPost(), then a process function per light.
///
/// \snippet shadows.cpp ShadowMapManagerCulling
///
/// Units:   world space. Corners and planes of the camera and the fitted projections
///          are computed in double precision and rounded last; points are clipped in
///          single precision.
/// Context: none.
/// Errors:  without a scene the process functions return false. A cascade or face in
///          which nothing is seen has no projection. A frustum that is not finite
///          contains nothing; the first one is logged as a warning.
class ZELGL_EXPORT ShadowMapManagerCulling
{
public:
    /// The cascades of one light.
    struct ProcessCSMData
    {
        bool enabled = false;
        int levels = 1;
        QVector3D nearPoint; ///< on the plane at which the cascades begin
        QVector3D farPoint;  ///< on the plane at which they end
        QVector3D nearToFar;
        QVector<QVector3D> points; ///< the result of the last call
        Bounds sceneBounds;
    };

    // A null pointer means that camera or scene is unknown.
    void setupCameras(const QMatrix4x4 *view, const QMatrix4x4 *projection);
    void setupScene(const QPair<QVector3D, QVector3D> *bounds);
    void setupPost();

    /// Returns the eight corners of a view frustum in the order of PlaneClipper. For a
    /// view that mirrors the world, corners of lower and upper x are exchanged, so
    /// that getWorldFrustrumPlanes() always point outward.
    static QVector<QVector3D> getWorldFrustrumPoints(const QMatrix4x4 &view, const QMatrix4x4 &projection);
    /// Returns the planes near, far, and the four sides.
    static QVector<Plane> getWorldFrustrumPlanes(const QMatrix4x4 &view, const QMatrix4x4 &projection);

    void setupLightCSMData(ShadowMapManager::Light *light, ProcessCSMData &data) const;
    /// Returns the corners of the part of the scene that the camera sees in a cascade.
    const QVector<QVector3D> &getSceneCameraFrustrumPointsCSM(int level, ProcessCSMData &data,
                                                              const QVector<Plane> &extraPlanes) const;
    /// Returns the corners of the part of it that a face of a point light lights.
    /// \a unclippedPoints is the same, not clipped by the scene. \a extraPlanes is unused.
    const QVector<QVector3D> &getSceneCameraFrustrumLightFrustrumPointsCSM(
        int level, ProcessCSMData &data, const QMatrix4x4 &lightMatrix, float halfAngle,
        const QVector<Plane> &extraPlanes, QVector<QVector3D> &unclippedPoints) const;

    // Append the projections of a light, from info.index on: increase info.count, and set
    // changed if the table held others. Return false if the scene is unknown, true
    // otherwise, even if no projection was appended.
    bool processLightDirectional(ShadowMapManager::RenderData &renderData,
                                 ShadowMapManager::RenderData::ProjectorInfo &info,
                                 ShadowMapManager::Light *light, bool &changed) const;
    bool processLightPoint(ShadowMapManager::RenderData &renderData,
                           ShadowMapManager::RenderData::ProjectorInfo &info, ShadowMapManager::Light *light,
                           bool &changed) const;

private:
    ZELGL_NO_EXPORT bool isSceneOutOfView() const;

    bool _hasCamera = false;
    bool _hasScene = false;
    bool _valid = false;
    QVector<QVector3D> _cameraFrustumPoints;
    QVector<Plane> _cameraFrustumPlanes; ///< 0 near, 1 far
    QVector<QVector3D> _sceneCorners;
    QVector<QVector3D> _visibleScenePoints;
    QVector<QVector3D> _cameraSceneVolumePoints;
};

/// Known by this namespace too.
using ProcessCSMData = ShadowMapManagerCulling::ProcessCSMData;

}} // namespace Orvane::Zel
