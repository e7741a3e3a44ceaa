#include "ZelviewRun.h"

#include "../support/FileMaker.h"

#include <gtest/gtest.h>

namespace {

/// Four rows of four RGB8 texels, in quarters as in fourColours(), the red one in the first rows.
QByteArray fourColourTexels()
{
    QByteArray texels;
    for (int y = 0; y < 4; ++y) {
        for (int x = 0; x < 4; ++x) {
            const char *const colors[] = {"\xc8\0\0", "\0\xc8\0", "\0\0\xc8", "\xff\xff\xff"};
            texels += QByteArray(colors[(y / 2) * 2 + x / 2], 3);
        }
    }
    return texels;
}

KtxFile rgbFile(quint32 size)
{
    return KtxFile::of(size, size, 0, 0x8051, GL_RGB); // GL_RGB8
}

/// size x size texels of one colour.
QByteArray solidTexels(int size, int red, int green, int blue)
{
    const char texel[] = {char(red), char(green), char(blue)};
    return QByteArray(texel, 3).repeated(size * size);
}

class ZelviewImageTest : public ZelviewPictureTest
{
};

TEST_F(ZelviewImageTest, APlainImageOfTheSizeOfThePictureComesOutExactly)
{
    QImage noise(61, 37, QImage::Format_RGB32);
    for (int i = 0; i < noise.width() * noise.height(); ++i) {
        noise.setPixelColor(i % 61, i / 61, QColor(i * 7 % 256, i * 13 % 256, i * 29 % 256));
    }
    const QString file = _files.path("noise.png");
    ASSERT_TRUE(noise.save(file));
    EXPECT_EQ(difference(picture({file, "--size", "61x37"}), noise), 0);
    EXPECT_TRUE(line("image").startsWith("image     2D, 61x37, 5 levels, GL_RGBA"))
        << qPrintable(_last.output);
    EXPECT_TRUE(line("image").contains(", loaded in ")) << qPrintable(_last.output);
}

TEST_F(ZelviewImageTest, KtxImagesAreUprightByTheirMetadata)
{
    KtxFile file = rgbFile(4);
    file.levels.append({48, fourColourTexels()});
    const struct
    {
        QByteArray metadata;
        std::vector<int> quarters;
    } kCases[] = {
        {"", {0, 1, 2, -1}},
        {KtxFile::paddedEntry("KTXorientation", QByteArray("S=r,T=d\0", 8)), {0, 1, 2, -1}},
        {KtxFile::paddedEntry("KTXorientation", QByteArray("S=r,T=u\0", 8)), {2, -1, 0, 1}},
        {KtxFile::paddedEntry("Some", QByteArray("T=u\0", 4)), {0, 1, 2, -1}},
    };
    for (const auto &oriented : kCases) {
        SCOPED_TRACE(oriented.metadata.constData());
        file.keyValues = oriented.metadata;
        const QString path = _files.write("four.ktx", file.bytes());
        EXPECT_EQ(quarters(picture({path, "--size", "80x80"})), oriented.quarters);
    }
    EXPECT_EQ(line("metadata"), "metadata  Some");
}

TEST_F(ZelviewImageTest, ACubeMapIsAStripOfItsFacesAndOneFaceCanBeShownAlone)
{
    KtxFile file = rgbFile(4);
    file.faces = 6;
    QByteArray faces;
    for (int face = 0; face < 6; ++face) {
        faces += face == 4 ? fourColourTexels() : solidTexels(4, 40 * face, 0, 200);
    }
    file.levels.append({48, faces});
    const QString path = _files.write("cube.ktx", file.bytes());

    const QImage strip = picture({path, "--size", "240x40"});
    EXPECT_TRUE(line("image").startsWith("image     cube map, 4x4, 1 level, GL_RGB8"));
    for (int face = 0; face < 6; ++face) {
        if (face != 4) {
            EXPECT_EQ(strip.pixelColor(40 * face + 20, 20), QColor(40 * face, 0, 200));
        }
    }
    EXPECT_EQ(quarters(strip.copy(160, 0, 40, 40)), kFourColours);
    EXPECT_EQ(quarters(picture({path, "--face", "4", "--size", "40x40"})), kFourColours);
}

TEST_F(ZelviewImageTest, LevelsCanBeChosen)
{
    KtxFile file = rgbFile(4);
    file.mipmapLevels = 3;
    file.levels.append({48, solidTexels(4, 200, 0, 0)});
    file.levels.append({16, solidTexels(2, 0, 200, 0) + QByteArray(4, '\0')}); // rows of 6 bytes, padded to 8
    file.levels.append({4, solidTexels(1, 0, 0, 200) + QByteArray(1, '\0')});
    const QString path = _files.write("levels.ktx", file.bytes());
    for (int level = 0; level < 3; ++level) {
        const QImage image = picture({path, "--level", QString::number(level), "--size", "32x32"});
        EXPECT_EQ(leadingChannel(image.pixelColor(4, 4)), level);
        EXPECT_TRUE(line("view").startsWith(QString("view      level %1, %2x%2").arg(level).arg(4 >> level)));
    }
}

TEST_F(ZelviewImageTest, ExposureBrightensLightAndHighlightsKeepTheirShape)
{
    HdrFile file(4, 2);
    for (int row = 0; row < 2; ++row) {
        const unsigned char value = row == 0 ? 64 : 128; // 0.25 and, three powers of two up, 4
        const unsigned char exponent = row == 0 ? 128 : 131;
        file.scanlines += HdrFile::flat(HdrFile::Row(4, HdrFile::Texel{value, value, value, exponent}));
    }
    const QString path = _files.write("light.hdr", file.bytes());
    const auto upper = [&](const char *exposure) {
        const QImage image = picture({path, "--exposure", exposure, "--size", "40x20"});
        EXPECT_LT(image.pixelColor(20, 15).red(), 256);
        EXPECT_GT(image.pixelColor(20, 15).red(), image.pixelColor(20, 5).red()); // at most one is white
        return image.pixelColor(20, 5).red();
    };
    EXPECT_NEAR(upper("0"), 137, 1); // sRGB of 0.25
    EXPECT_NEAR(upper("1"), 188, 1); // of 0.5
    EXPECT_NEAR(upper("-2"), 71, 1); // of 0.0625
}

TEST_F(ZelviewImageTest, TransparentPartsShowACheckerboard)
{
    QImage glass(32, 32, QImage::Format_ARGB32);
    glass.fill(QColor(255, 0, 0, 0));
    const QString file = _files.path("glass.png");
    ASSERT_TRUE(glass.save(file));
    const QImage image = picture({file, "--size", "32x32"});
    const QColor one = image.pixelColor(4, 4);
    const QColor other = image.pixelColor(12, 4);
    EXPECT_EQ(one.red(), one.blue());
    EXPECT_GT(std::abs(one.red() - other.red()), 20);
}

TEST_F(ZelviewImageTest, ImagesThatCannotBeShownPrintOneLine)
{
    const QString sound = _files.write("sound.png", fourColours());
    KtxFile array = rgbFile(4);
    array.arrayElements = 2;
    array.addLevel(48, 2);
    KtxFile flat = rgbFile(4);
    flat.width = 0;
    flat.addLevel(48);
    HdrFile overlong(8, 1);
    overlong.scanlines = QByteArray("\2\2\0\10\377\1", 6);
    const QString model = _files.writeWall("wall.obj", 1, 1);
    const std::vector<Refusal> refusals = {
        {{_files.write("cut.png", fourColours().left(40))}, 3, "cut.png' cannot be shown: "},
        {{_files.write("array.ktx", array.bytes())},
         3,
         "cannot be shown: Array textures not supported yet, sorry!"},
        {{_files.write("flat.ktx", flat.bytes())}, 3, "flat.ktx' cannot be shown: "},
        {{_files.write("cut.ktx", rgbFile(4).bytes().left(40))}, 3, "cannot be shown: its data are damaged"},
        {{_files.write("cut.hdr", "#?RADIANCE\n")}, 3, "cannot be shown: its data are damaged"},
        {{_files.write("cut.astc", AstcFile().addBlocks().bytes().left(20))},
         3,
         "cannot be shown: its data are damaged"},
        {{_files.write("run.hdr", overlong.bytes())},
         3,
         "RLE run starting at 0 ends at 127, but width is only 8"},
        {{sound, "--level", "5"}, 1, "there is no level 5: '" + sound + "' has 5, counted from 0"},
        {{sound, "--face", "1"}, 1, "there is no face 1"},
        {{sound, "--exposure", "bright"}, 1, "--exposure takes a number"},
        {{sound, "--view", "0,0"}, 1, "--view applies to models"},
        {{model, "--level", "0"}, 1, "--level applies to images"},
    };
    expectRefusals(refusals, {"--offscreen", _files.path("out.png")});
}

} // namespace
