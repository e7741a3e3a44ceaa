#include "WorldMatrices.h"

#include "DoublePrecision.h"

#include <QtGui/QVector3D>

namespace Orvane { namespace Zel {

namespace {

DoubleVector column(const QMatrix4x4 &matrix, int number)
{
    const float *values = matrix.constData() + 4 * number;
    return {double(values[0]), double(values[1]), double(values[2])};
}

/// Whether rounding decides what is computed: a row that normalising might take for 0, or rows so close to a common plane that
/// neither the sign of the determinant nor its difference from 0 means anything.
bool isFlat(const DoubleVector (&columns)[3], double determinant)
{
    constexpr double kTiny = 1e-11;
    constexpr double kFlat = 1e-10;
    const DoubleVector &a = columns[0];
    const DoubleVector &b = columns[1];
    const DoubleVector &c = columns[2];
    const double x = a.x * a.x + b.x * b.x + c.x * c.x;
    const double y = a.y * a.y + b.y * b.y + c.y * c.y;
    const double z = a.z * a.z + b.z * b.z + c.z * c.z;
    return !(x > kTiny && y > kTiny && z > kTiny && determinant * determinant > kFlat * x * y * z);
}

} // namespace

bool swapsHandedness(const QMatrix4x4 &matrix)
{
    const QVector3D x = matrix.row(0).toVector3D().normalized();
    const QVector3D y = matrix.row(1).toVector3D().normalized();
    const QVector3D z = matrix.row(2).toVector3D().normalized();
    return QVector3D::dotProduct(QVector3D::crossProduct(x, y), z) < 0.0f;
}

/// One computation instead of three: the cross products of the columns of an affine matrix are the rows of its inverse times
/// the determinant. Qt computes the inverse and the normal matrix in the same way, in double too; it does so here for matrices
/// of another shape and for those that have no inverse.
WorldMatrices::WorldMatrices(const QMatrix4x4 &world)
{
    // 1. The rows of the inverse, without the division by the determinant.
    const DoubleVector columns[3] = {column(world, 0), column(world, 1), column(world, 2)};
    const DoubleVector rows[3] = {DoubleVector::cross(columns[1], columns[2]),
                                  DoubleVector::cross(columns[2], columns[0]),
                                  DoubleVector::cross(columns[0], columns[1])};
    const double determinant = DoubleVector::dot(columns[0], rows[0]);
    if (!world.isAffine() || isFlat(columns, determinant)) {
        inverse = world.inverted();
        normal = world.normalMatrix();
        mirrors = swapsHandedness(world);
        return;
    }
    mirrors = determinant < 0.0;

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
