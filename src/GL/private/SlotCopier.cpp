#include "SlotCopier.h"

#include "../AutoBinder.h"
#include "../GLUtilities.h"
#include "../Texture.h"
#include "GLValues.h"

#include <algorithm>

namespace Orvane { namespace Zel {

namespace {

constexpr int kMaxLastLevel = 20; ///< GL's default of 1000 means that the texture has no chain of levels

GLint textureParameter(const Texture &texture, GLenum name)
{
    GLint value = 0;
    glGetTexParameteriv(texture.target(), name, &value);
    return value;
}

float textureParameterf(const Texture &texture, GLenum name)
{
    float value = 0.0f;
    glGetTexParameterfv(texture.target(), name, &value);
    return value;
}

/// Required: the chain ends when one side reaches 0, so that a slot that is not square has no level of one texel; see
/// ArrayManagerTest.StorageIsMadeOnceALayerAndALevel.
int levelCount(const SlotFormat &format)
{
    int levels = 0;
    for (int side = std::min(format.width, format.height); side != 0; side /= 2) {
        ++levels;
    }
    return levels;
}

void specifyStorage(const SlotFormat &format, int layers, bool hasAnisotropy)
{
    const GLenum target = GL_TEXTURE_2D_ARRAY;
    const GLenum transferFormat = formatFromInternalFormat(format.internalFormat);
    const GLenum transferType = typeFromInternalFormat(format.internalFormat);
    const int levels = levelCount(format);
    if (levels == 2) { // workaround "arrays of two levels"
        glTexParameteri(target, GL_TEXTURE_MAX_LEVEL, levels - 1);
    }
    for (int level = 0; level < levels; ++level) {
        // Required: one identical call for each layer; see ArrayManagerTest.StorageIsMadeOnceALayerAndALevel.
        for (int i = 0; i < layers; ++i) {
            glTexImage3D(target, level, static_cast<GLint>(format.internalFormat), format.width >> level,
                         format.height >> level, layers, 0, transferFormat, transferType, nullptr);
        }
    }
    glTexParameteri(target, GL_TEXTURE_MAG_FILTER, format.magFilter);
    glTexParameteri(target, GL_TEXTURE_MIN_FILTER, format.minFilter);
    glTexParameteri(target, GL_TEXTURE_WRAP_S, format.wrapS);
    glTexParameteri(target, GL_TEXTURE_WRAP_T, format.wrapT);
    // Required: as an integer, which loses the fraction of the bias.
    glTexParameteri(target, GL_TEXTURE_LOD_BIAS, static_cast<GLint>(format.lodBias));
    glTexParameteri(target, GL_TEXTURE_MIN_LOD, 0);
    glTexParameteri(target, GL_TEXTURE_MAX_LOD, levels - 1);
    glTexParameteri(target, GL_TEXTURE_BASE_LEVEL, 0);
    glTexParameteri(target, GL_TEXTURE_MAX_LEVEL, levels - 1);
    if (hasAnisotropy) {
        glTexParameterf(target, GL_TEXTURE_MAX_ANISOTROPY_EXT, format.anisotropy);
    }
}

} // namespace

SlotRequest slotRequestOf(Texture &texture, bool hasAnisotropy)
{
    SlotRequest request;
    SlotFormat &format = request.format;
    format.width = texture.width(0);
    format.height = texture.height(0);
    format.internalFormat = static_cast<unsigned int>(texture.internalFormat(0));
    const int depth = texture.depth(0);
    if (texture.target() == GL_TEXTURE_CUBE_MAP) {
        request.layerCount = 6;
    } else if (texture.target() == GL_TEXTURE_2D_ARRAY) {
        request.layerCount = depth;
    }
    // The sampling state is part of the format, since all layers of an array texture share it.
    format.wrapS = textureParameter(texture, GL_TEXTURE_WRAP_S);
    format.wrapT = textureParameter(texture, GL_TEXTURE_WRAP_T);
    format.magFilter = textureParameter(texture, GL_TEXTURE_MAG_FILTER);
    format.minFilter = textureParameter(texture, GL_TEXTURE_MIN_FILTER);
    format.lodBias = textureParameterf(texture, GL_TEXTURE_LOD_BIAS);
    if (hasAnisotropy) {
        format.anisotropy = textureParameterf(texture, GL_TEXTURE_MAX_ANISOTROPY_EXT);
    }
    return request;
}

SlotSource slotSourceOf(Texture &texture)
{
    SlotSource source;
    source.width = texture.width(0);
    source.height = texture.height(0);
    // A texture without a chain of levels gives its level 0 only; the copier makes the others of the slot.
    const int maxLevel = textureParameter(texture, GL_TEXTURE_MAX_LEVEL);
    source.lastLevel = maxLevel > kMaxLastLevel ? 0 : maxLevel;
    return source;
}

bool makeSlotStorage(SlotData &slot, bool hasAnisotropy)
{
    const AutoBinder binder(slot.texture);
    if (!slot.texture->isBound()) {
        return false;
    }
    specifyStorage(slot.format, slot.usedLayers, hasAnisotropy);
    glFlush();
    slot.allocatedLayers = slot.usedLayers;
    return true;
}

SlotCopier::SlotCopier()
    : _previous(integerFromGL(GL_DRAW_FRAMEBUFFER_BINDING))
{
    glGenFramebuffers(1, &_read);
    glGenFramebuffers(1, &_draw);
}

SlotCopier::~SlotCopier()
{
    glBindFramebuffer(GL_READ_FRAMEBUFFER, 0);
    glBindFramebuffer(GL_DRAW_FRAMEBUFFER, 0);
    // Required: the read framebuffer of the host is not restored.
    glBindFramebuffer(GL_FRAMEBUFFER, static_cast<GLuint>(_previous));
    glDeleteFramebuffers(1, &_read);
    glDeleteFramebuffers(1, &_draw);
    glFlush();
}

void SlotCopier::copyLayer(Texture *source, int sourceLayer, int lastLevel, const SlotData &slot, int layer)
{
    int width = slot.format.width;
    int height = slot.format.height;
    int level = 0;
    // 1. The levels of the source, each scaled to the slot's level of the same number.
    for (; width != 0 && height != 0 && level <= lastLevel; ++level, width /= 2, height /= 2) {
        int sourceWidth = 0;
        int sourceHeight = 0;
        // Sizes are queried from GL, which needs the texture bound.
        {
            const AutoBinder binder(source);
            sourceWidth = source->width(level);
            sourceHeight = source->height(level);
        }
        if (sourceWidth <= 0 || sourceHeight <= 0) {
            break; // GL_TEXTURE_MAX_LEVEL may be larger than the source's last level
        }
        attachSource(source, level, sourceLayer);
        attachTarget(slot.texture, level, layer);
        // Required, though blit() binds both framebuffers again.
        glBindFramebuffer(GL_FRAMEBUFFER, 0);
        blit(sourceWidth, sourceHeight, width, height);
    }
    // 2. The other levels, each from the slot's next larger one in the same layer. Sides are halved as GL halves them.
    const auto sideAt = [](int side, int atLevel) { return std::max(side >> atLevel, 1); };
    for (; width != 0 && height != 0; ++level, width /= 2, height /= 2) {
        attachSource(slot.texture, level - 1, layer);
        attachTarget(slot.texture, level, layer);
        blit(sideAt(slot.format.width, level - 1), sideAt(slot.format.height, level - 1), width, height);
    }
}

void SlotCopier::attachSource(const Texture *texture, int level, int layer)
{
    glBindFramebuffer(GL_READ_FRAMEBUFFER, _read);
    const GLuint name = texture->textureID();
    switch (texture->target()) {
    case GL_TEXTURE_CUBE_MAP:
        glFramebufferTexture2D(GL_READ_FRAMEBUFFER, GL_COLOR_ATTACHMENT0,
                               GL_TEXTURE_CUBE_MAP_POSITIVE_X + static_cast<GLenum>(layer), name, level);
        break;
    case GL_TEXTURE_2D_ARRAY:
        glFramebufferTextureLayer(GL_READ_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, name, level, layer);
        break;
    default:
        glFramebufferTexture(GL_READ_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, name, level);
        break;
    }
}

void SlotCopier::attachTarget(const Texture *texture, int level, int layer)
{
    glBindFramebuffer(GL_DRAW_FRAMEBUFFER, _draw);
    glFramebufferTextureLayer(GL_DRAW_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, texture->textureID(), level, layer);
}

void SlotCopier::blit(int sourceWidth, int sourceHeight, int targetWidth, int targetHeight)
{
    glBindFramebuffer(GL_READ_FRAMEBUFFER, _read);
    glBindFramebuffer(GL_DRAW_FRAMEBUFFER, _draw);
    glReadBuffer(GL_COLOR_ATTACHMENT0);
    glDrawBuffer(GL_COLOR_ATTACHMENT0);
    glBlitFramebuffer(0, 0, sourceWidth, sourceHeight, 0, 0, targetWidth, targetHeight, GL_COLOR_BUFFER_BIT,
                      GL_LINEAR);
}

}} // namespace Orvane::Zel
