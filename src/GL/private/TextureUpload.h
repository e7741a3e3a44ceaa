#pragma once

/// \file
/// What the readers have in common about uploads.

#include <QtCore/QtGlobal>

namespace Orvane { namespace Zel {

/// Sets GL_UNPACK_ALIGNMENT for the length of a scope.
class UnpackAlignment
{
    Q_DISABLE_COPY(UnpackAlignment)

public:
    explicit UnpackAlignment(int alignment);
    ~UnpackAlignment();

private:
    int _saved = 0;
};

/// Clears the errors that the host left pending in GL, so that a load that looks for
/// errors finds its own only.
void clearPendingGLErrors();

/// The longest side that a texture can have. Nothing above it is given to GL, which
/// would refuse it: see "sizes far above the limit" in docs/driver-workarounds.md.
quint32 longestTextureSide();

/// Sets the anisotropy of the texture bound to \a target to what the driver has at
/// most of \a anisotropy. Nothing where that is 0 or less, or the driver has none.
void setTextureAnisotropy(unsigned int target, qint32 anisotropy);

/// Bytes that GL reads of an uncompressed image of \a rows rows of \a width texels,
/// with an unpack alignment of 4: the last row is not padded. The largest number for
/// sizes beyond it. For formats and types that nobody knows it is as much as the
/// largest of the known ones would need.
quint64 bytesOfUpload(unsigned int format, unsigned int type, quint64 width, quint64 rows);

}} // namespace Orvane::Zel
