// A packed scene: twelve thousand drawables in three GL calls.
//
// PackedScene stores all meshes in one vertex and one index buffer. After culling it writes a list of draw commands, and one
// call draws all of a material. Each rock has a mesh and a matrix; only the matrices that change are uploaded.

#include "Pictures.h"
#include "Programs.h"
#include "Show.h"

#include <ZelGL/ZelGL.h>
#include <ZelKit/PackedScene.h>

#include <random>

using namespace Orvane::Zel;
using namespace Orvane::ZelKit;

namespace {

constexpr int kRocks = 12000;

class Belt : public Show
{
public:
    Belt()
    {
        auto *rock = new InstanceDataPlan("Rock");
        rock->addMember(InstanceDataPlan::eMat4, "ModelMatrix");       // filled by the scene
        rock->setMechanism(InstanceDataPlan::eBufferTextureMechanism); // can hold all rocks
        rock->setArraySize(kRocks);
        InstanceDataRegistry::Instance()->registerPlan(rock);
        auto *stone = new InstanceDataPlan("Stone");
        stone->addMember(InstanceDataPlan::eVec4, "Color");
        stone->setArraySize(1);
        InstanceDataRegistry::Instance()->registerPlan(stone);
        // One call can pass many draw IDs. Where drivers cannot, the scene makes a call for each rock.
        DrawBuffers::useBaseInstanceDrawing(DrawBuffers::isBaseInstanceDrawingSupported());
        _program = makeProgram("16_packed.vert", "16_packed.frag");
        _scene = PackedScene::create({{{"va_Vertex", 3, GL_FLOAT, false, 0}}, sizeof(QVector3D)}, rock);

        std::mt19937 engine(3);
        const auto random = [&](float low, float high) {
            return std::uniform_real_distribution<float>(low, high)(engine);
        };
        int materials[3];
        for (int i = 0; i < 3; ++i) {
            const QVector4D color = components(QList<QRgb>{0xd8b48a, 0x9aa7b8, 0xc98560}[i]);
            _stones[i] = std::make_unique<InstanceDataCollection>(stone, 1ul);
            _stones[i]->set(0, "Color", &color, sizeof color);
            materials[i] = _scene->addMaterial(_stones[i].get());
        }
        const quint32 faces[] = {0, 2, 1, 1, 2, 3, 4, 5, 6, 5, 7, 6, 0, 1, 4, 1, 5, 4,
                                 2, 6, 3, 3, 6, 7, 0, 4, 2, 2, 4, 6, 1, 3, 5, 3, 7, 5};
        for (int i = 0; i < kRocks; ++i) {
            QVector3D corners[8]; // of a cube, pulled in or out
            for (int k = 0; k < 8; ++k) {
                corners[k] = random(0.4f, 1.2f) * QVector3D(k & 1 ? 1 : -1, k & 2 ? 1 : -1, k & 4 ? 1 : -1);
            }
            _places[i].rotate(random(0.0f, 360.0f), 0.0f, 1.0f, 0.0f);
            _places[i].translate(random(5.0f, 11.0f), random(-0.5f, 0.5f), 0.0f);
            _places[i].rotate(random(0.0f, 360.0f), random(-1.0f, 1.0f), random(-1.0f, 1.0f), 1.0f);
            _places[i].scale(random(0.01f, 0.1f) * random(0.1f, 1.0f));
            _rocks[i] = _scene->add(_scene->addMesh(corners, 8, faces, 36), materials[i % 3], _places[i]);
        }
    }

    void draw(float aspect, float seconds) override
    {
        for (int i = 0; i < kRocks; i += 20) { // the others rest
            QMatrix4x4 place = _places[i];
            place.rotate(60.0f * seconds, 1.0f, 0.5f);
            _scene->setTransform(_rocks[i], place);
        }
        const QVector3D center(0.0f, -1.5f, 0.0f);
        const QMatrix4x4 projection = viewProjection(36.0f, aspect, movedEye({0, 6, 18}, center), center);
        _scene->cull(projection);
        const AutoEnabler depthTest(GL_DEPTH_TEST);
        const AutoBinder useProgram(_program.get());
        _program->setUniform("u_ViewProjection", projection);
        _scene->draw(_program.get(), nullptr);
        _scene->updatePreviousMatrices();
    }

private:
    std::unique_ptr<ShaderProgram> _program;
    std::unique_ptr<InstanceDataCollection> _stones[3]; ///< the data of materials
    std::unique_ptr<PackedScene> _scene;
    QMatrix4x4 _places[kRocks];
    int _rocks[kRocks];
};

} // namespace

int main(int argc, char **argv)
{
    return present(argc, argv, [] { return std::make_unique<Belt>(); });
}
