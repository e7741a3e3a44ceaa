// A scene: drawables, a hierarchy of transforms, culling.
//
// A GPUModel writes the matrices of a transform into the object data of the draw commands that use it. Culling marks the
// commands that the camera does not see, and the draw skips them. Here one drawable has a command for each body of a small
// planetary system; the transform of a planet is the parent of its moons'.

#include "Pictures.h"
#include "Programs.h"
#include "Shapes.h"
#include "Show.h"

#include <ZelGL/ZelGL.h>

using namespace Orvane::Zel;

namespace {

constexpr int kCount = 12;
constexpr struct
{
    int parent;                    ///< -1: the sun
    float distance, speed, radius; ///< speed: degrees per second
    QRgb color;
} kBodies[kCount] = {
    {-1, 0, 0, 1.1, 0xffe9a0},     {0, 1.9, 70, 0.28, 0xb59a86},   {0, 2.8, 52, 0.42, 0xe3c38b},
    {0, 3.9, 40, 0.48, 0x6f9fd8},  {3, 0.85, 160, 0.16, 0xc8c8c8}, {0, 5.1, 30, 0.38, 0xd07a56},
    {5, 0.6, 190, 0.11, 0xa89888}, {5, 0.8, -130, 0.09, 0x988878}, {0, 7, 17, 0.9, 0xd9b48c},
    {8, 1.3, 120, 0.16, 0xe8dcb0}, {8, 1.7, 95, 0.18, 0xb8c4d0},   {8, 2.1, 70, 0.20, 0x9c8f80},
};

class Planets : public Show
{
public:
    Planets()
    {
        auto *plan = new InstanceDataPlan("Body");
        for (const char *name : {"Model", "PreviousModel", "InverseModel", "ModelNormal"}) {
            plan->addMember(InstanceDataPlan::eMat4, QString(name) + "Matrix"); // filled by the model
        }
        plan->addMember(InstanceDataPlan::eVec4, "Color");
        plan->setArraySize(32);
        InstanceDataRegistry::Instance()->registerPlan(plan);
        _program = makeProgram("05_scene.vert", "05_scene.frag");

        auto *data = new InstanceDataCollection(plan, kCount); // the model takes ownership
        const int drawable = _model.add(makeSphere(kCount).release(), 0, nullptr, data, 0);
        const GPUModel::BoundingBox box = {-1.0f, -1.0f, -1.0f, 1.0f, 1.0f, 1.0f};
        _model.loadBoundingBoxes(&box, 1);
        for (int i = 0; i < kCount; ++i) {
            const auto &body = kBodies[i];
            const QVector4D color = components(body.color, i == 0 ? 1.0f : 0.0f); // alpha: emission
            data->set(i, "Color", &color, sizeof color);
            // The position, which is the parent of moons, and the size as its child, which does not apply to them.
            _places[i] = _model.addTransform(body.parent < 0 ? -1 : _places[body.parent], QMatrix4x4());
            QMatrix4x4 size;
            size.scale(body.radius);
            _model.useTransform(drawable, i, _model.addTransform(_places[i], size));
            _model.useBoundingBox(drawable, i, 0);
        }
    }

    ~Planets() override { _model.clear(); } // deletes what it owns

    void draw(float aspect, float seconds) override
    {
        const QVector3D center(0.0f, -0.3f, 0.0f);
        const QVector3D eye = movedEye({0.0f, 7.5f, 11.5f}, center);
        const QMatrix4x4 projection = viewProjection(38.0f, aspect, eye, center);
        for (int i = 0; i < kCount; ++i) {
            QMatrix4x4 place;
            place.rotate(kBodies[i].speed * seconds + 101.0f * float(i), 0.0f, 1.0f, 0.0f);
            place.translate(kBodies[i].distance, 0.0f, 0.0f);
            _model.setLocalTransform(_places[i], place, false);
        }
        _model.updateTransforms();
        _model.resetCulling();
        _model.frustumCull(projection);
        const AutoEnabler depthTest(GL_DEPTH_TEST);
        const AutoBinder useProgram(_program.get());
        _program->setUniform("u_ViewProjection", projection);
        _program->setUniform("u_Eye", eye);
        _model.draw(_program.get(), 0, 0, eWindingCCW, false);
        _model.updatePreviousMatrices();
    }

private:
    std::unique_ptr<ShaderProgram> _program;
    GPUModel _model;
    int _places[kCount]; ///< transforms, by body
};

} // namespace

int main(int argc, char **argv)
{
    return present(argc, argv, [] { return std::make_unique<Planets>(); });
}
