#include "BindlessTextureManager.h"

#include "GLSLMacroProcessor.h"
#include "GLUtilities.h"
#include "Texture.h"
#include "TextureIO.h"
#include "private/BindlessFunctions.h"
#include "private/SamplerSlots.h"

namespace Orvane { namespace Zel {

namespace {

/// The high word of slot tokens, which the GLSL file compares with.
constexpr quint64 kSlotTokenMark = Q_UINT64_C(0xFFFFFFFF) << 32;

/// Returns the number that reserveToken() gave a slot token.
unsigned int counterOf(const TextureToken &token)
{
    return static_cast<unsigned int>(token.token);
}

void reportOverflow(int used, int available)
{
    ZEL_LOG_WARNING("Requesting %d texture slots but only %d available. Rendering will be incorrect!", used,
                    available);
}

} // namespace

bool BindlessTextureManager::isSupported()
{
    return hasGLExtension("GL_ARB_bindless_texture") || hasGLExtension("GL_NV_bindless_texture");
}

BindlessTextureManager::BindlessTextureManager()
    : _slots(new SamplerSlotMap<TokenInfo>({GL_RGBA32UI, GL_RGBA_INTEGER, GL_UNSIGNED_INT}, reportOverflow))
    , _bindless(new BindlessFunctions)
{
    if (hasGLExtension("GL_ARB_bindless_texture")) {
        _bindless->lookUp(BindlessFunctions::eARB);
        _useARB = true;
    } else if (hasGLExtension("GL_NV_bindless_texture")) {
        _bindless->lookUp(BindlessFunctions::eNV);
        _useNV = true;
    } else {
        ZEL_ASSERT(false,
                   "No known bindless texture support detected. You should not be using this TextureManager");
    }
}

BindlessTextureManager::~BindlessTextureManager() = default;

bool BindlessTextureManager::isBindlessToken(const TextureToken &token) const
{
    return token.token < kSlotTokenMark;
}

// Without loading: each token of this manager has its texture from the start.
Texture *BindlessTextureManager::textureForToken(const TextureToken &token)
{
    return _tokenToTexture.value(token, nullptr);
}

Texture *BindlessTextureManager::textureForImage(const QString &path, const TextureFileInfo &info)
{
    return TextureManager::textureForImage(path, info);
}

Texture *BindlessTextureManager::textureForColor(const QColor &color)
{
    return TextureManager::textureForColor(color);
}

TextureToken BindlessTextureManager::tokenForTexture(Texture *texture)
{
    const auto known = _textureToToken.constFind(texture);
    if (known != _textureToToken.constEnd()) {
        return *known;
    }
    // A handle freezes the texture. One that may still change is bound to a slot instead; see
    // ManagerTest.HandlesAreTheTokensOfWhatDoesNotChangeAndResidentWhileTheyAreBound.
    const TextureToken token = texture->isReadOnly() ? TextureToken(_bindless->handleOf(*texture))
                                                     : TextureToken(reserveToken().token | kSlotTokenMark);
    recordTexture(token, texture);
    textureTokenIssued(token);
    return token;
}

TextureToken BindlessTextureManager::tokenForImage(const QString &path, const TextureFileInfo &info)
{
    const auto known = _pathToToken.constFind(path); // required: by the path as given, not as resolved
    if (known != _pathToToken.constEnd()) {
        return *known;
    }
    // Loaded at once, since the handle of the texture is the token.
    Texture *texture = LoadTextureFromFile(resolveTexturePath(path), info);
    if (texture == nullptr) {
        return tokenForColor(QColor(Qt::white));
    }
    texture->setReadOnly();
    const TextureToken token(_bindless->handleOf(*texture));
    _pathToToken.insert(path, token);
    _tokenToPath.insert(token, path);
    recordTexture(token, texture);
    textureTokenIssued(token);
    return token;
}

TextureToken BindlessTextureManager::tokenForColor(const QColor &color)
{
    const auto known = _colorToToken.constFind(color.rgba());
    if (known != _colorToToken.constEnd()) {
        return *known;
    }
    Texture *texture = MakeColorTexture(color);
    if (texture == nullptr) { // not recorded: the next request tries again
        return nullTextureToken;
    }
    texture->setReadOnly();
    const TextureToken token(_bindless->handleOf(*texture));
    _colorToToken.insert(color.rgba(), token);
    _tokenToColor.insert(token, color);
    recordTexture(token, texture);
    textureTokenIssued(token);
    return token;
}

void BindlessTextureManager::deleteTexture(const TextureToken &token)
{
    if (token == nullTextureToken) {
        return;
    }
    const TextureToken dropped = token; // the caller's reference may be to an element of the maps
    dropTexture(dropped);
    if (!isBindlessToken(dropped)) { // handles do not come from reserveToken()
        deleteToken(TextureToken(counterOf(dropped)));
    }
}

void BindlessTextureManager::deleteTexture(Texture *texture)
{
    TextureManager::deleteTexture(texture);
}

void BindlessTextureManager::bind(const QList<TextureToken> &tokens)
{
    const QList<TextureToken> copy = tokens;
    for (const TextureToken &token : copy) {
        Texture *texture = token == nullTextureToken ? nullptr : textureForToken(token);
        if (texture == nullptr) {
            continue;
        }
        // A handle needs no slot. A slot token does, and the table must name it, since another slot may have been free.
        if (isBindlessToken(token)) {
            _bindless->makeResident(token.token);
        } else if (texture->bind()) {
            const int slot = _slots->acquire(static_cast<int>(texture->unit()));
            _slots->setEntry(counterOf(token), TokenInfo(static_cast<unsigned int>(slot), 0));
        }
    }
}

void BindlessTextureManager::unbind(const QVector<TextureToken> &tokens)
{
    for (const TextureToken &token : tokens) {
        Texture *texture = textureForToken(token);
        if (texture == nullptr) {
            continue;
        }
        if (isBindlessToken(token)) {
            // Residency has no count: the handle is not resident now, however often the token was bound.
            _bindless->makeNonResident(token.token);
        } else {
            _slots->release(static_cast<int>(texture->unit()));
            texture->unbind();
        }
    }
}

void BindlessTextureManager::bind(ShaderProgram *program)
{
    _slots->bind(program, maxToken(), _maxSlots);
}

void BindlessTextureManager::unbind(ShaderProgram *)
{
    _slots->unbind();
}

void BindlessTextureManager::setup(GLSLMacroProcessor *processor)
{
    TextureManager::setup(processor);
    if (processor == nullptr) {
        return;
    }
    const QString on = QStringLiteral("1");
    processor->addDefine(QStringLiteral("TEXTURE_MANAGER_BINDLESS"), on);
    processor->addDefine(QStringLiteral("TEXTURE_MANAGER_SLOT_COUNT"), QString::number(_maxSlots));
    if (_useNV) {
        processor->addDefine(QStringLiteral("TEXTURE_MANAGER_BINDLESS_NV"), on);
    }
    if (_useARB) {
        processor->addDefine(QStringLiteral("TEXTURE_MANAGER_BINDLESS_ARB"), on);
    }
}

QString BindlessTextureManager::getShaderFile()
{
    return QStringLiteral("BindlessTextureManager.glslc");
}

void BindlessTextureManager::clear()
{
    _slots->clear();
    tokenForColor(QColor(Qt::white)); // required, though the next line deletes it
    TextureManager::clear();
}

void BindlessTextureManager::textureTokenIssued(const TextureToken &token)
{
    // A handle has no entry in the table.
    if (!isBindlessToken(token)) {
        _slots->resize(maxToken());
    }
}

}} // namespace Orvane::Zel
