#include "support/MessageCapture.h"

#include <ZelGL/GLUtilities.h>

using FormatUtilitiesTest = MessageTest;

namespace {

struct Row
{
    GLenum internalFormat;
    int bytes;
    GLenum type;
    GLenum format;
};

/// 0 stands where there is no answer.
constexpr Row kRows[] = {
    {GL_UNSIGNED_SHORT, 2, 0, 0},
    {GL_UNSIGNED_INT, 4, 0, 0},
    {GL_RED, 1, GL_UNSIGNED_BYTE, GL_RED},
    {GL_RGB, 3, GL_UNSIGNED_BYTE, GL_RGB},
    {GL_RGBA, 4, GL_UNSIGNED_BYTE, GL_RGBA},
    {GL_RGB8, 3, GL_UNSIGNED_BYTE, GL_RGB},
    {GL_RGB16, 0, GL_UNSIGNED_SHORT, GL_RGB},
    {GL_RGBA8, 4, GL_UNSIGNED_BYTE, GL_RGBA},
    {GL_RGB10_A2, 4, GL_UNSIGNED_INT_2_10_10_10_REV, GL_RGBA},
    {GL_RGBA16, 0, GL_UNSIGNED_SHORT, GL_RGBA},
    {GL_DEPTH_COMPONENT16, 0, GL_UNSIGNED_SHORT, GL_DEPTH_COMPONENT},
    {GL_DEPTH_COMPONENT24, 0, 0, GL_DEPTH_COMPONENT},
    {GL_DEPTH_COMPONENT32, 0, 0, GL_DEPTH_COMPONENT},
    {GL_RG, 2, GL_UNSIGNED_BYTE, GL_RG},
    {GL_R8, 1, GL_UNSIGNED_BYTE, GL_RED},
    {GL_R16, 0, GL_UNSIGNED_SHORT, GL_RED},
    {GL_RG8, 2, GL_UNSIGNED_BYTE, GL_RG},
    {GL_RG16, 0, GL_UNSIGNED_SHORT, GL_RG},
    {GL_R16F, 2, GL_HALF_FLOAT, GL_RED},
    {GL_R32F, 4, GL_FLOAT, GL_RED},
    {GL_RG16F, 4, GL_HALF_FLOAT, GL_RG},
    {GL_RG32F, 8, GL_FLOAT, GL_RG},
    {GL_R16I, 0, GL_SHORT, GL_RED_INTEGER},
    {GL_R16UI, 0, 0, GL_RED_INTEGER},
    {GL_R32I, 4, GL_INT, GL_RED_INTEGER},
    {GL_R32UI, 4, GL_UNSIGNED_INT, GL_RED_INTEGER},
    {GL_RG16I, 0, 0, GL_RG_INTEGER},
    {GL_RG16UI, 0, 0, GL_RG_INTEGER},
    {GL_RG32I, 8, GL_INT, GL_RG_INTEGER},
    {GL_RG32UI, 8, GL_UNSIGNED_INT, GL_RG_INTEGER},
    {GL_DEPTH_STENCIL, 0, 0, GL_DEPTH_STENCIL},
    {GL_RGBA32F, 16, GL_FLOAT, GL_RGBA},
    {GL_RGB32F, 12, GL_FLOAT, GL_RGB},
    {GL_RGBA16F, 8, GL_HALF_FLOAT, GL_RGBA},
    {GL_RGB16F, 6, GL_HALF_FLOAT, GL_RGB},
    {GL_DEPTH24_STENCIL8, 0, 0, GL_DEPTH_STENCIL},
    {GL_R11F_G11F_B10F, 4, GL_HALF_FLOAT, GL_RGB},
    {GL_SRGB, 3, GL_UNSIGNED_BYTE, GL_RGB},
    {GL_SRGB8, 3, GL_UNSIGNED_BYTE, GL_RGB},
    {GL_SRGB_ALPHA, 4, GL_UNSIGNED_BYTE, GL_RGBA},
    {GL_SRGB8_ALPHA8, 4, GL_UNSIGNED_BYTE, GL_RGBA},
    {GL_DEPTH_COMPONENT32F, 0, GL_FLOAT, GL_DEPTH_COMPONENT},
    {GL_DEPTH32F_STENCIL8, 0, 0, GL_DEPTH_STENCIL},
    {GL_RGBA32UI, 16, GL_UNSIGNED_INT, GL_RGBA_INTEGER},
    {GL_RGB32UI, 12, GL_UNSIGNED_INT, GL_RGB_INTEGER},
    {GL_RGBA16UI, 0, 0, GL_RGBA_INTEGER},
    {GL_RGB16UI, 0, 0, GL_RGB_INTEGER},
    {GL_RGBA32I, 16, GL_INT, GL_RGBA_INTEGER},
    {GL_RGB32I, 12, GL_INT, GL_RGB_INTEGER},
    {GL_RGBA16I, 0, 0, GL_RGBA_INTEGER},
    {GL_RGB16I, 0, 0, GL_RGB_INTEGER},
    {GL_COMPRESSED_R11_EAC, 1, GL_UNSIGNED_BYTE, GL_RED},
    {GL_COMPRESSED_SIGNED_R11_EAC, 1, GL_UNSIGNED_BYTE, GL_RED},
    {GL_COMPRESSED_RG11_EAC, 2, GL_UNSIGNED_BYTE, GL_RG},
    {GL_COMPRESSED_SIGNED_RG11_EAC, 2, GL_UNSIGNED_BYTE, GL_RG},
    {GL_COMPRESSED_RGBA8_ETC2_EAC, 4, GL_UNSIGNED_BYTE, GL_RGBA},
    {GL_COMPRESSED_SRGB8_ALPHA8_ETC2_EAC, 4, GL_UNSIGNED_BYTE, GL_RGBA},
};

QString refusal(const char *function, GLenum value)
{
    return QString::asprintf("critical %s() does not implement yet : 0x%04X", function, value);
}

} // namespace

TEST_F(FormatUtilitiesTest, EveryFormatHasItsAnswersAndEveryGapIsReported)
{
    for (const Row &row : kRows) {
        std::vector<ExpectedMessage> refusals;
        if (row.bytes == 0) {
            refusals.push_back(refusal("bytesFromInternalFormat", row.internalFormat));
        }
        if (row.type == 0) {
            refusals.push_back(refusal("typeFromInternalFormat", row.internalFormat));
        }
        if (row.format == 0) {
            refusals.push_back(refusal("formatFromInternalFormat", row.internalFormat));
        }
        EXPECT_EQ(row.bytes, bytesFromInternalFormat(row.internalFormat)) << std::hex << row.internalFormat;
        EXPECT_EQ(row.type, typeFromInternalFormat(row.internalFormat)) << std::hex << row.internalFormat;
        EXPECT_EQ(row.format, formatFromInternalFormat(row.internalFormat)) << std::hex << row.internalFormat;
        EXPECT_TRUE(takeMessages(refusals));
    }
}

TEST_F(FormatUtilitiesTest, NoOtherValueHasAnAnswer)
{
    size_t answered = 0;
    for (GLenum value = 0; value <= 0x10000; ++value) {
        const bool any = bytesFromInternalFormat(value) != 0 || typeFromInternalFormat(value) != 0
                         || formatFromInternalFormat(value) != 0;
        answered += any ? 1 : 0;
        _capture.take();
    }
    EXPECT_EQ(std::size(kRows), answered);
    EXPECT_EQ(0, bytesFromInternalFormat(0x12));
    EXPECT_MESSAGES("critical bytesFromInternalFormat() does not implement yet : 0x0012");
}
