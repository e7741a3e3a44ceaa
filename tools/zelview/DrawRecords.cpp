#include "DrawRecords.h"

#include "ModelTextures.h"
#include "Scene.h"
#include "UniformBlock.h"

#include <ZelGL/ZelGL.h>

#include <QtGui/QGenericMatrix>

#include <algorithm>
#include <cmath>
#include <vector>

using namespace Orvane::Zel;

namespace zelview {

namespace {

static_assert(sizeof(DrawRecord) == 160, "as std140 lays it out");

void copy(const QVector3D &vector, float *target)
{
    for (int i = 0; i < 3; ++i) {
        target[i] = vector[i];
    }
}

/// The matrix for normals, scaled to a greatest element of 1: shaders normalise what comes out, and the squares of a
/// tiny model's would leave the range of float.
void copyNormalMatrix(const QMatrix4x4 &transform, float (&target)[3][4])
{
    const QMatrix3x3 matrix = transform.normalMatrix();
    float greatest = 0.0f;
    for (int i = 0; i < 9; ++i) {
        greatest = std::max(greatest, std::abs(matrix.constData()[i]));
    }
    const float scale = greatest > 0.0f && std::isfinite(greatest) ? 1.0f / greatest : 1.0f;
    for (int column = 0; column < 3; ++column) {
        for (int row = 0; row < 3; ++row) {
            target[column][row] = matrix(row, column) * scale;
        }
    }
}

DrawRecord toRecord(const Draw &draw, const Material &material, TextureToken baseColorMap)
{
    DrawRecord record = {};
    std::copy_n(draw.transform.constData(), 16, record.model);
    copyNormalMatrix(draw.transform, record.normal);
    copy(material.baseColor.toVector3D(), record.baseColor);
    record.baseColor[3] = material.baseColor.w();
    copy(material.emission, record.emission);
    record.metalness = material.metalness;
    record.roughness = material.roughness;
    record.alphaCutoff = material.isBlended ? 0.0f : material.alphaCutoff;
    record.baseColorMap[0] = quint32(baseColorMap.token);
    record.baseColorMap[1] = quint32(baseColorMap.token >> 32);
    return record;
}

} // namespace

DrawRecords::DrawRecords(const Scene &scene, const ModelTextures &textures, int blockLimit)
    : _drawCount(int(scene.draws.size()))
    , _blockLength(std::clamp(blockLimit / int(sizeof(DrawRecord)), 1, std::max(_drawCount, 1)))
{
    std::vector<DrawRecord> records;
    for (int first = 0; first < _drawCount; first += _blockLength) {
        records.clear();
        for (int i = first; i < std::min(first + _blockLength, _drawCount); ++i) {
            const Draw &draw = scene.draws[size_t(i)];
            const Mesh &mesh = scene.meshes[size_t(draw.mesh)];
            const Material &material = scene.materials[size_t(mesh.material)];
            records.push_back(toRecord(draw, material, textures.token(material.baseColorTexture)));
        }
        records.resize(size_t(_blockLength)); // a block must not be longer than the buffer behind it
        _blocks.push_back(makeUniformBlock(kBlockName));
        uploadUniformBlock(*_blocks.back(), records.data(), _blockLength, sizeof(DrawRecord));
    }
}

int DrawRecords::drawCount(int block) const
{
    return std::min(_blockLength, _drawCount - firstDraw(block));
}

} // namespace zelview
