#include "support/AbortTrap.h"
#include "support/FileMaker.h"
#include "support/GLFixture.h"
#include "support/ReaderUnderTest.h"
#include "support/StateGuard.h"
#include "support/TextureParameter.h"
#include "support/UploadTouch.h"

#include <ZelGL/HDRReader.h>

#include <QtGui/QOpenGLFunctions_3_2_Core>

#include <cmath>
#include <cstring>

using namespace Orvane::Zel;

namespace {

using Reader = ReaderUnderTest<HDRRecogniser>;
using HDRHeaderTest = MessageTest;

const QString kFailure = "warning Texture image failed to load.";
const QString kBadWidth = "warning [HDRReader.cpp:#] HDR format error: bad scanline width";

class HDRReaderTest : public GLTest
{
protected:
    /// Loads a file and returns the texels as GL received them: three floats each, the lowest row first.
    std::vector<float> uploaded(const QByteArray &file)
    {
        const auto texture = Reader(file).load(TextureFileInfo());
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

} // namespace

TEST_F(HDRHeaderTest, TheMagicIsRecognisedAndLinesUpToAnEmptyOneDecideAboutValidity)
{
    EXPECT_EQ(nullptr, Reader("#?RADIANCE").get());
    EXPECT_EQ(nullptr, Reader("#?RGBE\nFORMAT=32-bit_rle_rgbe\n\n-Y 1 +X 1\n").get());
    for (const char *header : {"", "# note\nFORMAT=32-bit_rle_rgbe\nVIEW= x\n", "FORMAT=32-bit_rle_xyze\n",
                               "EXPOSURE=2.5\nEXPOSURE= 1e3\n"}) {
        EXPECT_TRUE(Reader(QByteArray("#?RADIANCE\n") + header + "\n-Y 1 +X 1\n").valid()) << header;
    }
    for (const QByteArray &rest :
         {QByteArray(), QByteArray("# note"), QByteArray("EXPOSURE=1"), QByteArray("FORMAT=32-bit_rle_rgbe"),
          QByteArray("FORMAT=32-bit_rle_rgb\n\n-Y 1 +X 1\n"), QByteArray("EXPOSURE=bright\n\n-Y 1 +X 1\n"),
          QByteArray("# note\0\n\n-Y 1 +X 1\n", 19)}) { // a NUL ends the header
        const Reader reader("#?RADIANCE\n" + rest);
        ASSERT_NE(nullptr, reader.get()) << rest.constData();
        EXPECT_FALSE(reader.valid()) << rest.constData();
        EXPECT_EQ(nullptr, reader.load(TextureFileInfo()));
        EXPECT_MESSAGES(kFailure);
    }
}

TEST_F(HDRHeaderTest, TheResolutionNamesBothAxes)
{
    const Reader reader("#?RADIANCE\n\n+X 12 -Y 34\n");
    ASSERT_TRUE(reader.valid());
    EXPECT_EQ(12u, reader->height()) << "the first axis, whatever its letter";
    EXPECT_EQ(34u, reader->width());
    EXPECT_TRUE(reader->is2DTexture());
    EXPECT_FALSE(reader->isCompressed() || reader->hasMipMaps() || reader->isCubeMapTexture());
    EXPECT_TRUE(reader->key(0).isNull());
    for (const char *line :
         {"-Y 1 +Y 1\n", "-Y 1 +Z 1\n", "*Y 1 +X 1\n", "-Y 1 X 1\n", "-Y 1\n", "-Y 1 +X 1", ""}) {
        EXPECT_FALSE(Reader(QByteArray("#?RADIANCE\n\n") + line).valid()) << line;
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

TEST_F(HDRReaderTest, RowsGoUpFromTheBottomByTheFirstSignAloneAndNothingElseCounts)
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
    file.scanlines = HdrFile::planes(row) + QByteArray("\2\2\0\4", 4) + HdrFile::flat(HdrFile::ramp(6));
    EXPECT_EQ(valuesOf(HdrFile::Row(6, {{0, 0, 0, 0}}) + row), uploaded(file.bytes()));
    EXPECT_MESSAGES(kBadWidth, kBadWidth);

    HdrFile small(64, 64); // one report, since the file cannot hold the other lines either
    small.scanlines = QByteArray("\2\2\0\4", 4);
    EXPECT_EQ(nullptr, Reader(small.bytes()).load(TextureFileInfo()));
    EXPECT_MESSAGES(kBadWidth, kFailure);
}

TEST_F(HDRReaderTest, ARunBeyondItsLineEndsTheProcess)
{
    const Reader reader(lineOf(8, QByteArray("\2\2\0\10\3abc\206", 9)));
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
        EXPECT_EQ(nullptr, Reader(file).load(TextureFileInfo()));
        EXPECT_MESSAGES(kFailure);
    }
    EXPECT_EQ(0, _touch.count());
    EXPECT_EQ(0, ledger().alive());
}

TEST_F(HDRReaderTest, TheTextureIsOneLevelOfHalfFloatsWithLinearFiltersAndGoesWhereGLRefuses)
{
    driver()->glPixelStorei(GL_UNPACK_ALIGNMENT, 2);
    const Reader reader(lineOf(3, HdrFile::flat(HdrFile::ramp(3))));
    const StateGuard guard;
    {
        const auto texture = reader.load(TextureFileInfo());
        ASSERT_NE(nullptr, texture);
        EXPECT_EQ(GL_RGB16F, levelParameter(*texture, 0, GL_TEXTURE_INTERNAL_FORMAT));
        EXPECT_EQ(0, levelParameter(*texture, 1, GL_TEXTURE_WIDTH));
        EXPECT_EQ((std::vector<GLint>{GL_LINEAR, GL_LINEAR, GL_CLAMP_TO_EDGE, GL_CLAMP_TO_EDGE, 0, 100}),
                  samplingOf(*texture));
    }
    Hook<&glGetError> errors;
    errors.replace([] { return GLenum(GL_OUT_OF_MEMORY); });
    EXPECT_EQ(nullptr, reader.load(TextureFileInfo()));
    EXPECT_MESSAGES(kFailure);
    EXPECT_EQ(0, ledger().alive());
    EXPECT_EQ(QStringList(), guard.changes().filter("UNPACK") + guard.changes().filter("TEXTURE_BINDING"));
    driver()->glPixelStorei(GL_UNPACK_ALIGNMENT, 4);
}

TEST_F(HDRReaderTest, ColoursAreDecodedAndRemappedWhenAskedFor)
{
    TextureFileInfo info;
    info.srgb = true;
    info.lowValue = 0.5f;
    info.highValue = 0.75f;
    const auto texture = Reader(lineOf(1, HdrFile::flat({{{128, 64, 0, 128}}}))).load(info);
    const auto expected = [](float value) {
        return 0.25f * std::pow((value + 0.055f) / 1.055f, 2.4f) + 0.5f;
    };
    EXPECT_TRUE(
        pixelsOf(*texture).isNear(0, 0, {expected(0.5f), expected(0.25f), expected(0.0f), 1.0f}, 1e-3f));
}
