#pragma once

#include "frame/View.h"

#include <QtGui/QMatrix4x4>
#include <QtGui/QVector2D>
#include <QtGui/QVector3D>

namespace zelview {

struct Scene;

/// A perspective camera that looks at a point and turns around it. y is up.
///
/// Units: angles in degrees; drags in heights of the viewport, to the right and down.
class OrbitCamera
{
public:
    OrbitCamera(float azimuth, float elevation);

    /// Keeps the direction, and finds the point and the distance from which the whole scene just fits a viewport of the
    /// aspect (width by height), with a margin.
    void frame(const Scene &scene, float aspect);

    /// Frames the scene again for another aspect, unless pan() or zoom() have changed the view since.
    void refit(const Scene &scene, float aspect);

    void orbit(const QVector2D &drag);
    /// Moves what lies at the distance of the target along with the pointer.
    void pan(const QVector2D &drag);
    /// A step in halves the distance by a tenth; negative steps go out.
    void zoom(float steps);

    /// All of what follows, for an aspect.
    View at(float aspect) const;

    QMatrix4x4 view() const;
    /// Near and far enclose the scene that was framed.
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
    bool _isFitted = false; ///< shows the whole scene, as frame() does
};

} // namespace zelview
