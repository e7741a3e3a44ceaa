#include "ProgramReloader.h"

#include "private/FileWatch.h"

#include <ZelGL/ShaderProgram.h>

namespace Orvane { namespace ZelShaders {

ProgramReloader::ProgramReloader(Build build, SetUp setUp)
    : _build(std::move(build))
    , _setUp(std::move(setUp))
    , _watch(std::make_unique<FileWatch>())
    , _program(new Zel::ShaderProgram(nullptr))
{
    rebuild();
}

ProgramReloader::~ProgramReloader() = default;

bool ProgramReloader::poll()
{
    const bool hasChanged = _watch->hasChanged();
    if (hasChanged) {
        rebuild();
    }
    return hasChanged;
}

bool ProgramReloader::rebuild()
{
    const QSharedPointer<Zel::ShaderProgram> program(new Zel::ShaderProgram(nullptr));
    ProgramBuilder builder(*program);
    FileWatch watch;
    bool isBuilt = false;
    {
        const FileWatch::Recorder recorder(watch);
        isBuilt = _build(*program, builder) && builder.link();
    }
    // The files of a failed build replace those of the last good one: the failure depends on no other file.
    *_watch = std::move(watch);
    _report = isBuilt ? QString() : builder.report();
    if (!isBuilt && _report.isEmpty()) {
        _report = QStringLiteral("error: a stage of the program is missing");
    }
    if (isBuilt) {
        take(program);
    }
    return isBuilt;
}

QStringList ProgramReloader::files() const
{
    return _watch->paths();
}

void ProgramReloader::take(const QSharedPointer<Zel::ShaderProgram> &program)
{
    Zel::ShaderProgram *bound = Zel::ShaderProgram::currentShaderProgram();
    bound = bound == _program.data() ? program.data() : bound;
    _program = program;
    if (_setUp) {
        _program->bind();
        _setUp(*_program);
        _program->unbind();
    }
    if (bound != nullptr) { // the old program may be deleted: the table of bound programs must not have it
        bound->bind();
    }
}

}} // namespace Orvane::ZelShaders
