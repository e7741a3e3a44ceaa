#include "ShaderText.h"

#include "Reporting.h"

#include <QtCore/QFile>
#include <QtCore/QStringList>

namespace Orvane { namespace Zel {

bool readShaderText(const QString &path, QString &text)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Unbuffered)) {
        return false;
    }
    text = QString::fromUtf8(file.readAll().constData());
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
