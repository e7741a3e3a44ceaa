#include "image/TextureFacts.h"

#include "file/Counted.h"

#include <ZelGL/ZelGL.h>

#include <algorithm>
#include <cstring>
#include <iterator>

using namespace Orvane::Zel;

namespace zeltools {

namespace {

constexpr int kMaxLevels = 32;

struct FormatName
{
    unsigned int format;
    const char *name;
};

// GL numbers the block sizes of ASTC consecutively, in both colour spaces.
constexpr unsigned int kFirstAstc = GL_COMPRESSED_RGBA_ASTC_4x4_KHR;
constexpr unsigned int kFirstAstcSRGB = GL_COMPRESSED_SRGB8_ALPHA8_ASTC_4x4_KHR;
constexpr const char *kAstcBlocks[] = {"4x4", "5x4",  "5x5",  "6x5",  "6x6",   "8x5",   "8x6",
                                       "8x8", "10x5", "10x6", "10x8", "10x10", "12x10", "12x12"};

#define NAMED(format)                                                                                        \
    FormatName                                                                                               \
    {                                                                                                        \
        format, #format                                                                                      \
    }
constexpr FormatName kFormatNames[] = {NAMED(GL_RED),
                                       NAMED(GL_RG),
                                       NAMED(GL_RGB),
                                       NAMED(GL_RGBA),
                                       NAMED(GL_R8),
                                       NAMED(GL_RG8),
                                       NAMED(GL_RGB8),
                                       NAMED(GL_RGBA8),
                                       NAMED(GL_R16),
                                       NAMED(GL_RG16),
                                       NAMED(GL_RGB16),
                                       NAMED(GL_RGBA16),
                                       NAMED(GL_R8_SNORM),
                                       NAMED(GL_RG8_SNORM),
                                       NAMED(GL_RGB8_SNORM),
                                       NAMED(GL_RGBA8_SNORM),
                                       NAMED(GL_R16F),
                                       NAMED(GL_RG16F),
                                       NAMED(GL_RGB16F),
                                       NAMED(GL_RGBA16F),
                                       NAMED(GL_R32F),
                                       NAMED(GL_RG32F),
                                       NAMED(GL_RGB32F),
                                       NAMED(GL_RGBA32F),
                                       NAMED(GL_R11F_G11F_B10F),
                                       NAMED(GL_RGB9_E5),
                                       NAMED(GL_RGB10_A2),
                                       NAMED(GL_RGB565),
                                       NAMED(GL_RGBA4),
                                       NAMED(GL_RGB5_A1),
                                       NAMED(GL_SRGB8),
                                       NAMED(GL_SRGB8_ALPHA8),
                                       NAMED(GL_SRGB),
                                       NAMED(GL_SRGB_ALPHA),
                                       NAMED(GL_COMPRESSED_RGB_S3TC_DXT1_EXT),
                                       NAMED(GL_COMPRESSED_RGBA_S3TC_DXT1_EXT),
                                       NAMED(GL_COMPRESSED_RGBA_S3TC_DXT3_EXT),
                                       NAMED(GL_COMPRESSED_RGBA_S3TC_DXT5_EXT),
                                       NAMED(GL_COMPRESSED_SRGB_S3TC_DXT1_EXT),
                                       NAMED(GL_COMPRESSED_SRGB_ALPHA_S3TC_DXT1_EXT),
                                       NAMED(GL_COMPRESSED_SRGB_ALPHA_S3TC_DXT3_EXT),
                                       NAMED(GL_COMPRESSED_SRGB_ALPHA_S3TC_DXT5_EXT),
                                       NAMED(GL_COMPRESSED_RED_RGTC1),
                                       NAMED(GL_COMPRESSED_SIGNED_RED_RGTC1),
                                       NAMED(GL_COMPRESSED_RG_RGTC2),
                                       NAMED(GL_COMPRESSED_SIGNED_RG_RGTC2),
                                       NAMED(GL_COMPRESSED_RGBA_BPTC_UNORM),
                                       NAMED(GL_COMPRESSED_SRGB_ALPHA_BPTC_UNORM),
                                       NAMED(GL_COMPRESSED_RGB_BPTC_SIGNED_FLOAT),
                                       NAMED(GL_COMPRESSED_RGB_BPTC_UNSIGNED_FLOAT),
                                       NAMED(GL_COMPRESSED_R11_EAC),
                                       NAMED(GL_COMPRESSED_SIGNED_R11_EAC),
                                       NAMED(GL_COMPRESSED_RG11_EAC),
                                       NAMED(GL_COMPRESSED_SIGNED_RG11_EAC),
                                       NAMED(GL_COMPRESSED_RGB8_ETC2),
                                       NAMED(GL_COMPRESSED_SRGB8_ETC2),
                                       NAMED(GL_COMPRESSED_RGB8_PUNCHTHROUGH_ALPHA1_ETC2),
                                       NAMED(GL_COMPRESSED_SRGB8_PUNCHTHROUGH_ALPHA1_ETC2),
                                       NAMED(GL_COMPRESSED_RGBA8_ETC2_EAC),
                                       NAMED(GL_COMPRESSED_SRGB8_ALPHA8_ETC2_EAC)};
#undef NAMED

const FormatName *findFormat(unsigned int internalFormat)
{
    const auto *row = std::find_if(std::begin(kFormatNames), std::end(kFormatNames),
                                   [&](const FormatName &name) { return name.format == internalFormat; });
    return row != std::end(kFormatNames) ? row : nullptr;
}

bool isAstcSRGB(unsigned int internalFormat)
{
    return internalFormat >= kFirstAstcSRGB && internalFormat < kFirstAstcSRGB + std::size(kAstcBlocks);
}

bool isSRGB(unsigned int internalFormat)
{
    const FormatName *row = findFormat(internalFormat);
    return isAstcSRGB(internalFormat) || (row != nullptr && std::strstr(row->name, "SRGB") != nullptr);
}

TextureFacts::Kind kindOf(const Texture &texture, unsigned int internalFormat)
{
    switch (texture.getTexLevelParameteriv(0, GL_TEXTURE_RED_TYPE)) {
    case GL_FLOAT:
        return TextureFacts::eFloat;
    case GL_INT:
    case GL_UNSIGNED_INT:
        return TextureFacts::eInteger;
    default:
        return isSRGB(internalFormat) ? TextureFacts::eLinear : TextureFacts::eEncoded;
    }
}

QString targetName(unsigned int target)
{
    switch (target) {
    case GL_TEXTURE_1D:
        return QStringLiteral("1D");
    case GL_TEXTURE_3D:
        return QStringLiteral("3D");
    case GL_TEXTURE_CUBE_MAP:
        return QStringLiteral("cube map");
    default:
        return QStringLiteral("2D");
    }
}

int halved(int size, int times)
{
    return std::max(size >> times, 1);
}

} // namespace

TextureFacts TextureFacts::of(Texture &texture)
{
    TextureFacts facts;
    const AutoBinder bound(&texture);
    facts.target = texture.target();
    facts.size = QSize(texture.width(0), std::max(texture.height(0), 1));
    facts.depth = std::max(texture.depth(0), 1);
    facts.internalFormat = unsigned(texture.internalFormat(0));
    facts.kind = kindOf(texture, facts.internalFormat);
    facts.isGrey = texture.getTexLevelParameteriv(0, GL_TEXTURE_GREEN_SIZE) == 0;
    while (facts.levels < kMaxLevels && texture.width(facts.levels) > 0) {
        ++facts.levels;
    }
    return facts;
}

QSize TextureFacts::sizeAt(int level) const
{
    return {halved(size.width(), level), halved(size.height(), level)};
}

int TextureFacts::depthAt(int level) const
{
    return halved(depth, level);
}

QString TextureFacts::toString() const
{
    QString shape = QString::number(size.width());
    if (target != GL_TEXTURE_1D) {
        shape += QStringLiteral("x%1").arg(size.height());
    }
    if (target == GL_TEXTURE_3D) {
        shape += QStringLiteral("x%1").arg(depth);
    }
    return QStringLiteral("%1, %2, %3, %4")
        .arg(targetName(target), shape, counted(levels, "level", "levels"), formatName(internalFormat));
}

QString formatName(unsigned int internalFormat)
{
    if (const FormatName *row = findFormat(internalFormat)) {
        return QLatin1String(row->name);
    }
    if (isAstcSRGB(internalFormat)) {
        return QStringLiteral("GL_COMPRESSED_SRGB8_ALPHA8_ASTC_%1_KHR")
            .arg(QLatin1String(kAstcBlocks[internalFormat - kFirstAstcSRGB]));
    }
    if (internalFormat >= kFirstAstc && internalFormat < kFirstAstc + std::size(kAstcBlocks)) {
        return QStringLiteral("GL_COMPRESSED_RGBA_ASTC_%1_KHR")
            .arg(QLatin1String(kAstcBlocks[internalFormat - kFirstAstc]));
    }
    return QStringLiteral("0x%1").arg(internalFormat, 4, 16, QLatin1Char('0'));
}

} // namespace zeltools
