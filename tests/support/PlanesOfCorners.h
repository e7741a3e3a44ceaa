#pragma once

#include <ZelGL/Plane.h>

#include <QtCore/QVector>

/// The planes of a box that was turned or bent, from its eight corners, both in the orders of Bounds.
inline QVector<Orvane::Zel::Plane> planesOfCorners(const QVector<QVector3D> &corners)
{
    const int sides[6][3] = {{0, 2, 1}, {4, 5, 6}, {0, 4, 2}, {2, 6, 3}, {1, 3, 5}, {0, 1, 4}};
    QVector<Orvane::Zel::Plane> planes;
    for (const auto &side : sides) {
        planes += Orvane::Zel::Plane(corners[side[0]], corners[side[1]], corners[side[2]]);
    }
    return planes;
}
