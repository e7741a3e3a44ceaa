#include "support/MessageCapture.h"

#include <ZelGL/GLUtilities.h>
#include <ZelGL/TextureFormat.h>

#include <map>

using namespace Orvane::Zel;
using FormatUtilitiesTest = MessageTest;

TEST_F(FormatUtilitiesTest, FormatPropertiesAreKnownAndEveryGapIsReported)
{
    const struct
    {
        GLenum internalFormat;
        int bytes; ///< 0 if the function reports an unknown format
        GLenum type;
        GLenum format;
    } rows[] = {
        {GL_RED, 1, GL_UNSIGNED_BYTE, GL_RED},
        {GL_RGB10_A2, 4, GL_UNSIGNED_INT_2_10_10_10_REV, GL_RGBA},
        {GL_SRGB8_ALPHA8, 4, GL_UNSIGNED_BYTE, GL_RGBA},
        {GL_RG32UI, 8, GL_UNSIGNED_INT, GL_RG_INTEGER},
        {GL_RGB16F, 6, GL_HALF_FLOAT, GL_RGB},
        {GL_RGBA32F, 16, GL_FLOAT, GL_RGBA},
        {GL_R11F_G11F_B10F, 4, GL_HALF_FLOAT, GL_RGB}, // the type of the components
        {GL_COMPRESSED_RG11_EAC, 2, GL_UNSIGNED_BYTE, GL_RG},
        {GL_UNSIGNED_SHORT, 2, 0, 0}, // index types have a size only
        {GL_UNSIGNED_INT, 4, 0, 0},
        {GL_RGBA16, 0, GL_UNSIGNED_SHORT, GL_RGBA},
        {GL_R16I, 0, GL_SHORT, GL_RED_INTEGER},
        {GL_R16UI, 0, 0, GL_RED_INTEGER},
        {GL_DEPTH_COMPONENT24, 0, 0, GL_DEPTH_COMPONENT},
        {GL_DEPTH_COMPONENT32F, 0, GL_FLOAT, GL_DEPTH_COMPONENT},
        {GL_DEPTH24_STENCIL8, 0, 0, GL_DEPTH_STENCIL},
        {0x12, 0, 0, 0},
    };
    for (const auto &row : rows) {
        const GLenum value = row.internalFormat;
        std::vector<ExpectedMessage> refusals;
        for (const auto &[result, function] : {std::pair(GLenum(row.bytes), "bytesFromInternalFormat"),
                                               {row.type, "typeFromInternalFormat"},
                                               {row.format, "formatFromInternalFormat"}}) {
            if (result == 0) {
                refusals.emplace_back(
                    QString::asprintf("critical %s() does not implement yet : 0x%04X", function, value));
            }
        }
        EXPECT_EQ(row.bytes, bytesFromInternalFormat(value)) << std::hex << value;
        EXPECT_EQ(row.type, typeFromInternalFormat(value)) << std::hex << value;
        EXPECT_EQ(row.format, formatFromInternalFormat(value)) << std::hex << value;
        EXPECT_TRUE(takeMessages(refusals));
    }
}

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
