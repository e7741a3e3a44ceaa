#include "TextureSlot.h"

#include "AutoBinder.h"
#include "GLUtilities.h"
#include "Texture.h"
#include "private/GLValues.h"

#include <algorithm>

namespace Orvane { namespace Zel {

namespace {

constexpr quint64 kMaxSlotBytes = 0x80000000u; ///< for all layers of level 0
constexpr int kUnknownTexelBytes = 16; ///< for formats without a byte size: more than any of them needs

} // namespace

bool SlotFormat::operator==(const SlotFormat &other) const
{
    return width == other.width && height == other.height && internalFormat == other.internalFormat
           && wrapS == other.wrapS && wrapT == other.wrapT && magFilter == other.magFilter
           && minFilter == other.minFilter && anisotropy == other.anisotropy && lodBias == other.lodBias;
}

SlotData::SlotData()
{
    createTexture();
}

SlotData::~SlotData()
{
    delete texture;
}

void SlotData::createTexture()
{
    delete texture;
    texture = new Texture(nullptr);
    texture->setTarget(GL_TEXTURE_2D_ARRAY);
    const AutoBinder binder(texture);
    if (!texture->isBound()) {
        return; // no texture unit was free, which the texture has logged
    }
    // Shaders may have a sampler for each slot, also for unused ones; see TextureSlotTest.ASlotStartsAsOneDefinedTexel.
    glTexImage3D(GL_TEXTURE_2D_ARRAY, 0, GL_RGBA, 1, 1, 1, 0, GL_RGBA, GL_UNSIGNED_BYTE, nullptr);
    glTexParameteri(GL_TEXTURE_2D_ARRAY, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
    glTexParameteri(GL_TEXTURE_2D_ARRAY, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
    glTexParameteri(GL_TEXTURE_2D_ARRAY, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
    glTexParameteri(GL_TEXTURE_2D_ARRAY, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
    glTexParameterf(GL_TEXTURE_2D_ARRAY, GL_TEXTURE_LOD_BIAS, 0.0f);
    for (const GLenum parameter :
         {GL_TEXTURE_MIN_LOD, GL_TEXTURE_MAX_LOD, GL_TEXTURE_BASE_LEVEL, GL_TEXTURE_MAX_LEVEL}) {
        glTexParameteri(GL_TEXTURE_2D_ARRAY, parameter, 0);
    }
}

bool SlotData::setupFormat(const SlotFormat &wanted)
{
    allocatedLayers = 0;
    slotGeneration = 1;
    usedLayers = 0; // required: freeLayers stays as it is
    format = wanted;

    const GLint layerLimit = integerFromGL(GL_MAX_ARRAY_TEXTURE_LAYERS);
    const int known = bytesFromInternalFormat(format.internalFormat);
    const auto texelBytes = static_cast<quint64>(known > 0 ? known : kUnknownTexelBytes);
    const quint64 layerBytes =
        static_cast<quint64>(format.width) * static_cast<quint64>(format.height) * texelBytes;
    const quint64 layersInMemory = kMaxSlotBytes / std::max<quint64>(layerBytes, 1);
    const auto layersInGL = static_cast<quint64>(std::max(64, layerLimit));
    maxLayers = static_cast<int>(std::max<quint64>(std::min(layersInGL, layersInMemory), 1));
    return true;
}

bool SlotData::isCompatible(const SlotFormat &other) const
{
    return format == other;
}

bool SlotData::isSimilar(const SlotFormat &other) const
{
    SlotFormat alike = other;
    alike.width = format.width;
    alike.height = format.height;
    alike.internalFormat = format.internalFormat;
    return format == alike
           && (format.internalFormat == other.internalFormat
               || formatFromInternalFormat(format.internalFormat)
                      == formatFromInternalFormat(other.internalFormat));
}

unsigned int SlotData::getFormatDeltaScore(const SlotFormat &other,
                                           TextureManager::SlotReallocationMethod method) const
{
    const auto fits = [](int larger, int smaller) {
        return smaller > 0 && larger >= smaller && larger % smaller == 0;
    };
    const bool upscale = method == TextureManager::SlotReallocationUpscale;
    const bool fitting = upscale ? fits(format.width, other.width) && fits(format.height, other.height)
                                 : fits(other.width, format.width) && fits(other.height, format.height);
    if (!fitting) {
        return kNoFit;
    }
    // Required: the sum is negative when scaling down and is compared as unsigned, so that a difference of exactly -1 means no
    // fit; see TextureSlotTest.ADifferenceOfMinusOneReadsAsNoFit.
    return static_cast<unsigned int>((format.width - other.width) + (format.height - other.height));
}

unsigned int SlotData::getFreeLayer(int count)
{
    if (count < 1) {
        return kNoLayer;
    }
    // 1. The first run of free layers that is long enough.
    int runLength = 0;
    for (int i = 0; i < freeLayers.size(); ++i) {
        const bool continues = runLength > 0 && freeLayers.at(i) == freeLayers.at(i - 1) + 1;
        runLength = continues ? runLength + 1 : 1;
        if (runLength == count) {
            const auto runEnd = freeLayers.begin() + i + 1;
            const int start = *(runEnd - count);
            freeLayers.erase(runEnd - count, runEnd);
            return static_cast<unsigned int>(start);
        }
    }
    // 2. New layers at the end. Required: the last layer of a slot stays unused; see
    //    TexturePlacementTest.TexturesFindTheirPlacesInOrderOfPreference.
    if (count >= maxLayers - usedLayers) {
        return kNoLayer;
    }
    const int start = usedLayers;
    usedLayers += count;
    return static_cast<unsigned int>(start);
}

void SlotData::freeLayer(int first, int count)
{
    // Free layers at the end lower usedLayers at once, so that storage is not made for them.
    for (int layer = first; layer < first + count; ++layer) {
        freeLayers.insert(std::upper_bound(freeLayers.begin(), freeLayers.end(), layer), layer);
    }
    while (!freeLayers.isEmpty() && usedLayers > 0 && freeLayers.constLast() == usedLayers - 1) {
        freeLayers.removeLast();
        --usedLayers;
    }
}

SlotLayerData::SlotLayerData(unsigned int slotIndex, unsigned int firstLayer, unsigned long handle)
    : slot(slotIndex)
    , layer(firstLayer)
{
    setBindlessTextureHandle(handle);
}

void SlotLayerData::clear()
{
    *this = SlotLayerData();
}

bool SlotLayerData::isValid() const
{
    return slot != ~0u;
}

void SlotLayerData::setBindlessTextureHandle(unsigned long handle)
{
    bindlessHandleLow = static_cast<unsigned int>(handle);
    bindlessHandleHigh = static_cast<unsigned int>(handle >> 32);
}

void SlotLayerData::configureUDIMSet(TextureToken first, int width, int maxPatch)
{
    if (isValid()) {
        return;
    }
    udimWidth = width;
    udimMaxPatch = maxPatch;
    slot = static_cast<unsigned int>(first.token);
}

bool SlotLayerData::isUDIMSet() const
{
    return udimWidth != 0;
}

int SlotLayerData::getNumUDIMPatches() const
{
    return udimMaxPatch;
}

}} // namespace Orvane::Zel
