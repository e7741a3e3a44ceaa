#pragma once

#include <QtCore/QSharedPointer>

namespace Orvane { namespace Zel {
class UniformBufferObject;
}} // namespace Orvane::Zel

namespace zelview {

class ModelTextures;
struct Scene;

/// What shaders know of a draw, by its draw ID: the twin of DrawRecord in DrawRecords.glslh, in std140 layout.
struct DrawRecord
{
    float model[16];    ///< mat4, columns
    float normal[3][4]; ///< mat3, columns of four
    float baseColor[4];
    float emission[3];
    float alphaCutoff; ///< 0: blended; otherwise less opaque parts are left out, and the rest is opaque
    float metalness;
    float roughness;
    quint32 baseColorMap[2]; ///< token, the low word first
};

/// A scene's records, cut into uniform blocks of equal size.
///
/// Units:   draws are counted in the scene's order, blocks and the draws in them from 0.
/// Context: construct, use and delete with one and the same context current.
class DrawRecords
{
public:
    /// Name of the block, and of the define that holds its length.
    static constexpr const char *kBlockName = "u_DrawRecords";
    static constexpr const char *kLengthDefine = "ZELVIEW_DRAWS_PER_BLOCK";

    /// \a blockLimit: bytes that a block may have; at least one record is put into each.
    DrawRecords(const Scene &scene, const ModelTextures &textures, int blockLimit);

    /// Records of every block; the last one is padded.
    int blockLength() const { return _blockLength; }
    int blockCount() const { return int(_blocks.size()); }
    /// The first draw of a block, and how many there are.
    int firstDraw(int block) const { return block * _blockLength; }
    int drawCount(int block) const;

    Orvane::Zel::UniformBufferObject *block(int index) { return _blocks[size_t(index)].data(); }

private:
    int _drawCount;
    int _blockLength;
    std::vector<QSharedPointer<Orvane::Zel::UniformBufferObject>> _blocks;
};

} // namespace zelview
