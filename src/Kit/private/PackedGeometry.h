#pragma once

#include "../PackedScene.h"
#include "FreeRanges.h"
#include "HandleTable.h"

#include <ZelGL/DrawBuffers.h>

#include <QtCore/QSharedPointer>

namespace Orvane { namespace ZelKit {

/// The vertices and indices of all meshes of a PackedScene: one vertex array, one buffer each.
///
/// Data reach the buffers by copies on the GPU, in the order of the draws. So neither side waits for the other, although older
/// draws may still read a range that is filled again.
///
/// Context: construct, use and delete with the same context current.
class PackedGeometry
{
    Q_DISABLE_COPY(PackedGeometry)

public:
    using Command = Zel::DrawElementsIndirectCommand;

    struct Mesh
    {
        int firstVertex = 0;
        int vertexCount = 0;
        int firstIndex = 0;
        int indexCount = 0;
        int uses = 0; ///< by drawables
        Zel::GPUModel::BoundingBox box;
    };

    explicit PackedGeometry(const PackedScene::Format &format);
    ~PackedGeometry();

    /// Returns HandleTable::kNone if the driver has no memory for it.
    int add(const void *vertices, const std::vector<quint32> &indices, const Mesh &mesh);
    void remove(int mesh);
    Mesh *find(int mesh) { return _meshes.find(mesh); }
    int count() const { return _meshes.count(); }

    /// Closes the gaps. The places of the meshes change.
    bool compact();

    const PackedScene::Format &format() const { return _format; }
    /// Counts changes of the buffers.
    int version() const { return _version; }
    /// A unit without commands, which has the vertex array and the index buffer.
    Zel::DrawBuffers &unit() { return *_unit; }
    std::unique_ptr<Zel::DrawBuffers> newUnit() const;

    static Command commandOf(const Mesh &mesh, int drawID)
    {
        return {quint32(mesh.indexCount), 1, quint32(mesh.firstIndex), quint32(mesh.firstVertex),
                quint32(drawID)};
    }

    quint64 bytesOnCPU() const { return _meshes.bytes(); }
    quint64 bytesOnGPU() const;

private:
    /// One of the two buffers.
    struct Pool
    {
        QSharedPointer<Zel::BufferObject> buffer;
        FreeRanges ranges;
        qint64 elementSize = 0;
    };

    static QSharedPointer<Zel::BufferObject> newStorage(const Pool &pool, qint64 elements);
    bool makePlace(Pool &pool, qint64 count, qint64 &first);
    bool fill(const Pool &pool, qint64 first, qint64 count, const void *data);
    bool compact(Pool &pool, int Mesh::*first, int Mesh::*count);
    void useBuffers();

    const PackedScene::Format _format;
    Pool _vertices;
    Pool _indices;
    QSharedPointer<Zel::BufferObject> _staging;
    QSharedPointer<Zel::VertexArrayObject> _vertexArray;
    std::unique_ptr<Zel::DrawBuffers> _unit;
    HandleTable<Mesh> _meshes;
    int _version = 0;
};

}} // namespace Orvane::ZelKit
