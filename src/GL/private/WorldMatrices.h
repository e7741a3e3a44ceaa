#pragma once

#include <QtGui/QMatrix4x4>

namespace Orvane { namespace Zel {

/// Whether a matrix mirrors: the triple product of its first three columns, which is that of its rows, is below 0.
bool swapsHandedness(const QMatrix4x4 &matrix);

/// The matrices that follow from a world matrix.
///
/// Context: none.
/// Private to the library; for GPUModel.
struct WorldMatrices
{
    explicit WorldMatrices(const QMatrix4x4 &world);

    QMatrix4x4 inverse{Qt::Uninitialized};
    QMatrix3x3 normal{Qt::Uninitialized}; ///< transpose of the inverse of the first three rows and columns
    bool mirrors;
};

}} // namespace Orvane::Zel
