#include "Facts.h"

#include "file/Counted.h"

namespace zeltools {

namespace {

QString toText(const QVector3D &vector)
{
    return QStringLiteral("%1 %2 %3").arg(double(vector.x())).arg(double(vector.y())).arg(double(vector.z()));
}

// Names from the file are inserted last: they may contain "%1".

QString describe(const Material &material)
{
    const char *const kNames[kMapKinds] = {"colour", "surface", "normal", "occlusion", "emission"};
    QStringList maps;
    for (size_t kind = 0; kind < kMapKinds; ++kind) {
        if (material.has(MapKind(kind))) {
            maps.append(
                QStringLiteral("%1 %2").arg(QLatin1String(kNames[kind])).arg(material.maps[kind].texture));
        }
    }
    const QString how = material.isBlended          ? QStringLiteral("blended")
                        : material.alphaCutoff >= 0 ? QStringLiteral("cut out")
                                                    : QStringLiteral("opaque");
    return QStringLiteral("'%4', %5, metalness %1, roughness %2, %3, maps: %6")
        .arg(double(material.metalness))
        .arg(double(material.roughness))
        .arg(material.isTwoSided ? QStringLiteral("2 sides") : QStringLiteral("1 side"))
        .arg(material.name, how, maps.isEmpty() ? QStringLiteral("none") : maps.join(QStringLiteral(", ")));
}

QString describe(const TextureSource &texture)
{
    const QString place = texture.path.isEmpty() ? QStringLiteral("embedded") : texture.path;
    return QStringLiteral("'%1', %2, %3")
        .arg(texture.name, texture.isColor ? QStringLiteral("sRGB") : QStringLiteral("linear"),
             texture.tiles.empty() ? place : counted(qint64(texture.tiles.size()), "tile", "tiles"));
}

QString describe(const SceneCamera &camera)
{
    return QStringLiteral("'%2', %3, height %1")
        .arg(double(camera.height))
        .arg(camera.name,
             camera.isOrthographic ? QStringLiteral("orthographic") : QStringLiteral("perspective"));
}

QString describe(const SceneLight &light)
{
    const char *const kTypes[] = {"directional", "point", "spot"};
    return QStringLiteral("'%2', %3, %4 times %1")
        .arg(double(light.intensity))
        .arg(light.name, QLatin1String(kTypes[light.type]), toText(light.color));
}

/// Appends a line for each item, with its number.
template <typename Item> void append(const char *head, const std::vector<Item> &items, QStringList &lines)
{
    for (size_t i = 0; i < items.size(); ++i) {
        lines.append(QStringLiteral("%1 %2 %3").arg(QLatin1String(head), -9).arg(i).arg(describe(items[i])));
    }
}

} // namespace

QStringList factsOf(const Scene &scene)
{
    QStringList lines{
        scene.describe(),
        QStringLiteral("bounds    %1 to %2").arg(toText(scene.bounds.low), toText(scene.bounds.high))};
    append("material", scene.materials, lines);
    append("texture", scene.textures, lines);
    append("camera", scene.cameras, lines);
    append("light", scene.lights, lines);
    for (const QString &remark : scene.remarks) {
        lines.append(QStringLiteral("remark    ") + remark);
    }
    return lines;
}

QString factsOf(const LightImage &image)
{
    return QStringLiteral("image     2D, %1x%2, 1 level, OpenEXR")
        .arg(image.size.width())
        .arg(image.size.height());
}

} // namespace zeltools
