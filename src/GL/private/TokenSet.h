#pragma once

#include "../TextureToken.h"

#include <QtCore/QHash>
#include <QtCore/QMap>

namespace Orvane { namespace Zel {

/// A set of tokens in the order of their insertion. It behaves as a vector with TextureToken::insert() and find() does, but
/// the cost of a call does not grow with the number of tokens.
///
/// Context: none.
/// Private to the library; a part of TextureManager and Array2DTextureManager.
class TokenSet
{
public:
    bool isEmpty() const;
    /// Returns the equal element, or null.
    const TextureToken *find(const TextureToken &token) const;
    /// Appends the token if it is absent.
    void insert(const TextureToken &token);
    void remove(TextureToken token);
    /// Removes and returns the token that was inserted first. The set must not be empty.
    TextureToken takeFirst();
    /// Removes and returns all tokens.
    QVector<TextureToken> takeAll();
    void clear();

private:
    QMap<quint64, TextureToken> _tokens; ///< by the number of their insertion
    QHash<TextureToken, quint64> _numbers;
    quint64 _nextNumber = 0;
};

}} // namespace Orvane::Zel
