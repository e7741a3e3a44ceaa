#pragma once

#include "Bounds.h"
#include "ClipperVolume.h"
#include "Plane.h"
#include "ShadowMapManager.h"

namespace Orvane { namespace Zel {

/// Fits shadow projections to what the viewer can see: the scene box, the camera's
/// frustum or a cascade's slice of it, and the light's pyramid are clipped against
/// each other, and the projection is fitted to what is left.
///
/// Made for one ShadowMapManager::processLights(): setupCameras(), setupScene(),
/// setupPost(), then any number of lights.
///
/// Units:   world space. What follows from matrices alone, such as the corners and
///          planes of the camera and the fitted projections, is computed in double
///          precision and rounded last; points are clipped in single precision.
/// Context: none.
/// Errors:  without a scene the process calls return false. A volume that is clipped
///          away gets no projection. A view whose frustum is not finite contains
///          nothing; setupPost() warns of the first one in the process.
/// Source:  Zhang et al., Parallel-Split Shadow Maps, 2006, with quadratic splits.
class ZELGL_EXPORT ShadowMapManagerCulling
{
public:
    /// The cascades of one light.
    struct ProcessCSMData
    {
        bool enabled = false;
        int levels = 1;
        QVector3D nearPoint; ///< where the cascades begin
        QVector3D farPoint;
        QVector3D nearToFar;
        QVector<QVector3D> points; ///< the last result
        Bounds sceneBounds;
    };

    // Null pointers stand for what is not known.
    void setupCameras(const QMatrix4x4 *view, const QMatrix4x4 *projection);
    void setupScene(const QPair<QVector3D, QVector3D> *bounds);
    void setupPost();

    /// The eight corners of a view frustum in corner order, so numbered that
    /// getWorldFrustrumPlanes() face outward whatever the handedness.
    static QVector<QVector3D> getWorldFrustrumPoints(const QMatrix4x4 &view, const QMatrix4x4 &projection);
    /// Near, far, and the four sides.
    static QVector<Plane> getWorldFrustrumPlanes(const QMatrix4x4 &view, const QMatrix4x4 &projection);

    void setupLightCSMData(ShadowMapManager::Light *light, ProcessCSMData &data) const;
    /// What the camera sees of the scene in a cascade.
    const QVector<QVector3D> &getSceneCameraFrustrumPointsCSM(int level, ProcessCSMData &data,
                                                              const QVector<Plane> &extraPlanes) const;
    /// What the pyramid of a light's face sees of it; \a unclippedPoints is the same without the scene.
    const QVector<QVector3D> &getSceneCameraFrustrumLightFrustrumPointsCSM(
        int level, ProcessCSMData &data, const QMatrix4x4 &lightMatrix, float halfAngle,
        const QVector<Plane> &extraPlanes, QVector<QVector3D> &unclippedPoints) const;

    // True when the light was handled, which may mean that it got no projection.
    // Adds to info.count; sets changed where the table changed.
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

}} // namespace Orvane::Zel
