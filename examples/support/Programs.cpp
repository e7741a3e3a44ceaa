#include "Programs.h"

#include <ZelGL/ZelGL.h>
#include <ZelShaders/ProgramBuilder.h>

using namespace Orvane::Zel;
using namespace Orvane::ZelShaders;

namespace {

/// \a name: of the text, in the report of a failure.
void addStage(ProgramBuilder &builder, int type, const QString &text, const char *name,
              const QStringList &files, const QStringList &plans)
{
    if (!text.isEmpty()) {
        builder.addShader(type, text, name);
    }
    for (const QString &file : files) {
        builder.addShaderFromFile(type, file);
    }
    for (const QString &plan : plans) {
        builder.addShader(type, InstanceDataRegistry::Instance()->getPlan(plan)->glslc(), plan);
    }
}

} // namespace

std::unique_ptr<ShaderProgram> makeProgram(const ProgramText &text, GLSLMacroProcessor *processor)
{
    auto program = std::make_unique<ShaderProgram>(nullptr);
    program->setMacroProcessor(processor);
    ProgramBuilder builder(*program);
    addStage(builder, GL_VERTEX_SHADER, text.vertex, "vertex text", text.vertexFiles, text.vertexPlans);
    addStage(builder, GL_FRAGMENT_SHADER, text.fragment, "fragment text", text.fragmentFiles,
             text.fragmentPlans);
    builder.link();
    return program;
}
