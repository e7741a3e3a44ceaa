#pragma once

#include <ZelGL/ZelGL.h>

#include <initializer_list>

/// Makes a box from -1 to 1 on each axis, with normals and texture coordinates.
inline void makeBox(Orvane::Zel::DrawBuffers *shape)
{
    QVector<float> vertices, normals, texCoords;
    QVector<quint16> indices;
    for (int face = 0; face < 6; ++face) {
        const int axis = face / 2;
        const float side = face % 2 == 0 ? -1.0f : 1.0f;
        for (const int corner : {0, 1, 2, 2, 1, 3}) {
            indices << quint16(4 * face + corner);
        }
        for (int corner = 0; corner < 4; ++corner) {
            const float u = corner % 2 == 0 ? -1.0f : 1.0f;
            const float v = corner / 2 == 0 ? -1.0f : 1.0f;
            const float vertex[] = {side, side * u, v}; // along the axes after each other
            for (int i = 0; i < 3; ++i) {
                vertices << vertex[(i + 3 - axis) % 3];
                normals << (i == axis ? side : 0.0f);
            }
            texCoords << 0.5f + 0.5f * u << 0.5f + 0.5f * v;
        }
    }
    const auto context = Orvane::Zel::OpenGLDeviceContext::current();
    shape->setVAO(context->newVAO());
    const auto upload = [&](const char *name, const QVector<float> &values, int size) {
        const auto buffer = context->newBuffer();
        buffer->setTarget(GL_ARRAY_BUFFER);
        shape->VAO()->upload(name, buffer, values, size, GL_STATIC_DRAW);
    };
    upload("va_Vertex", vertices, 3);
    upload("va_Normal", normals, 3);
    upload("va_TexCoord", texCoords, 2);
    const auto buffer = context->newBuffer();
    buffer->setTarget(GL_ELEMENT_ARRAY_BUFFER);
    buffer->bind();
    buffer->uploadGLushortData(indices.constData(), indices.size(), GL_STATIC_DRAW);
    buffer->unbind();
    shape->setPrimitiveType(GL_TRIANGLES);
    shape->setIndexedDraw(buffer, indices.size(), GL_UNSIGNED_SHORT);
}
