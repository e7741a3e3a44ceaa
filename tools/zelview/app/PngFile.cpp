#include "app/PngFile.h"

#include <QtCore/QFileInfo>
#include <QtCore/QSaveFile>
#include <QtGui/QImage>
#include <QtGui/QImageWriter>

namespace zeltools {

namespace {

Problem fileProblem(const QString &path, const QString &reason)
{
    return {ExitCode::eFile, QStringLiteral("cannot write '%1': %2").arg(path, reason)};
}

} // namespace

Failure checkPngTarget(const QString &path)
{
    const QFileInfo file(path);
    const QFileInfo folder(file.absolutePath());
    if (!folder.isDir()) {
        return fileProblem(path, QStringLiteral("there is no folder '%1'").arg(folder.filePath()));
    }
    if (file.exists() && !file.isFile()) {
        // The final rename would replace a device by the picture.
        return fileProblem(path, QStringLiteral("it is not a plain file"));
    }
    if (!folder.isWritable() || (file.exists() && !file.isWritable())) {
        return fileProblem(path, QStringLiteral("permission denied"));
    }
    return {};
}

Failure writePng(const QImage &image, const QString &path)
{
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly)) {
        return fileProblem(path, file.errorString());
    }
    QImageWriter writer(&file, "png");
    if (!writer.write(image)) {
        return fileProblem(path, writer.errorString()); // the destructor deletes the temporary file
    }
    if (!file.commit()) {
        return fileProblem(path, file.errorString());
    }
    return {};
}

} // namespace zeltools
