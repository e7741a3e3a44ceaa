// UDIM: one texture token for many tiles, which texture coordinates beyond 1 select.
//
// The array manager keeps the tiles as layers of array textures. The shader samples the set like any other texture: tile
// 1001 + column + 10 * row has the coordinates from (column, row) to (column + 1, row + 1).

#include "Pictures.h"
#include "Programs.h"
#include "Shapes.h"
#include "Show.h"

#include <ZelGL/Array2DTextureManager.h>
#include <ZelGL/ZelGL.h>
#include <ZelKit/DrawScope.h>

using namespace Orvane::Zel;
using Orvane::ZelKit::DrawScope;

namespace {

constexpr int kColumns = 10;
constexpr int kRows = 5;

class Globe : public Show
{
public:
    Globe()
        : _sphere(makeSphere(1))
    {
        auto *plan = new InstanceDataPlan("Globe");
        plan->addMember(InstanceDataPlan::eTexture, "Tiles");
        InstanceDataRegistry::Instance()->registerPlan(plan);
        GLSLMacroProcessor processor;
        processor.addDefine("TILES", QString("vec2(%1.0, %2.0)").arg(kColumns).arg(kRows));
        _program = makeProgram("13_udim.vert", "13_udim.frag", &_manager, &processor);

        const TextureToken tiles = _manager.createUDIMToken();
        for (int row = 0; row < kRows; ++row) {
            for (int column = 0; column < kColumns; ++column) {
                Texture *tile = QImageToTexture(paintFlower(5 + (column + 3 * row) % 8), false, {});
                _manager.addUDIMPatch(tiles, QPoint(column, row), tile);
            }
        }
        _data = std::make_unique<InstanceDataCollection>(plan, 1);
        _data->set(0, "Tiles", &tiles, sizeof tiles);
    }

    void draw(float aspect, float) override
    {
        const QVector3D eye = movedEye({1.0f, 2.2f, 5.6f}, QVector3D());
        const AutoEnabler depthTest(GL_DEPTH_TEST);
        DrawScope scope(_program.get(), {_data.get()}, &_manager);
        _program->setUniform("u_ViewProjection", viewProjection(22.0f, aspect, eye, QVector3D()));
        _program->setUniform("u_Eye", eye);
        scope.draw(_sphere.get());
    }

private:
    Array2DTextureManager _manager;
    std::unique_ptr<ShaderProgram> _program;
    std::unique_ptr<DrawBuffers> _sphere;
    std::unique_ptr<InstanceDataCollection> _data;
};

} // namespace

int main(int argc, char **argv)
{
    return present(argc, argv, [] { return std::make_unique<Globe>(); });
}
