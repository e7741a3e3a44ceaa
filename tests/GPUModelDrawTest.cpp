#include "support/AllocationCount.h"
#include "support/HelperTextures.h"
#include "support/Pixels.h"
#include "support/SceneFixture.h"
#include "support/Tap.h"

#include <ZelGL/AutoBinder.h>
#include <ZelGL/GLContextTracker.h>
#include <ZelGL/SamplerTextureManager.h>
#include <ZelGL/UniformBufferObject.h>

#include <QtCore/QPointer>
#include <QtCore/QRegularExpression>
#include <QtGui/QOpenGLFramebufferObject>
#include <QtGui/QOpenGLFunctions_3_2_Core>

#include <tuple>

using namespace Orvane::Zel;

namespace {

/// Returns the name of an entry point, from the name of its slot.
template <auto Slot> QString nameOf()
{
    const QRegularExpression slot("_ptrc_(gl\\w+)");
    return slot.match(__PRETTY_FUNCTION__).captured(1);
}

/// Returns a call as the log below writes it.
template <typename... Values> QString call(const QString &name, Values... values)
{
    QStringList words(name);
    const auto word = [](auto value) {
        if constexpr (std::is_pointer_v<decltype(value)>) {
            return QStringLiteral("*");
        } else {
            return QString::number(static_cast<qlonglong>(value));
        }
    };
    (words.append(word(values)), ...);
    return words.join(' ');
}

/// Records the calls of several entry points in order.
template <auto... Slots> class CallLog
{
public:
    CallLog() { (watch<Slots>(), ...); }

    QStringList take() { return std::exchange(_calls, {}); }

private:
    template <auto Slot> void watch()
    {
        auto &hook = std::get<Hook<Slot>>(_hooks);
        hook.replace([this, &hook](auto... arguments) {
            _calls.append(call(nameOf<Slot>(), arguments...));
            return hook.original(arguments...);
        });
    }

    QStringList _calls;
    std::tuple<Hook<Slots>...> _hooks;
};

const char *const kVertexStage = R"(#version 150
#include "ZelUtilities.glslh"
#instancedata "SceneObject"
#instancedata "ScenePaint"
in vec2 va_Vertex;
flat out vec4 paint;
void main()
{
    gl_Position = getModelMatrix() * vec4(va_Vertex, 0.0, 1.0);
    paint = getColor(0u) + vec4(gl_Position.z);
}
)";

const char *const kFragmentStage = R"(#version 150
#include "TextureManager.glslh"
flat in vec4 paint;
out vec4 color;
void main() { color = paint + managedTexture(uvec2(0u), vec2(0.0)); }
)";

/// A manager of a host: runs the code of a test for each batch of tokens.
class HostManager : public SamplerTextureManager
{
public:
    using SamplerTextureManager::bind;

    void bind(const QList<TextureToken> &) override { visit(); }

    std::function<void()> visit;
};

class GPUModelDrawTest : public SceneTest
{
protected:
    GPUModelDrawTest()
    {
        auto *plan = new InstanceDataPlan("ScenePaint");
        plan->addMember(InstanceDataPlan::eVec4, "Color");
        plan->setArraySize(1);
        InstanceDataRegistry::Instance()->registerPlan(plan);
        _textures.setMaxSlots(2);
        _textures.setup(&_processor);
        DrawBuffers::setup(&_processor);
        _program.setMacroProcessor(&_processor);
        _program.addShader(GL_VERTEX_SHADER, kVertexStage, QString());
        for (const char *name : {"SceneObject", "ScenePaint"}) {
            _program.addShader(GL_VERTEX_SHADER, InstanceDataRegistry::Instance()->getPlan(name)->glslc(),
                               QString());
        }
        for (const char *file : {"ZelUtilities.glslc", "ZelUtilities.vert"}) {
            _program.addShaderFromFile(GL_VERTEX_SHADER, file);
        }
        _program.addShader(GL_FRAGMENT_SHADER, kFragmentStage, QString());
        _program.addShaderFromFile(GL_FRAGMENT_SHADER, _textures.getShaderFile());
        EXPECT_TRUE(_program.link()) << _program.log().toStdString();
        _capture.take(); // the messages on the limit and the white texture
        _program.bind();
    }

    ~GPUModelDrawTest() override
    {
        _program.unbind();
        _model.clear();
        _textures.clear();
        _capture.take(); // the message on the white texture
        _helpers.deleteAll();
        glFrontFace(GL_CCW);
        glDisable(GL_PRIMITIVE_RESTART);
    }

    InstanceDataCollection *paint()
    {
        return new InstanceDataCollection(InstanceDataRegistry::Instance()->getPlan("ScenePaint"), 1ul);
    }

    bool draw(WindingType winding = eWindingCCW, const QList<int> &materials = {}, bool stencil = false)
    {
        return _model.draw(&_program, &_textures, 0, kAll, winding, nullptr, {}, materials, stencil);
    }

    HelperTextures _helpers;
    GLSLMacroProcessor _processor;
    SamplerTextureManager _textures;
    ShaderProgram _program{nullptr};
};

GLuint bufferOf(InstanceDataCollection *data)
{
    return data->getUniformBufferObject(GL_UNIFORM_BUFFER)->bufferObject()->getBO();
}

} // namespace

TEST_F(GPUModelDrawTest, AWalkMakesTheCallsOfWhatDiffersAndLeavesNothingBound)
{
    // Two drawables that share all their data, and one of another material with object data of its own.
    InstanceDataCollection *first = paint();
    InstanceDataCollection *second = paint();
    const int a = addSquares({placed(-1, -1)}, 0, 0, first);
    const int b = _model.add(squares(1), 0, first, _model.objectData(a), 0);
    _model.useTransform(b, 0, 0);
    const int c = addSquares({placed(0, 0)}, 0, 1, second);
    _model.updateTransforms();
    ASSERT_TRUE(draw(eWindingCCW, {0, 1}, true)); // the first draw uploads and specifies the vertex arrays

    CallLog<&glActiveTexture, &glBindBuffer, &glBindBufferBase, &glBindTexture, &glBindVertexArray,
            &glBufferData, &glBufferSubData, &glDisable, &glDisableVertexAttribArray,
            &glDrawElementsBaseVertex, &glEnable, &glEnableVertexAttribArray, &glFrontFace, &glGetIntegerv,
            &glGetUniformLocation, &glIsEnabled, &glPrimitiveRestartIndex, &glStencilFunc, &glStencilMask,
            &glStencilOp, &glTexImage2D, &glTexParameteri, &glUniform1i, &glUniform1iv, &glUniform1ui,
            &glUniformBlockBinding, &glUseProgram, &glVertexAttribPointer>
        log;
    ASSERT_TRUE(draw(eWindingCCW, {0, 1}, true));
    const QStringList calls = log.take();

    const auto point = [this](const char *block) {
        return _program.getUniformBlockBinding(_program.getUniformBlockIndex(block));
    };
    const auto bindBlock = [](unsigned int at, GLuint buffer) {
        return call("glBindBufferBase", GL_UNIFORM_BUFFER, at, buffer);
    };
    const unsigned int paintPoint = point("u_ScenePaintUniform");
    const unsigned int objectPoint = point("u_SceneObjectUniform");
    // The names of the manager's two private textures are known from the first two binds only.
    const QStringList names = calls.filter("glBindTexture");
    ASSERT_LE(2, names.size());
    const int last = integerOf(GL_MAX_TEXTURE_IMAGE_UNITS) - 1;
    const QStringList handOver{
        call("glActiveTexture", GL_TEXTURE0 + last),
        names.at(0),
        call("glUniform1i", _program.getUniformLocation("u_TextureTokenManagedTextureSlotMap"), last),
        call("glActiveTexture", GL_TEXTURE0 + last - 1),
        names.at(1),
        QStringLiteral("glUniform1iv %1 2 *").arg(_program.getUniformLocation("u_ManagedTextureSlots[0]"))};
    const QStringList takeBack{
        call("glActiveTexture", GL_TEXTURE0 + last - 1), call("glBindTexture", GL_TEXTURE_2D, 0),
        call("glActiveTexture", GL_TEXTURE0 + last), call("glBindTexture", GL_TEXTURE_2D, 0)};
    const auto drawn = [this](int drawable) {
        const DrawBuffers *unit = _model.drawBuffers(drawable);
        return QStringList{
            call("glBindVertexArray", unit->VAO()->getVAO()),
            call("glBindBuffer", GL_ELEMENT_ARRAY_BUFFER, unit->indexBO()->getBO()),
            call("glUniform1ui", _program.getUniformLocationNameID(), 0),
            QStringLiteral("glDrawElementsBaseVertex %1 6 %2 * 0").arg(GL_TRIANGLES).arg(GL_UNSIGNED_SHORT)};
    };
    QStringList expected{call("glIsEnabled", GL_STENCIL_TEST),
                         call("glEnable", GL_STENCIL_TEST),
                         call("glStencilOp", GL_KEEP, GL_KEEP, GL_REPLACE),
                         call("glStencilMask", 255),
                         call("glEnable", GL_CULL_FACE),
                         call("glFrontFace", GL_CCW),
                         call("glStencilFunc", GL_ALWAYS, 1, 255),
                         bindBlock(paintPoint, bufferOf(first)),
                         bindBlock(objectPoint, bufferOf(_model.objectData(a)))};
    expected << handOver << drawn(a) << drawn(b);
    expected << call("glStencilFunc", GL_ALWAYS, 2, 255) << bindBlock(paintPoint, 0)
             << bindBlock(paintPoint, bufferOf(second)) << bindBlock(objectPoint, 0)
             << bindBlock(objectPoint, bufferOf(_model.objectData(c)));
    expected << takeBack << handOver << drawn(c);
    expected << takeBack << bindBlock(paintPoint, 0) << bindBlock(objectPoint, 0)
             << call("glDisable", GL_STENCIL_TEST) << call("glBindBuffer", GL_ELEMENT_ARRAY_BUFFER, 0)
             << call("glBindVertexArray", 0) << call("glDisable", GL_CULL_FACE);
    EXPECT_EQ(expected.join('\n').toStdString(), calls.join('\n').toStdString());
}

TEST_F(GPUModelDrawTest, WindingFollowsTheDrawableAndCommandsTheirHandednessAndDistance)
{
    const auto at = [](float z, QMatrix4x4 matrix) {
        matrix(2, 3) = z;
        return matrix;
    };
    // Mirrored squares on the left and plain ones on the right; below them a two-sided square, a culled one and a plain one.
    const QMatrix4x4 left = placed(0, 0, -1);
    const QMatrix4x4 right = placed(0, 0);
    const QMatrix4x4 below = placed(0, -1);
    InstanceDataCollection *material = paint();
    const int mixed =
        addSquares({at(-0.1f, right), at(-0.2f, left), at(-0.3f, left), at(-0.4f, right)}, 0, 0, material);
    for (const unsigned long long flags : {GPUModel::kFlagTwoSided, GPUModel::kFlagHidden, 0ull}) {
        addSquares({below}, flags, 0, material);
    }
    const GPUModel::BoundingBox box{0, 0, 0, 1, 1, 0};
    _model.loadBoundingBoxes(&box, 1);
    for (const int command : {0, 1, 3}) { // the one without a box counts as the farthest
        _model.useBoundingBox(mixed, command, 0);
    }
    _model.updateTransforms();
    EXPECT_EQ(1, _model.visibilityCull());
    EXPECT_TRUE(_model.isDrawEmpty(GPUModel::kFlagHidden, GPUModel::kFlagHidden));

    QOpenGLFramebufferObject target(2, 2, QOpenGLFramebufferObject::NoAttachment, GL_TEXTURE_2D, GL_RGBA32F);
    ASSERT_TRUE(target.bind());
    glViewport(0, 0, 2, 2);
    CallLog<&glEnable, &glDisable, &glFrontFace, &glUniform1ui> log;
    const QString on = call("glEnable", GL_CULL_FACE);
    const QString off = call("glDisable", GL_CULL_FACE);
    const QString ccw = call("glFrontFace", GL_CCW);
    const QString cw = call("glFrontFace", GL_CW);
    const auto id = [this](int number) {
        return call("glUniform1ui", _program.getUniformLocationNameID(), number);
    };
    const unsigned long long sorts = GPUModel::kFlagSortByDistance;
    QMatrix4x4 view; // the sign of the eye is turned: it is at z = -10, so the last command is the nearest
    view.translate(0, 0, -10);
    const struct
    {
        GPUModel::WindingType winding;
        unsigned long long value;
        float onTheRight; ///< depth of the last square drawn there; the left one is the same in all rows
        QStringList calls;
    } kRows[] = {
        {GPUModel::eWindingCW,
         0,
         -0.4f,
         {on, cw, id(1), id(2), ccw, id(0), id(3), cw, off, id(0), on, cw, ccw, id(0), cw, off}},
        {eWindingOff, 0, -0.4f, {off, id(0), id(1), id(2), id(3), id(0), id(0), off}},
        {eWindingCCW,
         sorts,
         -0.1f,
         {on, ccw, id(3), id(0), cw, id(1), id(2), ccw, off, id(0), on, ccw, id(0), off}},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.winding);
        log.take();
        EXPECT_TRUE(
            _model.draw(&_program, nullptr, row.value, GPUModel::kFlagHidden, row.winding, &view, false));
        const QString restart = call("glEnable", GL_PRIMITIVE_RESTART); // once per process
        EXPECT_EQ(row.calls, log.take().replaceInStrings(restart, QString()).filter(QStringLiteral("gl")));
        const Pixels picture = Pixels::ofFramebuffer(0, 0, 2, 2);
        const auto colorOf = [](float z) { return QVector4D(z, z, z, 1 + z); };
        EXPECT_TRUE(picture.isNear(0, 1, colorOf(-0.3f), 1e-6f));
        EXPECT_TRUE(picture.isNear(1, 1, colorOf(row.onTheRight), 1e-6f));
        EXPECT_TRUE(picture.isNear(1, 0, colorOf(0), 1e-6f));
    }
    target.release();
}

TEST_F(GPUModelDrawTest, EachFormOfADrawTakesItsDrawables)
{
    // Each drawable has a different number of commands, so the count identifies what is drawn.
    addSquares(QVector<QMatrix4x4>(1), 1, 0);
    addSquares(QVector<QMatrix4x4>(2), 2, 1);
    addSquares(QVector<QMatrix4x4>(4), 3, 1);
    _model.updateTransforms();
    Tap<&glDrawElementsBaseVertex> draws;
    const auto drawn = [&](bool result) {
        EXPECT_TRUE(result);
        const size_t count = draws.count();
        draws.clear();
        return count;
    };
    EXPECT_EQ(7u, drawn(_model.draw(&_program, &_textures, 0, 0)));
    EXPECT_EQ(6u, drawn(_model.draw(&_program, &_textures, 2, 2, eWindingOff, false)));
    EXPECT_EQ(2u, drawn(_model.draw(&_program, &_textures, 2, 3, eWindingOff, nullptr, false)));
    EXPECT_EQ(1u, drawn(_model.drawExclude(&_program, &_textures, 0, 0, eWindingOff, nullptr, {1})));
    EXPECT_EQ(4u, drawn(_model.drawMaterials(&_program, &_textures, 1, 1, eWindingOff, nullptr, {1})));
    EXPECT_EQ(5u, drawn(_model.drawSimple(&_program, &_textures, 1, 1)));
    _model.setFeatureFlags(16); // kFeatureSimple without kFeatureFilterSimple
    EXPECT_EQ(7u, drawn(_model.draw(&_program, &_textures, 1, 1)));
    _model.setFeatureFlags(15);

    { // draw buffers that cannot be bound are drawn from those before
        const AutoBinder elsewhere(_model.drawBuffers(0)->VAO());
        EXPECT_EQ(7u, drawn(_model.draw(&_program, nullptr, 0, 0, eWindingOff, nullptr, {}, {1, 0}, false)));
        EXPECT_MESSAGES(startsWith("critical [VertexArrayObject.cpp:#]"));
    }

    // A hidden drawable stays hidden when sorting moves it.
    addSquares(QVector<QMatrix4x4>(1), 0, 0);
    _model.setVisibility(7, 2);
    for (int times = 0; times < 2; ++times) {
        EXPECT_EQ(7u, drawn(_model.draw(&_program, &_textures, 0, 0)));
        _model.sortDrawablesByFlags();
    }
}

TEST_F(GPUModelDrawTest, WhatHostCodeDoesToTheModelDuringADrawCountsFromTheNextOn)
{
    const std::pair<size_t, std::function<void()>> kRows[] = {
        {102, [&] { addSquares(QVector<QMatrix4x4>(100), 0, 1); }},
        {1, [&] { _model.set(1, nullptr, nullptr, nullptr, 0, 0); }},
        {0, [&] { _model.clear(); }},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.first);
        addSquares({placed(-1, -1)});
        const QPointer<DrawBuffers> last = _model.drawBuffers(addSquares({placed(0, -1)}));
        HostManager manager;
        int visits = 0;
        manager.visit = [&] { visits++ == 0 ? row.second() : void(); };
        for (const size_t drawn : {size_t(2), row.first}) {
            _model.updateTransforms();
            Tap<&glDrawElementsBaseVertex> draws;
            EXPECT_TRUE(_model.draw(&_program, &manager, 0, kAll, eWindingOff, nullptr, {}, {0, 1}, false));
            EXPECT_EQ(drawn, draws.count());
        }
        EXPECT_EQ(row.first < 2, last.isNull()); // deleted once it is removed
        _model.clear();
        manager.clear();
        _capture.take(); // the message on the white texture
    }
}

TEST_F(GPUModelDrawTest, ASteadyFrameTakesNoMemoryForADrawable)
{
    // The allocations of the driver do not count.
    Hook<&glDrawElementsBaseVertex> draws;
    draws.replace([](auto...) {});
    InstanceDataCollection *material = paint();
    const QMatrix4x4 camera;
    const GPUModel::BoundingBox box{-1, -1, -1, 1, 1, 1};
    _model.loadBoundingBoxes(&box, 1);
    const auto takenByAFrame = [&] {
        size_t taken = 0;
        for (int frame = 0; frame < 3; ++frame) { // the first frames allocate what they need
            for (int i = 0; i < _model.numDrawables(); ++i) {
                _model.setLocalTransform(i, placed(float(frame), 0), false);
            }
            const AllocationCount allocations;
            _model.updateTransforms();
            _model.resetCulling();
            _model.visibilityCull();
            _model.frustumCull(camera);
            draw();
            _model.updatePreviousMatrices();
            taken = allocations.taken();
        }
        return taken;
    };
    const auto addSome = [&](int count) {
        for (int i = 0; i < count; ++i) {
            const int instance = addSquares({placed(0, 0)}, 0, 0, material);
            _model.useBoundingBox(instance, 0, 0);
        }
    };
    addSome(2);
    const size_t ofTwo = takenByAFrame();
    addSome(30);
    EXPECT_EQ(ofTwo, takenByAFrame());
}

TEST_F(GPUModelDrawTest, AManagerOfTheHostMayVisitAnotherContextMeanwhile)
{
    const auto other = TestContext::create();
    ASSERT_TRUE(other);
    makeCurrent();
    addSquares({placed(-1, -1)});
    addSquares({placed(0, -1)});
    _model.updateTransforms();
    HostManager manager;
    _capture.take(); // the message on the white texture
    QVector<void *> seen;
    manager.visit = [&] {
        other->makeCurrent();
        seen.append(GLContextTracker::currentContext());
        makeCurrent();
        seen.append(GLContextTracker::currentContext());
    };
    EXPECT_TRUE(_model.draw(&_program, &manager, 0, kAll, eWindingOff, false));
    EXPECT_EQ((QVector<void *>{other->context(), context(), other->context(), context()}), seen);
    manager.clear();
    _capture.take();
}
