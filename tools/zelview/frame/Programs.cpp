#include "frame/Programs.h"

#include <ZelGL/ZelGL.h>
#include <ZelKit/PostChain.h>
#include <ZelShaders/ProgramReloader.h>

#include <QtCore/QFile>

#include <algorithm>
#include <vector>

using namespace Orvane::Zel;
using namespace Orvane::ZelShaders;

// Resources of a static library are registered only by this macro, which must be used in the global namespace.
static void registerShaders()
{
    Q_INIT_RESOURCE(zelview);
}

namespace zeltools {

namespace {

const QString kBuiltIn = QStringLiteral(":/zelview/shaders");

QString pathIn(const QString &folder, const QString &name)
{
    return folder + QLatin1Char('/') + name;
}

/// The paths of zelview's own shaders, and the names of the library's.
QStringList pathsOf(const QStringList &names, const QString &folder)
{
    QStringList paths;
    for (const QString &name : names) {
        paths.append(QFile::exists(pathIn(kBuiltIn, name)) ? pathIn(folder, name) : name);
    }
    return paths;
}

bool addStage(ProgramBuilder &builder, int type, const QStringList &paths, const QStringList &texts)
{
    const auto addFile = [&](const QString &path) { return builder.addShaderFromFile(type, path); };
    const auto addText = [&](const QString &text) {
        return builder.addShader(type, text, QStringLiteral("accessors"));
    };
    return std::all_of(paths.begin(), paths.end(), addFile)
           && std::all_of(texts.begin(), texts.end(), addText);
}

} // namespace

ProgramPointer::ProgramPointer(QSharedPointer<ProgramReloader> reloader)
    : _reloader(std::move(reloader))
{
}

ShaderProgram *ProgramPointer::data() const
{
    return _reloader != nullptr ? _reloader->program().data() : nullptr;
}

/// What siblings have in common.
struct Programs::Shared
{
    QString folder;
    std::vector<QWeakPointer<ProgramReloader>> reloaders;
    int changes = 0;
};

Programs::Programs(const QString &folder)
    : Programs(QSharedPointer<Shared>(new Shared{folder.isEmpty() ? kBuiltIn : folder, {}}))
{
}

Programs::Programs(QSharedPointer<Shared> shared)
    : _shared(std::move(shared))
{
    registerShaders();
    _processor.addIncludePath(_shared->folder);
    Orvane::ZelKit::PostChain::setUp(&_processor); // the shaders that ZelGL::Kit has for hosts
    DrawBuffers::setup(&_processor);
}

Programs::~Programs() = default;

Expected<ProgramPointer> Programs::build(const QStringList &vertexFiles, const QStringList &fragmentFiles,
                                         const QStringList &vertexTexts, const QStringList &fragmentTexts)
{
    const QStringList vertexPaths = pathsOf(vertexFiles, _shared->folder);
    const QStringList fragmentPaths = pathsOf(fragmentFiles, _shared->folder);
    for (const QString &path : vertexPaths + fragmentPaths) {
        if (path.startsWith(_shared->folder + QLatin1Char('/')) && !QFile::exists(path)) {
            return Problem{ExitCode::eFile, QStringLiteral("cannot open '%1'").arg(path)};
        }
    }
    // A copy of the processor: what is added to it later is for other programs.
    const QSharedPointer<ProgramReloader> reloader(new ProgramReloader(
        [processor = QSharedPointer<GLSLMacroProcessor>(new GLSLMacroProcessor(_processor)), vertexPaths,
         fragmentPaths, vertexTexts, fragmentTexts](ShaderProgram &program, ProgramBuilder &builder) {
            program.setMacroProcessor(processor.data());
            program.setFragDataLocations({QStringLiteral("out_FragColor")});
            return addStage(builder, GL_VERTEX_SHADER, vertexPaths, vertexTexts)
                   && addStage(builder, GL_FRAGMENT_SHADER, fragmentPaths, fragmentTexts);
        }));
    if (!reloader->program()->isLinked()) {
        return Problem{ExitCode::eGL,
                       QStringLiteral("the driver rejects the shader '%1'").arg(fragmentFiles.first())};
    }
    _shared->reloaders.push_back(reloader);
    return ProgramPointer(reloader);
}

Expected<ProgramPointer> Programs::buildFullscreen(const QString &fragmentFile)
{
    return build({QStringLiteral("passthroughVS.glslc")}, {fragmentFile});
}

bool Programs::poll()
{
    bool hasBuilt = false;
    auto &reloaders = _shared->reloaders;
    reloaders.erase(
        std::remove_if(reloaders.begin(), reloaders.end(), [](const auto &weak) { return weak.isNull(); }),
        reloaders.end());
    for (const QWeakPointer<ProgramReloader> &weak : reloaders) {
        hasBuilt = weak.toStrongRef()->poll() || hasBuilt;
    }
    _shared->changes += int(hasBuilt);
    return hasBuilt;
}

int Programs::changes() const
{
    return _shared->changes;
}

QStringList Programs::report() const
{
    QStringList lines;
    int failed = 0;
    for (const QWeakPointer<ProgramReloader> &weak : _shared->reloaders) {
        const QSharedPointer<ProgramReloader> reloader = weak.toStrongRef();
        if (reloader != nullptr && !reloader->report().isEmpty() && ++failed == 1) {
            lines = reloader->report().split(QLatin1Char('\n'));
        }
    }
    // Programs that include the same file fail for the same reason.
    return failed > 1 ? lines + QStringList(QStringLiteral("%1 programs failed").arg(failed)) : lines;
}

void drawFullscreen(ShaderProgram *program)
{
    const QSharedPointer<DrawBuffers> quad = OpenGLDeviceContext::current()->fullscreenQuad();
    if (quad->bind()) {
        quad->VAO()->enableShaderProgramArrays(program);
        quad->draw(program);
        quad->unbind();
    }
}

} // namespace zeltools
