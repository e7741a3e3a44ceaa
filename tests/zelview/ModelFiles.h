#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QString>
#include <QtCore/QTemporaryDir>

/// A folder of model files that tests write, gone with the object.
class ModelFiles
{
public:
    QString path(const QString &name) const { return _folder.filePath(name); }

    /// The path of a new file with these contents.
    QString write(const QString &name, const QByteArray &contents) const
    {
        QFile file(path(name));
        if (!file.open(QIODevice::WriteOnly) || file.write(contents) != contents.size()) {
            qFatal("cannot write %s", qPrintable(file.fileName()));
        }
        return file.fileName();
    }

    QByteArray read(const QString &name) const
    {
        QFile file(path(name));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    QStringList names() const
    {
        return QDir(_folder.path())
            .entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot, QDir::Name);
    }

    /// An upright wall of columns x rows unit squares in the plane z = 0, with its lower left corner at the origin.
    /// Square i is red where i % 3 is 0, then green, then blue. Every square is a mesh and has no normals.
    QString writeWall(const QString &name, int columns, int rows) const
    {
        QByteArray materials;
        for (const char *material :
             {"m0\nKd 0.8 0.05 0.05", "m1\nKd 0.05 0.8 0.05", "m2\nKd 0.05 0.05 0.8"}) {
            materials += QByteArray("newmtl ") + material + "\n";
        }
        write(name + QStringLiteral(".mtl"), materials);

        QByteArray text = "mtllib " + name.toUtf8() + ".mtl\n";
        for (int i = 0; i < columns * rows; ++i) {
            const int x = i % columns;
            const int y = i / columns;
            text += QStringLiteral("o square%1\nusemtl m%2\n").arg(i).arg(i % 3).toUtf8();
            for (const auto &corner : {QPair<int, int>{0, 0}, {1, 0}, {1, 1}, {0, 1}}) {
                text += QStringLiteral("v %1 %2 0\n").arg(x + corner.first).arg(y + corner.second).toUtf8();
            }
            text += "f -4 -3 -2 -1\n";
        }
        return write(name, text);
    }

private:
    QTemporaryDir _folder;
};
