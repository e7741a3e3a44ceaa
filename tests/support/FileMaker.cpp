#include "FileMaker.h"

#include <GL/glcorearb.h>

#include <algorithm>

namespace {

constexpr int kWord = 4;

QByteArray padding(int size)
{
    return QByteArray((kWord - size % kWord) % kWord, '\0');
}

QByteArray word(quint32 value)
{
    return QByteArray(reinterpret_cast<const char *>(&value), sizeof(value));
}

/// Number of repetitions of the byte at \a i, limited to that of one run.
int repetitions(const QByteArray &bytes, int i)
{
    int count = 1;
    while (i + count < bytes.size() && count < 127 && bytes[i + count] == bytes[i]) {
        ++count;
    }
    return count;
}

QByteArray encodedPlane(const QByteArray &plane)
{
    QByteArray encoded;
    for (int i = 0; i < plane.size();) {
        const int run = repetitions(plane, i);
        if (run > 2) {
            encoded += char(128 + run);
            encoded += plane[i];
            i += run;
            continue;
        }
        int literal = run;
        while (i + literal < plane.size() && literal < 127 && repetitions(plane, i + literal) <= 2) {
            ++literal;
        }
        encoded += char(literal);
        encoded += plane.mid(i, literal);
        i += literal;
    }
    return encoded;
}

} // namespace

QByteArray rampBytes(int count, int shift)
{
    QByteArray bytes(count, '\0');
    for (int i = 0; i < count; ++i) {
        bytes[i] = char(i * 7 + i / 16 + shift);
    }
    return bytes;
}

KtxFile KtxFile::of(quint32 width, quint32 height, quint32 depth, quint32 internalFormat, quint32 format,
                    quint32 type)
{
    KtxFile file;
    file.width = width;
    file.height = height;
    file.depth = depth;
    file.glInternalFormat = internalFormat;
    file.glFormat = format;
    file.glType = type;
    return file;
}

QByteArray KtxFile::entry(const QByteArray &key, const QByteArray &value)
{
    const QByteArray text = key + '\0' + value;
    return word(quint32(text.size())) + text;
}

QByteArray KtxFile::paddedEntry(const QByteArray &key, const QByteArray &value)
{
    const QByteArray plain = entry(key, value);
    return plain + padding(plain.size());
}

KtxFile &KtxFile::addLevel(int size, int images)
{
    Level level = {quint32(size), {}};
    for (int image = 0; image < images; ++image) {
        level.data += rampBytes(size, 40 * image + levels.size()) + padding(size);
    }
    levels += level;
    return *this;
}

QByteArray KtxFile::bytes(ByteOrder byteOrder) const
{
    QByteArray file("\xABKTX 11\xBB\r\n\x1A\n", 12);
    for (const quint32 field :
         {endianness, glType, glTypeSize, glFormat, glInternalFormat, glBaseInternalFormat, width, height,
          depth, arrayElements, faces, mipmapLevels, quint32(keyValues.size())}) {
        QByteArray text = word(field);
        if (byteOrder == eBigEndian) {
            std::reverse(text.begin(), text.end());
        }
        file += text;
    }
    file += keyValues;
    for (const Level &level : levels) {
        file += word(level.imageSize) + level.data;
    }
    return file;
}

HdrFile::HdrFile(int width, int height)
    : resolution(QByteArray("-Y ") + QByteArray::number(height) + " +X " + QByteArray::number(width) + '\n')
{
}

HdrFile::Row HdrFile::ramp(int width, int shift)
{
    Row row;
    for (int x = 0; x < width; ++x) {
        const int i = x + shift;
        row += Texel{{uchar(i * 31 + 5), uchar(i * 17 + 90), uchar(i / 8), uchar(120 + i % 16)}};
    }
    return row;
}

QByteArray HdrFile::flat(const Row &row)
{
    QByteArray bytes;
    for (const Texel &texel : row) {
        bytes.append(reinterpret_cast<const char *>(texel.data()), int(texel.size()));
    }
    return bytes;
}

QByteArray HdrFile::oldRun(quint32 count, const Texel &texel)
{
    QByteArray bytes;
    do {
        bytes += QByteArray("\1\1\1", 3) + char(count & 255);
        count >>= 8;
    } while (count != 0);
    return bytes + flat({texel});
}

QByteArray HdrFile::planes(const Row &row)
{
    QByteArray bytes("\2\2", 2);
    bytes += char(row.size() >> 8);
    bytes += char(row.size() & 255);
    for (size_t plane = 0; plane < 4; ++plane) {
        QByteArray values;
        for (const Texel &texel : row) {
            values += char(texel[plane]);
        }
        bytes += encodedPlane(values);
    }
    return bytes;
}

AstcFile &AstcFile::addBlocks()
{
    quint32 count = 1;
    for (size_t axis = 0; axis < size.size(); ++axis) {
        count *= (size[axis] + block[axis] - 1) / block[axis];
    }
    for (quint32 i = 0; i < count; ++i) {
        blocks +=
            QByteArray("\xFC\xFD\xFF\xFF\xFF\xFF\xFF\xFF", 8); // a void-extent block without coordinates
        for (const quint32 channel : {i * 0x3000, 0xFFFF - i * 0x1100, 0x8000u, 0xFFFFu}) {
            blocks += word(channel).left(2);
        }
    }
    return *this;
}

QByteArray AstcFile::bytes() const
{
    QByteArray file("\x13\xAB\xA1\x5C", 4);
    for (const unsigned char side : block) {
        file += char(side);
    }
    for (const quint32 side : size) {
        file += word(side).left(3);
    }
    return file + blocks;
}

QVector<QByteArray> ktxSeeds()
{
    KtxFile mipmapped;
    mipmapped.mipmapLevels = 3;
    mipmapped.keyValues =
        KtxFile::paddedEntry("KTXorientation", "S=r,T=d") + KtxFile::paddedEntry("key", "value");
    mipmapped.addLevel(64).addLevel(16).addLevel(4);

    KtxFile generated =
        KtxFile::of(3, 5, 0, GL_RGB8, GL_RGB); // odd sizes, padded rows, and the level count 0
    generated.mipmapLevels = 0;
    generated.addLevel(12 * 5);

    KtxFile cube = KtxFile::of(2, 2, 0, GL_RG8, GL_RG);
    cube.faces = 6;
    cube.mipmapLevels = 2;
    cube.addLevel(8, 6).addLevel(2, 6);

    KtxFile volume = KtxFile::of(2, 2, 2, GL_R16F, GL_RED, GL_HALF_FLOAT);
    volume.glTypeSize = 2;
    volume.addLevel(16);

    KtxFile line = KtxFile::of(4, 0, 0, GL_RGB565, GL_RGB, GL_UNSIGNED_SHORT_5_6_5);
    line.addLevel(8);

    KtxFile compressed2D = KtxFile::compressed(8, 8, GL_COMPRESSED_RGBA8_ETC2_EAC);
    compressed2D.mipmapLevels = 2;
    compressed2D.addLevel(64).addLevel(16);

    KtxFile compressedCube = KtxFile::compressed(4, 4, GL_COMPRESSED_RED_RGTC1);
    compressedCube.faces = 6;
    compressedCube.addLevel(8, 6);

    return {mipmapped.bytes(),      generated.bytes(),
            cube.bytes(),           volume.bytes(),
            line.bytes(),           compressed2D.bytes(),
            compressedCube.bytes(), mipmapped.bytes(KtxFile::eBigEndian)};
}

QVector<QByteArray> hdrSeeds()
{
    HdrFile flat(3, 2);
    flat.scanlines = HdrFile::flat(HdrFile::ramp(3)) + HdrFile::flat(HdrFile::ramp(3, 3));

    HdrFile old(40, 2);
    old.header = "#?RADIANCE\n# old runs\nFORMAT=32-bit_rle_xyze\nEXPOSURE=0.5\n\n";
    old.scanlines = HdrFile::oldRun(30, {{1, 2, 3, 130}}) + HdrFile::oldRun(10, {{9, 9, 9, 128}})
                    + HdrFile::oldRun(0x01020304, {{200, 100, 50, 127}});

    HdrFile planes(20, 2);
    HdrFile::Row repeated = HdrFile::ramp(20);
    std::fill_n(repeated.begin() + 4, 8, repeated[4]);
    planes.scanlines = HdrFile::planes(HdrFile::ramp(20)) + HdrFile::planes(repeated);

    return {flat.bytes(), old.bytes(), planes.bytes()};
}

QVector<QByteArray> astcSeeds()
{
    AstcFile partial;
    partial.block = {8, 6, 1};
    partial.size = {9, 7, 1};
    AstcFile volume;
    volume.block = {4, 4, 4};
    volume.size = {4, 4, 5};
    return {AstcFile().addBlocks().bytes(), partial.addBlocks().bytes(), volume.addBlocks().bytes()};
}

void forEachNeighbour(const QByteArray &file, const std::function<void(const QByteArray &)> &give)
{
    for (int size = 0; size < file.size(); ++size) {
        give(file.left(size));
    }
    constexpr int changed = 256;
    QByteArray neighbour = file;
    for (int i = 0; i < std::min(changed, file.size()); ++i) {
        const char original = file[i];
        for (int value = 0; value < 256; ++value) {
            if (char(value) != original) {
                neighbour[i] = char(value);
                give(neighbour);
            }
        }
        neighbour[i] = original;
    }
}
