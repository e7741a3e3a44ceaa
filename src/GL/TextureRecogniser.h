#pragma once

#include "Export.h"

#include <QtCore/QString>

namespace Orvane { namespace Zel {

class Memory;
class TextureLoader;

/// Tells whether bytes are of one image format, and hands out the reader for
/// them. What a file format plugs into; see RegisterTextureRecogniser().
///
/// \snippet images.cpp TextureRecogniser
///
/// Context: none; recognition calls no GL.
/// Errors:  silent: bytes of another format are no error.
class ZELGL_EXPORT TextureRecogniser
{
public:
    virtual ~TextureRecogniser();

    /// A new reader that owns \a memory from then on, or null, and \a memory stays
    /// the caller's. A reader is returned on the magic bytes alone: whether the rest
    /// holds is for its valid() to say, and no other recogniser is asked.
    /// \a name is for messages.
    virtual TextureLoader *recognise(Memory *memory, const QString &name) const = 0;
};

}} // namespace Orvane::Zel
