#pragma once

#include "ClipperVolume.h"

#include <QtCore/QVector>
#include <QtGui/QMatrix4x4>
#include <QtGui/QVector3D>

namespace Orvane { namespace Zel {

/// An axis-aligned box.
///
/// Units:   those of the points.
/// Context: none; a plain value, usable on any thread.
/// Errors:  none. Nothing sorts the two corners, and all comparisons are exact.
/// Source:  -
///
/// Corners and planes come in the orders of PlaneClipper; the planes point out of
/// the box. Matrices are applied with the vector on the left, so a translation
/// stands in the bottom row, not where QMatrix4x4::translate() puts it.
class ZELGL_EXPORT Bounds
{
public:
    /// All zeros: the null box.
    Bounds();
    Bounds(const QVector3D &lower, const QVector3D &upper);
    /// The smallest box around the points. Around no points it is inverted, lower
    /// above upper, and nothing is inside.
    explicit Bounds(const QVector<QVector3D> &points);

    /// Whether both corners are equal; not so with any NaN.
    bool isNull() const;
    QVector3D boxLowerBounds() const;
    QVector3D boxUpperBounds() const;

    /// Both ends included. The pointer form reads three floats.
    bool isInside(const float *xyz) const;
    bool isInside(const QVector3D &point) const;

    QVector<QVector3D> corners() const;
    QVector<Plane> planes() const;
    /// Faces and planes, for the clipper.
    ClipperVolume clippingVolume() const;

    /// The box around the two mapped corners alone. Under a rotation it is smaller
    /// than operator*, which maps all eight.
    Bounds transform(const QMatrix4x4 &matrix) const;

    /// The corners of the intersection with a frustum and \a extraPlanes: first
    /// this box cut by the frustum's planes, then, if the frustum's corners are
    /// given too, the frustum cut by this box. A corner that both find stands twice.
    QVector<QVector3D> frustrumClipped(const QVector<Plane> &frustumPlanes,
                                       const QVector<QVector3D> &frustumPoints,
                                       const QVector<Plane> &extraPlanes) const;

private:
    QVector3D _lower;
    QVector3D _upper;
};

/// The box around all eight mapped corners, without a division by w.
ZELGL_EXPORT Bounds operator*(const Bounds &bounds, const QMatrix4x4 &matrix);

}} // namespace Orvane::Zel
