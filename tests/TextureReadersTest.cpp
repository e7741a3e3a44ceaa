// The readers of texture files: each alone, then all of them on malformed files.

#include "support/FileMaker.h"
#include "support/GLFixture.h"
#include "support/ReaderUse.h"
#include "support/StateGuard.h"
#include "support/Tap.h"
#include "support/TextureParameter.h"
#include "support/UploadTouch.h"

#include <ZelGL/ASTCReader.h>
#include <ZelGL/GLUtilities.h>
#include <ZelGL/HDRReader.h>
#include <ZelGL/KTXReader.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QThread>
#include <QtGui/QOpenGLFunctions_3_2_Core>

#include <algorithm>
#include <cmath>
#include <cstring>

using namespace Orvane::Zel;

namespace {

using ASTC = ReaderUnderTest<ASTCRecogniser>;
using HDR = ReaderUnderTest<HDRRecogniser>;
using KTX = ReaderUnderTest<KTXRecogniser>;
using ASTCHeaderTest = MessageTest;
using HDRHeaderTest = MessageTest;
using KTXHeaderTest = MessageTest;

/// The unpack state is that of a host with images of its own. Expects that it and the texture bindings are as they were, at the end.
class UploadTest : public GLTest
{
protected:
    UploadTest()
    {
        setUnpackState(2, 64, 3);
        driver()->glGenBuffers(1, &_buffer);
        driver()->glBindBuffer(GL_PIXEL_UNPACK_BUFFER, _buffer);
        _guard = std::make_unique<StateGuard>();
    }

    ~UploadTest() override
    {
        makeCurrent();
        EXPECT_EQ(QStringList(),
                  _guard->changes().filter("UNPACK") + _guard->changes().filter("TEXTURE_BINDING"));
        setUnpackState(4, 0, 0);
        driver()->glDeleteBuffers(1, &_buffer);
    }

private:
    static void setUnpackState(GLint alignment, GLint rowLength, GLint skipped)
    {
        driver()->glPixelStorei(GL_UNPACK_ALIGNMENT, alignment);
        driver()->glPixelStorei(GL_UNPACK_ROW_LENGTH, rowLength);
        driver()->glPixelStorei(GL_UNPACK_SKIP_PIXELS, skipped);
    }

    GLuint _buffer = 0;
    std::unique_ptr<StateGuard> _guard;
};

using ASTCReaderTest = UploadTest;

AstcFile image(unsigned char blockWidth, unsigned char blockHeight, quint32 width, quint32 height)
{
    AstcFile file;
    file.block = {blockWidth, blockHeight, 1};
    file.size = {width, height, 1};
    return file;
}

const QString kFailure = "warning Texture image failed to load.";
const QString kBadWidth = "warning [HDRReader.cpp:#] HDR format error: bad scanline width";

class HDRReaderTest : public UploadTest
{
protected:
    /// Loads a file and returns the texels as GL received them: three floats each, the lowest row first.
    std::vector<float> uploaded(const QByteArray &file)
    {
        const auto texture = HDR(file).load(TextureFileInfo());
        if (texture == nullptr) {
            return {};
        }
        std::vector<float> values(size_t(_touch.lastBytes().size()) / sizeof(float));
        std::memcpy(values.data(), _touch.lastBytes().constData(), values.size() * sizeof(float));
        return values;
    }

    UploadTouch _touch;
};

/// The values of texels in exact arithmetic.
std::vector<float> valuesOf(const HdrFile::Row &row)
{
    std::vector<float> values;
    for (const HdrFile::Texel &texel : row) {
        for (size_t i = 0; i < 3; ++i) {
            values.push_back(texel[3] == 0 ? 0.0f : float(std::ldexp(double(texel[i]), texel[3] - 136)));
        }
    }
    return values;
}

/// A picture of one line.
QByteArray lineOf(int width, const QByteArray &scanline)
{
    HdrFile file(width, 1);
    file.scanlines = scanline;
    return file.bytes();
}

using KTXReaderTest = UploadTest;

std::unique_ptr<Texture> load(const KtxFile &file)
{
    return KTX(file.bytes()).load(asInFile());
}

/// Compares a level, a slice or a face of a texture with its bytes, in rows of whole words.
testing::AssertionResult holds(const Texture &texture, int level, int layer, int width, int height,
                               const QByteArray &bytes, int channels = 4)
{
    const Pixels expected = Pixels::of(width, height, [&](int x, int y) {
        QVector4D texel(0.0f, 0.0f, 0.0f, 1.0f);
        for (int i = 0; i < channels; ++i) {
            texel[i] = float(uchar(bytes[y * ((width * channels + 3) & ~3) + x * channels + i])) / 255.0f;
        }
        return texel;
    });
    return pixelsOf(texture, level, layer).isNear(expected, 1e-6f);
}

KtxFile withKeyValues(const QByteArray &block)
{
    KtxFile file;
    file.keyValues = block;
    return file.addLevel(64);
}

QString failure(const char *kind = "Texture", const char *name = "image")
{
    return QString("warning %1 %2 failed to load.").arg(kind, name);
}

} // namespace

TEST_F(ASTCHeaderTest, TheFileHasTheMagicAndTheLengthOfItsBlocks)
{
    const QByteArray file = image(4, 4, 5, 16).addBlocks().bytes(); // two by four blocks
    const ASTC reader(file);
    EXPECT_TRUE(reader.valid());
    EXPECT_TRUE(reader->isCompressed());
    EXPECT_EQ(5u, reader->width());
    const ASTC large(image(12, 12, 0x010203, 0x040506).bytes());
    EXPECT_EQ(0x010203u, large->width());
    EXPECT_EQ(0x040506u, large->height());
    EXPECT_EQ(0u, ASTC(file.left(4))->width());
    EXPECT_EQ(nullptr, ASTC(file.left(4)).load(TextureFileInfo()));
    EXPECT_EQ(nullptr, ASTC(file.left(3)).get());
    EXPECT_EQ(nullptr, ASTC(QByteArray(file).replace(0, 1, "x")).get());
    QVector<QByteArray> invalid = {file.chopped(1), file + '\0', file.left(4)};
    for (int side = 4; side < 7; ++side) { // a block without a size
        invalid += QByteArray(file).replace(side, 1, QByteArray(1, '\0'));
    }
    for (const QByteArray &bytes : invalid) {
        EXPECT_FALSE(ASTC(bytes).valid());
    }
}

TEST_F(ASTCReaderTest, TheBlockSizeSelectsTheFormat)
{
    const std::vector<std::pair<unsigned char, unsigned char>> known = {
        {4, 4}, {5, 4},  {5, 5},  {6, 5},  {6, 6},   {8, 5},   {8, 6},
        {8, 8}, {10, 5}, {10, 6}, {10, 8}, {10, 10}, {12, 10}, {12, 12}};
    Hook<&glCompressedTexImage2D> uploads;
    GLenum format = 0;
    uploads.replace([&](GLenum, GLint, GLenum internalFormat, auto...) { format = internalFormat; });
    for (unsigned char width = 1; width < 14; ++width) {
        for (unsigned char height = 1; height < 14; ++height) {
            const auto row = std::find(known.begin(), known.end(), std::make_pair(width, height));
            const ASTC reader(image(width, height, 1, 1).addBlocks().bytes());
            ASSERT_TRUE(reader.valid());
            for (const bool srgb : {false, true}) {
                TextureFileInfo info;
                info.srgb = srgb;
                EXPECT_NE(nullptr, reader.load(info));
                // GL numbers both forms in this order.
                const GLenum first =
                    srgb ? GL_COMPRESSED_SRGB8_ALPHA8_ASTC_4x4_KHR : GL_COMPRESSED_RGBA_ASTC_4x4_KHR;
                EXPECT_EQ(row == known.end() ? 0 : first + GLenum(row - known.begin()), format)
                    << int(width) << "x" << int(height);
            }
        }
    }
}

TEST_F(ASTCReaderTest, BlocksGoToGLAsTheyAreUnlessTheyAreRemapped)
{
    const QByteArray file = image(4, 4, 8, 5).addBlocks().bytes();
    const Tap<&glCompressedTexImage2D> uploads;
    const auto texture = ASTC(file).load(TextureFileInfo());
    ASSERT_NE(nullptr, texture);
    ASSERT_EQ(1u, uploads.count());
    EXPECT_EQ(64, uploads.last<6>());
    const Pixels pixels = pixelsOf(*texture);
    ASSERT_EQ(5, pixels.height());
    EXPECT_TRUE(pixels.isNear(0, 0, {0.0f, 1.0f, 0.5f, 1.0f}, 0.01f));
    EXPECT_TRUE(pixels.isNear(7, 4, {0x9000 / 65535.0f, 0xCCFF / 65535.0f, 0.5f, 1.0f}, 0.01f));
    EXPECT_EQ(GL_NEAREST, textureParameter(*texture, GL_TEXTURE_MIN_FILTER));
    EXPECT_EQ(GL_NEAREST, textureParameter(*texture, GL_TEXTURE_MAG_FILTER));
    EXPECT_EQ(0, levelParameter(*texture, 1, GL_TEXTURE_WIDTH));

    TextureFileInfo info;
    info.lowValue = 0.5f;
    const auto remapped = ASTC(file).load(info);
    EXPECT_TRUE(pixelsOf(*remapped).isNear(0, 0, {0.5f, 1.0f, 0.75f, 1.0f}, 0.01f));
}

TEST_F(ASTCReaderTest, WhatGLRefusesIsLeftToItsDebugOutput)
{
    const auto texture = ASTC(image(6, 4, 8, 8).addBlocks().bytes()).load(TextureFileInfo());
    EXPECT_NE(nullptr, texture);
    EXPECT_EQ(1, TestContext::takeDriverReports().size());
    EXPECT_EQ(std::vector<GLenum>{GL_INVALID_ENUM}, takeGLErrors()) << "the reader does not ask";

    Tap<&glCompressedTexImage2D> uploads;
    uploads.replace([](auto...) {});
    const auto limit = quint32(integerOf(GL_MAX_TEXTURE_SIZE));
    for (const quint32 width : {limit, limit + 1}) {
        EXPECT_NE(nullptr, ASTC(image(12, 12, width, 1).addBlocks().bytes()).load(TextureFileInfo()));
        EXPECT_EQ(width == limit ? GLint(limit) : -1, uploads.last<3>()) << "-1: a size that no driver takes";
        EXPECT_EQ(1, uploads.last<4>());
    }
}

TEST_F(HDRHeaderTest, TheMagicIsRecognisedAndLinesUpToAnEmptyOneDecideAboutValidity)
{
    EXPECT_EQ(nullptr, HDR("#?RADIANCE").get());
    EXPECT_EQ(nullptr, HDR("#?RGBE\nFORMAT=32-bit_rle_rgbe\n\n-Y 1 +X 1\n").get());
    for (const char *header : {"", "# note\nFORMAT=32-bit_rle_rgbe\nVIEW= x\n", "FORMAT=32-bit_rle_xyze\n",
                               "EXPOSURE=2.5\nEXPOSURE= 1e3\n"}) {
        EXPECT_TRUE(HDR(QByteArray("#?RADIANCE\n") + header + "\n-Y 1 +X 1\n").valid()) << header;
    }
    for (const QByteArray &rest :
         {QByteArray(), QByteArray("# note"), QByteArray("EXPOSURE=1"), QByteArray("FORMAT=32-bit_rle_rgbe"),
          QByteArray("FORMAT=32-bit_rle_rgb\n\n-Y 1 +X 1\n"), QByteArray("EXPOSURE=bright\n\n-Y 1 +X 1\n"),
          QByteArray("# note\0\n\n-Y 1 +X 1\n", 19)}) { // a NUL ends the header
        const HDR reader("#?RADIANCE\n" + rest);
        ASSERT_NE(nullptr, reader.get()) << rest.constData();
        EXPECT_FALSE(reader.valid()) << rest.constData();
        EXPECT_EQ(nullptr, reader.load(TextureFileInfo()));
        EXPECT_MESSAGES(kFailure);
    }
}

TEST_F(HDRHeaderTest, TheResolutionNamesBothAxes)
{
    const HDR reader("#?RADIANCE\n\n+X 12 -Y 34\n");
    ASSERT_TRUE(reader.valid());
    EXPECT_EQ(12u, reader->height()) << "the first axis, whatever its letter";
    EXPECT_EQ(34u, reader->width());
    EXPECT_TRUE(reader->is2DTexture());
    EXPECT_FALSE(reader->isCompressed() || reader->hasMipMaps() || reader->isCubeMapTexture()
                 || reader->is3DTexture() || reader->isArrayTexture());
    EXPECT_EQ(1u, reader->cubeFaces());
    EXPECT_EQ(0u, reader->depth() + reader->arraySize());
    EXPECT_TRUE(reader->key(0).isNull());
    for (const char *line :
         {"-Y 1 +Y 1\n", "-Y 1 +Z 1\n", "*Y 1 +X 1\n", "-Y 1 X 1\n", "-Y 1\n", "-Y 1 +X 1", ""}) {
        EXPECT_FALSE(HDR(QByteArray("#?RADIANCE\n\n") + line).valid()) << line;
    }
}

TEST_F(HDRReaderTest, AllFormsOfALineDecodeToTheSameTexels)
{
    for (const int width : {1, 3, 4, 5, 8, 127, 128, 129, 300}) {
        SCOPED_TRACE(width);
        HdrFile::Row row = HdrFile::ramp(width);
        EXPECT_EQ(valuesOf(row), uploaded(lineOf(width, HdrFile::planes(row)))) << "literals up to the end";
        std::fill_n(row.begin() + width / 3, width / 2, row[0]);
        QByteArray runs;
        for (const HdrFile::Texel &texel : row) {
            runs += HdrFile::oldRun(1, texel);
        }
        for (const QByteArray &line : {HdrFile::flat(row), HdrFile::planes(row), runs}) {
            EXPECT_EQ(valuesOf(row), uploaded(lineOf(width, line)));
        }
    }
}

TEST_F(HDRReaderTest, EveryExponentScalesExactly)
{
    HdrFile::Row row;
    for (int e = 0; e < 256; ++e) {
        row += HdrFile::Texel{{0, 1, 255, uchar(e)}};
    }
    driver()->glEnable(GL_NONE); // an error of the host, which is not the load's
    EXPECT_EQ(valuesOf(row), uploaded(lineOf(256, HdrFile::planes(row)))) << "exponent 0 is black";
    EXPECT_EQ(1, TestContext::takeDriverReports().size());
    EXPECT_EQ(std::vector<float>(3, 0.5f), uploaded(lineOf(1, QByteArray(4, char(128)))));
}

TEST_F(HDRReaderTest, RowsGoUpFromTheBottomByTheFirstSignAlone)
{
    const HdrFile::Row first = HdrFile::ramp(2);
    const HdrFile::Row second = HdrFile::ramp(2, 2);
    HdrFile file(2, 2);
    file.header = "#?RADIANCE\nFORMAT=32-bit_rle_xyze\nEXPOSURE=4\nEXPOSURE=2\n\n";
    file.scanlines = HdrFile::flat(first) + HdrFile::flat(second);
    for (const auto &[resolution, rows] :
         {std::pair("-Y 2 +X 2\n", second + first), std::pair("-X 2 -Y 2\n", second + first),
          std::pair("+Y 2 +X 2\n", first + second)}) {
        file.resolution = resolution;
        EXPECT_EQ(valuesOf(rows), uploaded(file.bytes())) << resolution;
    }
}

TEST_F(HDRReaderTest, OldRunsCountInGroupsOfBytesAndCountsAreCutOffAtTheLine)
{
    const HdrFile::Texel a = {{10, 20, 30, 130}};
    const HdrFile::Texel b = {{1, 1, 2, 129}};
    const QByteArray noMarker("\7\7\7\5", 4); // counts anyway if a record begins inside the line
    EXPECT_EQ(valuesOf(HdrFile::Row(300, a) + HdrFile::Row(5, b)),
              uploaded(lineOf(305, HdrFile::oldRun(300, a) + HdrFile::oldRun(0, a) + noMarker
                                       + HdrFile::flat({b}))))
        << "a count of 0 writes nothing";
    EXPECT_EQ(valuesOf(HdrFile::Row(6, a)), uploaded(lineOf(6, HdrFile::oldRun(0x01000000, a))));
    QByteArray longCount("\1\1\1\2\1\1\1\0\1\1\1\0\1\1\1\0", 16);
    longCount += QByteArray("\1\1\1\1\1\1\1\1", 8); // beyond 32 bits, where nothing is added any more
    EXPECT_EQ(valuesOf(HdrFile::Row(2, b) + HdrFile::Row(4, a)),
              uploaded(lineOf(6, longCount + HdrFile::flat({b}) + HdrFile::oldRun(4, a))));

    QByteArray planes("\2\2\0\3", 4);
    for (const unsigned char value : a) {
        planes += char(5); // a literal of five in a line of three
        planes += QByteArray(5, char(value));
    }
    for (const int missing : {0, 2}) { // bytes beyond the end of the line may be missing
        EXPECT_EQ(valuesOf(HdrFile::Row(3, a)), uploaded(lineOf(3, planes.chopped(missing))));
    }
}

TEST_F(HDRReaderTest, AWrongWidthIsReportedForEachRowFromThereOnWhichStaysBlack)
{
    const HdrFile::Row row = HdrFile::ramp(3);
    HdrFile file(3, 3);
    file.scanlines = HdrFile::planes(row) + QByteArray("\2\2\0\4", 4) + HdrFile::flat(HdrFile::ramp(1));
    EXPECT_EQ(valuesOf(HdrFile::Row(6, {{0, 0, 0, 0}}) + row), uploaded(file.bytes()));
    EXPECT_MESSAGES(kBadWidth, kBadWidth);

    HdrFile small(64, 64); // one report, since the file cannot hold the other lines either
    small.scanlines = QByteArray("\2\2\0\4", 4);
    EXPECT_EQ(nullptr, HDR(small.bytes()).load(TextureFileInfo()));
    EXPECT_MESSAGES(kBadWidth, kFailure);
}

TEST_F(HDRReaderTest, ARunBeyondItsLineEndsTheProcess)
{
    const HDR reader(lineOf(8, QByteArray("\2\2\0\10\3abc\206", 9)));
    EXPECT_TRUE(endsInAbort([&] { reader.load(TextureFileInfo()); }));
    EXPECT_MESSAGES("warning Bad scanline: RLE run starting at 3 ends at 9, but width is only 8");
}

TEST_F(HDRReaderTest, DataThatEndWithinALineAndSizesThatNoTextureHasFail)
{
    const HdrFile::Row row = HdrFile::ramp(5);
    std::vector<QByteArray> files;
    for (const QByteArray &line : {HdrFile::flat(row), HdrFile::planes(row),
                                   HdrFile::oldRun(3, row[0]) + HdrFile::oldRun(2, row[1])}) {
        HdrFile file(5, 2);
        file.scanlines = line + line;
        for (int missing = 1; missing <= line.size(); ++missing) {
            files.push_back(file.bytes().chopped(missing));
        }
    }
    for (const char *resolution : {"-Y 4294967295 +X 4294967295\n", "-Y 1 +X 1000000\n", "-Y -1 +X 1\n"}) {
        files.push_back(QByteArray("#?RADIANCE\n\n") + resolution);
    }
    for (const QByteArray &file : files) {
        EXPECT_EQ(nullptr, HDR(file).load(TextureFileInfo()));
        EXPECT_MESSAGES(kFailure);
    }
    EXPECT_EQ(0, _touch.count());
}

TEST_F(HDRReaderTest, TheTextureIsOneLevelOfHalfFloatsWithLinearFiltersAndGoesWhereGLRefuses)
{
    const HDR reader(lineOf(3, HdrFile::flat(HdrFile::ramp(3))));
    {
        const auto texture = reader.load(TextureFileInfo());
        ASSERT_NE(nullptr, texture);
        EXPECT_EQ(GL_RGB16F, levelParameter(*texture, 0, GL_TEXTURE_INTERNAL_FORMAT));
        EXPECT_EQ(0, levelParameter(*texture, 1, GL_TEXTURE_WIDTH));
        EXPECT_EQ((std::vector<GLint>{GL_LINEAR, GL_LINEAR, GL_CLAMP_TO_EDGE, GL_CLAMP_TO_EDGE, 0, 100}),
                  samplingOf(*texture));
    }
    Hook<&glGetError> errors;
    int pending = 2; // errors of the host
    errors.replace([&] { return GLenum(pending-- > 0 ? GL_OUT_OF_MEMORY : GL_NO_ERROR); });
    EXPECT_NE(nullptr, reader.load(TextureFileInfo()));
    errors.replace([] { return GLenum(GL_OUT_OF_MEMORY); });
    EXPECT_EQ(nullptr, reader.load(TextureFileInfo()));
    EXPECT_MESSAGES(kFailure);
}

TEST_F(HDRReaderTest, ColoursAreDecodedAndRemappedWhenAskedFor)
{
    TextureFileInfo info;
    info.srgb = true;
    info.lowValue = 0.5f;
    info.highValue = 0.75f;
    const auto texture = HDR(lineOf(1, HdrFile::flat({{{128, 64, 0, 128}}}))).load(info);
    const auto expected = [](float value) {
        return 0.25f * std::pow((value + 0.055f) / 1.055f, 2.4f) + 0.5f;
    };
    EXPECT_TRUE(
        pixelsOf(*texture).isNear(0, 0, {expected(0.5f), expected(0.25f), expected(0.0f), 1.0f}, 1e-3f));
}

TEST_F(KTXHeaderTest, TheResultsFollowFromTheFieldsOfTheHeader)
{
    for (const auto &[width, height, depth, dimensions] :
         {std::tuple(4, 0, 0, 1), std::tuple(4, 4, 0, 2), std::tuple(4, 4, 4, 3), std::tuple(0, 4, 0, 0),
          std::tuple(4, 0, 4, 0)}) {
        const KTX reader(KtxFile::of(quint32(width), quint32(height), quint32(depth)).bytes());
        EXPECT_EQ(dimensions, reader->is1DTexture() + 2 * reader->is2DTexture() + 3 * reader->is3DTexture());
    }
    KtxFile file = KtxFile::of(3, 5, 7);
    file.arrayElements = 11;
    file.faces = 5;
    const KTX plain(file.bytes());
    EXPECT_TRUE(plain.valid() && plain->isArrayTexture());
    EXPECT_EQ((std::vector<unsigned int>{3, 5, 7, 11, 5, 1}),
              (std::vector<unsigned int>{plain->width(), plain->height(), plain->depth(), plain->arraySize(),
                                         plain->cubeFaces(), plain->mipmapLevels()}));
    EXPECT_FALSE(plain->isCubeMapTexture() || plain->hasMipMaps() || plain->isCompressed())
        << "of five faces";
    file.faces = 6;
    file.glType = 0;
    file.mipmapLevels = 0;
    const KTX other(file.bytes());
    EXPECT_TRUE(other->isCubeMapTexture() && other->isCompressed());
    EXPECT_TRUE(other->hasMipMaps()) << "levels that are made at the load count";
}

TEST_F(KTXHeaderTest, TheOtherByteOrderIsTurnedAroundByHalvesOfBytes)
{
    KtxFile file = KtxFile::of(0x0F, 0x1203, 0);
    const KTX reader(file.bytes(KtxFile::eBigEndian));
    ASSERT_TRUE(reader.valid()) << "the mark of the byte order comes over whole";
    EXPECT_EQ(0x0Fu, reader->width()) << "exact where all bytes are below 16";
    EXPECT_EQ(0x0203u, reader->height()) << "high halves are dropped";
    file.endianness = 0xDEADBEEF;
    EXPECT_FALSE(KTX(file.bytes()).valid());
}

TEST_F(KTXHeaderTest, MetadataThatEndExactlyOnTheirBlockAreInvalid)
{
    EXPECT_FALSE(KTX(withKeyValues(KtxFile::entry("abc", "1234567")).bytes()).valid()); // 4 + 11 bytes
    EXPECT_FALSE(KTX(withKeyValues(KtxFile::entry("abc", "12345678")).bytes()).valid());
    const KTX padded(withKeyValues(KtxFile::paddedEntry("abc", "1234567")).bytes());
    ASSERT_TRUE(padded.valid());
    EXPECT_EQ(2u, padded->numMetadataEntries()) << "the padding is read as one more";
    EXPECT_EQ("abc", padded->key(0));
    EXPECT_EQ("", padded->value(0)) << "the value starts on the NUL after the key";
    EXPECT_FALSE(padded->value(0).isNull());
}

TEST_F(KTXHeaderTest, MetadataThatLeaveTheFileEndTheListAndTheirTextsAreNull)
{
    // Without a NUL in the entry: the last byte, and the text that starts there.
    const KTX whole(withKeyValues(QByteArray("\4\0\0\0wxyz\0\0\0\0!", 13)).bytes());
    ASSERT_TRUE(whole.valid());
    EXPECT_EQ("wxyz", whole->key(0));
    EXPECT_EQ("z", whole->value(0));
    EXPECT_EQ(whole->rawKey(0) + 3, whole->rawValue(0));
    EXPECT_EQ(whole->rawKey(1), whole->rawValue(1)) << "of an entry of no bytes";

    KtxFile file;
    file.keyValues = QByteArray("\xFF\0\0\0endless", 11); // its size points far beyond the end
    const KTX endless(file.bytes());
    ASSERT_TRUE(endless.valid()) << "no entry ends on the end of the block";
    ASSERT_EQ(1u, endless->numMetadataEntries());
    for (const unsigned int index : {0, 1}) { // the second does not exist
        EXPECT_EQ(nullptr, endless->rawKey(index));
        EXPECT_EQ(nullptr, endless->rawValue(index));
    }
    EXPECT_TRUE(endless->key(0).isNull());

    QByteArray cut = withKeyValues(KtxFile::paddedEntry("key", "1234")).bytes().left(64 + 4 + 8 + 3);
    cut.replace(60, 4, QByteArray("\xFF\xFF\xFF\x7F", 4)); // the file ends within the next size
    const KTX reader(cut);
    ASSERT_TRUE(reader.valid());
    EXPECT_EQ(1u, reader->numMetadataEntries());
    EXPECT_EQ("key", reader->key(0));
    EXPECT_EQ(nullptr, reader.load(asInFile()));
    const KTX nothing(cut.left(64));
    EXPECT_TRUE(nothing.valid());
    EXPECT_EQ(0u, nothing->numMetadataEntries());
}

TEST_F(KTXReaderTest, LevelsFacesAndSlicesAreUploadedAndTheStateIsRestored)
{
    KtxFile flat;
    flat.mipmapLevels = 3;
    flat.addLevel(64).addLevel(16).addLevel(4);
    KtxFile padded = KtxFile::of(3, 2, 0, GL_RGB8, GL_RGB);
    padded.levels = {{21, rampBytes(21)}}; // 9 + 3 + 9: the last row needs no padding
    KtxFile cube = KtxFile::of(2, 2, 0, GL_R8, GL_RED);
    cube.faces = 6;
    cube.mipmapLevels = 2;
    cube.addLevel(6, 6).addLevel(1, 6); // in strides of whole words, 8 and 4
    KtxFile line = KtxFile::of(4, 0, 0);
    line.mipmapLevels = 2;
    line.addLevel(16).addLevel(8);
    KtxFile volume = KtxFile::of(2, 2, 2);
    volume.mipmapLevels = 2;
    volume.addLevel(32).addLevel(4);
    for (const auto &[file, target, channels] :
         {std::tuple(flat, GL_TEXTURE_2D, 4), std::tuple(padded, GL_TEXTURE_2D, 3),
          std::tuple(cube, GL_TEXTURE_CUBE_MAP, 1), std::tuple(line, GL_TEXTURE_1D, 4),
          std::tuple(volume, GL_TEXTURE_3D, 4)}) {
        SCOPED_TRACE(target);
        driver()->glEnable(GL_NONE); // an error of the host, not of the load
        const auto texture = load(file);
        EXPECT_EQ(1, TestContext::takeDriverReports().size());
        ASSERT_NE(nullptr, texture);
        ASSERT_EQ(GLenum(target), texture->target());
        EXPECT_FALSE(texture->isBound());
        for (int level = 0; level < file.levels.size(); ++level) {
            const QByteArray &data = file.levels[level].data;
            const int layers = target == GL_TEXTURE_3D ? int(file.depth) >> level : int(file.faces);
            for (int layer = 0; layer < layers; ++layer) {
                EXPECT_TRUE(holds(*texture, level, layer, int(file.width) >> level,
                                  std::max(int(file.height) >> level, 1),
                                  data.mid(layer * data.size() / layers), channels))
                    << level << ", " << layer;
            }
        }
        EXPECT_EQ(2, texture->dimensionLevelSize(4, 1)) << "the size is on record";
        EXPECT_EQ((std::vector<GLint>{GL_LINEAR_MIPMAP_LINEAR, GL_LINEAR, GL_REPEAT, GL_REPEAT, 0,
                                      int(file.mipmapLevels) - 1}),
                  samplingOf(*texture))
            << "no wrap mode is set";
    }
}

TEST_F(KTXReaderTest, FiltersAndAnisotropyFollowTheNumberOfLevels)
{
    GLint most = 1;
    if (hasGLExtension("GL_EXT_texture_filter_anisotropic")) {
        driver()->glGetIntegerv(GL_MAX_TEXTURE_MAX_ANISOTROPY, &most);
    }
    KtxFile file;
    file.addLevel(64);
    TextureFileInfo info = asInFile();
    for (const int wanted : {0, 2, 1000}) {
        info.anisotropy = wanted;
        const auto one = KTX(file.bytes()).load(info);
        EXPECT_EQ(qBound(1, wanted, most), textureParameter(*one, GL_TEXTURE_MAX_ANISOTROPY));
    }
    file.mipmapLevels = 0;
    const auto generated = KTX(file.bytes()).load(info);
    EXPECT_MESSAGES(
        "warning Generating Mipmaps. For increased loading performance, include these in the .ktx file.");
    EXPECT_EQ(1, textureParameter(*generated, GL_TEXTURE_MAX_ANISOTROPY));
    EXPECT_EQ((std::vector<GLint>{GL_LINEAR, GL_LINEAR, GL_REPEAT, GL_REPEAT, 0, 1000}),
              samplingOf(*generated));
    EXPECT_EQ(1, levelParameter(*generated, 2, GL_TEXTURE_WIDTH));
    EXPECT_EQ(GL_RGBA8, levelParameter(*generated, 0, GL_TEXTURE_INTERNAL_FORMAT));
}

TEST_F(KTXReaderTest, OnlyTheThreeEtc2FormatsHaveAnSrgbForm)
{
    ZEL_NEEDS_EXTENSION("GL_ARB_ES3_compatibility");
    const std::tuple<GLenum, int, GLenum> rows[] = {
        {GL_COMPRESSED_RGB8_ETC2, 8, GL_COMPRESSED_SRGB8_ETC2},
        {GL_COMPRESSED_RGB8_PUNCHTHROUGH_ALPHA1_ETC2, 8, GL_COMPRESSED_SRGB8_PUNCHTHROUGH_ALPHA1_ETC2},
        {GL_COMPRESSED_RGBA8_ETC2_EAC, 16, GL_COMPRESSED_SRGB8_ALPHA8_ETC2_EAC},
        {GL_COMPRESSED_RGBA_BPTC_UNORM, 16, GL_COMPRESSED_RGBA_BPTC_UNORM}};
    for (const auto &[format, size, srgbFormat] : rows) {
        const Tap<&glCompressedTexImage2D> uploads;
        const KTX reader(KtxFile::compressed(4, 4, format).addLevel(size).bytes());
        TextureFileInfo info = asInFile();
        reader.load(info);
        EXPECT_EQ(format, uploads.last<2>());
        info.srgb = true;
        reader.load(info);
        EXPECT_EQ(srgbFormat, uploads.last<2>());
    }
}

TEST_F(KTXReaderTest, WithoutTheOrientationOfTheFileImagesAreRemappedFlippedAndUncompressed)
{
    KtxFile file = KtxFile::compressed(4, 8, GL_COMPRESSED_RED_RGTC1);
    file.levels = {{16, QByteArray("\xFF\xFF\0\0\0\0\0\0", 8) + QByteArray(8, '\0')}}; // white below black
    TextureFileInfo info;
    info.lowValue = 0.25f;
    info.highValue = 0.75f;
    const auto texture = KTX(file.bytes()).load(info);
    ASSERT_NE(nullptr, texture);
    const Pixels pixels = pixelsOf(*texture);
    EXPECT_TRUE(pixels.isNear(0, 0, {0.25f, 0.25f, 0.25f, 1.0f}, 0.01f));
    EXPECT_TRUE(pixels.isNear(3, 7, {0.75f, 0.25f, 0.25f, 1.0f}, 0.01f));
    EXPECT_EQ(GL_RGBA, levelParameter(*texture, 0, GL_TEXTURE_INTERNAL_FORMAT));
}

TEST_F(KTXReaderTest, WhatCannotBeLoadedLeavesNothingBehind)
{
    KtxFile array = KtxFile().addLevel(64);
    array.arrayElements = 1;
    KtxFile cubes = array;
    cubes.faces = 6;
    KtxFile unknown = KtxFile().addLevel(64); // to GL
    unknown.glInternalFormat = 0x1234;
    KtxFile compressed = unknown;
    compressed.glType = 0;
    KtxFile huge = KtxFile::of(0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF).addLevel(64);
    // Unknown, so its texel has the size of the largest, which is here.
    const KtxFile unknownType = KtxFile::of(1, 1, 0, GL_RGBA8, 0x7777, 0x7777).addLevel(32);
    // In 32 bits the size of its blocks is the 64 bytes of the file.
    KtxFile wide = KtxFile::compressed(0x20000008, 8, GL_COMPRESSED_RGBA8_ETC2_EAC).addLevel(64);
    KtxFile endless;
    endless.mipmapLevels = 0xFFFFFFFF;
    endless.levels.fill({0, QByteArray()}, 40);
    endless.addLevel(64);
    KtxFile sizes = KtxFile::compressed(4, 4, GL_RGBA8);
    sizes.levels = {{0xFFFFFFFFu, rampBytes(64)}}; // which GL would read
    const QString array2D = "warning Array textures not supported yet, sorry!";
    const QString arrayOfCubes = "warning Cubemap arrays not supported yet, sorry!";
    const QString failed = failure();
    const QString failedCompressed = failure("Compressed texture");
    for (const auto &[file, message, reports] :
         {std::tuple(array, array2D, 0), std::tuple(cubes, arrayOfCubes, 0), std::tuple(unknown, failed, 1),
          std::tuple(compressed, failedCompressed, 1), std::tuple(huge, failed, 0),
          std::tuple(unknownType, failed, 1), std::tuple(wide, failedCompressed, 0),
          std::tuple(sizes, failedCompressed, 0), std::tuple(endless, failed, -1)}) {
        EXPECT_EQ(nullptr, load(file));
        EXPECT_MESSAGES(message);
        const int count = TestContext::takeDriverReports().size();
        EXPECT_TRUE(reports == count || reports < 0) << count << qPrintable(message);
        takeGLErrors();
        EXPECT_EQ(0, ledger().alive());
    }
    EXPECT_EQ(nullptr, KTX(unknown.bytes(), QString()).load(asInFile()));
    EXPECT_MESSAGES(failure("Texture", "<unnamed>"));
    EXPECT_EQ(1, TestContext::takeDriverReports().size());
}

TEST_F(KTXReaderTest, DataThatEndEarlyAreNeverGivenToGL)
{
    KtxFile file;
    file.mipmapLevels = 2;
    const QByteArray bytes = file.addLevel(64).addLevel(16).bytes();
    for (const int missing : {1, 16, 17, 20}) { // within the second level, and within its size
        const Tap<&glTexImage2D> uploads;
        EXPECT_EQ(nullptr, KTX(bytes.chopped(missing)).load(TextureFileInfo()));
        EXPECT_MESSAGES(failure());
        EXPECT_EQ(1u, uploads.count());
    }
    EXPECT_EQ(nullptr, KTX(bytes.left(64)).load(asInFile())) << "no data at all; there is no message";
}

TEST_F(KTXReaderTest, AnImageSizeOtherThanWhatGLReadsDoesAsLongAsTheBytesAreThere)
{
    KtxFile file;
    for (const quint32 imageSize : {10u, 0xFFFFFFFFu}) { // the second points beyond the end
        file.levels = {{imageSize, rampBytes(64)}};
        const auto texture = load(file);
        ASSERT_NE(nullptr, texture);
        EXPECT_TRUE(holds(*texture, 0, 0, 4, 4, file.levels[0].data));
    }
    KtxFile short21 = KtxFile::of(3, 2, 0, GL_RGB8, GL_RGB);
    short21.levels = {{21, rampBytes(20)}};
    EXPECT_EQ(nullptr, load(short21));
    EXPECT_MESSAGES(failure());
}

namespace {

/// A thread that requests a number of pauses and counts the reads of its property.
class PausingThread : public QThread
{
    Q_OBJECT
    Q_PROPERTY(bool threadPauseRequested READ isPauseRequested)

public:
    bool isPauseRequested() { return ++looks <= pauses; }

    std::function<void()> work;
    int pauses = 0;
    int looks = 0;

protected:
    void run() override { work(); }
};

} // namespace

TEST_F(KTXReaderTest, ALoadPausesAsLongAsItsThreadRequestsIt)
{
    KtxFile file;
    file.mipmapLevels = 3;
    file.addLevel(64).addLevel(16).addLevel(4);
    const std::unique_ptr<TestContext> own = TestContext::create();
    own->doneCurrent();
    PausingThread thread;
    thread.pauses = 2;
    thread.work = [&] {
        own->makeCurrent();
        EXPECT_NE(nullptr, load(file));
        own->doneCurrent();
        own->context()->moveToThread(QCoreApplication::instance()->thread());
    };
    own->context()->moveToThread(&thread);
    thread.start();
    thread.wait();
    EXPECT_EQ(2 + 2 * 3, thread.looks) << "twice for each level, and once more for each pause";
    makeCurrent();
}

namespace {

struct Format
{
    const char *name;
    QVector<QByteArray> (*seeds)();
    void (*use)(const QByteArray &file);
    int files; ///< least number of files; 300,000 in all
};

class MalformedFilesTest : public UploadTest, public testing::WithParamInterface<Format>
{
};

} // namespace

TEST_P(MalformedFilesTest, StayInBoundsAndLeakNothing)
{
    const UploadTouch touch;
    int files = 0;
    bool leftNothing = true;
    for (const QByteArray &seed : GetParam().seeds()) {
        forEachNeighbour(seed, [&](const QByteArray &file) {
            GetParam().use(file);
            leftNothing = leftNothing && Texture::NumAlive() == 0 && ledger().alive(GLLedger::eTexture) == 0;
            _capture.take();
            takeGLErrors();
            ++files;
        });
    }
    EXPECT_GE(files, GetParam().files);
    EXPECT_TRUE(leftNothing) << "a texture was left over";
    EXPECT_GT(touch.count(), 0) << "some must reach the upload";
}

INSTANTIATE_TEST_SUITE_P(, MalformedFilesTest,
                         testing::Values(Format{"KTX", ktxSeeds, useReader<KTXRecogniser>, 200000},
                                         Format{"HDR", hdrSeeds, useReader<HDRRecogniser>, 50000},
                                         Format{"ASTC", astcSeeds, useReader<ASTCRecogniser>, 50000}),
                         [](const auto &format) { return std::string(format.param.name); });

#include "TextureReadersTest.moc"
