#include "OpenGLDeviceContext.h"

#include "BufferObject.h"
#include "DrawBuffers.h"
#include "GLUtilities.h"
#include "UniformBufferObject.h"
#include "VertexArrayObject.h"

namespace Orvane { namespace Zel {

namespace {

// Created at the load of the library, so that current() is never null; the constructor makes no GL call.
QSharedPointer<OpenGLDeviceContext> currentDeviceContext(new OpenGLDeviceContext);

constexpr int kQuadVertexCount = 6;

constexpr float kQuadPositions[kQuadVertexCount * 3] = {
    -1.0f, 1.0f,  -1.0f, //
    -1.0f, -1.0f, -1.0f, //
    1.0f,  -1.0f, -1.0f, //
    1.0f,  -1.0f, -1.0f, //
    1.0f,  1.0f,  -1.0f, //
    -1.0f, 1.0f,  -1.0f, //
};

constexpr float kQuadTexCoords[kQuadVertexCount * 2] = {
    0.0f, 1.0f, //
    0.0f, 0.0f, //
    1.0f, 0.0f, //
    1.0f, 0.0f, //
    1.0f, 1.0f, //
    0.0f, 1.0f, //
};

// Bound for the upload, since the first upload of a name needs it on every driver.
void fill(BufferObject &buffer, const float *data, int valueCount)
{
    buffer.bind();
    buffer.upload(data, valueCount, GL_STATIC_DRAW);
    buffer.unbind();
}

} // namespace

QSharedPointer<OpenGLDeviceContext> OpenGLDeviceContext::current()
{
    return currentDeviceContext;
}

void OpenGLDeviceContext::resetContext()
{
    currentDeviceContext = QSharedPointer<OpenGLDeviceContext>(new OpenGLDeviceContext);
}

OpenGLDeviceContext::OpenGLDeviceContext() = default;

OpenGLDeviceContext::~OpenGLDeviceContext() = default;

QSharedPointer<BufferObject> OpenGLDeviceContext::newBuffer()
{
    return QSharedPointer<BufferObject>(new BufferObject(nullptr));
}

QSharedPointer<BufferObject> OpenGLDeviceContext::newBuffer(unsigned int bo)
{
    return QSharedPointer<BufferObject>(new BufferObject(bo, nullptr));
}

QSharedPointer<DrawBuffers> OpenGLDeviceContext::fullscreenQuad()
{
    // Made at the first use, when a context is current; resetContext() drops it with the factory.
    if (_fullscreenQuad.isNull()) {
        _fullscreenQuad = newFullscreenQuad();
    }
    return _fullscreenQuad;
}

QSharedPointer<DrawBuffers> OpenGLDeviceContext::newFullscreenQuad()
{
    // Only the buffers come from the virtual functions: a host that derives replaces those; see
    // OpenGLDeviceContextTest.TheQuadIsSharedUntilTheContextIsResetAndAHostsFactoryMakesItsBuffers.
    const QSharedPointer<DrawBuffers> quad(new DrawBuffers(nullptr));
    const QSharedPointer<VertexArrayObject> vao(new VertexArrayObject(nullptr));
    quad->setVAO(vao);
    const QSharedPointer<BufferObject> positions = newArrayBuffer(*vao, QStringLiteral("va_Vertex"), 3);
    const QSharedPointer<BufferObject> texCoords = newArrayBuffer(*vao, QStringLiteral("va_TexCoord"), 2);
    fill(*positions, kQuadPositions, kQuadVertexCount * 3);
    fill(*texCoords, kQuadTexCoords, kQuadVertexCount * 2);
    quad->setVertexCount(kQuadVertexCount);
    quad->setPrimitiveType(GL_TRIANGLES);
    return quad;
}

QSharedPointer<VertexArrayObject> OpenGLDeviceContext::newVAO()
{
    return QSharedPointer<VertexArrayObject>(new VertexArrayObject(nullptr));
}

QSharedPointer<UniformBufferObject>
OpenGLDeviceContext::newUniformBuffer(const QString &blockName, QSharedPointer<BufferObject> bufferObject)
{
    return QSharedPointer<UniformBufferObject>(new UniformBufferObject(blockName, bufferObject, nullptr));
}

QSharedPointer<BufferObject> OpenGLDeviceContext::newArrayBuffer(VertexArrayObject &vao, const QString &name,
                                                                 int valuesPerVertex)
{
    const QSharedPointer<BufferObject> buffer = newBuffer();
    buffer->setTarget(GL_ARRAY_BUFFER);
    vao.upload(name, buffer, valuesPerVertex, GL_FLOAT);
    return buffer;
}

}} // namespace Orvane::Zel
