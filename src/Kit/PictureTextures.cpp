#include "PictureTextures.h"

#include "private/Checks.h"
#include "private/OwnContext.h"

#include <ZelGL/TextureIO.h>
#include <ZelGL/TextureManager.h>

#include <QtGui/QImage>

using namespace Orvane::Zel;

namespace Orvane { namespace ZelKit {

PictureTextures::PictureTextures(TextureManager *manager)
    : _context(std::make_unique<OwnContext>())
    , _manager(manager != nullptr ? manager : TextureManager::Instance())
{
}

PictureTextures::~PictureTextures()
{
    if (!_tokens.isEmpty() && _context->isCurrent("picture textures")) {
        for (const TextureToken &token : qAsConst(_tokens)) {
            _manager->deleteTexture(token);
        }
    }
}

TextureToken PictureTextures::add(const QImage &picture, bool isDecoded, QString *error)
{
    if (!hasContext("picture textures", error) || !_context->isCurrent("picture textures", error)) {
        return nullTextureToken;
    }
    TextureFileInfo info;
    info.srgb = isDecoded;
    // The rows of textures go up.
    const QImage rows = picture.convertToFormat(QImage::Format_ARGB32).mirrored();
    Texture *const texture = rows.isNull() ? nullptr : QImageToTexture(rows, false, info);
    if (texture == nullptr) {
        fail(error, QStringLiteral("a picture is null or too large, so it cannot become a texture"));
        return nullTextureToken;
    }
    _tokens.append(_manager->tokenForTexture(texture)); // which owns the texture
    return _tokens.last();
}

}} // namespace Orvane::ZelKit
