#pragma once

#include <QtCore/QStringList>

#include <assimp/DefaultIOSystem.h>

namespace Assimp {
class Importer;
}

namespace zeltools {

struct GltfHead;

/// Opens files for assimp, also those whose names are escaped as in URLs, and records the names of missing files.
class RecordingFiles : public Assimp::DefaultIOSystem
{
public:
    /// \a missing must outlive the importer, which takes ownership of this object.
    explicit RecordingFiles(QStringList &missing);

    Assimp::IOStream *Open(const char *file, const char *mode) override;

private:
    QStringList &_missing;
};

/// The names that the model file itself contains: importers also try names that they make up.
QStringList statedIn(const QString &modelPath, const QStringList &names);

/// Whether a file is a PLY model whose header has no end: assimp 5.2 would search for it forever.
bool isPlyWithoutHeaderEnd(const QString &path);

/// Why a model could not be imported, as the predicate of a sentence about its file. Replaces assimp's messages, which are
/// for programmers. \a missing: missing files that the model refers to.
QString describeFailure(const QString &path, const GltfHead &gltf, const Assimp::Importer &importer,
                        const QStringList &missing);

/// The same for an exception.
QString describeFailure(const std::exception &exception);

} // namespace zeltools
