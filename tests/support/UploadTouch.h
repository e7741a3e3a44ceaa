#pragma once

#include "Tap.h"

#include <QtCore/QByteArray>

/// Reads every byte of an image upload before the driver does, so that a sanitizer detects reads beyond the source: the
/// driver is not instrumented. Supports unpack alignments of 4 and 1, and no other unpack state.
class UploadTouch
{
public:
    UploadTouch();

    /// Number of uploads with a source so far.
    int count() const { return _count; }

    /// The texels of the last upload, rows without padding; for a compressed upload its data.
    const QByteArray &lastBytes() const { return _lastBytes; }

private:
    void touch(GLsizei width, GLsizei height, GLsizei depth, GLenum format, GLenum type, const void *data);
    void touch(GLsizei size, const void *data);
    template <int dimensions, typename Upload> void watchImage(Upload &upload);
    template <typename Upload> void watchCompressed(Upload &upload);

    Hook<&glTexImage1D> _image1D;
    Hook<&glTexImage2D> _image2D;
    Hook<&glTexImage3D> _image3D;
    Hook<&glCompressedTexImage1D> _compressed1D;
    Hook<&glCompressedTexImage2D> _compressed2D;
    Hook<&glCompressedTexImage3D> _compressed3D;
    int _count = 0;
    QByteArray _lastBytes;
};
