#include "InputFile.h"

#include <QtCore/QFileInfo>

namespace zelview {

Failure checkInputFile(const QString &path)
{
    const QFileInfo file(path);
    if (!file.exists()) {
        return Problem{ExitCode::eFile, QStringLiteral("there is no file '%1'").arg(path)};
    }
    if (!file.isFile() || !file.isReadable()) {
        return Problem{ExitCode::eFile, QStringLiteral("'%1' is not a file that can be read").arg(path)};
    }
    return {};
}

} // namespace zelview
