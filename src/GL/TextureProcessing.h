#pragma once

/// \file
/// Passes over whole images: one full-screen draw from a texture into another one.
///
/// The passes are for loading, where colours are remapped, decoded or flipped after
/// the upload. Each call compiles and deletes a small program, so do not call them in
/// every frame.
///
/// \snippet textures.cpp TextureProcessing
///
/// Units:   colours as texture() returns them in GLSL: sRGB textures are decoded when
///          they are read and encoded when they are written. A pass draws level 0;
///          the other levels are generated.
/// Context: the context of the textures. Whatever the state was before, a pass leaves
///          framebuffer 0 bound, blending off, the depth test and depth writes on, the
///          clear colour 0 and the viewport at the image's size. For its draw it sets
///          the scissor test, face culling, polygon mode, colour mask, rasterizer
///          discard, logic operation and GL_FRAMEBUFFER_SRGB, and restores the host's
///          values.
/// Errors:  a pass returns false and does not change the caller's texture if it cannot
///          create the program or the new texture, or if the driver cannot draw to the
///          new texture. Compile and link failures are logged as warnings, an
///          incomplete framebuffer at debug level.
/// Source:  OpenGL 3.2 core; GL_TEXTURE_2D only.

#include "TextureFormat.h"

#include <QtCore/QHash>
#include <QtCore/QString>
#include <QtCore/QVariant>

namespace Orvane { namespace Zel {

class ShaderProgram;
class Texture;

/// Returns a new texture, owned by the caller, with the target, the size at \a level
/// and the sampler state of \a source. Its pixels are undefined. If \a internalFormat
/// is 0, the texture has the format of the source, or GL_RGBA if the source is
/// compressed. Returns null, without a message, for targets other than GL_TEXTURE_2D,
/// and for formats that formatFromInternalFormat() or typeFromInternalFormat() reports
/// as unknown, such as GL_RGB565, GL_RGB9_E5 and the signed normalised formats.
ZELGL_EXPORT Texture *WritableCopyOfTexture(Texture *source, unsigned internalFormat, int level);

/// Returns the program of a pass, owned by the caller, or null on failure. Its vertex
/// stage is "passthroughVS.glslc"; the fragment stage reads the sampler "u_Src" at
/// "vo_TexCoord" and writes "out_FragColor".
ZELGL_EXPORT ShaderProgram *MakeTextureShaderFromString(const QString &fragmentSource);
ZELGL_EXPORT ShaderProgram *MakeTextureShaderFromFile(const QString &fragmentFile);

/// Draws \a source with the program into the whole of \a target and generates the mip
/// levels of \a target. Draws nothing if the target makes the framebuffer incomplete.
ZELGL_EXPORT void ProcessTexture(ShaderProgram *program, const QHash<QString, QVariant> &uniforms,
                                 Texture *source, Texture *target);

/// Copies \a width by \a height texels of level 0, from the lower left corner, and
/// ignores the scissor test of the host. \a format selects what is copied: colour,
/// depth, or depth and stencil.
ZELGL_EXPORT void BlitTexture(const Texture *source, const Texture *target, TextureFormat format, int width,
                              int height);

// Each function replaces the caller's texture with the result, deletes the old texture and returns true. On failure,
// and for textures of integers, it returns false and keeps the texture.

/// Applies the power part of the sRGB curve to all four channels, without the linear
/// part near black.
ZELGL_EXPORT bool SrgbToLinear(Texture *&texture);
/// Applies the inverse to the colour; keeps alpha.
ZELGL_EXPORT bool LinearToSrgb(Texture *&texture);
/// Multiplies the colour by alpha.
ZELGL_EXPORT bool Premultiply(Texture *&texture);
/// Flips the image vertically.
ZELGL_EXPORT bool FlipY(Texture *&texture);
/// Maps colours from 0 .. 1 to \a low .. \a high; keeps alpha. Returns false and makes
/// no GL call for a null texture and for the range 0 .. 1.
ZELGL_EXPORT bool RemapColorRange(Texture *&texture, float low, float high);

}} // namespace Orvane::Zel
