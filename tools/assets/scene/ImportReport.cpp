#include "scene/ImportReport.h"

#include "file/InputFile.h"
#include "scene/GltfHead.h"

#include <QtCore/QFile>
#include <QtCore/QRegularExpression>

#include <assimp/Importer.hpp>

#include <algorithm>
#include <iterator>
#include <limits>
#include <new>

namespace zeltools {

namespace {

const char *const kTooMuchMemory = "needs too much memory for a file of its size";

/// A part of an assimp message, and its meaning for a user.
struct KnownFailure
{
    const char *part;
    const char *meaning;
};

const KnownFailure kKnownFailures[] = {
    {"bad_alloc", kTooMuchMemory},
    {"No suitable reader found",
     "cannot be understood: it is neither a model nor an image of a known format"},
    {"mNumMeshes is 0", "holds no triangles"},
    {"ontains no faces", "holds no triangles"},
    {"has no faces", "holds no triangles"},
    {"No materials remaining", "holds no triangles"},
    {"No meshes remaining", "holds no triangles with valid coordinates"},
};

QString meaningOf(const QString &message)
{
    for (const KnownFailure &known : kKnownFailures) {
        if (message.contains(QLatin1String(known.part))) {
            return QLatin1String(known.meaning);
        }
    }
    return QStringLiteral(
        "cannot be understood: it is damaged, or uses a feature of its format that is not read");
}

QString notUnderstood(const QString &reason)
{
    return QStringLiteral("cannot be understood: ") + reason;
}

} // namespace

RecordingFiles::RecordingFiles(QStringList &missing)
    : _missing(missing)
{
}

Assimp::IOStream *RecordingFiles::Open(const char *file, const char *mode)
{
    static const QRegularExpression kSeparator(QStringLiteral("[/\\\\]"));
    Assimp::IOStream *stream = DefaultIOSystem::Open(file, mode);
    if (stream == nullptr) { // glTF escapes characters as in URLs, and assimp does not decode them
        stream = DefaultIOSystem::Open(QByteArray::fromPercentEncoding(file).constData(), mode);
    }
    const QString name = QString::fromUtf8(file).section(kSeparator, -1);
    if (stream != nullptr) { // importers try several folders
        _missing.removeAll(name);
    } else if (!name.isEmpty() && !_missing.contains(name)) {
        _missing.append(name);
    }
    return stream;
}

QStringList statedIn(const QString &modelPath, const QStringList &names)
{
    QFile file(modelPath);
    if (names.isEmpty() || !file.open(QIODevice::ReadOnly) || file.size() > std::numeric_limits<int>::max()) {
        return {};
    }
    const uchar *bytes = file.map(0, file.size());
    const auto text = QByteArray::fromRawData(reinterpret_cast<const char *>(bytes),
                                              bytes != nullptr ? int(file.size()) : 0);
    QStringList stated;
    std::copy_if(names.begin(), names.end(), std::back_inserter(stated),
                 [&](const QString &name) { return text.contains(name.toUtf8()); });
    return stated;
}

bool isPlyWithoutHeaderEnd(const QString &path)
{
    constexpr qint64 kMaxHeader = 1 << 20; ///< bytes
    static const QRegularExpression kEnd(QStringLiteral("[\r\n][ \t]*end_header"));
    QFile file(path);
    return file.open(QIODevice::ReadOnly) && file.peek(3).toLower() == "ply"
           && !QString::fromLatin1(file.read(kMaxHeader)).contains(kEnd);
}

QString describeFailure(const QString &path, const GltfHead &gltf, const Assimp::Importer &importer,
                        const QStringList &missing)
{
    const QStringList unknown = GltfHead::unknownAmong(gltf.requiredExtensions);
    if (const QString reason = reasonInHead(path); !reason.isEmpty()) {
        return notUnderstood(reason);
    }
    if (isPlyWithoutHeaderEnd(path)) {
        return notUnderstood(QStringLiteral("it is cut off: its header has no end"));
    }
    if (gltf.hasUnboundSkin) {
        return notUnderstood(
            QStringLiteral("it has skins without inverse bind matrices, which are not read"));
    }
    if (!gltf.version.isEmpty() && !gltf.version.startsWith(QLatin1Char('2'))) {
        return notUnderstood(QStringLiteral("it is glTF %1; only glTF 2 is read").arg(gltf.version));
    }
    if (!missing.isEmpty()) {
        return notUnderstood(QStringLiteral("it names the file '%1', which is missing").arg(missing.first()));
    }
    if (!unknown.isEmpty()) {
        return notUnderstood(
            QStringLiteral("it requires the extension %1, which is not read").arg(unknown.first()));
    }
    return meaningOf(QString::fromUtf8(importer.GetErrorString()));
}

QString describeFailure(const std::exception &exception)
{
    return dynamic_cast<const std::bad_alloc *>(&exception) != nullptr ? QLatin1String(kTooMuchMemory)
                                                                       : meaningOf(QString());
}

} // namespace zeltools
