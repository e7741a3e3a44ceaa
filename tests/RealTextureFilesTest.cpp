// Files that independent projects made, through the loading front: each with the outcome that its header asks
// for, and pixels against decoders that are not ours.

#include "support/Files.h"
#include "support/GLFixture.h"
#include "support/Pixels.h"
#include "support/ReaderUnderTest.h"
#include "support/Stb.h"
#include "support/TestData.h"
#include "support/UploadTouch.h"

#include <ZelGL/TextureIO.h>

#include <QtCore/QProcess>
#include <QtCore/QStandardPaths>
#include <QtCore/QTemporaryDir>
#include <QtCore/qfloat16.h>
#include <QtGui/QImage>
#include <QtGui/QOpenGLFunctions_3_2_Core>

#include <cmath>
#include <cstring>

using namespace Orvane::Zel;

namespace {

enum Outcome {
    eLoads,
    eGenerates, ///< loads, and has its levels generated
    eArray,
    eWithoutShape,
    eInvalid,
    eUnrecognised
};

struct RealFile
{
    const char *path;
    Outcome outcome;
    GLint internalFormat = 0;
    GLenum target = 0;
    unsigned int width = 0;
    unsigned int height = 0;
    unsigned int depth = 0;
    unsigned int levels = 0;
    unsigned int keys = 0;
};

const RealFile kFiles[] = {
    {"ktx/khronos/cubemap_yokohama_etc2_unorm.ktx", eLoads, 0x9274, GL_TEXTURE_CUBE_MAP, 512, 512, 0, 1, 2},
    {"ktx/khronos/etc2-rgb.ktx", eLoads, 0x9274, GL_TEXTURE_2D, 128, 128, 0, 1, 0},
    {"ktx/khronos/etc2-rgba8.ktx", eLoads, 0x9278, GL_TEXTURE_2D, 128, 128, 0, 1, 0},
    {"ktx/khronos/orient-up-metadata.ktx", eLoads, 0x8C41, GL_TEXTURE_2D, 128, 128, 0, 1, 2},
    {"ktx/khronos/rgb-mipmap-reference.ktx", eLoads, 0x8C41, GL_TEXTURE_2D, 64, 64, 0, 7, 0},
    {"ktx/khronos/rgba-reference.ktx", eLoads, 0x8C43, GL_TEXTURE_2D, 128, 128, 0, 1, 0},
    {"ktx/khronos/texturearray_etc2_unorm.ktx", eArray, 0x9274, GL_TEXTURE_2D, 256, 256, 0, 1, 2},
    {"ktx/ktxtest/array_2_elements_2d.ktx", eArray, 0x8229, GL_TEXTURE_2D, 64, 64, 0, 7, 0},
    {"ktx/ktxtest/cubemap_6_faces.ktx", eLoads, 0x8051, GL_TEXTURE_CUBE_MAP, 64, 64, 0, 7, 0},
    {"ktx/ktxtest/endian_big_type_ubyte_r8g8.ktx", eWithoutShape},
    {"ktx/ktxtest/format_astc_8x5_unorm.ktx", eLoads, 0x93B5, GL_TEXTURE_2D, 64, 64, 0, 7, 0},
    {"ktx/ktxtest/format_bc1_rgba_unorm.ktx", eLoads, 0x83F1, GL_TEXTURE_2D, 64, 64, 0, 7, 0},
    {"ktx/ktxtest/format_bc3_unorm.ktx", eLoads, 0x83F3, GL_TEXTURE_2D, 64, 64, 0, 7, 0},
    {"ktx/ktxtest/format_bc5_unorm.ktx", eLoads, 0x8DBD, GL_TEXTURE_2D, 64, 64, 0, 7, 0},
    {"ktx/ktxtest/format_etc2_r8g8b8a8_unorm.ktx", eLoads, 0x9278, GL_TEXTURE_2D, 64, 64, 0, 7, 0},
    {"ktx/ktxtest/format_pack16_r5g6b5_unorm.ktx", eLoads, 0x8D62, GL_TEXTURE_2D, 64, 64, 0, 7, 0},
    {"ktx/ktxtest/format_raw_r16g16b16_sfloat.ktx", eLoads, 0x881B, GL_TEXTURE_2D, 64, 64, 0, 7, 0},
    {"ktx/ktxtest/format_raw_r8_unorm.ktx", eLoads, 0x8229, GL_TEXTURE_2D, 64, 64, 0, 7, 0},
    {"ktx/ktxtest/format_raw_r8g8b8_srgb.ktx", eLoads, 0x8C41, GL_TEXTURE_2D, 64, 64, 0, 7, 0},
    {"ktx/ktxtest/format_raw_r8g8b8_unorm.ktx", eLoads, 0x8051, GL_TEXTURE_2D, 64, 64, 0, 7, 0},
    {"ktx/ktxtest/format_raw_r8g8b8a8_unorm.ktx", eLoads, 0x8058, GL_TEXTURE_2D, 64, 64, 0, 7, 0},
    {"ktx/ktxtest/metadata_custom_utf8.ktx", eLoads, 0x8229, GL_TEXTURE_2D, 64, 64, 0, 1, 2},
    {"ktx/ktxtest/metadata_ktxorient_rd.ktx", eLoads, 0x8229, GL_TEXTURE_2D, 64, 64, 0, 1, 2},
    {"ktx/ktxtest/metadata_none.ktx", eLoads, 0x8229, GL_TEXTURE_3D, 64, 64, 2, 1, 0},
    {"ktx/ktxtest/mipmap_1of0_levels.ktx", eGenerates, 0x8229, GL_TEXTURE_2D, 64, 64, 0, 0, 0},
    {"ktx/ktxtest/mipmap_1of1_levels.ktx", eLoads, 0x8229, GL_TEXTURE_2D, 64, 64, 0, 1, 0},
    {"ktx/ktxtest/mipmap_7of7_levels.ktx", eLoads, 0x8229, GL_TEXTURE_2D, 64, 64, 0, 7, 0},
    {"ktx/ktxtest/size_1d_64.ktx", eLoads, 0x8229, GL_TEXTURE_1D, 64, 0, 0, 7, 0},
    {"ktx/ktxtest/size_2d_64x32.ktx", eLoads, 0x8229, GL_TEXTURE_2D, 64, 32, 0, 7, 0},
    {"ktx/ktxtest/size_2d_64x64.ktx", eLoads, 0x8229, GL_TEXTURE_2D, 64, 64, 0, 7, 0},
    {"ktx/ktxtest/size_3d_16x16x16.ktx", eLoads, 0x8229, GL_TEXTURE_3D, 16, 16, 16, 5, 0},
    {"ktx/ktxtest_invalid/endianness_invalid.ktx", eInvalid},
    {"ktx/ktxtest_invalid/eof_at_31bytes.ktx", eInvalid},
    {"ktx/ktxtest_invalid/identifier_invalid.ktx", eUnrecognised},
    {"ktx/ktxtest_invalid/mipmap_level_overflow.ktx", eLoads, 0x8229, GL_TEXTURE_2D, 16, 16, 0, 1, 0},
    {"ktx/ktxtest_invalid/size_2d_width_0.ktx", eWithoutShape},
    {"ktx/tacent/ASTC6X6_HDRRGBA.ktx", eLoads, 0x93B4, GL_TEXTURE_2D, 644, 874, 0, 1, 0},
    {"ktx/tacent/BC6U_RGB.ktx", eLoads, 0x8E8F, GL_TEXTURE_2D, 644, 874, 0, 1, 0},
    {"ktx/tacent/BC7_RGBA.ktx", eLoads, 0x8E8C, GL_TEXTURE_2D, 1280, 720, 0, 1, 0},
    {"ktx/tacent/ETC2RGB_sRGB.ktx", eLoads, 0x9275, GL_TEXTURE_2D, 1280, 720, 0, 1, 0},
    {"ktx/vksamples/chain_texture.ktx", eLoads, 0x93D7, GL_TEXTURE_2D, 256, 1024, 0, 11, 0},
    {"ktx/vksamples/lion.ktx", eLoads, 0x93D7, GL_TEXTURE_2D, 1024, 1024, 0, 11, 0},
    {"ktx/vksamples/sponza_floor_a_diff.ktx", eLoads, 0x93D7, GL_TEXTURE_2D, 1024, 1024, 0, 11, 0},
    {"hdr_latlong/kiara_1_dawn_1k.hdr", eLoads, GL_RGB16F, GL_TEXTURE_2D, 1024, 512, 0, 1, 0},
    {"hdr_latlong/potsdamer_platz_1k.hdr", eLoads, GL_RGB16F, GL_TEXTURE_2D, 1024, 512, 0, 1, 0},
    {"hdr_latlong/studio_small_03_1k.hdr", eLoads, GL_RGB16F, GL_TEXTURE_2D, 1024, 512, 0, 1, 0},
    {"hdr_latlong/venice_sunset_1k.hdr", eLoads, GL_RGB16F, GL_TEXTURE_2D, 1024, 512, 0, 1, 0},
    {"hdr_small/image1.hdr", eLoads, GL_RGB16F, GL_TEXTURE_2D, 128, 85, 0, 1, 0},
    {"hdr_small/irradiance_san_giuseppe_bridge.hdr", eLoads, GL_RGB16F, GL_TEXTURE_2D, 256, 128, 0, 1, 0},
    {"hdr_small/irradiance_table_mountain.hdr", eLoads, GL_RGB16F, GL_TEXTURE_2D, 256, 128, 0, 1, 0},
    {"hdr_small/rgbr4x4.hdr", eLoads, GL_RGB16F, GL_TEXTURE_2D, 4, 4, 0, 1, 0},
    {"hdr_small/tile8x8.hdr", eLoads, GL_RGB16F, GL_TEXTURE_2D, 8, 8, 0, 1, 0},
    {"astc/ASTC10X5_LDR.astc", eLoads, 0x93B8, GL_TEXTURE_2D, 1280, 720, 0, 1, 0},
    {"astc/ASTC12X12_LDR.astc", eLoads, 0x93BD, GL_TEXTURE_2D, 1280, 720, 0, 1, 0},
    {"astc/ASTC4X4_LDR.astc", eLoads, 0x93B0, GL_TEXTURE_2D, 1280, 720, 0, 1, 0},
    {"astc/ASTC6X6_HDR.astc", eLoads, 0x93B4, GL_TEXTURE_2D, 644, 874, 0, 1, 0},
    {"astc/ASTC6X6_LDR.astc", eLoads, 0x93B4, GL_TEXTURE_2D, 1280, 720, 0, 1, 0},
    {"astc/ASTC8X8_LDR.astc", eLoads, 0x93B7, GL_TEXTURE_2D, 1280, 720, 0, 1, 0},
    {"astc/LDR-A-1x1.astc", eLoads, 0x93B4, GL_TEXTURE_2D, 1, 1, 0, 1, 0},
    {"astc/negative_magic.astc", eUnrecognised},
    {"astc/negative_short.astc", eInvalid},
    {"astc/tiles_ldr.astc", eLoads, 0x93B0, GL_TEXTURE_2D, 8, 8, 0, 1, 0},
};

std::string nameOf(const testing::TestParamInfo<RealFile> &info)
{
    std::string name = info.param.path;
    std::replace_if(
        name.begin(), name.end(), [](char c) { return std::isalnum(uchar(c)) == 0; }, '_');
    return name;
}

std::unique_ptr<Texture> load(const QString &path)
{
    return std::unique_ptr<Texture>(LoadTextureFromFile(path, asInFile()));
}

ExpectedMessage loaded(const QString &path)
{
    return startsWith("debug Texture " + path + " loaded in ");
}

class RealTextureFilesTest : public GLTest, public testing::WithParamInterface<RealFile>
{
protected:
    static void expectSizes(Texture &texture)
    {
        const RealFile &file = GetParam();
        ASSERT_EQ(file.target, texture.target());
        texture.bind();
        EXPECT_EQ(file.internalFormat, texture.internalFormat(0));
        for (int level = 0; level < int(file.levels); ++level) {
            const auto side = [level](unsigned int size) { return std::max(int(size) >> level, 1); };
            EXPECT_EQ(side(file.width), texture.width(level)) << "level " << level;
            EXPECT_EQ(side(file.height), texture.height(level)) << "level " << level;
            EXPECT_EQ(side(file.depth), texture.depth(level)) << "level " << level;
        }
        EXPECT_EQ(file.outcome == eGenerates ? 1 : 0, std::min(texture.width(int(file.levels)), 1))
            << "a level below the last";
        texture.unbind();
    }

    static void expectAnswers(const TextureLoader &reader)
    {
        const RealFile &file = GetParam();
        EXPECT_EQ(file.width, reader.width());
        EXPECT_EQ(file.height, reader.height());
        EXPECT_EQ(file.levels, reader.mipmapLevels());
        EXPECT_EQ(file.keys, reader.numMetadataEntries());
    }
};

} // namespace

TEST_P(RealTextureFilesTest, HaveTheOutcomeThatTheirHeadersAskFor)
{
    const RealFile &file = GetParam();
    ZEL_NEEDS_TEST_DATA(path, file.path);
    const std::unique_ptr<TextureLoader> reader(IdentifyTextureFromFile(path));
    EXPECT_EQ(file.outcome != eUnrecognised, reader != nullptr);
    EXPECT_EQ(file.outcome != eUnrecognised && file.outcome != eInvalid,
              reader != nullptr && reader->valid());
    const std::unique_ptr<Texture> texture = load(path);
    EXPECT_EQ(file.outcome == eLoads || file.outcome == eGenerates, texture != nullptr);
    if (file.levels != 0) {
        expectAnswers(*reader);
    }
    if (texture != nullptr) {
        expectSizes(*texture);
    }
    switch (file.outcome) {
    case eLoads:
        EXPECT_MESSAGES(loaded(path));
        break;
    case eGenerates:
        EXPECT_MESSAGES(
            "warning Generating Mipmaps. For increased loading performance, include these in the .ktx file.",
            loaded(path));
        break;
    case eArray:
        EXPECT_MESSAGES("warning Array textures not supported yet, sorry!");
        break;
    case eWithoutShape: {
        const QString assertion = "critical [Texture.cpp:#] [ !! ] Assertion '0u != this->_target' failed: "
                                  "Texture Target is not set on ";
        EXPECT_MESSAGES(assertion + "bind", assertion + "unbind",
                        "warning Texture " + path + " failed to load.");
        TestContext::takeDriverReports(); // of parameters for no target
        takeGLErrors();
        break;
    }
    case eInvalid:
        EXPECT_MESSAGES("debug Data appears invalid for texture file '" + path + "'");
        break;
    case eUnrecognised:
        EXPECT_MESSAGES("warning [TextureIO.cpp:#] Failed to load " + path);
        break;
    }
}

INSTANTIATE_TEST_SUITE_P(, RealTextureFilesTest, testing::ValuesIn(kFiles), nameOf);

namespace {

using RealTexturePixelsTest = GLTest;

Pixels loadedPixels(const QString &path)
{
    const auto texture = load(path);
    EXPECT_MESSAGES(loaded(path));
    return texture != nullptr ? Pixels::ofTexture(GL_TEXTURE_2D, texture->textureID()) : Pixels(0, 0);
}

/// Level 0 of a KTX file without metadata, decoded texel by texel.
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

/// The picture that Arm's decoder makes of an ASTC file, the first row on top.
QImage byAstcenc(const QString &path)
{
    const QTemporaryDir folder;
    const QString png = folder.filePath("decoded.png");
    QProcess::execute("astcenc", {"-dl", path, png, "-silent"});
    return QImage(png).convertToFormat(QImage::Format_RGBA8888);
}

/// The first row of the file is row 0 of the texture.
Pixels fromFirstRowUp(const QImage &image)
{
    return Pixels::of(image.width(), image.height(), [&](int x, int y) {
        const QColor color = image.pixelColor(x, y);
        return QVector4D(float(color.redF()), float(color.greenF()), float(color.blueF()),
                         float(color.alphaF()));
    });
}

} // namespace

TEST_F(RealTexturePixelsTest, RawFilesHoldWhatTheirBytesSay)
{
    const auto byte = [](uchar value) { return float(value) / 255.0f; };
    expectRawPixels("ktx/ktxtest/format_raw_r8_unorm.ktx", 64, 64, 1, 64,
                    [&](const uchar *t) { return QVector4D(byte(t[0]), 0.0f, 0.0f, 1.0f); });
    expectRawPixels("ktx/ktxtest/format_raw_r8g8b8_unorm.ktx", 64, 64, 3, 192,
                    [&](const uchar *t) { return QVector4D(byte(t[0]), byte(t[1]), byte(t[2]), 1.0f); });
    expectRawPixels("ktx/khronos/rgba-reference.ktx", 128, 128, 4, 512, [&](const uchar *t) {
        return QVector4D(byte(t[0]), byte(t[1]), byte(t[2]), byte(t[3]));
    });
    expectRawPixels("ktx/ktxtest/format_pack16_r5g6b5_unorm.ktx", 64, 64, 2, 128, [](const uchar *t) {
        const int texel = t[0] | t[1] << 8;
        return QVector4D(float(texel >> 11) / 31.0f, float(texel >> 5 & 63) / 63.0f,
                         float(texel & 31) / 31.0f, 1.0f);
    });
    expectRawPixels("ktx/ktxtest/format_raw_r16g16b16_sfloat.ktx", 64, 64, 6, 384,
                    [](const uchar *t) { return QVector4D(ofHalf(t), ofHalf(t + 2), ofHalf(t + 4), 1.0f); });
}

TEST_F(RealTexturePixelsTest, CubeLayoutsHoldWhatQImageReads)
{
    for (const char *name : {"cubemap_ldr/Ryfjallet_cross_3x4.png", "cubemap_ldr/Ryfjallet_cross_4x3.png",
                             "cubemap_ldr/Ryfjallet_cubemap.png", "cubemap_ldr/Ryfjallet_strip_6x1.png"}) {
        ZEL_NEEDS_TEST_DATA(path, name);
        EXPECT_TRUE(loadedPixels(path).isNear(fromFirstRowUp(QImage(path).mirrored()), 1e-3f));
    }
}

TEST_F(RealTexturePixelsTest, AstcFilesEqualWhatArmsDecoderMakesOfThem)
{
    if (QStandardPaths::findExecutable("astcenc").isEmpty()) {
        GTEST_SKIP() << "Needs the program astcenc";
    }
    for (const char *name : {"astc/ASTC6X6_LDR.astc", "astc/ASTC10X5_LDR.astc", "astc/tiles_ldr.astc"}) {
        ZEL_NEEDS_TEST_DATA(path, name);
        // The driver decodes to 8 bits, and so does astcenc.
        EXPECT_TRUE(loadedPixels(path).isNear(fromFirstRowUp(byAstcenc(path)), 2.0f / 255.0f)) << name;
    }
}

TEST_F(RealTexturePixelsTest, RadiancePicturesEqualThoseOfStb)
{
    if (!hasStb()) {
        GTEST_SKIP() << "Needs stb_image.h of the package libstb-dev";
    }
    for (const RealFile &file : kFiles) {
        if (!QByteArray(file.path).endsWith(".hdr")) {
            continue;
        }
        ZEL_NEEDS_TEST_DATA(path, file.path);
        const std::vector<float> expected = hdrByStb(bytesOf(path));
        const UploadTouch touch;
        const auto texture = load(path);
        ASSERT_NE(nullptr, texture);
        EXPECT_MESSAGES(loaded(path));
        ASSERT_EQ(int(expected.size() * sizeof(float)), touch.lastBytes().size());
        EXPECT_EQ(
            0, std::memcmp(expected.data(), touch.lastBytes().constData(), expected.size() * sizeof(float)))
            << file.path << ": bit by bit before the upload";

        const Pixels pixels = Pixels::ofTexture(GL_TEXTURE_2D, texture->textureID());
        int differences = 0;
        for (size_t i = 0; i < expected.size(); ++i) {
            const int texel = int(i / 3);
            const float value = pixels.at(texel % pixels.width(), texel / pixels.width())[int(i % 3)];
            const float reachable = std::min(expected[i], 65504.0f);
            const int exponent = std::max(std::ilogb(std::max(reachable, 1e-30f)), -14);
            differences += std::fabs(std::min(value, 65504.0f) - reachable) > std::ldexp(1.0f, exponent - 10);
        }
        EXPECT_EQ(0, differences) << file.path << ": within one unit of half float";
    }
}
