#pragma once

#include "ProgramBuilder.h"

#include <QtCore/QSharedPointer>

#include <functional>
#include <memory>

namespace Orvane { namespace ZelShaders {

class FileWatch;

/// A program that is built again when one of its files changes: hot reload.
///
/// The files are those that ProgramBuilder::addShaderFromFile() and the expansion of includes look for, in every folder that
/// precedes the one with the file. A file that appears or is replaced by another of the same name is a change too. If a
/// build fails, the last good program stays, and report() has the reason.
///
/// Each successful build makes a new Zel::ShaderProgram, because a program keeps the names and locations of its first link.
/// So ask for program() in every frame. A pointer that the host keeps is safe: it shares the ownership of an old program,
/// which still draws.
///
/// \snippet diagnosis.cpp ProgramReloader
///
/// Units:   none.
/// Context: construct, poll and delete with the context of the program current. Needs no event loop.
/// Errors:  a build that fails is logged in a few lines, as by ProgramBuilder.
class ZELSHADERS_EXPORT ProgramReloader
{
    Q_DISABLE_COPY(ProgramReloader)

public:
    /// Does all that precedes the link: macro processor, stages, outputs. Returns false if a stage is missing. Called for
    /// each build, with a new program.
    using Build = std::function<bool(Zel::ShaderProgram &program, ProgramBuilder &builder)>;
    /// Sets what the host sets once in a program: uniforms and block bindings. Called after each successful build; the
    /// program is bound.
    using SetUp = std::function<void(Zel::ShaderProgram &program)>;

    /// Builds the program.
    explicit ProgramReloader(Build build, SetUp setUp = SetUp());
    ~ProgramReloader();

    /// The program of the last successful build. Never null; before the first success it is not linked.
    QSharedPointer<Zel::ShaderProgram> program() const { return _program; }
    /// Builds again if a file has changed. Returns whether it did; report() is empty if that succeeded. Without a change it
    /// makes one stat() for each file, allocates nothing and calls no GL, except that for two seconds after a change it
    /// reads the changed files.
    bool poll();
    /// Builds again. Returns whether that succeeded. A new program replaces the old one as the bound program.
    bool rebuild();

    /// The report of the last build; empty if it succeeded.
    QString report() const { return _report; }
    /// The paths that poll() checks. Files of Qt resources are not among them.
    QStringList files() const;

private:
    ZELSHADERS_NO_EXPORT void take(const QSharedPointer<Zel::ShaderProgram> &program);

    Build _build;
    SetUp _setUp;
    std::unique_ptr<FileWatch> _watch;
    QSharedPointer<Zel::ShaderProgram> _program;
    QString _report;
};

}} // namespace Orvane::ZelShaders
