// Files of independent projects, loaded through the public functions: each must have the result that its header implies,
// and the pixels of independent decoders.

#include "support/Files.h"
#include "support/GLFixture.h"
#include "support/ReaderUnderTest.h"
#include "support/Stb.h"
#include "support/TestData.h"
#include "support/TextureParameter.h"
#include "support/UploadTouch.h"

#include <ZelGL/TextureIO.h>

#include <QtCore/QDirIterator>
#include <QtCore/QHash>
#include <QtCore/QProcess>
#include <QtCore/QStandardPaths>
#include <QtCore/QTemporaryDir>
#include <QtCore/qfloat16.h>
#include <QtGui/QImage>

#include <cmath>
#include <cstring>

using namespace Orvane::Zel;

namespace {

struct Outcome
{
    bool recognised;
    bool valid;
    bool loads;
    QStringList messages; ///< their starts; %1 is the path
};

const QString kUnset = "critical [Texture.cpp:#] [ !! ] Assertion '0u != this->_target' failed: ";
const QString kLoaded = "debug Texture %1 loaded in ";
const Outcome kLoads = {true, true, true, {kLoaded}};
const Outcome kGenerates = {true, true, true, {"warning Generating Mipmaps. ", kLoaded}};
const Outcome kArray = {true, true, false, {"warning Array textures not supported yet, sorry!"}};
const Outcome kWithoutShape = {true, true, false, {kUnset, kUnset, "warning Texture %1 failed to load."}};
const Outcome kInvalid = {true, false, false, {"debug Data appears invalid for texture file '%1'"}};
const Outcome kUnrecognised = {false, false, false, {"warning [TextureIO.cpp:#] Failed to load %1"}};

/// The results of files that do not load without messages.
const QHash<QString, const Outcome *> kOutcomes = {
    {"ktx/khronos/texturearray_etc2_unorm.ktx", &kArray},
    {"ktx/ktxtest/array_2_elements_2d.ktx", &kArray},
    {"ktx/ktxtest/endian_big_type_ubyte_r8g8.ktx",
     &kWithoutShape}, // the file has lost half of each byte of its header
    {"ktx/ktxtest/mipmap_1of0_levels.ktx", &kGenerates},
    {"ktx/ktxtest_invalid/endianness_invalid.ktx", &kInvalid},
    {"ktx/ktxtest_invalid/eof_at_31bytes.ktx", &kInvalid},
    {"ktx/ktxtest_invalid/identifier_invalid.ktx", &kUnrecognised},
    {"ktx/ktxtest_invalid/size_2d_width_0.ktx", &kWithoutShape},
    {"astc/negative_magic.astc", &kUnrecognised},
    {"astc/negative_short.astc", &kInvalid}};

/// The first keys of files with metadata. The reader returns the padding after them as an additional entry.
const QHash<QString, QString> kKeys = {{"ktx/khronos/cubemap_yokohama_etc2_unorm.ktx", "KTXOrientation"},
                                       {"ktx/khronos/orient-up-metadata.ktx", "KTXorientation"},
                                       {"ktx/khronos/texturearray_etc2_unorm.ktx", "KTXorientation"},
                                       {"ktx/ktxtest/metadata_custom_utf8.ktx", "utf8Nul"},
                                       {"ktx/ktxtest/metadata_ktxorient_rd.ktx", "KTXorientation"}};

/// The real files with a suffix; checks their number.
QStringList filesOf(const QString &suffix, const QDir &folder)
{
    static const QHash<QString, int> counts = {{"ktx", 43}, {"hdr", 9}, {"astc", 10}};
    QStringList files;
    QDirIterator it(folder.path(), {"*." + suffix}, QDir::Files, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        files += it.next();
    }
    EXPECT_EQ(counts[suffix], files.size());
    return files;
}

std::unique_ptr<Texture> load(const QString &path, const TextureFileInfo &info = asInFile())
{
    return std::unique_ptr<Texture>(LoadTextureFromFile(path, info));
}

testing::AssertionResult tells(const Outcome &outcome, const QString &path)
{
    std::vector<ExpectedMessage> expected;
    for (const QString &message : outcome.messages) {
        expected.push_back(startsWith(QString(message).replace("%1", path)));
    }
    return takeMessages(expected);
}

/// Compares the sizes of all levels in GL with the results of the reader.
void expectSizes(Texture &texture, const TextureLoader &reader)
{
    const GLenum target = reader.isCubeMapTexture() ? GL_TEXTURE_CUBE_MAP
                          : reader.is1DTexture()    ? GL_TEXTURE_1D
                          : reader.is2DTexture()    ? GL_TEXTURE_2D
                                                    : GL_TEXTURE_3D;
    ASSERT_EQ(target, texture.target());
    texture.bind();
    const int levels = int(reader.mipmapLevels());
    for (int level = 0; level < levels; ++level) {
        const auto side = [level](unsigned int size) { return std::max(int(size) >> level, 1); };
        EXPECT_EQ(side(reader.width()), texture.width(level)) << "level " << level;
        EXPECT_EQ(side(reader.height()), texture.height(level)) << "level " << level;
        EXPECT_EQ(side(reader.depth()), texture.depth(level)) << "level " << level;
    }
    EXPECT_EQ(levels == 0, texture.width(levels) > 0) << "levels that the file has not are made";
    texture.unbind();
}

class RealTextureFilesTest : public GLTest, public testing::WithParamInterface<const char *>
{
};

} // namespace

TEST_P(RealTextureFilesTest, HaveTheResultThatTheirHeadersImply)
{
    ZEL_NEEDS_TEST_DATA(list, "README.md");
    const QDir folder = QFileInfo(list).dir();
    const QStringList files = filesOf(GetParam(), folder);
    ZEL_NEEDS_EXTENSION_IF(files.first().endsWith(".ktx"), "GL_ARB_ES3_compatibility");
    for (const QString &path : files) {
        SCOPED_TRACE(qPrintable(path));
        const QString name = folder.relativeFilePath(path);
        const Outcome &outcome = *kOutcomes.value(name, &kLoads);
        const std::unique_ptr<TextureLoader> reader(IdentifyTextureFromFile(path));
        EXPECT_EQ(outcome.recognised, reader != nullptr);
        EXPECT_EQ(outcome.valid, reader != nullptr && reader->valid());
        if (reader != nullptr) {
            EXPECT_EQ(kKeys.contains(name) ? 2u : 0u, reader->numMetadataEntries());
            EXPECT_EQ(kKeys.value(name), reader->key(0));
        }
        const std::unique_ptr<Texture> texture = load(path);
        EXPECT_TRUE(tells(outcome, path));
        ASSERT_EQ(outcome.loads, texture != nullptr);
        if (texture != nullptr) {
            expectSizes(*texture, *reader);
            const std::unique_ptr<Texture> byDefault = load(path, TextureFileInfo());
            _capture.take(); // a pass reports the formats that it does not know
            ASSERT_NE(nullptr, byDefault);
            expectSizes(*byDefault, *reader);
        }
        if (&outcome == &kWithoutShape) {
            TestContext::takeDriverReports(); // about parameters for a missing target
            takeGLErrors();
        }
    }
}

INSTANTIATE_TEST_SUITE_P(, RealTextureFilesTest, testing::Values("ktx", "hdr", "astc"),
                         [](const auto &suffix) { return std::string(suffix.param); });

namespace {

using RealTexturePixelsTest = GLTest;

Pixels loadedPixels(const QString &path)
{
    const auto texture = load(path);
    EXPECT_TRUE(tells(kLoads, path));
    return texture != nullptr ? pixelsOf(*texture) : Pixels(0, 0);
}

/// Compares level 0 of a KTX file without metadata with its bytes, texel by texel.
void expectRawPixels(const char *relativePath, int width, int height, int texelBytes, int rowBytes,
                     const std::function<QVector4D(const uchar *)> &decode)
{
    ZEL_NEEDS_TEST_DATA(path, relativePath);
    const QByteArray file = bytesOf(path);
    const Pixels expected = Pixels::of(width, height, [&](int x, int y) {
        const char *texel = file.constData() + 64 + 4 + y * rowBytes + x * texelBytes;
        return decode(reinterpret_cast<const uchar *>(texel));
    });
    EXPECT_TRUE(loadedPixels(path).isNear(expected, 1e-4f)) << relativePath;
}

float ofHalf(const uchar *bytes)
{
    qfloat16 half;
    std::memcpy(&half, bytes, sizeof half);
    return half;
}

/// An ASTC file decoded by Arm's decoder, top row first.
QImage byAstcenc(const QString &path)
{
    const QTemporaryDir folder;
    const QString png = folder.filePath("decoded.png");
    QProcess::execute("astcenc", {"-dl", path, png, "-silent"});
    return QImage(png).convertToFormat(QImage::Format_RGBA8888);
}

/// The picture with the first row of the file as row 0 of the texture.
Pixels fromFirstRowUp(const QImage &image)
{
    return Pixels::of(image.width(), image.height(), [&](int x, int y) {
        const QColor color = image.pixelColor(x, y);
        return QVector4D(float(color.redF()), float(color.greenF()), float(color.blueF()),
                         float(color.alphaF()));
    });
}

} // namespace

TEST_F(RealTexturePixelsTest, RawFilesHaveThePixelsOfTheirBytes)
{
    const auto byte = [](uchar value) { return float(value) / 255.0f; };
    expectRawPixels("ktx/ktxtest/format_raw_r8_unorm.ktx", 64, 64, 1, 64,
                    [&](const uchar *t) { return QVector4D(byte(t[0]), 0.0f, 0.0f, 1.0f); });
    expectRawPixels("ktx/ktxtest/format_raw_r8g8b8_unorm.ktx", 64, 64, 3, 192,
                    [&](const uchar *t) { return QVector4D(byte(t[0]), byte(t[1]), byte(t[2]), 1.0f); });
    expectRawPixels("ktx/khronos/rgba-reference.ktx", 128, 128, 4, 512, [&](const uchar *t) {
        return QVector4D(byte(t[0]), byte(t[1]), byte(t[2]), byte(t[3]));
    });
    expectRawPixels("ktx/ktxtest/format_raw_r16g16b16_sfloat.ktx", 64, 64, 6, 384,
                    [](const uchar *t) { return QVector4D(ofHalf(t), ofHalf(t + 2), ofHalf(t + 4), 1.0f); });
    ZEL_NEEDS_EXTENSION("GL_ARB_ES2_compatibility");
    expectRawPixels("ktx/ktxtest/format_pack16_r5g6b5_unorm.ktx", 64, 64, 2, 128, [](const uchar *t) {
        const int texel = t[0] | t[1] << 8;
        return QVector4D(float(texel >> 11) / 31.0f, float(texel >> 5 & 63) / 63.0f,
                         float(texel & 31) / 31.0f, 1.0f);
    });
}

TEST_F(RealTexturePixelsTest, CubeLayoutsHaveThePixelsOfQImage)
{
    for (const char *name : {"cubemap_ldr/Ryfjallet_cross_3x4.png", "cubemap_ldr/Ryfjallet_cross_4x3.png",
                             "cubemap_ldr/Ryfjallet_cubemap.png", "cubemap_ldr/Ryfjallet_strip_6x1.png"}) {
        ZEL_NEEDS_TEST_DATA(path, name);
        EXPECT_TRUE(loadedPixels(path).isNear(fromFirstRowUp(QImage(path).mirrored()), 1e-3f));
    }
}

TEST_F(RealTexturePixelsTest, AstcFilesEqualTheResultOfArmsDecoder)
{
    if (QStandardPaths::findExecutable("astcenc").isEmpty()) {
        GTEST_SKIP() << "Needs the program astcenc";
    }
    for (const char *name : {"astc/ASTC6X6_LDR.astc", "astc/ASTC10X5_LDR.astc", "astc/tiles_ldr.astc"}) {
        ZEL_NEEDS_TEST_DATA(path, name);
        // Both the driver and astcenc decode to 8 bits.
        EXPECT_TRUE(loadedPixels(path).isNear(fromFirstRowUp(byAstcenc(path)), 2.0f / 255.0f)) << name;
    }
}

TEST_F(RealTexturePixelsTest, RadiancePicturesEqualThoseOfStb)
{
    if (!hasStb()) {
        GTEST_SKIP() << "Needs stb_image.h of the package libstb-dev";
    }
    ZEL_NEEDS_TEST_DATA(list, "README.md");
    const QStringList files = filesOf("hdr", QFileInfo(list).dir());
    for (const QString &path : files) {
        SCOPED_TRACE(qPrintable(path));
        const std::vector<float> expected = hdrByStb(bytesOf(path));
        const UploadTouch touch;
        const auto texture = load(path);
        ASSERT_NE(nullptr, texture);
        EXPECT_TRUE(tells(kLoads, path));
        ASSERT_EQ(int(expected.size() * sizeof(float)), touch.lastBytes().size());
        EXPECT_EQ(
            0, std::memcmp(expected.data(), touch.lastBytes().constData(), expected.size() * sizeof(float)))
            << "bit by bit before the upload";

        const Pixels pixels = pixelsOf(*texture);
        int differences = 0;
        for (size_t i = 0; i < expected.size(); ++i) {
            const int texel = int(i / 3);
            const float value = pixels.at(texel % pixels.width(), texel / pixels.width())[int(i % 3)];
            const float reachable = std::min(expected[i], 65504.0f);
            const int exponent = std::max(std::ilogb(std::max(reachable, 1e-30f)), -14);
            differences += std::fabs(std::min(value, 65504.0f) - reachable) > std::ldexp(1.0f, exponent - 10);
        }
        EXPECT_EQ(0, differences) << "within one unit of half float";
    }
}
