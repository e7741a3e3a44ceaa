#pragma once

#include <QtCore/QPair>
#include <QtGui/QVector3D>

#include <cmath>

namespace Orvane { namespace ZelKit {

/// The box of a scene, by its lower and upper corner.
struct SceneBox
{
    static constexpr int kCorners = 8;

    explicit SceneBox(const QPair<QVector3D, QVector3D> &corners)
        : low(corners.first)
        , high(corners.second)
    {
    }

    /// A set bit of the number selects the upper side: bit 0 for x, bit 1 for y, bit 2 for z.
    QVector3D corner(int number) const
    {
        return {(number & 1 ? high : low).x(), (number & 2 ? high : low).y(), (number & 4 ? high : low).z()};
    }

    QVector3D center() const { return 0.5f * (low + high); }

    /// Of the sphere around the box.
    float diameter() const { return (high - low).length(); }

    bool isValid() const
    {
        return low.x() <= high.x() && low.y() <= high.y() && low.z() <= high.z() && std::isfinite(diameter());
    }

    QVector3D low;
    QVector3D high;
};

}} // namespace Orvane::ZelKit
