#include "scene/UdimFiles.h"

#include "image/ImageFile.h"

#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QRegularExpression>

#include <algorithm>

namespace zeltools {

namespace {

const QString kMark = QStringLiteral("<UDIM>");
constexpr int kFirstTile = 1001;
constexpr int kLastTile = 2000;
constexpr int kColumns = 10;

/// Replaces the last number of four digits in the name by the mark; returns the name unchanged if it has none.
QString markNumber(const QString &name, const QString &number)
{
    const QRegularExpression form(QStringLiteral("(?<!\\d)%1(?!\\d)(?!.*(?<!\\d)%1(?!\\d))").arg(number));
    return QString(name).replace(form, kMark);
}

/// The tiles of a name that contains the mark.
std::vector<TextureTile> findMarked(const QDir &folder, const QString &name)
{
    const QString number = QStringLiteral("(\\d{4})");
    const QRegularExpression form(
        QRegularExpression::anchoredPattern(QRegularExpression::escape(name.section(kMark, 0, 0)) + number
                                            + QRegularExpression::escape(name.section(kMark, 1))));
    std::vector<TextureTile> tiles;
    for (const QString &entry : folder.entryList(QDir::Files, QDir::Name)) {
        const int tile = form.match(entry).captured(1).toInt();
        if (tile >= kFirstTile && tile <= kLastTile) {
            const int index = tile - kFirstTile;
            tiles.push_back({index % kColumns, index / kColumns, folder.filePath(entry)});
        }
    }
    return tiles;
}

/// The names of all sets in a folder, with the mark instead of the number.
QStringList setsIn(const QDir &folder)
{
    QStringList sets;
    for (const QString &entry : folder.entryList(QDir::Files, QDir::Name)) {
        const QString name = markNumber(entry, QStringLiteral("\\d{4}"));
        if (!sets.contains(name) && name.contains(kMark) && isImageFile(folder.filePath(entry))
            && !findMarked(folder, name).empty()) {
            sets.append(name);
        }
    }
    return sets;
}

} // namespace

std::vector<TextureTile> findTiles(const QString &path)
{
    const QFileInfo file(path);
    const QString name = file.fileName();
    if (name.contains(kMark)) {
        return findMarked(file.absoluteDir(), name);
    }
    const QString marked = markNumber(name, QString::number(kFirstTile));
    if (!marked.contains(kMark) || !file.isFile()) {
        return {};
    }
    std::vector<TextureTile> tiles = findMarked(file.absoluteDir(), marked);
    return tiles.size() > 1 ? tiles : std::vector<TextureTile>();
}

Expected<TextureSource> findUdimSet(const QString &name)
{
    QString path = name;
    if (QFileInfo(name).isDir()) {
        const QStringList sets = setsIn(QDir(name));
        if (sets.size() > 1) {
            return Problem{ExitCode::eUsage,
                           QStringLiteral("'%1' holds several sets of tiles; name one, such as '%2'")
                               .arg(name, QDir(name).filePath(sets.first()))};
        }
        path = sets.isEmpty() ? name : QDir(name).filePath(sets.first());
    }
    TextureSource source;
    source.name = QFileInfo(path).fileName();
    source.tiles = findTiles(path);
    if (source.tiles.empty()) {
        return Problem{
            ExitCode::eFile,
            QStringLiteral("'%1' has no tiles, such as NAME.1001.png and NAME.1002.png").arg(name)};
    }
    source.path = source.tiles.front().path;
    return source;
}

namespace {

Scene planeOf(const TextureSource &tiles)
{
    int columns = 1;
    int rows = 1;
    for (const TextureTile &tile : tiles.tiles) {
        columns = std::max(columns, tile.column + 1);
        rows = std::max(rows, tile.row + 1);
    }
    Scene scene;
    for (const auto &corner : {QPoint(0, 0), QPoint(columns, 0), QPoint(columns, rows), QPoint(0, rows)}) {
        const auto x = float(corner.x());
        const auto y = float(corner.y());
        scene.vertices.push_back({{x, y, 0.0f}, {0.0f, 0.0f, 1.0f}, {x, y}, {255, 255, 255, 255}, {}});
        scene.bounds.add({x, y, 0.0f});
    }
    scene.indices = {0, 1, 2, 0, 2, 3};
    Material material;
    material.baseColor = {1.0f, 1.0f, 1.0f, 1.0f};
    material.maps[eBaseColorMap].texture = 0;
    material.alphaCutoff = 0.5f; // missing tiles are transparent
    scene.materials.push_back(material);
    scene.textures.push_back(tiles);
    scene.meshes.push_back({0, 6, 0, 4, 0, scene.bounds});
    scene.nodes.emplace_back();
    scene.draws.emplace_back();
    return scene;
}

} // namespace

Expected<Scene> loadTiles(const QString &name)
{
    const Expected<TextureSource> tiles = findUdimSet(name);
    if (!tiles) {
        return tiles.problem();
    }
    return planeOf(*tiles);
}

} // namespace zeltools
