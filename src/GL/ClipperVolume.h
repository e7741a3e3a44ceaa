#pragma once

#include "Plane.h"

#include <QtCore/QVector>

namespace Orvane { namespace Zel {

/// A convex volume: its faces, and the planes that bound it beside them.
///
/// Units:   those of the points.
/// Context: none; a plain value, usable on any thread.
/// Errors:  none; that faces and planes agree is the caller's word.
/// Source:  boundary representation of convex polyhedra.
///
/// A face is a loop: the corners of one planar convex polygon in order, closing
/// from the last point back to the first. Counter-clockwise as seen from outside,
/// if its plane is to point outward.
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
