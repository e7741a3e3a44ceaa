#include "TexturePool.h"

#include "GLUtilities.h"
#include "Texture.h"
#include "private/GLValues.h"

#include <QtCore/QByteArray>

#include <algorithm>
#include <functional>
#include <limits>
#include <utility>

namespace Orvane { namespace Zel {

namespace {

/// Names for the log. Required: the table has no rows for R11FG11FB10F and RGB10A2, so that from there on each
/// format has the name of the one two positions later; see TexturePoolTest.TheSummaryCountsTexturesAndKinds.
constexpr const char *kFormatNames[] = {
    "R       ", "RG      ", "RGB     ", "RGBA    ", "SRGB8A8 ",         "R16F    ",
    "RG16F   ", "RGB16F  ", "RGBA16F ", "R32F    ", "RG32F   ",         "RGB32F  ",
    "RGBA32F ", "R16I    ", "RG16I   ", "RGB16I  ", "RGBA16I ",         "R32I    ",
    "RG32I   ", "RGB32I  ", "RGBA32I ", "DEPTH32F", "DEPTH24_STENCIL8", "DEPTH32F_STENCIL8",
};

/// The name of a format, or its number if the table is too short.
QByteArray formatName(TextureFormat format)
{
    if (format < sizeof(kFormatNames) / sizeof(*kFormatNames)) {
        return kFormatNames[format];
    }
    return QByteArray::number(static_cast<unsigned int>(format)).leftJustified(8);
}

/// The sum, clamped to valid counts: a caller that releases a huge number means all references.
int countPlus(int count, qint64 change)
{
    return static_cast<int>(qBound<qint64>(0, count + change, std::numeric_limits<int>::max()));
}

/// A new texture, and whether it got storage: without a free unit it has none.
std::pair<Texture *, bool> makeTexture(const TexturePool::Key &key, bool fixedSampleLocations)
{
    const unsigned internalFormat = InternalFormat(key.format);
    const bool array = key.depth > 1;
    const bool multisample = key.samples > 1;
    unsigned int target = array ? GL_TEXTURE_2D_ARRAY : GL_TEXTURE_2D;
    if (multisample) {
        target = array ? GL_TEXTURE_2D_MULTISAMPLE_ARRAY : GL_TEXTURE_2D_MULTISAMPLE;
    }

    // 1. Describe the texture, so that hosts can query its size.
    auto *texture = new Texture(nullptr);
    texture->setTarget(target);
    // Of the arrays only the multisample one records its depth.
    texture->setSize(0, static_cast<int>(internalFormat), key.width, key.height,
                     array && multisample ? key.depth : 1);
    // 2. Bind it: all calls below change the bound texture.
    if (!texture->bind()) {
        return {texture, false}; // the calls below would go to another texture
    }
    // 3. Set nearest filters, which need no mip levels. Multisample textures have no sampler state.
    if (!multisample) {
        glTexParameteri(target, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
        glTexParameteri(target, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
    }
    // 4. Allocate the storage, undefined as it is.
    switch (target) {
    case GL_TEXTURE_2D:
        glTexImage2D(target, 0, static_cast<GLint>(internalFormat), key.width, key.height, 0,
                     ExternalFormat(key.format), ExternalType(key.format), nullptr);
        break;
    case GL_TEXTURE_2D_ARRAY:
        glTexImage3D(target, 0, static_cast<GLint>(internalFormat), key.width, key.height, key.depth, 0,
                     ExternalFormat(key.format), ExternalType(key.format), nullptr);
        break;
    case GL_TEXTURE_2D_MULTISAMPLE:
        glTexImage2DMultisample(target, key.samples, internalFormat, key.width, key.height,
                                fixedSampleLocations);
        break;
    default:
        glTexImage3DMultisample(target, key.samples, internalFormat, key.width, key.height, key.depth,
                                fixedSampleLocations);
        break;
    }
    texture->unbind();
    return {texture, true};
}

} // namespace

TexturePool::Key::Key(TextureFormat format_, int width_, int height_, int depth_, int samples_)
    : format(format_)
    , width(width_)
    , height(height_)
    , depth(depth_)
    , samples(samples_)
{
}

TexturePool::TexturePool() = default;

TexturePool::~TexturePool() = default;

Texture *TexturePool::take(TextureFormat format, int width, int height, int depth, int samples)
{
    ZEL_ASSERT(width > 0 && height > 0 && depth > 0, "TexturePool asked for texture of size (%dx%dx%d)",
               width, height, depth);
    ZEL_ASSERT(samples > 0, "TexturePool requested samples can't be less than 1");
    // Queried by each call: the pool has no context of its own, and the limit belongs to the current one.
    const GLint maxSamples = integerFromGL(GL_MAX_SAMPLES);
    if (samples > maxSamples) {
        ZEL_LOG_DEBUG("Warning: TexturePool::take() requested more than GL_MAX_SAMPLES samples.");
        samples = maxSamples;
    }

    // 1. A new texture, when none of these properties is free.
    const Key key(format, width, height, depth, samples);
    const auto waiting = _free.find(key);
    if (waiting == _free.end()) {
        const auto [texture, hasStorage] = makeTexture(key, _fixedSampleLocations);
        _textures.insert(texture, {key, hasStorage, 1});
        return texture;
    }
    // 2. Otherwise a free one, chosen by address, so that the choice does not depend on the order of the releases.
    std::sort(waiting->begin(), waiting->end(), std::less<Texture *>());
    Texture *texture = waiting->takeLast();
    if (waiting->isEmpty()) {
        _free.erase(waiting);
    }
    _textures[texture].references = 1;
    return texture;
}

void TexturePool::addRef(Texture *texture, int count)
{
    const auto managed = _textures.find(texture);
    if (managed != _textures.end() && managed->references > 0 && count >= 1) {
        // Only textures in use: a reference to a free texture would make it used by two requests.
        managed->references = countPlus(managed->references, count);
    }
}

void TexturePool::releaseRef(Texture *texture, int count)
{
    const auto managed = _textures.find(texture);
    if (managed == _textures.end() || managed->references < 1) {
        return;
    }
    managed->references = countPlus(managed->references, -qint64(count));
    if (managed->references > 0) {
        return;
    }
    if (managed->hasStorage) {
        _free[managed->key].append(texture);
    } else {
        _textures.erase(managed);
        delete texture;
    }
}

void TexturePool::setFixedSampleLocations(bool fixedSampleLocations)
{
    _fixedSampleLocations = fixedSampleLocations;
}

void TexturePool::deleteUnused()
{
    for (const QVector<Texture *> &textures : qAsConst(_free)) {
        for (Texture *texture : textures) {
            _textures.remove(texture);
            delete texture;
        }
    }
    _free.clear();
}

void TexturePool::printSummary()
{
    int freeCount = 0;
    for (const QVector<Texture *> &textures : qAsConst(_free)) {
        freeCount += textures.size();
    }
    int count = 0;
    QHash<Key, int> countsByKey;
    for (const Managed &managed : qAsConst(_textures)) {
        if (managed.hasStorage) {
            ++count;
            ++countsByKey[managed.key];
        }
    }

    ZEL_LOG_DEBUG("%d managed textures:", count);
    ZEL_LOG_DEBUG("- %d active textures", count - freeCount);
    ZEL_LOG_DEBUG("- %d free textures", freeCount);
    ZEL_LOG_DEBUG("- breakdown by texture format, width and height:");
    for (auto it = countsByKey.constBegin(); it != countsByKey.constEnd(); ++it) {
        const Key &key = it.key();
        const int freeOfKey = _free.value(key).size();
        ZEL_LOG_DEBUG("  - %s %dx%d: %d free, %d active", formatName(key.format).constData(), key.width,
                      key.height, freeOfKey, it.value() - freeOfKey);
    }
}

// Every field: a host draws to the texture without asking for its size again; see
// TexturePoolTest.KeysDifferInEveryFieldAndFoldToTheirHash.
bool operator==(const TexturePool::Key &left, const TexturePool::Key &right)
{
    return left.format == right.format && left.width == right.width && left.height == right.height
           && left.depth == right.depth && left.samples == right.samples;
}

uint qHash(const TexturePool::Key &key)
{
    // The combination of hash values of Boost's hash_combine: 2^32 divided by the golden ratio spreads the bits.
    constexpr uint kGoldenRatio = 0x9E3779B9u;
    uint seed = key.format;
    for (const int value : {key.width, key.height, key.depth, key.samples}) {
        seed ^= static_cast<uint>(value) + kGoldenRatio + (seed << 6) + (seed >> 2);
    }
    return seed;
}

}} // namespace Orvane::Zel
