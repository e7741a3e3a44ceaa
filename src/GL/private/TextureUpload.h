#pragma once

/// \file
/// Private to the library. Functions of uploads that the readers of image files share.

#include <QtCore/QtGlobal>

namespace Orvane { namespace Zel {

/// Clears pending GL errors of the host, so that a load that checks for errors finds
/// only its own.
void clearPendingGLErrors();

/// Returns the length of the longest side that a texture can have. Do not pass larger
/// sizes to GL: see "sizes far above the limit" in docs/driver-workarounds.md.
quint32 longestTextureSide();

/// Sets the anisotropy of the texture bound to \a target, clamped to the limit of the
/// driver. Does nothing for values of 0 or less and for drivers without anisotropy.
void setTextureAnisotropy(unsigned int target, qint32 anisotropy);

/// Returns the number of bytes that GL reads for an uncompressed image of \a rows rows
/// of \a width texels, with an unpack alignment of 4. The last row is not padded. On
/// overflow it is the largest number. An unknown format or type counts as the largest
/// known one, so that a file can never make GL read beyond the mapping.
quint64 bytesOfUpload(unsigned int format, unsigned int type, quint64 width, quint64 rows);

}} // namespace Orvane::Zel
