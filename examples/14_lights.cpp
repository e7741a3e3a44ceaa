// Soft shadows of a spot light and a point light in variance shadow maps.
//
// A spot light has one projection and a point light up to six; the library computes them like those of a sun. The layers of
// a variance map hold the depth and its square, which can be averaged: a coarse mip level has soft edges, and one look-up is
// enough. The lights share the layers, and a shader asks for each by its index in the list. See docs/shadows.md.

#include "Layers.h"
#include "Programs.h"
#include "Shapes.h"
#include "Show.h"

#include <ZelGL/ZelGL.h>
#include <ZelKit/DrawScope.h>

#include <cmath>

using namespace Orvane::Zel;
using Orvane::ZelKit::DrawScope;

namespace {

constexpr int kColumns = 40;

class Columns : public Show
{
public:
    Columns()
        : _cubes(makeCube(kColumns + 1)) // the last cube is the ground
        , _layers(Layers::eMoments, 1024, 1 + 6)
    {
        DrawBuffers::setup(&_processor);
        ShadowMapManager::setup(&_processor, 1); // variance maps
        _processor.addDefine("COLUMNS", QString::number(kColumns));
        _program = makeProgram({"14_lights.vert", "14_lights.frag", {}, {ShadowMapManager::getShaderFile()}},
                               &_processor);
        _layerProgram = makeProgram({"14_layers.vert", "14_layers.frag"}, &_processor);
        _spot.setType(ShadowMapManager::Light::eSpot);
        _spot.setSpotCutoff(0.42f); // half the angle of the cone
        _lamp.setType(ShadowMapManager::Light::ePoint);
    }

    void prepare(float aspect, float seconds) override
    {
        const QVector3D center(0.0f, 0.6f, 0.5f);
        QMatrix4x4 view;
        view.lookAt(movedEye({-5.0f, 8.5f, 14.0f}, center), center, {0.0f, 1.0f, 0.0f});
        QMatrix4x4 projection;
        projection.perspective(32.0f, aspect, 1.0f, 60.0f);
        _viewProjection = projection * view;

        // A spot light looks along -z of its transform.
        _spotPlace = {7.0f * std::cos(0.3f * seconds), 8.0f, 6.0f};
        QMatrix4x4 look;
        look.lookAt(_spotPlace, {1.5f, 0.0f, 0.0f}, {0.0f, 1.0f, 0.0f});
        _spot.setTransform(look.inverted());
        _lampPlace = {-2.2f * std::cos(0.2f * seconds), 1.5f, 1.2f};
        QMatrix4x4 place;
        place.translate(_lampPlace);
        _lamp.setTransform(place);

        const QVariantList lights = {QVariant::fromValue<QObject *>(&_spot),
                                     QVariant::fromValue<QObject *>(&_lamp)};
        const Layers::Corners box({-20.1f, -0.3f, -20.1f}, {20.1f, 3.0f, 20.1f});
        _layers.update(lights, view, projection, box, [this](const QMatrix4x4 &layer) {
            DrawScope scope(_layerProgram.get());
            _layerProgram->setUniform("u_Projection", layer);
            scope.draw(_cubes.get());
        });
    }

    void draw(float, float) override
    {
        const AutoEnabler depthTest(GL_DEPTH_TEST);
        DrawScope scope(_program.get());
        ShadowMapManager::bind(_program.get(), _layers.table());
        _program->setUniform("u_ViewProjection", _viewProjection);
        _program->setUniform("u_Spot", _spotPlace);
        _program->setUniform("u_Lamp", _lampPlace);
        scope.draw(_cubes.get());
        ShadowMapManager::unbind(_program.get(), _layers.table());
    }

private:
    GLSLMacroProcessor _processor;
    std::unique_ptr<ShaderProgram> _program, _layerProgram;
    std::unique_ptr<DrawBuffers> _cubes;
    Layers _layers;
    ShadowMapManager::Light _spot, _lamp;
    QVector3D _spotPlace, _lampPlace;
    QMatrix4x4 _viewProjection;
};

} // namespace

int main(int argc, char **argv)
{
    return present(argc, argv, [] { return std::make_unique<Columns>(); });
}
