#pragma once

#include "ClipperVolume.h"

namespace Orvane { namespace Zel {

/// Clips convex polygons against half-spaces, and converts between the corners, the
/// planes and the faces of boxes and frustums.
///
/// Corner order: bit 0 of a corner's number chooses x, bit 1 y and bit 2 z; a set
/// bit chooses the upper value.
/// Plane order, by the corners on each plane: 0 to 3; 4 to 7; even; bit 1 set; odd;
/// bit 1 clear.
///
/// \snippet geometry.cpp PlaneClipper
///
/// Units:   those of the points.
/// Context: none; uses its arguments alone, on any thread.
/// Errors:  none is logged. Degenerate input gives degenerate output: a face that is
///          outside is omitted, and a result may be empty.
class ZELGL_EXPORT PlaneClipper
{
public:
    PlaneClipper() = delete;

    /// Returns the parts of the loops that are inside all planes. Points on a plane
    /// are inside.
    static QVector<QVector<QVector3D>> clip(const QVector<Plane> &planes,
                                            const QVector<QVector<QVector3D>> &loops);

    /// Returns the intersection of two volumes: the faces of each, clipped by the
    /// other, and the planes of both. Where two faces coincide, both are in it. The
    /// result can be clipped again.
    static ClipperVolume clip(const ClipperVolume &a, const ClipperVolume &b);

    /// Returns the six faces of eight corners, or none for fewer corners.
    static QVector<QVector<QVector3D>> getFrustrumLoops(const QVector<QVector3D> &points);

    /// Returns the eight corners at which three of the planes meet, or none for
    /// fewer than six planes. The normals must have length 1. Planes that should
    /// meet but are parallel give corners that are not finite.
    static QVector<QVector3D> getFrustrumPoints(const QVector<Plane> &planes);

    /// Returns all points of the loops in order, without the repeated ones.
    static QVector<QVector3D> loopsToPoints(const QVector<QVector<QVector3D>> &loops);

    /// Logs the points of the loops at debug level.
    static void dump(const char *title, const QVector<QVector<QVector3D>> &loops);
};

}} // namespace Orvane::Zel
