#include "Array2DTextureManager.h"

#include "AutoBinder.h"
#include "GLSLMacroProcessor.h"
#include "GLUtilities.h"
#include "Texture.h"
#include "private/BindlessFunctions.h"
#include "private/TokenSet.h"
#include "private/UniformLookup.h"

#include <algorithm>
#include <limits>
#include <numeric>

namespace Orvane { namespace Zel {

namespace {

constexpr int kReservedSlots = 32;
constexpr int kElementsPerToken = 2; ///< ivec4 of the slot map
constexpr int kLargestSlotSide = 0x8000;
constexpr int kLongestRealChain = 20; ///< GL's default maximum level of 1000 means that no chain is set

/// What one QVector can hold of the larger table; a token above has no entry.
constexpr quint64 kMostEntries = std::numeric_limits<int>::max() / sizeof(SlotLayerData) - 1;

int alignedSide(int side, int least, int most, int alignment)
{
    const int clamped = std::min(std::max(side, least), most);
    return (clamped + alignment - 1) / alignment * alignment;
}

GLint textureParameter(const Texture *texture, GLenum name)
{
    GLint value = 0;
    glGetTexParameteriv(texture->target(), name, &value);
    return value;
}

float textureParameterf(const Texture *texture, GLenum name)
{
    float value = 0.0f;
    glGetTexParameterfv(texture->target(), name, &value);
    return value;
}

void reportTarget(const Texture *texture, const TextureToken &token)
{
    ZEL_ASSERT((GL_TEXTURE_2D == texture->target()) || (GL_TEXTURE_CUBE_MAP == texture->target())
                   || (GL_TEXTURE_2D_ARRAY == texture->target()),
               "Texture %llu is for target 0x%X. Only 0x%X, 0x%X or 0x%X are allowed", token.token,
               texture->target(), GL_TEXTURE_2D, GL_TEXTURE_CUBE_MAP, GL_TEXTURE_2D_ARRAY);
}

/// The two framebuffers of a copy between textures; the binding of GL_FRAMEBUFFER
/// is restored at the end.
class BlitFramebuffers
{
    Q_DISABLE_COPY(BlitFramebuffers)

public:
    BlitFramebuffers()
    {
        glGetIntegerv(GL_DRAW_FRAMEBUFFER_BINDING, &_previous);
        glGenFramebuffers(1, &_read);
        glGenFramebuffers(1, &_draw);
    }

    ~BlitFramebuffers()
    {
        glBindFramebuffer(GL_READ_FRAMEBUFFER, 0);
        glBindFramebuffer(GL_DRAW_FRAMEBUFFER, 0);
        glBindFramebuffer(GL_FRAMEBUFFER, static_cast<GLuint>(_previous));
        glDeleteFramebuffers(1, &_read);
        glDeleteFramebuffers(1, &_draw);
        glFlush();
    }

    /// Reads from a level of a texture, of a cube map's face or of an array's layer.
    void attachSource(const Texture *texture, int level, int layer)
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

    void attachTarget(const Texture *texture, int level, int layer)
    {
        glBindFramebuffer(GL_DRAW_FRAMEBUFFER, _draw);
        glFramebufferTextureLayer(GL_DRAW_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, texture->textureID(), level,
                                  layer);
    }

    void blit(int sourceWidth, int sourceHeight, int targetWidth, int targetHeight)
    {
        glBindFramebuffer(GL_READ_FRAMEBUFFER, _read);
        glBindFramebuffer(GL_DRAW_FRAMEBUFFER, _draw);
        glReadBuffer(GL_COLOR_ATTACHMENT0);
        glDrawBuffer(GL_COLOR_ATTACHMENT0);
        glBlitFramebuffer(0, 0, sourceWidth, sourceHeight, 0, 0, targetWidth, targetHeight,
                          GL_COLOR_BUFFER_BIT, GL_LINEAR);
    }

private:
    GLint _previous = 0;
    GLuint _read = 0;
    GLuint _draw = 0;
};

/// The chain ends as soon as one side reaches 0: a slot that is not square has no level of one texel.
int levelCount(const SlotFormat &format)
{
    int levels = 0;
    for (int side = std::min(format.width, format.height); side != 0; side /= 2) {
        ++levels;
    }
    return levels;
}

/// New storage for the bound texture of a slot, and what of its state comes from the format.
void specifyStorage(const SlotFormat &format, int layers)
{
    const GLenum target = GL_TEXTURE_2D_ARRAY;
    const GLenum transferFormat = formatFromInternalFormat(format.internalFormat);
    const GLenum transferType = typeFromInternalFormat(format.internalFormat);
    const int levels = levelCount(format);
    if (levels == 2) { // workaround "arrays of two levels"
        glTexParameteri(target, GL_TEXTURE_MAX_LEVEL, levels - 1);
    }
    for (int level = 0; level < levels; ++level) {
        // One identical call a layer, kept on purpose.
        for (int i = 0; i < layers; ++i) {
            glTexImage3D(target, level, static_cast<GLint>(format.internalFormat), format.width >> level,
                         format.height >> level, layers, 0, transferFormat, transferType, nullptr);
        }
    }
    glTexParameteri(target, GL_TEXTURE_MAG_FILTER, format.magFilter);
    glTexParameteri(target, GL_TEXTURE_MIN_FILTER, format.minFilter);
    glTexParameteri(target, GL_TEXTURE_WRAP_S, format.wrapS);
    glTexParameteri(target, GL_TEXTURE_WRAP_T, format.wrapT);
    glTexParameteri(target, GL_TEXTURE_LOD_BIAS, static_cast<GLint>(format.lodBias)); // loses the fraction
    glTexParameteri(target, GL_TEXTURE_MIN_LOD, 0);
    glTexParameteri(target, GL_TEXTURE_MAX_LOD, levels - 1);
    glTexParameteri(target, GL_TEXTURE_BASE_LEVEL, 0);
    glTexParameteri(target, GL_TEXTURE_MAX_LEVEL, levels - 1);
}

/// Fills all levels of a layer of a slot: from the source's levels, up to the first
/// that it does not have, and the others from the slot's own next larger level.
void blitLayer(BlitFramebuffers &framebuffers, Texture *source, int sourceLayer, int sourceMaxLevel,
               const SlotData &slot, int layer)
{
    int width = slot.format.width;
    int height = slot.format.height;
    int level = 0;
    for (; width != 0 && height != 0 && level <= sourceMaxLevel; ++level, width /= 2, height /= 2) {
        int sourceWidth = 0;
        int sourceHeight = 0;
        {
            const AutoBinder binder(source);
            sourceWidth = source->width(level);
            sourceHeight = source->height(level);
        }
        if (sourceWidth <= 0 || sourceHeight <= 0) {
            break; // GL_TEXTURE_MAX_LEVEL may be larger than the source's last level
        }
        framebuffers.attachSource(source, level, sourceLayer);
        framebuffers.attachTarget(slot.texture, level, layer);
        glBindFramebuffer(GL_FRAMEBUFFER, 0);
        framebuffers.blit(sourceWidth, sourceHeight, width, height);
    }
    const auto sideAt = [](int side, int atLevel) { return std::max(side >> atLevel, 1); };
    for (; width != 0 && height != 0; ++level, width /= 2, height /= 2) {
        framebuffers.attachSource(slot.texture, level - 1, layer);
        framebuffers.attachTarget(slot.texture, level, layer);
        framebuffers.blit(sideAt(slot.format.width, level - 1), sideAt(slot.format.height, level - 1), width,
                          height);
    }
}

/// Without those that no coordinate can reach.
QHash<QPoint, Texture *> usablePatches(QHash<QPoint, Texture *> patches)
{
    for (auto it = patches.begin(); it != patches.end();) {
        if (it.key().x() < 0 || it.key().y() < 0) {
            it = patches.erase(it);
        } else {
            ++it;
        }
    }
    return patches;
}

} // namespace

bool Array2DTextureManager::isBindlessSupported()
{
    return hasGLExtension("GL_ARB_bindless_texture");
}

Array2DTextureManager::Array2DTextureManager()
    : _pendingTokens(new TokenSet)
    , _bindless(new BindlessFunctions)
{
    TextureManager::tokenForColor(QColor(Qt::white)); // token 0
    GLint max2D = 0;
    GLint max3D = 0;
    glGetIntegerv(GL_MAX_TEXTURE_SIZE, &max2D);
    glGetIntegerv(GL_MAX_3D_TEXTURE_SIZE, &max3D);
    _maxSlotWidth = std::min({kLargestSlotSide, max2D, max3D / 2});
    _maxSlotHeight = _maxSlotWidth;
    _slotUnits.reserve(kReservedSlots);
    _slotHandles.reserve(kReservedSlots);
    growTables(1);
    _anisotropySupported = hasGLExtension("GL_ARB_texture_filter_anisotropic")
                           || hasGLExtension("GL_EXT_texture_filter_anisotropic");
    if (_anisotropySupported) {
        glGetFloatv(GL_MAX_TEXTURE_MAX_ANISOTROPY_EXT, &_maxAnisotropy);
    }
    if (isBindlessSupported()) {
        _bindless->lookUp(BindlessFunctions::eARB);
    }
}

Array2DTextureManager::~Array2DTextureManager()
{
    deleteSlots();
}

void Array2DTextureManager::bind(const QVector<TextureToken> &tokens)
{
    bindTextureTokens(tokens);
}

void Array2DTextureManager::bind(const QSet<TextureToken> &tokens)
{
    bindTextureTokens(tokens);
}

void Array2DTextureManager::bind(const QList<TextureToken> &tokens)
{
    bindTextureTokens(tokens);
}

void Array2DTextureManager::unbind(const QVector<TextureToken> &) {}

void Array2DTextureManager::bind(ShaderProgram *program)
{
    const UniformLocations locations = uniformLocations(program);
    if (!locations.any()) {
        return;
    }
    ++_bindDepth;
    updateSlots();
    if (_bindMode == BindModeBindless) {
        for (SlotData *slot : qAsConst(_slots)) {
            if (slot->texture == nullptr || slot->bindlessHandle == 0) {
                continue;
            }
            _bindless->makeResident(slot->bindlessHandle);
            ++slot->residentCount;
        }
    }
    uploadSlotMap(locations);
    if (locations.slotArray >= 0) {
        _bindMode == BindModeBindless ? uploadHandles(locations.slotArray) : uploadSlots(locations.slotArray);
    }
}

void Array2DTextureManager::unbind(ShaderProgram *program)
{
    const UniformLocations locations = uniformLocations(program);
    if (!locations.any()) {
        return;
    }
    --_bindDepth;
    for (SlotData *slot : qAsConst(_slots)) {
        if (_bindMode == BindModeBindless) {
            slot->residentCount -= slot->residentCount != 0 ? 1 : 0; // the handle itself stays resident
        } else if (locations.slotArray >= 0) {
            slot->texture->unbind();
        }
    }
    if (locations.mapSampler >= 0 && _slotMapTexture != nullptr) {
        _slotMapTexture->unbind();
    }
}

void Array2DTextureManager::dirty(Texture *texture)
{
    if (texture == nullptr) {
        return;
    }
    const TextureToken token = tokenForTexture(texture);
    if (token == nullTextureToken || !hasEntry(token)) {
        return;
    }
    SlotLayerData &data = entry(token);
    SlotData *slot = slotAt(data.slot); // a texture's own token is never that of a UDIM set
    if (slot != nullptr && slot->format.isUsed()) {
        slot->freeLayer(static_cast<int>(data.layer), layerCount(token));
        data.clear();
        _dirty = true;
    }
}

void Array2DTextureManager::setup(GLSLMacroProcessor *processor)
{
    TextureManager::setup(processor);
    if (processor == nullptr) {
        return;
    }
    const QString on = QStringLiteral("1");
    processor->addDefine(QStringLiteral("TEXTURE_MANAGER_ARRAY2D"), on);
    processor->addDefine(QStringLiteral("TEXTURE_MANAGER_SLOT_COUNT"), QString::number(_maxSlots));
    processor->addDefine(QStringLiteral("TEXTURE_MANAGER_ARRAY2D_UNIFORMS_SIZE"),
                         QString::number(_uniformsSize));
    if (_useSlotMapUniforms) {
        processor->addDefine(QStringLiteral("TEXTURE_MANAGER_ARRAY2D_SLOT_MAP_USE_UNIFORMS"), on);
    }
    if (_useSlotMapTexture) {
        processor->addDefine(QStringLiteral("TEXTURE_MANAGER_ARRAY2D_SLOT_MAP_USE_TEXTURE"), on);
    }
    if (_useExplicitArrayAccess) {
        processor->addDefine(QStringLiteral("TEXTURE_ARRAY_ARRAY2D_EXPLICIT_ARRAY_ACCESS"), on);
    }
    if (openGlVersionSupported(4, 0)) {
        processor->addDefine(QStringLiteral("TEXTURE_MANAGER_ARRAY2D_SUPPORTS_TEXTURE_QUERY_LOD"), on);
        processor->addMacro(QStringLiteral("TEXTURE_MANAGER_ARRAY2D_GLSL_VERSION"),
                            QStringLiteral("#version 400"));
    }
    processor->addDefine(QStringLiteral("TEXTURE_MANAGER_ARRAY2D_NUM_UVEC4S_PER_TOKEN"),
                         QString::number(kElementsPerToken));
}

QString Array2DTextureManager::getShaderFile()
{
    return _bindMode == BindModeBindless ? QStringLiteral("Array2DTextureManagerBindless.glslc")
                                         : QStringLiteral("Array2DTextureManager.glslc");
}

void Array2DTextureManager::clear()
{
    // The slots are abandoned, not deleted, and the tokens of the base stay: the next setupSlots() makes new ones.
    _pendingTokens->clear();
    _textureTokenToSlotLayerData.clear();
    _textureTokenToLayerCount.clear();
    _slots.clear();
    _slotUnits.clear();
    _slotHandles.clear();
    tokenForColor(QColor(Qt::white));
    _slotUnits.reserve(kReservedSlots);
    _slotHandles.reserve(kReservedSlots);
    _textureTokenToSlotLayerData.clear(); // white may have a new token
    _textureTokenToLayerCount.clear();
    growTables(1);
    _dirty = true;
}

void Array2DTextureManager::setMaxSlots(int count)
{
    _maxSlots = count;
}

void Array2DTextureManager::setSlotReallocationMethod(SlotReallocationMethod method)
{
    if (static_cast<unsigned int>(method) > SlotReallocationUpscale) {
        ZEL_LOG_WARNING("Unsupported slot reallocation method request %d ignored!", static_cast<int>(method));
        return;
    }
    _slotReallocationMethod = method;
}

bool Array2DTextureManager::supportsUDIMs() const
{
    return true;
}

void Array2DTextureManager::textureTokenIssued(const TextureToken &token)
{
    _pendingTokens->insert(token);
    if (!hasEntry(token)) {
        growTables(token.token + 1);
        _dirty = true;
    }
}

void Array2DTextureManager::textureTokenRevoked(const TextureToken &token)
{
    if (!hasEntry(token)) {
        return;
    }
    _udimPatchToToken.remove(token);
    const bool isSet = entry(token).isUDIMSet();
    if (isSet) {
        const quint64 first = entry(token).slot;
        const quint64 last = first + static_cast<quint64>(entry(token).getNumUDIMPatches());
        for (quint64 patch = first; patch <= last; ++patch) {
            textureTokenRevoked(TextureToken(patch));
            deleteToken(TextureToken(patch));
        }
    }
    SlotLayerData &data = entry(token);
    if (!data.isValid()) {
        return;
    }
    SlotData *slot = isSet ? nullptr : slotAt(data.slot);
    if (slot != nullptr) {
        slot->freeLayer(static_cast<int>(data.layer), layerCount(token));
    }
    data.clear();
    _dirty = true;
}

void Array2DTextureManager::setBindMode(BindMode mode)
{
    _bindMode = mode;
}

void Array2DTextureManager::setUseExplicitlyArrayAccessInGLSL(bool use)
{
    _useExplicitArrayAccess = use;
}

void Array2DTextureManager::setUseSlotMapUniforms(bool use)
{
    _useSlotMapUniforms = use;
}

void Array2DTextureManager::setUseSlotMapTexture(bool use)
{
    _useSlotMapTexture = use;
}

void Array2DTextureManager::setupSlots()
{
    if (!_slots.isEmpty()) {
        return;
    }
    const int count = std::max(_maxSlots, 0);
    _slotUnits.resize(count);
    _slotHandles.fill(BindlessHandleUVec2(), count);
    _slots.reserve(count);
    while (_slots.size() < count) {
        _slots.append(new SlotData);
    }
}

void Array2DTextureManager::deleteSlots()
{
    for (SlotData *slot : qAsConst(_slots)) {
        dropHandle(*slot);
        delete slot;
    }
    _slots.clear();
}

SlotFormat Array2DTextureManager::alignedSlotFormat(const SlotFormat &format) const
{
    SlotFormat aligned = format;
    aligned.width = alignedSide(format.width, _minSlotWidth, _maxSlotWidth, _slotAlignX);
    aligned.height = alignedSide(format.height, _minSlotHeight, _maxSlotHeight, _slotAlignY);
    return aligned;
}

SlotLayerData Array2DTextureManager::findSlotLayer(const SlotFormat &format, int layerCount)
{
    if (format.width == 0 || format.height == 0) {
        return SlotLayerData();
    }
    const SlotFormat aligned = alignedSlotFormat(format);
    SlotLayerData place = placeExactly(aligned, layerCount);
    if (!place.isValid()) {
        place = placeInUnusedSlot(aligned, layerCount);
    }
    if (!place.isValid()) {
        place = placeScaled(format, aligned, layerCount);
    }
    if (!place.isValid()) {
        place = placeByMerging(aligned, layerCount);
    }
    if (!place.isValid()) {
        ZEL_LOG_WARNING(
            "%p Failed to find slot or layer (%4dx%-4d) 0x%04X C:0x%04X 0x%04X F:0x%04X 0x%04X %4.1f %4.1f\n",
            static_cast<const void *>(this), format.width, format.height, format.internalFormat,
            static_cast<unsigned int>(format.wrapS), static_cast<unsigned int>(format.wrapT),
            static_cast<unsigned int>(format.magFilter), static_cast<unsigned int>(format.minFilter),
            static_cast<double>(format.anisotropy), static_cast<double>(format.lodBias));
    }
    return place;
}

void Array2DTextureManager::determineSlotLayerDataForTexture(Texture *texture, TextureToken token,
                                                             SlotLayerData &out)
{
    if (texture == nullptr) {
        return;
    }
    reportTarget(texture, token);
    SlotFormat format;
    int layerCount = 1;
    {
        const AutoBinder binder(texture);
        if (!texture->isBound()) {
            return; // no unit was free, which the texture has told
        }
        format.width = texture->width(0);
        format.height = texture->height(0);
        format.internalFormat = static_cast<unsigned int>(texture->internalFormat(0));
        const int depth = texture->depth(0);
        if (texture->target() == GL_TEXTURE_CUBE_MAP) {
            layerCount = 6;
        } else if (texture->target() == GL_TEXTURE_2D_ARRAY) {
            layerCount = depth;
        }
        format.wrapS = textureParameter(texture, GL_TEXTURE_WRAP_S);
        format.wrapT = textureParameter(texture, GL_TEXTURE_WRAP_T);
        format.magFilter = textureParameter(texture, GL_TEXTURE_MAG_FILTER);
        format.minFilter = textureParameter(texture, GL_TEXTURE_MIN_FILTER);
        format.lodBias = textureParameterf(texture, GL_TEXTURE_LOD_BIAS);
        if (_anisotropySupported) {
            format.anisotropy = textureParameterf(texture, GL_TEXTURE_MAX_ANISOTROPY_EXT);
        }
    }
    out = findSlotLayer(format, layerCount);
    if (hasEntry(token)) {
        _textureTokenToLayerCount[static_cast<int>(token.token)] = static_cast<unsigned int>(layerCount);
        _pendingTokens->insert(token);
    }
    _dirty = true;
}

bool Array2DTextureManager::moveSlotLayers(int from, int to)
{
    SlotData *source = slotAt(static_cast<unsigned int>(from));
    SlotData *target = slotAt(static_cast<unsigned int>(to));
    if (source == nullptr || target == nullptr || !source->format.isUsed()) {
        return false;
    }
    for (int i = 0; i < _textureTokenToSlotLayerData.size(); ++i) {
        if (!isPlacedIn(i, from)) {
            continue;
        }
        const int count = static_cast<int>(_textureTokenToLayerCount.at(i));
        const unsigned int layer = target->getFreeLayer(count);
        if (layer == SlotData::kNoLayer) {
            return false; // what was moved so far stays in the target
        }
        SlotLayerData &data = _textureTokenToSlotLayerData[i];
        source->freeLayer(static_cast<int>(data.layer), count);
        data = SlotLayerData(static_cast<unsigned int>(to), layer, target->bindlessHandle);
        _pendingTokens->insert(TextureToken(static_cast<unsigned long long>(i)));
        _dirty = true;
    }
    _dirty = true;
    return true;
}

QVector<int> Array2DTextureManager::filterSlotsBySimilar(const SlotFormat &format,
                                                         const QVector<int> &slotIndices) const
{
    QVector<int> similar;
    std::copy_if(slotIndices.begin(), slotIndices.end(), std::back_inserter(similar), [&](int index) {
        const SlotData *slot = slotAt(static_cast<unsigned int>(index));
        return slot != nullptr && slot->isSimilar(format);
    });
    return similar;
}

QVector<int> Array2DTextureManager::sortSlotsByLargest(const QVector<int> &slotIndices) const
{
    const auto area = [this](int index) {
        const SlotData *slot = slotAt(static_cast<unsigned int>(index));
        return slot != nullptr ? slot->format.area() : 0;
    };
    QVector<int> sorted = slotIndices;
    std::stable_sort(sorted.begin(), sorted.end(), [&](int a, int b) { return area(a) > area(b); });
    return sorted;
}

bool Array2DTextureManager::searchForSimilarSlot(const SlotFormat &format, SlotData *&slot, int &index,
                                                 SlotData *excluded) const
{
    unsigned int best = SlotData::kNoFit;
    for (int i = 0; i < _slots.size(); ++i) {
        SlotData *candidate = _slots.at(i);
        if (candidate == excluded || !candidate->format.isUsed() || !candidate->isSimilar(format)) {
            continue;
        }
        const unsigned int score = candidate->getFormatDeltaScore(format, _slotReallocationMethod);
        if (score < best) {
            best = score;
            slot = candidate;
            index = i;
        }
    }
    return best != SlotData::kNoFit;
}

bool Array2DTextureManager::seachForSlotWithLargestXY(SlotData *&slot, int &index) const
{
    int largest = 0;
    bool found = false;
    for (int i = 0; i < _slots.size(); ++i) {
        const SlotFormat &format = _slots.at(i)->format;
        if (format.isUsed() && format.area() >= largest) { // a later tie wins
            largest = format.area();
            slot = _slots.at(i);
            index = i;
            found = true;
        }
    }
    return found;
}

void Array2DTextureManager::dumpSlots() const
{
    QString text = QString::asprintf("%p \n", static_cast<const void *>(this));
    for (int i = 0; i < _slots.size(); ++i) {
        const SlotData &slot = *_slots.at(i);
        const SlotFormat &format = slot.format;
        text += QString::asprintf(" %2d", i);
        if (format.isUsed()) {
            text += QString::asprintf(
                " {(%4dx%4d) 0x%04X C:0x%04X 0x%04X F:0x%04X 0x%04X ,%2d:%2d<%2d}", format.width,
                format.height, format.internalFormat, static_cast<unsigned int>(format.wrapS),
                static_cast<unsigned int>(format.wrapT), static_cast<unsigned int>(format.magFilter),
                static_cast<unsigned int>(format.minFilter), slot.usedLayers, slot.allocatedLayers,
                slot.maxLayers);
        } else {
            text += QLatin1String(" {UNUSED}");
        }
        text += QLatin1String(" \n");
    }
    ZEL_LOG_DEBUG("%s", text.toLocal8Bit().constData());
}

void Array2DTextureManager::updateSlots()
{
    setupSlots();
    for (int i = 0; i < _slots.size(); ++i) {
        const SlotData &slot = *_slots.at(i);
        const bool upToDate = slot.allocatedLayers != 0 && slot.allocatedLayers >= slot.usedLayers;
        if (slot.format.isUsed() && !upToDate) {
            allocateSlot(i);
        }
    }
    if (_pendingTokens->isEmpty()) {
        return;
    }
    // A copy, since loading a texture may issue tokens.
    const QVector<TextureToken> pending = _pendingTokens->takeAll();
    for (const TextureToken &token : pending) {
        if (!blitTokenToTextureSlot(token)) {
            _pendingTokens->insert(token);
        }
    }
}

bool Array2DTextureManager::blitTokenToTextureSlot(const TextureToken &token)
{
    if (!hasEntry(token) || !entry(token).isValid() || entry(token).isUDIMSet()) {
        return true;
    }
    Texture *texture = textureForToken(token);
    if (texture == nullptr && _udimPatchToToken.contains(token)) {
        texture = textureForToken(_udimPatchToToken.value(token));
    }
    if (texture == nullptr) {
        return false;
    }
    const SlotLayerData place = entry(token); // after the load, which may have grown the table
    const SlotData *slot = slotAt(place.slot);
    if (slot == nullptr) {
        return true; // its slots were deleted
    }
    _bindless->isResident(slot->bindlessHandle); // the answer is not used
    glFlush();
    int width = 0;
    int height = 0;
    GLint maxLevel = 0;
    {
        const AutoBinder binder(texture);
        if (!texture->isBound()) {
            return false; // no unit was free, which the texture has reported
        }
        width = texture->width(0);
        height = texture->height(0);
        maxLevel = textureParameter(texture, GL_TEXTURE_MAX_LEVEL);
    }
    if (width <= 0 || height <= 0) {
        ZEL_LOG_WARNING("%p Ignoring texture of size (%dx%d), not blitted into array2D",
                        static_cast<const void *>(this), width, height);
        return false;
    }
    if (maxLevel > kLongestRealChain) {
        maxLevel = 0;
    }
    BlitFramebuffers framebuffers;
    for (int i = 0; i < layerCount(token); ++i) {
        blitLayer(framebuffers, texture, i, maxLevel, *slot, static_cast<int>(place.layer) + i);
    }
    return true;
}

template <typename Tokens> void Array2DTextureManager::bindTextureTokens(const Tokens &tokens)
{
    if (tokens.isEmpty()) {
        return;
    }
    setupSlots();
    const Tokens copy = tokens; // loading a texture may change the caller's container
    for (const TextureToken &token : copy) {
        if (token == nullTextureToken) {
            continue;
        }
        ZEL_ASSERT(token.token < quint64(_textureTokenToSlotLayerData.size()),
                   "Token %llu is not in array %d.", token.token, _textureTokenToSlotLayerData.size());
        if (!hasEntry(token) || entry(token).isValid()) {
            continue;
        }
        if (Texture *texture = textureForToken(token)) {
            reportTarget(texture, token);
            determineSlotLayerDataForTexture(texture, token, entry(token));
        } else if (_udimPatches.contains(token)) {
            buildUDIMSet(token);
        }
    }
}

void Array2DTextureManager::buildUDIMSet(const TextureToken &token)
{
    const QHash<QPoint, Texture *> patches = usablePatches(_udimPatches.value(token));
    qint64 width = 1;
    for (auto it = patches.begin(); it != patches.end(); ++it) {
        width = std::max<qint64>(width, it.key().x() + qint64(1));
    }
    const auto indexOf = [width](const QPoint &patch) { return width * patch.y() + patch.x(); };
    qint64 maxPatch = 0;
    for (auto it = patches.begin(); it != patches.end(); ++it) {
        maxPatch = std::max(maxPatch, indexOf(it.key()));
    }
    if (maxToken().token + static_cast<quint64>(maxPatch) >= kMostEntries) {
        return;
    }
    // One block, since the shader adds a patch's index to the first token.
    const TextureToken first = reserveTokenBlock(static_cast<int>(maxPatch) + 1);
    const auto slotTokenOf = [first](qint64 index) {
        return TextureToken(first.token + static_cast<quint64>(index));
    };
    for (qint64 i = 0; i <= maxPatch; ++i) {
        textureTokenIssued(slotTokenOf(i));
    }
    entry(token).configureUDIMSet(first, static_cast<int>(width), static_cast<int>(maxPatch));
    _dirty = true;
    for (auto it = patches.begin(); it != patches.end(); ++it) {
        const TextureToken patchToken = tokenForTexture(it.value());
        ZEL_ASSERT(patchToken.token < quint64(_textureTokenToSlotLayerData.size()),
                   "Token %llu is not in array %d.", patchToken.token, _textureTokenToSlotLayerData.size());
        const TextureToken slotToken = slotTokenOf(indexOf(it.key()));
        determineSlotLayerDataForTexture(it.value(), slotToken, entry(slotToken));
        _udimPatchToToken.insert(slotToken, patchToken);
    }
}

bool Array2DTextureManager::hasEntry(const TextureToken &token) const
{
    return token.token < static_cast<quint64>(_textureTokenToSlotLayerData.size());
}

SlotLayerData &Array2DTextureManager::entry(const TextureToken &token)
{
    return _textureTokenToSlotLayerData[static_cast<int>(token.token)];
}

int Array2DTextureManager::layerCount(const TextureToken &token) const
{
    return static_cast<int>(_textureTokenToLayerCount.at(static_cast<int>(token.token)));
}

/// UDIM sets are passed over: their entries hold a token where others hold a slot.
bool Array2DTextureManager::isPlacedIn(int tokenIndex, int slotIndex) const
{
    const SlotLayerData &data = _textureTokenToSlotLayerData.at(tokenIndex);
    return data.isValid() && !data.isUDIMSet() && data.slot == static_cast<unsigned int>(slotIndex);
}

void Array2DTextureManager::growTables(quint64 size)
{
    if (size == 0 || size > kMostEntries) {
        return; // behind the null token, or one that is told when it is bound
    }
    _textureTokenToSlotLayerData.resize(static_cast<int>(size));
    const int oldSize = _textureTokenToLayerCount.size();
    _textureTokenToLayerCount.resize(static_cast<int>(size));
    std::fill(_textureTokenToLayerCount.begin() + oldSize, _textureTokenToLayerCount.end(), 1u);
}

SlotData *Array2DTextureManager::slotAt(unsigned int index) const
{
    return index < static_cast<unsigned int>(_slots.size()) ? _slots.at(static_cast<int>(index)) : nullptr;
}

SlotLayerData Array2DTextureManager::placeIn(int index, int layerCount)
{
    SlotData *slot = _slots.at(index);
    const unsigned int layer = slot->getFreeLayer(layerCount);
    return layer != SlotData::kNoLayer
               ? SlotLayerData(static_cast<unsigned int>(index), layer, slot->bindlessHandle)
               : SlotLayerData();
}

SlotLayerData Array2DTextureManager::placeExactly(const SlotFormat &aligned, int layerCount)
{
    SlotLayerData place;
    for (int i = 0; i < _slots.size() && !place.isValid(); ++i) {
        if (_slots.at(i)->format.isUsed() && _slots.at(i)->isCompatible(aligned)) {
            place = placeIn(i, layerCount);
        }
    }
    return place;
}

SlotLayerData Array2DTextureManager::placeInUnusedSlot(const SlotFormat &aligned, int layerCount)
{
    SlotLayerData place;
    for (int i = 0; i < _slots.size() && !place.isValid(); ++i) {
        if (!_slots.at(i)->format.isUsed()) {
            _slots.at(i)->setupFormat(aligned); // it stays, even where the request is too large for the slot
            place = placeIn(i, layerCount);
        }
    }
    return place;
}

SlotLayerData Array2DTextureManager::placeScaled(const SlotFormat &format, const SlotFormat &aligned,
                                                 int layerCount)
{
    SlotData *similar = nullptr;
    int index = -1;
    if (!searchForSimilarSlot(aligned, similar, index, nullptr)) {
        return SlotLayerData();
    }
    const SlotLayerData place = placeIn(index, layerCount);
    if (place.isValid()) {
        reportResize(format.width, format.height, similar->format);
    }
    return place;
}

SlotLayerData Array2DTextureManager::placeByMerging(const SlotFormat &aligned, int layerCount)
{
    const bool upscale = _slotReallocationMethod == SlotReallocationUpscale;
    QVector<int> remaining(_slots.size());
    std::iota(remaining.begin(), remaining.end(), 0);
    remaining = sortSlotsByLargest(remaining);
    while (!remaining.isEmpty()) {
        const int smallest = remaining.takeLast();
        const QVector<int> candidates = filterSlotsBySimilar(_slots.at(smallest)->format, remaining);
        for (int i = candidates.size() - 1; i >= 0; --i) {
            const int from = upscale ? smallest : candidates.at(i);
            const int to = upscale ? candidates.at(i) : smallest;
            if (!moveSlotLayers(from, to)) {
                continue;
            }
            const SlotFormat &freed = _slots.at(from)->format;
            reportResize(freed.width, freed.height, _slots.at(to)->format);
            _slots.at(from)->setupFormat(aligned);
            const SlotLayerData place = placeIn(from, layerCount);
            if (place.isValid()) {
                return place;
            }
        }
    }
    return SlotLayerData();
}

void Array2DTextureManager::reportResize(int fromWidth, int fromHeight, const SlotFormat &to) const
{
    ZEL_LOG_WARNING("%p Textures were resized to fit into texture slots (%dx%d) -> (%dx%d)",
                    static_cast<const void *>(this), fromWidth, fromHeight, to.width, to.height);
}

void Array2DTextureManager::allocateSlot(int index)
{
    SlotData &slot = *_slots.at(index);
    const int layers = slot.usedLayers;
    if (slot.allocatedLayers != 0) {
        // New storage loses the pixels of the old.
        for (int i = 0; i < _textureTokenToSlotLayerData.size(); ++i) {
            if (isPlacedIn(i, index)) {
                _pendingTokens->insert(TextureToken(static_cast<unsigned long long>(i)));
            }
        }
    }
    if (slot.bindlessHandle != 0) {
        dropHandle(slot);
        slot.createTexture(); // a texture with a handle cannot change its storage
    }
    {
        const AutoBinder binder(slot.texture);
        if (!slot.texture->isBound()) {
            return; // no unit was free, which the texture has told: the next update tries again
        }
        specifyStorage(slot.format, layers);
        if (_anisotropySupported) {
            glTexParameterf(GL_TEXTURE_2D_ARRAY, GL_TEXTURE_MAX_ANISOTROPY_EXT, slot.format.anisotropy);
        }
        glFlush();
    }
    slot.allocatedLayers = layers;
    if (_bindMode == BindModeBindless) {
        makeHandle(index);
    }
}

void Array2DTextureManager::makeHandle(int index)
{
    SlotData &slot = *_slots.at(index);
    slot.bindlessHandle = _bindless->handleOf(*slot.texture);
    for (int i = 0; i < _textureTokenToSlotLayerData.size(); ++i) {
        if (isPlacedIn(i, index)) {
            _textureTokenToSlotLayerData[i].setBindlessTextureHandle(slot.bindlessHandle);
        }
    }
    _dirty = true;
}

void Array2DTextureManager::dropHandle(SlotData &slot)
{
    _bindless->makeNonResident(slot.bindlessHandle);
    slot.bindlessHandle = 0;
    slot.residentCount = 0;
}

Array2DTextureManager::UniformLocations
Array2DTextureManager::uniformLocations(const ShaderProgram *program) const
{
    static const UniformName mapSampler("u_TextureTokenManagedTextureSlotMapSample");
    static const UniformName mapUniforms("u_TextureTokenManagedTextureSlotMapUniforms[0]");
    static const UniformName handles("u_ManagedTextureHandles[0]");
    static const UniformName samplers("u_ManagedTextureSlots[0]");
    const UniformLookup locationOf(program);
    return {locationOf(mapSampler), locationOf(mapUniforms),
            locationOf(_bindMode == BindModeBindless ? handles : samplers)};
}

void Array2DTextureManager::uploadSlotMap(const UniformLocations &locations)
{
    const int elements = kElementsPerToken * _textureTokenToSlotLayerData.size();
    const auto *data = reinterpret_cast<const GLint *>(_textureTokenToSlotLayerData.constData());
    if (locations.mapUniforms >= 0) {
        glUniform4iv(locations.mapUniforms, std::min(elements, _uniformsSize), data);
    }
    if (locations.mapSampler < 0) {
        return;
    }
    if (_slotMapTexture == nullptr) {
        _slotMapTexture = new Texture(nullptr);
        _slotMapTexture->setTarget(GL_TEXTURE_1D);
        const AutoBinder binder(_slotMapTexture);
        glTexParameteri(GL_TEXTURE_1D, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
        glTexParameteri(GL_TEXTURE_1D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
    }
    if (!_slotMapTexture->bind()) {
        return;
    }
    if (_dirty) {
        glTexImage1D(GL_TEXTURE_1D, 0, GL_RGBA32I, elements, 0, GL_RGBA_INTEGER, GL_INT, data);
        _dirty = false;
    }
    glUniform1i(locations.mapSampler, static_cast<GLint>(_slotMapTexture->unit()));
}

void Array2DTextureManager::uploadHandles(int location)
{
    for (int i = 0; i < _slots.size(); ++i) {
        const quint64 handle = _slots.at(i)->bindlessHandle;
        _slotHandles[i] = {static_cast<unsigned int>(handle), static_cast<unsigned int>(handle >> 32)};
    }
    glUniform2uiv(location, _slotHandles.size(), reinterpret_cast<const GLuint *>(_slotHandles.constData()));
}

void Array2DTextureManager::uploadSlots(int location)
{
    for (int i = 0; i < _slots.size(); ++i) {
        _slots.at(i)->texture->bind();
        _slotUnits[i] = static_cast<int>(_slots.at(i)->texture->unit());
    }
    glUniform1iv(location, _slotUnits.size(), _slotUnits.constData());
}

}} // namespace Orvane::Zel
