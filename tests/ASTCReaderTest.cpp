#include "support/FileMaker.h"
#include "support/GLFixture.h"
#include "support/ReaderUnderTest.h"
#include "support/StateGuard.h"
#include "support/Tap.h"
#include "support/TextureParameter.h"

#include <ZelGL/ASTCReader.h>

#include <QtGui/QOpenGLFunctions_3_2_Core>

using namespace Orvane::Zel;

namespace {

using Reader = ReaderUnderTest<ASTCRecogniser>;
using ASTCReaderTest = GLTest;
using ASTCHeaderTest = MessageTest;

AstcFile image(unsigned char blockWidth, unsigned char blockHeight, quint32 width, quint32 height)
{
    AstcFile file;
    file.block = {blockWidth, blockHeight, 1};
    file.size = {width, height, 1};
    return file;
}

} // namespace

TEST_F(ASTCHeaderTest, TheFileHasTheMagicAndTheLengthOfItsBlocks)
{
    const QByteArray file = image(4, 4, 5, 16).addBlocks().bytes(); // two by four blocks
    const Reader reader(file);
    EXPECT_TRUE(reader.valid());
    EXPECT_TRUE(reader->isCompressed());
    EXPECT_EQ(5u, reader->width());
    EXPECT_FALSE(Reader(file.chopped(1)).valid());
    EXPECT_FALSE(Reader(file + '\0').valid());
    const Reader large(image(12, 12, 0x010203, 0x040506).bytes());
    EXPECT_EQ(0x010203u, large->width());
    EXPECT_EQ(0x040506u, large->height());
    EXPECT_FALSE(large.valid());

    EXPECT_EQ(nullptr, Reader(file.left(3)).get());
    EXPECT_EQ(nullptr, Reader(QByteArray(file).replace(0, 1, "x")).get());
    const Reader magicAlone(file.left(4));
    ASSERT_NE(nullptr, magicAlone.get());
    EXPECT_FALSE(magicAlone->valid());
    EXPECT_EQ(0u, magicAlone->width());
    EXPECT_EQ(nullptr, magicAlone.load(TextureFileInfo()));
    for (int side = 4; side < 7; ++side) {
        EXPECT_FALSE(Reader(QByteArray(file).replace(side, 1, QByteArray(1, '\0'))).valid())
            << "a block without a size";
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
            const Reader reader(image(width, height, 1, 1).addBlocks().bytes());
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
    driver()->glPixelStorei(GL_UNPACK_ALIGNMENT, 2);
    const StateGuard guard;
    const Tap<&glCompressedTexImage2D> uploads;
    const auto texture = Reader(file).load(TextureFileInfo());
    ASSERT_NE(nullptr, texture);
    EXPECT_EQ(QStringList(), guard.changes().filter("UNPACK") + guard.changes().filter("TEXTURE_BINDING"));
    driver()->glPixelStorei(GL_UNPACK_ALIGNMENT, 4);
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
    const auto remapped = Reader(file).load(info);
    EXPECT_TRUE(pixelsOf(*remapped).isNear(0, 0, {0.5f, 1.0f, 0.75f, 1.0f}, 0.01f));
}

TEST_F(ASTCReaderTest, WhatGLRefusesIsLeftToItsDebugOutput)
{
    const auto texture = Reader(image(6, 4, 8, 8).addBlocks().bytes()).load(TextureFileInfo());
    EXPECT_NE(nullptr, texture);
    EXPECT_EQ(1, TestContext::takeDriverReports().size());
    EXPECT_EQ(std::vector<GLenum>{GL_INVALID_ENUM}, takeGLErrors()) << "the reader does not ask";

    Tap<&glCompressedTexImage2D> uploads;
    uploads.replace([](auto...) {});
    EXPECT_NE(nullptr, Reader(image(12, 12, 0x80000, 1).addBlocks().bytes()).load(TextureFileInfo()));
    EXPECT_EQ(-1, uploads.last<3>()) << "a size that no driver takes";
    EXPECT_EQ(1, uploads.last<4>());
}
