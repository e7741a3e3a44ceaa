#pragma once

#include "ClipperVolume.h"

namespace Orvane { namespace Zel {

/// Clips sets of convex polygons against half-spaces, and converts between the
/// corners, the planes and the faces of boxes and frustums.
///
/// Units:   those of the points.
/// Context: none; works on its arguments alone, on any thread.
/// Errors:  none is reported. Degenerate input gives degenerate output: a face
///          that is clipped away disappears, and a result may be empty.
/// Source:  Sutherland and Hodgman, Reentrant Polygon Clipping, 1974.
///
/// Eight corners stand in corner order: bit 0 of the number picks x, bit 1 y,
/// bit 2 z, with 0 for the lower value. Six planes stand in plane order, by the
/// corners that lie on them: 0 to 3, 4 to 7, even, bit 1 set, odd, bit 1 clear.
class ZELGL_EXPORT PlaneClipper
{
public:
    PlaneClipper() = delete;

    /// What of the loops lies inside all planes. Points on a plane are inside.
    static QVector<QVector<QVector3D>> clip(const QVector<Plane> &planes,
                                            const QVector<QVector<QVector3D>> &loops);

    /// The shell of the intersection of two volumes: the faces of either, cut by
    /// the other, and the planes of both. It can be clipped again in turn.
    static ClipperVolume clip(const ClipperVolume &a, const ClipperVolume &b);

    /// The six faces over eight corners; nothing over fewer.
    static QVector<QVector<QVector3D>> getFrustrumLoops(const QVector<QVector3D> &points);

    /// The eight corners where the planes meet, which should have normals of
    /// length 1. Nothing for fewer than six planes; parallel neighbours give
    /// corners that are not finite.
    static QVector<QVector3D> getFrustrumPoints(const QVector<Plane> &planes);

    /// All points of the loops, each once, in the order of first occurrence.
    static QVector<QVector3D> loopsToPoints(const QVector<QVector<QVector3D>> &loops);

    /// Logs the points of the loops at debug level; a debugging aid.
    static void dump(const char *title, const QVector<QVector<QVector3D>> &loops);
};

}} // namespace Orvane::Zel
