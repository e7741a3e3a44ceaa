#pragma once

#include <ZelGL/GLUtilities.h>

#include <QtCore/QSharedPointer>
#include <QtCore/QVector>
#include <QtGui/QMatrix4x4>

#include <array>
#include <memory>

namespace Orvane { namespace Zel {
class BufferObject;
class DrawBuffers;
}} // namespace Orvane::Zel

// The boxes of the programs that draw and cull: mesh, positions and materials are those of the peers.

/// Position, normal and texture coordinate.
constexpr int kFloatsPerVertex = 8;

/// A unit cube: 24 vertices and 36 indices.
struct Box
{
    Box();

    QVector<float> vertices;
    QVector<unsigned short> indices;
};

/// Consecutive boxes share a material.
struct BoxRuns
{
    /// The boxes of a material are those from firstBox(material) up to the first box of the next material.
    int firstBox(int material) const
    {
        return int(((long long)material * boxCount + materialCount - 1) / materialCount);
    }

    int boxCount;
    int materialCount;
};

/// Red, green, blue and alpha.
std::array<float, 4> colorOfMaterial(int material, const BoxRuns &runs);

/// Box i of n on a cubic grid with spacing 2 around the origin.
QMatrix4x4 gridTransform(int i, int n);

QSharedPointer<Orvane::Zel::BufferObject> makeBuffer(GLenum target, const void *data, int count,
                                                     size_t valueSize);

/// A draw unit with its own buffers and vertex array.
std::unique_ptr<Orvane::Zel::DrawBuffers> makeUnit(const QVector<float> &vertices,
                                                   const QVector<unsigned short> &indices);
