#pragma once

#include <ZelGL/GPUModel.h>

#include <QtGui/QMatrix4x4>

#include <cmath>

namespace Orvane { namespace ZelKit {

constexpr int kPackedLanes = 8;

/// The spheres around eight boxes in world space: x, y and z of the centre, and the radius. Four spheres are one cache line.
struct alignas(64) PackedSpheres
{
    float halves[2][4][4]; ///< four lanes each

    float &value(int row, int lane) { return halves[lane / 4][row][lane % 4]; }
    float value(int row, int lane) const { return halves[lane / 4][row][lane % 4]; }
};

/// A box that moves. One cache line, because boxes that move are far apart in memory. Most tests need only the sphere.
struct alignas(64) PackedBox
{
    float axes[9];                   ///< x, y and z of each half axis in world space
    Zel::GPUModel::BoundingBox mesh; ///< in the space of the mesh
    int drawable;
};
static_assert(sizeof(PackedBox) == 64, "one cache line");

/// Tests boxes against the frustum of a matrix, eight at a time. It finds the boxes that GPUModel::frustumCull() finds: each box is
/// tested in its own orientation.
///
/// Source: the planes from the rows of the matrix: G. Gribb, K. Hartmann, "Fast extraction of viewing frustum planes from the
///         world-view-projection matrix", 2001.
class PackedFrustum
{
public:
    explicit PackedFrustum(const QMatrix4x4 &clipFromWorld)
    {
        constexpr double kNoNormal = 1e-30;
        constexpr double kFar = 1e30;
        for (int plane = 0; plane < kPlanes; ++plane) {
            const double sign = plane < 3 ? 1.0 : -1.0;
            double values[4];
            for (int i = 0; i < 4; ++i) {
                values[i] = double(clipFromWorld(3, i)) + sign * double(clipFromWorld(plane % 3, i));
            }
            double length = std::sqrt(values[0] * values[0] + values[1] * values[1] + values[2] * values[2]);
            if (!(length > kNoNormal)) { // the far plane of an infinite frustum: all or nothing is inside
                values[3] = values[3] > 0.0 ? kFar : -kFar;
                length = 1.0;
            }
            for (int i = 0; i < 4; ++i) {
                const float value = float(values[i] / length);
                _planes[plane][i] = Lanes{value, value, value, value};
            }
        }
    }

    /// Returns a bit for each box that is not wholly outside of one of the six planes.
    unsigned visible(const PackedSpheres &spheres, const PackedBox *boxes) const
    {
        unsigned outside = 0;
        for (int first = 0; first < kPackedLanes; first += 4) {
            outside |= outsideOfFour(spheres, boxes, first) << first;
        }
        return ~outside & 0xFFu;
    }

private:
    /// Four floats that the compiler computes side by side.
    typedef float Lanes __attribute__((vector_size(16)));
    typedef float UnalignedLanes __attribute__((vector_size(16), aligned(4), may_alias));
    typedef int Mask __attribute__((vector_size(16)));
    static constexpr int kPlanes = 6;

    static Lanes load(const float *values) { return *reinterpret_cast<const UnalignedLanes *>(values); }
    static Lanes absolute(Lanes value)
    {
        const Mask bits = reinterpret_cast<Mask>(value) & 0x7FFFFFFF;
        return reinterpret_cast<Lanes>(bits);
    }
    static unsigned bits(Mask mask)
    {
        mask &= Mask{1, 2, 4, 8};
        return unsigned(mask[0] | mask[1] | mask[2] | mask[3]);
    }

    unsigned outsideOfFour(const PackedSpheres &spheres, const PackedBox *boxes, int first) const
    {
        const auto &rows = spheres.halves[first / 4];
        const Lanes x = load(rows[0]);
        const Lanes y = load(rows[1]);
        const Lanes z = load(rows[2]);
        const Lanes radius = load(rows[3]);
        Mask outside = {0, 0, 0, 0};
        Mask notInside = {0, 0, 0, 0};
        for (const auto &plane : _planes) {
            const Lanes distance = plane[0] * x + plane[1] * y + plane[2] * z + plane[3];
            outside |= distance <= -radius;
            notInside |= distance < radius;
        }
        // Most spheres are on one side of all planes. Only the others need their boxes.
        const unsigned found = bits(outside);
        return bits(notInside) == found ? found : found | boxesOutside(x, y, z, boxes + first);
    }

    unsigned boxesOutside(Lanes x, Lanes y, Lanes z, const PackedBox *boxes) const
    {
        Lanes rows[9];
        for (int i = 0; i < 9; ++i) {
            rows[i] = Lanes{boxes[0].axes[i], boxes[1].axes[i], boxes[2].axes[i], boxes[3].axes[i]};
        }
        Mask outside = {0, 0, 0, 0};
        for (const auto &plane : _planes) {
            Lanes distance = plane[0] * x + plane[1] * y + plane[2] * z + plane[3];
            for (int axis = 0; axis < 9; axis += 3) {
                distance +=
                    absolute(plane[0] * rows[axis] + plane[1] * rows[axis + 1] + plane[2] * rows[axis + 2]);
            }
            outside |= distance <= Lanes{0.0f, 0.0f, 0.0f, 0.0f};
        }
        return bits(outside);
    }

    Lanes _planes[kPlanes][4]; ///< normal of length 1 and distance, in all lanes
};

}} // namespace Orvane::ZelKit
