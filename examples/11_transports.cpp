// One shader, five transports: how the data of a plan reach the shader is a setting of the plan.
//
// Each tower has a plan with the same members and another mechanism, and a program from the same text. The accessors
// getPlace() and getColor() hide whether they read a uniform block, uniforms, textures, a buffer texture or a storage block.
// See docs/instance-data.md for their limits.

#include "Pictures.h"
#include "Programs.h"
#include "Shapes.h"
#include "Show.h"

#include <ZelGL/ZelGL.h>
#include <ZelKit/DrawScope.h>

using namespace Orvane::Zel;
using Orvane::ZelKit::DrawScope;

namespace {

constexpr int kSteps = 24;

const char kVertex[] = R"(#version 150
#instancedata "%1"
#include "11_transports.glslh"
)";

struct Tower
{
    std::unique_ptr<ShaderProgram> program;
    std::unique_ptr<InstanceDataCollection> data;
};

class Towers : public Show
{
public:
    Towers()
        : _cubes(makeCube(kSteps))
    {
        addTower("UniformBlock", InstanceDataPlan::eUniformBufferMechanism);
        addTower("Uniforms", InstanceDataPlan::eUniformMechanism);
        addTower("BufferTexture", InstanceDataPlan::eBufferTextureMechanism);
        addTower("Textures", InstanceDataPlan::eTextureMechanism);
        if (InstanceDataPlan::supportsStorageMechanism()) {
            addTower("StorageBlock", InstanceDataPlan::eStorageBufferMechanism);
        }
    }

    void draw(float aspect, float seconds) override
    {
        const QVector3D center(0.0f, 3.1f, 0.0f);
        const QVector3D eye = movedEye({0.0f, 7.5f, 26.5f}, center);
        const AutoEnabler depthTest(GL_DEPTH_TEST);
        for (size_t i = 0; i < _towers.size(); ++i) {
            DrawScope scope(_towers[i].program.get(), {_towers[i].data.get()});
            const float place = 3.3f * (float(i) - 0.5f * float(_towers.size() - 1));
            _towers[i].program->setUniform("u_Offset", place);
            _towers[i].program->setUniform("u_Seconds", seconds);
            _towers[i].program->setUniform("u_ViewProjection", viewProjection(22.0f, aspect, eye, center));
            scope.draw(_cubes.get());
        }
    }

private:
    void addTower(const QString &name, InstanceDataPlan::MechanismType mechanism)
    {
        auto *plan = new InstanceDataPlan(name);
        plan->addMember(InstanceDataPlan::eVec4, "Place"); // height, turn, radius, size
        plan->addMember(InstanceDataPlan::eVec4, "Color");
        plan->setMechanism(mechanism);
        plan->setArraySize(kSteps);
        InstanceDataRegistry::Instance()->registerPlan(plan);
        Tower tower;
        const QString vertex = QString(kVertex).arg(name);
        tower.program = makeProgram(vertex, "support/color.frag");
        tower.data = std::make_unique<InstanceDataCollection>(plan, kSteps);
        for (int i = 0; i < kSteps; ++i) {
            const float up = float(i) / kSteps;
            const QVector4D place(6.4f * up, 8.0f * up, 1.05f - 0.55f * up, 0.42f - 0.2f * up);
            const int hue = (198 + 47 * int(_towers.size()) + 58 * i / kSteps) % 360;
            const QVector4D color = components(QColor::fromHsv(hue, 153, 242));
            tower.data->set(i, "Place", &place, sizeof place);
            tower.data->set(i, "Color", &color, sizeof color);
        }
        _towers.push_back(std::move(tower));
    }

    std::unique_ptr<DrawBuffers> _cubes;
    std::vector<Tower> _towers;
};

} // namespace

int main(int argc, char **argv)
{
    return present(argc, argv, [] { return std::make_unique<Towers>(); });
}
