#pragma once

/// \file
/// Passes over whole images: one full-screen draw from a texture into a new one.
///
/// They serve loading, where colours are remapped, decoded or flipped after the
/// upload, and build and drop a small program at each call; they are not for use
/// in every frame.
///
/// \snippet textures.cpp TextureProcessing
///
/// Units:   colours as texture() gives them in GLSL: sRGB textures are decoded when
///          they are read and encoded when they are written. A pass draws level 0;
///          the other levels are generated.
/// Context: the one of the textures. A pass leaves framebuffer 0 bound, blending
///          off, depth test and depth mask on, the clear colour at 0 and the viewport
///          at the image's size, whatever they were before. For its draw it sets
///          scissor test, face culling, polygon mode, colour mask, rasterizer discard
///          and GL_FRAMEBUFFER_SRGB, and restores the host's values.
/// Errors:  a pass for which a program or a texture cannot be made, or whose target
///          the driver cannot draw to, returns false and leaves the caller's texture
///          as it was. Compile and link failures are warnings; what is wrong with a
///          target is logged at debug level.
/// Source:  OpenGL 3.2 core; GL_TEXTURE_2D only.

#include "TextureFormat.h"

#include <QtCore/QHash>
#include <QtCore/QString>
#include <QtCore/QVariant>

namespace Orvane { namespace Zel {

class ShaderProgram;
class Texture;

/// A new texture with the target, size and sampler state of \a source at \a level,
/// and no pixels. With \a internalFormat 0 it takes the source's, or GL_RGBA for a
/// compressed source. Null for targets other than GL_TEXTURE_2D, in silence, and for
/// formats that formatFromInternalFormat() or typeFromInternalFormat() reports as
/// unknown, such as GL_RGB565, GL_RGB9_E5 and the signed normalised ones.
ZELGL_EXPORT Texture *WritableCopyOfTexture(Texture *source, unsigned internalFormat, int level);

/// A pass program: "passthroughVS.glslc", and a fragment stage that reads the
/// sampler "u_Src" at "vo_TexCoord" and writes "out_FragColor". Null on failure;
/// otherwise the caller's.
ZELGL_EXPORT ShaderProgram *MakeTextureShaderFromString(const QString &fragmentSource);
ZELGL_EXPORT ShaderProgram *MakeTextureShaderFromFile(const QString &fragmentFile);

/// Draws \a source through the program into all of \a target, whose mip levels are
/// then generated. Draws nothing when the target makes no complete framebuffer.
ZELGL_EXPORT void ProcessTexture(ShaderProgram *program, const QHash<QString, QVariant> &uniforms,
                                 Texture *source, Texture *target);

/// Copies the lower left part of level 0, whatever the host's scissor test is. The
/// format says whether colour, depth, or depth and stencil are copied.
ZELGL_EXPORT void BlitTexture(const Texture *source, const Texture *target, TextureFormat format, int width,
                              int height);

// Each replaces the caller's texture by the result, deletes the old one, and returns whether it did. Textures of integers
// stay as they are.

/// The power part of the sRGB curve on all four channels; it has no linear part near
/// black.
ZELGL_EXPORT bool SrgbToLinear(Texture *&texture);
/// Its inverse; alpha stays.
ZELGL_EXPORT bool LinearToSrgb(Texture *&texture);
/// Colour times alpha.
ZELGL_EXPORT bool Premultiply(Texture *&texture);
/// Top to bottom.
ZELGL_EXPORT bool FlipY(Texture *&texture);
/// Colours from 0 .. 1 to \a low .. \a high; alpha stays. False at once for null and
/// for 0 and 1.
ZELGL_EXPORT bool RemapColorRange(Texture *&texture, float low, float high);

}} // namespace Orvane::Zel
