// Image-based lighting with the split-sum approximation.
//
// Two bakes filter an environment: for specular reflections, with growing roughness in the mip levels, and for diffuse
// surfaces. A third bake computes the BRDF table. A shader then needs three lookups. Here the CPU paints the environment;
// any latlong image with a mip chain works, lowest row first.

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

constexpr int kColumns = 6;
constexpr int kRows = 3;

constexpr int kWidth = 256;
constexpr int kHeight = 128;

class Spheres : public Show
{
public:
    Spheres()
        : _spheres(makeSphere(kColumns * kRows))
    {
        const std::unique_ptr<Texture> environment = paintInterior(kWidth, kHeight);
        const auto levels = unsigned(MaxLODLevel(kWidth, kHeight));
        _gloss.reset(CreatePrefilteredLatLongEnvMap(environment.get(), kWidth, kHeight, 64,
                                                    SHADING_PHYSICALLY_BASED, RGBA16F));
        _matt.reset(CreatePrefilteredLatLongEnvMap(environment.get(), 32, 16, 256, SHADING_LAMBERTIAN_DIFFUSE,
                                                   RGBA16F));
        _reflectance.reset(CreatePreintegratedBRDFTable(64, 64, levels, SHADING_PHYSICALLY_BASED, RGBA16F));

        DrawBuffers::setup(&_processor);
        _processor.addDefine("COLUMNS", QString::number(kColumns));
        _processor.addDefine("ROWS", QString::number(kRows));
        _processor.addDefine("LEVELS", QString::number(levels));
        _program = makeProgram({"07_environment.vert", "07_environment.frag"}, &_processor);
        _background = makeProgram({"passthroughVS.glslc", "07_background.frag"}, &_processor);
    }

    void draw(float aspect, float seconds) override
    {
        constexpr float kHalfHeight = 0.27f; // half the height of the view at distance 1
        drawBackground(QVector2D(kHalfHeight * aspect, kHalfHeight));

        const QVector3D eye = movedEye({2.0f * std::sin(0.4f * seconds), 0.6f, 15.0f}, QVector3D());
        QMatrix4x4 viewProjection;
        viewProjection.perspective(30.0f, aspect, 1.0f, 50.0f);
        viewProjection.lookAt(eye, {0.0f, 0.0f, 0.0f}, {0.0f, 1.0f, 0.0f});
        const AutoEnabler depthTest(GL_DEPTH_TEST);
        DrawScope scope(_program.get());
        const AutoBinder useGloss(_gloss.get());
        const AutoBinder useMatt(_matt.get());
        const AutoBinder useReflectance(_reflectance.get());
        _program->setUniform("u_ViewProjection", viewProjection);
        _program->setUniform("u_Eye", eye);
        _program->setUniform("u_Gloss", int(_gloss->unit()));
        _program->setUniform("u_Matt", int(_matt->unit()));
        _program->setUniform("u_Reflectance", int(_reflectance->unit()));
        scope.draw(_spheres.get());
    }

private:
    void drawBackground(const QVector2D &halfExtent)
    {
        const QSharedPointer<DrawBuffers> quad = OpenGLDeviceContext::current()->fullscreenQuad();
        DrawScope scope(_background.get());
        const AutoBinder useGloss(_gloss.get());
        _background->setUniform("u_HalfExtent", halfExtent);
        _background->setUniform("u_Gloss", int(_gloss->unit()));
        const AutoDisabler noDepthTest(GL_DEPTH_TEST);
        scope.draw(quad.data());
    }

    GLSLMacroProcessor _processor;
    std::unique_ptr<ShaderProgram> _program;
    std::unique_ptr<ShaderProgram> _background;
    std::unique_ptr<DrawBuffers> _spheres;
    std::unique_ptr<Texture> _gloss;
    std::unique_ptr<Texture> _matt;
    std::unique_ptr<Texture> _reflectance;
};

} // namespace

int main(int argc, char **argv)
{
    return present(argc, argv, [] { return std::make_unique<Spheres>(); });
}
