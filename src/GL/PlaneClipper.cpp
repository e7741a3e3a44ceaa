#include "PlaneClipper.h"

#include "Reporting.h"
#include "private/BoxCorners.h"

#include <QtCore/QString>
#include <QtCore/QVarLengthArray>

#include <utility>

namespace Orvane { namespace Zel {

namespace {

using Loop = QVector<QVector3D>;

/// The distances of all points of a loop to a plane, and the number of points inside. A NaN is outside.
struct Sides
{
    Sides(const Plane &plane, const Loop &loop)
        : distances(loop.size())
    {
        for (int i = 0; i < loop.size(); ++i) {
            distances[i] = plane.DistanceTo(loop[i]);
            inside += distances[i] <= 0.0f ? 1 : 0;
        }
    }

    QVarLengthArray<float, 32> distances;
    int inside = 0;
};

/// Whether the edge between two points crosses the plane. A point on the plane belongs to the result as it is: a crossing
/// there would repeat it, see PlaneClipperTest.AMillionRandomClipsAreThoseOfTheDefinitionAndCheap.
bool isCrossing(float current, float previous)
{
    return current != 0.0f && previous != 0.0f && (current < 0.0f) != (previous < 0.0f);
}

/// The part of a loop inside a plane (Sutherland and Hodgman, Reentrant Polygon Clipping, 1974).
Loop cut(const Loop &loop, const Sides &sides)
{
    Loop result;
    result.reserve(loop.size() + 1); // a plane that cuts off one corner of a convex loop makes two
    int previous = loop.size() - 1;
    for (int current = 0; current < loop.size(); previous = current++) {
        const float dCur = sides.distances[current];
        const float dPrev = sides.distances[previous];
        if (isCrossing(dCur, dPrev)) {
            const float t = dCur / (dCur - dPrev);
            result.append(loop[current] + (loop[previous] - loop[current]) * t);
        }
        if (dCur <= 0.0f) {
            result.append(loop[current]);
        }
    }
    return result;
}

void clipLoops(const Plane &plane, const QVector<Loop> &loops, QVector<Loop> &clipped)
{
    clipped.clear(); // keeps its capacity for the next plane
    clipped.reserve(loops.size());
    for (const Loop &loop : loops) {
        if (loop.size() < 2) {
            continue;
        }
        const Sides sides(plane, loop);
        if (sides.inside == loop.size()) {
            clipped.append(loop); // implicitly shared, not copied
        } else if (sides.inside > 0) {
            clipped.append(cut(loop, sides));
        }
    }
}

/// The point at which three planes meet: the line of a and b, intersected with c.
QVector3D meet(const Plane &a, const Plane &b, const Plane &c)
{
    // 1. The direction of the line of a and b.
    const QVector3D direction = QVector3D::crossProduct(b.normal, a.normal).normalized();

    // 2. A point of the line: the combination of the two normals that has both distances. In double precision, since
    //    1 - k * k cancels for planes at a small angle.
    const double k = double(QVector3D::dotProduct(b.normal, a.normal));
    const double d = 1.0 - k * k;
    const float ca = float((double(a.distance) - k * double(b.distance)) / d);
    const float cb = float((double(b.distance) - k * double(a.distance)) / d);
    const QVector3D p0 = ca * a.normal + cb * b.normal;

    // 3. The distance along the line from there to c.
    const float t = QVector3D::dotProduct(c.normal, c.normal * c.distance - p0)
                    / QVector3D::dotProduct(c.normal, direction);
    return p0 + t * direction;
}

} // namespace

QVector<QVector<QVector3D>> PlaneClipper::clip(const QVector<Plane> &planes,
                                               const QVector<QVector<QVector3D>> &loops)
{
    // Without a plane even loops of one point pass, which the first plane would drop.
    if (loops.isEmpty() || planes.isEmpty()) {
        return loops;
    }
    QVector<Loop> current; // two sets in turn, so that their memory is reused from plane to plane
    QVector<Loop> next;
    clipLoops(planes.first(), loops, current);
    for (int i = 1; i < planes.size(); ++i) {
        clipLoops(planes[i], current, next);
        std::swap(current, next);
    }
    return current;
}

ClipperVolume PlaneClipper::clip(const ClipperVolume &a, const ClipperVolume &b)
{
    ClipperVolume result;
    result.loops = clip(a.planes, b.loops) + clip(b.planes, a.loops);
    result.planes = a.planes + b.planes;
    return result;
}

QVector<QVector<QVector3D>> PlaneClipper::getFrustrumLoops(const QVector<QVector3D> &points)
{
    static constexpr int kCorners[6][4] = {{0, 1, 3, 2}, {1, 5, 7, 3}, {5, 4, 6, 7},
                                           {4, 0, 2, 6}, {2, 3, 7, 6}, {4, 5, 1, 0}};

    QVector<Loop> loops;
    if (points.size() < kBoxCorners) {
        return loops;
    }
    loops.reserve(6);
    for (const auto &corners : kCorners) {
        loops.append({points[corners[0]], points[corners[1]], points[corners[2]], points[corners[3]]});
    }
    return loops;
}

QVector<QVector3D> PlaneClipper::getFrustrumPoints(const QVector<Plane> &planes)
{
    QVector<QVector3D> points;
    if (planes.size() < 6) {
        return points;
    }
    points.reserve(kBoxCorners);
    for (int corner = 0; corner < kBoxCorners; ++corner) {
        const Plane &xPlane = planes[isUpperCorner(corner, 0) ? 4 : 2];
        const Plane &yPlane = planes[isUpperCorner(corner, 1) ? 3 : 5];
        const Plane &zPlane = planes[isUpperCorner(corner, 2) ? 1 : 0];
        points.append(meet(zPlane, yPlane, xPlane));
    }
    return points;
}

QVector<QVector3D> PlaneClipper::loopsToPoints(const QVector<QVector<QVector3D>> &loops)
{
    QVector<QVector3D> points;
    for (const Loop &loop : loops) {
        for (const QVector3D &point : loop) {
            if (!points.contains(point)) { // quadratic, for a few dozen points
                points.append(point);
            }
        }
    }
    return points;
}

void PlaneClipper::dump(const char *title, const QVector<QVector<QVector3D>> &loops)
{
    ZEL_LOG_DEBUG("Loop '%s'", title);
    for (const Loop &loop : loops) {
        QString text;
        for (const QVector3D &point : loop) {
            text += QString::asprintf(" (%+.2f %+.2f %+.2f)", double(point.x()), double(point.y()),
                                      double(point.z()));
        }
        ZEL_LOG_DEBUG("Loop : %s", qPrintable(text));
    }
}

}} // namespace Orvane::Zel
