#include "Array2DTextureManager.h"

#include "AutoBinder.h"
#include "GLSLMacroProcessor.h"
#include "GLUtilities.h"
#include "Texture.h"
#include "private/GLValues.h"
#include "private/SlotCopier.h"
#include "private/SlotHandles.h"
#include "private/SlotQueries.h"
#include "private/SlotUniforms.h"
#include "private/TokenSet.h"
#include "private/UDIMLayout.h"

#include <algorithm>
#include <limits>
#include <numeric>

namespace Orvane { namespace Zel {

namespace {

constexpr int kMaxSlotSide = 0x8000;

/// The most elements of one QVector of the larger table. A token above it has no entry.
constexpr quint64 kMaxEntries = std::numeric_limits<int>::max() / sizeof(SlotLayerData) - 1;

int alignedSide(int side, int minimum, int maximum, int alignment)
{
    const int clamped = std::min(std::max(side, minimum), maximum);
    return (clamped + alignment - 1) / alignment * alignment;
}

void reportTarget(const Texture *texture, const TextureToken &token)
{
    ZEL_ASSERT((GL_TEXTURE_2D == texture->target()) || (GL_TEXTURE_CUBE_MAP == texture->target())
                   || (GL_TEXTURE_2D_ARRAY == texture->target()),
               "Texture %llu is for target 0x%X. Only 0x%X, 0x%X or 0x%X are allowed", token.token,
               texture->target(), GL_TEXTURE_2D, GL_TEXTURE_CUBE_MAP, GL_TEXTURE_2D_ARRAY);
}

} // namespace

bool Array2DTextureManager::isBindlessSupported()
{
    return SlotHandles::isSupported();
}

Array2DTextureManager::Array2DTextureManager()
    : _pendingTokens(new TokenSet)
    , _uniforms(new SlotUniforms)
    , _handles(new SlotHandles)
{
    TextureManager::tokenForColor(QColor(Qt::white)); // white is token 0
    const GLint max2D = integerFromGL(GL_MAX_TEXTURE_SIZE);
    const GLint max3D = integerFromGL(GL_MAX_3D_TEXTURE_SIZE);
    // Required: half of the limit of 3D textures, though array textures have another limit.
    _maxSlotWidth = std::min({kMaxSlotSide, max2D, max3D / 2});
    _maxSlotHeight = _maxSlotWidth;
    growTables(1);
    _anisotropySupported = hasGLExtension("GL_ARB_texture_filter_anisotropic")
                           || hasGLExtension("GL_EXT_texture_filter_anisotropic");
    if (_anisotropySupported) {
        glGetFloatv(GL_MAX_TEXTURE_MAX_ANISOTROPY_EXT, &_maxAnisotropy);
    }
    _handles->lookUp();
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

// A placed texture keeps its place, whether it is in use or not.
void Array2DTextureManager::unbind(const QVector<TextureToken> &) {}

void Array2DTextureManager::bind(ShaderProgram *program)
{
    const SlotUniforms::Locations locations =
        SlotUniforms::locationsIn(program, _bindMode == BindModeBindless);
    if (!locations.any()) {
        return; // a program that samples by no token pays for the look-ups only
    }
    // 1. Place and copy what is pending: both may change the slots, so that all uploads come after it.
    ++_bindDepth;
    updateSlots();
    if (_bindMode == BindModeBindless) {
        _handles->makeResident(_slots);
    }
    // 2. Upload the table from tokens to layers.
    _uniforms->uploadMap(locations, _textureTokenToSlotLayerData);
    if (locations.slotArray < 0) {
        return;
    }
    // 3. Connect the slots, by handles or by texture units.
    if (_bindMode == BindModeBindless) {
        _uniforms->uploadHandles(locations.slotArray, _slots);
    } else {
        _uniforms->uploadUnits(locations.slotArray, _slots);
    }
}

void Array2DTextureManager::unbind(ShaderProgram *program)
{
    const SlotUniforms::Locations locations =
        SlotUniforms::locationsIn(program, _bindMode == BindModeBindless);
    if (!locations.any()) {
        return;
    }
    --_bindDepth;
    if (_bindMode == BindModeBindless) {
        _handles->release(_slots);
    } else if (locations.slotArray >= 0) {
        for (const SlotData *slot : qAsConst(_slots)) {
            slot->texture->unbind();
        }
    }
    // In the reverse order of bind(), so that the texture units are free in the same order again.
    _uniforms->unbindMap(locations);
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
    SlotData *slot =
        slotAt(_slots, static_cast<int>(data.slot)); // a texture's token is never the one of a UDIM set
    // Without a place, the next bind places the texture with its new size and format, and copies it.
    if (slot != nullptr && slot->format.isUsed()) {
        slot->freeLayer(static_cast<int>(data.layer), layerCount(token));
        data.clear();
        _uniforms->mapChanged();
    }
}

void Array2DTextureManager::setup(GLSLMacroProcessor *processor)
{
    TextureManager::setup(processor);
    if (processor != nullptr) {
        _uniforms->addDefines(processor, _maxSlots);
    }
}

QString Array2DTextureManager::getShaderFile()
{
    return _bindMode == BindModeBindless ? QStringLiteral("Array2DTextureManagerBindless.glslc")
                                         : QStringLiteral("Array2DTextureManager.glslc");
}

void Array2DTextureManager::clear()
{
    // Required: the slots are forgotten, not deleted, and the tokens of the base class stay; see
    // ArrayManagerTest.ClearingAbandonsTheSlots. The next setupSlots() makes new slots.
    _pendingTokens->clear();
    _textureTokenToSlotLayerData.clear();
    _textureTokenToLayerCount.clear();
    _slots.clear();
    tokenForColor(QColor(Qt::white));
    _textureTokenToSlotLayerData.clear(); // white may have got a new token
    _textureTokenToLayerCount.clear();
    growTables(1);
    _uniforms->mapChanged();
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
    // Pending already: updateSlots() skips tokens without a place.
    _pendingTokens->insert(token);
    if (!hasEntry(token)) {
        growTables(token.token + 1);
        _uniforms->mapChanged();
    }
}

void Array2DTextureManager::textureTokenRevoked(const TextureToken &token)
{
    if (!hasEntry(token)) {
        return;
    }
    _udimPatchToToken.remove(token);
    const bool isSet = entry(token).isUDIMSet();
    if (isSet) { // the manager made the tokens of its patches, and frees them
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
    SlotData *slot = isSet ? nullptr : slotAt(_slots, static_cast<int>(data.slot));
    if (slot != nullptr) {
        slot->freeLayer(static_cast<int>(data.layer), layerCount(token));
    }
    data.clear();
    _uniforms->mapChanged();
}

void Array2DTextureManager::setBindMode(BindMode mode)
{
    _bindMode = mode;
}

void Array2DTextureManager::setUseExplicitlyArrayAccessInGLSL(bool use)
{
    _uniforms->setUseExplicitArrayAccess(use);
}

void Array2DTextureManager::setUseSlotMapUniforms(bool use)
{
    _uniforms->setUseMapArray(use);
}

void Array2DTextureManager::setUseSlotMapTexture(bool use)
{
    _uniforms->setUseMapTexture(use);
}

void Array2DTextureManager::setupSlots()
{
    if (!_slots.isEmpty()) {
        return; // a later setMaxSlots() has no effect, since placed tokens refer to the slots
    }
    const int count = std::max(_maxSlots, 0);
    _slots.reserve(count);
    while (_slots.size() < count) {
        _slots.append(new SlotData);
    }
}

void Array2DTextureManager::deleteSlots()
{
    for (SlotData *slot : qAsConst(_slots)) {
        _handles->drop(*slot);
        delete slot;
    }
    _slots.clear();
}

SlotFormat Array2DTextureManager::alignedSlotFormat(const SlotFormat &format) const
{
    // Nothing sets the alignment, which is always 1.
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
    // Exact and empty slots first, since the other two scale textures, which loses detail.
    // 1. A free layer of a slot with the same format and size.
    const SlotFormat aligned = alignedSlotFormat(format);
    SlotLayerData place = placeExactly(aligned, layerCount);
    // 2. A slot without storage, which takes the format.
    if (!place.isValid()) {
        place = placeInUnusedSlot(aligned, layerCount);
    }
    // 3. A free layer of a slot with another size.
    if (!place.isValid()) {
        place = placeScaled(format, aligned, layerCount);
    }
    // 4. The slot that is freed when the contents of two slots move into one.
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
    SlotRequest request;
    {
        const AutoBinder binder(texture);
        if (!texture->isBound()) {
            return; // no texture unit was free, which the texture has logged
        }
        request = slotRequestOf(*texture, _anisotropySupported);
    }
    out = findSlotLayer(request.format, request.layerCount);
    // A host may pass a record of its own, for a token that this manager does not have.
    if (hasEntry(token)) {
        _textureTokenToLayerCount[static_cast<int>(token.token)] =
            static_cast<unsigned int>(request.layerCount);
        _pendingTokens->insert(token);
    }
    _uniforms->mapChanged();
}

bool Array2DTextureManager::moveSlotLayers(int from, int to)
{
    SlotData *source = slotAt(_slots, from);
    SlotData *target = slotAt(_slots, to);
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
            return false; // required: what was moved so far stays in the target
        }
        // Only the place moves: the next update copies the pixels from the texture again.
        SlotLayerData &data = _textureTokenToSlotLayerData[i];
        source->freeLayer(static_cast<int>(data.layer), count);
        data = SlotLayerData(static_cast<unsigned int>(to), layer, target->bindlessHandle);
        _pendingTokens->insert(TextureToken(static_cast<unsigned long long>(i)));
        _uniforms->mapChanged();
    }
    _uniforms->mapChanged();
    return true;
}

QVector<int> Array2DTextureManager::filterSlotsBySimilar(const SlotFormat &format,
                                                         const QVector<int> &slotIndices) const
{
    return similarSlots(_slots, format, slotIndices);
}

QVector<int> Array2DTextureManager::sortSlotsByLargest(const QVector<int> &slotIndices) const
{
    return slotsByArea(_slots, slotIndices);
}

bool Array2DTextureManager::searchForSimilarSlot(const SlotFormat &format, SlotData *&slot, int &index,
                                                 SlotData *excluded) const
{
    const int best = bestSimilarSlot(_slots, format, _slotReallocationMethod, excluded);
    if (best >= 0) {
        slot = _slots.at(best);
        index = best;
    }
    return best >= 0;
}

bool Array2DTextureManager::seachForSlotWithLargestXY(SlotData *&slot, int &index) const
{
    const int largest = largestSlot(_slots);
    if (largest >= 0) {
        slot = _slots.at(largest);
        index = largest;
    }
    return largest >= 0;
}

void Array2DTextureManager::dumpSlots() const
{
    const QString text = QString::asprintf("%p \n", static_cast<const void *>(this)) + textOfSlots(_slots);
    ZEL_LOG_DEBUG("%s", text.toLocal8Bit().constData());
}

void Array2DTextureManager::updateSlots()
{
    setupSlots();
    for (int i = 0; i < _slots.size(); ++i) {
        const SlotData &slot = *_slots.at(i);
        const bool upToDate = slot.allocatedLayers != 0 && slot.allocatedLayers >= slot.usedLayers;
        // A slot grows to the layers in use, without a reserve.
        if (slot.format.isUsed() && !upToDate) {
            allocateSlot(i);
        }
    }
    if (_pendingTokens->isEmpty()) {
        return;
    }
    // A copy: loading a texture may issue tokens, which adds to the set.
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
    // 1. The texture, loaded now if need be; a patch shares the texture of its set's token.
    Texture *texture = textureForToken(token);
    if (texture == nullptr && _udimPatchToToken.contains(token)) {
        texture = textureForToken(_udimPatchToToken.value(token));
    }
    if (texture == nullptr) {
        return false;
    }
    // 2. The target.
    const SlotLayerData place = entry(token); // read after the load, which may have grown the table
    const SlotData *slot = slotAt(_slots, static_cast<int>(place.slot));
    if (slot == nullptr) {
        return true; // its slots were deleted: a copy can never succeed
    }
    _handles->queryResidency(*slot); // required, though the result is unused
    glFlush();
    // 3. The size and levels of the source, which GL returns for bound textures only.
    SlotSource source;
    {
        const AutoBinder binder(texture);
        if (!texture->isBound()) {
            return false; // no texture unit was free, which the texture has logged
        }
        source = slotSourceOf(*texture);
    }
    if (source.width <= 0 || source.height <= 0) {
        ZEL_LOG_WARNING("%p Ignoring texture of size (%dx%d), not blitted into array2D",
                        static_cast<const void *>(this), source.width, source.height);
        return false;
    }
    // 4. The copy, layer by layer, scaled if the sizes differ.
    SlotCopier copier;
    for (int i = 0; i < layerCount(token); ++i) {
        copier.copyLayer(texture, i, source.lastLevel, *slot, static_cast<int>(place.layer) + i);
    }
    return true;
}

template <typename Tokens> void Array2DTextureManager::bindTextureTokens(const Tokens &tokens)
{
    if (tokens.isEmpty()) {
        return;
    }
    // Most tokens are in place, which costs one look at their record.
    setupSlots();
    const Tokens copy = tokens; // loading a texture may change the caller's container
    for (const TextureToken &token : copy) {
        if (token == nullTextureToken) {
            continue;
        }
        ZEL_ASSERT(token.token < quint64(_textureTokenToSlotLayerData.size()),
                   "Token %llu is not in array %d.", token.token, _textureTokenToSlotLayerData.size());
        // The assertion only reports: a token beyond the table is skipped here.
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
    // 1. Number the patches.
    const UDIMLayout layout(_udimPatches.value(token));
    if (maxToken().token + static_cast<quint64>(layout.maxPatch()) >= kMaxEntries) {
        return;
    }
    // 2. Reserve a block of tokens: the shader adds the index of a patch to the first. Tokens without a patch stay without a
    //    place; see ArrayPicturesTest.UDIMSetsShowTheirPatchesAndTheirGaps.
    const TextureToken first = reserveTokenBlock(static_cast<int>(layout.maxPatch()) + 1);
    const auto slotTokenOf = [first](qint64 index) {
        return TextureToken(first.token + static_cast<quint64>(index));
    };
    for (qint64 i = 0; i <= layout.maxPatch(); ++i) {
        textureTokenIssued(slotTokenOf(i));
    }
    // 3. Let the record of the set name the block.
    entry(token).configureUDIMSet(first, static_cast<int>(layout.width()),
                                  static_cast<int>(layout.maxPatch()));
    _uniforms->mapChanged();
    // 4. Place each patch as a texture of its own, which may be in any slot.
    for (auto it = layout.patches().begin(); it != layout.patches().end(); ++it) {
        const TextureToken patchToken = tokenForTexture(it.value());
        ZEL_ASSERT(patchToken.token < quint64(_textureTokenToSlotLayerData.size()),
                   "Token %llu is not in array %d.", patchToken.token, _textureTokenToSlotLayerData.size());
        const TextureToken slotToken = slotTokenOf(layout.indexOf(it.key()));
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

/// Returns false for the entry of a UDIM set, whose field for the slot holds a token.
bool Array2DTextureManager::isPlacedIn(int tokenIndex, int slotIndex) const
{
    const SlotLayerData &data = _textureTokenToSlotLayerData.at(tokenIndex);
    return data.isValid() && !data.isUDIMSet() && data.slot == static_cast<unsigned int>(slotIndex);
}

void Array2DTextureManager::growTables(quint64 size)
{
    if (size == 0 || size > kMaxEntries) {
        return; // of the null token, or of a token that binding reports
    }
    // New records have no place and one layer.
    _textureTokenToSlotLayerData.resize(static_cast<int>(size));
    const int oldSize = _textureTokenToLayerCount.size();
    _textureTokenToLayerCount.resize(static_cast<int>(size));
    std::fill(_textureTokenToLayerCount.begin() + oldSize, _textureTokenToLayerCount.end(), 1u);
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
            _slots.at(i)->setupFormat(aligned); // required: it stays if the request is too large for the slot
            place = placeIn(i, layerCount);
        }
    }
    return place;
}

SlotLayerData Array2DTextureManager::placeScaled(const SlotFormat &format, const SlotFormat &aligned,
                                                 int layerCount)
{
    const int similar = bestSimilarSlot(_slots, aligned, _slotReallocationMethod, nullptr);
    if (similar < 0) {
        return SlotLayerData();
    }
    const SlotLayerData place = placeIn(similar, layerCount);
    if (place.isValid()) {
        reportResize(format.width, format.height, _slots.at(similar)->format);
    }
    return place;
}

SlotLayerData Array2DTextureManager::placeByMerging(const SlotFormat &aligned, int layerCount)
{
    // Scaling costs texels, so the smallest slot goes first: each step of the loop takes the smallest slot that is left, and
    // tries to merge it with a slot of a similar format, the smallest of these first.
    // 1. Move all textures of one to the other. 2. Use the empty one for the new format. If either fails, try the next pair.
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
    if (slot.allocatedLayers != 0) {
        // The new storage does not have the pixels of the old one.
        for (int i = 0; i < _textureTokenToSlotLayerData.size(); ++i) {
            if (isPlacedIn(i, index)) {
                _pendingTokens->insert(TextureToken(static_cast<unsigned long long>(i)));
            }
        }
    }
    if (slot.bindlessHandle != 0) {
        _handles->drop(slot);
        slot.createTexture(); // GL forbids a change of the storage of a texture with a handle
    }
    if (!makeSlotStorage(slot, _anisotropySupported)) {
        return; // no texture unit was free, which the texture has logged: the next update tries again
    }
    if (_bindMode == BindModeBindless) {
        makeHandle(index);
    }
}

void Array2DTextureManager::makeHandle(int index)
{
    SlotData &slot = *_slots.at(index);
    // Each record of the slot map contains the handle of its slot, so that a shader needs no other table.
    _handles->create(slot);
    for (int i = 0; i < _textureTokenToSlotLayerData.size(); ++i) {
        if (isPlacedIn(i, index)) {
            _textureTokenToSlotLayerData[i].setBindlessTextureHandle(slot.bindlessHandle);
        }
    }
    _uniforms->mapChanged();
}

}} // namespace Orvane::Zel
