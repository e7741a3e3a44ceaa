#include "TestData.h"

#include <QtCore/QDir>
#include <QtCore/QFileInfo>

QString testData(const QString &relativePath)
{
    const QString root = qEnvironmentVariable("ZELGL_TEST_DATA", ZELGL_SOURCE_DIR "/../shared/data");
    const QFileInfo file(QDir(root).filePath(relativePath));
    return file.isFile() ? file.absoluteFilePath() : QString();
}
