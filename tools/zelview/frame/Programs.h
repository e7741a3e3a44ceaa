#pragma once

#include "file/Outcome.h"

#include <ZelGL/GLSLMacroProcessor.h>

#include <QtCore/QSharedPointer>
#include <QtCore/QString>
#include <QtCore/QStringList>

#include <cstddef>

namespace Orvane {
namespace Zel {
class ShaderProgram;
}
namespace ZelShaders {
class ProgramReloader;
}
} // namespace Orvane

namespace zeltools {

/// A shader program that Programs::poll() may replace, so that it keeps neither uniforms nor locations between frames.
class ProgramPointer
{
public:
    /// Null.
    ProgramPointer() = default;
    explicit ProgramPointer(QSharedPointer<Orvane::ZelShaders::ProgramReloader> reloader);

    /// Valid until the next poll().
    Orvane::Zel::ShaderProgram *data() const;
    Orvane::Zel::ShaderProgram *operator->() const { return data(); }
    Orvane::Zel::ShaderProgram &operator*() const { return *data(); }
    bool operator==(std::nullptr_t) const { return _reloader.isNull(); }
    bool operator!=(std::nullptr_t) const { return !_reloader.isNull(); }
    void reset() { _reloader.reset(); }

private:
    QSharedPointer<Orvane::ZelShaders::ProgramReloader> _reloader;
};

/// Builds zelview's shader programs with one text processor, and builds them again when their files change. Its own shaders
/// are built in, or in a folder that the user names; the library finds its shaders by their names.
///
/// Context: build and poll with the context current.
/// Errors:  ExitCode::eGL for a shader that does not compile or link, after a report of a few lines; ExitCode::eFile for a
///          file that the folder does not have.
class Programs
{
    Q_DISABLE_COPY(Programs)

public:
    /// \a folder: of zelview's own shaders; empty: the built-in ones.
    explicit Programs(const QString &folder = QString());
    ~Programs();

    /// Programs of the same folder with another text processor. poll() of one includes the programs of the other.
    Programs sibling() const { return Programs(_shared); }

    /// Each owner of a shader feature adds its defines and macros here; they apply to programs that are built later.
    Orvane::Zel::GLSLMacroProcessor *processor() { return &_processor; }

    /// A program of these files; "ZelUtilities..." and "passthroughVS.glslc" are files of the library. The texts are
    /// additional compilation units.
    Expected<ProgramPointer> build(const QStringList &vertexFiles, const QStringList &fragmentFiles,
                                   const QStringList &vertexTexts = {},
                                   const QStringList &fragmentTexts = {});

    /// A program for drawFullscreen() with this fragment stage.
    Expected<ProgramPointer> buildFullscreen(const QString &fragmentFile);

    /// Builds the programs again whose files have changed. Returns whether there was one. A program whose build fails stays.
    bool poll();
    /// The number of calls of poll() that built a program.
    int changes() const;
    /// Why the last build of a program failed; empty if all succeeded.
    QStringList report() const;

private:
    struct Shared;

    explicit Programs(QSharedPointer<Shared> shared);

    QSharedPointer<Shared> _shared;
    Orvane::Zel::GLSLMacroProcessor _processor;
};

/// Draws the library's full-screen quad with a program that is bound.
void drawFullscreen(Orvane::Zel::ShaderProgram *program);

} // namespace zeltools
