// Data for each draw: from one description the library derives the bytes and the GLSL accessors.
//
// An InstanceDataPlan lists the members. The library computes the layout of the bytes that InstanceData fills, and
// generates the GLSL accessors, here getPlacement() and getColor(), which "#instancedata" inserts into
// 03_instance_data.vert. The
// mechanism of the plan determines how the bytes reach the shader: by default a uniform block. Another mechanism would
// change nothing else in this file.

#include "Pictures.h"
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

QMatrix4x4 placement(float along, float seconds)
{
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
        auto *plan = new InstanceDataPlan("Cube");
        plan->addMember(InstanceDataPlan::eMat4, "Placement");
        plan->addMember(InstanceDataPlan::eVec4, "Color");
        InstanceDataRegistry::Instance()->registerPlan(plan); // takes ownership
        _program = makeProgram("03_instance_data.vert", "support/color.frag");

        _data = std::make_unique<InstanceDataCollection>(plan, kCubes);
        for (int i = 0; i < kCubes; ++i) {
            const QVector4D color = components(QColor::fromHsvF(double(i) / kCubes, 0.55, 0.95));
            _data->set(i, "Color", &color, sizeof color);
        }
    }

    void draw(float aspect, float seconds) override
    {
        const QVector3D center(0.0f, -0.2f, 0.0f);
        const QVector3D eye = movedEye({0.0f, 7.0f, 12.5f}, center);
        for (int i = 0; i < kCubes; ++i) { // uploaded at once by the next bind()
            const QMatrix4x4 matrix = placement(float(i) / kCubes, seconds);
            _data->set(i, "Placement", matrix.constData(), 16 * sizeof(float));
        }

        const AutoEnabler depthTest(GL_DEPTH_TEST);
        DrawScope scope(_program.get(), {_data.get()});
        _program->setUniform("u_ViewProjection", viewProjection(26.0f, aspect, eye, center));
        scope.draw(_cubes.get());
    }

private:
    std::unique_ptr<ShaderProgram> _program;
    std::unique_ptr<DrawBuffers> _cubes;
    std::unique_ptr<InstanceDataCollection> _data;
};

} // namespace

int main(int argc, char **argv)
{
    return present(argc, argv, [] { return std::make_unique<Torus>(); });
}
