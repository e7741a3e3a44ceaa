#include <ZelKit/ZelKit.h>

#include "support/GLFixture.h"
#include "support/HelperTextures.h"
#include "support/Pixels.h"
#include "support/StateGuard.h"
#include "support/Tap.h"
#include "support/TestProgram.h"

#include <ZelGL/ZelGL.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QRegularExpression>
#include <QtCore/QTemporaryDir>
#include <QtGui/QOpenGLPaintDevice>
#include <QtGui/QPainter>
#include <QtGui/QWheelEvent>

#include <cmath>
#include <random>

using namespace Orvane::Zel;
using namespace Orvane::ZelKit;

using KitTest = GLTest;
using KitMessagesTest = MessageTest;
using KitOwnProcessTest = MessageTest; // without an application object

namespace {

constexpr char kPictured[] = R"(#version 150
#include "TextureManager.glslh"
#instancedata "Card"
out vec4 color;
uint getDrawID() { return 0u; }
void main() { color = managedTexture(getPicture(getDrawID()), vec2(0.5)); }
)";

/// The calls of a function that draws, after two calls of it in which objects are created.
CallCounts callsOf(const std::function<void()> &draw)
{
    draw();
    draw();
    const CallCounter counter;
    draw();
    return counter.counts();
}

} // namespace

TEST_F(KitTest, ARenderTargetReturnsItsPixelsOrTheReason)
{
    QString error;
    EXPECT_EQ(nullptr, RenderTarget::create({0, 4}, GL_RGBA8, RenderTarget::eNoDepth, 0, &error));
    EXPECT_EQ("a render target needs a size of at least 1x1 pixel", error);
    EXPECT_EQ(nullptr, RenderTarget::create({0, 4}, GL_RGBA8));
    EXPECT_MESSAGES("warning ZelKit: a render target needs a size of at least 1x1 pixel");

    for (const int samples : {0, 4}) {
        const auto target = RenderTarget::create({3, 2}, GL_RGBA8, RenderTarget::eDepth, samples);
        ASSERT_NE(nullptr, target);
        {
            const AutoBinder bound(target->framebuffer());
            glClearColor(0, 0, 1, 0);
            glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
            glEnable(GL_SCISSOR_TEST);
            glScissor(2, 1, 1, 1); // the top right pixel
            glClearColor(1, 0, 0, 0);
            glClear(GL_COLOR_BUFFER_BIT);
            glDisable(GL_SCISSOR_TEST);
            glClearColor(0, 0, 0, 0);
        }
        if (samples == 0) {
            glEnable(GL_NONE); // an error of the host
            TestContext::takeDriverReports();
        }
        const QImage image = target->image(&error);
        EXPECT_EQ(samples > 0, image.isNull());
        if (samples > 0) {
            EXPECT_EQ("a multisampled render target has no pixels to read; resolve it into another one",
                      error);
        } else {
            EXPECT_EQ(QSize(3, 2), image.size());
            EXPECT_EQ(qRgb(255, 0, 0), image.pixel(2, 0));
            EXPECT_EQ(qRgb(0, 0, 255), image.pixel(2, 1));
        }
    }
}

TEST_F(KitTest, APictureIsDrawnWithoutATraceOrTheReasonIsGiven)
{
    const auto host = RenderTarget::create({2, 2}, GL_RGBA8);
    const AutoBinder bound(host->framebuffer());
    glViewport(1, 1, 1, 1);
    glBindFramebuffer(GL_READ_FRAMEBUFFER, 0);
    const StateGuard before;
    EXPECT_FALSE(RenderTarget::create({1, 1}, GL_RGBA8)->image().isNull());
    const auto program = makeProgram(kAllOver);
    const QImage image = RenderTarget::picture({3, 2}, [&program] {
        DrawScope scope(program.get());
        scope.draw(OpenGLDeviceContext::current()->fullscreenQuad().data());
    });
    EXPECT_EQ(QStringList(), before.changes());
    EXPECT_EQ(QSize(3, 2), image.size());
    EXPECT_EQ(qRgb(255, 255, 255), image.pixel(2, 1));
    EXPECT_TRUE(RenderTarget::picture({3, 2}, {}).isNull() && RenderTarget::picture({}, [] {}).isNull());
    EXPECT_MESSAGES("warning ZelKit: a picture needs a function that draws",
                    "warning ZelKit: a render target needs a size of at least 1x1 pixel");
}

TEST_F(KitTest, AMeshIsDrawnWithItsAttributesOrTheReasonIsGiven)
{
    const TriangleMesh sphere = TriangleMesh::sphere(2, 8);
    EXPECT_EQ(QVector3D(2, 2, 2), sphere.bounds().boxUpperBounds());
    for (const TriangleMesh &mesh :
         {TriangleMesh::plane({0, 0, 2}, {3, 0, 0}), TriangleMesh::box({4, 3, 2}, {1, 1, 1}), sphere}) {
        for (int i = 0; i < mesh.indices.size(); i += 3) {
            const auto corner = [&](int k) { return mesh.positions.at(int(mesh.indices.at(i + k))); };
            const QVector3D outward = QVector3D::crossProduct(corner(1) - corner(0), corner(2) - corner(0));
            EXPECT_LT(-1e-6f, QVector3D::dotProduct(outward, mesh.normals.at(int(mesh.indices.at(i)))));
        }
    }
    const auto program =
        makeProgram("#version 150\nin vec3 place; in vec3 normal; in vec2 texCoord; out vec4 v_Color;\n"
                    "void main() { gl_Position = vec4(place, 1.0);\n"
                    "v_Color = vec4(normal.z, texCoord, 1.0); }\n",
                    "#version 150\nin vec4 v_Color; out vec4 color;\n"
                    "void main() { color = v_Color; }\n");
    const AutoEnabler culling(GL_CULL_FACE);
    TriangleMesh mesh = TriangleMesh::plane();
    for (const int count : {4, 0x10001}) { // indices of two and of four bytes
        mesh.positions.resize(count);
        mesh.normals.resize(count);
        mesh.texCoords.resize(count);
        const auto unit = mesh.drawBuffers({1, 0, "place", "normal", "texCoord"});
        const QImage image = RenderTarget::picture({64, 64}, [&] {
            DrawScope scope(program.get());
            scope.draw(unit.get());
        });
        EXPECT_EQ(qRgb(255, 253, 2), image.pixel(63, 63)) << count;
    }
    const struct
    {
        TriangleMesh mesh;
        const char *reason;
    } rows[] = {
        {{}, "a mesh needs three corners for each triangle, one triangle and one instance at least"},
        {{{{}, {}, {}}, {{}}, {}, {}}, "a mesh of 3 positions has 1 normals and 0 texture coordinates"},
        {{{{}, {}, {}}, {}, {}, {0, 1, 3}}, "a mesh of 3 positions has the index 3"},
    };
    for (const auto &row : rows) {
        QString error;
        EXPECT_EQ(nullptr, row.mesh.drawBuffers(1, &error));
        EXPECT_EQ(row.reason, error);
    }
}

TEST_F(KitTest, AHeadlessContextSharesWithGlxOrWorksWithoutADisplayOrSaysWhyItCannot)
{
    HeadlessContext::Options options;
    Texture texture(nullptr);
    texture.create2D(GL_TEXTURE_2D, GL_RGBA8, 1, 1);
    {
        const auto first = HeadlessContext::create();
        ASSERT_NE(nullptr, first);
        EXPECT_EQ(HeadlessContext::eGLX, first->platform());
        GLuint name = 0;
        glGenTextures(1, &name);
        glBindTexture(GL_TEXTURE_2D, name);
        options.shared = first.get();
        const auto second = HeadlessContext::create(options);
        ASSERT_NE(nullptr, second);
        EXPECT_TRUE(second->isCurrent() && !first->isCurrent());
        EXPECT_TRUE(glIsTexture(name));
        glDeleteTextures(1, &name);
    }
    QString error;
    for (const auto platform : {HeadlessContext::eGLX, HeadlessContext::eEGL}) {
        options = {};
        options.platform = platform;
        const auto context = HeadlessContext::create(options, &error);
        ASSERT_NE(nullptr, context) << qPrintable(error);
        EXPECT_EQ(platform, context->platform());
        EXPECT_EQ(platform == HeadlessContext::eEGL, context->qtContext() == nullptr);
        EXPECT_TRUE(openGlVersionSupported(3, 2));
        if (platform == HeadlessContext::eEGL) {
            EXPECT_EQ(nullptr, HeadlessContext::create(options));
            EXPECT_MESSAGES("warning ZelKit: only one EGL context can exist at a time, since ZelGL cannot "
                            "distinguish them; use GLX for several, or delete the first one");
            options.platform = HeadlessContext::eGLX;
            options.shared = context.get();
            EXPECT_EQ(nullptr, HeadlessContext::create(options, &error));
            EXPECT_EQ("a GLX context cannot share with an EGL context", error);
        }
        context->doneCurrent();
        EXPECT_FALSE(context->isCurrent());
        EXPECT_TRUE(context->makeCurrent() && context->isCurrent());
    }
    options = {};
    options.majorVersion = 9;
    for (const auto platform : {HeadlessContext::eGLX, HeadlessContext::eEGL}) {
        options.platform = platform;
        EXPECT_EQ(nullptr, HeadlessContext::create(options, &error));
        EXPECT_EQ("the driver has no OpenGL 9.2 core profile", error);
    }
    makeCurrent();
}

TEST_F(KitOwnProcessTest, WithoutAnApplicationObjectContextsShareOneOrNeedNoDisplay)
{
    HeadlessContext::Options options;
    for (int round = 0; round < 2; ++round) {
        auto first = HeadlessContext::create();
        ASSERT_NE(nullptr, first);
        EXPECT_EQ(HeadlessContext::eGLX, first->platform());
        const auto second = HeadlessContext::create();
        ASSERT_NE(nullptr, second);
        first.reset();
        EXPECT_NE(nullptr, RenderTarget::create({1, 1}, GL_RGBA8));
    }
    EXPECT_EQ(nullptr, QCoreApplication::instance());

    HeadlessContext::choosePlatform(HeadlessContext::eForWindows, true);
    QSurfaceFormat format = QSurfaceFormat::defaultFormat();
    EXPECT_TRUE(format.profile() == QSurfaceFormat::CoreProfile
                && format.testOption(QSurfaceFormat::DebugContext));
    format.setSamples(7);
    QSurfaceFormat::setDefaultFormat(format);
    HeadlessContext::choosePlatform();
    EXPECT_EQ(format, QSurfaceFormat::defaultFormat()); // that of the host stays

    qunsetenv("DISPLAY");
    {
        const auto context = HeadlessContext::create();
        ASSERT_NE(nullptr, context);
        EXPECT_EQ(HeadlessContext::eEGL, context->platform());
        EXPECT_NE(nullptr, RenderTarget::create({1, 1}, GL_RGBA8));
    }
    QString error;
    options.platform = HeadlessContext::eGLX;
    EXPECT_EQ(nullptr, HeadlessContext::create(options, &error));
    EXPECT_EQ("GLX needs a display (is DISPLAY set and its server running?); EGL does not", error);
    int argc = 1;
    char name[] = "host";
    char *argv[] = {name, nullptr};
    const QCoreApplication application(argc, argv);
    EXPECT_EQ(nullptr, HeadlessContext::create(options, &error));
    EXPECT_EQ(
        "GLX needs a QGuiApplication on Qt's platform xcb; call HeadlessContext::choosePlatform() before the "
        "application object exists",
        error);
}

TEST_F(KitTest, ADrawScopeBindsEverythingWithTheCallsOfTheHandOrNothing)
{
    auto *plan = new InstanceDataPlan("Card");
    plan->addMember(InstanceDataPlan::eTexture, "Picture");
    InstanceDataRegistry::Instance()->registerPlan(plan);
    const auto target = RenderTarget::create({2, 2}, GL_RGBA8, RenderTarget::eNoDepth);
    HelperTextures helpers;
    SamplerTextureManager manager;
    GLSLMacroProcessor processor;
    manager.setup(&processor);
    const auto program =
        makeProgram(kAllOver, kPictured, &processor, {manager.getShaderFile()}, {plan->glslc()});
    InstanceData card("Card");
    card.setTexture("Picture", manager.textureForColor(Qt::red), &manager);
    InstanceDataCollection cards("Card", {card});
    const auto first = OpenGLDeviceContext::current()->newFullscreenQuad();
    const auto second = OpenGLDeviceContext::current()->newFullscreenQuad();
    const AutoBinder bound(target->framebuffer());
    glViewport(0, 0, 2, 2);

    const auto byScope = [&] {
        DrawScope scope(program.get(), {&cards}, &manager);
        EXPECT_TRUE(scope.draw(first.data()) && scope.draw(second.data()));
    };
    const auto byHand = [&] {
        const AutoBinder boundProgram(program.get());
        cards.bind(program.get(), &manager);
        manager.bind(program.get());
        DrawBuffers *before = nullptr;
        for (DrawBuffers *unit : {first.data(), second.data()}) {
            unit->rebind(before);
            before = unit;
            unit->VAO()->enableShaderProgramArrays(program.get());
            unit->draw(program.get());
        }
        second->unbind();
        manager.unbind(program.get());
        cards.unbind(program.get(), &manager);
    };
    const CallCounts calls = callsOf(byScope);
    target->framebuffer()->unbind();
    EXPECT_EQ(qRgb(255, 0, 0), target->image().pixel(1, 1));
    target->framebuffer()->bind();
    EXPECT_EQ(callsOf(byHand).all, calls.all);
    EXPECT_LT(0, calls.all);

    EXPECT_EQ(QStringList(), _capture.takeTexts(QtWarningMsg)); // takes what is logged of plan and tokens

    ShaderProgram unlinked(nullptr);
    const auto refused = [&](ShaderProgram *used, InstanceDataCollection *data, const char *message) {
        const CallCounter counter;
        DrawScope scope(used, {&cards, data}, nullptr);
        EXPECT_FALSE(scope.isBound() || scope.draw(first.data()));
        EXPECT_MESSAGES(QString("warning ZelKit: nothing is drawn: ") + message);
    };
    refused(nullptr, &cards, "the program of the draw scope is null or not linked");
    refused(&unlinked, &cards, "the program of the draw scope is null or not linked");
    refused(program.get(), &cards,
            "the plan 'Card' has texture tokens, so the draw scope needs the texture manager");
    EXPECT_EQ(nullptr, ShaderProgram::currentShaderProgram());
    {
        DrawScope scope(program.get(), {&cards}, &manager);
        EXPECT_FALSE(scope.draw(nullptr));
        EXPECT_MESSAGES("warning ZelKit: nothing is drawn: the draw unit is null or has no vertex array");
        const auto lights = ShadowLayers::create({});
        EXPECT_TRUE(scope.use(lights.get()));
        EXPECT_FALSE(scope.use(lights.get()));
        EXPECT_MESSAGES("warning ZelKit: the draw scope has such lights already");
        EXPECT_TRUE(scope.setCollections({&cards}) && scope.draw(first.data()));
        EXPECT_FALSE(scope.setCollections({&cards, nullptr}) || scope.isBound());
        EXPECT_MESSAGES(
            "warning ZelKit: nothing is drawn: the instance data are null or have no registered plan");
    }
    EXPECT_FALSE(first->VAO()->isBound());
    manager.clear();
    helpers.deleteAll();
    InstanceDataRegistry::Instance()->clear();
}

TEST_F(KitTest, AnInstanceTableStoresTypedValuesAndRefusesOthers)
{
    using Plan = InstanceDataPlan;
    QString error;
    const auto refused = [&error](const QString &plan, const QVector<InstanceTable::Member> &members,
                                  int count) {
        return InstanceTable::create(plan, members, count, Plan::eUniformBufferMechanism, &error) == nullptr;
    };
    EXPECT_TRUE(refused("No name", {{Plan::eInt, "A"}}, 1) && refused("Item", {}, 1)
                && refused("Item", {{Plan::eInt, "A"}}, 0)
                && refused("Item", {{Plan::eInt, "A"}, {Plan::eFloat, "A"}}, 1));
    EXPECT_EQ(
        "instance table 'Item': it needs an item and a member at least, and names that are identifiers, each "
        "used once",
        error);
    EXPECT_TRUE(refused("Large", {{Plan::eMat4, "A"}}, 1 << 20));
    EXPECT_TRUE(error.startsWith("instance table 'Large': this driver holds ")) << qPrintable(error);

    auto table = InstanceTable::create("Item",
                                       {{Plan::eInt, "Int"},
                                        {Plan::eUInt, "UInt"},
                                        {Plan::eFloat, "Float"},
                                        {Plan::eVec2, "Vec2"},
                                        {Plan::eVec3, "Vec3"},
                                        {Plan::eVec4, "Vec4"},
                                        {Plan::eMat4, "Mat4"},
                                        {Plan::eTexture, "Texture"}},
                                       2);
    ASSERT_NE(nullptr, table);
    QMatrix4x4 matrix;
    matrix.translate(1, 2, 3);
    const std::pair<const char *, InstanceTable::Value> values[] = {{"Int", -1},
                                                                    {"UInt", 7u},
                                                                    {"Float", 0.5},
                                                                    {"Vec2", QVector2D(1, 2)},
                                                                    {"Vec3", QVector3D(1, 2, 3)},
                                                                    {"Vec4", QColor(255, 0, 255, 0)},
                                                                    {"Mat4", matrix},
                                                                    {"Texture", TextureToken(5)}};
    for (const auto &[name, value] : values) {
        EXPECT_TRUE(table->set(1, name, value));
        for (const auto &[other, otherValue] : values) {
            EXPECT_EQ(QByteArray(name) == other, table->set(1, name, otherValue, &error))
                << name << " " << other;
        }
    }
    EXPECT_TRUE(table->set(1, {-1, 7u, 0.5, QVector2D(1, 2), QVector3D(1, 2, 3), QColor(255, 0, 255, 0),
                               matrix, TextureToken(5)}));
    EXPECT_FALSE(table->set(1, {-1, 7u}, &error) || table->set(1, {8, 7, 6, 5, 4, 3, 2, 1}, &error));
    EXPECT_FALSE(table->set(2, "Int", 1) || table->set(0, "int", 1));
    EXPECT_EQ(QStringList({"warning ZelKit: instance table 'Item': item 2 of 2 has no member 'Int' of the "
                           "type of this value",
                           "warning ZelKit: instance table 'Item': item 0 of 2 has no member 'int' of the "
                           "type of this value"}),
              _capture.takeTexts(QtWarningMsg).filter("table"));
    float stored[16] = {};
    table->data()->get(1, "Mat4", stored);
    EXPECT_EQ(matrix, QMatrix4x4(stored).transposed()); // the constructor takes rows
    table->data()->get(1, "Vec4", stored);
    EXPECT_EQ(QVector4D(1, 0, 1, 0), QVector4D(stored[0], stored[1], stored[2], stored[3]));
    quint64 token = 0;
    table->data()->get(1, "Texture", &token);
    EXPECT_EQ(5u, token);
    EXPECT_EQ(nullptr, InstanceTable::create("Item", {{Plan::eInt, "A"}}, {{1}, {2.0}},
                                             Plan::eUniformBufferMechanism, &error));
    table = InstanceTable::create("Item", {{Plan::eInt, "A"}, {Plan::eInt, "B"}}, {{1, 2}, {3, 4}});
    qint32 number = 0;
    ASSERT_NE(nullptr, table);
    table->data()->get(1, "B", &number);
    EXPECT_EQ(4, number);
    EXPECT_EQ(QStringList(), _capture.takeTexts(QtWarningMsg));
    table.reset();
    InstanceDataRegistry::Instance()->clear();
}

/// State that would spoil what QPainter draws.
void setHostileState()
{
    for (const GLenum capability :
         {GL_CULL_FACE, GL_DEPTH_TEST, GL_SCISSOR_TEST, GL_STENCIL_TEST, GL_POLYGON_OFFSET_FILL,
          GL_PRIMITIVE_RESTART, GL_RASTERIZER_DISCARD, GL_DEPTH_CLAMP}) {
        glEnable(capability);
    }
    glDisable(GL_MULTISAMPLE);
    glPrimitiveRestartIndex(1);
    glCullFace(GL_FRONT_AND_BACK);
    glFrontFace(GL_CW);
    glDepthFunc(GL_NEVER);
    glDepthMask(GL_FALSE);
    glDepthRange(0.25, 0.5);
    glColorMask(GL_FALSE, GL_TRUE, GL_FALSE, GL_TRUE);
    glScissor(1, 2, 3, 4);
    glStencilFunc(GL_NEVER, 3, 15);
    glStencilOp(GL_INVERT, GL_ZERO, GL_REPLACE);
    glStencilMask(7);
    glBlendFuncSeparate(GL_ZERO, GL_ZERO, GL_ONE, GL_DST_COLOR);
    glPolygonMode(GL_FRONT_AND_BACK, GL_POINT);
    glPixelStorei(GL_UNPACK_ROW_LENGTH, 5);
    glPixelStorei(GL_UNPACK_SKIP_PIXELS, 2);
    glClearColor(0.5f, 0.25f, 1.0f, 0.0f);
    glViewport(3, 1, 7, 9);
}

TEST_F(KitTest, QPainterDrawsBetweenDrawsAndTheHostKeepsItsState)
{
    const QSize size(32, 32);
    const auto target = RenderTarget::create(size, GL_RGBA8, RenderTarget::eNoDepth);
    const auto program = makeProgram(kAllOver);
    const auto quad = OpenGLDeviceContext::current()->fullscreenQuad();
    const auto foreign = RenderTarget::create({1, 1}, GL_RGBA8, RenderTarget::eNoDepth);
    QImage logo(8, 8, QImage::Format_RGB32);
    logo.fill(Qt::blue);
    {
        const HostStateGuard whole; // restores what this test changes
        const AutoBinder bound(target->framebuffer());
        glViewport(0, 0, 32, 32);
        DrawScope scope(program.get());
        const AutoBinder boundTexture(foreign->color());
        scope.draw(quad.data());
        setHostileState();
        const StateGuard before;
        {
            const HostStateGuard guard;
            QOpenGLPaintDevice device(size);
            QPainter painter(&device);
            painter.fillRect(0, 0, 8, 8, Qt::green);
            painter.drawImage(8, 0, logo);
            painter.setRenderHint(QPainter::Antialiasing);
            painter.drawLine(0, 31, 31, 31);
        }
        EXPECT_EQ(QStringList(), before.changes());
    }
    const QImage image = target->image();
    EXPECT_EQ(qRgb(0, 255, 0), image.pixel(4, 4));
    EXPECT_EQ(qRgb(0, 0, 255), image.pixel(12, 4));
    EXPECT_EQ(qRgb(255, 255, 255), image.pixel(20, 4));
}

TEST_F(KitTest, PassesNeitherDependOnTheStateOfTheHostNorChangeIt)
{
    const QSize size(16, 16);
    const auto target = RenderTarget::create(size, GL_SRGB8_ALPHA8);
    const auto chain = PostChain::create({1, PostChain::eSmaa, false});
    const auto occlusion = AmbientOcclusion::create();
    const auto overlay = Overlay::create();
    ASSERT_TRUE(target && overlay && chain->resize(size) && occlusion->resize(size));
    const HostStateGuard whole;                                // restores what this test changes
    const QRegularExpression noUnit("^(?!GL_ACTIVE_TEXTURE)"); // which binds of textures leave
    QImage pictures[2];
    for (const bool isHostile : {false, true}) {
        glBindFramebuffer(GL_FRAMEBUFFER, target->framebuffer()->getFBO());
        glViewport(0, 0, 16, 16);
        glClear(GL_COLOR_BUFFER_BIT);
        glClearColor(0.5f, 0.25f, 1.0f, 0.0f);
        glScissor(3, 4, 2, 1);
        glCullFace(GL_FRONT_AND_BACK);
        glStencilFunc(GL_NEVER, 3, 15);
        glDepthMask(GL_FALSE);
        for (const GLenum name :
             {GL_BLEND, GL_CULL_FACE, GL_DEPTH_TEST, GL_FRAMEBUFFER_SRGB, GL_SCISSOR_TEST, GL_STENCIL_TEST}) {
            isHostile ? glEnable(name) : glDisable(name);
        }
        glPolygonMode(GL_FRONT_AND_BACK, isHostile ? GL_LINE : GL_FILL);
        const StateGuard before;
        EXPECT_TRUE(occlusion->beginGeometry());
        {
            const AutoDisabler noScissor(GL_SCISSOR_TEST);
            const float wall[] = {0, 0, 1, 3};
            glClearBufferfv(GL_COLOR, 0, wall);
        }
        EXPECT_TRUE(occlusion->endGeometry({}, isHostile ? 0.0f : 1.0f));
        EXPECT_EQ(QStringList("GL_DEPTH_WRITEMASK 0 -> 1"), before.changes().filter(noUnit));
        EXPECT_LT(0.99f, Pixels::ofTexture(GL_TEXTURE_2D, occlusion->texture()->textureID()).at(9, 9).x());
        EXPECT_TRUE(chain->begin());
        {
            const AutoDisabler noScissor(GL_SCISSOR_TEST);
            const float grey[] = {0.2f, 0.2f, 0.2f, 1.0f};
            glClearBufferfv(GL_COLOR, 0, grey);
        }
        EXPECT_TRUE(chain->end());
        EXPECT_EQ(QStringList("GL_DEPTH_WRITEMASK 0 -> 1"), before.changes().filter(noUnit));
        overlay->draw({"a"}, size);
        pictures[int(isHostile)] = target->image();
    }
    EXPECT_EQ(pictures[0], pictures[1]);
    EXPECT_NEAR(124, qRed(pictures[1].pixel(1, 1)), 1); // sRGB
    PostChain::setUp(nullptr);
    EXPECT_MESSAGES("warning ZelKit: post chain: setUp() needs a text processor");
}

TEST_F(KitTest, ACounterKnowsAllBindingsThatACallSets)
{
    const auto target = RenderTarget::create({1, 1}, GL_RGBA8, RenderTarget::eNoDepth);
    const GLuint framebuffer = target->framebuffer()->getFBO();
    const auto buffer = OpenGLDeviceContext::current()->newBuffer();
    const CallCounter counter;
    glBindFramebuffer(GL_DRAW_FRAMEBUFFER, framebuffer);
    glBindFramebuffer(GL_FRAMEBUFFER, framebuffer); // the other binding was unknown
    glBindFramebuffer(GL_READ_FRAMEBUFFER, framebuffer);
    EXPECT_EQ(1, counter.counts().redundant);
    glBindFramebuffer(GL_READ_FRAMEBUFFER, 0);
    glBindFramebuffer(GL_FRAMEBUFFER, framebuffer);
    glBindFramebuffer(GL_FRAMEBUFFER, 0);
    glBindBuffer(GL_UNIFORM_BUFFER, 0);
    glBindBufferBase(GL_UNIFORM_BUFFER, 0, buffer->getBO());
    glBindBuffer(GL_UNIFORM_BUFFER, 0);
    glBindBufferBase(GL_UNIFORM_BUFFER, 0, 0);
    EXPECT_EQ(1, counter.counts().redundant);
    EXPECT_EQ(10, counter.counts().stateChanges);
}

TEST_F(KitTest, AnEnvironmentIsReadWithAnyAlignmentAndReduced)
{
    Texture sky(GL_TEXTURE_2D, GL_RGB32F, 9, 4, 1, nullptr);
    std::vector<QVector3D> texels(36);
    for (size_t i = 0; i < texels.size(); ++i) {
        texels[i] = QVector3D(float(i), 1, 2);
    }
    sky.bind();
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGB32F, 9, 4, 0, GL_RGB, GL_FLOAT, texels.data());
    sky.unbind();
    glPixelStorei(GL_PACK_ALIGNMENT, 8); // no row has a multiple of 8 bytes
    auto environment = EnvironmentImage::fromTexture(sky, false, EnvironmentImage::eLatLong);
    glPixelStorei(GL_PACK_ALIGNMENT, 4);
    ASSERT_TRUE(environment.has_value());
    EXPECT_EQ(texels, environment->image.texels);
    environment->at(0, 0).setX(NAN); // no longer prepared
    EXPECT_FALSE(environment->takeStrongestLight().has_value());
    const QTemporaryDir folder;
    const QString path = folder.filePath("sky.png");
    QImage picture(16, 8, QImage::Format_RGB32);
    picture.fill(qRgb(9, 120, 250));
    picture.setPixel(3, 1, qRgb(255, 0, 128)); // near the top left
    ASSERT_TRUE(picture.save(path));
    const auto loaded = EnvironmentImage::load(path);
    EXPECT_EQ(picture, loaded.value().picture());
    EXPECT_EQ(qRgb(188, 0, 92), loaded->picture(-1).pixel(3, 1));
    EXPECT_EQ(QStringList(), _capture.takeTexts(QtWarningMsg));
    QString error;
    EXPECT_FALSE(EnvironmentImage::load(folder.path(), {}, &error).has_value());
    EXPECT_EQ("'" + folder.path() + "' is no environment image that can be loaded", error);
    EXPECT_FALSE(_capture.takeTexts(QtWarningMsg).isEmpty()); // the library's reason
    environment = EnvironmentImage::prepared({{1030, 515}, std::vector<QVector3D>(1030 * 515)});
    EXPECT_EQ(QSize(515, 257), environment.value().image.size); // its faces would have an odd size
}

TEST_F(KitTest, APickerFindsNumbersThatTheStencilCannotHold)
{
    const auto program = makeProgram(kAllOver);
    const auto quad = OpenGLDeviceContext::current()->fullscreenQuad();
    Picker picker;
    const auto draw = [&](const QList<int> &numbers) {
        glEnable(GL_STENCIL_TEST);
        glStencilOp(GL_KEEP, GL_KEEP, GL_REPLACE);
        DrawScope scope(program.get());
        for (const int number : numbers) {
            glStencilFunc(GL_ALWAYS, qMin(number, 254) + 1, 255);
            scope.draw(quad.data()); // the first one hides the others
        }
        glDisable(GL_STENCIL_TEST);
    };
    const HostStateGuard whole;
    for (const QList<int> &numbers :
         {QList<int>{400, 300, 7}, {300, 400, 500}, {253, 300}, {254, 300}, {INT_MAX, 254}}) {
        glEnable(GL_SCISSOR_TEST);
        glScissor(1, 1, 1, 1);
        glDepthFunc(GL_GREATER);
        glClearDepth(0.0);
        glClearStencil(9);
        const auto hit = picker.find(QMatrix4x4(), numbers, draw);
        ASSERT_TRUE(hit);
        EXPECT_EQ(numbers.first(), hit->number);
        EXPECT_EQ(-1.0f, hit->position.z());
    }
    EXPECT_FALSE(picker.find(QMatrix4x4(), {}, draw));
    EXPECT_FALSE(picker.find(QMatrix4x4(), {1}, {}));
    EXPECT_MESSAGES(
        "warning ZelKit: the picker needs a function that draws, and a context when it is created");
}

TEST_F(KitTest, AnOverlayPaintsItsTextOnce)
{
    const auto target = RenderTarget::create({80, 60}, GL_RGBA8);
    const auto overlay = Overlay::create();
    ASSERT_NE(nullptr, overlay);
    const auto draw = [&](const QString &text) {
        const AutoBinder bound(target->framebuffer());
        glClearColor(1, 1, 1, 1);
        glClear(GL_COLOR_BUFFER_BIT);
        glClearColor(0, 0, 0, 0);
        const Tap<&glTexSubImage2D> uploads;
        overlay->draw({text}, target->size());
        return int(uploads.count());
    };
    EXPECT_EQ(1, draw("a"));
    const QImage image = target->image();
    EXPECT_EQ(qRgb(255, 255, 255), image.pixel(9, 9));
    EXPECT_GT(100, qRed(image.pixel(10, 10)));
    EXPECT_EQ(0, draw("a"));
    EXPECT_EQ(image, target->image());
    EXPECT_EQ(1, draw("b"));
    GLint most = 0;
    glGetIntegerv(GL_MAX_TEXTURE_SIZE, &most);
    EXPECT_EQ(1, draw(QString(most, '\n'))); // more lines than texels
    overlay->draw({"a"}, {0, 60});
    EXPECT_MESSAGES("warning ZelKit: an overlay needs a viewport and a scale greater than 0");
}

TEST_F(KitTest, WithoutAContextOrInAWrongOrderNothingIsMeasuredOrPicked)
{
    {
        FrameMeter meter;
        const CallCounter counter;
        EXPECT_EQ(0, CallCounter().counts().all);
        EXPECT_MESSAGES(
            "warning ZelKit: another call counter exists, so this one counts nothing; delete the first one");
        meter.end();
        EXPECT_MESSAGES("warning ZelKit: FrameMeter::end() needs a begin() before it");
    }
    {
        const HostStateGuard guard;
        context()->doneCurrent();
    }
    EXPECT_MESSAGES(
        "warning ZelKit: host state guard: another context is current, or none; make the one current "
        "in which the object was created, or create it again");
    {
        FrameMeter meter;
        meter.begin();
        meter.end();
        Picker picker;
        const HostStateGuard guard;
        EXPECT_EQ(nullptr, Overlay::create());
        const char message[] = "warning ZelKit: no OpenGL context is current, or initializeGLFunctions() has "
                               "not been called";
        EXPECT_MESSAGES(message, message, message, message);
        EXPECT_EQ(0, meter.frames());
    }
    makeCurrent();
}

TEST_F(KitTest, ALostContextIsReported)
{
    const auto target = RenderTarget::create({2, 2}, GL_RGBA8);
    Hook<&glGetString> strings;
    strings.replace([](GLenum) { return nullptr; });
    Hook<&glGetError> errors;
    errors.replace([] { return GLenum(0x0507); }); // GL_CONTEXT_LOST, for ever
    QString error;
    EXPECT_TRUE(target->image(&error).isNull());
    EXPECT_TRUE(error.startsWith("the OpenGL context is lost")) << qPrintable(error);
}

/// Each class is used with another context, without one, and after the end of its own, and then deleted.
TEST_F(KitMessagesTest, ObjectsRefuseOtherContextsAndSurviveTheEndOfTheirs)
{
    using Use = std::function<bool()>; // false if it is refused
    const struct
    {
        const char *name;
        std::function<Use()> make;
    } rows[] = {
        {"render target",
         [] {
             std::shared_ptr<RenderTarget> target = RenderTarget::create({2, 2}, GL_RGBA8);
             return [target] { return !target->image().isNull(); };
         }},
        {"overlay",
         [] {
             std::shared_ptr<Overlay> overlay = Overlay::create();
             overlay->draw({"a"}, {64, 64});
             return [overlay] {
                 overlay->setIndent(2);
                 return overlay->draw({"a"}, {64, 64}), false;
             };
         }},
        {"picker",
         [] {
             const auto picker = std::make_shared<Picker>();
             return [picker] {
                 return picker->find({}, {0}, [](const QList<int> &) { glClearStencil(0); }), false;
             };
         }},
        {"frame meter",
         [] {
             const auto meter = std::make_shared<FrameMeter>();
             return [meter] { return meter->begin(), false; };
         }},
        {"post chain",
         [] {
             std::shared_ptr<PostChain> chain = PostChain::create({});
             chain->resize({2, 2});
             return [chain] { return chain->begin() || chain->resize({4, 4}); };
         }},
        {"ambient occlusion",
         [] {
             std::shared_ptr<AmbientOcclusion> occlusion = AmbientOcclusion::create();
             occlusion->resize({2, 2});
             return [occlusion] { return occlusion->beginGeometry() || occlusion->resize({4, 4}); };
         }},
        {"packed scene",
         [this] {
             auto *plan = new InstanceDataPlan("Thing");
             plan->addMember(InstanceDataPlan::eMat4, "ModelMatrix");
             InstanceDataRegistry::Instance()->registerPlan(plan);
             const std::shared_ptr<PackedScene> scene =
                 PackedScene::create({{{"va_Vertex", 3, GL_FLOAT, false, 0}}, 12}, plan);
             const float vertices[9] = {};
             const quint32 indices[] = {0, 1, 2};
             const int mesh = scene->addMesh(vertices, 3, indices, 3);
             scene->add(mesh, scene->addMaterial(nullptr), {});
             const int unused = scene->addMaterial(nullptr);
             _capture.takeTexts(); // about the plan
             return [=] {
                 scene->selectAll({}, scene->addView());
                 return scene->addMesh(vertices, 3, indices, 3) >= 0 || scene->removeMaterial(unused)
                        || scene->compact() || scene->draw(nullptr, nullptr);
             };
         }},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        const auto other = HeadlessContext::create();
        auto own = HeadlessContext::create();
        Use use = row.make();
        EXPECT_EQ(QStringList(), _capture.takeTexts());
        const QString refusal = QString("warning ZelKit: %1: another context is current").arg(row.name);
        const auto expectRefusal = [&](const QString &start) {
            EXPECT_FALSE(use());
            EXPECT_EQ(start, _capture.takeTexts().value(0).left(start.size()));
        };
        other->makeCurrent();
        const Taps<&glBindFramebuffer, &glBindBuffer, &glDeleteTextures> binds;
        expectRefusal(refusal);
        EXPECT_EQ(0u, binds.count());
        other->doneCurrent();
        expectRefusal("warning ZelKit: ");
        own.reset();
        expectRefusal("warning ZelKit: ");
        other->makeCurrent();
        expectRefusal(refusal);
        const Taps<&glDeleteFramebuffers, &glDeleteBuffers, &glDeleteTextures> deletions;
        use = {}; // the last one
        EXPECT_EQ(0u, deletions.count());
        EXPECT_EQ(QStringList(), _capture.takeTexts().filter(QRegularExpression("^(?!" + refusal + ")")));
    }
}

TEST_F(KitMessagesTest, AnOrbitCameraFramesABoxTightlyAndRefusesWhatIsNotFinite)
{
    Bounds box;
    OrbitCamera camera;
    std::mt19937 random(1);
    std::uniform_real_distribution<float> unit(-1.0f, 1.0f);
    for (int i = 0; i < 210; ++i) { // every seventh box is a point, which has no extent
        const float size = i % 7 == 6 ? 0.0f : std::pow(10.0f, float(i % 7) - 3.0f);
        const QVector3D low(3, -2, 5);
        box = Bounds(low, low + size * QVector3D(2, 1 + unit(random), 8));
        camera = OrbitCamera(180 * unit(random), 89 * unit(random));
        camera.frame(box, 1.5f);
        for (const float aspect : {1.5f, 0.4f}) {
            camera.refit(box, aspect);
            float reach = 0.0f;
            for (const QVector3D &corner : box.corners()) {
                const QVector3D place = camera.viewProjection(aspect).map(corner);
                reach = std::max({reach, std::abs(place.x()), std::abs(place.y())});
                EXPECT_GE(1.0f, std::abs(place.z()));
            }
            EXPECT_NEAR(size > 0.0f ? 0.9f : 0.0f, reach, 0.01f) << i;
        }
        camera.pan({0.25f, 0.1f});
        const QVector3D target = camera.target();
        camera.refit(box, 1.0f); // respects what the user has moved
        EXPECT_EQ(target, camera.target());
        camera.orbit({0.3f, 5.0f}); // beyond the pole, where the camera stops
        EXPECT_LT(camera.elevation(), 90.0f);
    }
    const QMatrix4x4 before = camera.viewProjection(1.5f);
    camera.frame(Bounds(QVector<QVector3D>()), 1.5f);
    camera.frame(box, 0.0f);
    camera.zoom(NAN);
    const char refusal[] =
        "warning ZelKit: the camera cannot frame a scene that is empty or not finite, or an "
        "aspect that is not positive";
    EXPECT_MESSAGES(refusal, refusal, "warning ZelKit: the camera ignores a movement that is not finite");
    EXPECT_EQ(before, camera.viewProjection(1.5f));
}

TEST_F(KitMessagesTest, AnOrbitCameraFollowsTheMouse)
{
    OrbitCamera camera(0, 0);
    camera.refit(Bounds({-1, -1, -1}, {1, 1, 1}), 1);
    const auto handle = [&camera](QEvent::Type type, const QPointF &at, Qt::MouseButton button) {
        const QMouseEvent event(type, at, button, button, Qt::NoModifier);
        return camera.handle(&event, {200, 100});
    };
    EXPECT_FALSE(handle(QEvent::MouseMove, {9, 9}, Qt::LeftButton)); // no press has come before
    EXPECT_FALSE(handle(QEvent::MouseButtonPress, {10, 10}, Qt::LeftButton));
    EXPECT_TRUE(handle(QEvent::MouseMove, {20, 15}, Qt::LeftButton));
    EXPECT_FLOAT_EQ(-20, camera.azimuth());
    EXPECT_FLOAT_EQ(10, camera.elevation());
    EXPECT_FALSE(handle(QEvent::MouseMove, {50, 50}, Qt::NoButton));
    handle(QEvent::MouseButtonPress, {50, 50}, Qt::RightButton);
    const QVector3D target = camera.target();
    EXPECT_TRUE(handle(QEvent::MouseMove, {50, 60}, Qt::RightButton));
    EXPECT_LT(target.y(), camera.target().y());
    EXPECT_FLOAT_EQ(-20, camera.azimuth());
    const auto roll = [&camera](const QPoint &angles) {
        const QWheelEvent wheel({}, {}, {}, angles, Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
        return camera.handle(&wheel, {200, 100});
    };
    const auto distance = [&camera] { return (camera.eye() - camera.target()).length(); };
    camera.frame(Bounds({-1, -1, -1}, {1, 1, 1}), 1);
    EXPECT_FALSE(roll({240, 0}));
    const float before = distance();
    camera.refit(Bounds({-1, -1, -1}, {1, 1, 1}), 0.5f); // a horizontal wheel does not end the fit
    const float framed = distance();
    EXPECT_LT(before, framed);
    EXPECT_TRUE(roll({0, 240}));
    EXPECT_FLOAT_EQ(0.81f * framed, distance());
    EXPECT_FALSE(camera.handle(nullptr, {200, 100}));
}

TEST_F(KitMessagesTest, ALogPrintsLevelsInColoursAndACollectorTakesThem)
{
    testing::internal::CaptureStderr();
    QStringList collected;
    {
        MessageLog::Options options;
        options.prefix = "kit: ";
        options.colors = MessageLog::eAlways;
        MessageLog log(options);
        qInfo("hidden");
        qWarning("yellow");
        {
            const MessageCollector collector;
            qCritical("[File.cpp:12] taken");
            qDebug("passed on, and hidden");
            collected = collector.messages();
        }
        log.setLevel(QtInfoMsg);
        qInfo("plain");
        EXPECT_EQ(1, log.count(QtWarningMsg));
        EXPECT_EQ(3, log.count(QtInfoMsg));
    }
    EXPECT_EQ("\033[33mkit: yellow\033[0m\nkit: plain\n", testing::internal::GetCapturedStderr());
    EXPECT_EQ(QStringList("taken"), collected);
}
