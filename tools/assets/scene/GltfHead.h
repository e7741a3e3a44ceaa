#pragma once

#include <QtCore/QString>
#include <QtCore/QStringList>

namespace zeltools {

/// The properties of a glTF file that assimp does not report.
struct GltfHead
{
    /// Reads a .gltf or .glb file. All members are empty for other files, and for files too large to read twice.
    static GltfHead of(const QString &path);

    /// The extensions among these that zelview neither shows nor reports by their effect.
    static QStringList unknownAmong(const QStringList &extensions);

    QString version; ///< such as "2.0"
    QStringList usedExtensions;
    QStringList requiredExtensions;
    bool hasUnboundSkin = false; ///< has a skin without inverse bind matrices, on which assimp 5.2 crashes
};

} // namespace zeltools
