#include "SnippetsTest.h"

#include <ZelGL/GLSLMacroProcessor.h>
#include <ZelGL/ShadowMapManager.h>
#include <ZelGL/ShadowMapManagerCulling.h>

using namespace Orvane::Zel;

namespace {

/// A fragment stage of the visibility of light 0 at (x, 0, -5), x from -4 to 4.
constexpr char kShowVisibility[] = R"(#version 150
#include "ShadowMapManager.glslh"
out vec4 color;
void main() { color = vec4(shadowMapGetVisibility(0u, vec3(gl_FragCoord.x - 4.0, 0.0, -5.0))); }
)";

} // namespace

TEST_F(SnippetsTest, ShadowMapLight)
{
    ShadowMapRenderData table;
    //! [ShadowMapLight]
    QMatrix4x4 transform;
    transform.translate(0, 8, 0);
    transform.rotate(-90, 1, 0, 0); // a spot light looks along -z: now down

    ShadowMapLight lamp;
    lamp.setType(ShadowMapLight::eSpot);
    lamp.setSpotCutoff(0.5f); // half the cone's angle, in radians
    lamp.setTransform(transform);
    const QVariantList lights = {QVariant::fromValue<QObject *>(&lamp)};
    //! [ShadowMapLight]
    ASSERT_TRUE(ShadowMapManager::processLights(lights, table));
    const QMatrix4x4 projection = QMatrix4x4(table.transforms[0].values.data()).transposed();
    const QVector3D below = projection * QVector3D(0, 2, 0);
    EXPECT_NEAR(0, below.x(), 1e-5);
    EXPECT_NEAR(0, below.y(), 1e-5);
    EXPECT_LT(below.z(), 1);
}

TEST_F(SnippetsTest, ShadowMapRenderData)
{
    ShadowMapLight sun;
    sun.setType(ShadowMapLight::eDirectional);
    const QVariantList lights = {QVariant::fromValue<QObject *>(&sun)};
    Texture layers(nullptr);
    layers.create3D(GL_TEXTURE_2D_ARRAY, GL_DEPTH_COMPONENT32F, 4, 4, 1);
    int drawn = 0;
    const auto drawCasters = [&drawn](const QMatrix4x4 &projection) {
        drawn += projection * QVector3D(0, 0, 6) == QVector3D(0, 0, 1);
    };
    //! [ShadowMapRenderData]
    ShadowMapRenderData table;
    table.projectionTexture = &layers; // GL_TEXTURE_2D_ARRAY of depths
    ShadowMapManager::processLights(lights, table);

    FramebufferObject framebuffer(nullptr);
    framebuffer.bind();
    for (int i = 0; i < table.transformCount; ++i) {
        framebuffer.detachAll();
        framebuffer.attach3D(&layers, GL_DEPTH_ATTACHMENT, i, 0);
        framebuffer.setDrawBuffers();
        glClear(GL_DEPTH_BUFFER_BIT);
        drawCasters(QMatrix4x4(table.transforms[i].values.data()).transposed());
    }
    framebuffer.unbind();
    //! [ShadowMapRenderData]
    EXPECT_EQ(1, drawn);
}

TEST_F(SnippetsTest, ShadowMapManager)
{
    Texture layers(nullptr);
    layers.create3D(GL_TEXTURE_2D_ARRAY, GL_R32F, 8, 8, 1);
    ShadowMapLight sun;
    sun.setType(ShadowMapLight::eDirectional);
    const QVariantList lights = {QVariant::fromValue<QObject *>(&sun)};
    ShadowMapRenderData shadows;
    shadows.projectionTexture = &layers;
    // A caster over the half with x < 0.
    const auto drawLayer = [&](int layer) {
        const std::vector<float> depths = {0.01f, 0.01f, 0.01f, 0.01f, 1, 1, 1, 1};
        layers.bind();
        for (int row = 0; row < 8; ++row) {
            glTexSubImage3D(GL_TEXTURE_2D_ARRAY, 0, 0, row, layer, 8, 1, 1, GL_RED, GL_FLOAT, depths.data());
        }
        layers.unbind();
    };
    GLSLMacroProcessor processor;
    ShadowMapManager::setup(&processor, 0);
    const auto program =
        makeProgram(kAllOver, kShowVisibility, &processor, {ShadowMapManager::getShaderFile()});
    Canvas canvas(8, 1);
    const auto drawScene = [&canvas](ShaderProgram &bound) { canvas.draw(bound); };
    //! [ShadowMapManager]
    // Each frame. The processor of the programs went through ShadowMapManager::setup().
    if (ShadowMapManager::processLights(lights, shadows)) {
        for (int i = 0; i < shadows.transformCount; ++i) {
            drawLayer(i);
        }
    }
    const QVariant table = QVariant::fromValue<QObject *>(&shadows);
    program->bind();
    ShadowMapManager::bind(program.get(), table);
    drawScene(*program); // its shader calls shadowMapGetVisibility(lightNumber, position)
    ShadowMapManager::unbind(program.get(), table);
    program->unbind();
    //! [ShadowMapManager]
    EXPECT_TRUE(canvas.pixels().isNear(1, 0, {0, 0, 0, 0}, 0));
    EXPECT_TRUE(canvas.pixels().isNear(6, 0, {1, 1, 1, 1}, 0));
}

TEST_F(SnippetsTest, ShadowMapManagerCulling)
{
    QMatrix4x4 view;
    QMatrix4x4 projection;
    projection.perspective(90, 1, 1, 100);
    const QPair<QVector3D, QVector3D> sceneBox({-5, -5, -20}, {5, 5, -10});
    //! [ShadowMapManagerCulling]
    // The part of the scene that the camera sees, to which projections are fitted.
    ShadowMapManagerCulling culling;
    culling.setupCameras(&view, &projection);
    culling.setupScene(&sceneBox);
    culling.setupPost();

    ShadowMapLight light;
    ShadowMapManagerCulling::ProcessCSMData cascades;
    culling.setupLightCSMData(&light, cascades);
    const Bounds visible(culling.getSceneCameraFrustrumPointsCSM(0, cascades, {}));
    //! [ShadowMapManagerCulling]
    EXPECT_EQ(QVector3D(-5, -5, -20), visible.boxLowerBounds());
    EXPECT_EQ(QVector3D(5, 5, -10), visible.boxUpperBounds());
}
