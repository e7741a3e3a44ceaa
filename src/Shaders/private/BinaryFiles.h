#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>

namespace Orvane { namespace ZelShaders {

/// The files of a program cache: a binary each, named by its key. Needs no context.
///
/// A file is a head of fixed size and the binary. The head has a signature with the version of the form, the key, the format
/// and size of the binary, and a hash of both. Files appear whole, by a rename, and are never changed later.
class BinaryFiles
{
public:
    struct Binary
    {
        QByteArray data;
        unsigned int format = 0; ///< GL's
    };

    enum State { eMissing, eUnusable, eFound };

    BinaryFiles(const QString &folder, int maxBytes);

    /// Sets \a binary only if it is found, and makes its file the most recently used one.
    State read(const QByteArray &key, Binary &binary) const;
    /// Returns the reason if the file is not written; else an empty text. Deletes the least recently used files above the
    /// limit.
    QString write(const QByteArray &key, const Binary &binary) const;
    void remove(const QByteArray &key) const;

    QString pathOf(const QByteArray &key) const;

private:
    void trim() const;

    QString _folder;
    int _maxBytes; ///< of all files
};

}} // namespace Orvane::ZelShaders
