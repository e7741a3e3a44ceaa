// A first picture: a program, a full-screen quad, a uniform.
//
// A text processor prepares GLSL; here it inserts the define RADIUS after "#version". The vertex stage is a file of the
// library, whose full-screen quad has texture coordinates from 0 to 1. AutoBinder binds an object until the end of a scope.

#include "Show.h"

#include <ZelGL/ZelGL.h>

using namespace Orvane::Zel;

namespace {

const char kFragment[] = R"(#version 150
in vec2 vo_TexCoord;
out vec4 o_Color;
uniform vec4 u_Color;
uniform float u_Aspect;

void main()
{
    vec2 fromCenter = (vo_TexCoord - 0.5) * vec2(u_Aspect, 1.0);
    float edge = length(fromCenter) - RADIUS;
    float cover = clamp(0.5 - edge / fwidth(edge), 0.0, 1.0);
    o_Color = mix(vec4(0.075, 0.086, 0.105, 1.0), u_Color, cover);
}
)";

class Disc : public Show
{
public:
    Disc()
        : _program(nullptr)
        , _quad(OpenGLDeviceContext::current()->fullscreenQuad())
    {
        _processor.addDefine("RADIUS", "0.4");
        _program.setMacroProcessor(&_processor);
        _program.addShaderFromFile(GL_VERTEX_SHADER, "passthroughVS.glslc");
        _program.addShader(GL_FRAGMENT_SHADER, kFragment, QString());
        _program.link();
    }

    void draw(float aspect, float seconds) override
    {
        const AutoBinder useProgram(&_program);
        const AutoBinder useQuad(_quad);
        _quad->VAO()->enableShaderProgramArrays(&_program);
        _program.setUniform("u_Aspect", aspect);
        _program.setUniform("u_Color", QColor::fromHsv(int(seconds * 20.0f) % 360, 150, 235));
        _quad->draw(&_program);
    }

private:
    GLSLMacroProcessor _processor;
    ShaderProgram _program;
    QSharedPointer<DrawBuffers> _quad;
};

} // namespace

int main(int argc, char **argv)
{
    return present(argc, argv, [] { return std::make_unique<Disc>(); });
}
