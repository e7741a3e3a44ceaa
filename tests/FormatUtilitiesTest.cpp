#include "support/MessageCapture.h"

#include <ZelGL/GLUtilities.h>

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
        EXPECT_EQ(row.format, Orvane::Zel::formatFromInternalFormat(value)) << std::hex << value;
        EXPECT_TRUE(takeMessages(refusals));
    }
}
