#pragma once

#include <ZelKit/ZelKit.h>

using namespace Orvane::Zel;
using namespace Orvane::ZelKit;
using Orvane::ZelShaders::ProgramBuilder;

const char kVertex[] = R"(#version 150
#instancedata "Gem"
in vec3 va_Vertex;
uniform mat4 u_ViewProjection;
out vec3 vo_Color;

void main()
{
    vo_Color = getColor().rgb * (0.7 + dot(va_Vertex, vec3(0.1, 0.35, 0.2)));
    gl_Position = u_ViewProjection * vec4(getPlace().xyz + getPlace().w * va_Vertex, 1.0);
}
)";

const char kFragment[] = R"(#version 150
in vec3 vo_Color;
out vec4 o_Color;

void main()
{
    o_Color = vec4(vo_Color, 1.0);
}
)";

/// What the window shows: five by five by five gems.
class Scene
{
public:
    OrbitCamera camera;

    Scene()
    {
        for (int i = 0; i < 125; ++i) {
            const QVector4D place(float(i % 5 - 2), float(i / 5 % 5 - 2), float(i / 25 - 2), 0.42f);
            _data->set(i, "Place", place);
            _data->set(i, "Color", QVector4D(0.6f, 0.6f, 0.6f, 1.0f) + 0.2f * place);
        }
        TriangleMesh octahedron;
        for (int i = 0; i < 8; ++i) {
            octahedron.positions << QVector3D(i & 1 ? 1 : -1, 0, 0) << QVector3D(0, i & 2 ? 1 : -1, 0)
                                 << QVector3D(0, 0, i & 4 ? 1 : -1);
        }
        _gems = octahedron.drawBuffers(125);
        _program = ProgramBuilder::build(kVertex, kFragment);
    }

    void draw(const QSize &size)
    {
        const float aspect = float(size.width()) / float(size.height());
        camera.refit(Bounds({-2.5f, -2.5f, -2.5f}, {2.5f, 2.5f, 2.5f}), aspect);
        glClearColor(0.07f, 0.09f, 0.12f, 1.0f);
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
        const AutoEnabler depthTest(GL_DEPTH_TEST);
        DrawScope scope(_program.get(), {_data->data()});
        _program->setUniform("u_ViewProjection", camera.viewProjection(aspect));
        scope.draw(_gems.get());
    }

private:
    // The plan "Gem"; places are positions and sizes.
    std::unique_ptr<InstanceTable> _data = InstanceTable::create(
        "Gem", {{InstanceDataPlan::eVec4, "Place"}, {InstanceDataPlan::eVec4, "Color"}}, 125);
    std::unique_ptr<ShaderProgram> _program;
    std::unique_ptr<DrawBuffers> _gems;
};
