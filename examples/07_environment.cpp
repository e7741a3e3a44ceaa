// Image-based lighting with EnvironmentLight.
//
// A bake filters an environment image: for reflections of growing roughness, and for diffuse surfaces. A shader then needs two
// look-ups of light and one of the BRDF (the split-sum approximation). Here the CPU paints the image;
// EnvironmentImage::load() reads a file. See docs/environment-images.md.

#include "Pictures.h"
#include "Programs.h"
#include "Shapes.h"
#include "Show.h"

#include <ZelGL/ZelGL.h>
#include <ZelKit/ZelKit.h>

#include <cmath>

using namespace Orvane::Zel;
using namespace Orvane::ZelKit;

namespace {

constexpr int kColumns = 6;
constexpr int kRows = 3;

class Spheres : public Show
{
public:
    Spheres()
        : _spheres(makeSphere(kColumns * kRows))
    {
        const auto image = EnvironmentImage::prepared(paintInterior({256, 128}));
        EnvironmentBake::Options options;
        options.reflectionSamples = 64;
        options.diffuseSamples = 256;
        _light = EnvironmentBake::bake(*image, options);

        GLSLMacroProcessor processor;
        EnvironmentLight::setUp(&processor);
        processor.addDefine("COLUMNS", QString::number(kColumns));
        processor.addDefine("ROWS", QString::number(kRows));
        _program = makeProgram("07_environment.vert", "07_environment.frag", nullptr, &processor);
        _background = makeProgram("passthroughVS.glslc", "07_background.frag", nullptr, &processor);
    }

    void draw(float aspect, float seconds) override
    {
        const AutoEnabler seamless(GL_TEXTURE_CUBE_MAP_SEAMLESS);
        const float halfHeight = 0.27f; // of the view at distance 1
        drawLit(*_background, *OpenGLDeviceContext::current()->fullscreenQuad(),
                [&] { _background->setUniform("u_HalfExtent", QVector2D(halfHeight * aspect, halfHeight)); });
        const QVector3D eye = movedEye({2.0f * std::sin(0.4f * seconds), 0.6f, 15.0f}, QVector3D());
        const AutoEnabler depthTest(GL_DEPTH_TEST);
        drawLit(*_program, *_spheres, [&] {
            _program->setUniform("u_ViewProjection", viewProjection(30.0f, aspect, eye, QVector3D()));
            _program->setUniform("u_Eye", eye);
        });
    }

private:
    template <typename SetUniforms>
    void drawLit(ShaderProgram &program, DrawBuffers &unit, const SetUniforms &setUniforms)
    {
        DrawScope scope(&program);
        _light->bind(&program);
        setUniforms();
        scope.draw(&unit);
        _light->unbind();
    }

    std::unique_ptr<ShaderProgram> _program, _background;
    std::unique_ptr<DrawBuffers> _spheres;
    std::unique_ptr<EnvironmentLight> _light;
};

} // namespace

int main(int argc, char **argv)
{
    return present(argc, argv, [] { return std::make_unique<Spheres>(); });
}
