#include "frame/UniformBlock.h"

#include <ZelGL/ZelGL.h>

using namespace Orvane::Zel;

namespace zeltools {

QSharedPointer<UniformBufferObject> makeUniformBlock(const char *name)
{
    const QSharedPointer<OpenGLDeviceContext> device = OpenGLDeviceContext::current();
    const QSharedPointer<BufferObject> buffer = device->newBuffer();
    buffer->setTarget(GL_UNIFORM_BUFFER);
    return device->newUniformBuffer(QLatin1String(name), buffer);
}

bool uploadUniformBlock(const UniformBufferObject &block, const void *records, int count, unsigned long size)
{
    BufferObject *buffer = block.bufferObject().data();
    const AutoBinder bound(buffer);
    return buffer->uploadArbitraryData(records, count, GL_DYNAMIC_DRAW, size);
}

} // namespace zeltools
