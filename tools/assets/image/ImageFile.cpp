#include "image/ImageFile.h"

#include "file/Console.h"
#include "file/InputFile.h"
#include "image/TextureFacts.h"

#include <ZelCore/MemoryMappedFile.h>
#include <ZelGL/ASTCReader.h>
#include <ZelGL/GLLoader.h>
#include <ZelGL/HDRReader.h>
#include <ZelGL/KTXReader.h>
#include <ZelGL/Texture.h>
#include <ZelGL/TextureIO.h>

#include <QtGui/QImageReader>

#include <algorithm>

using namespace Orvane::Zel;

namespace zeltools {

namespace {

bool isRecognised(const TextureRecogniser &recogniser, const QString &path)
{
    auto *file = new MemoryMappedFile(path); // a reader takes ownership
    const std::unique_ptr<TextureLoader> reader(recogniser.recognise(file, path));
    if (reader == nullptr) {
        delete file;
    }
    return reader != nullptr;
}

/// Whether one of the library's own readers recognises the file, rather than Qt's.
bool hasOwnReader(const QString &path)
{
    return isRecognised(HDRRecogniser(), path) || isRecognised(KTXRecogniser(), path)
           || isRecognised(ASTCRecogniser(), path);
}

bool isReadable(const QString &key)
{
    return !key.isEmpty() && std::all_of(key.begin(), key.end(), [](QChar c) { return c.isPrint(); });
}

QSize statedSize(const QString &path)
{
    const std::unique_ptr<TextureLoader> reader(IdentifyTextureFromFile(path));
    if (reader == nullptr) {
        return QImageReader(path).size();
    }
    return reader->valid() ? QSize(int(reader->width()), int(reader->height())) : QSize();
}

/// The size of an image as the reason, if it is larger than textures may be; otherwise empty.
QString reasonInSize(const QString &path)
{
    GLint most = 0;
    glGetIntegerv(GL_MAX_TEXTURE_SIZE, &most);
    const QSize size = statedSize(path);
    return std::max(size.width(), size.height()) <= most
               ? QString()
               : QStringLiteral("its size, %1x%2 texels, exceeds the limit of the driver, %3")
                     .arg(size.width())
                     .arg(size.height())
                     .arg(most);
}

/// Why the library could not load an image, from the messages of the last Console::Collector.
QString reasonOfFailure(const QString &path)
{
    if (const QString reason = reasonInHead(path); !reason.isEmpty()) {
        return reason;
    }
    if (!isImageFile(path)) {
        return QStringLiteral("it is not an image of a known format");
    }
    if (const QString reason = reasonInSize(path); !reason.isEmpty()) {
        return reason;
    }
    const QStringList said = Console::Collector::messages();
    const bool hasReason = !said.isEmpty() && !said.last().contains(QLatin1String("failed to load"));
    // Qt logs the messages of its decoders, which are for programmers.
    return hasReason && hasOwnReader(path)
               ? said.last().simplified()
               : QStringLiteral("it is damaged, or uses a feature of its format that is not read");
}

} // namespace

bool isImageFile(const QString &path)
{
    return hasOwnReader(path) || !QImageReader::imageFormat(path).isEmpty();
}

QStringList metadataKeys(const QString &path)
{
    QStringList keys;
    const std::unique_ptr<TextureLoader> reader(IdentifyTextureFromFile(path));
    if (reader == nullptr || !reader->valid()) {
        return keys;
    }
    for (unsigned int i = 0; i < reader->numMetadataEntries(); ++i) {
        if (isReadable(reader->key(i))) {
            keys.append(reader->key(i));
        }
    }
    return keys;
}

std::unique_ptr<Texture> loadImage(const QString &path, QString &reason)
{
    TextureFileInfo asItIs;
    asItIs.keepOrientation = true;
    const Console::Collector quiet;
    std::unique_ptr<Texture> texture(LoadTextureFromFile(path, asItIs));
    if (texture == nullptr) {
        reason = reasonOfFailure(path);
    } else if (texture->target() == 0) {
        reason = QStringLiteral("it has no texels");
    } else if (TextureFacts::of(*texture).size.isEmpty()) {
        reason = reasonInSize(path);
        reason = reason.isEmpty() ? QStringLiteral("the driver does not support its format") : reason;
    } else {
        return texture;
    }
    return nullptr;
}

} // namespace zeltools
