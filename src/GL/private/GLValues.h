#pragma once

/// \file
/// Integers that GL returns and offsets that GL takes, in the types of C++. Private to the library.

#include "../GLLoader.h"

#include <QtCore/QtGlobal>

namespace Orvane { namespace Zel {

/// One value of glGetIntegerv(). 0 where GL does not know \a name, because GL then writes nothing.
inline GLint integerFromGL(GLenum name)
{
    GLint value = 0;
    glGetIntegerv(name, &value);
    return value;
}

/// The pointer by which GL takes an offset into the bound buffer.
inline const void *bufferOffset(quint64 bytes)
{
    return reinterpret_cast<const void *>(quintptr(bytes));
}

}} // namespace Orvane::Zel
