#pragma once

#include <QtCore/QStringList>

#include <assimp/DefaultIOSystem.h>

namespace Assimp {
class Importer;
}

namespace zelview {

struct GltfHead;

/// Opens files for assimp, and records the names of those that are not there.
class RecordingFiles : public Assimp::DefaultIOSystem
{
public:
    /// \a missing must outlive the importer, which takes ownership of this object.
    explicit RecordingFiles(QStringList &missing);

    Assimp::IOStream *Open(const char *file, const char *mode) override;

private:
    QStringList &_missing;
};

/// Those of the names that the model names itself: importers also try names of their own.
QStringList statedIn(const QString &modelPath, const QStringList &names);

/// Why a model could not be imported, as the predicate of a sentence about its file, in zelview's own words: assimp's
/// are for programmers. \a missing are the files that it names and that are not there.
QString describeFailure(const QString &path, const GltfHead &gltf, const Assimp::Importer &importer,
                        const QStringList &missing);

/// The same for an exception.
QString describeFailure(const std::exception &exception);

} // namespace zelview
