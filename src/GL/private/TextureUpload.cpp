#include "TextureUpload.h"

#include "../GLUtilities.h"
#include "GLValues.h"

#include <algorithm>
#include <limits>

namespace Orvane { namespace Zel {

namespace {

constexpr quint64 kUnpackAlignment = 4; // GL's default, and the padding of rows in KTX files

int componentsOf(GLenum format)
{
    switch (format) {
    case GL_RED:
    case GL_GREEN:
    case GL_BLUE:
    case GL_ALPHA:
    case GL_RED_INTEGER:
    case GL_GREEN_INTEGER:
    case GL_BLUE_INTEGER:
    case GL_DEPTH_COMPONENT:
    case GL_STENCIL_INDEX:
    case 0x1909: // GL_LUMINANCE, of the compatibility profile
        return 1;
    case GL_RG:
    case GL_RG_INTEGER:
    case GL_DEPTH_STENCIL:
    case 0x190A: // GL_LUMINANCE_ALPHA, of the compatibility profile
        return 2;
    case GL_RGB:
    case GL_BGR:
    case GL_RGB_INTEGER:
    case GL_BGR_INTEGER:
        return 3;
    default: // the largest: an unknown format must not make the size too small
        return 4;
    }
}

/// Returns the size of a component, or of the whole texel for a packed type. Sets \a packed.
int bytesOfType(GLenum type, bool &packed)
{
    packed = true;
    switch (type) {
    case GL_UNSIGNED_BYTE_3_3_2:
    case GL_UNSIGNED_BYTE_2_3_3_REV:
        return 1;
    case GL_UNSIGNED_SHORT_5_6_5:
    case GL_UNSIGNED_SHORT_5_6_5_REV:
    case GL_UNSIGNED_SHORT_4_4_4_4:
    case GL_UNSIGNED_SHORT_4_4_4_4_REV:
    case GL_UNSIGNED_SHORT_5_5_5_1:
    case GL_UNSIGNED_SHORT_1_5_5_5_REV:
        return 2;
    case GL_UNSIGNED_INT_8_8_8_8:
    case GL_UNSIGNED_INT_8_8_8_8_REV:
    case GL_UNSIGNED_INT_10_10_10_2:
    case GL_UNSIGNED_INT_2_10_10_10_REV:
    case GL_UNSIGNED_INT_24_8:
    case GL_UNSIGNED_INT_10F_11F_11F_REV:
    case GL_UNSIGNED_INT_5_9_9_9_REV:
        return 4;
    case GL_FLOAT_32_UNSIGNED_INT_24_8_REV:
        return 8;
    default:
        break;
    }
    packed = false;
    switch (type) {
    case GL_BYTE:
    case GL_UNSIGNED_BYTE:
        return 1;
    case GL_SHORT:
    case GL_UNSIGNED_SHORT:
    case GL_HALF_FLOAT:
        return 2;
    case GL_INT:
    case GL_UNSIGNED_INT:
    case GL_FLOAT:
        return 4;
    default: // the largest, for the same reason
        return 8;
    }
}

// Both saturate: the sizes come from files, and a sum that wraps around would pass the check against the file's length.

quint64 product(quint64 a, quint64 b)
{
    constexpr quint64 most = std::numeric_limits<quint64>::max();
    return b != 0 && a > most / b ? most : a * b;
}

quint64 sum(quint64 a, quint64 b)
{
    constexpr quint64 most = std::numeric_limits<quint64>::max();
    return a > most - b ? most : a + b;
}

} // namespace

// An error of an earlier call of the host would count as a failure of the upload.
void clearPendingGLErrors()
{
    constexpr int kMaxErrors = 10; // a lost context has an error at every query
    for (int i = 0; i < kMaxErrors && glGetError() != GL_NO_ERROR; ++i) {}
}

quint32 longestTextureSide()
{
    return static_cast<quint32>(std::max(integerFromGL(GL_MAX_TEXTURE_SIZE), 0));
}

void setTextureAnisotropy(unsigned int target, qint32 anisotropy)
{
    if (anisotropy <= 0 || !hasGLExtension("GL_EXT_texture_filter_anisotropic")) {
        return;
    }
    GLfloat most = 0.0f;
    glGetFloatv(GL_MAX_TEXTURE_MAX_ANISOTROPY, &most);
    glTexParameterf(target, GL_TEXTURE_MAX_ANISOTROPY, std::min(most, static_cast<GLfloat>(anisotropy)));
}

quint64 bytesOfUpload(unsigned int format, unsigned int type, quint64 width, quint64 rows)
{
    if (width == 0 || rows == 0) {
        return 0;
    }
    bool packed = false;
    const int typeBytes = bytesOfType(type, packed);
    const quint64 texel = static_cast<quint64>(packed ? typeBytes : typeBytes * componentsOf(format));
    const quint64 row = product(texel, width);
    const quint64 stride = sum(row, kUnpackAlignment - 1) / kUnpackAlignment * kUnpackAlignment;
    return sum(product(stride, rows - 1), row);
}

}} // namespace Orvane::Zel
