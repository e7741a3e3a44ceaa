#pragma once

#include "Plane.h"

#include <QtCore/QVector>

namespace Orvane { namespace Zel {

/// A convex volume: its faces, and the planes that bound it.
///
/// A face is a loop: the corners of a planar convex polygon in order, without the
/// first repeated at the end. A face that is counter-clockwise as seen from outside
/// has a plane that points outward.
///
/// \snippet geometry.cpp ClipperVolume
///
/// Units:   those of the points.
/// Context: none; a plain value for any thread.
/// Errors:  none. The caller ensures that faces and planes describe the same volume.
struct ZELGL_EXPORT ClipperVolume
{
    /// Appends a triangle and its plane.
    void addLoopPlane(const QVector3D &a, const QVector3D &b, const QVector3D &c);
    /// Appends a quadrilateral and the plane through its first three corners.
    void addLoopPlane(const QVector3D &a, const QVector3D &b, const QVector3D &c, const QVector3D &d);

    QVector<QVector<QVector3D>> loops;
    QVector<Plane> planes;
};

}} // namespace Orvane::Zel
