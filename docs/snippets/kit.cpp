#include "SnippetsTest.h"

#include "support/HelperTextures.h"

#include <ZelGL/ZelGL.h>
#include <ZelKit/ZelKit.h>
#include <ZelShaders/ProgramBuilder.h>

#include <QtGui/QMouseEvent>
#include <QtGui/QOpenGLPaintDevice>
#include <QtGui/QOpenGLWindow>
#include <QtGui/QPainter>

using namespace Orvane::Zel;
using namespace Orvane::ZelKit;
using Orvane::ZelShaders::ProgramBuilder;

namespace {

constexpr char kColored[] = R"(#version 150
#instancedata "Card"
out vec4 color;
uint getDrawID() { return 0u; }
void main() { color = getColor(getDrawID()); }
)";

//! [SceneView]
struct Sky
{
    OrbitCamera camera;

    static PostChain::Options frame() { return {4}; } // samples of each pixel; light is linear

    void draw(const QSize &)
    {
        glClearColor(0, 0, camera.azimuth() > 0 ? 1 : 0, 1);
        glClear(GL_COLOR_BUFFER_BIT);
    }

    void paint(QPainter &painter) { painter.fillRect(0, 0, 2, 2, Qt::yellow); }
};

class Window : public SceneView<QOpenGLWindow, Sky> // resize() and show() it
{
public:
    bool event(QEvent *event) override; // whatever else the host does
};
//! [SceneView]

bool Window::event(QEvent *event)
{
    if (event->type() == QEvent::Expose) { // of a platform; this window has no surface
        initializeGL();
        paintGL();
        return true;
    }
    return SceneView::event(event);
}

/// The plan "Card" with a colour, and an item.
class CardSnippetsTest : public SnippetsTest
{
protected:
    CardSnippetsTest()
    {
        auto *plan = new InstanceDataPlan("Card");
        plan->addMember(InstanceDataPlan::eVec4, "Color");
        InstanceDataRegistry::Instance()->registerPlan(plan);
        _program = makeProgram(kAllOver, kColored, &_processor, {}, {plan->glslc()});
        const float green[] = {0.0f, 1.0f, 0.0f, 1.0f};
        InstanceData card("Card");
        card.set("Color", green, sizeof green);
        _cards = std::make_unique<InstanceDataCollection>("Card", QList<InstanceData>{card});
    }

    ~CardSnippetsTest() override
    {
        _cards.reset();
        InstanceDataRegistry::Instance()->clear();
        EXPECT_EQ(QStringList(), _capture.takeTexts(QtWarningMsg)); // takes what is logged of the plan
    }

    GLSLMacroProcessor _processor;
    std::unique_ptr<ShaderProgram> _program;
    std::unique_ptr<InstanceDataCollection> _cards;
};

} // namespace

TEST_F(SnippetsTest, CallCounter)
{
    //! [CallCounter]
    CallCounts calls;
    {
        const CallCounter counter;
        glEnable(GL_BLEND);
        glEnable(GL_BLEND); // redundant
        glDisable(GL_BLEND);
        calls = counter.counts();
    }
    //! [CallCounter]
    EXPECT_EQ(3, calls.all);
    EXPECT_EQ(3, calls.stateChanges);
    EXPECT_EQ(1, calls.redundant);
}

TEST_F(CardSnippetsTest, DrawScope)
{
    const std::unique_ptr<ShaderProgram> &program = _program;
    const std::unique_ptr<InstanceDataCollection> &cards = _cards;
    const QSharedPointer<DrawBuffers> quad = OpenGLDeviceContext::current()->fullscreenQuad();
    const std::unique_ptr<RenderTarget> target =
        RenderTarget::create({4, 4}, GL_RGBA8, RenderTarget::eNoDepth);
    const AutoBinder bound(target->framebuffer());
    glViewport(0, 0, 4, 4);
    //! [DrawScope]
    {
        DrawScope scope(program.get(), {cards.get()}); // with a texture manager if there are tokens
        scope.draw(quad.data());
    } // everything is unbound
    //! [DrawScope]
    target->framebuffer()->unbind();
    EXPECT_EQ(qRgb(0, 255, 0), target->image().pixel(1, 1));
    target->framebuffer()->bind();
}

TEST_F(SnippetsTest, FrameMeter)
{
    //! [FrameMeter]
    FrameMeter meter;
    for (int frame = 0; frame < 3; ++frame) {
        meter.begin();
        glClear(GL_COLOR_BUFFER_BIT); // draw
        meter.end();
    }
    const QStringList lines = meter.describe();
    //! [FrameMeter]
    EXPECT_TRUE(lines.at(0).contains(" GL calls, 0 state changes, "));
    EXPECT_TRUE(lines.at(1).startsWith("frame     ") && lines.at(1).endsWith("; mean of 3 frames"));
}

TEST_F(SnippetsTest, HeadlessContext)
{
    context()->doneCurrent();
    {
        //! [HeadlessContext]
        QString error;
        const std::unique_ptr<HeadlessContext> headless = HeadlessContext::create(&error);
        if (headless == nullptr) {
            return qCritical("%s", qPrintable(error));
        }
        const std::unique_ptr<RenderTarget> target = RenderTarget::create({64, 64}, GL_RGBA8);
        //! [HeadlessContext]
        EXPECT_NE(nullptr, target);
    }
    makeCurrent();
}

TEST_F(SnippetsTest, HostStateGuard)
{
    const std::unique_ptr<RenderTarget> target =
        RenderTarget::create({64, 64}, GL_RGBA8, RenderTarget::eNoDepth);
    {
        const AutoBinder bound(target->framebuffer());
        glColorMask(GL_FALSE, GL_FALSE, GL_FALSE, GL_FALSE);
        //! [HostStateGuard]
        {
            const HostStateGuard guard;
            QOpenGLPaintDevice device(64, 64);
            QPainter painter(&device);
            painter.fillRect(0, 0, 64, 8, Qt::green);
        } // the painter has ended, and the state is that of the host again
        //! [HostStateGuard]
        GLboolean mask[4];
        glGetBooleanv(GL_COLOR_WRITEMASK, mask);
        EXPECT_FALSE(mask[0]);
        glColorMask(GL_TRUE, GL_TRUE, GL_TRUE, GL_TRUE);
    }
    EXPECT_EQ(qRgb(0, 255, 0), target->image().pixel(8, 4));
}

TEST_F(SnippetsTest, MessageLog)
{
    testing::internal::CaptureStderr();
    {
        //! [MessageLog]
        MessageLog::Options options;
        options.prefix = "host: ";
        options.level = QtWarningMsg;
        const MessageLog log(options);
        qInfo("not printed");
        qWarning("the file is empty");
        const bool hadProblems = log.count(QtWarningMsg) > 0;
        //! [MessageLog]
        EXPECT_TRUE(hadProblems);
    }
    EXPECT_NE(std::string::npos, testing::internal::GetCapturedStderr().find("host: the file is empty"));
}

TEST_F(SnippetsTest, MessageCollector)
{
    QStringList reasons;
    //! [MessageCollector]
    {
        const MessageCollector collector;
        Texture *texture = QImageToTexture(QImage(), false, TextureFileInfo());
        if (texture == nullptr) {
            reasons = collector.messages();
        }
        delete texture;
    }
    //! [MessageCollector]
}

TEST_F(SnippetsTest, OrbitCamera)
{
    const Bounds box({-1, -1, -1}, {1, 1, 1});
    const QVector2D mouse(0.1f, 0.0f);
    //! [OrbitCamera]
    OrbitCamera camera;
    const float aspect = 16.0f / 9.0f;
    camera.refit(box, aspect); // in each frame, too
    camera.orbit(mouse);       // in heights of the viewport; handle() takes events of Qt
    const QMatrix4x4 viewProjection = camera.viewProjection(aspect);
    //! [OrbitCamera]
    const QVector3D center = viewProjection.map(QVector3D());
    EXPECT_LT(std::abs(center.x()) + std::abs(center.y()), 0.2f);
}

TEST_F(SnippetsTest, Overlay)
{
    const std::unique_ptr<RenderTarget> target = RenderTarget::create({64, 64}, GL_RGBA8);
    const AutoBinder bound(target->framebuffer());
    //! [Overlay]
    const std::unique_ptr<Overlay> overlay = Overlay::create();
    overlay->draw({"frame 16.7 ms"}, {64, 64});
    //! [Overlay]
    EXPECT_NE(nullptr, overlay);
}

TEST_F(SnippetsTest, Picker)
{
    const auto program = makeProgram(kAllOver);
    const QSharedPointer<DrawBuffers> quad = OpenGLDeviceContext::current()->fullscreenQuad();
    const QMatrix4x4 projection;
    const QMatrix4x4 view;
    //! [Picker]
    Picker picker;
    const QMatrix4x4 closeUp = Picker::closeUp(projection, {12, 7}, {640, 480}) * view;
    const auto hit = picker.find(closeUp, {0, 1}, [&](const QList<int> &numbers) {
        glEnable(GL_STENCIL_TEST);
        glStencilOp(GL_KEEP, GL_KEEP, GL_REPLACE);
        DrawScope scope(program.get());
        for (const int number : numbers) {
            glStencilFunc(GL_ALWAYS, qMin(number + 1, 255), 255);
            scope.draw(quad.data()); // with the projection closeUp
        }
        glDisable(GL_STENCIL_TEST);
    });
    const int picked = hit ? hit->number : -1;
    //! [Picker]
    EXPECT_EQ(0, picked); // the second is not nearer
    glStencilOp(GL_KEEP, GL_KEEP, GL_KEEP);
}

TEST_F(SnippetsTest, RenderTarget)
{
    //! [RenderTarget]
    const std::unique_ptr<RenderTarget> target = RenderTarget::create({64, 64}, GL_RGBA8);
    {
        const AutoBinder bound(target->framebuffer());
        glViewport(0, 0, 64, 64);
        glClearColor(1, 0, 0, 1);
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
        // Draw.
    }
    const QImage picture = target->image();
    //! [RenderTarget]
    EXPECT_EQ(qRgb(255, 0, 0), picture.pixel(0, 0));
}

TEST_F(SnippetsTest, InstanceTable)
{
    //! [InstanceTable]
    std::unique_ptr<InstanceTable> gems = InstanceTable::create(
        "Gem", {{InstanceDataPlan::eVec3, "Place"}, {InstanceDataPlan::eVec4, "Color"}}, 125);
    for (int i = 0; i < 125; ++i) {
        gems->set(i, "Place", QVector3D(float(i), 0, 0));
        gems->set(i, "Color", QColor(Qt::green));
    }
    const auto program = ProgramBuilder::build(R"(#version 150
#instancedata "Gem"
out vec4 v_Color;
in vec3 va_Vertex;
void main()
{
    v_Color = getColor();
    gl_Position = vec4(getPlace() + va_Vertex, 1.0);
}
)",
                                               "#version 150\nin vec4 v_Color;\nout vec4 color;\n"
                                               "void main() { color = v_Color; }\n");
    const auto mesh = TriangleMesh::plane().drawBuffers(125);
    const QImage picture = RenderTarget::picture({64, 64}, [&] {
        DrawScope scope(program.get(), {gems->data()});
        scope.draw(mesh.get());
    });
    //! [InstanceTable]
    EXPECT_EQ(qRgb(0, 255, 0), picture.pixel(0, 0));
    gems.reset(); // before its plan
    InstanceDataRegistry::Instance()->clear();
    EXPECT_EQ(QStringList(), _capture.takeTexts(QtWarningMsg)); // takes what is logged of the plan
}

TEST_F(SnippetsTest, SceneView)
{
    {
        Window window;
        window.resize(100, 100);
        const auto send = [&window](QEvent::Type type, int x) {
            QMouseEvent event(type, QPointF(x, 0), Qt::LeftButton, Qt::LeftButton, Qt::NoModifier);
            window.event(&event);
        };
        send(QEvent::MouseMove, 5); // there is no scene yet
        QExposeEvent expose{QRegion()};
        window.event(&expose);
        send(QEvent::MouseButtonPress, 50);
        send(QEvent::MouseMove, 40);
        EXPECT_FLOAT_EQ(35 + 20, window.scene()->camera.azimuth());
    }
    for (const bool isHosted : {false, true}) {
        makeCurrent();
        if (!isHosted) {
            QOpenGLContext::currentContext()->doneCurrent();
        }
        const QImage picture = Window::picture({4, 4});
        EXPECT_EQ(qRgb(0, 0, 255), picture.pixel(3, 3));
        EXPECT_EQ(qRgb(255, 255, 0), picture.pixel(0, 0)); // painted
    }
    makeCurrent();
    glClearColor(0, 0, 0, 0);
}

TEST_F(SnippetsTest, PictureTextures)
{
    HelperTextures helpers;
    SamplerTextureManager sampler;
    QImage half(2, 2, QImage::Format_RGB32);
    half.fill(Qt::blue);
    half.setPixel(0, 0, qRgb(255, 0, 0)); // the upper left corner
    {
        //! [PictureTextures]
        PictureTextures pictures(&sampler);
        const TextureToken token = pictures.add(half);
        //! [PictureTextures]
        const Pixels texels = Pixels::ofTexture(GL_TEXTURE_2D, sampler.textureForToken(token)->textureID());
        EXPECT_EQ(QVector4D(1, 0, 0, 1), texels.at(0, 1));
        _capture.takeTexts();
        EXPECT_EQ(nullTextureToken, pictures.add(QImage()));
        EXPECT_MESSAGES("warning ZelKit: a picture is null or too large, so it cannot become a texture");
    }
    EXPECT_EQ(QStringList(), _capture.takeTexts(QtWarningMsg));
    sampler.clear();
    helpers.deleteAll();
}

TEST_F(SnippetsTest, TriangleMesh)
{
    const auto program = makeProgram("#version 150\nin vec3 va_Vertex; in vec3 va_Normal;\n"
                                     "void main() { gl_Position = vec4(va_Vertex * va_Normal.zzz, 1.0); }\n");
    //! [TriangleMesh]
    TriangleMesh mesh;
    mesh.positions = {{-1, -1, 0}, {3, -1, 0}, {-1, 3, 0}};
    mesh.normals.fill({0, 0, 1}, 3);
    const std::unique_ptr<DrawBuffers> unit = mesh.drawBuffers();
    const std::unique_ptr<DrawBuffers> boxes = TriangleMesh::box().drawBuffers(100); // 100 instances
    //! [TriangleMesh]
    //! [picture]
    const QImage picture = RenderTarget::picture({64, 64}, [&] {
        DrawScope scope(program.get());
        scope.draw(unit.get());
    });
    //! [picture]
    EXPECT_EQ(qRgb(255, 255, 255), picture.pixel(0, 0));
    EXPECT_EQ(QVector3D(3, 3, 0), mesh.bounds().boxUpperBounds());
    EXPECT_NE(nullptr, boxes);
}

TEST_F(SnippetsTest, ShadowLayers)
{
    QMatrix4x4 view, projection;
    view.lookAt({0, 4, 8}, {0, 0, 0}, {0, 1, 0});
    projection.perspective(60, 1, 1, 40);
    //! [ShadowLight]
    const ShadowLight sun = ShadowLight::sun({0, -1, 0}, 0.02f); // soft shadows
    //! [ShadowLight]
    //! [ShadowLayers]
    ShadowLayers::Options options;
    options.isStable = true;
    const std::unique_ptr<ShadowLayers> shadows = ShadowLayers::create(options);
    shadows->setLights({sun});

    const QString vertex = R"(#version 150
#include "ZelUtilities.glslh"
in vec3 va_Vertex;
in vec3 va_Normal;
uniform mat4 u_ViewProjection;
out vec3 vo_Position;
out vec3 vo_Normal;
void main()
{
    bool isGround = getDrawID() == 0u;
    vo_Position = isGround ? vec3(4.0, 0.01, 4.0) * va_Vertex : va_Vertex + vec3(0.0, 2.0, 0.0);
    vo_Normal = va_Normal;
    gl_Position = u_ViewProjection * vec4(vo_Position, 1.0);
}
)";
    const auto casters = shadows->buildCasters(vertex);
    const auto program = shadows->build(vertex, R"(#version 150
#include "KitShadows.glslh"
in vec3 vo_Position;
in vec3 vo_Normal;
out vec4 color;
void main() { color = vec4(vec3(shadowIrradiance(0, vo_Position, vo_Normal)), 1.0); }
)");
    const auto boxes = TriangleMesh::box().drawBuffers(2);
    const auto drawBoxes = [&boxes](ShaderProgram *drawn, const QMatrix4x4 &viewProjection,
                                    ShadowLayers *lights = nullptr) {
        DrawScope scope(drawn);
        scope.use(lights); // null: none
        drawn->setUniform("u_ViewProjection", viewProjection);
        scope.draw(boxes.get());
    };

    const QImage picture = RenderTarget::picture({33, 33}, [&] { // or each frame
        const AutoEnabler depthTest(GL_DEPTH_TEST);
        shadows->update(
            view, projection, {{-4.1f, -0.1f, -4.1f}, {4.1f, 3.1f, 4.1f}},
            [&](const ShadowLayers::Layer &layer) { drawBoxes(casters.get(), layer.projection); });
        drawBoxes(program.get(), projection * view, shadows.get());
    });
    //! [ShadowLayers]
    EXPECT_EQ(qRgb(255, 255, 255), picture.pixel(6, 16)); // x = -3
    EXPECT_EQ(qRgb(0, 0, 0), picture.pixel(16, 16));      // below the box
}

TEST_F(SnippetsTest, EnvironmentLight)
{
    LightImage sky{{16, 8}, std::vector<QVector3D>(128, {0.2f, 0.3f, 0.6f})}; // linear, the sky first
    Canvas canvas(1, 1);
    const auto quad = OpenGLDeviceContext::current()->newFullscreenQuad();
    //! [EnvironmentImage]
    std::optional<EnvironmentImage> image = EnvironmentImage::prepared(sky); // or load()
    const std::optional<DistantLight> sun = image->takeStrongestLight();     // if there is one
    const std::unique_ptr<Texture> cube = image->cubeMap();
    //! [EnvironmentImage]
    EXPECT_EQ(QStringList(), _capture.takeTexts(QtWarningMsg)); // takes how long the conversion took
    EXPECT_FALSE(sun.has_value());
    const QString path = pathTo("sky.light");
    //! [EnvironmentBake]
    const std::unique_ptr<EnvironmentBake> bake = EnvironmentBake::create(*cube, {});
    while (bake->step()) {
        // Draw a frame meanwhile; bake->progress() is from 0 to 1.
    }
    const std::unique_ptr<EnvironmentLight> light = bake->take();
    light->save(path); // EnvironmentLight::load() is much faster than a bake
    //! [EnvironmentBake]
    //! [EnvironmentLight]
    GLSLMacroProcessor processor;
    EnvironmentLight::setUp(&processor);
    const auto program = makeProgram(kAllOver, R"(#version 150
#include "KitEnvironment.glslh"
out vec4 color;
void main() { color = vec4(environmentScattered(vec3(0.0, 1.0, 0.0)), 1.0); }
)",
                                     &processor);
    const AutoEnabler seamless(GL_TEXTURE_CUBE_MAP_SEAMLESS);
    {
        DrawScope scope(program.get());
        scope.use(light.get());
        scope.draw(quad.data());
    }
    //! [EnvironmentLight]
    EXPECT_TRUE(canvas.pixels().isNear(0, 0, {0.2f, 0.3f, 0.6f, 1}, 0.01f));
    EXPECT_NE(nullptr, EnvironmentLight::load(path));
}

TEST_F(SnippetsTest, PostChain)
{
    Canvas canvas;
    //! [PostChain]
    PostChain::Options options;
    options.filter = PostChain::eFxaa;
    options.isToneMapped = true;
    const std::unique_ptr<PostChain> chain = PostChain::create(options);

    // Each frame.
    chain->resize({8, 8});
    chain->begin();
    glClearColor(0.5f, 0.5f, 0.5f, 1); // linear light
    glClear(GL_COLOR_BUFFER_BIT);
    // Draw.
    chain->end(); // into the framebuffer that was bound before begin()
    //! [PostChain]
    glClearColor(0, 0, 0, 0);
    EXPECT_TRUE(canvas.pixels().isNear(4, 4, {0.71f, 0.71f, 0.71f, 1}, 0.01f));
}

TEST_F(SnippetsTest, AmbientOcclusion)
{
    QMatrix4x4 projection;
    projection.perspective(60, 1, 0.1f, 10);
    const float sizeOfScene = 4;
    const auto program = makeProgram(kAllOver, "#version 150\nvoid main() {}");
    const auto drawNormalsAndDistances = [] {};
    //! [AmbientOcclusion]
    const std::unique_ptr<AmbientOcclusion> occlusion = AmbientOcclusion::create();

    // Each frame.
    occlusion->resize({8, 8});
    occlusion->beginGeometry();
    drawNormalsAndDistances(); // vec4(normal, distance), both in view space
    occlusion->endGeometry(projection, 0.05f * sizeOfScene);

    const AutoBinder bound(program.get()); // calls opennessAt(distance) of KitOcclusion.glslh
    const AutoBinder boundOcclusion(occlusion->texture());
    program->setUniform("u_Occlusion", QVariant(int(occlusion->texture()->unit())));
    // Draw.
    //! [AmbientOcclusion]
    EXPECT_TRUE(pixelsOf(*occlusion->texture()).isNear(4, 4, {1, 0, 0, 1}, 0.01f)); // there is no surface
}

TEST_F(SnippetsTest, PackedScene)
{
    auto *plan = new InstanceDataPlan("Rock");
    plan->addMember(InstanceDataPlan::eMat4, "ModelMatrix");
    plan->setArraySize(100);
    InstanceDataRegistry::Instance()->registerPlan(plan);
    const float vertices[] = {-1, -1, 0, 3, -1, 0, -1, 3, 0};
    const quint32 indices[] = {0, 1, 2};
    GLSLMacroProcessor processor;
    DrawBuffers::setup(&processor);
    ShaderProgram program(nullptr);
    program.setMacroProcessor(&processor);
    program.addShader(
        GL_VERTEX_SHADER,
        "#version 150\n#include \"ZelUtilities.glslh\"\n#instancedata \"Rock\"\nin vec3 va_Vertex;\n"
        "void main() { gl_Position = getModelMatrix() * vec4(va_Vertex, 1.0); }\n",
        QString());
    program.addShader(GL_VERTEX_SHADER, plan->glslc(), QString());
    program.addShaderFromFile(GL_VERTEX_SHADER, "ZelUtilities.glslc");
    program.addShaderFromFile(GL_VERTEX_SHADER, "ZelUtilities.vert");
    program.addShader(GL_FRAGMENT_SHADER, kAllWhite, QString());
    ASSERT_TRUE(program.link());
    const QMatrix4x4 viewProjection;
    QMatrix4x4 place;
    const Canvas canvas;
    {
        //! [PackedScene]
        PackedScene::Format format;
        format.attributes = {{"va_Vertex", 3, GL_FLOAT, false, 0}};
        format.stride = 3 * sizeof(float);
        const std::unique_ptr<PackedScene> scene = PackedScene::create(format, plan);
        const int mesh = scene->addMesh(vertices, 3, indices, 3);
        const int material = scene->addMaterial(nullptr); // or a collection with its data
        const int rock = scene->add(mesh, material, QMatrix4x4());
        // Each frame:
        scene->setTransform(rock, place);
        scene->cull(viewProjection);
        {
            const AutoBinder bound(&program);
            scene->draw(&program, nullptr);
        }
        scene->updatePreviousMatrices();
        //! [PackedScene]
    }
    EXPECT_EQ(QVector4D(1, 1, 1, 1), canvas.pixels().at(4, 4));
    InstanceDataRegistry::Instance()->clear();
    EXPECT_MESSAGES(startsWith("debug [InstanceDataPlan.cpp:#] ubo: "));
}
