#pragma once

/// \file
/// From an image file or a block of bytes to a texture, in one synchronous call.
///
/// The recognisers that are registered here are asked for a reader, first the one
/// of the file's suffix, then all in the order of their registration. Files that
/// nobody accepts are left to QImage; bytes in memory are not.
///
/// initializeGLFunctions() registers "hdr", "ktx" and "astc", in this order.
///
/// \snippet images.cpp TextureIO
///
/// Units:   rows of a texture run from the bottom up.
/// Context: loading needs a current one and runs on the calling thread; the
///          registry is not guarded, so that it must not change during a load.
/// Errors:  null, and a message; GL is left without the texture, without a binding
///          and with the unpack alignment that it had.

#include "Export.h"
#include "TextureFileInfo.h"

#include <QtCore/QString>
#include <QtGui/QColor>

class QImage;

namespace Orvane { namespace Zel {

class Texture;
class TextureLoader;
class TextureRecogniser;

/// The mark of a pre-processed image in its file name: "[baked]".
extern ZELGL_EXPORT const QString kBakedKeyword;

/// Takes ownership of \a recogniser, once however often it is registered, and
/// asks it first for files with the suffix \a extension, in any case of letters;
/// an empty one claims no suffix. A later claim replaces an earlier one, whose
/// recogniser stays registered.
ZELGL_EXPORT void RegisterTextureRecogniser(TextureRecogniser *recogniser, const QString &extension);

/// Deletes all recognisers, the built-in ones included. Nothing but QImage can be
/// read until others are registered.
ZELGL_EXPORT void DeleteAllRegisteredTextureRecognisers();

/// A new reader, the caller's, that holds the bytes mapped, or null. It may be
/// one that is not valid(). No GL is called.
ZELGL_EXPORT TextureLoader *IdentifyTextureFromFile(const QString &path);
/// The same for bytes in memory, which must outlive the reader and may be written
/// to. The suffix of \a name does not count here.
ZELGL_EXPORT TextureLoader *IdentifyTextureFromMemory(unsigned char *data, unsigned long size,
                                                      const QString &name);

/// A new texture, the caller's, or null. What HDR and QImage read is clamped, what
/// KTX and ASTC hold repeats: to have it otherwise, bind it and set GL_TEXTURE_WRAP_S
/// and GL_TEXTURE_WRAP_T. Of the files in Qt's resources only those load that QImage
/// reads: for HDR, KTX and ASTC give LoadTextureFromMemory() a copy of their bytes.
ZELGL_EXPORT Texture *LoadTextureFromFile(const QString &path, const TextureFileInfo &info);
ZELGL_EXPORT Texture *LoadTextureFromMemory(unsigned char *data, unsigned long size,
                                            const TextureFileInfo &info, const QString &name);
ZELGL_EXPORT Texture *LoadTextureFromQImageFile(const QString &path, const TextureFileInfo &info);

/// A mipmapped, clamped texture of an image whose rows are in GL's order: 32-bit
/// pixels in the byte order of QImage::Format_ARGB32, or, with \a asRG16F, two half
/// floats a pixel. No more than four levels below the base are used. Null for an
/// image that holds fewer bytes than that, and where no texture unit is free.
ZELGL_EXPORT Texture *QImageToTexture(const QImage &image, bool asRG16F, const TextureFileInfo &info);

/// One texel of a colour, made as an image is: linear filters, clamped, mipmapped.
ZELGL_EXPORT Texture *MakeColorTexture(const QColor &color);
/// One texel of a colour with components from 0 to 1: nearest filters, repeated,
/// a single level.
ZELGL_EXPORT Texture *SolidColorTexture(float r, float g, float b, float a);

/// The name of the pre-processed image beside \a path: its suffix gives way to
/// "[baked]", to "[anisoN]" for a level above 0, and to \a extension, dot included.
ZELGL_EXPORT QString GetBakedImagePath(const QString &path, const QString &extension, int anisoLevel);
ZELGL_EXPORT bool IsBakedImagePath(const QString &path);
/// The N of "[anisoN]" in a path; -1 without such a mark, 0 when N is no number.
ZELGL_EXPORT int GetAnisoLevel(const QString &path);

}} // namespace Orvane::Zel
