#pragma once

#include <QtGui/QMatrix4x4>
#include <QtGui/QVector3D>

#include <cmath>
#include <utility>

namespace Orvane { namespace Zel {

/// A vector for intermediate results, which are rounded to single precision last. Far from the origin the difference of
/// two rounded points has few correct digits; see ShadowMapManagerCullingTest.ProjectionsHoldWhatIsLitAndSeenAndNoMore.
///
/// Context: none.
/// Private to the library: Plane, the shadow fits.
struct DoubleVector
{
    DoubleVector() = default;
    DoubleVector(double x_, double y_, double z_)
        : x(x_)
        , y(y_)
        , z(z_)
    {
    }
    explicit DoubleVector(const QVector3D &v)
        : DoubleVector(double(v.x()), double(v.y()), double(v.z()))
    {
    }

    QVector3D rounded() const { return {float(x), float(y), float(z)}; }

    DoubleVector operator-(const DoubleVector &other) const
    {
        return {x - other.x, y - other.y, z - other.z};
    }

    static double dot(const DoubleVector &a, const DoubleVector &b)
    {
        return a.x * b.x + a.y * b.y + a.z * b.z;
    }

    static DoubleVector cross(const DoubleVector &a, const DoubleVector &b)
    {
        return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
    }

    /// Returns zero only for a length of 0, unlike QVector3D::normalized(), which also does so below 1e-6.
    DoubleVector normalized() const
    {
        const double length = std::sqrt(dot(*this, *this));
        return length == 0.0 ? *this : DoubleVector(x / length, y / length, z / length);
    }

    /// Returns the unit normal of the plane through three points, or zero if they are collinear.
    static DoubleVector normal(const DoubleVector &a, const DoubleVector &b, const DoubleVector &c)
    {
        return cross(b - a, c - a).normalized();
    }

    double x = 0.0;
    double y = 0.0;
    double z = 0.0;
};

/// A matrix for intermediate results, which are rounded to single precision last.
///
/// Context: none.
/// Private to the library: the shadow fits.
class DoubleMatrix
{
public:
    explicit DoubleMatrix(const QMatrix4x4 &matrix)
    {
        for (int row = 0; row < 4; ++row) {
            for (int column = 0; column < 4; ++column) {
                _rows[row][column] = double(matrix(row, column));
            }
        }
    }

    QMatrix4x4 rounded() const
    {
        QMatrix4x4 result;
        for (int row = 0; row < 4; ++row) {
            for (int column = 0; column < 4; ++column) {
                result(row, column) = float(_rows[row][column]);
            }
        }
        return result;
    }

    DoubleMatrix operator*(const DoubleMatrix &other) const
    {
        DoubleMatrix result{QMatrix4x4()};
        for (int row = 0; row < 4; ++row) {
            for (int column = 0; column < 4; ++column) {
                double sum = 0.0;
                for (int i = 0; i < 4; ++i) {
                    sum += _rows[row][i] * other._rows[i][column];
                }
                result._rows[row][column] = sum;
            }
        }
        return result;
    }

    /// Inverts by Gauss-Jordan elimination with partial pivoting. Returns the identity for a singular matrix, as
    /// QMatrix4x4 does.
    DoubleMatrix inverted() const
    {
        DoubleMatrix rest = *this;
        DoubleMatrix result{QMatrix4x4()};
        for (int i = 0; i < 4; ++i) {
            // 1. The row with the largest element of the column as the pivot: a small one would multiply the errors.
            int pivot = i;
            for (int row = i + 1; row < 4; ++row) {
                if (std::abs(rest._rows[row][i]) > std::abs(rest._rows[pivot][i])) {
                    pivot = row;
                }
            }
            if (rest._rows[pivot][i] == 0.0) {
                return DoubleMatrix{QMatrix4x4()};
            }
            std::swap(rest._rows[i], rest._rows[pivot]);
            std::swap(result._rows[i], result._rows[pivot]);

            // 2. The pivot becomes 1.
            const double divisor = rest._rows[i][i];
            for (int column = 0; column < 4; ++column) {
                rest._rows[i][column] /= divisor;
                result._rows[i][column] /= divisor;
            }

            // 3. All other elements of the column become 0.
            for (int row = 0; row < 4; ++row) {
                const double factor = row == i ? 0.0 : rest._rows[row][i];
                for (int column = 0; column < 4; ++column) {
                    rest._rows[row][column] -= factor * rest._rows[i][column];
                    result._rows[row][column] -= factor * result._rows[i][column];
                }
            }
        }
        return result;
    }

    /// Returns one coordinate of the transformed point without the division by w: 0 for x to 3 for w.
    double coordinate(int row, const DoubleVector &point) const
    {
        const double *r = _rows[row];
        return r[0] * point.x + r[1] * point.y + r[2] * point.z + r[3];
    }

    /// Returns the transformed point, divided by w.
    DoubleVector map(const DoubleVector &point) const
    {
        const double w = coordinate(3, point);
        return {coordinate(0, point) / w, coordinate(1, point) / w, coordinate(2, point) / w};
    }

private:
    double _rows[4][4];
};

}} // namespace Orvane::Zel
