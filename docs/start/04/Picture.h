#pragma once

#include <ZelKit/ZelKit.h>

using namespace Orvane::Zel;
using namespace Orvane::ZelKit;
using namespace Orvane::ZelShaders;

const char *const kVertexText = R"(#version 150
in vec3 va_Vertex;
out vec2 vo_Place;

void main()
{
    vo_Place = va_Vertex.xy;
    gl_Position = vec4(va_Vertex, 1.0);
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
    OrbitCamera camera; // the mouse turns it

    Picture()
    {
        TriangleMesh triangle;
        triangle.positions = {{-0.6f, -0.7f, 0.0f}, {0.6f, -0.7f, 0.0f}, {0.0f, 0.8f, 0.0f}};
        shape = triangle.drawBuffers();

        GLSLMacroProcessor processor;
        processor.addDefine("VEINS", "1.5");
        program = ProgramBuilder::build(kVertexText, kFragmentText, nullptr, &processor);
    }

    void draw(const QSize &size)
    {
        glViewport(0, 0, size.width(), size.height());
        glClearColor(0.16f, 0.20f, 0.26f, 1.0f);
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
        DrawScope scope(program.get());
        scope.draw(shape.get());
    }

private:
    std::unique_ptr<DrawBuffers> shape;
    std::unique_ptr<ShaderProgram> program;
};
