#pragma once

#include "Export.h"

#include <QtCore/QPoint>
#include <QtCore/QVector>
#include <QtCore/QtGlobal>

namespace Orvane { namespace Zel {

/// The name under which shaders sample a texture: plain data that is stored
/// among an item's bytes. What the number means is the texture manager's affair.
///
/// In GLSL a token is a uvec2, `ZelTextureToken`, x being the low word.
///
/// Units:   default constructed it is the null token, all bits set; 0 is valid.
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

    // A vector of tokens as an unordered set.

    /// The first equal element, or the end.
    static QVector<TextureToken>::iterator find(QVector<TextureToken> &vector, const TextureToken &wanted);
    /// Appends the token if it is absent; its position in either case.
    static QVector<TextureToken>::iterator insert(QVector<TextureToken> &vector, const TextureToken &wanted);
    /// Appends to \a a what it lacks of \a b, in the order of \a b.
    static void unite(QVector<TextureToken> &a, const QVector<TextureToken> &b);

    quint64 token = ~quint64(0);
};

/// The null token.
ZELGL_EXPORT extern const TextureToken nullTextureToken;

inline uint qHash(const TextureToken &key)
{
    return static_cast<uint>(key.token ^ (key.token >> 31));
}

}} // namespace Orvane::Zel

/// Of a UDIM patch coordinate.
inline uint qHash(const QPoint &key)
{
    const uint x = static_cast<uint>(key.x());
    return ((x << 16) | (x >> 16)) ^ static_cast<uint>(key.y());
}

Q_DECLARE_TYPEINFO(Orvane::Zel::TextureToken, Q_MOVABLE_TYPE);
