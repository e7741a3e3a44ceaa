#include "BinaryFiles.h"

#include <QtCore/QCryptographicHash>
#include <QtCore/QDataStream>
#include <QtCore/QDateTime>
#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QSaveFile>

#include <algorithm>

namespace Orvane { namespace ZelShaders {

namespace {

const QString kSuffix = QStringLiteral(".zelprogram");
constexpr qint64 kSecondsOfAWrite = 3600; // at most
const QByteArray kSignature = QByteArrayLiteral("ZelGL program 1\n");

/// The start of the file of a binary.
QByteArray headOf(const QByteArray &key, unsigned int format, const QByteArray &data)
{
    QByteArray fields;
    QDataStream(&fields, QIODevice::WriteOnly) << quint32(format) << quint32(data.size());
    // Against damage only: it takes a fourth of the time of SHA-256, which the key has.
    QCryptographicHash hash(QCryptographicHash::Sha1);
    hash.addData(fields);
    hash.addData(data);
    return kSignature + key + fields + hash.result();
}

} // namespace

BinaryFiles::BinaryFiles(const QString &folder, int maxBytes)
    : _folder(folder)
    , _maxBytes(maxBytes)
{
}

BinaryFiles::State BinaryFiles::read(const QByteArray &key, Binary &binary) const
{
    QFile file(pathOf(key));
    if (_folder.isEmpty() || !file.open(QIODevice::ReadOnly)) {
        return eMissing;
    }
    // A file above the limit is not one of the cache: it is not read. All of the head must be the one that belongs to this key
    // and to the bytes after it, so that nothing in it needs a check of its own.
    const int headBytes = headOf(key, 0, QByteArray()).size();
    const QByteArray bytes = file.size() > _maxBytes ? QByteArray() : file.readAll();
    const QByteArray data = bytes.mid(headBytes);
    quint32 format = 0;
    QDataStream(bytes.mid(kSignature.size() + key.size(), sizeof format)) >> format;
    if (bytes.left(headBytes) != headOf(key, format, data)) {
        return eUnusable;
    }
    // A folder that cannot be written to has no order of use.
    file.setFileTime(QDateTime::currentDateTimeUtc(), QFileDevice::FileModificationTime);
    binary = {data, format};
    return eFound;
}

QString BinaryFiles::write(const QByteArray &key, const Binary &binary) const
{
    const QByteArray head = headOf(key, binary.format, binary.data);
    if (head.size() + qint64(binary.data.size()) > _maxBytes) {
        return QStringLiteral("a program of %1 bytes exceeds the limit of %2 bytes")
            .arg(head.size() + qint64(binary.data.size()))
            .arg(_maxBytes);
    }
    if (_folder.isEmpty() || !QDir().mkpath(_folder)) {
        return QStringLiteral("the folder cannot be created");
    }
    QSaveFile file(pathOf(key));
    if (!file.open(QIODevice::WriteOnly) || file.write(head) != head.size()
        || file.write(binary.data) != binary.data.size() || !file.commit()) {
        return file.errorString();
    }
    trim();
    return QString();
}

void BinaryFiles::remove(const QByteArray &key) const
{
    QFile::remove(pathOf(key));
}

QString BinaryFiles::pathOf(const QByteArray &key) const
{
    return _folder + QLatin1Char('/') + QString::fromLatin1(key.toHex()) + kSuffix;
}

void BinaryFiles::trim() const
{
    QFileInfoList files =
        QDir(_folder).entryInfoList({QLatin1Char('*') + kSuffix + QLatin1Char('*')}, QDir::Files,
                                    QDir::Time | QDir::Reversed); // the oldest first
    qint64 bytes = 0;
    const auto isTemporary = [&bytes](const QFileInfo &file) {
        if (file.fileName().endsWith(kSuffix)) {
            bytes += file.size();
            return false;
        }
        // Another process is writing it, or was ended before the rename.
        if (file.lastModified().secsTo(QDateTime::currentDateTimeUtc()) > kSecondsOfAWrite) {
            QFile::remove(file.filePath());
        }
        return true;
    };
    files.erase(std::remove_if(files.begin(), files.end(), isTemporary), files.end());
    for (const QFileInfo &file : qAsConst(files)) {
        if (bytes <= _maxBytes) {
            return;
        }
        // Another process may have deleted it.
        QFile::remove(file.filePath());
        bytes -= file.size();
    }
}

}} // namespace Orvane::ZelShaders
