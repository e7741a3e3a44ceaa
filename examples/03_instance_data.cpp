// Data for each draw: from one description the library derives the bytes and the GLSL accessors.
//
// An InstanceDataPlan lists the members. The library computes the layout of the bytes that InstanceData fills, and
// generates the GLSL accessors, here getPlacement() and getColor(), which "#instancedata" inserts into the shader. The
// mechanism of the plan determines how the bytes reach the shader: by default a uniform block. Another mechanism would
// change nothing else in this file.

#include "Programs.h"
#include "Shapes.h"
#include "Show.h"

#include <ZelGL/ZelGL.h>
#include <ZelKit/DrawScope.h>

#include <cmath>

using namespace Orvane::Zel;
using Orvane::ZelKit::DrawScope;

namespace {

constexpr int kCubes = 150; ///< the default array size of a plan

const char kVertex[] = R"(#version 150
#include "ZelUtilities.glslh"
#instancedata "Cube"
in vec3 va_Vertex;
in vec3 va_Normal;
uniform mat4 u_ViewProjection;
flat out vec3 vo_Color;

void main()
{
    vec3 normal = normalize(mat3(getPlacement()) * va_Normal);
    vo_Color = getColor().rgb * (0.5 + 0.5 * dot(normal, normalize(vec3(0.4, 0.7, 0.6))));
    gl_Position = u_ViewProjection * getPlacement() * vec4(va_Vertex, 1.0);
}
)";

const char kFragment[] = R"(#version 150
flat in vec3 vo_Color;
out vec4 o_Color;

void main()
{
    o_Color = vec4(vo_Color, 1.0);
}
)";

/// Registers the plan; the registry takes ownership.
void registerPlan()
{
    auto *plan = new InstanceDataPlan("Cube");
    plan->addMember(InstanceDataPlan::eMat4, "Placement");
    plan->addMember(InstanceDataPlan::eVec4, "Color");
    InstanceDataRegistry::Instance()->registerPlan(plan);
}

QMatrix4x4 placement(int cube, float seconds)
{
    const float along = float(cube) / kCubes;
    const float around = 360.0f * along;
    QMatrix4x4 matrix;
    matrix.rotate(around, 0.0f, 1.0f, 0.0f);
    matrix.translate(3.0f, 0.0f, 0.0f);
    matrix.rotate(2.0f * around + 40.0f * seconds, 0.0f, 0.0f, 1.0f);
    matrix.translate(0.95f, 0.0f, 0.0f);
    matrix.scale(0.13f + 0.07f * std::sin(6.0f * float(M_PI) * along), 0.42f, 0.1f);
    return matrix;
}

class Torus : public Show
{
public:
    Torus()
        : _cubes(makeCube(kCubes))
    {
        registerPlan();
        DrawBuffers::setup(&_processor);
        ProgramText text;
        text.vertex = kVertex;
        text.fragment = kFragment;
        text.vertexFiles = QStringList{"ZelUtilities.glslc", "ZelUtilities.vert"};
        text.vertexPlans = QStringList{"Cube"};
        _program = makeProgram(text, &_processor);

        QList<InstanceData> items;
        for (int i = 0; i < kCubes; ++i) {
            const QColor color = QColor::fromHsvF(double(i) / kCubes, 0.55, 0.95);
            const float rgba[] = {float(color.redF()), float(color.greenF()), float(color.blueF()), 1.0f};
            InstanceData item("Cube");
            item.set("Color", rgba, sizeof rgba);
            items << item;
        }
        _data = std::make_unique<InstanceDataCollection>("Cube", items);
    }

    ~Torus() override
    {
        _data.reset();
        InstanceDataRegistry::Instance()->clear();
    }

    void draw(float aspect, float seconds) override
    {
        QMatrix4x4 viewProjection;
        viewProjection.perspective(26.0f, aspect, 1.0f, 100.0f);
        viewProjection.lookAt({0.0f, 7.0f, 12.5f}, {0.0f, -0.2f, 0.0f}, {0.0f, 1.0f, 0.0f});
        for (int i = 0; i < kCubes; ++i) { // uploaded at once by the next bind()
            const QMatrix4x4 matrix = placement(i, seconds);
            _data->set(i, "Placement", matrix.constData(), 16 * sizeof(float));
        }

        const AutoEnabler depthTest(GL_DEPTH_TEST);
        DrawScope scope(_program.get(), {_data.get()});
        _program->setUniform("u_ViewProjection", viewProjection);
        scope.draw(_cubes.get());
    }

private:
    GLSLMacroProcessor _processor;
    std::unique_ptr<ShaderProgram> _program;
    std::unique_ptr<DrawBuffers> _cubes;
    std::unique_ptr<InstanceDataCollection> _data;
};

} // namespace

int main(int argc, char **argv)
{
    return present(argc, argv, [] { return std::make_unique<Torus>(); });
}
