#include "ShaderText.h"

#include "../Reporting.h"

#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QStringList>

#include <fcntl.h>
#include <unistd.h>

namespace Orvane { namespace Zel {

namespace {

/// By the system's own calls: a tree of includes is many small files, and what QFile
/// does beside these calls would be a fifth of the time of the whole expansion.
bool readFromDisk(const QString &path, QByteArray &bytes)
{
    const int file = ::open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC);
    if (file < 0) {
        return false;
    }
    char block[16384];
    ssize_t count = 0;
    while ((count = ::read(file, block, sizeof block)) > 0) {
        bytes.append(block, int(count));
    }
    ::close(file);
    return count == 0; // a folder opens, but cannot be read
}

bool readFromQt(const QString &path, QByteArray &bytes)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return false;
    }
    bytes = file.readAll();
    return !bytes.isEmpty() || !QFileInfo(path).isDir(); // a folder of the resources opens as an empty file
}

} // namespace

bool readShaderText(const QString &path, QString &text)
{
    // Resources and search paths are Qt's own names, and have a colon.
    QByteArray bytes;
    if (path.contains(QChar::Null)) { // would end the name for the system's calls
        return false;
    }
    if (path.contains(QLatin1Char(':')) ? !readFromQt(path, bytes) : !readFromDisk(path, bytes)) {
        return false;
    }
    text = QString::fromUtf8(bytes.constData());
    return true;
}

QString numberedLines(const QString &source)
{
    QString text;
    int number = 0;
    for (const QString &line : source.split(QLatin1Char('\n'))) {
        text += QStringLiteral("%1 : %2\n").arg(++number, 4).arg(line);
    }
    return text;
}

void warnLineByLine(const QString &message)
{
    for (const QString &line : message.split(QLatin1Char('\n'))) {
        ZEL_BARE_WARNING("%s", line.toUtf8().constData());
    }
}

QString driverLog(GLuint object, void(APIENTRY *getParameter)(GLuint, GLenum, GLint *),
                  void(APIENTRY *getInfoLog)(GLuint, GLsizei, GLsizei *, GLchar *))
{
    GLint length = 0;
    getParameter(object, GL_INFO_LOG_LENGTH, &length);
    QByteArray log(length, '\0');
    getInfoLog(object, length, nullptr, log.data());
    return QString::fromUtf8(log.constData());
}

}} // namespace Orvane::Zel
