#pragma once

#include <QtCore/QSize>
#include <QtCore/QString>

namespace Orvane { namespace Zel {
class Texture;
}} // namespace Orvane::Zel

namespace zeltools {

/// The properties of a texture, queried from GL.
struct TextureFacts
{
    /// The meaning of its numbers.
    enum Kind {
        eEncoded, ///< sRGB values that GL does not decode
        eLinear,  ///< from 0 to 1, linear after GL's decoding
        eFloat,   ///< linear light of any strength
        eInteger  ///< not a picture
    };

    unsigned int target = 0;
    QSize size; ///< of the base level; height is 1 for one dimension
    int depth = 1;
    int levels = 0; ///< number of levels that exist
    unsigned int internalFormat = 0;
    Kind kind = eEncoded;
    bool isGrey = false; ///< red is the only channel

    /// Queries GL. The texture must not be bound, and is not bound afterwards.
    static TextureFacts of(Orvane::Zel::Texture &texture);

    QSize sizeAt(int level) const;
    int depthAt(int level) const;
    /// Such as "cube map, 512x512, 1 level, GL_RGB8".
    QString toString() const;
};

/// The name of an internal format, or its number if the name is unknown.
QString formatName(unsigned int internalFormat);

} // namespace zeltools
