#pragma once

#include <ZelGL/ZelGL.h>
#include <ZelKit/ZelKit.h>
#include <ZelShaders/ZelShaders.h>

using namespace Orvane::Zel;
using namespace Orvane::ZelKit;
using namespace Orvane::ZelShaders;

const char *const kVertexText = R"(#version 150
in vec2 va_Vertex;
out vec2 vo_Place;

void main()
{
    vo_Place = va_Vertex;
    gl_Position = vec4(va_Vertex, 0.0, 1.0);
}
)";

const char *const kFragmentText = R"(#version 150
#include "noise2D.glslh"
in vec2 vo_Place;
out vec4 o_Color;

void main()
{
    float vein = abs(snoise(VEINS * vo_Place + 0.5 * snoise(2.0 * vo_Place)));
    o_Color = vec4(mix(vec3(0.35, 0.22, 0.14), vec3(0.93, 0.86, 0.74), sqrt(vein)), 1.0);
}
)";

class Picture
{
public:
    Picture()
    {
        const auto corners = OpenGLDeviceContext::current()->newBuffer();
        corners->setTarget(GL_ARRAY_BUFFER);
        shape.setVAO(OpenGLDeviceContext::current()->newVAO());
        shape.VAO()->upload("va_Vertex", corners, {-0.6f, -0.7f, 0.6f, -0.7f, 0.0f, 0.8f}, 2, GL_STATIC_DRAW);
        shape.setPrimitiveType(GL_TRIANGLES);
        shape.setVertexCount(3);

        processor.addDefine("VEINS", "1.5");
        program.setMacroProcessor(&processor);
        ProgramBuilder builder(program);
        builder.addShader(GL_VERTEX_SHADER, kVertexText, "vertex text");
        builder.addShader(GL_FRAGMENT_SHADER, kFragmentText, "fragment text");
        builder.addShaderFromFile(GL_FRAGMENT_SHADER, "noise2D.glslc");
        builder.link();
    }

    void draw(const QSize &size)
    {
        glViewport(0, 0, size.width(), size.height());
        glClearColor(0.16f, 0.20f, 0.26f, 1.0f);
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
        DrawScope scope(&program);
        scope.draw(&shape);
    }

private:
    DrawBuffers shape{nullptr};
    GLSLMacroProcessor processor;
    ShaderProgram program{nullptr};
};
