#include <ZelGL/GLUtilities.h>
#include <ZelGL/TextureFormat.h>

#include <gtest/gtest.h>

#include <map>

using namespace Orvane::Zel;

TEST(TextureFormatTest, FormatsHaveTheirNamesInGL)
{
    // clang-format off
    const unsigned int sized[] = {
        GL_R8, GL_RG8, GL_RGB8, GL_RGBA8, GL_SRGB8_ALPHA8,
        GL_R16F, GL_RG16F, GL_RGB16F, GL_RGBA16F, GL_R32F, GL_RG32F, GL_RGB32F, GL_RGBA32F,
        GL_R16I, GL_RG16I, GL_RGB16I, GL_RGBA16I, GL_R11F_G11F_B10F, GL_RGB10_A2,
        GL_R32I, GL_RG32I, GL_RGB32I, GL_RGBA32I,
        GL_DEPTH_COMPONENT32F, GL_DEPTH24_STENCIL8, GL_DEPTH32F_STENCIL8};
    // clang-format on
    const unsigned int unsizedNames[] = {GL_RED, GL_RG, GL_RGB, GL_RGBA};
    const std::map<unsigned int, unsigned int> typesOfTheirOwn = {
        // others are as in the tables of formats
        {RG16I, GL_SHORT},
        {RGB16I, GL_SHORT},
        {RGBA16I, GL_SHORT},
        {R11FG11FB10F, GL_UNSIGNED_INT_10F_11F_11F_REV},
        {DEPTH24_STENCIL8, GL_UNSIGNED_INT_24_8},
        {DEPTH32F_STENCIL8, GL_UNSIGNED_INT_24_8}}; // required: the type of the fixed-point format
    for (unsigned int value = R; value <= DEPTH32F_STENCIL8; ++value) {
        const auto format = TextureFormat(value);
        const auto type = typesOfTheirOwn.find(value);
        EXPECT_EQ(sized[value], SizedInternalFormat(format));
        EXPECT_EQ(value <= RGBA ? unsizedNames[value] : sized[value], InternalFormat(format));
        EXPECT_EQ(formatFromInternalFormat(InternalFormat(format)), ExternalFormat(format)) << value;
        EXPECT_EQ(type != typesOfTheirOwn.end() ? type->second
                                                : typeFromInternalFormat(InternalFormat(format)),
                  ExternalType(format))
            << value;
    }
    for (const auto format : {TextureFormat(26), TextureFormat(0xFFFFFFFFu)}) { // outside the vocabulary
        EXPECT_EQ(unsigned(GL_RGBA), InternalFormat(format));
        EXPECT_EQ(unsigned(GL_RGBA8), SizedInternalFormat(format));
        EXPECT_EQ(unsigned(GL_RGBA), ExternalFormat(format));
        EXPECT_EQ(unsigned(GL_FLOAT), ExternalType(format));
    }
}
