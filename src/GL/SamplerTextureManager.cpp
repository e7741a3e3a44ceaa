#include "SamplerTextureManager.h"

#include "GLSLMacroProcessor.h"
#include "GLUtilities.h"
#include "Texture.h"
#include "private/Hints.h"
#include "private/SamplerSlots.h"

namespace Orvane { namespace Zel {

namespace {

void reportOverflow(int used, int available)
{
    ZEL_LOG_WARNING("Requesting %d texture slots but only %d available. Rendering will be incorrect!", used,
                    available);
}

} // namespace

SamplerTextureManager::SamplerTextureManager()
    : _slots(new SamplerSlotMap<int>({GL_R32I, GL_RED_INTEGER, GL_INT}, reportOverflow))
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

// The gain is measured together with the one of bindAsList() in TextureManager.cpp.
ZELGL_COLD_PATH void SamplerTextureManager::bindAll(const QList<TextureToken> &tokens)
{
    const QList<TextureToken> copy = tokens; // loading a texture may change the caller's list
    for (const TextureToken &token : copy) {
        // A texture that finds no unit is left out: the others are drawn.
        Texture *texture = token == nullTextureToken ? nullptr : textureForToken(token);
        if (texture == nullptr || !texture->bind()) {
            continue;
        }
        const int slot = _slots->acquire(static_cast<int>(texture->unit()));
        // The second differs from the first if white replaces an image that cannot be read; see
        // TextureManagerPicturesTest.WhatCannotBeLoadedIsWhite.
        for (const TextureToken &shown : {textureTokenMap().value(texture), token}) {
            _slots->setEntry(shown.token, slot);
        }
    }
}

void SamplerTextureManager::unbind(const QVector<TextureToken> &tokens)
{
    if (!tokens.isEmpty()) {
        unbindAll(tokens);
    }
}

ZELGL_COLD_PATH void SamplerTextureManager::unbindAll(const QVector<TextureToken> &tokens)
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
    _slots->bind(program, maxToken(), _maxSlots);
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
    tokenForColor(QColor(Qt::white)); // required, though the next line deletes it
    TextureManager::clear();
    _slots->dirtyMap();
}

void SamplerTextureManager::textureTokenIssued(const TextureToken &)
{
    _slots->resize(maxToken());
}

}} // namespace Orvane::Zel
