#pragma once

#include <QtGui/QMatrix4x4>

namespace Orvane { namespace Zel {

/// Tests axis-aligned boxes against the frustum of a matrix. Each box stays in its own space.
///
/// Context: none. The view-projection matrix must outlive the test.
/// Source:  the planes from the rows of the matrix: G. Gribb, K. Hartmann, "Fast extraction of viewing frustum planes from the
///          world-view-projection matrix", 2001.
/// Private to the library; for GPUModel.
class FrustumTest
{
public:
    explicit FrustumTest(const QMatrix4x4 &clipFromWorld)
        : _clipFromWorld(clipFromWorld.constData())
    {
    }

    /// Returns whether the box from \a lower to \a upper is wholly outside of one of the six planes, which it may touch. A box
    /// that is outside of the frustum, but crosses the planes near its edges, is not found.
    bool isOutside(const QMatrix4x4 &worldFromLocal, const float (&lower)[3], const float (&upper)[3]) const
    {
        // 1. The columns of clipFromLocal. With r0 to r3 as its rows the planes are r3 + r0, r3 + r1, r3 + r2 and r3 - r0,
        //    r3 - r1, r3 - r2. A column has one coordinate of each row: lanes 0 to 2 become the planes of x, y and z, and lane 3,
        //    which belongs to no plane, is ignored.
        const float *right = worldFromLocal.constData();
        const Lanes zero = broadcast(0.0f);
        Lanes plus = zero;
        Lanes minus = zero;
        for (int axis = 0; axis < 3; ++axis) {
            const Lanes column = productColumn(right, axis);
            const Lanes plusNormal = broadcast(column[3]) + column;
            const Lanes minusNormal = broadcast(column[3]) - column;
            // 2. Only the corner farthest along a plane's normal counts: if it is outside, all are.
            const Lanes low = broadcast(lower[axis]);
            const Lanes high = broadcast(upper[axis]);
            plus += plusNormal * (plusNormal >= zero ? high : low);
            minus += minusNormal * (minusNormal >= zero ? high : low);
        }
        // 3. The signed distances of these corners, up to the length of the normals.
        const Lanes offset = productColumn(right, 3);
        plus += broadcast(offset[3]) + offset;
        minus += broadcast(offset[3]) - offset;
        const auto outside = (plus <= zero) | (minus <= zero);
        return (outside[0] | outside[1] | outside[2]) != 0;
    }

private:
    /// Four floats that the compiler computes side by side. QMatrix4x4 aligns its columns as floats only.
    typedef float Lanes __attribute__((vector_size(16), aligned(4), may_alias));

    static Lanes broadcast(float value) { return Lanes{value, value, value, value}; }

    /// Column \a column of the product of the view-projection matrix and \a right.
    Lanes productColumn(const float *right, int column) const
    {
        // Not auto, which would drop the alignment of the type.
        const Lanes *columns = reinterpret_cast<const Lanes *>(_clipFromWorld);
        const float *factors = right + 4 * column;
        return columns[0] * factors[0] + columns[1] * factors[1] + columns[2] * factors[2]
               + columns[3] * factors[3];
    }

    const float *_clipFromWorld;
};

}} // namespace Orvane::Zel
