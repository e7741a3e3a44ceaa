#include "scene/GltfHead.h"

#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QVariant>
#include <QtCore/QtEndian>

#include <algorithm>
#include <iterator>

namespace zeltools {

namespace {

constexpr qint64 kMaxText = 64 << 20; ///< bytes

// A binary file starts with magic, version and length. The length and type of the first chunk follow, which is the JSON text.
constexpr int kVersionOffset = 4;
constexpr int kTextLengthOffset = 12;
constexpr int kBinaryHead = 20;

/// Extensions that zelview shows, or reports by their effect, such as "clear coat".
const QStringList kKnownExtensions{
    QStringLiteral("KHR_draco_mesh_compression"), QStringLiteral("KHR_lights_punctual"),
    QStringLiteral("KHR_materials_clearcoat"),    QStringLiteral("KHR_materials_sheen"),
    QStringLiteral("KHR_materials_transmission"), QStringLiteral("KHR_materials_volume"),
    QStringLiteral("KHR_node_visibility"),        QStringLiteral("KHR_texture_transform")};

quint32 numberAt(const QByteArray &bytes, int offset)
{
    return qFromLittleEndian<quint32>(bytes.constData() + offset);
}

QStringList toStrings(const QJsonValue &list)
{
    return list.toVariant().toStringList();
}

} // namespace

GltfHead GltfHead::of(const QString &path)
{
    GltfHead head;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return head;
    }
    QByteArray text = file.read(kBinaryHead);
    if (text.startsWith("glTF") && text.size() == kBinaryHead) {
        head.version = QString::number(numberAt(text, kVersionOffset));
        text = file.read(qMin<qint64>(numberAt(text, kTextLengthOffset), kMaxText));
    } else if (QFileInfo(path).suffix().compare(QLatin1String("gltf"), Qt::CaseInsensitive) == 0) {
        text += file.read(kMaxText);
    } else {
        return head;
    }
    const QJsonObject root = QJsonDocument::fromJson(text).object();
    const QString stated = root[QStringLiteral("asset")][QStringLiteral("version")].toVariant().toString();
    head.version = stated.isEmpty() ? head.version : stated;
    head.usedExtensions = toStrings(root[QStringLiteral("extensionsUsed")]);
    for (const QJsonValue &skin : root[QStringLiteral("skins")].toArray()) {
        head.hasUnboundSkin = head.hasUnboundSkin || !skin[QStringLiteral("inverseBindMatrices")].isDouble();
    }
    head.requiredExtensions = toStrings(root[QStringLiteral("extensionsRequired")]);
    return head;
}

QStringList GltfHead::unknownAmong(const QStringList &extensions)
{
    QStringList unknown;
    std::copy_if(extensions.begin(), extensions.end(), std::back_inserter(unknown),
                 [](const QString &extension) { return !kKnownExtensions.contains(extension); });
    return unknown;
}

} // namespace zeltools
