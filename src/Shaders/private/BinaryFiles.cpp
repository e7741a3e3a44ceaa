#include "BinaryFiles.h"

#include <QtCore/QCryptographicHash>
#include <QtCore/QDataStream>
#include <QtCore/QDateTime>
#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QSaveFile>

namespace Orvane { namespace ZelShaders {

namespace {

const QString kSuffix = QStringLiteral(".zelprogram");
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
    // 1. A file above the limit is not one of the cache: it is not read.
    // 2. The signature and the key are compared before the fields after them are used.
    // 3. All of the head must be the head of the binary that was read, its hash included.
    const int headBytes = headOf(key, 0, QByteArray()).size();
    const QByteArray head = file.size() > _maxBytes ? QByteArray() : file.read(headBytes);
    if (head.size() != headBytes || !head.startsWith(kSignature + key)) {
        return eUnusable;
    }
    quint32 format = 0;
    QDataStream(head.mid(kSignature.size() + key.size())) >> format;
    const QByteArray data = file.readAll();
    if (head != headOf(key, format, data)) {
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
    // The last '*' is for the temporary files that a process left when it was ended during a write.
    const QFileInfoList files =
        QDir(_folder).entryInfoList({QLatin1Char('*') + kSuffix + QLatin1Char('*')}, QDir::Files,
                                    QDir::Time | QDir::Reversed); // the oldest first
    qint64 bytes = 0;
    for (const QFileInfo &file : files) {
        bytes += file.size();
    }
    for (const QFileInfo &file : files) {
        if (bytes <= _maxBytes) {
            return;
        }
        // Another process may have deleted it.
        QFile::remove(file.filePath());
        bytes -= file.size();
    }
}

}} // namespace Orvane::ZelShaders
