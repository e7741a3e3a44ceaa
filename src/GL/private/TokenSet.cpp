#include "TokenSet.h"

namespace Orvane { namespace Zel {

bool TokenSet::isEmpty() const
{
    return _tokens.isEmpty();
}

const TextureToken *TokenSet::find(const TextureToken &token) const
{
    const auto number = _numbers.constFind(token);
    // Two tables: by token for the search, by number for the order of insertion.
    return number != _numbers.constEnd() ? &*_tokens.constFind(*number) : nullptr;
}

void TokenSet::insert(const TextureToken &token)
{
    if (_numbers.contains(token)) {
        return;
    }
    _tokens.insert(_tokens.constEnd(), _nextNumber, token); // the hint makes it an insertion in constant time
    _numbers.insert(token, _nextNumber);
    ++_nextNumber;
}

void TokenSet::remove(TextureToken token)
{
    const auto number = _numbers.find(token);
    if (number != _numbers.end()) {
        // The number is not used again: the order of the others must stay that of their insertion.
        _tokens.remove(*number);
        _numbers.erase(number);
    }
}

TextureToken TokenSet::takeFirst()
{
    const TextureToken first = _tokens.first();
    remove(first);
    return first;
}

QVector<TextureToken> TokenSet::takeAll()
{
    QVector<TextureToken> all;
    all.reserve(_tokens.size());
    for (const TextureToken &token : qAsConst(_tokens)) {
        all.append(token);
    }
    clear();
    return all;
}

void TokenSet::clear()
{
    _tokens.clear();
    _numbers.clear();
}

}} // namespace Orvane::Zel
