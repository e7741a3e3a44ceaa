#include "FrustumCorners.h"

#include <utility>

namespace Orvane { namespace Zel {

namespace {

/// Three corners of each plane, counter-clockwise as seen from outside: near, far, and the four sides.
constexpr int kPlaneCorners[6][3] = {{0, 1, 3}, {4, 6, 7}, {6, 4, 0}, {7, 6, 2}, {5, 7, 3}, {4, 5, 1}};

} // namespace

FrustumCorners FrustumCorners::ofView(const QMatrix4x4 &view, const QMatrix4x4 &projection)
{
    const DoubleMatrix clipToView = DoubleMatrix(projection).inverted();
    const DoubleMatrix viewToWorld = DoubleMatrix(view).inverted();
    FrustumCorners result;
    for (int i = 0; i < kBoxCorners; ++i) {
        const DoubleVector cornerInClip(boxCorner(i, QVector3D(-1, -1, -1), QVector3D(1, 1, 1)));
        result._corners[size_t(i)] = viewToWorld.map(clipToView.map(cornerInClip));
    }
    result.faceOutward();
    return result;
}

FrustumCorners FrustumCorners::ofBox(const QVector<QVector3D> &corners, const DoubleMatrix &transform)
{
    FrustumCorners result;
    for (int i = 0; i < kBoxCorners; ++i) {
        result._corners[size_t(i)] = transform.map(DoubleVector(corners.at(i)));
    }
    result.faceOutward();
    return result;
}

QVector<QVector3D> FrustumCorners::points() const
{
    QVector<QVector3D> result;
    result.reserve(kBoxCorners);
    for (const DoubleVector &corner : _corners) {
        result.append(corner.rounded());
    }
    return result;
}

QVector<Plane> FrustumCorners::planes() const
{
    QVector<Plane> result;
    result.reserve(6);
    for (int plane = 0; plane < 6; ++plane) {
        // Of the rounded normal, so that the plane passes through its corner however far from the origin that is.
        const QVector3D rounded = normal(plane).rounded();
        const DoubleVector &onPlane = _corners[size_t(kPlaneCorners[plane][0])];
        result.append(Plane(rounded, float(DoubleVector::dot(DoubleVector(rounded), onPlane))));
    }
    return result;
}

DoubleVector FrustumCorners::normal(int plane) const
{
    const int *numbers = kPlaneCorners[plane];
    return DoubleVector::normal(_corners[size_t(numbers[0])], _corners[size_t(numbers[1])],
                                _corners[size_t(numbers[2])]);
}

/// A transform that mirrors makes the planes point inward. Exchanging the corners of lower and upper x corrects that.
void FrustumCorners::faceOutward()
{
    const bool facesInward = DoubleVector::dot(normal(0), _corners[4] - _corners[0]) > 0.0;
    for (size_t i = 0; facesInward && i < _corners.size(); i += 2) {
        std::swap(_corners[i], _corners[i + 1]);
    }
}

}} // namespace Orvane::Zel
