#pragma once

#include <QtCore/QSize>
#include <QtCore/QString>

namespace Orvane { namespace Zel {
class Texture;
}} // namespace Orvane::Zel

namespace zelview {

/// What GL knows of a texture.
struct TextureFacts
{
    /// How the numbers in it are to be read.
    enum Kind {
        eEncoded, ///< as screens show them: samples come in sRGB
        eLinear,  ///< from 0 to 1, decoded by GL
        eFloat,   ///< light of any strength
        eInteger  ///< no picture
    };

    unsigned int target = 0;
    QSize size; ///< of the base level; height is 1 for one dimension
    int depth = 1;
    int levels = 0; ///< those that are there
    unsigned int internalFormat = 0;
    Kind kind = eEncoded;
    bool isGrey = false; ///< red is the only channel

    /// Asks GL; the texture is not bound before, nor afterwards.
    static TextureFacts of(Orvane::Zel::Texture &texture);

    QSize sizeAt(int level) const;
    int depthAt(int level) const;
    /// "cube map, 512x512, 1 level, GL_RGB8".
    QString toString() const;
};

/// The name of an internal format, or its number where it has none here.
QString formatName(unsigned int internalFormat);

} // namespace zelview
