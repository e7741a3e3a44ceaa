#pragma once

#include "Export.h"

#include <QtGui/QVector3D>

namespace Orvane { namespace Zel {

/// A plane in normal and distance form: p is on it when dot(normal, p) equals
/// the distance.
///
/// Units:   those of the points. The normal is used as it is given; only with one
///          of length 1 are distances true distances.
/// Context: none; a plain value, usable on any thread.
/// Errors:  none. All comparisons are exact, there is no tolerance anywhere.
/// Source:  Hesse normal form.
///
/// The inside of a plane is the side of negative or zero distance: the planes of
/// a volume point out of it.
class ZELGL_EXPORT Plane
{
public:
    /// A zero normal. The distance is not set.
    Plane();
    Plane(const Plane &other) = default;
    Plane &operator=(const Plane &other) = default;

    Plane(const QVector3D &planeNormal, float planeDistance);
    /// Through a point.
    Plane(const QVector3D &planeNormal, const QVector3D &point);
    /// Through three points, counter-clockwise as seen from where the normal
    /// points. The normal has length 1, however close the points are, or 0 when
    /// they are collinear.
    Plane(const QVector3D &a, const QVector3D &b, const QVector3D &c);

    float DistanceTo(const QVector3D &point) const;
    /// -1 inside, 1 outside, 0 on the plane.
    int WhichSide(const QVector3D &point) const;

    QVector3D normal;
    float distance;
};

}} // namespace Orvane::Zel

Q_DECLARE_TYPEINFO(Orvane::Zel::Plane, Q_MOVABLE_TYPE);
