#include "TriangleMesh.h"

#include "private/Failure.h"
#include "private/Library.h"

#include <ZelGL/ZelGL.h>

#include <QtCore/qmath.h>

#include <algorithm>
#include <cmath>
#include <numeric>

using namespace Orvane::Zel;

namespace Orvane { namespace ZelKit {

namespace {

constexpr int kMaxShortIndices = 0x10000;

static_assert(sizeof(QVector3D) == 3 * sizeof(float) && sizeof(QVector2D) == 2 * sizeof(float),
              "they are uploaded as floats");

void append(TriangleMesh &mesh, const QVector3D &position, const QVector3D &normal, const QVector2D &texCoord)
{
    mesh.positions.append(position);
    mesh.normals.append(normal);
    mesh.texCoords.append(texCoord);
}

void appendFace(TriangleMesh &mesh, const QVector3D &center, const QVector3D &right, const QVector3D &up)
{
    const QVector3D normal = QVector3D::crossProduct(right, up).normalized();
    const quint32 first = quint32(mesh.positions.size());
    append(mesh, center - right - up, normal, {0.0f, 0.0f});
    append(mesh, center + right - up, normal, {1.0f, 0.0f});
    append(mesh, center + right + up, normal, {1.0f, 1.0f});
    append(mesh, center - right + up, normal, {0.0f, 1.0f});
    for (const quint32 corner : {0u, 1u, 2u, 2u, 3u, 0u}) {
        mesh.indices.append(first + corner);
    }
}

bool isComplete(const TriangleMesh &mesh, const TriangleMesh::Options &options, QString *error)
{
    const int positions = mesh.positions.size();
    const int corners = mesh.indices.isEmpty() ? positions : mesh.indices.size();
    if (corners == 0 || corners % 3 != 0 || options.instances < 1 || options.commands < 0) {
        fail(error,
             QStringLiteral(
                 "a mesh needs three corners for each triangle, one triangle and one instance at least"));
        return false;
    }
    if ((!mesh.normals.isEmpty() && mesh.normals.size() != positions)
        || (!mesh.texCoords.isEmpty() && mesh.texCoords.size() != positions)) {
        fail(error, QStringLiteral("a mesh of %1 positions has %2 normals and %3 texture coordinates")
                        .arg(positions)
                        .arg(mesh.normals.size())
                        .arg(mesh.texCoords.size()));
        return false;
    }
    const auto most = std::max_element(mesh.indices.begin(), mesh.indices.end());
    if (most != mesh.indices.end() && *most >= quint32(positions)) {
        fail(error, QStringLiteral("a mesh of %1 positions has the index %2").arg(positions).arg(*most));
        return false;
    }
    return true;
}

QSharedPointer<BufferObject> newBuffer(unsigned int target)
{
    QSharedPointer<BufferObject> buffer = OpenGLDeviceContext::current()->newBuffer();
    buffer->setTarget(target);
    return buffer;
}

template <typename Vector> void upload(DrawBuffers &unit, const QString &name, const QVector<Vector> &vectors)
{
    constexpr int kComponents = int(sizeof(Vector) / sizeof(float));
    if (!vectors.isEmpty()) {
        unit.VAO()->upload(name, newBuffer(GL_ARRAY_BUFFER),
                           reinterpret_cast<const float *>(vectors.constData()), kComponents * vectors.size(),
                           kComponents, GL_STATIC_DRAW);
    }
}

void uploadIndices(DrawBuffers &unit, const QVector<quint32> &indices, int positions)
{
    // Filled at another target: that of indices belongs to the vertex array that the host has bound.
    const QSharedPointer<BufferObject> buffer = newBuffer(GL_ARRAY_BUFFER);
    buffer->bind();
    if (positions <= kMaxShortIndices) {
        const QVector<quint16> shorts(indices.begin(), indices.end());
        buffer->uploadGLushortData(shorts.constData(), shorts.size(), GL_STATIC_DRAW);
    } else {
        buffer->uploadGLuintData(indices.constData(), indices.size(), GL_STATIC_DRAW);
    }
    buffer->unbind();
    buffer->setTarget(GL_ELEMENT_ARRAY_BUFFER);
    unit.setIndexedDraw(buffer, indices.size(),
                        positions <= kMaxShortIndices ? GL_UNSIGNED_SHORT : GL_UNSIGNED_INT);
}

} // namespace

TriangleMesh TriangleMesh::plane(const QVector3D &right, const QVector3D &up)
{
    TriangleMesh mesh;
    appendFace(mesh, QVector3D(), right, up);
    return mesh;
}

TriangleMesh TriangleMesh::box(const QVector3D &lower, const QVector3D &upper)
{
    const QVector3D center = 0.5f * (lower + upper);
    QVector3D half = 0.5f * (upper - lower);
    TriangleMesh mesh;
    for (int axis = 0; axis < 3; ++axis) {
        half[axis] = std::abs(half[axis]);
    }
    for (int axis = 0; axis < 3; ++axis) {
        for (const float side : {-1.0f, 1.0f}) {
            QVector3D normal;
            normal[axis] = side;
            QVector3D right;
            right[(axis + 1) % 3] = side;
            const QVector3D up = QVector3D::crossProduct(normal, right);
            appendFace(mesh, center + half * normal, half * right, half * up);
        }
    }
    return mesh;
}

TriangleMesh TriangleMesh::sphere(float radius, int segments)
{
    segments = std::max(segments, 3);
    const int rings = std::max(segments / 2, 2);
    TriangleMesh mesh;
    for (int ring = 0; ring <= rings; ++ring) {
        const float polar = float(M_PI) * float(ring) / float(rings);
        for (int segment = 0; segment <= segments; ++segment) {
            const float around = 2.0f * float(M_PI) * float(segment) / float(segments);
            const QVector3D normal(std::sin(polar) * std::sin(around), std::cos(polar),
                                   std::sin(polar) * std::cos(around));
            const quint32 here = quint32(mesh.positions.size());
            append(mesh, radius * normal, normal,
                   {float(segment) / float(segments), 1.0f - float(ring) / float(rings)});
            if (ring < rings && segment < segments) {
                const quint32 below = here + quint32(segments) + 1;
                mesh.indices << here << below << below + 1 << below + 1 << here + 1 << here;
            }
        }
    }
    return mesh;
}

Bounds TriangleMesh::bounds() const
{
    return Bounds(positions);
}

std::unique_ptr<DrawBuffers> TriangleMesh::drawBuffers(const Options &options, QString *error) const
{
    if (!isComplete(*this, options, error) || !isLibraryReady(error)) {
        return nullptr;
    }
    auto unit = std::make_unique<DrawBuffers>(nullptr);
    unit->setVAO(OpenGLDeviceContext::current()->newVAO());
    upload(*unit, options.position, positions);
    upload(*unit, options.normal, normals);
    upload(*unit, options.texCoord, texCoords);
    unit->setPrimitiveType(GL_TRIANGLES);
    unit->setInstanceCount(options.instances);
    if (!indices.isEmpty()) {
        uploadIndices(*unit, indices, positions.size());
    } else if (options.commands == 0) {
        unit->setVertexCount(unsigned(positions.size()));
    } else { // commands draw indices
        QVector<quint32> all(positions.size());
        std::iota(all.begin(), all.end(), 0u);
        uploadIndices(*unit, all, positions.size());
    }
    if (options.commands > 0) {
        const QVector<DrawElementsIndirectCommand> list(options.commands,
                                                        {quint32(unit->numIndexes()), 1, 0, 0, 0});
        unit->setDrawElementsIndirectCommands(list.constData(), list.size());
    }
    return unit;
}

std::unique_ptr<DrawBuffers> TriangleMesh::drawBuffers(int instances, QString *error) const
{
    Options options;
    options.instances = instances;
    return drawBuffers(options, error);
}

}} // namespace Orvane::ZelKit
