#include "TextureManager.h"

#include "BindlessTextureManager.h"
#include "GLSLMacroProcessor.h"
#include "Reporting.h"
#include "SamplerTextureManager.h"
#include "Texture.h"
#include "TextureIO.h"
#include "TexturePool.h"
#include "private/Hints.h"
#include "private/SharedTexturePool.h"
#include "private/TokenSet.h"

#include <QtCore/QDir>
#include <QtCore/QFileInfo>

#include <algorithm>

namespace Orvane { namespace Zel {

namespace {

const QList<TextureToken> kNoTokens;

TextureManager *instance = nullptr; ///< the host's, or one that stays to the end of the process

/// Scene files from other systems may separate their paths by backslashes; see
/// TextureManagerTest.PathsAreFoundAsGivenUnderTheRootAndByTheirLastComponent.
QString lastComponent(const QString &path)
{
    int separator = path.lastIndexOf(QLatin1Char('/'));
    if (separator < 0) {
        separator = path.lastIndexOf(QLatin1Char('\\'));
    }
    return path.mid(separator + 1);
}

// Most draws have no tokens. If this function, SamplerTextureManager::bindAll() and unbindAll() were inlined, each draw would
// take 57 instructions more (draw_zel, variant sceneowntokens).
ZELGL_COLD_PATH void bindAsList(TextureManager &manager, const QVector<TextureToken> &tokens)
{
    manager.bind(tokens.toList());
}

} // namespace

// Made at the first call, when a context is current: the driver decides the class. See
// ManagerTest.TheProcessWideManagerIsBindlessWhereTheDriverIs.
TextureManager *TextureManager::Instance()
{
    if (instance == nullptr) {
        if (BindlessTextureManager::isSupported()) {
            ZEL_BARE_DEBUG("BindlessTextureManager");
            instance = new BindlessTextureManager;
        } else {
            ZEL_BARE_DEBUG("SamplerTextureManager");
            instance = new SamplerTextureManager;
            // 16 texture units are guaranteed: eight are left to environment maps, shadow maps and instance data.
            instance->setMaxSlots(8);
        }
    }
    return instance;
}

bool TextureManager::setInstance(TextureManager *manager)
{
    instance = manager;
    return true;
}

TextureManager::TextureManager()
    : _freeTokens(new TokenSet)
    , _texturePool(new TexturePool)
{
    // So the look-ups of the null token and of a null texture need no special case.
    recordTexture(nullTextureToken, nullptr);
}

TextureManager::~TextureManager()
{
    // The pool goes last, since clear() deletes unused textures of it.
    TextureManager::clear();
    delete _texturePool;
}

Texture *TextureManager::textureForToken(const TextureToken &token)
{
    const auto loaded = _tokenToTexture.constFind(token);
    if (loaded != _tokenToTexture.constEnd()) {
        return *loaded;
    }
    Texture *texture = nullptr;
    if (_tokenToPath.contains(token)) {
        texture = LoadTextureFromFile(_tokenToPath.value(token), _tokenToFileInfo.value(token));
        if (texture == nullptr) {
            return textureForColor(QColor(Qt::white)); // not recorded: the next request tries the file again
        }
    } else if (_tokenToColor.contains(token)) {
        texture = MakeColorTexture(_tokenToColor.value(token));
    }
    if (texture != nullptr) {
        // Clients share the textures of files and colours, so that no client may change them.
        texture->setReadOnly();
        recordTexture(token, texture);
    }
    return texture;
}

Texture *TextureManager::textureForImage(const QString &path, const TextureFileInfo &info)
{
    return textureForToken(tokenForImage(path, info));
}

Texture *TextureManager::textureForColor(const QColor &color)
{
    return textureForToken(tokenForColor(color));
}

TextureToken TextureManager::tokenForTexture(Texture *texture)
{
    const auto known = _textureToToken.constFind(texture);
    if (known != _textureToToken.constEnd()) {
        return *known;
    }
    const TextureToken token = reserveToken();
    ZEL_LOG_DEBUG("Creating token %llu for texture %p", token.token, static_cast<void *>(texture));
    recordTexture(token, texture);
    textureTokenIssued(token);
    return token;
}

TextureToken TextureManager::tokenForImage(const QString &path, const TextureFileInfo &info)
{
    const QString resolved = resolveTexturePath(path);
    // A missing image has no token of its own; see TextureManagerTest.WhatIsMissingIsWhiteAndWhatDoesNotLoadIsTriedAgain.
    if (path.isEmpty() || !QFileInfo(resolved).isFile()) {
        ZEL_LOG_WARNING("Cannot load %s", path.toLocal8Bit().constData());
        return tokenForColor(QColor(Qt::white));
    }
    // By the resolved path; see TextureManagerTest.AnImageHasOneTokenWhicheverWayItIsNamed.
    const auto known = _pathToToken.constFind(resolved);
    if (known != _pathToToken.constEnd()) {
        return *known;
    }
    const TextureToken token = reserveToken();
    ZEL_LOG_DEBUG("Creating token %llu for %s (full path: %s)", token.token, path.toLocal8Bit().constData(),
                  resolved.toLocal8Bit().constData());
    _pathToToken.insert(resolved, token);
    _tokenToPath.insert(token, resolved);
    _tokenToFileInfo.insert(token, info);
    textureTokenIssued(token);
    return token;
}

TextureToken TextureManager::tokenForColor(const QColor &color)
{
    const auto known = _colorToToken.constFind(color.rgba());
    if (known != _colorToToken.constEnd()) {
        return *known;
    }
    const TextureToken token = reserveToken();
    ZEL_LOG_DEBUG("Creating token %llu for %d %d %d %d", token.token, color.red(), color.green(),
                  color.blue(), color.alpha());
    _colorToToken.insert(color.rgba(), token);
    _tokenToColor.insert(token, color);
    textureTokenIssued(token);
    return token;
}

void TextureManager::deleteTexture(const TextureToken &token)
{
    if (token == nullTextureToken) {
        return;
    }
    const TextureToken dropped = token; // the caller's reference may be to an element of the maps
    dropTexture(dropped);
    deleteToken(dropped);
}

void TextureManager::deleteTexture(Texture *texture)
{
    if (texture == nullptr) {
        return;
    }
    const auto known = _textureToToken.constFind(texture);
    if (known != _textureToToken.constEnd()) {
        deleteTexture(*known);
    }
}

void TextureManager::bind(const QVector<TextureToken> &tokens)
{
    if (tokens.isEmpty()) {
        bind(kNoTokens);
    } else {
        bindAsList(*this, tokens);
    }
}

void TextureManager::bind(const QSet<TextureToken> &tokens)
{
    bind(tokens.values());
}

void TextureManager::bind()
{
    bind(static_cast<ShaderProgram *>(nullptr));
}

void TextureManager::unbind()
{
    unbind(static_cast<ShaderProgram *>(nullptr));
}

void TextureManager::dirty(Texture *) {}

void TextureManager::setup(GLSLMacroProcessor *processor)
{
    if (processor != nullptr && supportsUDIMs()) {
        processor->addDefine(QStringLiteral("TEXTURE_MANAGER_SUPPORTS_UDIMS"), QStringLiteral("1"));
    }
}

void TextureManager::clear()
{
    // UDIM sets and the options of files stay; a set's token is then a number that another texture may get.
    // Required: wrappers of foreign GL names are deleted too; see
    // TextureManagerTest.ATextureGoesWithItsTokenUnlessItsNameIsForeign.
    for (Texture *texture : qAsConst(_tokenToTexture)) {
        delete texture;
    }
    _textureToToken.clear();
    _tokenToTexture.clear();
    _maxToken = 0;
    _freeTokens->clear();
    _texturePool->deleteUnused();
    _colorToToken.clear();
    _tokenToColor.clear();
    _pathToToken.clear();
    _tokenToPath.clear();
    recordTexture(nullTextureToken, nullptr);
}

void TextureManager::setMaxSlots(int count)
{
    _maxSlots = count;
}

void TextureManager::setSlotReallocationMethod(SlotReallocationMethod) {}

bool TextureManager::supportsUDIMs() const
{
    return false;
}

void TextureManager::textureTokenIssued(const TextureToken &) {}

void TextureManager::textureTokenRevoked(const TextureToken &) {}

int TextureManager::getMaxSlots() const
{
    return _maxSlots;
}

TextureToken TextureManager::maxToken() const
{
    return _maxToken;
}

const QHash<Texture *, TextureToken> &TextureManager::textureTokenMap() const
{
    return _textureToToken;
}

TextureToken TextureManager::reserveToken()
{
    // The token that was freed first; see TextureManagerTest.TokensCountUpAndHolesAreFilledInTheOrderOfTheirMaking.
    if (!_freeTokens->isEmpty()) {
        return _freeTokens->takeFirst();
    }
    const TextureToken token = _maxToken;
    ++_maxToken.token;
    return token;
}

TextureToken TextureManager::reserveTokenBlock(int count)
{
    // Not from the freed tokens, since a block is consecutive. The caller issues the tokens.
    const TextureToken first = _maxToken;
    _maxToken.token += static_cast<quint64>(count);
    return first;
}

void TextureManager::deleteToken(const TextureToken &token)
{
    ZEL_ASSERT(0 < this->_maxToken.token, "Delete token %llu but none %llu reserved!", token.token,
               _maxToken.token);
    ZEL_ASSERT(token.token < this->_maxToken.token, "Delete token %llu but only %llu reserved!", token.token,
               _maxToken.token);
    if (token == nullTextureToken) {
        return; // reserveToken() must never return it
    }
    // Required, after a failed assertion too: see TextureManagerTest.DeletingWhatWasNotReservedIsReportedAndDone.
    _freeTokens->insert(token);
    // Tables by token stay short, since freed tokens at the end lower the maximum.
    while (0 < _maxToken.token) {
        const TextureToken *itFind = _freeTokens->find(TextureToken(_maxToken.token - 1));
        if (itFind == nullptr) {
            break;
        }
        ZEL_ASSERT((itFind->token + 1) == this->_maxToken.token,
                   "Did not find the correct token %llu. Found token %llu.", _maxToken.token - 1,
                   itFind->token);
        _freeTokens->remove(*itFind);
        --_maxToken.token;
    }
}

void TextureManager::setTextureRoot(const QString &root)
{
    _textureRoot = root;
}

QString TextureManager::getTextureRoot() const
{
    return _textureRoot;
}

QString TextureManager::resolveTexturePath(QString path) const
{
    // The order is required: a file at the path as given hides one of the same name under the root.
    const QDir root(_textureRoot);
    for (const QString &candidate :
         {path, root.absoluteFilePath(path), root.absoluteFilePath(lastComponent(path))}) {
        if (QFileInfo::exists(candidate)) {
            return candidate;
        }
    }
    ZEL_BARE_DEBUG("Failed to find file %s", path.toLocal8Bit().constData());
    return path;
}

QStringList TextureManager::textureFiles() const
{
    QStringList files = _tokenToPath.values();
    std::sort(files.begin(), files.end());
    return files;
}

TextureToken TextureManager::createUDIMToken()
{
    if (!supportsUDIMs()) {
        return nullTextureToken;
    }
    // The set has a token but no texture; managers look for its patches when they bind it.
    const TextureToken token = reserveToken();
    textureTokenIssued(token);
    _udimPatches.insert(token, {});
    return token;
}

void TextureManager::addUDIMPatch(TextureToken token, const QPoint &patch, Texture *texture)
{
    _udimPatches[token][patch] = texture;
}

void TextureManager::removeUDIMPatch(TextureToken token, Texture *texture)
{
    const auto set = _udimPatches.find(token);
    if (set == _udimPatches.end()) {
        return;
    }
    const auto patch = std::find(set->begin(), set->end(), texture);
    if (patch != set->end()) {
        set->erase(patch);
    }
}

bool TextureManager::deleteUDIM(TextureToken token)
{
    if (!_udimPatches.value(token).isEmpty()) {
        return false;
    }
    _udimPatches.remove(token);
    textureTokenRevoked(token);
    deleteToken(token);
    return true;
}

Texture *TextureManager::tempTexture(TextureFormat format, int width, int height, int depth, int samples)
{
    return _texturePool->take(format, width, height, depth, samples);
}

void TextureManager::addTempTextureRef(Texture *texture, int count)
{
    _texturePool->addRef(texture, count);
}

void TextureManager::releaseTempTextureRef(Texture *texture, int count)
{
    _texturePool->releaseRef(texture, count);
}

void TextureManager::printTempTextureSummary()
{
    _texturePool->printSummary();
}

void TextureManager::deleteUnusedTempTextures()
{
    _texturePool->deleteUnused();
}

void TextureManager::setTempTextureFixedSampleLocations(bool fixed)
{
    _texturePool->setFixedSampleLocations(fixed);
}

void TextureManager::recordTexture(const TextureToken &token, Texture *texture)
{
    _tokenToTexture.insert(token, texture);
    _textureToToken.insert(texture, token);
}

void TextureManager::dropTexture(const TextureToken &token)
{
    textureTokenRevoked(token);
    const auto loaded = _tokenToTexture.find(token);
    if (loaded == _tokenToTexture.end()) {
        return; // required: a token that was never loaded keeps its path and its colour
    }
    Texture *texture = *loaded;
    _tokenToTexture.erase(loaded);
    _textureToToken.remove(texture);
    if (_tokenToPath.contains(token)) {
        _pathToToken.remove(_tokenToPath.take(token));
    }
    if (_tokenToColor.contains(token)) {
        // Required: the key is rgb(), not the rgba() of the insertion, so that a translucent colour keeps its entry and its
        // number; see TextureManagerTest.ADeletedColourIsForgottenUnlessItIsTranslucent.
        _colorToToken.remove(_tokenToColor.take(token).rgb());
    }
    if (texture != nullptr && texture->isManaged()) {
        delete texture;
    }
}

void releaseToSharedPool(Texture *texture)
{
    TextureManager::Instance()->releaseTempTextureRef(texture, 1);
}

}} // namespace Orvane::Zel
