#include "PackedGeometry.h"

#include <ZelGL/ZelGL.h>

#include <algorithm>
#include <limits>

using namespace Orvane::Zel;

namespace Orvane { namespace ZelKit {

namespace {

constexpr qint64 kMinElements = 4096;
constexpr int kMaxErrors = 100; ///< some drivers report an error for ever in a lost context

void copyOnGPU(const BufferObject &from, qint64 fromByte, const BufferObject &to, qint64 toByte, qint64 bytes)
{
    // The copy targets: no other binding changes, not even that of the index buffer in the bound vertex array.
    glBindBuffer(GL_COPY_READ_BUFFER, from.getBO());
    glBindBuffer(GL_COPY_WRITE_BUFFER, to.getBO());
    glCopyBufferSubData(GL_COPY_READ_BUFFER, GL_COPY_WRITE_BUFFER, GLintptr(fromByte), GLintptr(toByte),
                        GLsizeiptr(bytes));
    glBindBuffer(GL_COPY_READ_BUFFER, 0);
    glBindBuffer(GL_COPY_WRITE_BUFFER, 0);
}

/// Returns whether the driver had the memory.
bool allocate(const BufferObject &buffer, qint64 bytes, const void *data, GLenum usage)
{
    for (int i = 0; i < kMaxErrors && glGetError() != GL_NO_ERROR; ++i) {}
    glBindBuffer(GL_COPY_WRITE_BUFFER, buffer.getBO());
    glBufferData(GL_COPY_WRITE_BUFFER, GLsizeiptr(bytes), data, usage);
    glBindBuffer(GL_COPY_WRITE_BUFFER, 0);
    return glGetError() == GL_NO_ERROR;
}

} // namespace

PackedGeometry::PackedGeometry(const PackedScene::Format &format)
    : _format(format)
    , _staging(OpenGLDeviceContext::current()->newBuffer())
    , _vertexArray(OpenGLDeviceContext::current()->newVAO())
{
    _vertices.elementSize = format.stride;
    _indices.elementSize = bytesFromInternalFormat(format.indexType);
    _vertices.buffer = OpenGLDeviceContext::current()->newBuffer();
    _vertices.buffer->setTarget(GL_ARRAY_BUFFER);
    _indices.buffer = OpenGLDeviceContext::current()->newBuffer();
    _indices.buffer->setTarget(GL_ELEMENT_ARRAY_BUFFER);
    _unit = newUnit();
    useBuffers();
}

PackedGeometry::~PackedGeometry() = default;

int PackedGeometry::add(const void *vertices, const std::vector<quint32> &indices, const Mesh &mesh)
{
    qint64 firstVertex = 0;
    qint64 firstIndex = 0;
    if (!makePlace(_vertices, mesh.vertexCount, firstVertex)) {
        return HandleTable<Mesh>::kNone;
    }
    if (!makePlace(_indices, mesh.indexCount, firstIndex)) {
        _vertices.ranges.release(firstVertex, mesh.vertexCount);
        return HandleTable<Mesh>::kNone;
    }
    const std::vector<quint16> narrow(
        _format.indexType == GL_UNSIGNED_SHORT ? indices.begin() : indices.end(), indices.end());
    const void *indexData = narrow.empty() ? static_cast<const void *>(indices.data()) : narrow.data();
    Mesh placed = mesh;
    placed.firstVertex = int(firstVertex);
    placed.firstIndex = int(firstIndex);
    const bool isFilled = fill(_vertices, firstVertex, mesh.vertexCount, vertices)
                          && fill(_indices, firstIndex, mesh.indexCount, indexData);
    const int number = isFilled ? _meshes.add(placed) : HandleTable<Mesh>::kNone;
    if (number == HandleTable<Mesh>::kNone) {
        _vertices.ranges.release(firstVertex, mesh.vertexCount);
        _indices.ranges.release(firstIndex, mesh.indexCount);
    }
    return number;
}

void PackedGeometry::remove(int mesh)
{
    const Mesh &removed = *_meshes.find(mesh);
    _vertices.ranges.release(removed.firstVertex, removed.vertexCount);
    _indices.ranges.release(removed.firstIndex, removed.indexCount);
    _meshes.remove(mesh);
}

bool PackedGeometry::compact()
{
    // Each pool keeps its places if there is no memory for its copy.
    const bool isCompact = compact(_vertices, &Mesh::firstVertex, &Mesh::vertexCount)
                           && compact(_indices, &Mesh::firstIndex, &Mesh::indexCount);
    useBuffers();
    return isCompact;
}

std::unique_ptr<DrawBuffers> PackedGeometry::newUnit() const
{
    auto unit = std::make_unique<DrawBuffers>(nullptr);
    unit->setVAO(_vertexArray);
    unit->setPrimitiveType(_format.primitiveType);
    unit->setIndexedDraw(_indices.buffer, int(_indices.ranges.capacity()), _format.indexType);
    return unit;
}

quint64 PackedGeometry::bytesOnGPU() const
{
    return quint64(_vertices.ranges.capacity() * _vertices.elementSize
                   + _indices.ranges.capacity() * _indices.elementSize);
}

QSharedPointer<BufferObject> PackedGeometry::newStorage(const Pool &pool, qint64 elements)
{
    const QSharedPointer<BufferObject> buffer = OpenGLDeviceContext::current()->newBuffer();
    buffer->setTarget(pool.buffer->target());
    return allocate(*buffer, elements * pool.elementSize, nullptr, GL_STATIC_DRAW)
               ? buffer
               : QSharedPointer<BufferObject>();
}

/// Finds a range, in a buffer of twice the size if there is none.
bool PackedGeometry::makePlace(Pool &pool, qint64 count, qint64 &first)
{
    first = pool.ranges.take(count);
    if (first != FreeRanges::kNone) {
        return true;
    }
    const qint64 old = pool.ranges.capacity();
    const qint64 capacity = std::max({kMinElements, 2 * old, old + count});
    if (capacity > std::numeric_limits<int>::max()) { // base vertices are signed
        return false;
    }
    const QSharedPointer<BufferObject> buffer = newStorage(pool, capacity);
    if (buffer.isNull()) {
        return false;
    }
    if (old > 0) {
        copyOnGPU(*pool.buffer, 0, *buffer, 0, old * pool.elementSize);
    }
    pool.buffer = buffer;
    pool.ranges.grow(capacity);
    useBuffers();
    first = pool.ranges.take(count);
    return true;
}

bool PackedGeometry::fill(const Pool &pool, qint64 first, qint64 count, const void *data)
{
    const qint64 bytes = count * pool.elementSize;
    if (!allocate(*_staging, bytes, data, GL_STREAM_DRAW)) {
        return false;
    }
    copyOnGPU(*_staging, 0, *pool.buffer, first * pool.elementSize, bytes);
    return true;
}

bool PackedGeometry::compact(Pool &pool, int Mesh::*first, int Mesh::*count)
{
    const qint64 used = pool.ranges.used();
    if (used == pool.ranges.capacity()) {
        return true;
    }
    const QSharedPointer<BufferObject> buffer = newStorage(pool, std::max(used, qint64(1)));
    if (buffer.isNull()) {
        return false;
    }
    // 1. In the order of the places, so that neighbours are copied together.
    std::vector<Mesh *> meshes;
    _meshes.forEach([&](Mesh &mesh) { meshes.push_back(&mesh); });
    std::sort(meshes.begin(), meshes.end(), [&](Mesh *a, Mesh *b) { return a->*first < b->*first; });
    // 2. Runs without gaps.
    qint64 end = 0;
    for (size_t i = 0; i < meshes.size();) {
        const qint64 from = meshes[i]->*first;
        qint64 length = 0;
        for (; i < meshes.size() && meshes[i]->*first == from + length; ++i) {
            length += meshes[i]->*count;
            meshes[i]->*first = int(end + length) - meshes[i]->*count;
        }
        copyOnGPU(*pool.buffer, from * pool.elementSize, *buffer, end * pool.elementSize,
                  length * pool.elementSize);
        end += length;
    }
    pool.buffer = buffer;
    pool.ranges.reset(used, std::max(used, qint64(1)));
    return true;
}

void PackedGeometry::useBuffers()
{
    for (const PackedScene::Attribute &attribute : _format.attributes) {
        _vertexArray->registerBO(attribute.name, _vertices.buffer, attribute.components, attribute.type,
                                 attribute.normalized, _format.stride, attribute.offset);
    }
    _unit->setIndexedDraw(_indices.buffer, int(_indices.ranges.capacity()), _format.indexType);
    ++_version;
}

}} // namespace Orvane::ZelKit
