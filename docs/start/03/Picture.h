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
in vec2 vo_Place;
out vec4 o_Color;

void main()
{
    o_Color = vec4(0.5 + 0.6 * vo_Place, 0.4, 1.0);
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
        program = ProgramBuilder::build(kVertexText, kFragmentText);
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
