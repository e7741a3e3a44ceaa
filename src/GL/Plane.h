#pragma once

#include "Export.h"

#include <QtGui/QVector3D>

namespace Orvane { namespace Zel {

/// A plane in Hesse normal form: a point p is on it when dot(normal, p) equals the
/// distance.
///
/// The inside is the side of negative or zero distance. The planes of a volume
/// point outward.
///
/// \snippet geometry.cpp Plane
///
/// Units:   those of the points. The normal is not normalised: DistanceTo() returns
///          lengths only if the normal has length 1.
/// Context: none; a plain value for any thread.
/// Errors:  none. All comparisons are exact, without tolerance.
class ZELGL_EXPORT Plane
{
public:
    /// The normal is zero. The distance is uninitialised.
    Plane();
    Plane(const Plane &other) = default;
    Plane &operator=(const Plane &other) = default;

    Plane(const QVector3D &planeNormal, float planeDistance);
    /// The plane through a point.
    Plane(const QVector3D &planeNormal, const QVector3D &point);
    /// The plane through three points, which are counter-clockwise as seen from the
    /// outside. The normal has length 1, however close the points are to each
    /// other, or length 0 if they are collinear.
    Plane(const QVector3D &a, const QVector3D &b, const QVector3D &c);

    float DistanceTo(const QVector3D &point) const;
    /// Returns -1 inside, 1 outside, and 0 on the plane or for a NaN.
    int WhichSide(const QVector3D &point) const;

    QVector3D normal;
    float distance;
};

}} // namespace Orvane::Zel

Q_DECLARE_TYPEINFO(Orvane::Zel::Plane, Q_MOVABLE_TYPE);
