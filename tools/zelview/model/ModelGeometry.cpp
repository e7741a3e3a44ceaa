#include "model/ModelGeometry.h"

#include "scene/Scene.h"

#include <ZelGL/ZelGL.h>

#include <cstddef>

using namespace Orvane::Zel;

namespace zeltools {

namespace {

QSharedPointer<BufferObject> newVertexBuffer(const std::vector<Vertex> &vertices)
{
    const QSharedPointer<BufferObject> buffer = OpenGLDeviceContext::current()->newBuffer();
    buffer->setTarget(GL_ARRAY_BUFFER);
    const AutoBinder bound(buffer.data());
    buffer->uploadArbitraryData(vertices.data(), int(vertices.size()), GL_STATIC_DRAW, sizeof(Vertex));
    return buffer;
}

QSharedPointer<BufferObject> newIndexBuffer(const std::vector<quint32> &indices)
{
    // Uploads through another target: the element array binding is state of a vertex array, and none is bound yet.
    const QSharedPointer<BufferObject> buffer = OpenGLDeviceContext::current()->newBuffer();
    buffer->setTarget(GL_COPY_WRITE_BUFFER);
    buffer->bind();
    buffer->uploadGLuintData(indices.data(), int(indices.size()), GL_STATIC_DRAW);
    buffer->unbind();
    buffer->setTarget(GL_ELEMENT_ARRAY_BUFFER);
    return buffer;
}

} // namespace

ModelGeometry::ModelGeometry(const Scene &scene)
    : _indexCount(int(scene.indices.size()))
    , _indexBuffer(newIndexBuffer(scene.indices))
    , _vertexArray(OpenGLDeviceContext::current()->newVAO())
{
    const QSharedPointer<BufferObject> vertices = newVertexBuffer(scene.vertices);
    const auto add = [&](const char *attribute, int components, GLenum type, size_t offset) {
        _vertexArray->registerBO(QLatin1String(attribute), vertices, components, type,
                                 type == GL_UNSIGNED_BYTE, sizeof(Vertex), offset);
    };
    add("va_Vertex", 3, GL_FLOAT, offsetof(Vertex, position));
    add("va_Normal", 3, GL_FLOAT, offsetof(Vertex, normal));
    add("va_TexCoord", 2, GL_FLOAT, offsetof(Vertex, texCoord));
    add("va_TexCoord2", 2, GL_FLOAT, offsetof(Vertex, texCoord2));
    add("va_Color", 4, GL_UNSIGNED_BYTE, offsetof(Vertex, color));
}

ModelGeometry::~ModelGeometry() = default;

DrawBuffers *ModelGeometry::newUnit(const std::vector<const Mesh *> &meshes) const
{
    std::vector<DrawElementsIndirectCommand> commands;
    for (const Mesh *mesh : meshes) {
        commands.push_back({mesh->indexCount, 1, mesh->firstIndex, mesh->firstVertex, 0});
    }
    auto *unit = new DrawBuffers(nullptr);
    unit->setVAO(_vertexArray);
    unit->setPrimitiveType(GL_TRIANGLES);
    unit->setIndexedDraw(_indexBuffer, _indexCount, GL_UNSIGNED_INT);
    unit->setDrawElementsIndirectCommands(commands.data(), int(commands.size()));
    return unit;
}

quint64 ModelGeometry::memoryOnCPU() const
{
    return _vertexArray->memoryEstimateCPU() + _indexBuffer->memoryEstimateCPU();
}

quint64 ModelGeometry::memoryOnGPU() const
{
    return _vertexArray->memoryEstimateGPU() + _indexBuffer->memoryEstimateGPU();
}

} // namespace zeltools
