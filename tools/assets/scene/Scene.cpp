#include "scene/Scene.h"

#include "file/Counted.h"

#include <algorithm>
#include <limits>

namespace zeltools {

void Box::add(const QVector3D &point)
{
    for (int axis = 0; axis < 3; ++axis) {
        low[axis] = std::min(low[axis], point[axis]);
        high[axis] = std::max(high[axis], point[axis]);
    }
}

QVector3D Box::corner(int number) const
{
    return {(number & 1) != 0 ? high.x() : low.x(), (number & 2) != 0 ? high.y() : low.y(),
            (number & 4) != 0 ? high.z() : low.z()};
}

QMatrix4x4 Scene::worldTransform(int node) const
{
    QMatrix4x4 world;
    for (; node >= 0; node = nodes[size_t(node)].parent) {
        world = nodes[size_t(node)].local * world;
    }
    return world;
}

const Material &Scene::materialOf(const Draw &draw) const
{
    return materials[size_t(meshes[size_t(draw.mesh)].material)];
}

qint64 Scene::placedTriangles() const
{
    qint64 count = 0;
    for (const Draw &draw : draws) {
        count += meshes[size_t(draw.mesh)].indexCount / 3;
    }
    return count;
}

QString Scene::describe() const
{
    return QStringLiteral("model     %1, %2, %3, %4; placed: %5, %6")
        .arg(counted(qint64(meshes.size()), "mesh", "meshes"),
             counted(qint64(indices.size() / 3), "triangle", "triangles"),
             counted(qint64(materials.size()), "material", "materials"),
             counted(qint64(textures.size()), "texture", "textures"),
             counted(qint64(draws.size()), "mesh", "meshes"),
             counted(placedTriangles(), "triangle", "triangles"));
}

float Scene::reach(const QVector3D &direction) const
{
    float farthest = -std::numeric_limits<float>::infinity();
    for (const Draw &draw : draws) {
        if (draw.isHidden) {
            continue;
        }
        // Transforms the plane to the mesh's space instead of every vertex to the world.
        const QVector4D plane = QVector4D(direction, 0.0f) * draw.transform;
        const Mesh &mesh = meshes[size_t(draw.mesh)];
        const auto first = vertices.begin() + mesh.firstVertex;
        std::for_each(first, first + mesh.vertexCount, [&](const Vertex &vertex) {
            farthest = std::max(farthest, QVector4D::dotProduct(plane, QVector4D(vertex.point(), 1.0f)));
        });
    }
    return farthest;
}

} // namespace zeltools
