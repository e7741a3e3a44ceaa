#include "KTXReader.h"

#include "GLUtilities.h"
#include "Texture.h"
#include "TextureProcessing.h"
#include "private/TextureUpload.h"
#include "private/UnpackState.h"

#include <ZelCore/Memory.h>

#include <QtCore/QThread>
#include <QtCore/QVariant>

#include <algorithm>
#include <cstring>

namespace Orvane { namespace Zel {

namespace {

constexpr unsigned char kIdentifier[12] = {0xAB, 'K', 'T', 'X', ' ', '1', '1', 0xBB, '\r', '\n', 0x1A, '\n'};
constexpr quint32 kEndianness = 0x04030201;
constexpr quint64 kHeaderSize = 64;
constexpr quint64 kWord = 4;
constexpr quint32 kFaces = 6;
constexpr quint32 kMaxLevels = 32; ///< of an image whose sides have 32 bits
constexpr unsigned long kPauseMs = 32;

/// Offsets in the header.
enum Field {
    eEndianness = 12,
    eGlType = 16,
    eGlFormat = 24,
    eGlInternalFormat = 28,
    ePixelWidth = 36,
    ePixelHeight = 40,
    ePixelDepth = 44,
    eNumberOfArrayElements = 48,
    eNumberOfFaces = 52,
    eNumberOfMipmapLevels = 56,
    eBytesOfKeyValueData = 60
};

bool hasIdentifier(const unsigned char *bytes)
{
    return std::memcmp(bytes, kIdentifier, sizeof(kIdentifier)) == 0;
}

/// In the machine's byte order, aligned or not.
quint32 readWord(const unsigned char *bytes)
{
    quint32 word = 0;
    std::memcpy(&word, bytes, sizeof(word));
    return word;
}

quint64 padded(quint64 size)
{
    return (size + kWord - 1) / kWord * kWord;
}

quint32 halved(quint32 size)
{
    return size >= 2 ? size / 2 : size;
}

} // namespace

/// One level of the upload.
struct KTXReader::Level
{
    GLint number;
    GLenum internalFormat;
    quint32 width;
    quint32 height;
    quint32 depth;
    quint32 imageSize; ///< as stated in the file
};

/// The image data and the position up to which they are read.
struct KTXReader::Source
{
    const unsigned char *bytes;
    quint64 size;
    quint64 position;

    const unsigned char *here() const { return bytes + position; }

    /// Whether \a count bytes follow at \a offset after the position. Subtracts only: a sum of sizes from the file
    /// could wrap around.
    bool holds(quint64 offset, quint64 count) const
    {
        return position <= size && offset <= size - position && count <= size - position - offset;
    }
};

void checkInterruptionRequestAndSleep()
{
    while (QThread::currentThread()->property("threadPauseRequested").toBool()) {
        QThread::msleep(kPauseMs);
    }
}

TextureLoader *KTXRecogniser::recognise(Memory *memory, const QString &name) const
{
    const unsigned char *identifier = memory->map(0, sizeof(kIdentifier));
    if (identifier == nullptr) {
        return nullptr;
    }
    const bool recognised = hasIdentifier(identifier);
    memory->unmap(identifier);
    return recognised ? new KTXReader(memory, name) : nullptr;
}

KTXReader::KTXReader(Memory *memory, const QString &name)
    : _memory(memory)
    , _name(name)
    , _header(memory->map(0, kHeaderSize))
{
    if (_header == nullptr || !hasIdentifier(_header)) {
        _valid = false;
        return;
    }
    if (field(eEndianness) != kEndianness) {
        convertByteOrder();
        _valid = field(eEndianness) == kEndianness;
    }
    if (_valid && field(eBytesOfKeyValueData) != 0) {
        _valid = readMetadata();
    }
}

KTXReader::~KTXReader() = default;

bool KTXReader::valid() const
{
    return _valid;
}

bool KTXReader::isCompressed() const
{
    return field(eGlType) == 0;
}

bool KTXReader::isArrayTexture() const
{
    return arraySize() != 0;
}

bool KTXReader::isCubeMapTexture() const
{
    return cubeFaces() == kFaces;
}

bool KTXReader::is1DTexture() const
{
    return width() != 0 && height() == 0 && depth() == 0;
}

bool KTXReader::is2DTexture() const
{
    return width() != 0 && height() != 0 && depth() == 0;
}

bool KTXReader::is3DTexture() const
{
    return width() != 0 && height() != 0 && depth() != 0;
}

bool KTXReader::hasMipMaps() const
{
    return mipmapLevels() != 1;
}

unsigned int KTXReader::width() const
{
    return field(ePixelWidth);
}

unsigned int KTXReader::height() const
{
    return field(ePixelHeight);
}

unsigned int KTXReader::depth() const
{
    return field(ePixelDepth);
}

unsigned int KTXReader::arraySize() const
{
    return field(eNumberOfArrayElements);
}

unsigned int KTXReader::cubeFaces() const
{
    return field(eNumberOfFaces);
}

unsigned int KTXReader::mipmapLevels() const
{
    return field(eNumberOfMipmapLevels);
}

unsigned int KTXReader::numMetadataEntries() const
{
    return static_cast<unsigned int>(_entries.size());
}

QString KTXReader::key(unsigned int index) const
{
    return QString::fromUtf8(rawKey(index));
}

QString KTXReader::value(unsigned int index) const
{
    return QString::fromUtf8(rawValue(index));
}

const char *KTXReader::rawKey(unsigned int index) const
{
    return index < numMetadataEntries() ? textAt(_entries[int(index)].key) : nullptr;
}

const char *KTXReader::rawValue(unsigned int index) const
{
    if (index >= numMetadataEntries()) {
        return nullptr;
    }
    const Entry &entry = _entries[int(index)];
    const quint64 last = std::min(entry.key + std::max(entry.size, 1u) - 1, _metadataSize);
    quint64 position = entry.key;
    while (position < last && _metadata[position] != 0) {
        ++position;
    }
    return textAt(position);
}

Texture *KTXReader::load(const TextureFileInfo &info)
{
    // 1. Refuse what the upload does not support.
    if (isCubeMapTexture() && isArrayTexture()) {
        ZEL_BARE_WARNING("Cubemap arrays not supported yet, sorry!");
        return nullptr;
    }
    if (isArrayTexture()) {
        ZEL_BARE_WARNING("Array textures not supported yet, sorry!");
        return nullptr;
    }
    // 2. Map the image data, which follow the key-value block.
    const quint64 offset = kHeaderSize + field(eBytesOfKeyValueData);
    if (offset >= _memory->size()) {
        return nullptr;
    }
    Source source = {nullptr, _memory->size() - offset, 0};
    source.bytes = _memory->map(offset, source.size);
    if (source.bytes == nullptr) {
        return nullptr;
    }

    // 3. Upload the levels.
    auto *texture = new Texture(nullptr);
    if (target() != 0) {
        texture->setTarget(target());
    }
    bool loaded = false;
    // A file without sizes has no target: the bind fails, and GL refuses all calls below, which do not reach any
    // texture. With a target the bind fails if no unit is free, and the calls would change the texture that the host
    // has bound.
    if (texture->bind() || target() == 0) {
        clearPendingGLErrors();
        setSampling(info.anisotropy);
        const UnpackState unpackState(4);
        const Upload upload = uploadLevels(*texture, info.srgb, source);
        loaded = finishUpload(upload);
        texture->unbind();
        // 4. Replace the texture with a remapped and flipped copy.
        if (!info.keepOrientation && upload != eCutOff) {
            RemapColorRange(texture, info.lowValue, info.highValue);
            FlipY(texture); // keeps the texture if WritableCopyOfTexture() returns null
        }
        _memory->unmap(source.bytes + std::min(source.position, source.size));
    }
    if (!loaded) {
        ZEL_BARE_WARNING("%s %s failed to load.", isCompressed() ? "Compressed texture" : "Texture",
                         _name.isEmpty() ? "<unnamed>" : qPrintable(_name));
        delete texture;
        return nullptr;
    }
    return texture;
}

/// A word of the header; 0 if the file has no header.
quint32 KTXReader::field(int offset) const
{
    return _header != nullptr ? readWord(_header + offset) : 0;
}

/// Swaps the bytes of the header's words in place, for a file in the other byte order. Required: only the low four
/// bits of each byte are kept, which is exact for the endianness field and for fields whose bytes are all below 16. See
/// KTXHeaderTest.TheOtherByteOrderIsTurnedAroundByHalvesOfBytes.
void KTXReader::convertByteOrder()
{
    for (quint64 offset = eEndianness; offset < kHeaderSize; offset += kWord) {
        unsigned char *word = _header + offset;
        std::reverse(word, word + kWord);
        std::for_each(word, word + kWord, [](unsigned char &byte) { byte &= 0x0F; });
    }
}

/// Lists the entries of the key-value block. Required: the padding that the format appends to each entry is not
/// skipped but read as the size of another entry, so that the loop ends beyond the block; an entry that ends exactly
/// at the end of the block makes the file invalid. See KTXHeaderTest.MetadataThatEndExactlyOnTheirBlockAreInvalid.
bool KTXReader::readMetadata()
{
    if (_memory->size() > kHeaderSize) {
        // To the end of the file, because the last entry may extend beyond the block.
        _metadata = _memory->map(kHeaderSize, _memory->size() - kHeaderSize);
        if (_metadata == nullptr) {
            return false;
        }
        _metadataSize = _memory->size() - kHeaderSize;
    }
    const quint64 end = field(eBytesOfKeyValueData);
    quint64 cursor = 0;
    while (cursor < end && cursor + kWord <= _metadataSize) {
        const quint32 size = readWord(_metadata + cursor);
        _entries.append({cursor + kWord, size});
        cursor += kWord + size;
    }
    return cursor != end;
}

/// The text at an offset of the metadata; null if it has no end within the file.
const char *KTXReader::textAt(quint64 offset) const
{
    if (offset >= _metadataSize || std::memchr(_metadata + offset, 0, _metadataSize - offset) == nullptr) {
        return nullptr;
    }
    return reinterpret_cast<const char *>(_metadata + offset);
}

/// 0 for a file whose sizes are all 0.
unsigned int KTXReader::target() const
{
    if (isCubeMapTexture()) {
        return GL_TEXTURE_CUBE_MAP;
    }
    return is1DTexture() ? GL_TEXTURE_1D : is2DTexture() ? GL_TEXTURE_2D : is3DTexture() ? GL_TEXTURE_3D : 0;
}

unsigned int KTXReader::internalFormat(bool srgb) const
{
    const GLenum format = field(eGlInternalFormat);
    switch (format) {
    case GL_COMPRESSED_RGB8_ETC2:
    case GL_COMPRESSED_RGB8_PUNCHTHROUGH_ALPHA1_ETC2:
    case GL_COMPRESSED_RGBA8_ETC2_EAC:
        return srgb ? format + 1 : format; // the number of each sRGB form follows that of the linear one
    default:
        return format; // required: see KTXReaderTest.OnlyTheThreeEtc2FormatsHaveAnSrgbForm
    }
}

void KTXReader::setSampling(qint32 anisotropy) const
{
    const GLenum textureTarget = target();
    if (mipmapLevels() == 0) {
        glTexParameteri(textureTarget, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
        glTexParameteri(textureTarget, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
        return;
    }
    glTexParameteri(textureTarget, GL_TEXTURE_BASE_LEVEL, 0);
    glTexParameteri(textureTarget, GL_TEXTURE_MAX_LEVEL, static_cast<GLint>(mipmapLevels() - 1));
    glTexParameteri(textureTarget, GL_TEXTURE_MIN_FILTER, GL_LINEAR_MIPMAP_LINEAR);
    glTexParameteri(textureTarget, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
    setTextureAnisotropy(textureTarget, anisotropy);
}

KTXReader::Upload KTXReader::uploadLevels(Texture &texture, bool srgb, Source &source) const
{
    // 1. The base level, whose size is checked before GL sees it: workaround "sizes far above the limit".
    Level level = {0, internalFormat(srgb), width(), height(), depth(), 0};
    texture.setSize(0, static_cast<int>(level.internalFormat), static_cast<int>(level.width),
                    static_cast<int>(level.height), static_cast<int>(level.depth));
    const quint32 usedDepth =
        isCubeMapTexture() ? 0 : level.depth; // GL gets no depth for the faces of a cube map
    if (std::max({level.width, level.height, usedDepth}) > longestTextureSide()) {
        return eCutOff;
    }
    // 2. Each level: a word with its size, then its images. A file that ends early keeps the levels before its end.
    const quint32 levels = std::max(mipmapLevels(), 1u); // a file without levels still has its base level
    for (quint32 number = 0; number < levels; ++number) {
        checkInterruptionRequestAndSleep();
        if (number == kMaxLevels || !source.holds(0, kWord)) {
            return eCutOff;
        }
        level.number = static_cast<GLint>(number);
        level.imageSize = readWord(source.here()); // never swapped: only the header is converted
        source.position += kWord;
        checkInterruptionRequestAndSleep();
        if (!uploadLevel(level, source)) {
            return eCutOff;
        }
        // 3. The size of the next level follows from this one: the file does not contain it.
        level.width = halved(level.width);
        level.height = halved(level.height);
        level.depth = halved(level.depth);
    }
    return eComplete;
}

/// Returns false, and uploads nothing, if GL would read beyond the source; see
/// KTXReaderTest.DataThatEndEarlyAreNeverGivenToGL.
bool KTXReader::uploadLevel(const Level &level, Source &source) const
{
    const GLenum textureTarget = target();
    if (textureTarget == 0) {
        return true; // the position stays after the size of the image
    }
    const quint32 images = isCubeMapTexture() ? kFaces : 1;
    const quint64 stride = padded(level.imageSize);
    if (!source.holds((images - 1) * stride, bytesRead(level))) {
        return false;
    }
    for (quint32 image = 0; image < images; ++image) {
        const GLenum imageTarget = images == kFaces ? GL_TEXTURE_CUBE_MAP_POSITIVE_X + image : textureTarget;
        uploadImage(imageTarget, level, source.here() + image * stride);
    }
    source.position += images * stride;
    return true;
}

/// The bytes that GL reads of one image. The size that is stated in the file may be less; see
/// KTXReaderTest.AnImageSizeOtherThanWhatGLReadsDoesAsLongAsTheBytesAreThere.
quint64 KTXReader::bytesRead(const Level &level) const
{
    if (isCompressed()) {
        return level.imageSize;
    }
    const bool is3D = target() == GL_TEXTURE_3D;
    const quint64 rows = target() == GL_TEXTURE_1D ? 1 : quint64(level.height) * (is3D ? level.depth : 1);
    return bytesOfUpload(field(eGlFormat), field(eGlType), level.width, rows);
}

void KTXReader::uploadImage(unsigned int imageTarget, const Level &level, const unsigned char *data) const
{
    const auto w = static_cast<GLsizei>(level.width);
    const auto h = static_cast<GLsizei>(level.height);
    const auto d = static_cast<GLsizei>(level.depth);
    if (isCompressed()) {
        const auto size = static_cast<GLsizei>(level.imageSize);
        switch (imageTarget) {
        case GL_TEXTURE_1D:
            glCompressedTexImage1D(imageTarget, level.number, level.internalFormat, w, 0, size, data);
            break;
        case GL_TEXTURE_3D:
            glCompressedTexImage3D(imageTarget, level.number, level.internalFormat, w, h, d, 0, size, data);
            break;
        default:
            glCompressedTexImage2D(imageTarget, level.number, level.internalFormat, w, h, 0, size, data);
            break;
        }
        return;
    }
    const auto internal = static_cast<GLint>(level.internalFormat);
    const GLenum format = field(eGlFormat);
    const GLenum type = field(eGlType);
    switch (imageTarget) {
    case GL_TEXTURE_1D:
        glTexImage1D(imageTarget, level.number, internal, w, 0, format, type, data);
        break;
    case GL_TEXTURE_3D:
        glTexImage3D(imageTarget, level.number, internal, w, h, d, 0, format, type, data);
        break;
    default:
        glTexImage2D(imageTarget, level.number, internal, w, h, 0, format, type, data);
        break;
    }
}

/// Returns whether the load succeeded. Generates the levels of a file that has none.
bool KTXReader::finishUpload(Upload upload) const
{
    if (glGetError() != GL_NO_ERROR || upload != eComplete) {
        return false;
    }
    if (mipmapLevels() != 0) {
        return true;
    }
    glGenerateMipmap(target());
    const bool generated = glGetError() == GL_NO_ERROR;
    ZEL_BARE_WARNING(
        "Generating Mipmaps. For increased loading performance, include these in the .ktx file.");
    return generated;
}

}} // namespace Orvane::Zel
