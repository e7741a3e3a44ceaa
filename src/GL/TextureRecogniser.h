#pragma once

#include "Export.h"

#include <QtCore/QString>

namespace Orvane { namespace Zel {

class Memory;
class TextureLoader;

/// Recognises the bytes of one image format and creates the reader for them. Derive a
/// class to add a file format; see RegisterTextureRecogniser().
///
/// \snippet images.cpp TextureRecogniser
///
/// Context: none is needed; recognition calls no GL.
/// Errors:  silent: bytes of another format are no error.
class ZELGL_EXPORT TextureRecogniser
{
public:
    virtual ~TextureRecogniser();

    /// Returns a new reader, which takes ownership of \a memory, or returns null and
    /// leaves \a memory to the caller. Check the magic bytes only: the reader's valid()
    /// reports a malformed file, and no other recogniser is tried then. \a name is for
    /// messages.
    virtual TextureLoader *recognise(Memory *memory, const QString &name) const = 0;
};

}} // namespace Orvane::Zel
