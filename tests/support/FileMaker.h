#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QVector>
#include <QtGui/qopengl.h>

#include <array>
#include <functional>

/// Valid and malformed image files from parameters. A test may change any field to a value that no writer would write:
/// bytes() writes all fields as they are.

/// Bytes that differ from their neighbours: the sum of a slow and a fast ramp, shifted by \a shift.
QByteArray rampBytes(int count, int shift = 0);

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
                      quint32 format = GL_RGBA, quint32 type = GL_UNSIGNED_BYTE);
    static KtxFile compressed(quint32 width, quint32 height, quint32 internalFormat)
    {
        return of(width, height, 0, internalFormat, 0, 0);
    }

    /// An entry of the key-value block, without padding.
    static QByteArray entry(const QByteArray &key, const QByteArray &value);
    /// The same with the padding of the format.
    static QByteArray paddedEntry(const QByteArray &key, const QByteArray &value);

    /// Appends a level of images of \a size ramp bytes each, with the padding of the format.
    KtxFile &addLevel(int size, int images = 1);

    /// The header has this byte order; all other numbers are little-endian.
    QByteArray bytes(ByteOrder byteOrder = eLittleEndian) const;
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
    HdrFile(int width, int height);

    static Row ramp(int width, int shift = 0);
    static QByteArray flat(const Row &row);
    /// A run in the old form: marker groups with the bytes of \a count, lowest first, before the texel.
    static QByteArray oldRun(quint32 count, const Texel &texel);
    /// A row in the new form: runs for repeated bytes, literals otherwise.
    static QByteArray planes(const Row &row);

    QByteArray bytes() const { return header + resolution + scanlines; }
};

/// An ASTC image.
struct AstcFile
{
    std::array<unsigned char, 3> block = {4, 4, 1};
    std::array<quint32, 3> size = {8, 8, 1};
    QByteArray blocks;

    /// Fills the image with the number of blocks that its size needs, each of a different single colour.
    AstcFile &addBlocks();

    QByteArray bytes() const;
};

// Small valid files: the source of the malformed ones, and the seeds of the fuzzers. Together they cover all paths of the
// readers.
QVector<QByteArray> ktxSeeds();
QVector<QByteArray> hdrSeeds();
QVector<QByteArray> astcSeeds();

/// Calls \a give with every truncation of a file, and with every variant in which one of the first 256 bytes has another
/// value.
void forEachNeighbour(const QByteArray &file, const std::function<void(const QByteArray &)> &give);
