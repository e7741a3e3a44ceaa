#include "support/AllocationCount.h"
#include "support/HelperTextures.h"
#include "support/SceneFixture.h"
#include "support/Tap.h"

#include <ZelGL/GLContextTracker.h>
#include <ZelGL/SamplerTextureManager.h>
#include <ZelGL/UniformBufferObject.h>

#include <memory>

using namespace Orvane::Zel;

namespace {

/// A call as the log below writes it.
template <typename... Values> QString call(const char *name, Values... values)
{
    QStringList words(QString::fromLatin1(name));
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

/// GL calls of several kinds in the order in which they come.
class CallLog
{
public:
    template <auto Slot> void watch(const char *name)
    {
        const auto hook = std::make_shared<Hook<Slot>>();
        hook->replace([this, name, calls = hook.get()](auto... arguments) {
            _calls.append(call(name, arguments...));
            return calls->original(arguments...);
        });
        _hooks.push_back(hook);
    }

    QStringList take() { return std::exchange(_calls, {}); }

private:
    QStringList _calls;
    std::vector<std::shared_ptr<void>> _hooks;
};

#define WATCH(log, entry) (log).watch<&entry>(#entry)

/// Does nothing of its own but what a test tells it to do for each batch of tokens.
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
        _program.addShader(GL_VERTEX_SHADER,
                           "#version 150\n#include \"ZelUtilities.glslh\"\n"
                           "#instancedata \"SceneObject\"\n#instancedata \"ScenePaint\"\n"
                           "in vec2 va_Vertex;\nflat out vec4 paint;\n"
                           "void main()\n{\n    paint = getColor(0u);\n"
                           "    gl_Position = getModelMatrix() * vec4(va_Vertex, 0.0, 1.0);\n}\n",
                           QString());
        for (const char *name : {"SceneObject", "ScenePaint"}) {
            _program.addShader(GL_VERTEX_SHADER, InstanceDataRegistry::Instance()->getPlan(name)->glslc(),
                               QString());
        }
        _program.addShaderFromFile(GL_VERTEX_SHADER, "ZelUtilities.glslc");
        _program.addShaderFromFile(GL_VERTEX_SHADER, "ZelUtilities.vert");
        _program.addShader(GL_FRAGMENT_SHADER,
                           "#version 150\n#include \"TextureManager.glslh\"\n"
                           "flat in vec4 paint;\nout vec4 color;\n"
                           "void main() { color = paint + managedTexture(uvec2(0u), vec2(0.0)); }\n",
                           QString());
        _program.addShaderFromFile(GL_FRAGMENT_SHADER, _textures.getShaderFile());
        EXPECT_TRUE(_program.link()) << _program.log().toStdString();
        _capture.take(); // the limit, the token of white
        _program.bind();
    }

    ~GPUModelDrawTest() override
    {
        _program.unbind();
        _model.clear();
        _textures.clear();
        _capture.take(); // the token of white
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
    ASSERT_TRUE(draw(eWindingCCW, {0, 1}, true)); // uploads, specifies the vertex arrays

    CallLog log;
    WATCH(log, glActiveTexture);
    WATCH(log, glBindBuffer);
    WATCH(log, glBindBufferBase);
    WATCH(log, glBindTexture);
    WATCH(log, glBindVertexArray);
    WATCH(log, glBufferData);
    WATCH(log, glBufferSubData);
    WATCH(log, glDisable);
    WATCH(log, glDisableVertexAttribArray);
    WATCH(log, glDrawElementsBaseVertex);
    WATCH(log, glEnable);
    WATCH(log, glEnableVertexAttribArray);
    WATCH(log, glFrontFace);
    WATCH(log, glGetIntegerv);
    WATCH(log, glGetUniformLocation);
    WATCH(log, glIsEnabled);
    WATCH(log, glPrimitiveRestartIndex);
    WATCH(log, glStencilFunc);
    WATCH(log, glStencilMask);
    WATCH(log, glStencilOp);
    WATCH(log, glTexImage2D);
    WATCH(log, glTexParameteri);
    WATCH(log, glUniform1i);
    WATCH(log, glUniform1iv);
    WATCH(log, glUniform1ui);
    WATCH(log, glUniformBlockBinding);
    WATCH(log, glUseProgram);
    WATCH(log, glVertexAttribPointer);
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
    // The manager's two helpers are its own: their names are those of the first two binds.
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
    const auto far = [](float z, float scaleX = 1.0f) {
        QMatrix4x4 matrix = placed(0, 0, scaleX, 1.0f);
        matrix.setColumn(3, QVector4D(0, 0, z, 1));
        return matrix;
    };
    // Mirrored and plain ones; then one with both faces, one that is culled, and a plain one again.
    const int mixed = addSquares({far(-1), far(-2, -1), far(-3, -1), far(-4)});
    addSquares({far(0)}, GPUModel::kFlagTwoSided);
    const int culled = addSquares({far(0)}, GPUModel::kFlagHidden);
    addSquares({far(0)});
    const GPUModel::BoundingBox box{0, 0, 0, 1, 1, 0};
    _model.loadBoundingBoxes(&box, 1);
    for (const int command : {0, 1, 3}) { // that without a box is the farthest
        _model.useBoundingBox(mixed, command, 0);
    }
    _model.updateTransforms();
    EXPECT_EQ(1, _model.visibilityCull());
    EXPECT_TRUE(_model.isDrawEmpty(GPUModel::kFlagHidden, GPUModel::kFlagHidden)) << culled;

    CallLog log;
    WATCH(log, glEnable);
    WATCH(log, glDisable);
    WATCH(log, glFrontFace);
    WATCH(log, glUniform1ui);
    const QString on = call("glEnable", GL_CULL_FACE);
    const QString off = call("glDisable", GL_CULL_FACE);
    const QString ccw = call("glFrontFace", GL_CCW);
    const QString cw = call("glFrontFace", GL_CW);
    const auto id = [this](int number) {
        return call("glUniform1ui", _program.getUniformLocationNameID(), number);
    };
    const auto drawn = [&](unsigned long long value, WindingType winding, const QMatrix4x4 *matrix) {
        log.take();
        EXPECT_TRUE(_model.draw(&_program, nullptr, value, GPUModel::kFlagHidden, winding, matrix, false));
        const QString restart = call("glEnable", GL_PRIMITIVE_RESTART); // once a process
        return log.take().replaceInStrings(restart, QString()).filter(QStringLiteral("gl"));
    };
    EXPECT_EQ(
        (QStringList{on, cw, id(1), id(2), ccw, id(0), id(3), cw, off, id(0), on, cw, ccw, id(0), cw, off}),
        drawn(0, eWindingCW, nullptr));
    EXPECT_EQ((QStringList{off, id(0), id(1), id(2), id(3), id(0), id(0), off}),
              drawn(0, eWindingOff, nullptr));
    // The eye is taken from the inverse with its sign turned: at z = -10 here, so the last comes first.
    QMatrix4x4 view;
    view.translate(0, 0, -10);
    EXPECT_EQ((QStringList{on, ccw, id(3), id(0), cw, id(1), id(2), ccw, off, id(0), on, ccw, id(0), off}),
              drawn(GPUModel::kFlagSortByDistance, eWindingCCW, &view));
}

TEST_F(GPUModelDrawTest, ASteadyFrameTakesNoMemoryForADrawable)
{
    // What the driver takes for its draws is its own.
    Hook<&glDrawElementsBaseVertex> draws;
    draws.replace([](auto...) {});
    InstanceDataCollection *material = paint();
    const QMatrix4x4 camera;
    const GPUModel::BoundingBox box{-1, -1, -1, 1, 1, 1};
    _model.loadBoundingBoxes(&box, 1);
    const auto takenByAFrame = [&] {
        size_t taken = 0;
        for (int frame = 0; frame < 3; ++frame) { // the first ones make what they need
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
    _capture.take(); // the token of white
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
