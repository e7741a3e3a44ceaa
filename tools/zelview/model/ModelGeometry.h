#pragma once

#include <QtCore/QSharedPointer>

#include <vector>

namespace Orvane { namespace Zel {
class BufferObject;
class DrawBuffers;
class VertexArrayObject;
}} // namespace Orvane::Zel

namespace zeltools {

struct Mesh;
struct Scene;

/// All vertices and indices of a scene in one vertex array, and a factory of draw units for parts of it.
///
/// Context: create, use and delete with the same context current.
class ModelGeometry
{
    Q_DISABLE_COPY(ModelGeometry)

public:
    explicit ModelGeometry(const Scene &scene);
    ~ModelGeometry();

    /// A draw unit whose commands draw the meshes; command i has the draw ID i. The caller owns it.
    Orvane::Zel::DrawBuffers *newUnit(const std::vector<const Mesh *> &meshes) const;

    // Estimates in bytes.
    quint64 memoryOnCPU() const;
    quint64 memoryOnGPU() const;

private:
    int _indexCount;
    QSharedPointer<Orvane::Zel::BufferObject> _indexBuffer;
    QSharedPointer<Orvane::Zel::VertexArrayObject> _vertexArray;
};

} // namespace zeltools
