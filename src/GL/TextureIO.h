#pragma once

/// \file
/// Loads image files and blocks of bytes into textures, synchronously.
///
/// The registered recognisers are tried for a reader: first the one of the file's
/// suffix, then all in the order of their registration. A file that none of them
/// recognises is loaded by QImage; bytes in memory are not.
///
/// initializeGLFunctions() registers "hdr", "ktx" and "astc", in this order.
///
/// \snippet images.cpp TextureIO
///
/// Units:   the rows of a texture run from the bottom up.
/// Context: loading needs a current context and runs on the calling thread. The
///          registry has no lock: do not change it during a load. Loads set and restore
///          the unpack state, so the host may have any, and a pixel unpack buffer bound.
/// Errors:  a failed load logs a message and returns null. It deletes the texture and
///          restores the binding.

#include "Export.h"
#include "TextureFileInfo.h"

#include <QtCore/QString>
#include <QtGui/QColor>

class QImage;

namespace Orvane { namespace Zel {

class Texture;
class TextureLoader;
class TextureRecogniser;

/// Marks a pre-processed image in its file name: "[baked]".
extern ZELGL_EXPORT const QString kBakedKeyword;

/// Takes ownership of \a recogniser, which may be registered for several suffixes, and
/// tries it first for files with the suffix \a extension, in upper or lower case. An
/// empty \a extension claims no suffix. A later claim of a suffix replaces an earlier
/// one, whose recogniser stays registered.
ZELGL_EXPORT void RegisterTextureRecogniser(TextureRecogniser *recogniser, const QString &extension);

/// Deletes all recognisers, including the built-in ones. Until others are registered,
/// only QImage loads files.
ZELGL_EXPORT void DeleteAllRegisteredTextureRecognisers();

/// Returns a new reader, owned by the caller, that maps the file, or null. Check its
/// valid(). Calls no GL.
ZELGL_EXPORT TextureLoader *IdentifyTextureFromFile(const QString &path);
/// The same for bytes in memory. They must outlive the reader, which may write to them.
/// The suffix of \a name is ignored.
ZELGL_EXPORT TextureLoader *IdentifyTextureFromMemory(unsigned char *data, unsigned long size,
                                                      const QString &name);

/// Returns a new texture, owned by the caller, or null. Textures from HDR and QImage are
/// clamped, those from KTX and ASTC repeat: to change that, bind the texture and set
/// GL_TEXTURE_WRAP_S and GL_TEXTURE_WRAP_T. From Qt's resources only the formats of
/// QImage load: for HDR, KTX and ASTC pass a copy of the bytes to
/// LoadTextureFromMemory().
ZELGL_EXPORT Texture *LoadTextureFromFile(const QString &path, const TextureFileInfo &info);
ZELGL_EXPORT Texture *LoadTextureFromMemory(unsigned char *data, unsigned long size,
                                            const TextureFileInfo &info, const QString &name);
ZELGL_EXPORT Texture *LoadTextureFromQImageFile(const QString &path, const TextureFileInfo &info);

/// Returns a mipmapped, clamped texture of \a image, whose rows must run from the bottom
/// up. Its pixels are 32 bits in the byte order of QImage::Format_ARGB32, or, with
/// \a asRG16F, two half floats. At most four levels after the base level are used.
/// Returns null if the image has fewer than four bytes a pixel, or if no texture unit
/// is free.
ZELGL_EXPORT Texture *QImageToTexture(const QImage &image, bool asRG16F, const TextureFileInfo &info);

/// Returns a texture of one texel with the sampling of an image: linear filters,
/// clamped, mipmapped.
ZELGL_EXPORT Texture *MakeColorTexture(const QColor &color);
/// Returns a texture of one texel with nearest filters, repeat and a single level. The
/// components are from 0 to 1.
ZELGL_EXPORT Texture *SolidColorTexture(float r, float g, float b, float a);

/// Returns the path of the pre-processed image of \a path: the suffix is replaced by
/// "[baked]", by "[anisoN]" if the level is above 0, and by \a extension, which
/// includes the dot.
ZELGL_EXPORT QString GetBakedImagePath(const QString &path, const QString &extension, int anisoLevel);
ZELGL_EXPORT bool IsBakedImagePath(const QString &path);
/// Returns the N of "[anisoN]" in a path: -1 without such a part, 0 if N is no number.
ZELGL_EXPORT int GetAnisoLevel(const QString &path);

}} // namespace Orvane::Zel
