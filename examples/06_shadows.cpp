// Shadows of a sun, in the cascades of ShadowLayers.
//
// Each frame, update() fits the projections of the layers to what the camera sees, and has the host draw all casters into each
// layer that changed, with the vertex stage of the screen. A shader calls shadowIrradiance() for the light with its shadow.
// Stable cascades do not shimmer while the camera moves. See docs/shadows.md.

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

constexpr int kTowers = 120;

class Towers : public Show
{
public:
    Towers()
        : _cubes(makeCube(kTowers + 1)) // the last cube is the ground
    {
        ShadowLayers::Options options;
        options.isStable = true;
        _shadows = ShadowLayers::create(options);
        const float size = 0.01f; // the sun is a disc, whose shadows are soft
        _shadows->setLights({ShadowLight::sun({0.75f, -0.62f, -0.35f}, size)});

        GLSLMacroProcessor processor;
        processor.addDefine("TOWERS", QString::number(kTowers));
        const QString vertex = exampleShader("06_shadows.vert");
        _program = _shadows->build(vertex, exampleShader("06_shadows.frag"), nullptr, &processor);
        _casters = _shadows->buildCasters(vertex, nullptr, &processor);
    }

    void prepare(float aspect, float seconds) override
    {
        const QVector3D center(0.0f, 0.4f, 1.0f);
        QMatrix4x4 view;
        view.lookAt(movedEye({9.5f * std::sin(0.1f * seconds), 6.0f, 14.0f}, center), center,
                    {0.0f, 1.0f, 0.0f});
        QMatrix4x4 projection;
        projection.perspective(36.0f, aspect, 0.5f, 60.0f);
        _viewProjection = projection * view;
        const Bounds shadowed({-16.0f, -0.1f, -16.0f}, {16.0f, 4.1f, 16.0f}); // what is outside is lit
        _shadows->update(view, projection, shadowed, [this](const ShadowLayers::Layer &layer) {
            DrawScope scope(_casters.get());
            _casters->setUniform("u_Projection", layer.projection);
            scope.draw(_cubes.get());
        });
    }

    void draw(float, float) override
    {
        glClearColor(0.80f, 0.84f, 0.90f, 1.0f);
        glClear(GL_COLOR_BUFFER_BIT);
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
    return present(argc, argv, [] { return std::make_unique<Towers>(); });
}
