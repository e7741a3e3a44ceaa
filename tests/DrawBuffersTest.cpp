#include "support/FakeLoader.h"
#include "support/GLFixture.h"
#include "support/Pixels.h"
#include "support/Tap.h"
#include "support/TestBuffer.h"
#include "support/TestProgram.h"

#include <ZelGL/ZelGL.h>

#include <QtGui/QOpenGLFramebufferObject>
#include <QtGui/QOpenGLFunctions_3_2_Core>

using namespace Orvane::Zel;

namespace {

const char kVertexSource[] = "#version 150\n"
                             "in vec2 va_Vertex; uniform uint u_DrawID;\n"
                             "void main() { gl_Position = vec4(va_Vertex, float(u_DrawID), 1.0); }\n";
const AssertionsOf asserted("DrawBuffers.cpp");

const void *offset(quintptr bytes)
{
    return reinterpret_cast<const void *>(bytes);
}

/// Draws are recorded and not issued.
struct DrawTaps : Taps<&glDrawArrays, &glDrawElements, &glDrawElementsBaseVertex, &glDrawArraysInstanced,
                       &glDrawElementsInstanced>
{
    DrawTaps() { hold(); }

    std::vector<GLuint> drawIDs() const
    {
        std::vector<GLuint> ids;
        for (const auto &call : uniforms.calls()) {
            ids.push_back(std::get<1>(call));
        }
        return ids;
    }

    Tap<&glUniform1ui> uniforms;
};

using ElementsOfInstances = PFNGLDRAWELEMENTSINSTANCEDBASEVERTEXBASEINSTANCEPROC;
using ArraysOfInstances = PFNGLDRAWARRAYSINSTANCEDBASEINSTANCEPROC;

class DrawBuffersTest : public GLTest
{
protected:
    ~DrawBuffersTest() override { DrawBuffers::useBaseInstanceDrawing(false); }

    /// A draw unit whose vertex array has no attributes.
    static std::unique_ptr<DrawBuffers> makeUnit()
    {
        auto unit = std::make_unique<DrawBuffers>(nullptr);
        unit->setVAO(QSharedPointer<VertexArrayObject>(new VertexArrayObject(nullptr)));
        unit->setPrimitiveType(GL_TRIANGLES);
        return unit;
    }

    static QSharedPointer<BufferObject> makeIndexBuffer() { return makeBuffer(GL_ELEMENT_ARRAY_BUFFER); }

    static std::unique_ptr<DrawBuffers>
    makeIndexedUnit(QSharedPointer<BufferObject> indexBuffer = makeIndexBuffer())
    {
        auto unit = makeUnit();
        unit->setIndexedDraw(indexBuffer, 6, GL_UNSIGNED_SHORT);
        return unit;
    }

    static std::unique_ptr<DrawBuffers> makeCommandUnit()
    {
        const DrawElementsIndirectCommand commands[] = {{3, 9, 0, 0, 9}, {6, 9, 3, 10, 9}, {9, 9, 9, 20, 9}};
        auto unit = makeIndexedUnit();
        unit->setDrawElementsIndirectCommands(commands, 3);
        return unit;
    }

    /// Calls, batches and indices since the last query.
    static std::vector<qint64> counters()
    {
        return {DrawBuffers::getAndResetTotalDrawCalls(), DrawBuffers::getAndResetTotalDrawBatches(),
                DrawBuffers::getAndResetTotalDrawIndices()};
    }

    FakeLoader _loader;
};

/// Binds a program that has a draw ID.
class DrawCallsTest : public DrawBuffersTest
{
protected:
    DrawCallsTest() { counters(); }

    std::unique_ptr<ShaderProgram> _program = makeProgram(kVertexSource);
    AutoBinder _programBinder{_program.get()};
    DrawTaps _taps;
};

} // namespace

TEST_F(DrawCallsTest, AUnitThatIsNotSetUpIsReportedAndNotDrawn)
{
    DrawBuffers unit(nullptr);
    EXPECT_EQ(1, DrawBuffers::NumAlive());
    const char *const isBound = "true == this->_vao->isBound()";
    const QString notBound = "Vertex Array Object is not bound on draw";
    EXPECT_TRUE(asserted.refused(
        {{unit.bind(), "!this->_vao.isNull()", "Vertex Array Object is NULL on bind"},
         {unit.rebind(nullptr), "!this->_vao.isNull()", "Vertex Array Object is NULL on rebind"},
         {unit.draw(), isBound, notBound}}));
    EXPECT_TRUE(unit.unbind());

    unit.setVAO(QSharedPointer<VertexArrayObject>(new VertexArrayObject(nullptr)));
    ASSERT_TRUE(unit.VAO()->create());
    EXPECT_TRUE(asserted.refused({{unit.draw(), isBound, notBound}}));
    const AutoBinder binder(unit.VAO());
    EXPECT_TRUE(asserted.refused(
        {{unit.draw(), "GLenum(-1) != this->_primitiveType", "Primitive type is not setup on draw"}}));
    unit.setPrimitiveType(GL_TRIANGLES);
    const QString noCount = "Index count is not setup on draw";
    EXPECT_TRUE(asserted.refused({{unit.draw(), "0 != this->_vertexCount", noCount},
                                  {unit.drawInstanced(2), "0 != this->_vertexCount", noCount}}));
    unit.setIndexedDraw(makeIndexBuffer(), 6, 0);
    EXPECT_TRUE(
        asserted.refused({{unit.draw(), "0 != this->_indexType", "Index type is not setup on draw"}}));
    unit.setIndexedDraw(unit.indexBO(), 0, GL_UNSIGNED_SHORT);
    EXPECT_TRUE(asserted.refused({{unit.draw(), "0 != this->_indexCount", noCount}}));
    const DrawElementsIndirectCommand command{6, 1, 4000000, 0, 0};
    unit.setIndexedDraw({}, 6, GL_UNSIGNED_SHORT);
    unit.setDrawElementsIndirectCommands(&command, 1);
    EXPECT_TRUE(asserted.refused(
        {{unit.draw(), "false == this->_boIndex.isNull()", "Index buffer object is not set on draw"}}));
    EXPECT_EQ(0u, _taps.count());
    EXPECT_EQ((std::vector<qint64>{0, 0, 0}), counters());
}

TEST_F(DrawCallsTest, DoubtfulSettingsAreReportedAndStored)
{
    auto unit = makeUnit();
    const QSharedPointer<VertexArrayObject> vao(new VertexArrayObject(nullptr));
    unit->setVAO(vao);
    unit->setPrimitiveType(GL_QUADS);
    EXPECT_MESSAGES(asserted("true == this->_vao.isNull()", "Vertex Array Object is already set"),
                    asserted("GL_QUADS != primitiveType", "GL_QUADS is not allowed"));
    EXPECT_EQ(vao, unit->VAO());
    unit->setVertexCount(4);
    const AutoBinder binder(vao);
    EXPECT_TRUE(unit->draw(_program.get()));
    EXPECT_EQ(std::make_tuple(GLenum(GL_QUADS), 0, 4), _taps.of<&glDrawArrays>().calls().back());
    unit->clear();
    EXPECT_TRUE(unit->VAO().isNull());
}

TEST_F(DrawCallsTest, CommandsAreDrawnByNumberEachWithItsID)
{
    const auto unit = makeCommandUnit();
    unit->setDrawIDBase(100);
    const AutoBinder binder(unit.get());
    const QVector<int> chosen{2, 0};
    EXPECT_TRUE(unit->draw(_program.get(), &chosen));
    EXPECT_EQ((std::vector<GLuint>{102, 100}), _taps.drawIDs());
    using Call = std::tuple<GLenum, GLsizei, GLenum, const void *, GLint>;
    EXPECT_EQ((std::vector<Call>{{GL_TRIANGLES, 9, GL_UNSIGNED_SHORT, offset(18), 20},
                                 {GL_TRIANGLES, 3, GL_UNSIGNED_SHORT, offset(0), 0}}),
              _taps.of<&glDrawElementsBaseVertex>().calls());
    EXPECT_EQ((std::vector<qint64>{2, 2, 12}), counters());
    EXPECT_EQ((std::vector<qint64>{0, 0, 0}), counters());

    EXPECT_TRUE(unit->draw(_program.get()));
    EXPECT_EQ((std::vector<qint64>{3, 3, 18}), counters());
    EXPECT_EQ(102u, _taps.drawIDs().back());
    for (const QVector<int> &wrong : {QVector<int>{0, 3}, QVector<int>{-1}}) {
        EXPECT_TRUE(asserted.refused(
            {{unit->draw(_program.get(), &wrong), "unsigned(number) < unsigned(this->_commandsCount)",
              QString("Command %1 is not one of the 3 commands").arg(wrong.last())}}));
    }
    EXPECT_EQ(5u, _taps.count());
    EXPECT_FALSE(unit->drawBaseInstance(nullptr));
    EXPECT_MESSAGES("debug ##### COMMAND COUNT");

    unit->setIndexedDraw(unit->indexBO(), 3, 0);
    const DrawElementsIndirectCommand early{3, 1, 100, 0, 0};
    unit->setDrawElementsIndirectCommands(&early, 1);
    EXPECT_MESSAGES("critical bytesFromInternalFormat() does not implement yet : 0x0000");
    EXPECT_TRUE(unit->draw(_program.get()));
    EXPECT_EQ(100u, _taps.drawIDs().back());
    EXPECT_EQ(offset(0), _taps.of<&glDrawElementsBaseVertex>().last<3>()) << "set before the index type";
}

TEST_F(DrawCallsTest, InstancesAreSeparateCallsOnThePlainPath)
{
    const auto unit = makeIndexedUnit();
    unit->setDrawIDBase(7);
    unit->setInstanceCount(4);
    unit->setIndexBufferOffset(12);
    const AutoBinder binder(unit.get());
    EXPECT_TRUE(unit->draw()) << "the program in use is asked";
    EXPECT_EQ((std::vector<GLuint>{7, 8, 9, 10}), _taps.drawIDs());
    EXPECT_EQ(std::make_tuple(GLenum(GL_TRIANGLES), 6, GLenum(GL_UNSIGNED_SHORT), offset(12)),
              _taps.of<&glDrawElements>().calls().back());
    EXPECT_EQ((std::vector<qint64>{4, 4, 24}), counters());
    unit->setBaseVertex(5);
    EXPECT_TRUE(unit->draw(_program.get()));
    EXPECT_EQ(std::make_tuple(GLenum(GL_TRIANGLES), 6, GLenum(GL_UNSIGNED_SHORT), offset(12), 5),
              _taps.of<&glDrawElementsBaseVertex>().calls().back());
    EXPECT_EQ(8u, _taps.count());

    EXPECT_TRUE(unit->drawInstanced(3));
    EXPECT_EQ(std::make_tuple(GLenum(GL_TRIANGLES), 6, GLenum(GL_UNSIGNED_SHORT), offset(0), 3),
              _taps.of<&glDrawElementsInstanced>().calls().back());
    EXPECT_EQ(8u, _taps.uniforms.count());
    EXPECT_EQ((std::vector<qint64>{4, 4, 24}), counters()) << "drawInstanced() counts nothing";
    unit->setInstanceCount(0);
    EXPECT_TRUE(unit->draw(_program.get()));
    EXPECT_EQ(9u, _taps.count());
}

TEST_F(DrawCallsTest, AProgramWithoutDrawIDGetsNone)
{
    const auto program = makeProgram(kAllOver);
    const AutoBinder programBinder(program.get());
    const auto unit = makeUnit();
    unit->setVertexCount(3);
    const AutoBinder binder(unit.get());
    EXPECT_TRUE(unit->draw() && unit->draw(program.get()) && unit->drawInstanced(2));
    EXPECT_EQ(2u, _taps.of<&glDrawArrays>().count());
    EXPECT_EQ(0u, _taps.uniforms.count());
    EXPECT_EQ(std::make_tuple(GLenum(GL_TRIANGLES), 0, 3, 2),
              _taps.of<&glDrawArraysInstanced>().calls().back());
}

TEST_F(DrawCallsTest, BaseInstanceIsOneCallForAllInstances)
{
    _loader.record<ElementsOfInstances>("glDrawElementsInstancedBaseVertexBaseInstance");
    _loader.record<ArraysOfInstances>("glDrawArraysInstancedBaseInstance");
    DrawBuffers::useBaseInstanceDrawing(true);
    const auto indexed = makeIndexedUnit();
    indexed->setDrawIDBase(7);
    indexed->setInstanceCount(4);
    indexed->setIndexBufferOffset(12);
    indexed->setBaseVertex(5);
    ASSERT_TRUE(indexed->bind());
    EXPECT_TRUE(indexed->draw());
    EXPECT_EQ((decltype(Recorded<ElementsOfInstances>::calls){
                  {GL_TRIANGLES, 6, GL_UNSIGNED_SHORT, offset(12), 4, 5, 7}}),
              Recorded<ElementsOfInstances>::calls);
    EXPECT_EQ((std::vector<qint64>{1, 1, 6}), counters());

    const auto plain = makeUnit();
    plain->setVertexCount(3);
    plain->setBaseVertex(6);
    ASSERT_TRUE(plain->rebind(indexed.get()));
    EXPECT_TRUE(plain->draw());
    EXPECT_TRUE(plain->unbind());
    EXPECT_EQ((decltype(Recorded<ArraysOfInstances>::calls){{GL_TRIANGLES, 6, 3, 1, 0}}),
              Recorded<ArraysOfInstances>::calls);
    EXPECT_EQ((std::vector<qint64>{1, 1, 0}), counters());
    EXPECT_EQ(0u, _taps.count());
}

TEST_F(DrawBuffersTest, WithoutEntryPointsBaseInstanceIsRefused)
{
    _loader.hide("glDrawElementsInstancedBaseVertexBaseInstance");
    EXPECT_FALSE(DrawBuffers::isBaseInstanceDrawingSupported());
    DrawBuffers::useBaseInstanceDrawing(true);
    const auto unit = makeUnit();
    unit->setVertexCount(3);
    const AutoBinder binder(unit.get());
    EXPECT_TRUE(asserted.refused(
        {{unit->draw(), "hasBaseInstanceEntryPoints()", "The driver has no base instance drawing"}}));
}

TEST_F(DrawBuffersTest, OnlyAUnitThatHasSomethingWillDraw)
{
    const QVector<int> none;
    const QVector<int> some{1};
    const auto commands = makeCommandUnit();
    EXPECT_TRUE(commands->willDraw(nullptr, nullptr));
    EXPECT_TRUE(commands->willDraw(nullptr, &some));
    EXPECT_FALSE(commands->willDraw(nullptr, &none));
    EXPECT_EQ(184u + 56u + 96u + 4 * (3 + 5 * 3) + 8 * 3, commands->memoryEstimateCPU());
    EXPECT_EQ(0u, commands->memoryEstimateGPU());
    const auto unit = makeUnit();
    EXPECT_FALSE(unit->willDraw(nullptr, nullptr));
    unit->setVertexCount(3);
    EXPECT_TRUE(unit->willDraw(nullptr, nullptr));
    unit->setIndexedDraw(makeIndexBuffer(), 0, GL_UNSIGNED_SHORT);
    EXPECT_FALSE(unit->willDraw(nullptr, nullptr));
    unit->setIndexedDraw(unit->indexBO(), 6, GL_UNSIGNED_SHORT);
    EXPECT_TRUE(unit->willDraw(nullptr, &none)) << "numbers of commands mean nothing here";
}

TEST_F(DrawBuffersTest, RebindSwitchesWithTheFewestCalls)
{
    const QSharedPointer<BufferObject> shared = makeIndexBuffer();
    const auto first = makeIndexedUnit(shared);
    const auto second = makeIndexedUnit(shared);
    const auto third = makeUnit();
    DrawBuffers sibling(
        nullptr); // shares the vertex array of the first, so that only their index buffers differ
    sibling.setVAO(first->VAO());
    sibling.setIndexedDraw(makeIndexBuffer(), 3, GL_UNSIGNED_SHORT);
    const struct
    {
        DrawBuffers *unit;
        size_t arrays;
        size_t buffers;
        GLuint indices; ///< the binding belongs to the vertex array
    } kRows[] = {{first.get(), 1, 1, shared->getBO()},  {first.get(), 0, 0, shared->getBO()},
                 {second.get(), 1, 1, shared->getBO()}, {third.get(), 1, 1, 0},
                 {first.get(), 1, 1, shared->getBO()},  {&sibling, 0, 1, sibling.indexBO()->getBO()}};
    DrawBuffers *bound = nullptr;
    for (const auto &row : kRows) {
        Tap<&glBindVertexArray> arrays;
        Tap<&glBindBuffer> buffers;
        EXPECT_TRUE(row.unit->rebind(std::exchange(bound, row.unit)));
        EXPECT_EQ(row.arrays, arrays.count());
        EXPECT_EQ(row.buffers, buffers.count());
        EXPECT_EQ(GLint(row.indices), integerOf(GL_ELEMENT_ARRAY_BUFFER_BINDING));
    }
    EXPECT_TRUE(sibling.unbind());
}

TEST_F(DrawBuffersTest, AFailedIndexBufferLeavesNoVertexArrayBound)
{
    const auto good = makeIndexedUnit();
    const auto bad = makeIndexedUnit(QSharedPointer<BufferObject>(new BufferObject(nullptr)));
    EXPECT_FALSE(bad->bind());
    ASSERT_TRUE(good->bind());
    EXPECT_FALSE(bad->rebind(good.get()));
    EXPECT_MESSAGES(
        startsWith("critical [BufferObject.cpp:#] [ !! ] Assertion '0u != this->_target' failed"),
        startsWith("critical [BufferObject.cpp:#] [ !! ] Assertion '0u != this->_target' failed"));
    EXPECT_FALSE(bad->VAO()->isBound());
    EXPECT_FALSE(good->VAO()->isBound());
    EXPECT_TRUE(good->indexBO()->unbind());
}

TEST_F(DrawBuffersTest, TheIndirectPathIsDormantUntilTheHostBindsABuffer)
{
    ZEL_NEEDS_EXTENSION("GL_ARB_multi_draw_indirect");
    EXPECT_TRUE(asserted.refused({{makeUnit()->drawMultiDrawElementsIndirect(), "0 != this->_commandsCount",
                                   "DrawElementsIndirectCommandsCount is not set on draw"}}));
    const auto commands = makeCommandUnit();
    Tap<&glMultiDrawElementsIndirect> draws;
    draws.replace([](GLenum, GLenum, const void *, GLsizei, GLsizei) {});
    counters();
    EXPECT_FALSE(commands->drawMultiDrawElementsIndirect());
    EXPECT_MESSAGES("debug AutoBinder tried to bind NULL object",
                    asserted("0 != indirectBuffer", "Indirect buffer object is not set on draw"));
    const auto buffer = makeBuffer(GL_DRAW_INDIRECT_BUFFER);
    const AutoBinder binder(buffer.data());
    EXPECT_TRUE(commands->drawMultiDrawElementsIndirect());
    EXPECT_MESSAGES("debug AutoBinder tried to bind NULL object");
    EXPECT_EQ(std::make_tuple(GLenum(GL_TRIANGLES), GLenum(GL_UNSIGNED_SHORT), offset(0), 3, 20),
              draws.calls().back());
    EXPECT_EQ((std::vector<qint64>{1, 3, 18}), counters());
}

TEST_F(DrawBuffersTest, CommandsReachShadersInStd140)
{
    const auto unit = makeCommandUnit();
    const QSharedPointer<UniformBufferObject> uniforms =
        unit->getDrawElementsIndirectCommandsUniformBufferObject();
    EXPECT_EQ(uniforms, unit->getDrawElementsIndirectCommandsUniformBufferObject());
    const QSharedPointer<BufferObject> buffer = uniforms->bufferObject();
    EXPECT_EQ(3, buffer->valueCount());
    EXPECT_EQ(32u, buffer->valueSize());
    EXPECT_EQ((std::vector<quint32>{6, 9, 3, 10, 9, 0, 0, 0}), contentsOf<quint32>(*buffer, 8, 32));
}

TEST_F(DrawBuffersTest, EachDrawIDReachesTheShaderOnEitherPath)
{
    constexpr int kColumns = 4; // of white: a quad each, whose place follows from the ID
    const auto makeQuad = [](bool indexed, int drawIDBase, int instances) {
        auto unit = makeUnit();
        unit->VAO()->upload("va_Vertex", makeBuffer(GL_ARRAY_BUFFER), {0, -1, 1, -1, 0, 1, 1, 1}, 2,
                            GL_STATIC_DRAW);
        unit->setPrimitiveType(GL_TRIANGLE_STRIP);
        unit->setVertexCount(4);
        unit->setDrawIDBase(drawIDBase);
        unit->setInstanceCount(instances);
        if (indexed) {
            const unsigned short indices[] = {9, 9, 0, 1, 2, 3}; // the first two are never read
            const QSharedPointer<BufferObject> buffer = makeIndexBuffer();
            const AutoBinder binder(buffer.data());
            buffer->uploadGLushortData(indices, 6, GL_STATIC_DRAW);
            unit->setIndexedDraw(buffer, 4, GL_UNSIGNED_SHORT);
            unit->setIndexBufferOffset(4);
        }
        return unit;
    };
    QOpenGLFramebufferObject target(kColumns, 1);
    ASSERT_TRUE(target.bind());
    driver()->glViewport(0, 0, kColumns, 1);
    for (const bool baseInstance : {false, true}) {
        if (baseInstance && !DrawBuffers::isBaseInstanceDrawingSupported()) {
            GTEST_SKIP() << "GL_ARB_shader_draw_parameters is missing";
        }
        DrawBuffers::useBaseInstanceDrawing(baseInstance);
        GLSLMacroProcessor processor;
        DrawBuffers::setup(&processor);
        ShaderProgram program(nullptr);
        program.setMacroProcessor(&processor);
        program.addShader(GL_VERTEX_SHADER,
                          "#version 150\n"
                          "#include \"ZelUtilities.glslh\"\n"
                          "in vec2 va_Vertex;\n"
                          "void main() { gl_Position = vec4((va_Vertex.x + float(getDrawID())) * 0.5 - 1.0,\n"
                          "                                 va_Vertex.y, 0.0, 1.0); }\n",
                          QString());
        program.addShaderFromFile(GL_VERTEX_SHADER, "ZelUtilities.glslc");
        program.addShaderFromFile(GL_VERTEX_SHADER, "ZelUtilities.vert");
        program.addShader(GL_FRAGMENT_SHADER, kAllWhite, QString());
        ASSERT_TRUE(program.link());
        const AutoBinder programBinder(&program);
        std::vector<std::unique_ptr<DrawBuffers>> ways[4]; // units, instances, and commands on the plain path
        for (int i = 0; i < kColumns; ++i) {
            ways[0].push_back(makeQuad(i % 2 == 0, i, 1));
        }
        ways[1].push_back(makeQuad(true, 0, kColumns));
        ways[2].push_back(makeQuad(false, 0, kColumns));
        ways[3].push_back(makeQuad(true, 0, kColumns));
        const QVector<DrawElementsIndirectCommand> commands(kColumns, {4, 1, 2, 0, 0});
        ways[3].front()->setDrawElementsIndirectCommands(commands.constData(), baseInstance ? 0 : kColumns);
        for (const auto &units : ways) {
            driver()->glClear(GL_COLOR_BUFFER_BIT);
            DrawBuffers *bound = nullptr;
            for (const auto &unit : units) {
                ASSERT_TRUE(unit->rebind(std::exchange(bound, unit.get())));
                ASSERT_TRUE(unit->VAO()->enableShaderProgramArrays(&program));
                EXPECT_TRUE(unit->draw(&program));
            }
            EXPECT_TRUE(bound->unbind());
            EXPECT_TRUE(
                Pixels::ofFramebuffer(0, 0, kColumns, 1).isNear(Pixels(kColumns, 1, {1, 1, 1, 1}), 0));
        }
    }
}
