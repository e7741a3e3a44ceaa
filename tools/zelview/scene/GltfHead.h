#pragma once

#include <QtCore/QString>
#include <QtCore/QStringList>

namespace zelview {

/// What a glTF file states about itself.
struct GltfHead
{
    /// Reads a .gltf or .glb file. All is empty if the file is neither, or larger than it is sensible to read twice.
    static GltfHead of(const QString &path);

    /// Those of the extensions that zelview neither shows nor describes otherwise.
    static QStringList unknownAmong(const QStringList &extensions);

    QString version; ///< such as "2.0"
    QStringList usedExtensions;
    QStringList requiredExtensions;
    bool hasUnboundSkin = false; ///< a skin without matrices of its bind pose, which assimp 5.2 crashes on
};

} // namespace zelview
