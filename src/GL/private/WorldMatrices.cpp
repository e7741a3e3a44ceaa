#include "WorldMatrices.h"

#include "DoublePrecision.h"

namespace Orvane { namespace Zel {

namespace {

DoubleVector column(const QMatrix4x4 &matrix, int number)
{
    const float *values = matrix.constData() + 4 * number;
    return {double(values[0]), double(values[1]), double(values[2])};
}

/// Whether the rows are so close to a common plane, within about 1e-5 of their lengths, that rounding decides whether the
/// determinant differs from 0.
bool isFlat(const DoubleVector (&columns)[3], double determinant)
{
    constexpr double kFlat = 1e-10;
    const DoubleVector &a = columns[0];
    const DoubleVector &b = columns[1];
    const DoubleVector &c = columns[2];
    const double x = a.x * a.x + b.x * b.x + c.x * c.x;
    const double y = a.y * a.y + b.y * b.y + c.y * c.y;
    const double z = a.z * a.z + b.z * b.z + c.z * c.z;
    return !(determinant * determinant > kFlat * x * y * z); // also true for NaN
}

} // namespace

// Normalising the vectors would not change the sign, and QVector3D::normalized() returns 0 for those shorter than 1e-6. The
// smallest floats do not make the product of three underflow in double.
bool swapsHandedness(const QMatrix4x4 &matrix)
{
    return DoubleVector::dot(column(matrix, 0), DoubleVector::cross(column(matrix, 1), column(matrix, 2)))
           < 0.0;
}

/// Computes once what the inverse, the normal matrix and the handedness have in common: the cross products of the columns of
/// an affine matrix are the rows of its inverse times the determinant. Qt computes the inverse and the normal matrix in the same
/// way, in double too; it does so here for matrices of another shape and for those that have no inverse.
WorldMatrices::WorldMatrices(const QMatrix4x4 &world)
{
    // 1. The rows of the inverse, without the division by the determinant.
    const DoubleVector columns[3] = {column(world, 0), column(world, 1), column(world, 2)};
    const DoubleVector rows[3] = {DoubleVector::cross(columns[1], columns[2]),
                                  DoubleVector::cross(columns[2], columns[0]),
                                  DoubleVector::cross(columns[0], columns[1])};
    const double determinant = DoubleVector::dot(columns[0], rows[0]);
    mirrors = determinant < 0.0;
    if (!world.isAffine() || isFlat(columns, determinant)) {
        inverse = world.inverted();
        normal = world.normalMatrix();
        return;
    }

    // 2. The inverse and its transpose, row by row.
    const DoubleVector translation = column(world, 3);
    const double factor = 1.0 / determinant;
    float *to = inverse.data();
    for (int row = 0; row < 3; ++row) {
        const double x = rows[row].x * factor;
        const double y = rows[row].y * factor;
        const double z = rows[row].z * factor;
        to[row] = float(x);
        to[4 + row] = float(y);
        to[8 + row] = float(z);
        // Rounded last: far from the origin the products are large and cancel; see
        // GPUModelTest.FlagsNamesAndAncestorsReachTheirDrawables.
        to[12 + row] = float(-x * translation.x - y * translation.y - z * translation.z);
        to[4 * row + 3] = 0.0f;
        normal.data()[3 * row] = float(x);
        normal.data()[3 * row + 1] = float(y);
        normal.data()[3 * row + 2] = float(z);
    }
    to[15] = 1.0f;
}

}} // namespace Orvane::Zel
