#include <ZelGL/GLUtilities.h>
#include <ZelGL/TextureFormat.h>

#include <gtest/gtest.h>

using namespace Orvane::Zel;

TEST(TextureFormatTest, OnlyTheFirstFourFormatsHaveAnUnsizedName)
{
    const unsigned int sized[] = {GL_R8, GL_RG8, GL_RGB8, GL_RGBA8};
    const unsigned int unsizedNames[] = {GL_RED, GL_RG, GL_RGB, GL_RGBA};
    for (unsigned int value = R; value <= DEPTH32F_STENCIL8; ++value) {
        const auto format = TextureFormat(value);
        EXPECT_EQ(value <= RGBA ? sized[value] : InternalFormat(format), SizedInternalFormat(format))
            << value;
        if (value <= RGBA) {
            EXPECT_EQ(unsizedNames[value], InternalFormat(format));
        }
    }
}

TEST(TextureFormatTest, TransferFormatsAgreeWithTheFormatTables)
{
    for (unsigned int value = R; value <= DEPTH32F_STENCIL8; ++value) {
        const auto format = TextureFormat(value);
        EXPECT_EQ(formatFromInternalFormat(InternalFormat(format)), ExternalFormat(format)) << value;
        switch (format) {
        case RG16I: // without a type in those tables
        case RGB16I:
        case RGBA16I:
            EXPECT_EQ(unsigned(GL_SHORT), ExternalType(format));
            break;
        case R11FG11FB10F:
            EXPECT_EQ(unsigned(GL_UNSIGNED_INT_10F_11F_11F_REV), ExternalType(format));
            break;
        case DEPTH24_STENCIL8:
        case DEPTH32F_STENCIL8: // of the fixed-point type on purpose
            EXPECT_EQ(unsigned(GL_UNSIGNED_INT_24_8), ExternalType(format));
            break;
        default:
            EXPECT_EQ(typeFromInternalFormat(InternalFormat(format)), ExternalType(format)) << value;
            break;
        }
    }
}

TEST(TextureFormatTest, ValuesOutsideTheVocabularyAreRGBAWithFloats)
{
    for (const auto format : {TextureFormat(26), TextureFormat(0xFFFFFFFFu)}) {
        EXPECT_EQ(unsigned(GL_RGBA), InternalFormat(format));
        EXPECT_EQ(unsigned(GL_RGBA8), SizedInternalFormat(format));
        EXPECT_EQ(unsigned(GL_RGBA), ExternalFormat(format));
        EXPECT_EQ(unsigned(GL_FLOAT), ExternalType(format));
    }
}
