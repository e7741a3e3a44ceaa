#include "FileWatch.h"

#include <QtCore/QFile>

#include <algorithm>

#include <sys/stat.h>

#include <ctime>

namespace Orvane { namespace ZelShaders {

namespace {

thread_local FileWatch *current = nullptr;

constexpr qint64 kSecond = 1000000000;

qint64 nanoseconds(const timespec &time)
{
    return qint64(time.tv_sec) * kSecond + qint64(time.tv_nsec);
}

QByteArray contentOf(const QByteArray &path)
{
    QFile file(QFile::decodeName(path));
    return file.open(QIODevice::ReadOnly | QIODevice::Unbuffered) ? file.readAll() : QByteArray();
}

} // namespace

FileWatch::Recorder::Recorder(FileWatch &watch)
    : _outer(current)
{
    current = &watch;
}

FileWatch::Recorder::~Recorder()
{
    current = _outer;
}

void FileWatch::looksFor(const QString &path)
{
    if (current != nullptr && !path.startsWith(QLatin1Char(':'))) { // built-in files do not change
        current->add(QFile::encodeName(path));
    }
}

bool FileWatch::hasChanged()
{
    return std::any_of(_files.begin(), _files.end(), [](File &file) {
        if (!(stateOf(file.path) == file.state)) {
            return true;
        }
        if (!file.isYoung) {
            return false;
        }
        // The age first: a change after a comparison of an old file has another time.
        file.isYoung = isYoung(file.state);
        return contentOf(file.path) != file.content;
    });
}

QStringList FileWatch::paths() const
{
    QStringList paths;
    for (const File &file : _files) {
        paths.append(QFile::decodeName(file.path));
    }
    return paths;
}

FileWatch::State FileWatch::stateOf(const QByteArray &path)
{
    struct stat status = {};
    if (::stat(path.constData(), &status) != 0) {
        return {};
    }
    return {quint64(status.st_dev), quint64(status.st_ino), qint64(status.st_size),
            nanoseconds(status.st_mtim), nanoseconds(status.st_ctim)};
}

bool FileWatch::isYoung(const State &state)
{
    timespec now = {};
    return state.inode != 0 && ::clock_gettime(CLOCK_REALTIME, &now) == 0
           && nanoseconds(now) - state.changed < kYoung * kSecond;
}

void FileWatch::add(const QByteArray &path)
{
    const bool isKnown =
        std::any_of(_files.begin(), _files.end(), [&](const File &file) { return file.path == path; });
    if (!isKnown) {
        const State state = stateOf(path);
        const bool young = isYoung(state);
        _files.append({path, state, young, young ? contentOf(path) : QByteArray()});
    }
}

}} // namespace Orvane::ZelShaders
