#pragma once

#include <ZelKit/ZelKit.h>

using namespace Orvane::Zel;
using namespace Orvane::ZelKit;
using namespace Orvane::ZelShaders;

const char *const kVertexText = R"(#version 150
in vec3 va_Vertex;
in vec3 va_Normal;
in vec2 va_TexCoord;
uniform mat4 u_ViewProjection;
out vec3 vo_Normal;
out vec2 vo_TexCoord;

void main()
{
    vo_Normal = va_Normal;
    vo_TexCoord = va_TexCoord;
    gl_Position = u_ViewProjection * vec4(va_Vertex, 1.0);
}
)";

const char *const kFragmentText = R"(#version 150
#include "noise2D.glslh"
in vec3 vo_Normal;
in vec2 vo_TexCoord;
out vec4 o_Color;

const vec3 kToSun = normalize(vec3(0.1, 0.8, 0.6));

void main()
{
    float vein = abs(snoise(VEINS * vo_TexCoord + 0.5 * snoise(2.0 * vo_TexCoord)));
    vec3 color = mix(vec3(0.35, 0.22, 0.14), vec3(0.93, 0.86, 0.74), sqrt(vein));
    float light = 0.4 + 0.6 * max(dot(normalize(vo_Normal), kToSun), 0.0);
    o_Color = vec4(light * color, 1.0);
}
)";

class Picture
{
public:
    OrbitCamera camera; // the mouse turns it

    Picture()
    {
        shape = TriangleMesh::box().drawBuffers();

        GLSLMacroProcessor processor;
        processor.addDefine("VEINS", "1.5");
        program = ProgramBuilder::build(kVertexText, kFragmentText, nullptr, &processor);
    }

    void draw(const QSize &size)
    {
        glViewport(0, 0, size.width(), size.height());
        glClearColor(0.16f, 0.20f, 0.26f, 1.0f);
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
        const float aspect = float(size.width()) / float(size.height());
        camera.refit(Bounds({-1.0f, -1.0f, -1.0f}, {1.0f, 1.0f, 1.0f}), aspect);
        const AutoEnabler depthTest(GL_DEPTH_TEST);
        DrawScope scope(program.get());
        program->setUniform("u_ViewProjection", camera.viewProjection(aspect));
        scope.draw(shape.get());
    }

private:
    std::unique_ptr<DrawBuffers> shape;
    std::unique_ptr<ShaderProgram> program;
};
