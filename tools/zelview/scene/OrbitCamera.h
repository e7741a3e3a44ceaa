#pragma once

#include "frame/View.h"

#include <QtGui/QMatrix4x4>
#include <QtGui/QVector2D>
#include <QtGui/QVector3D>

namespace zelview {

struct Scene;

/// A perspective camera that looks at a target point and turns around it. y is up.
///
/// Units: angles in degrees; drags in heights of the viewport, to the right and down.
class OrbitCamera
{
public:
    OrbitCamera(float azimuth, float elevation);

    /// Keeps the direction, and chooses target and distance so that the whole scene, with a margin, just fits into a viewport
    /// of this aspect (width by height).
    void frame(const Scene &scene, float aspect);

    /// Frames the scene again for another aspect, unless pan() or zoom() have changed the view since.
    void refit(const Scene &scene, float aspect);

    void orbit(const QVector2D &drag);
    /// Moves the view so that points at the distance of the target follow the pointer.
    void pan(const QVector2D &drag);
    /// One step multiplies the distance by a constant less than 1; negative steps move away.
    void zoom(float steps);

    /// The view for an aspect: what the functions below return.
    View at(float aspect) const;

    QMatrix4x4 view() const;
    /// The near and far planes enclose the scene that was framed.
    QMatrix4x4 projection(float aspect) const;
    QVector3D eye() const;
    float azimuth() const { return _azimuth; }

private:
    QVector3D right() const;
    QVector3D up() const;
    QVector3D back() const;

    float _azimuth;
    float _elevation;
    float _distance = 1.0f;
    QVector3D _target;
    QVector3D _sceneCenter;
    float _sceneRadius = 1.0f;
    bool _isFitted = false; ///< the view is still that of frame()
};

} // namespace zelview
