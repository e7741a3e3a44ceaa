#include "Programs.h"

#include <ZelGL/ZelGL.h>
#include <ZelShaders/ProgramBuilder.h>

#include <QtCore/QFileInfo>

using namespace Orvane::Zel;
using Orvane::ZelShaders::ProgramBuilder;

namespace {

void addSource(ProgramBuilder &builder, int type, const QString &source)
{
    if (source.contains('\n')) {
        builder.addShader(type, source, type == GL_VERTEX_SHADER ? "vertex text" : "fragment text");
        return;
    }
    const QString here = QStringLiteral(EXAMPLES_FOLDER "/") + source;
    builder.addShaderFromFile(type, QFileInfo::exists(here) ? here : source);
}

void addStage(ProgramBuilder &builder, int type, const QStringList &sources, const QStringList &plans)
{
    for (const QString &source : sources) {
        addSource(builder, type, source);
    }
    for (const QString &plan : plans) {
        builder.addShader(type, InstanceDataRegistry::Instance()->getPlan(plan)->glslc(), plan);
    }
}

} // namespace

std::unique_ptr<ShaderProgram> makeProgram(const ProgramText &text, GLSLMacroProcessor *processor)
{
    auto program = std::make_unique<ShaderProgram>(nullptr);
    processor->addIncludePath(EXAMPLES_FOLDER);
    program->setMacroProcessor(processor);
    ProgramBuilder builder(*program);
    addStage(builder, GL_VERTEX_SHADER, {text.vertex, "ZelUtilities.glslc", "ZelUtilities.vert"}, text.plans);
    addStage(builder, GL_FRAGMENT_SHADER,
             QStringList{text.fragment, "ZelUtilities.glslc", "ZelUtilities.frag"} + text.fragmentFiles,
             text.plans);
    builder.link();
    return program;
}
