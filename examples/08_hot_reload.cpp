// Hot reload: a change of a shader file is in the next frame.
//
// A ProgramReloader watches the files of a program, includes among them. When one changes, poll() builds a new program, for
// which the host asks in every frame. A mistake keeps the last good program: the background turns red, and the terminal shows
// the line. The reloader is a part of libZelShaders; see docs/shader-diagnosis.md.

#include "Show.h"

#include <ZelGL/ZelGL.h>
#include <ZelShaders/ZelShaders.h>

using namespace Orvane::Zel;
using namespace Orvane::ZelShaders;

namespace {

class Flower : public Show
{
public:
    Flower()
        : _quad(OpenGLDeviceContext::current()->fullscreenQuad())
    {
        _processor.addIncludePath(EXAMPLES_FOLDER);
        _reloader = std::make_unique<ProgramReloader>([this](ShaderProgram &program,
                                                             ProgramBuilder &builder) {
            program.setMacroProcessor(&_processor);
            return builder.addShaderFromFile(GL_VERTEX_SHADER, "passthroughVS.glslc")
                   && builder.addShaderFromFile(GL_FRAGMENT_SHADER, EXAMPLES_FOLDER "/08_hot_reload.frag");
        });
    }

    void draw(float aspect, float seconds) override
    {
        _reloader->poll();
        const QSharedPointer<ShaderProgram> program = _reloader->program();
        if (!program->isLinked()) { // nothing was built yet
            return;
        }
        const AutoBinder useProgram(program.data());
        const AutoBinder useQuad(_quad);
        _quad->VAO()->enableShaderProgramArrays(program.data());
        const QVector4D plain(0.075f, 0.086f, 0.105f, 1.0f);
        const QVector4D failed(0.35f, 0.05f, 0.05f, 1.0f);
        program->setUniform("u_Background", _reloader->report().isEmpty() ? plain : failed);
        program->setUniform("u_Aspect", aspect);
        program->setUniform("u_Seconds", seconds);
        _quad->draw(program.data());
    }

private:
    GLSLMacroProcessor _processor;
    QSharedPointer<DrawBuffers> _quad;
    std::unique_ptr<ProgramReloader> _reloader;
};

} // namespace

int main(int argc, char **argv)
{
    return present(argc, argv, [] { return std::make_unique<Flower>(); });
}
