#include "TextureToken.h"

#include <algorithm>

namespace Orvane { namespace Zel {

const TextureToken nullTextureToken;

QVector<TextureToken>::iterator TextureToken::find(QVector<TextureToken> &vector, const TextureToken &wanted)
{
    return std::find(vector.begin(), vector.end(), wanted);
}

QVector<TextureToken>::iterator TextureToken::insert(QVector<TextureToken> &vector,
                                                     const TextureToken &wanted)
{
    const auto found = find(vector, wanted);
    return found != vector.end() ? found : vector.insert(vector.end(), wanted);
}

void TextureToken::unite(QVector<TextureToken> &a, const QVector<TextureToken> &b)
{
    for (const TextureToken &token : b) {
        insert(a, token);
    }
}

}} // namespace Orvane::Zel
