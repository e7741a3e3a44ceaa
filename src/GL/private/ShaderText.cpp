#include "ShaderText.h"

#include "../Reporting.h"

#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QStringList>

namespace Orvane { namespace Zel {

bool readShaderText(const QString &path, QString &text)
{
    if (path.contains(QChar::Null)) { // the system would open the file that the part before it names
        return false;
    }
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly
                   | QIODevice::Unbuffered)) { // read in one piece: a buffer would only copy
        return false;
    }
    const QByteArray bytes = file.readAll();
    // A folder of the resources opens, as an empty file.
    if (file.error() != QFileDevice::NoError || (bytes.isEmpty() && QFileInfo(path).isDir())) {
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

/// The source as the driver has it; sources go to GL as Latin-1.
QString driverSource(GLuint shader)
{
    GLint length = 0;
    glGetShaderiv(shader, GL_SHADER_SOURCE_LENGTH, &length);
    QByteArray source(length, '\0');
    glGetShaderSource(shader, length, nullptr, source.data());
    return QString::fromLatin1(source.constData());
}

}} // namespace Orvane::Zel
