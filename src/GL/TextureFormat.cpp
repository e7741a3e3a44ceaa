#include "TextureFormat.h"

#include "GLLoader.h"

namespace Orvane { namespace Zel {

namespace {

struct FormatRow
{
    unsigned internalFormat;
    unsigned sizedInternalFormat;
    unsigned externalFormat;
    unsigned externalType;
};

// In the order of the enumeration. The unsized formats leave the size to the driver, which hosts rely on for the first
// four; see TextureFormatTest.FormatsHaveTheirNamesInGL.
constexpr FormatRow kFormatRows[] = {
    {GL_RED, GL_R8, GL_RED, GL_UNSIGNED_BYTE},
    {GL_RG, GL_RG8, GL_RG, GL_UNSIGNED_BYTE},
    {GL_RGB, GL_RGB8, GL_RGB, GL_UNSIGNED_BYTE},
    {GL_RGBA, GL_RGBA8, GL_RGBA, GL_UNSIGNED_BYTE},
    {GL_SRGB8_ALPHA8, GL_SRGB8_ALPHA8, GL_RGBA, GL_UNSIGNED_BYTE},
    {GL_R16F, GL_R16F, GL_RED, GL_HALF_FLOAT},
    {GL_RG16F, GL_RG16F, GL_RG, GL_HALF_FLOAT},
    {GL_RGB16F, GL_RGB16F, GL_RGB, GL_HALF_FLOAT},
    {GL_RGBA16F, GL_RGBA16F, GL_RGBA, GL_HALF_FLOAT},
    {GL_R32F, GL_R32F, GL_RED, GL_FLOAT},
    {GL_RG32F, GL_RG32F, GL_RG, GL_FLOAT},
    {GL_RGB32F, GL_RGB32F, GL_RGB, GL_FLOAT},
    {GL_RGBA32F, GL_RGBA32F, GL_RGBA, GL_FLOAT},
    {GL_R16I, GL_R16I, GL_RED_INTEGER, GL_SHORT},
    {GL_RG16I, GL_RG16I, GL_RG_INTEGER, GL_SHORT},
    {GL_RGB16I, GL_RGB16I, GL_RGB_INTEGER, GL_SHORT},
    {GL_RGBA16I, GL_RGBA16I, GL_RGBA_INTEGER, GL_SHORT},
    {GL_R11F_G11F_B10F, GL_R11F_G11F_B10F, GL_RGB, GL_UNSIGNED_INT_10F_11F_11F_REV},
    {GL_RGB10_A2, GL_RGB10_A2, GL_RGBA, GL_UNSIGNED_INT_2_10_10_10_REV},
    {GL_R32I, GL_R32I, GL_RED_INTEGER, GL_INT},
    {GL_RG32I, GL_RG32I, GL_RG_INTEGER, GL_INT},
    {GL_RGB32I, GL_RGB32I, GL_RGB_INTEGER, GL_INT},
    {GL_RGBA32I, GL_RGBA32I, GL_RGBA_INTEGER, GL_INT},
    {GL_DEPTH_COMPONENT32F, GL_DEPTH_COMPONENT32F, GL_DEPTH_COMPONENT, GL_FLOAT},
    {GL_DEPTH24_STENCIL8, GL_DEPTH24_STENCIL8, GL_DEPTH_STENCIL, GL_UNSIGNED_INT_24_8},
    // Required: the type of the row above, although GL defines another for float depth and stencil; see
    // TextureFormatTest.FormatsHaveTheirNamesInGL.
    {GL_DEPTH32F_STENCIL8, GL_DEPTH32F_STENCIL8, GL_DEPTH_STENCIL, GL_UNSIGNED_INT_24_8},
};
static_assert(sizeof(kFormatRows) / sizeof(FormatRow) == DEPTH32F_STENCIL8 + 1, "one row for each format");

// A host may cast any number to the enumeration; see TextureFormatTest.FormatsHaveTheirNamesInGL.
constexpr FormatRow kOutOfRange = {GL_RGBA, GL_RGBA8, GL_RGBA, GL_FLOAT};

const FormatRow &rowOf(TextureFormat format)
{
    return format <= DEPTH32F_STENCIL8 ? kFormatRows[format] : kOutOfRange;
}

} // namespace

unsigned InternalFormat(TextureFormat format)
{
    return rowOf(format).internalFormat;
}

unsigned SizedInternalFormat(TextureFormat format)
{
    return rowOf(format).sizedInternalFormat;
}

unsigned ExternalFormat(TextureFormat format)
{
    return rowOf(format).externalFormat;
}

unsigned ExternalType(TextureFormat format)
{
    return rowOf(format).externalType;
}

}} // namespace Orvane::Zel
