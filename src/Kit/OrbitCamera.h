#pragma once

#include "KitExport.h"

#include <QtCore/QPoint>
#include <QtCore/QSize>
#include <QtGui/QMatrix4x4>
#include <QtGui/QVector2D>
#include <QtGui/QVector3D>

#include <functional>

class QEvent;

namespace Orvane { namespace Zel {
class Bounds;
}} // namespace Orvane::Zel

namespace Orvane { namespace ZelKit {

/// A perspective camera that looks at a target point and turns around it. y is up.
///
/// \snippet kit.cpp OrbitCamera
///
/// - Units: angles in degrees; drags in heights of the viewport, to the right and down; the aspect is width by height.
/// - Context: none.
/// - Errors: values that are not finite, and aspects that are not positive, log a warning and change nothing.
class ZELKIT_EXPORT OrbitCamera
{
public:
    /// What the camera frames.
    struct Extent
    {
        QVector3D center;
        float radius; ///< of a sphere around the center that contains everything
        /// The greatest dot product of a direction, of any length, with a point of the scene.
        std::function<float(const QVector3D &)> reach;
    };

    /// \a fieldOfView: vertical. The default is that of a long lens, which distorts little.
    explicit OrbitCamera(float azimuth = 35.0f, float elevation = 22.0f, float fieldOfView = 28.0f);

    /// Keeps the direction, and chooses target and distance so that the whole scene, with a margin, just fits into a viewport
    /// of this aspect.
    void frame(const Extent &extent, float aspect);
    void frame(const Zel::Bounds &box, float aspect);

    /// Frames the scene, in each frame or for another aspect, unless pan() or zoom() have changed the view.
    void refit(const Extent &extent, float aspect);
    void refit(const Zel::Bounds &box, float aspect);
    void refit(const Zel::Bounds &box, const QSize &viewport) { refit(box, aspectOf(viewport)); }

    void orbit(const QVector2D &drag);
    /// Moves the view so that points at the distance of the target follow the pointer.
    void pan(const QVector2D &drag);
    /// One step multiplies the distance by a constant less than 1; negative steps move away.
    void zoom(float steps);

    /// Takes an event of the mouse: drags with the left button turn, those with another button pan, and the wheel zooms.
    /// \a viewport: the size of the window or widget, in the unit of the event. Returns true if the view has changed, so that the
    /// host calls update().
    bool handle(const QEvent *event, const QSize &viewport);

    QMatrix4x4 view() const;
    /// The near and far planes enclose the scene that was framed.
    QMatrix4x4 projection(float aspect) const;
    QMatrix4x4 projection(const QSize &viewport) const { return projection(aspectOf(viewport)); }
    QMatrix4x4 viewProjection(float aspect) const { return projection(aspect) * view(); }
    QMatrix4x4 viewProjection(const QSize &viewport) const { return viewProjection(aspectOf(viewport)); }
    QVector3D eye() const;
    QVector3D target() const { return _target; }
    float azimuth() const { return _azimuth; }
    float elevation() const { return _elevation; }

private:
    static float aspectOf(const QSize &viewport)
    {
        return float(viewport.width()) / float(viewport.height());
    }
    ZELKIT_NO_EXPORT float halfHeightAtOne() const;
    ZELKIT_NO_EXPORT QVector3D right() const;
    ZELKIT_NO_EXPORT QVector3D up() const;
    ZELKIT_NO_EXPORT QVector3D back() const;

    float _azimuth;
    float _elevation;
    float _fieldOfView;
    float _distance = 1.0f;
    QVector3D _target;
    QVector3D _sceneCenter;
    float _sceneRadius = 1.0f;
    bool _isFitted = true; ///< the view may be that of frame()
    QPoint _pointer;       ///< of the last event of a drag
    bool _isDragged = false;
};

}} // namespace Orvane::ZelKit
