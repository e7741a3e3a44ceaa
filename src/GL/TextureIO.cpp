#include "TextureIO.h"

#include "ASTCReader.h"
#include "GLUtilities.h"
#include "HDRReader.h"
#include "KTXReader.h"
#include "Texture.h"
#include "TextureLoader.h"
#include "TextureProcessing.h"
#include "TextureRecogniser.h"
#include "private/BoundTexture.h"
#include "private/BuiltinRecognisers.h"
#include "private/ContextHold.h"
#include "private/TextureUpload.h"
#include "private/UnpackState.h"

#include <ZelCore/MemoryMappedFile.h>
#include <ZelCore/RawMemory.h>

#include <QtCore/QElapsedTimer>
#include <QtCore/QFileInfo>
#include <QtCore/QHash>
#include <QtGui/QImage>

#include <algorithm>
#include <cmath>
#include <memory>
#include <utility>
#include <vector>

namespace Orvane { namespace Zel {

const QString kBakedKeyword = QStringLiteral("[baked]");

namespace {

const QString kPlanarKeyword Q_DECL_UNUSED = QStringLiteral("[PLANAR]"); // reserved in file names; unused
const QString kAnisoPrefix = QStringLiteral("[aniso");

constexpr int kImageLevels = 4; ///< after the base level, for images of every size

using RecogniserPointer = std::shared_ptr<TextureRecogniser>;

std::vector<RecogniserPointer> recognisers;                      ///< owned, in the order of registration
QHash<QString, std::weak_ptr<TextureRecogniser>> extensionTable; ///< by suffix in lower case

/// Returns the owning pointer. A recogniser that is registered again is listed, and deleted, only once.
RecogniserPointer registered(TextureRecogniser *recogniser)
{
    const auto known =
        std::find_if(recognisers.begin(), recognisers.end(),
                     [recogniser](const auto &pointer) { return pointer.get() == recogniser; });
    if (known != recognisers.end()) {
        return *known;
    }
    recognisers.emplace_back(recogniser);
    return recognisers.back();
}

/// Tries all recognisers, \a first before the others if it is not null. Deletes the
/// memory if none of them accepts it.
TextureLoader *identify(std::unique_ptr<Memory> memory, const QString &name, const TextureRecogniser *first)
{
    TextureLoader *loader = first != nullptr ? first->recognise(memory.get(), name) : nullptr;
    for (auto it = recognisers.begin(); loader == nullptr && it != recognisers.end(); ++it) {
        loader = (*it)->recognise(memory.get(), name);
    }
    if (loader != nullptr) {
        memory.release(); // now owned by the reader
    }
    return loader;
}

void reportLoaded(const Texture *texture, const QString &name, const QElapsedTimer &timer)
{
    if (texture != nullptr) {
        ZEL_BARE_DEBUG("Texture %s loaded in %lld ms", qPrintable(name),
                       static_cast<long long>(timer.elapsed()));
    }
}

void setFiltersAndWrap(GLint minFilter, GLint magFilter, GLint wrap)
{
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, minFilter);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, magFilter);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, wrap);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, wrap);
}

void setLevels(GLint base, GLint max)
{
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_BASE_LEVEL, base);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAX_LEVEL, max);
}

struct ImageFormat
{
    GLint internalFormat;
    GLenum format;
    GLenum type;
};

ImageFormat imageFormat(bool asRG16F, bool srgb)
{
    if (asRG16F) {
        return {GL_RG16F, GL_RG, GL_HALF_FLOAT};
    }
    return {srgb ? GL_SRGB8_ALPHA8 : GL_RGBA, GL_BGRA, GL_UNSIGNED_BYTE};
}

/// Both pixel formats have four bytes a pixel, without padding: rows of GL and of QImage agree. A null image passes,
/// with no pixels to read.
bool holdsPixels(const QImage &image)
{
    return image.sizeInBytes() >= qint64(4) * image.width() * image.height();
}

/// Truncates a component from 0 to 1 to steps of 1/255; values outside wrap around. Those that qint64 cannot hold give
/// 0, because their conversion is undefined. See TextureIOTest.ImagesHaveFourLevelsAndSolidColoursOneOfWholeSteps.
unsigned char componentByte(float value)
{
    const float steps = std::trunc(value * 255.0f);
    return std::abs(steps) < 1e15f ? static_cast<unsigned char>(static_cast<qint64>(steps)) : 0;
}

} // namespace

void RegisterTextureRecogniser(TextureRecogniser *recogniser, const QString &extension)
{
    if (recogniser == nullptr) {
        return;
    }
    const RecogniserPointer pointer = registered(recogniser);
    if (!extension.isEmpty()) {
        extensionTable.insert(extension.toLower(), pointer);
    }
}

void DeleteAllRegisteredTextureRecognisers()
{
    recognisers.clear(); // the suffixes stay: their weak pointers are null now, and a new claim replaces them
}

void registerBuiltinRecognisers()
{
    RegisterTextureRecogniser(new HDRRecogniser, QStringLiteral("hdr"));
    RegisterTextureRecogniser(new KTXRecogniser, QStringLiteral("ktx"));
    RegisterTextureRecogniser(new ASTCRecogniser, QStringLiteral("astc"));
}

TextureLoader *IdentifyTextureFromFile(const QString &path)
{
    const RecogniserPointer ofSuffix = extensionTable.value(QFileInfo(path).suffix().toLower()).lock();
    return identify(std::make_unique<MemoryMappedFile>(path), path, ofSuffix.get());
}

TextureLoader *IdentifyTextureFromMemory(unsigned char *data, unsigned long size, const QString &name)
{
    return identify(std::make_unique<RawMemory>(data, size), name, nullptr);
}

Texture *LoadTextureFromFile(const QString &path, const TextureFileInfo &info)
{
    if (!QFileInfo(path).isFile()) {
        ZEL_LOG_WARNING("File %s not found", qPrintable(path));
        return nullptr;
    }
    const ContextHold::Pause pause; // a reader of the host may change the current context
    QElapsedTimer timer;
    timer.start();
    const std::unique_ptr<TextureLoader> loader(IdentifyTextureFromFile(path));
    if (loader != nullptr && !loader->valid()) {
        ZEL_BARE_DEBUG("Data appears invalid for texture file '%s'", qPrintable(path));
        return nullptr;
    }
    Texture *texture = loader != nullptr ? loader->load(info) : LoadTextureFromQImageFile(path, info);
    reportLoaded(texture, path, timer);
    return texture;
}

Texture *LoadTextureFromMemory(unsigned char *data, unsigned long size, const TextureFileInfo &info,
                               const QString &name)
{
    const QString shownName = name.isEmpty() ? QStringLiteral("<unnamed>") : name;
    QElapsedTimer timer;
    timer.start();
    const std::unique_ptr<TextureLoader> loader(IdentifyTextureFromMemory(data, size, name));
    if (loader == nullptr) {
        ZEL_BARE_DEBUG("Unable to recognise the file format for texture data '%s'", qPrintable(shownName));
        return nullptr;
    }
    if (!loader->valid()) {
        ZEL_BARE_DEBUG("Data appears invalid for texture data '%s'", qPrintable(shownName));
        return nullptr;
    }
    Texture *texture = loader->load(info);
    reportLoaded(texture, shownName, timer);
    return texture;
}

Texture *LoadTextureFromQImageFile(const QString &path, const TextureFileInfo &info)
{
    QImage image;
    if (!image.load(path)) {
        ZEL_LOG_WARNING("Failed to load %s", qPrintable(path));
        return nullptr;
    }
    image = std::move(image).mirrored(); // GL's rows run from the bottom up
    if (image.depth() != 32) {           // 32-bit images are uploaded without a conversion
        image = image.convertToFormat(QImage::Format_ARGB32);
    }
    return QImageToTexture(image, false, info);
}

Texture *QImageToTexture(const QImage &image, bool asRG16F, const TextureFileInfo &info)
{
    if (!holdsPixels(image)) {
        return nullptr;
    }
    std::unique_ptr<Texture> bound = newBoundTexture(GL_TEXTURE_2D);
    if (!bound) {
        return nullptr;
    }
    Texture *texture = bound.release(); // the remap below may replace it
    const UnpackState unpackState(1);
    setFiltersAndWrap(GL_LINEAR_MIPMAP_LINEAR, GL_LINEAR, GL_CLAMP_TO_EDGE);
    setLevels(0, kImageLevels);
    setTextureAnisotropy(GL_TEXTURE_2D, info.anisotropy);
    if (asRG16F) {
        ZEL_BARE_DEBUG("Loading image as GL_RG16F...");
    }
    const ImageFormat format = imageFormat(asRG16F, info.srgb);
    texture->setSize(0, format.internalFormat, image.width(), image.height(), 1);
    glTexImage2D(GL_TEXTURE_2D, 0, format.internalFormat, image.width(), image.height(), 0, format.format,
                 format.type, image.constBits());
    glGenerateMipmap(GL_TEXTURE_2D);
    texture->unbind();
    if (info.remapRange) {
        RemapColorRange(texture, info.lowValue, info.highValue);
    }
    return texture;
}

Texture *MakeColorTexture(const QColor &color)
{
    TextureFileInfo info;
    info.lowValue = 0.0f;
    info.highValue = 1.0f;
    info.remapRange = true;
    info.srgb = false;
    info.keepOrientation = false;
    info.anisotropy = 0;
    info.channelDepth = 8;
    QImage image(1, 1, QImage::Format_ARGB32);
    image.fill(color);
    return QImageToTexture(image, false, info);
}

Texture *SolidColorTexture(float r, float g, float b, float a)
{
    const unsigned char texel[4] = {componentByte(r), componentByte(g), componentByte(b), componentByte(a)};
    std::unique_ptr<Texture> texture = newBoundTexture(GL_TEXTURE_2D, GL_RGBA, 1, 1, 1);
    if (!texture) {
        return nullptr;
    }
    {
        const UnpackState unpackState(1);
        setFiltersAndWrap(GL_NEAREST, GL_NEAREST, GL_REPEAT);
        setLevels(0, 0);
        glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA, 1, 1, 0, GL_RGBA, GL_UNSIGNED_BYTE, texel);
    }
    texture->unbind();
    return texture.release();
}

QString GetBakedImagePath(const QString &path, const QString &extension, int anisoLevel)
{
    QString baked = path;
    const QString suffix = QFileInfo(path).suffix();
    if (!suffix.isEmpty()) {
        baked.truncate(path.lastIndexOf(suffix) - 1); // and the dot
    }
    baked += kBakedKeyword;
    if (anisoLevel > 0) {
        baked += kAnisoPrefix + QString::number(anisoLevel) + QLatin1Char(']');
    }
    return baked + extension;
}

bool IsBakedImagePath(const QString &path)
{
    return path.contains(kBakedKeyword);
}

int GetAnisoLevel(const QString &path)
{
    const int prefix = path.indexOf(kAnisoPrefix);
    if (prefix < 0) {
        return -1;
    }
    const int begin = prefix + kAnisoPrefix.size();
    const int end = path.indexOf(QLatin1Char(']'), begin);
    return path.mid(begin, end < 0 ? -1 : end - begin).toInt(); // 0 for a text that is no number
}

}} // namespace Orvane::Zel
