#include "Shapes.h"

#include <ZelGL/ZelGL.h>

#include <cmath>

using namespace Orvane::Zel;

namespace {

using Index = quint16;

struct Body
{
    QVector<float> positions;
    QVector<float> normals;
    QVector<Index> indices;

    Index add(const QVector3D &position, const QVector3D &normal)
    {
        positions << position.x() << position.y() << position.z();
        normals << normal.x() << normal.y() << normal.z();
        return Index(positions.size() / 3 - 1);
    }
};

QSharedPointer<BufferObject> newBuffer(unsigned int target)
{
    const QSharedPointer<BufferObject> buffer = OpenGLDeviceContext::current()->newBuffer();
    buffer->setTarget(target);
    return buffer;
}

std::unique_ptr<DrawBuffers> makeUnit(const Body &body, int commands)
{
    auto unit = std::make_unique<DrawBuffers>(nullptr);
    unit->setVAO(OpenGLDeviceContext::current()->newVAO());
    unit->VAO()->upload("va_Vertex", newBuffer(GL_ARRAY_BUFFER), body.positions, 3, GL_STATIC_DRAW);
    unit->VAO()->upload("va_Normal", newBuffer(GL_ARRAY_BUFFER), body.normals, 3, GL_STATIC_DRAW);
    unit->setPrimitiveType(GL_TRIANGLES);

    const QSharedPointer<BufferObject> indices = newBuffer(GL_ELEMENT_ARRAY_BUFFER);
    indices->bind();
    indices->uploadGLushortData(body.indices.constData(), body.indices.size(), GL_STATIC_DRAW);
    indices->unbind();
    unit->setIndexedDraw(indices, body.indices.size(), GL_UNSIGNED_SHORT);

    const QVector<DrawElementsIndirectCommand> list(commands, {quint32(body.indices.size()), 1, 0, 0, 0});
    unit->setDrawElementsIndirectCommands(list.constData(), list.size());
    return unit;
}

} // namespace

std::unique_ptr<DrawBuffers> makeCube(int commands)
{
    Body cube;
    for (int axis = 0; axis < 3; ++axis) {
        for (const float side : {-1.0f, 1.0f}) {
            QVector3D normal;
            normal[axis] = side;
            QVector3D right;
            right[(axis + 1) % 3] = side;
            const QVector3D up = QVector3D::crossProduct(normal, right);
            const Index first = cube.add(normal - right - up, normal);
            cube.add(normal + right - up, normal);
            cube.add(normal + right + up, normal);
            cube.add(normal - right + up, normal);
            for (const int corner : {0, 1, 2, 2, 3, 0}) {
                cube.indices << Index(first + corner);
            }
        }
    }
    return makeUnit(cube, commands);
}

std::unique_ptr<DrawBuffers> makeSphere(int commands)
{
    constexpr int kRings = 48;
    constexpr int kSegments = 96;
    Body sphere;
    for (int ring = 0; ring <= kRings; ++ring) {
        const float polar = float(M_PI) * float(ring) / kRings;
        for (int segment = 0; segment <= kSegments; ++segment) {
            const float around = 2.0f * float(M_PI) * float(segment) / kSegments;
            const QVector3D point(std::sin(polar) * std::sin(around), std::cos(polar),
                                  std::sin(polar) * std::cos(around));
            const Index here = sphere.add(point, point);
            if (ring < kRings && segment < kSegments) {
                const Index below = Index(here + kSegments + 1);
                sphere.indices << here << below << Index(below + 1) << Index(below + 1) << Index(here + 1)
                               << here;
            }
        }
    }
    return makeUnit(sphere, commands);
}
