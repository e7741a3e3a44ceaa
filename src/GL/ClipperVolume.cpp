#include "ClipperVolume.h"

namespace Orvane { namespace Zel {

void ClipperVolume::addLoopPlane(const QVector3D &a, const QVector3D &b, const QVector3D &c)
{
    loops.append({a, b, c});
    planes.append(Plane(a, b, c));
}

void ClipperVolume::addLoopPlane(const QVector3D &a, const QVector3D &b, const QVector3D &c,
                                 const QVector3D &d)
{
    loops.append({a, b, c, d});
    planes.append(Plane(a, b, c));
}

}} // namespace Orvane::Zel
