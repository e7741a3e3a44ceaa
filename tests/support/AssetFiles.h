#pragma once

#include "Files.h"
#include "Print.h"

#include <QtCore/QBuffer>
#include <QtCore/QDir>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QProcess>
#include <QtCore/QSet>
#include <QtCore/QTemporaryDir>
#include <QtCore/QVector>
#include <QtGui/QImage>
#include <QtGui/QVector3D>

/// The result of a run of a program.
struct Ending
{
    int code;
    QString output;
    QString errors;
};

template <typename T> QByteArray bytesOf(const QVector<T> &values)
{
    return {reinterpret_cast<const char *>(values.constData()), int(sizeof(T)) * values.size()};
}

inline QByteArray pngOf(const QImage &image)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    image.save(&buffer, "png");
    return bytes;
}

inline QByteArray plainPng(const QColor &color, int width = 8, int height = 8)
{
    QImage image(width, height, QImage::Format_ARGB32);
    image.fill(color);
    return pngOf(image);
}

/// Three bytes a texel: quarters of the mosaic "rg/b.".
inline QByteArray fourColourTexels(int side)
{
    QByteArray texels;
    for (int i = 0; i < side * side; ++i) {
        const char *const colors[] = {"\xc8\0\0", "\0\xc8\0", "\0\0\xc8", "\xff\xff\xff"};
        texels += QByteArray(colors[(i / side * 2 / side) * 2 + i % side * 2 / side], 3);
    }
    return texels;
}

inline QByteArray fourColours()
{
    const QByteArray texels = fourColourTexels(32);
    return pngOf({reinterpret_cast<const uchar *>(texels.constData()), 32, 32, QImage::Format_RGB888});
}

/// A fixture with a temporary folder, the models and images that a test writes there, and runs of programs.
class AssetFilesTest : public testing::Test
{
protected:
    QString path(const QString &name = QString()) const { return _folder.filePath(name); }

    QString write(const QString &name, const QByteArray &bytes) const { return writeFile(path(name), bytes); }

    QStringList names() const { return QDir(path()).entryList(QDir::AllEntries | QDir::Hidden); }

    /// Writes a wall of unit squares in the plane z = 0, each a mesh without normals. Square i from the lower left corner is red,
    /// green or blue for i % 3 = 0, 1 or 2.
    QString writeWall(const QString &name, int columns, int rows) const
    {
        write("wall.mtl",
              "newmtl m0\nKd 0.8 0.05 0.05\nnewmtl m1\nKd 0.05 0.8 0.05\nnewmtl m2\nKd 0.05 0.05 0.8\n");
        QString text = "mtllib wall.mtl\n";
        for (int i = 0; i < columns * rows; ++i) {
            const QString square =
                "o square%5\nusemtl m%6\nv %1 %2 0\nv %3 %2 0\nv %3 %4 0\nv %1 %4 0\nf -4 -3 -2 -1\n";
            const int x = i % columns;
            const int y = i / columns;
            text += square.arg(x).arg(y).arg(x + 1).arg(y + 1).arg(i).arg(i % 3);
        }
        return write(name, text.toUtf8());
    }

    /// Writes a glTF file of these nodes (a JSON list) and other members, with one buffer view for each byte array.
    QString writeGltf(const QString &name, const QByteArray &nodes, const QByteArray &members,
                      const QByteArrayList &views) const
    {
        const QJsonArray nodeList = QJsonDocument::fromJson(nodes).array();
        QStringList roots, viewList, buffers;
        QSet<int> children;
        for (const QJsonValue &node : nodeList) {
            for (const QJsonValue &child : node["children"].toArray()) {
                children.insert(child.toInt());
            }
        }
        for (int i = 0; i < nodeList.size(); ++i) {
            roots += children.contains(i) ? QStringList() : QStringList(QString::number(i));
        }
        for (const QByteArray &view : views) {
            viewList += QString(R"({"buffer":%1,"byteLength":%2})").arg(buffers.size()).arg(view.size());
            buffers += QString(R"({"byteLength":%1,"uri":"data:application/octet-stream;base64,%2"})")
                           .arg(view.size())
                           .arg(QString(view.toBase64()));
        }
        return write(
            name,
            QString(R"({"asset":{"version":"2.0"},"scene":0,"scenes":[{"nodes":[%1]}],"bufferViews":[%2],)"
                    R"("buffers":[%3],"nodes":)")
                    .arg(roots.join(','), viewList.join(','), buffers.join(','))
                    .toUtf8()
                + nodes + "," + members + "}");
    }

    /// Writes a glTF file of these nodes and materials (JSON lists). Mesh i is a unit square from the origin in the plane z = 0,
    /// with material i, upright texture coordinates and these normals. \a more: additional members of the file.
    QString writeSquares(const QString &name, const QByteArray &nodes, const QByteArray &materials,
                         const QByteArray &more = R"("extensionsUsed":[])",
                         const QVector<QVector3D> &normals = QVector<QVector3D>(4, {0, 0, 1})) const
    {
        QStringList meshes;
        while (meshes.size() < QJsonDocument::fromJson(materials).array().size()) {
            const QString mesh =
                R"({"primitives":[{"attributes":{"POSITION":0,"TEXCOORD_0":1,"NORMAL":3},"indices":2,"material":%1}]})";
            meshes += mesh.arg(meshes.size());
        }
        return writeGltf(
            name, nodes,
            R"("materials":)" + materials + R"(,"meshes":[)" + meshes.join(',').toUtf8() + "]," + more
                + R"(,"accessors":[{"bufferView":0,"componentType":5126,"count":4,"type":"VEC3","min":[0,0,0],"max":[1,1,0]},
                                  {"bufferView":1,"componentType":5126,"count":4,"type":"VEC2"},
                                  {"bufferView":2,"componentType":5123,"count":6,"type":"SCALAR"},
                                  {"bufferView":3,"componentType":5126,"count":4,"type":"VEC3"}])",
            {bytesOf<float>({0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0}), bytesOf<float>({0, 1, 1, 1, 1, 0, 0, 0}),
             bytesOf<quint16>({0, 1, 2, 0, 2, 3}), bytesOf(normals)});
    }

    /// Members of a glTF file whose only texture is this PNG.
    static QByteArray withTexture(const QByteArray &png)
    {
        return R"("textures":[{"source":0}],"images":[{"uri":"data:image/png;base64,)" + png.toBase64()
               + R"("}])";
    }

    const Ending &
    runProgram(const char *program, const QStringList &arguments,
               const QProcessEnvironment &environment = QProcessEnvironment::systemEnvironment())
    {
        QProcess process;
        process.setProcessEnvironment(environment);
        process.start(program, arguments);
        EXPECT_TRUE(process.waitForFinished(100000) && process.exitStatus() == QProcess::NormalExit)
            << qPrintable(arguments.join(' ') + ": " + process.errorString());
        _last = {process.exitCode(), process.readAllStandardOutput(), process.readAllStandardError()};
        return _last;
    }

    Ending _last;

private:
    QTemporaryDir _folder;
};
