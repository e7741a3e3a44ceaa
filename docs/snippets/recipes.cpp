// The recipes of the questions and answers.

#include "SnippetsTest.h"

#include <ZelGL/ZelGL.h>
#include <ZelKit/ZelKit.h>
#include <ZelShaders/ProgramBuilder.h>

using namespace Orvane::Zel;
using namespace Orvane::ZelKit;
using Orvane::ZelShaders::ProgramBuilder;

namespace {

constexpr char kPlaced[] = R"(#version 150
#include "ZelUtilities.glslh"
#instancedata "Pane"
in vec3 va_Vertex;
flat out vec4 v_Color;
uniform mat4 u_ViewProjection;
void main()
{
    v_Color = getColor();
    gl_Position = u_ViewProjection * getModelMatrix() * vec4(va_Vertex, 1.0);
}
)";

constexpr char kPlain[] = R"(#version 150
flat in vec4 v_Color;
out vec4 color;
void main() { color = v_Color; }
)";

std::unique_ptr<InstanceTable> newPanes(int count)
{
    return InstanceTable::create("Pane",
                                 {{InstanceDataPlan::eMat4, "ModelMatrix"},
                                  {InstanceDataPlan::eMat4, "PreviousModelMatrix"},
                                  {InstanceDataPlan::eMat4, "InverseModelMatrix"},
                                  {InstanceDataPlan::eVec4, "Color"}},
                                 count);
}

QVector3D colorIn(const QImage &picture, int x)
{
    const QColor color = picture.pixelColor(x, 4);
    return {float(color.redF()), float(color.greenF()), float(color.blueF())};
}

} // namespace

TEST_F(SnippetsTest, RecipesOfScenes)
{
    TextureManager *const textures = nullptr; // no member is a token
    auto panes = newPanes(2);
    panes->set(0, "Color", QColor(Qt::green));
    panes->set(1, "Color", QColor(255, 0, 0, 128));
    auto wall = std::make_unique<InstanceDataCollection>("Pane", QList<InstanceData>{InstanceData("Pane")});
    const QVector4D blue(0, 0, 1, 1);
    wall->set(0, "Color", &blue, sizeof blue);
    const auto solid = ProgramBuilder::build(kPlaced, kPlain);
    const auto glass = ProgramBuilder::build(kPlaced, kPlain);
    TriangleMesh::Options options;
    options.commands = 2;
    const auto square = TriangleMesh::plane().drawBuffers(options);
    options.commands = 1;
    const auto background = TriangleMesh::plane().drawBuffers(options);
    QMatrix4x4 view, projection, left, right, behind;
    left.translate(-1, 0, 0);
    right.translate(1, 0, 0.1f);
    behind.translate(0, 0, -0.5f);
    projection.ortho(-2, 2, -1, 1, -1, 1);
    //! [materials]
    // Numbers for materials, and a flag for each pass: both are up to the host.
    constexpr int kStone = 0, kGlass = 1;
    constexpr quint64 kTransparent = 1;
    GPUModel scene;
    scene.setDeleteOnClear(false); // the host owns the draw units and tables
    const int walls = scene.add(background.get(), kStone, nullptr, wall.get(), 0);
    const int windows = scene.add(square.get(), kGlass, nullptr, panes->data(), kTransparent);
    //! [materials]
    scene.useTransform(walls, 0, scene.addTransform(GPUModel::kInvalidTransformRef, behind));
    const int door = scene.addTransform(GPUModel::kInvalidTransformRef, QMatrix4x4());
    scene.useTransform(windows, 0, door);
    scene.useTransform(windows, 1, scene.addTransform(GPUModel::kInvalidTransformRef, right));
    const auto drawOpaque = [&] {
        //! [passes]
        // The bound program draws the materials of the list. Drawables whose flags are 0 under the mask are opaque.
        scene.drawMaterials(solid.get(), textures, 0, kTransparent, eWindingCCW, nullptr, {kStone});
        //! [passes]
    };
    const auto drawTransparent = [&] {
        //! [transparency]
        // After everything opaque: blended, without depth writes, and the commands of each drawable from back to front.
        const AutoEnabler blending(GL_BLEND);
        glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
        glDepthMask(GL_FALSE);
        scene.draw(glass.get(), textures, kTransparent | GPUModel::kFlagSortByDistance, kTransparent,
                   eWindingOff, &view, false);
        glDepthMask(GL_TRUE);
        //! [transparency]
    };
    //! [moving]
    // The number that addTransform() returned; children follow.
    scene.setLocalTransform(door, left, false);
    scene.updateTransforms();
    // shadows->invalidate(), if there are ShadowLayers: casters have moved
    //! [moving]
    const QImage picture = RenderTarget::picture({8, 8}, [&] {
        const AutoEnabler depthTest(GL_DEPTH_TEST);
        const QMatrix4x4 viewProjection = projection * view;
        for (const auto &[program, draw] :
             {std::pair<ShaderProgram *, std::function<void()>>(solid.get(), drawOpaque),
              {glass.get(), drawTransparent}}) {
            const AutoBinder bound(program);
            program->setUniform("u_ViewProjection", viewProjection);
            draw();
        }
    });
    EXPECT_EQ(QVector3D(0, 1, 0), colorIn(picture, 1));
    EXPECT_NEAR(0.5, colorIn(picture, 4).x(), 0.01);
    EXPECT_NEAR(0.5, colorIn(picture, 4).z(), 0.01);
    scene.clear();
    panes.reset(); // before its plan
    wall.reset();
    InstanceDataRegistry::Instance()->clear();
    _capture.takeTexts(QtDebugMsg);
}

TEST_F(SnippetsTest, RecipesOfFrames)
{
    const OrbitCamera camera;
    const QSize size(8, 8);
    const std::vector<QVector3D> texels(32, QVector3D(0.25f, 0.5f, 1.0f));
    const auto image = EnvironmentImage::prepared({QSize(8, 4), texels});
    EnvironmentBake::Options fast;
    fast.reflectionSamples = fast.diffuseSamples = 2;
    fast.tableSize = 4;
    const auto light = EnvironmentBake::bake(*image, fast);
    //! [sky]
    GLSLMacroProcessor processor;
    EnvironmentLight::setUp(&processor);
    const auto sky = ProgramBuilder::build("passthroughVS.glslc", R"(#version 150
#include "KitEnvironment.glslh"
uniform mat4 u_ToWorld; // from clip space
uniform vec3 u_Eye;
in vec2 vo_TexCoord;
out vec4 color;
void main()
{
    vec4 far = u_ToWorld * vec4(2.0 * vo_TexCoord - 1.0, 1.0, 1.0);
    color = vec4(environmentMirrored(normalize(far.xyz / far.w - u_Eye), 0.0), 1.0);
}
)",
                                           nullptr, &processor);
    //! [sky]
    //! [samples]
    PostChain::Options options;
    options.samples = 4; // of each pixel; PostChain::eFxaa instead is cheaper
    const auto chain = PostChain::create(options);
    //! [samples]
    const auto window = RenderTarget::create(size, GL_RGBA8);
    {
        const AutoBinder toWindow(window->framebuffer());
        GLint target = 0;
        glGetIntegerv(GL_FRAMEBUFFER_BINDING, &target);
        //! [resize]
        chain->resize(size); // in every frame: does nothing while the size is the same
        chain->begin();      // sets the viewport, too
        //! [resize]
        //! [drawsky]
        { // First in the frame, without a depth test; the rest is drawn over it.
            DrawScope scope(sky.get());
            const AutoEnabler seamless(GL_TEXTURE_CUBE_MAP_SEAMLESS);
            const float aspect = float(size.width()) / float(size.height());
            sky->setUniform("u_ToWorld", camera.viewProjection(aspect).inverted());
            sky->setUniform("u_Eye", camera.eye());
            light->bind(sky.get());
            scope.draw(OpenGLDeviceContext::current()->fullscreenQuad().data());
            light->unbind();
        }
        //! [drawsky]
        chain->end(unsigned(target));
    }
    EXPECT_NEAR(0.735, colorIn(window->image(), 4).y(), 0.02); // 0.5 of linear light in sRGB

    const auto draw = [] {
        glClearColor(2.0f, 0.5f, 0.25f, 0.5f);
        glClear(GL_COLOR_BUFFER_BIT);
    };
    //! [floats]
    const auto target = RenderTarget::create(size, GL_RGBA16F); // GL_RGBA8 for bytes with alpha
    {
        const AutoBinder bound(target->framebuffer());
        draw();
    }
    std::vector<QVector4D> pixels(size_t(size.width() * size.height())); // the lowest row first
    const AutoBinder bound(target->color());
    glGetTexImage(GL_TEXTURE_2D, 0, GL_RGBA, GL_FLOAT, pixels.data());
    //! [floats]
    EXPECT_EQ(QVector4D(2.0f, 0.5f, 0.25f, 0.5f), pixels[9]);
    glClearColor(0, 0, 0, 0);
    _capture.takeTexts(QtDebugMsg);
}
