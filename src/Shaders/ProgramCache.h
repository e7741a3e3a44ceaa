#pragma once

#include "ShadersExport.h"

#include <QtCore/QString>

#include <atomic>

namespace Orvane {

namespace Zel {
class ShaderProgram;
}

namespace ZelShaders {

/// Keeps the binaries of linked programs in a folder, so that the next start of the host compiles and links nothing.
///
/// Each program has a file of its own. The name of the file is a hash of everything that the link depends on: the expanded
/// texts of all stages, the outputs, the transform feedback, the driver with its extensions, and the version of libZelGL. A
/// change of any of them links the program from its sources. Files that are damaged, that belong to another program or that
/// the driver refuses are deleted and written again. If the folder exceeds its limit, the least recently used files are
/// deleted. Other files in the folder stay. Several processes and threads may use the same folder.
///
/// \snippet diagnosis.cpp ProgramCache
///
/// Units:   bytes.
/// Context: link() needs that of the program; threads with a context each may share a cache. The other functions need none.
/// Errors:  a program links as without a cache. The first file that cannot be written and the first driver without binaries
///          are logged as warnings with the remedy, and each file that is deleted as unusable.
/// Source:  ARB_get_program_binary.
class ZELSHADERS_EXPORT ProgramCache
{
    Q_DISABLE_COPY(ProgramCache)

public:
    static constexpr int kDefaultMaxBytes = 64 << 20;

    /// Without a \a folder, defaultFolder(). The first write creates it. \a maxBytes limits the files of all programs together.
    explicit ProgramCache(const QString &folder = QString(), int maxBytes = kDefaultMaxBytes);

    /// "programs" in the user's cache folder of the application; empty if the user has none.
    static QString defaultFolder();

    /// ShaderProgram::link(), or the binary of an earlier link. Uniforms, attributes and blocks are the same in both cases; the
    /// stages of a program from a binary keep their sources and have no GL shaders.
    ///
    /// Links from source: a class derived from ShaderProgram, whose link can depend on more, and a program whose sources are
    /// cleared.
    bool link(Zel::ShaderProgram &program);

    QString folder() const { return _folder; }

private:
    ZELSHADERS_NO_EXPORT bool hasBinaries(const Zel::ShaderProgram &program);
    ZELSHADERS_NO_EXPORT bool linkAndStore(Zel::ShaderProgram &program, const QByteArray &key);

    const QString _folder;
    const int _maxBytes;
    std::atomic<bool> _driverReported{false};
    std::atomic<bool> _folderReported{false};
};

} // namespace ZelShaders
} // namespace Orvane
