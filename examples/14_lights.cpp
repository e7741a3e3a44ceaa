// Soft shadows of a spot light and a point light in variance shadow maps.
//
// A spot light has one layer of ShadowLayers and a point light up to six. Layers of the kind eVariance hold the blurred depth and
// its square: their shadows are soft with one look-up, while plain layers take 48. A shader calls shadowIrradiance() for each
// light, by its index in the list, and multiplies it by the colour. See docs/shadows.md.

#include "Programs.h"
#include "Shapes.h"
#include "Show.h"

#include <ZelGL/ZelGL.h>
#include <ZelKit/DrawScope.h>
#include <ZelKit/ShadowLayers.h>

#include <cmath>

using namespace Orvane::Zel;
using namespace Orvane::ZelKit;

namespace {

constexpr int kColumns = 40;

class Columns : public Show
{
public:
    Columns()
        : _cubes(makeCube(kColumns + 1)) // the last cube is the ground
    {
        ShadowLayers::Options options;
        options.kind = ShadowLayers::eVariance;
        _shadows = ShadowLayers::create(options);
        GLSLMacroProcessor processor;
        processor.addDefine("COLUMNS", QString::number(kColumns));
        const QString vertex = exampleShader("14_lights.vert");
        _program = _shadows->build(vertex, exampleShader("14_lights.frag"), nullptr, &processor);
        _casters = _shadows->buildCasters(vertex, nullptr, &processor);
    }

    void prepare(float aspect, float seconds) override
    {
        const QVector3D center(0.0f, 0.6f, 0.5f);
        QMatrix4x4 view;
        view.lookAt(movedEye({-5.0f, 8.5f, 14.0f}, center), center, {0.0f, 1.0f, 0.0f});
        QMatrix4x4 projection;
        projection.perspective(32.0f, aspect, 1.0f, 60.0f);
        _viewProjection = projection * view;

        const QVector3D spot(7.0f * std::cos(0.3f * seconds), 8.0f, 6.0f);
        const QVector3D lamp(-2.2f * std::cos(0.2f * seconds), 1.5f, 1.2f);
        _shadows->setLights(
            {ShadowLight::spot(spot, QVector3D(1.5f, 0.0f, 0.0f) - spot, 0.42f), ShadowLight::point(lamp)});
        _shadows->update(view, projection, Bounds({-20.1f, -0.3f, -20.1f}, {20.1f, 3.0f, 20.1f}),
                         [this](const ShadowLayers::Layer &layer) {
                             DrawScope scope(_casters.get());
                             _casters->setUniform("u_Projection", layer.projection);
                             scope.draw(_cubes.get());
                         });
    }

    void draw(float, float) override
    {
        const AutoEnabler depthTest(GL_DEPTH_TEST);
        DrawScope scope(_program.get());
        scope.use(_shadows.get());
        _program->setUniform("u_Projection", _viewProjection);
        scope.draw(_cubes.get());
    }

private:
    std::unique_ptr<ShaderProgram> _program, _casters;
    std::unique_ptr<DrawBuffers> _cubes;
    std::unique_ptr<ShadowLayers> _shadows;
    QMatrix4x4 _viewProjection;
};

} // namespace

int main(int argc, char **argv)
{
    return present(argc, argv, [] { return std::make_unique<Columns>(); });
}
