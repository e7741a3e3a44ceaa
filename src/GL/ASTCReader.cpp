#include "ASTCReader.h"

#include "GLUtilities.h"
#include "Texture.h"
#include "TextureProcessing.h"
#include "private/BoundTexture.h"
#include "private/TextureUpload.h"
#include "private/UnpackState.h"

#include <ZelCore/Memory.h>

#include <cstring>

namespace Orvane { namespace Zel {

namespace {

constexpr unsigned char kMagic[4] = {0x13, 0xAB, 0xA1, 0x5C};
constexpr quint64 kHeaderSize = 16;
constexpr unsigned int kBlockBytes = 16;
constexpr int kBlockSizes = 4;  ///< offset of three bytes: width, height, depth of a block
constexpr int kImageSizes = 7;  ///< offset of three sizes of three bytes each
constexpr int kFormatSizes = 6; ///< rows and columns of the format table

struct BlockFormat
{
    GLenum linear;
    GLenum srgb;
};

// clang-format off
#define ZEL_ASTC(size) {GL_COMPRESSED_RGBA_ASTC_##size##_KHR, GL_COMPRESSED_SRGB8_ALPHA8_ASTC_##size##_KHR}
constexpr BlockFormat kFormats[kFormatSizes][kFormatSizes] = {
    // by width, then height:  4, 5, 6, 8, 10, 12
    /*  4 */ {ZEL_ASTC(4x4),  {0, 0},         {0, 0},         {0, 0},         {0, 0},          {0, 0}},
    /*  5 */ {ZEL_ASTC(5x4),  ZEL_ASTC(5x5),  {0, 0},         {0, 0},         {0, 0},          {0, 0}},
    /*  6 */ {{0, 0},         ZEL_ASTC(6x5),  ZEL_ASTC(6x6),  {0, 0},         {0, 0},          {0, 0}},
    /*  8 */ {{0, 0},         ZEL_ASTC(8x5),  ZEL_ASTC(8x6),  ZEL_ASTC(8x8),  {0, 0},          {0, 0}},
    /* 10 */ {{0, 0},         ZEL_ASTC(10x5), ZEL_ASTC(10x6), ZEL_ASTC(10x8), ZEL_ASTC(10x10), {0, 0}},
    /* 12 */ {{0, 0},         {0, 0},         {0, 0},         {0, 0},         ZEL_ASTC(12x10), ZEL_ASTC(12x12)},
};
#undef ZEL_ASTC
// clang-format on

int formatIndex(unsigned char blockSize)
{
    switch (blockSize) {
    case 4:
        return 0;
    case 5:
        return 1;
    case 6:
        return 2;
    case 8:
        return 3;
    case 10:
        return 4;
    case 12:
        return 5;
    default:
        return -1;
    }
}

/// Returns 0, which GL refuses, for an unknown block size.
GLenum internalFormat(unsigned char blockWidth, unsigned char blockHeight, bool srgb)
{
    const int width = formatIndex(blockWidth);
    const int height = formatIndex(blockHeight);
    if (width < 0 || height < 0) {
        return 0;
    }
    const BlockFormat &format = kFormats[width][height];
    return srgb ? format.srgb : format.linear;
}

/// Replaces a size above the limit with one that every driver refuses: some drivers fail on the size itself; see
/// ASTCReaderTest.WhatGLRefusesIsLeftToItsDebugOutput.
GLsizei sizeForGL(quint32 size)
{
    return size <= longestTextureSide() ? static_cast<GLsizei>(size) : -1;
}

bool hasMagic(const unsigned char *bytes)
{
    return std::memcmp(bytes, kMagic, sizeof(kMagic)) == 0;
}

} // namespace

TextureLoader *ASTCRecogniser::recognise(Memory *memory, const QString &name) const
{
    const unsigned char *magic = memory->map(0, sizeof(kMagic));
    if (magic == nullptr) {
        return nullptr;
    }
    const bool recognised = hasMagic(magic);
    memory->unmap(magic);
    return recognised ? new ASTCReader(memory, name) : nullptr;
}

ASTCReader::ASTCReader(Memory *memory, const QString &name)
    : _memory(memory)
    , _name(name)
    , _header(memory->map(0, kHeaderSize))
{
    _valid = _header != nullptr && hasMagic(_header) && hasExpectedSize();
}

ASTCReader::~ASTCReader() = default;

bool ASTCReader::valid() const
{
    return _valid;
}

bool ASTCReader::isCompressed() const
{
    return true;
}

unsigned int ASTCReader::width() const
{
    return imageSize(0);
}

unsigned int ASTCReader::height() const
{
    return imageSize(1);
}

Texture *ASTCReader::load(const TextureFileInfo &info)
{
    const quint64 size = _memory->size();
    if (_header == nullptr || size < kHeaderSize) {
        return nullptr;
    }
    // 1. All blocks follow the header in one piece; a header alone is passed to GL with no data.
    const quint64 dataSize = size - kHeaderSize;
    const unsigned char *data = _memory->map(kHeaderSize, dataSize);
    if (data == nullptr && dataSize != 0) {
        return nullptr;
    }
    // 2. The texture, uploaded as it is: GL decodes the blocks, or refuses formats that the driver lacks.
    std::unique_ptr<Texture> bound = newBoundTexture(GL_TEXTURE_2D);
    if (!bound) {
        return nullptr;
    }
    Texture *texture = bound.release(); // the remap below may replace it
    const GLenum format = internalFormat(_header[kBlockSizes], _header[kBlockSizes + 1], info.srgb);
    {
        const UnpackState unpackState(4);
        glCompressedTexImage2D(GL_TEXTURE_2D, 0, format, sizeForGL(width()), sizeForGL(height()), 0,
                               static_cast<GLsizei>(dataSize), data);
    }
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
    texture->unbind();
    if (data != nullptr) {
        _memory->unmap(data);
    }
    // 3. The range of the values, after the mapping has ended.
    RemapColorRange(texture, info.lowValue, info.highValue);
    return texture; // required: no check for GL errors; see ASTCReaderTest.WhatGLRefusesIsLeftToItsDebugOutput
}

/// Whether the file consists of the header and of the blocks that cover the image, including partial blocks at the
/// edges.
bool ASTCReader::hasExpectedSize() const
{
    quint32 blocks = 1; // required: 32 bits, which wrap around for huge sizes
    for (int axis = 0; axis < 3; ++axis) {
        const unsigned int blockSize = _header[kBlockSizes + axis];
        if (blockSize == 0) {
            return false;
        }
        blocks *= (imageSize(axis) + blockSize - 1) / blockSize;
    }
    return _memory->size() == (blocks + 1) * kBlockBytes;
}

unsigned int ASTCReader::imageSize(int axis) const
{
    if (_header == nullptr) {
        return 0;
    }
    const unsigned char *bytes = _header + kImageSizes + 3 * axis;
    return bytes[0] | static_cast<unsigned int>(bytes[1]) << 8 | static_cast<unsigned int>(bytes[2]) << 16;
}

}} // namespace Orvane::Zel
