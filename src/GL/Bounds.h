#pragma once

#include "ClipperVolume.h"

#include <QtCore/QVector>
#include <QtGui/QMatrix4x4>
#include <QtGui/QVector3D>

namespace Orvane { namespace Zel {

/// An axis-aligned box.
///
/// Corners and planes are in the orders of PlaneClipper. The planes point outward.
/// Matrices take the vector on the left: a translation is in the bottom row.
/// Transpose a matrix that was built with QMatrix4x4::translate().
///
/// \snippet geometry.cpp Bounds
///
/// Units:   those of the points.
/// Context: none; a plain value for any thread.
/// Errors:  none. The two corners are not sorted, and all comparisons are exact.
class ZELGL_EXPORT Bounds
{
public:
    /// The null box: all values are 0.
    Bounds();
    Bounds(const QVector3D &lower, const QVector3D &upper);
    /// The smallest box around the points. Without points the box is inverted: its
    /// lower corner is above the upper, and no point is inside.
    explicit Bounds(const QVector<QVector3D> &points);

    /// Returns whether both corners are equal; false for a box with a NaN.
    bool isNull() const;
    QVector3D boxLowerBounds() const;
    QVector3D boxUpperBounds() const;

    /// Returns whether the point is inside or on the surface. \a xyz is three floats.
    bool isInside(const float *xyz) const;
    bool isInside(const QVector3D &point) const;

    QVector<QVector3D> corners() const;
    QVector<Plane> planes() const;
    /// Returns the faces and planes, for PlaneClipper::clip().
    ClipperVolume clippingVolume() const;

    /// Returns the box around the lower and the upper corner, transformed. It holds
    /// the transformed box only if the matrix neither rotates nor shears; operator* always does.
    Bounds transform(const QMatrix4x4 &matrix) const;

    /// Returns the corners of the intersection with a frustum and \a extraPlanes:
    /// first those of this box clipped by the frustum's planes, then, unless
    /// \a frustumPoints is empty, those of the frustum clipped by this box. A corner
    /// that both have is listed twice.
    QVector<QVector3D> frustrumClipped(const QVector<Plane> &frustumPlanes,
                                       const QVector<QVector3D> &frustumPoints,
                                       const QVector<Plane> &extraPlanes) const;

private:
    QVector3D _lower;
    QVector3D _upper;
};

/// Returns the box around all eight corners, transformed without division by w.
ZELGL_EXPORT Bounds operator*(const Bounds &bounds, const QMatrix4x4 &matrix);

}} // namespace Orvane::Zel
