#pragma once

#include "Export.h"

namespace Orvane { namespace Zel {

/// The library's short list of texture formats, for scratch textures, full-screen
/// passes, data textures and baked environment maps.
///
/// \snippet textures.cpp TextureFormat
///
/// Units:   the number after a letter is the bits per channel; without a number a
///          channel has 8 bits, normalised. F is floating point, I is signed integer.
/// Context: none is needed.
/// Errors:  silent: for a value that is not listed the functions return what they
///          return for RGBA, and GL_FLOAT as the type.
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

/// Returns the internal format for glTexImage*(): unsized for R, RG, RGB and RGBA.
ZELGL_EXPORT unsigned InternalFormat(TextureFormat format);
/// Returns the sized internal format, which texture storage and buffer textures need.
ZELGL_EXPORT unsigned SizedInternalFormat(TextureFormat format);
/// Returns the format of the pixels in client memory, as glTexImage*() takes it.
ZELGL_EXPORT unsigned ExternalFormat(TextureFormat format);
/// Returns the type of the pixels in client memory.
ZELGL_EXPORT unsigned ExternalType(TextureFormat format);

}} // namespace Orvane::Zel
