#include "FullscreenProgram.h"

#include "Failure.h"

#include <ZelGL/ZelGL.h>
#include <ZelShaders/ProgramBuilder.h>

#include <QtCore/QFile>

using namespace Orvane::Zel;

namespace Orvane { namespace ZelKit {

namespace {

void addStage(ZelShaders::ProgramBuilder &builder, int type, const QString &name)
{
    QFile file(shaderFolder() + QLatin1Char('/') + name);
    if (file.open(QIODevice::ReadOnly)) {
        builder.addShader(type, QString::fromUtf8(file.readAll()), name);
    } else {
        builder.addShaderFromFile(type, name);
    }
}

} // namespace

QString shaderFolder()
{
    return QStringLiteral(":/ZelKit/shaders");
}

std::unique_ptr<ShaderProgram> buildProgram(GLSLMacroProcessor &processor, const QString &vertexFile,
                                            const QStringList &fragmentFiles, QString *error)
{
    processor.addIncludePath(shaderFolder());
    auto program = std::make_unique<ShaderProgram>(nullptr);
    program->setMacroProcessor(&processor);
    ZelShaders::ProgramBuilder builder(*program);
    addStage(builder, GL_VERTEX_SHADER,
             vertexFile.isEmpty() ? QStringLiteral("passthroughVS.glslc") : vertexFile);
    for (const QString &file : fragmentFiles) {
        addStage(builder, GL_FRAGMENT_SHADER, file);
    }
    program->setFragDataLocations({QStringLiteral("out_FragColor")});
    if (!builder.link()) {
        fail(error, QStringLiteral("the driver rejects the shader '%1'; the report is in the log")
                        .arg(fragmentFiles.first()));
        return nullptr;
    }
    program->setMacroProcessor(nullptr); // it may be gone before the program
    return program;
}

PassState::PassState()
{
    glGetIntegerv(GL_POLYGON_MODE, _polygonMode);
    glPolygonMode(GL_FRONT_AND_BACK, GL_FILL);
}

PassState::~PassState()
{
    glPolygonMode(GL_FRONT_AND_BACK, GLenum(_polygonMode[0]));
}

void drawFullscreen(ShaderProgram &program)
{
    const QSharedPointer<DrawBuffers> quad = OpenGLDeviceContext::current()->fullscreenQuad();
    if (quad->bind()) {
        quad->VAO()->enableShaderProgramArrays(&program);
        quad->draw(&program);
        quad->unbind();
    }
}

}} // namespace Orvane::ZelKit
