#pragma once

#include "../TextureToken.h"

#include <QtCore/QHash>
#include <QtCore/QMap>

namespace Orvane { namespace Zel {

/// Tokens in the order of their insertion, each once: what TextureToken::insert()
/// and find() make of a vector, at a cost that does not grow with their number.
///
/// Context: none.
/// Private to the library.
class TokenSet
{
public:
    bool isEmpty() const;
    /// The equal element, or null.
    const TextureToken *find(const TextureToken &token) const;
    /// Appends the token if it is absent.
    void insert(const TextureToken &token);
    void remove(TextureToken token);
    /// The oldest; the set must not be empty.
    TextureToken takeFirst();
    /// All of them; the set is then empty.
    QVector<TextureToken> takeAll();
    void clear();

private:
    QMap<quint64, TextureToken> _tokens; ///< by the number of their insertion
    QHash<TextureToken, quint64> _numbers;
    quint64 _nextNumber = 0;
};

}} // namespace Orvane::Zel
