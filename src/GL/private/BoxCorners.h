#pragma once

#include <QtGui/QVector3D>

namespace Orvane { namespace Zel {

/// \file
/// The numbers of the eight corners of a box or frustum: bit 0 chooses x, bit 1 y, bit 2 z; a set bit chooses the upper
/// value. Bounds, PlaneClipper and the shadow fits exchange corners in this order.
///
/// Private to the library.

constexpr int kBoxCorners = 8;

/// Whether the corner has the upper value of an axis: 0 for x, 1 for y, 2 for z.
constexpr bool isUpperCorner(int corner, int axis)
{
    return ((corner >> axis) & 1) != 0;
}

inline QVector3D boxCorner(int corner, const QVector3D &lower, const QVector3D &upper)
{
    return QVector3D(isUpperCorner(corner, 0) ? upper.x() : lower.x(),
                     isUpperCorner(corner, 1) ? upper.y() : lower.y(),
                     isUpperCorner(corner, 2) ? upper.z() : lower.z());
}

}} // namespace Orvane::Zel
