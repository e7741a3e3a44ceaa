#pragma once

#include <QtCore/QVariant>
#include <QtCore/QVector>

namespace Orvane { namespace Zel {

/// \file
/// Sends values to uniforms of the bound program, for ShaderProgram::setUniform(). Private to the library.

/// Sends \a values as an array of vectors with \a tupleSize components; the count passed to GL is the size of the list.
/// Returns false, without a call, for a negative location. A tuple size other than 1 to 4 makes no call and returns true.
bool setUniformTuples(int location, const QVector<float> &values, int tupleSize);
bool setUniformTuples(int location, const QVector<int> &values, int tupleSize);
bool setUniformTuples(int location, const QVector<unsigned int> &values, int tupleSize);

/// Sends the value by the type that the variant holds. Returns false, without a call, for a type that is not supported;
/// the caller reports it.
bool setUniformValue(int location, const QVariant &value);

}} // namespace Orvane::Zel
