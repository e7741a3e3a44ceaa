#include "Boxes.h"

#include <ZelGL/ZelGL.h>

using namespace Orvane::Zel;

Box::Box()
{
    for (int face = 0; face < 6; ++face) {
        QVector3D normal;
        normal[face / 2] = face % 2 == 0 ? 1.0f : -1.0f;
        const QVector3D right(normal.y(), normal.z(), normal.x());
        const QVector3D up = QVector3D::crossProduct(normal, right);
        const int base = 4 * face;
        for (int corner = 0; corner < 4; ++corner) {
            const float u = corner == 1 || corner == 2 ? 1.0f : 0.0f;
            const float v = corner >= 2 ? 1.0f : 0.0f;
            const QVector3D p = 0.5f * normal + (u - 0.5f) * right + (v - 0.5f) * up;
            vertices << p.x() << p.y() << p.z() << normal.x() << normal.y() << normal.z() << u << v;
        }
        for (const int corner : {0, 1, 2, 0, 2, 3}) {
            indices.append(static_cast<unsigned short>(base + corner));
        }
    }
}

std::array<float, 4> colorOfMaterial(int material, const BoxRuns &runs)
{
    const float share = float(material) / float(runs.materialCount);
    return {share, 0.5f, 1.0f - share, 1.0f};
}

QMatrix4x4 gridTransform(int i, int n)
{
    int side = 1;
    while (side * side * side < n) {
        ++side;
    }
    const float half = float(side - 1);
    QMatrix4x4 transform;
    transform.translate(2.0f * float(i % side) - half, 2.0f * float(i / side % side) - half,
                        2.0f * float(i / (side * side)) - half);
    return transform;
}

QSharedPointer<BufferObject> makeBuffer(GLenum target, const void *data, int count, size_t valueSize)
{
    const QSharedPointer<BufferObject> buffer = OpenGLDeviceContext::current()->newBuffer();
    buffer->setTarget(target);
    const AutoBinder binder(buffer.data());
    buffer->uploadArbitraryData(data, count, GL_STATIC_DRAW, valueSize);
    return buffer;
}

std::unique_ptr<DrawBuffers> makeUnit(const QVector<float> &vertices, const QVector<unsigned short> &indices)
{
    const QSharedPointer<BufferObject> buffer =
        makeBuffer(GL_ARRAY_BUFFER, vertices.constData(), vertices.size(), sizeof(float));
    const QSharedPointer<VertexArrayObject> vao = OpenGLDeviceContext::current()->newVAO();
    constexpr unsigned int kStride = kFloatsPerVertex * sizeof(float);
    vao->registerBO("va_Vertex", buffer, 3, GL_FLOAT, false, kStride, 0);
    vao->registerBO("va_Normal", buffer, 3, GL_FLOAT, false, kStride, 12);
    vao->registerBO("va_TexCoord", buffer, 2, GL_FLOAT, false, kStride, 24);

    auto unit = std::make_unique<DrawBuffers>(nullptr);
    unit->setVAO(vao);
    unit->setPrimitiveType(GL_TRIANGLES);
    unit->setIndexedDraw(
        makeBuffer(GL_ELEMENT_ARRAY_BUFFER, indices.constData(), indices.size(), sizeof(short)),
        indices.size(), GL_UNSIGNED_SHORT);
    return unit;
}
