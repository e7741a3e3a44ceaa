#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QVector>
#include <QtGui/qopengl.h>

#include <algorithm>
#include <array>
#include <functional>

/// Valid and malformed image files from parameters. A test may change any field to a value that no writer would write:
/// bytes() writes all fields as they are.

inline QByteArray padding(int size)
{
    return QByteArray((4 - size % 4) % 4, '\0');
}

inline QByteArray word(quint32 value)
{
    return QByteArray(reinterpret_cast<const char *>(&value), sizeof(value));
}

/// Number of repetitions of the byte at \a i, limited to that of one run.
inline int repetitions(const QByteArray &bytes, int i)
{
    int count = 1;
    while (i + count < bytes.size() && count < 127 && bytes[i + count] == bytes[i]) {
        ++count;
    }
    return count;
}

inline QByteArray encodedPlane(const QByteArray &plane)
{
    QByteArray encoded;
    for (int i = 0; i < plane.size();) {
        const int run = repetitions(plane, i);
        int count = run;
        while (run <= 2 && i + count < plane.size() && count < 127 && repetitions(plane, i + count) <= 2) {
            ++count;
        }
        encoded += char(run > 2 ? 128 + run : count);
        encoded += plane.mid(i, run > 2 ? 1 : count);
        i += count;
    }
    return encoded;
}

/// Bytes that differ from their neighbours: the sum of a slow and a fast ramp, shifted by \a shift.
inline QByteArray rampBytes(int count, int shift = 0)
{
    QByteArray bytes(count, '\0');
    for (int i = 0; i < count; ++i) {
        bytes[i] = char(i * 7 + i / 16 + shift);
    }
    return bytes;
}

/// A KTX 1.1 file. By default a 4x4 RGBA8 image of one level, without data.
struct KtxFile
{
    enum ByteOrder { eLittleEndian, eBigEndian };

    /// The imageSize field and the following bytes: all faces, and their padding.
    struct Level
    {
        quint32 imageSize;
        QByteArray data;
    };

    quint32 endianness = 0x04030201;
    quint32 glType = GL_UNSIGNED_BYTE;
    quint32 glTypeSize = 1;
    quint32 glFormat = GL_RGBA;
    quint32 glInternalFormat = 0x8058; // GL_RGBA8
    quint32 glBaseInternalFormat = GL_RGBA;
    quint32 width = 4;
    quint32 height = 4;
    quint32 depth = 0;
    quint32 arrayElements = 0;
    quint32 faces = 1;
    quint32 mipmapLevels = 1;
    QByteArray keyValues; ///< the whole block
    QVector<Level> levels;

    /// An image of this size and format; compressed if there is no transfer format.
    static KtxFile of(quint32 width, quint32 height, quint32 depth = 0, quint32 internalFormat = 0x8058,
                      quint32 format = GL_RGBA, quint32 type = GL_UNSIGNED_BYTE)
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
    static KtxFile compressed(quint32 width, quint32 height, quint32 internalFormat)
    {
        return of(width, height, 0, internalFormat, 0, 0);
    }

    /// An entry of the key-value block, without padding.
    static QByteArray entry(const QByteArray &key, const QByteArray &value)
    {
        const QByteArray text = key + '\0' + value;
        return word(quint32(text.size())) + text;
    }
    /// The same with the padding of the format.
    static QByteArray paddedEntry(const QByteArray &key, const QByteArray &value)
    {
        const QByteArray plain = entry(key, value);
        return plain + padding(plain.size());
    }

    /// Appends a level of images of \a size ramp bytes each, with the padding of the format.
    KtxFile &addLevel(int size, int images = 1)
    {
        Level level = {quint32(size), {}};
        for (int image = 0; image < images; ++image) {
            level.data += rampBytes(size, 40 * image + levels.size()) + padding(size);
        }
        levels += level;
        return *this;
    }

    /// The header has this byte order; all other numbers are little-endian.
    QByteArray bytes(ByteOrder byteOrder = eLittleEndian) const
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
};

/// A Radiance picture: header lines, resolution line and encoded scanlines.
struct HdrFile
{
    using Texel = std::array<unsigned char, 4>;
    using Row = QVector<Texel>;

    QByteArray header = "#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n\n";
    QByteArray resolution;
    QByteArray scanlines;

    /// With the usual orientation, "-Y height +X width".
    HdrFile(int width, int height)
        : resolution(QByteArray("-Y ") + QByteArray::number(height) + " +X " + QByteArray::number(width)
                     + '\n')
    {
    }

    static Row ramp(int width, int shift = 0)
    {
        Row row;
        for (int x = 0; x < width; ++x) {
            const int i = x + shift;
            row += Texel{{uchar(i * 31 + 5), uchar(i * 17 + 90), uchar(i / 8), uchar(120 + i % 16)}};
        }
        return row;
    }
    static QByteArray flat(const Row &row)
    {
        QByteArray bytes;
        for (const Texel &texel : row) {
            bytes.append(reinterpret_cast<const char *>(texel.data()), int(texel.size()));
        }
        return bytes;
    }
    /// A run in the old form: marker groups with the bytes of \a count, lowest first, before the texel.
    static QByteArray oldRun(quint32 count, const Texel &texel)
    {
        QByteArray bytes;
        do {
            bytes += QByteArray("\1\1\1", 3) + char(count & 255);
            count >>= 8;
        } while (count != 0);
        return bytes + flat({texel});
    }
    /// A row in the new form: runs for repeated bytes, literals otherwise.
    static QByteArray planes(const Row &row)
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

    QByteArray bytes() const { return header + resolution + scanlines; }
};

/// An ASTC image.
struct AstcFile
{
    std::array<unsigned char, 3> block = {4, 4, 1};
    std::array<quint32, 3> size = {8, 8, 1};
    QByteArray blocks;

    /// Fills the image with the number of blocks that its size needs, each of a different single colour.
    AstcFile &addBlocks()
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

    QByteArray bytes() const
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
};

// Small valid files: the source of the malformed ones, and the seeds of the fuzzers. Together they cover all paths of the
// readers.
inline QVector<QByteArray> ktxSeeds()
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

    KtxFile compressed2D = KtxFile::compressed(8, 8, GL_COMPRESSED_RGBA8_ETC2_EAC);
    compressed2D.mipmapLevels = 2;
    compressed2D.addLevel(64).addLevel(16);

    KtxFile compressedCube = KtxFile::compressed(4, 4, GL_COMPRESSED_RED_RGTC1);
    compressedCube.faces = 6;

    return {mipmapped.bytes(),
            generated.bytes(),
            cube.bytes(),
            KtxFile::of(2, 2, 2, GL_R16F, GL_RED, GL_HALF_FLOAT).addLevel(16).bytes(),
            KtxFile::of(4, 0, 0, GL_RGB565, GL_RGB, GL_UNSIGNED_SHORT_5_6_5).addLevel(8).bytes(),
            compressed2D.bytes(),
            compressedCube.addLevel(8, 6).bytes(),
            mipmapped.bytes(KtxFile::eBigEndian)};
}

inline QVector<QByteArray> hdrSeeds()
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

inline QVector<QByteArray> astcSeeds()
{
    AstcFile partial;
    partial.block = {8, 6, 1};
    partial.size = {9, 7, 1};
    AstcFile volume;
    volume.block = {4, 4, 4};
    volume.size = {4, 4, 5};
    return {AstcFile().addBlocks().bytes(), partial.addBlocks().bytes(), volume.addBlocks().bytes()};
}

/// Calls \a give with every truncation of a file, and with every variant in which one of the first 256 bytes has another
/// value.
inline void forEachNeighbour(const QByteArray &file, const std::function<void(const QByteArray &)> &give)
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
