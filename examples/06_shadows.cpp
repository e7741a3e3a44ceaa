// Shadows of a sun: the library fits the projections, the host draws the layers.
//
// processLights() computes a table of depth projections from the lights, the camera and the scene box, and returns whether
// it changed. The host draws one layer of an array texture for each projection, here in support/Layers.cpp; between bind()
// and unbind() a shader calls shadowMapGetVisibility(). See docs/shadows.md.

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

constexpr int kTowers = 120;
constexpr int kCascades = 3;

class Towers : public Show
{
public:
    Towers()
        : _cubes(makeCube(kTowers + 1)) // the last cube is the ground
        , _layers(Layers::eDepths, 2048, kCascades)
    {
        DrawBuffers::setup(&_processor);
        ShadowMapManager::setup(&_processor, 0);
        _processor.addDefine("TOWERS", QString::number(kTowers));
        _program = makeProgram(
            {"06_shadows.vert", "06_shadows.frag", {}, {ShadowMapManager::getShaderFile()}}, &_processor);
        _layerProgram = makeProgram({"06_layers.vert", "support/depth.frag"}, &_processor);

        // A directional light shines along +z of its transform, whose origin is the point that the camera looks at.
        QMatrix4x4 transform;
        transform.lookAt({0.0f, 0.0f, 0.0f}, _toSun, {0.0f, 1.0f, 0.0f});
        _sun.setTransform(transform.inverted());
        _sun.setType(ShadowMapManager::Light::eDirectional);
        _sun.setCSMLevels(kCascades);
    }

    void prepare(float aspect, float seconds) override
    {
        const QVector3D center(0.0f, 0.4f, 1.0f);
        const QVector3D eye = movedEye({9.5f * std::sin(0.1f * seconds), 6.0f, 14.0f}, center);
        QMatrix4x4 view;
        view.lookAt(eye, center, {0.0f, 1.0f, 0.0f});
        QMatrix4x4 projection;
        projection.perspective(36.0f, aspect, 0.5f, 60.0f);
        _viewProjection = projection * view;

        const QVariantList lights = {QVariant::fromValue<QObject *>(&_sun)};
        const Layers::Corners box({-40.5f, -1.5f, -40.5f}, {40.5f, 4.5f, 40.5f});
        _layers.update(lights, view, projection, box, [this](const QMatrix4x4 &layer) {
            DrawScope scope(_layerProgram.get());
            _layerProgram->setUniform("u_Projection", layer);
            scope.draw(_cubes.get());
        });
    }

    void draw(float, float) override
    {
        glClearColor(0.80f, 0.84f, 0.90f, 1.0f);
        glClear(GL_COLOR_BUFFER_BIT);
        const AutoEnabler depthTest(GL_DEPTH_TEST);
        DrawScope scope(_program.get());
        ShadowMapManager::bind(_program.get(), _layers.table());
        _program->setUniform("u_ViewProjection", _viewProjection);
        _program->setUniform("u_ToSun", _toSun);
        scope.draw(_cubes.get());
        ShadowMapManager::unbind(_program.get(), _layers.table());
    }

private:
    const QVector3D _toSun = QVector3D(-0.75f, 0.62f, 0.35f).normalized();
    GLSLMacroProcessor _processor;
    std::unique_ptr<ShaderProgram> _program;
    std::unique_ptr<ShaderProgram> _layerProgram;
    std::unique_ptr<DrawBuffers> _cubes;
    Layers _layers;
    ShadowMapManager::Light _sun;
    QMatrix4x4 _viewProjection;
};

} // namespace

int main(int argc, char **argv)
{
    return present(argc, argv, [] { return std::make_unique<Towers>(); });
}
