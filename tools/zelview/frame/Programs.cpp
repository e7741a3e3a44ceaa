#include "frame/Programs.h"

#include <ZelGL/ZelGL.h>

#include <QtCore/QFile>

using namespace Orvane::Zel;

// Resources of a static library are registered only by this macro, which must be used in the global namespace.
static void registerShaders()
{
    Q_INIT_RESOURCE(zelview);
}

namespace zelview {

namespace {

const QString kShaderFolder = QStringLiteral(":/zelview/shaders");

void addStage(ShaderProgram &program, int type, const QStringList &names, const QStringList &texts)
{
    for (const QString &name : names) {
        QFile file(kShaderFolder + QLatin1Char('/') + name);
        if (file.open(QIODevice::ReadOnly)) {
            program.addShader(type, QString::fromUtf8(file.readAll()), QString());
        } else {
            program.addShaderFromFile(type, name);
        }
    }
    for (const QString &text : texts) {
        program.addShader(type, text, QString());
    }
}

} // namespace

Programs::Programs()
{
    registerShaders();
    _processor.addIncludePath(kShaderFolder);
    DrawBuffers::setup(&_processor);
}

Programs::~Programs() = default;

Expected<ProgramPointer> Programs::build(const QStringList &vertexFiles, const QStringList &fragmentFiles,
                                         const QStringList &vertexTexts, const QStringList &fragmentTexts)
{
    const ProgramPointer program(new ShaderProgram(nullptr));
    program->setMacroProcessor(&_processor);
    addStage(*program, GL_VERTEX_SHADER, vertexFiles, vertexTexts);
    addStage(*program, GL_FRAGMENT_SHADER, fragmentFiles, fragmentTexts);
    program->setFragDataLocations({QStringLiteral("out_FragColor")});
    if (!program->link()) {
        return Problem{ExitCode::eGL,
                       QStringLiteral("the driver rejects the shader '%1'").arg(fragmentFiles.first())};
    }
    return program;
}

Expected<ProgramPointer> Programs::buildFullscreen(const QString &fragmentFile)
{
    return build({QStringLiteral("passthroughVS.glslc")}, {fragmentFile});
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

} // namespace zelview
