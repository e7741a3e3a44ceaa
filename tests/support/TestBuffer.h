#pragma once

#include "TestContext.h"

#include <ZelGL/BufferObject.h>

#include <QtCore/QSharedPointer>
#include <QtGui/QOpenGLFunctions_3_2_Core>

#include <vector>

/// A new, empty buffer that is bound to this target.
inline QSharedPointer<Orvane::Zel::BufferObject> makeBuffer(unsigned int target)
{
    QSharedPointer<Orvane::Zel::BufferObject> buffer(new Orvane::Zel::BufferObject(nullptr));
    buffer->setTarget(target);
    return buffer;
}

/// Reads values from a buffer, starting at a byte.
template <typename Value>
std::vector<Value> contentsOf(const Orvane::Zel::BufferObject &buffer, size_t count, GLintptr offset = 0)
{
    std::vector<Value> values(count);
    driver()->glBindBuffer(GL_COPY_READ_BUFFER, buffer.getBO());
    driver()->glGetBufferSubData(GL_COPY_READ_BUFFER, offset, GLsizeiptr(count * sizeof(Value)),
                                 values.data());
    driver()->glBindBuffer(GL_COPY_READ_BUFFER, 0);
    return values;
}
