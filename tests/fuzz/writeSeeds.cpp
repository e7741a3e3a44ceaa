// Writes small valid files, the seeds of the fuzz targets of the image readers: writeSeeds FOLDER.

#include "../support/FileMaker.h"

#include <QtCore/QDir>
#include <QtCore/QFile>

namespace {

bool write(const QString &folder, const QVector<QByteArray> &files)
{
    bool written = QDir().mkpath(folder);
    for (int i = 0; i < files.size(); ++i) {
        QFile file(QDir(folder).filePath(QString::number(i)));
        written = file.open(QIODevice::WriteOnly) && file.write(files[i]) == files[i].size() && written;
    }
    return written;
}

} // namespace

int main(int argc, char **argv)
{
    if (argc != 2) {
        return 2;
    }
    const QDir folder(QFile::decodeName(argv[1]));
    const bool written = write(folder.filePath("KTX"), ktxSeeds())
                         && write(folder.filePath("HDR"), hdrSeeds())
                         && write(folder.filePath("ASTC"), astcSeeds());
    return written ? 0 : 1;
}
