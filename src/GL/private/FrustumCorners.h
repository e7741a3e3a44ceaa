#pragma once

#include "../Plane.h"
#include "BoxCorners.h"
#include "DoublePrecision.h"

#include <QtCore/QVector>

#include <array>

namespace Orvane { namespace Zel {

/// The corners of a frustum or of a transformed box in double precision, and the planes through them, which point out of
/// it whatever the handedness of the transform.
///
/// Context: none.
/// Private to the library: ShadowMapManagerCulling, ShadowFit.
class FrustumCorners
{
public:
    /// The corners in the world of what a view shows. They are not finite if the far plane is at infinity.
    static FrustumCorners ofView(const QMatrix4x4 &view, const QMatrix4x4 &projection);
    /// The eight corners of a box, transformed.
    static FrustumCorners ofBox(const QVector<QVector3D> &corners, const DoubleMatrix &transform);

    QVector<QVector3D> points() const;
    /// Near, far, and the four sides, in the plane order of Bounds.
    QVector<Plane> planes() const;

private:
    DoubleVector normal(int plane) const;
    void faceOutward();

    std::array<DoubleVector, kBoxCorners> _corners;
};

}} // namespace Orvane::Zel
