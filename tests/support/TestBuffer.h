#pragma once

#include <ZelGL/BufferObject.h>

#include <QtCore/QSharedPointer>

/// An empty buffer that is bound to this target.
inline QSharedPointer<Orvane::Zel::BufferObject> makeBuffer(unsigned int target)
{
    QSharedPointer<Orvane::Zel::BufferObject> buffer(new Orvane::Zel::BufferObject(nullptr));
    buffer->setTarget(target);
    return buffer;
}
