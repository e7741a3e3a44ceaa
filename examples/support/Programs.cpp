#include "Programs.h"

#include <ZelGL/ZelGL.h>

using namespace Orvane::Zel;

namespace {

void addStage(ShaderProgram &program, int type, const QString &text, const QStringList &files,
              const QStringList &plans)
{
    if (!text.isEmpty()) {
        program.addShader(type, text, QString());
    }
    for (const QString &file : files) {
        program.addShaderFromFile(type, file);
    }
    for (const QString &plan : plans) {
        program.addShader(type, InstanceDataRegistry::Instance()->getPlan(plan)->glslc(), QString());
    }
}

} // namespace

std::unique_ptr<ShaderProgram> makeProgram(const ProgramText &text, GLSLMacroProcessor *processor)
{
    auto program = std::make_unique<ShaderProgram>(nullptr);
    program->setMacroProcessor(processor);
    addStage(*program, GL_VERTEX_SHADER, text.vertex, text.vertexFiles, text.vertexPlans);
    addStage(*program, GL_FRAGMENT_SHADER, text.fragment, text.fragmentFiles, text.fragmentPlans);
    program->link();
    return program;
}
