#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QByteArrayList>
#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QSet>
#include <QtCore/QString>
#include <QtCore/QTemporaryDir>
#include <QtCore/QVector>

/// A temporary folder of model files that tests write.
class ModelFiles
{
public:
    QString path(const QString &name) const { return _folder.filePath(name); }

    /// Writes a file with these contents, and returns its path.
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

    /// Writes an upright wall of columns x rows unit squares in the plane z = 0, with its lower left corner at the origin.
    /// Square i is red, green or blue for i % 3 = 0, 1 or 2. Each square is a mesh without normals.
    QString writeWall(const QString &name, int columns, int rows) const
    {
        QByteArray materials;
        for (const char *material :
             {"m0\nKd 0.8 0.05 0.05", "m1\nKd 0.05 0.8 0.05", "m2\nKd 0.05 0.05 0.8"}) {
            materials += QByteArray("newmtl ") + material + "\n";
        }
        write(name + ".mtl", materials);

        QByteArray text = "mtllib " + name.toUtf8() + ".mtl\n";
        for (int i = 0; i < columns * rows; ++i) {
            const int x = i % columns;
            const int y = i / columns;
            text += QString("o square%1\nusemtl m%2\n").arg(i).arg(i % 3).toUtf8();
            for (const auto &corner : {QPair<int, int>{0, 0}, {1, 0}, {1, 1}, {0, 1}}) {
                text += QString("v %1 %2 0\n").arg(x + corner.first).arg(y + corner.second).toUtf8();
            }
            text += "f -4 -3 -2 -1\n";
        }
        return write(name, text);
    }

    /// Writes a glTF file of these nodes (a JSON list) and other members, with one buffer view for each byte array.
    QString writeGltf(const QString &name, const QByteArray &nodes, const QByteArray &members,
                      const QByteArrayList &views) const
    {
        const QJsonArray nodeList = QJsonDocument::fromJson(nodes).array();
        QSet<int> children;
        for (const QJsonValue &node : nodeList) {
            for (const QJsonValue &child : node["children"].toArray()) {
                children.insert(child.toInt());
            }
        }
        QByteArrayList roots;
        for (int i = 0; i < nodeList.size(); ++i) {
            if (!children.contains(i)) {
                roots.append(QByteArray::number(i));
            }
        }
        QByteArrayList viewList;
        QByteArray bytes;
        for (const QByteArray &view : views) {
            viewList.append(R"({"buffer":0,"byteOffset":)" + QByteArray::number(bytes.size())
                            + R"(,"byteLength":)" + QByteArray::number(view.size()) + "}");
            bytes += view;
        }
        return write(
            name, R"({"asset":{"version":"2.0"},"scene":0,"scenes":[{"nodes":[)" + roots.join(',')
                      + R"(]}],"nodes":)" + nodes + "," + members + R"(,"bufferViews":[)" + viewList.join(',')
                      + R"(],"buffers":[{"byteLength":)" + QByteArray::number(bytes.size())
                      + R"(,"uri":"data:application/octet-stream;base64,)" + bytes.toBase64() + R"("}]})");
    }

    /// Writes a glTF file of these nodes and materials (JSON lists). Mesh i is a unit square from the origin in the plane z = 0,
    /// facing +z, with material i and upright texture coordinates. \a more: additional members of the file.
    QString writeSquares(const QString &name, const QByteArray &nodes, const QByteArray &materials,
                         const QByteArray &more = QByteArray()) const
    {
        QByteArrayList meshes;
        for (int i = 0; i < QJsonDocument::fromJson(materials).array().size(); ++i) {
            meshes.append(
                R"({"primitives":[{"attributes":{"POSITION":0,"TEXCOORD_0":1},"indices":2,"material":)"
                + QByteArray::number(i) + "}]}");
        }
        return writeGltf(
            name, nodes,
            R"("materials":)" + materials + R"(,"meshes":[)" + meshes.join(',') + "],"
                + (more.isEmpty() ? QByteArray() : more + ",")
                + R"("accessors":[{"bufferView":0,"componentType":5126,"count":4,"type":"VEC3","min":[0,0,0],"max":[1,1,0]},
                                  {"bufferView":1,"componentType":5126,"count":4,"type":"VEC2"},
                                  {"bufferView":2,"componentType":5123,"count":6,"type":"SCALAR"}])",
            {bytesOf<float>({0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0}), bytesOf<float>({0, 1, 1, 1, 1, 0, 0, 0}),
             bytesOf<quint16>({0, 1, 2, 0, 2, 3})});
    }

    template <typename T> static QByteArray bytesOf(const QVector<T> &values)
    {
        return {reinterpret_cast<const char *>(values.constData()), int(sizeof(T)) * values.size()};
    }

private:
    QTemporaryDir _folder;
};
