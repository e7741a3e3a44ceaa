#pragma once

#include "Export.h"

namespace Orvane { namespace Zel {

/// The library's own short vocabulary of texture formats, for scratch textures,
/// passes, data textures and baked environments.
///
/// \snippet textures.cpp TextureFormat
///
/// Units:   the number behind a letter is bits per channel; none means 8, normalised.
///          F is floating point, I is signed integer.
/// Context: none is needed.
/// Errors:  none are reported; a value outside the vocabulary is answered with RGBA,
///          and GL_FLOAT for its type.
/// Source:  OpenGL 3.2 core, texture image specification.
enum TextureFormat : unsigned int {
    R,
    RG,
    RGB,
    RGBA,
    SRGB8A8,
    R16F,
    RG16F,
    RGB16F,
    RGBA16F,
    R32F,
    RG32F,
    RGB32F,
    RGBA32F,
    R16I,
    RG16I,
    RGB16I,
    RGBA16I,
    R11FG11FB10F,
    RGB10A2,
    R32I,
    RG32I,
    RGB32I,
    RGBA32I,
    DEPTH32F,
    DEPTH24_STENCIL8,
    DEPTH32F_STENCIL8,
};

/// The internal format for glTexImage*(); unsized for R, RG, RGB and RGBA.
ZELGL_EXPORT unsigned InternalFormat(TextureFormat format);
/// The same, always sized, as texture storage and buffer textures need it.
ZELGL_EXPORT unsigned SizedInternalFormat(TextureFormat format);
/// The transfer format.
ZELGL_EXPORT unsigned ExternalFormat(TextureFormat format);
/// The transfer type.
ZELGL_EXPORT unsigned ExternalType(TextureFormat format);

}} // namespace Orvane::Zel
