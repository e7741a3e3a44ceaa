#pragma once

#include "Export.h"

#include <QtCore/QPoint>
#include <QtCore/QVector>
#include <QtCore/QtGlobal>

namespace Orvane { namespace Zel {

/// Identifies a texture in shaders. It is plain data, which hosts store in the instance data of their drawables; its value has
/// a meaning for the texture manager only.
///
/// GLSL has it as ZelTextureToken, a uvec2 whose x is the low word.
///
/// \snippet managers.cpp TextureToken
///
/// Units:   a default-constructed token is the null token, which has all bits set; 0 is a valid token.
/// Context: none.
struct ZELGL_EXPORT TextureToken
{
    TextureToken() = default;
    TextureToken(unsigned long long value)
        : token(value)
    {
    }

    bool operator==(const TextureToken &other) const { return token == other.token; }
    bool operator!=(const TextureToken &other) const { return token != other.token; }

    // These three use a vector of tokens as an unordered set.

    /// Returns the first equal element, or the end.
    static QVector<TextureToken>::iterator find(QVector<TextureToken> &vector, const TextureToken &wanted);
    /// Appends the token if it is absent. Returns its position.
    static QVector<TextureToken>::iterator insert(QVector<TextureToken> &vector, const TextureToken &wanted);
    /// Appends to \a a the tokens of \a b that it does not have, in the order of \a b.
    static void unite(QVector<TextureToken> &a, const QVector<TextureToken> &b);

    quint64 token = ~quint64(0);
};

/// The token that no texture has.
ZELGL_EXPORT extern const TextureToken nullTextureToken;

inline uint qHash(const TextureToken &key)
{
    return static_cast<uint>(key.token ^ (key.token >> 31));
}

}} // namespace Orvane::Zel

/// For the coordinates of UDIM patches.
inline uint qHash(const QPoint &key)
{
    const uint x = static_cast<uint>(key.x());
    return ((x << 16) | (x >> 16)) ^ static_cast<uint>(key.y());
}

Q_DECLARE_TYPEINFO(Orvane::Zel::TextureToken, Q_MOVABLE_TYPE);
