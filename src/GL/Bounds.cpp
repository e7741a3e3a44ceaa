#include "Bounds.h"

#include "PlaneClipper.h"
#include "private/BoxCorners.h"

#include <QtGui/QVector4D>

#include <limits>

namespace Orvane { namespace Zel {

namespace {

constexpr float kFloatMax = std::numeric_limits<float>::max();

/// Takes the vector on the left and does not divide by w; see BoundsTest.MatricesTakeTheVectorOnTheLeft.
QVector3D mapped(const QVector3D &point, const QMatrix4x4 &matrix)
{
    return (QVector4D(point, 1.0f) * matrix).toVector3D();
}

QVector3D minimum(const QVector3D &a, const QVector3D &b)
{
    return QVector3D(qMin(a.x(), b.x()), qMin(a.y(), b.y()), qMin(a.z(), b.z()));
}

QVector3D maximum(const QVector3D &a, const QVector3D &b)
{
    return QVector3D(qMax(a.x(), b.x()), qMax(a.y(), b.y()), qMax(a.z(), b.z()));
}

} // namespace

Bounds::Bounds() = default;

Bounds::Bounds(const QVector3D &lower, const QVector3D &upper)
    : _lower(lower)
    , _upper(upper)
{
}

Bounds::Bounds(const QVector<QVector3D> &points)
    : _lower(kFloatMax, kFloatMax, kFloatMax) // inverted until a point is added
    , _upper(-kFloatMax, -kFloatMax, -kFloatMax)
{
    for (const QVector3D &point : points) {
        // The order of the arguments: for a NaN qMin returns its second argument and qMax its first, the corner so far.
        _lower = minimum(point, _lower);
        _upper = maximum(_upper, point);
    }
}

bool Bounds::isNull() const
{
    return _lower == _upper;
}

QVector3D Bounds::boxLowerBounds() const
{
    return _lower;
}

QVector3D Bounds::boxUpperBounds() const
{
    return _upper;
}

bool Bounds::isInside(const float *xyz) const
{
    return isInside(QVector3D(xyz[0], xyz[1], xyz[2]));
}

bool Bounds::isInside(const QVector3D &point) const
{
    return point.x() >= _lower.x() && point.x() <= _upper.x() && point.y() >= _lower.y()
           && point.y() <= _upper.y() && point.z() >= _lower.z() && point.z() <= _upper.z();
}

QVector<QVector3D> Bounds::corners() const
{
    QVector<QVector3D> result;
    result.reserve(kBoxCorners);
    for (int corner = 0; corner < kBoxCorners; ++corner) {
        result.append(boxCorner(corner, _lower, _upper));
    }
    return result;
}

QVector<Plane> Bounds::planes() const
{
    // The order of PlaneClipper, each through a corner of its face.
    const QVector<QVector3D> corner = corners();
    QVector<Plane> result;
    result.reserve(6);
    result.append(Plane(QVector3D(0, 0, -1), corner[3]));
    result.append(Plane(QVector3D(0, 0, 1), corner[7]));
    result.append(Plane(QVector3D(-1, 0, 0), corner[2]));
    result.append(Plane(QVector3D(0, 1, 0), corner[3]));
    result.append(Plane(QVector3D(1, 0, 0), corner[1]));
    result.append(Plane(QVector3D(0, -1, 0), corner[0]));
    return result;
}

ClipperVolume Bounds::clippingVolume() const
{
    ClipperVolume volume;
    volume.loops = PlaneClipper::getFrustrumLoops(corners());
    volume.planes = planes();
    return volume;
}

// Two corners only: hosts call operator* for the enclosing box. See BoundsTest.MatricesTakeTheVectorOnTheLeft.
Bounds Bounds::transform(const QMatrix4x4 &matrix) const
{
    return Bounds(QVector<QVector3D>{mapped(_lower, matrix), mapped(_upper, matrix)});
}

QVector<QVector3D> Bounds::frustrumClipped(const QVector<Plane> &frustumPlanes,
                                           const QVector<QVector3D> &frustumPoints,
                                           const QVector<Plane> &extraPlanes) const
{
    // 1. The faces of the box inside the frustum. They miss the part of the frustum that ends inside the box.
    const auto boxLoops = PlaneClipper::getFrustrumLoops(corners());
    QVector<QVector3D> points =
        PlaneClipper::loopsToPoints(PlaneClipper::clip(frustumPlanes + extraPlanes, boxLoops));

    // 2. The faces of the frustum inside the box.
    if (!frustumPoints.isEmpty()) {
        const auto frustumLoops = PlaneClipper::getFrustrumLoops(frustumPoints);
        points += PlaneClipper::loopsToPoints(PlaneClipper::clip(planes() + extraPlanes, frustumLoops));
    }
    return points;
}

Bounds operator*(const Bounds &bounds, const QMatrix4x4 &matrix)
{
    QVector<QVector3D> corners = bounds.corners();
    for (QVector3D &corner : corners) {
        corner = mapped(corner, matrix);
    }
    return Bounds(corners);
}

}} // namespace Orvane::Zel
