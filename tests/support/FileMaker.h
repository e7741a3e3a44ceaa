#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QVector>
#include <QtGui/qopengl.h>

#include <array>
#include <functional>

/// Image files from parameters, sound ones and broken ones. All records may be changed into something that no
/// writer would write: bytes() writes down what they say.

/// Bytes that differ from their neighbours: a slow and a fast ramp, shifted by \a shift.
QByteArray rampBytes(int count, int shift = 0);

/// KTX 1.1. A default record is a 4x4 RGBA8 image of one level, without data.
struct KtxFile
{
    enum ByteOrder { eLittleEndian, eBigEndian };

    /// The imageSize field, and the bytes behind it: all faces, and what padding there shall be.
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

    /// An image of these sizes and formats; without a transfer format it is compressed.
    static KtxFile of(quint32 width, quint32 height, quint32 depth = 0, quint32 internalFormat = 0x8058,
                      quint32 format = GL_RGBA, quint32 type = GL_UNSIGNED_BYTE);
    static KtxFile compressed(quint32 width, quint32 height, quint32 internalFormat)
    {
        return of(width, height, 0, internalFormat, 0, 0);
    }

    /// An entry of the key-value block, without the padding behind it.
    static QByteArray entry(const QByteArray &key, const QByteArray &value);
    /// The same with the padding that the format puts behind it.
    static QByteArray paddedEntry(const QByteArray &key, const QByteArray &value);

    /// Appends a level of images of \a size ramp bytes each, padded as the format has it.
    KtxFile &addLevel(int size, int images = 1);

    /// The header in the byte order; all other numbers as a little-endian machine has them.
    QByteArray bytes(ByteOrder byteOrder = eLittleEndian) const;
};

/// A Radiance picture: header lines, resolution line, and scanlines as they are.
struct HdrFile
{
    using Texel = std::array<unsigned char, 4>;
    using Row = QVector<Texel>;

    QByteArray header = "#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n\n";
    QByteArray resolution;
    QByteArray scanlines;

    /// Of the usual orientation, "-Y height +X width".
    HdrFile(int width, int height);

    static Row ramp(int width, int shift = 0);
    static QByteArray flat(const Row &row);
    /// Marker groups whose counts are the bytes of \a count, lowest first, and the texel.
    static QByteArray oldRun(quint32 count, const Texel &texel);
    /// The new form: runs where bytes repeat, literals elsewhere.
    static QByteArray planes(const Row &row);

    QByteArray bytes() const { return header + resolution + scanlines; }
};

/// An ASTC image.
struct AstcFile
{
    std::array<unsigned char, 3> block = {4, 4, 1};
    std::array<quint32, 3> size = {8, 8, 1};
    QByteArray blocks;

    /// Fills the image with blocks of one colour each, all different, as many as its sizes ask for.
    AstcFile &addBlocks();

    QByteArray bytes() const;
};

/// Small sound files, of which the malformed ones are made and with which the fuzzers start. Between them
/// they take every road of the reader.
QVector<QByteArray> ktxSeeds();
QVector<QByteArray> hdrSeeds();
QVector<QByteArray> astcSeeds();

/// Gives every truncation of a file, and the file with every other value of each of its first 256 bytes.
void forEachNeighbour(const QByteArray &file, const std::function<void(const QByteArray &)> &give);
