#include "SamplerTextureManager.h"

#include "GLSLMacroProcessor.h"
#include "GLUtilities.h"
#include "Texture.h"
#include "private/SamplerSlots.h"

namespace Orvane { namespace Zel {

SamplerTextureManager::SamplerTextureManager()
    : _slots(new SamplerSlots({GL_R32I, GL_RED_INTEGER, GL_INT}))
{
    TextureManager::tokenForColor(QColor(Qt::white));
}

SamplerTextureManager::~SamplerTextureManager() = default;

void SamplerTextureManager::bind(const QList<TextureToken> &tokens)
{
    if (!tokens.isEmpty()) {
        bindAll(tokens);
    }
}

Q_NEVER_INLINE void SamplerTextureManager::bindAll(const QList<TextureToken> &tokens)
{
    const QList<TextureToken> copy = tokens; // loading a texture may change the caller's list
    for (const TextureToken &token : copy) {
        Texture *texture = token == nullTextureToken ? nullptr : textureForToken(token);
        if (texture == nullptr || !texture->bind()) {
            continue;
        }
        const int slot = _slots->take(static_cast<int>(texture->unit()));
        // Two tokens where white replaces an image that cannot be read.
        for (const TextureToken &shown : {textureTokenMap().value(texture), token}) {
            if (shown.token < static_cast<quint64>(_tokenToSlot.size())
                && _tokenToSlot.at(static_cast<int>(shown.token)) != slot) {
                _tokenToSlot[static_cast<int>(shown.token)] = slot;
                _slots->dirtyMap();
            }
        }
    }
}

void SamplerTextureManager::unbind(const QVector<TextureToken> &tokens)
{
    if (!tokens.isEmpty()) {
        unbindAll(tokens);
    }
}

Q_NEVER_INLINE void SamplerTextureManager::unbindAll(const QVector<TextureToken> &tokens)
{
    for (const TextureToken &token : tokens) {
        Texture *texture = textureForToken(token);
        if (texture != nullptr) {
            _slots->release(static_cast<int>(texture->unit()));
            texture->unbind();
        }
    }
}

void SamplerTextureManager::bind(ShaderProgram *program)
{
    const int width = SamplerSlots::mapWidth(maxToken());
    if (_tokenToSlot.size() < width) {
        _tokenToSlot.resize(width); // a block of tokens is reserved without being issued
    }
    const int units = _slots->bindMap(program, _tokenToSlot.constData(), width);
    if (_slots->used() > _maxSlots) {
        ZEL_LOG_WARNING("Requesting %d texture slots but only %d available. Rendering will be incorrect!",
                        _slots->used(), _maxSlots);
    }
    _slots->uploadUnits(units, _maxSlots);
}

void SamplerTextureManager::unbind(ShaderProgram *)
{
    _slots->unbind();
}

void SamplerTextureManager::setup(GLSLMacroProcessor *processor)
{
    TextureManager::setup(processor);
    if (processor != nullptr) {
        processor->addDefine(QStringLiteral("TEXTURE_MANAGER_SAMPLER"), QStringLiteral("1"));
        processor->addDefine(QStringLiteral("TEXTURE_MANAGER_SLOT_COUNT"), QString::number(_maxSlots));
    }
}

QString SamplerTextureManager::getShaderFile()
{
    return QStringLiteral("SamplerTextureManager.glslc");
}

void SamplerTextureManager::clear()
{
    _slots->clear();
    _tokenToSlot.clear();
    tokenForColor(QColor(Qt::white)); // gone again with the next line
    TextureManager::clear();
    _slots->dirtyMap();
}

void SamplerTextureManager::textureTokenIssued(const TextureToken &)
{
    _slots->discardMap();
    _tokenToSlot.resize(SamplerSlots::mapWidth(maxToken()));
}

}} // namespace Orvane::Zel
