#include "file/InputFile.h"

#include <QtCore/QFile>
#include <QtCore/QFileInfo>

namespace zeltools {

Failure checkInputFile(const QString &path)
{
    const QFileInfo file(path);
    if (!file.exists()) {
        return Problem{ExitCode::eFile, QStringLiteral("there is no file '%1'").arg(path)};
    }
    if (file.isDir()) {
        return Problem{ExitCode::eFile, QStringLiteral("'%1' is a folder, not a file").arg(path)};
    }
    if (!file.isFile() || !file.isReadable()) {
        return Problem{ExitCode::eFile, QStringLiteral("'%1' is not a readable file").arg(path)};
    }
    return {};
}

QString reasonInHead(const QString &path)
{
    constexpr int kMaxLine = 40; ///< bytes
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return {};
    }
    const QByteArray line = file.readLine(kMaxLine);
    if (line.isEmpty()) {
        return QStringLiteral("it is empty");
    }
    const QString shown = QString::fromLatin1(line).remove(QLatin1Char('\n'));
    if (shown.startsWith(QLatin1String("#?")) && shown != QLatin1String("#?RADIANCE")) {
        return QStringLiteral("it is a Radiance image that begins with '%1', not with '#?RADIANCE'")
            .arg(QString(shown).replace(QLatin1Char('\r'), QStringLiteral("\\r")));
    }
    return {};
}

} // namespace zeltools
