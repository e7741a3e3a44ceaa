#pragma once

#include <QtGui/QMatrix4x4>
#include <QtGui/QVector3D>

namespace zeltools {

/// The view of a frame, which every kind of camera provides.
struct View
{
    QMatrix4x4 view; ///< from the world to the eye, which looks along -z
    QMatrix4x4 projection;
    QVector3D eye;        ///< in the world
    float azimuth = 0.0f; ///< degrees around the vertical axis; the lights of the studio turn with it

    QMatrix4x4 viewProjection() const { return projection * view; }
};

} // namespace zeltools
