#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QStringList>
#include <QtCore/QVector>

namespace Orvane { namespace ZelShaders {

/// Files, and whether they have changed since they were read. A path without a file is watched too: a file may appear there.
///
/// A check makes one stat() for each path. It compares device, inode, size and both times, so that it finds a file that is
/// replaced by another of the same name. File systems count time in steps, of 4 ms or more, in which two changes look
/// alike; therefore the content of a file that is younger than kYoung seconds is compared too.
class FileWatch
{
public:
    static constexpr int kYoung = 2; ///< the coarsest step of a file system in use, in seconds

    /// While it exists, the watch contains each path that this thread passes to looksFor(). Objects of one thread nest.
    class Recorder
    {
        Q_DISABLE_COPY(Recorder)

    public:
        explicit Recorder(FileWatch &watch);
        ~Recorder();

    private:
        FileWatch *_outer;
    };

    /// To be called before the file is read, so that a change during the read is found later. Without a Recorder, it does
    /// nothing.
    static void looksFor(const QString &path);

    /// Whether a file differs from what it was when it was added.
    bool hasChanged();
    QStringList paths() const;

private:
    /// What stat() returns about a file; all zero if there is none.
    struct State
    {
        quint64 device = 0;
        quint64 inode = 0;
        qint64 size = 0;
        qint64 modified = 0; ///< nanoseconds
        qint64 changed = 0;  ///< nanoseconds; writers cannot set it back

        bool operator==(const State &other) const
        {
            return device == other.device && inode == other.inode && size == other.size
                   && modified == other.modified && changed == other.changed;
        }
    };

    struct File
    {
        QByteArray path; ///< encoded, so that a check allocates nothing
        State state;
        bool isYoung;
        QByteArray content; ///< of a young file
    };

    static State stateOf(const QByteArray &path);
    static bool isYoung(const State &state);

    void add(const QByteArray &path);

    QVector<File> _files;
};

}} // namespace Orvane::ZelShaders
