#include "Plane.h"

#include "private/DoublePrecision.h"

namespace Orvane { namespace Zel {

// The distance stays uninitialised: default planes only fill lists whose elements are assigned next.
Plane::Plane() {}

Plane::Plane(const QVector3D &planeNormal, float planeDistance)
    : normal(planeNormal)
    , distance(planeDistance)
{
}

Plane::Plane(const QVector3D &planeNormal, const QVector3D &point)
    : Plane(planeNormal, QVector3D::dotProduct(planeNormal, point))
{
}

// Not QVector3D::normal(): it returns zero for points within 1e-3 of each other, which the corners of a near plane can be;
// see PlaneTest.ThreePointsGiveAUnitNormalUnlessTheyAreInLine.
Plane::Plane(const QVector3D &a, const QVector3D &b, const QVector3D &c)
    : Plane(DoubleVector::normal(DoubleVector(a), DoubleVector(b), DoubleVector(c)).rounded(), a)
{
}

float Plane::DistanceTo(const QVector3D &point) const
{
    return QVector3D::dotProduct(normal, point) - distance;
}

int Plane::WhichSide(const QVector3D &point) const
{
    const float side = DistanceTo(point);
    return side < 0.0f ? -1 : side > 0.0f ? 1 : 0;
}

}} // namespace Orvane::Zel
