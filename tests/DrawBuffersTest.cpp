#include "support/FakeLoader.h"
#include "support/GLFixture.h"
#include "support/Pixels.h"
#include "support/Tap.h"
#include "support/TestBuffer.h"
#include "support/TestProgram.h"

#include <ZelGL/ZelGL.h>

#include <QtGui/QOpenGLFramebufferObject>
#include <QtGui/QOpenGLFunctions_3_2_Core>

#include <algorithm>
#include <array>
#include <numeric>
#include <random>
#include <tuple>

using namespace Orvane::Zel;

namespace {

const char kVertexSource[] = "#version 150\n"
                             "in vec2 va_Vertex; uniform uint u_DrawID;\n"
                             "void main() { gl_Position = vec4(va_Vertex, float(u_DrawID), 1.0); }\n";
const AssertionsOf asserted("DrawBuffers.cpp");

template <typename... Values> QString text(QString call, Values... values)
{
    ((call += ' ' + QString::number(qlonglong(values))), ...);
    return call;
}

/// The calls of draws, which are recorded and not issued.
struct DrawLog
{
    DrawLog()
    {
        watch<&glUniform1ui>("id");
        watch<&glDrawArrays>("arrays");
        watch<&glDrawElements>("elements");
        watch<&glDrawElementsBaseVertex>("base vertex");
        watch<&glDrawArraysInstanced>("arrays instanced");
        watch<&glDrawElementsInstanced>("elements instanced");
    }

    template <auto Slot> void watch(const char *name)
    {
        std::get<Hook<Slot>>(_hooks).replace([name](auto... values) { calls += text(name, values...); });
    }

    /// An entry point that is not in the table of the loader.
    template <typename... Values> static void APIENTRY baseInstance(Values... values)
    {
        calls += text("base instance", values...);
    }

    static inline QStringList calls;
    std::tuple<Hook<&glUniform1ui>, Hook<&glDrawArrays>, Hook<&glDrawElements>,
               Hook<&glDrawElementsBaseVertex>, Hook<&glDrawArraysInstanced>, Hook<&glDrawElementsInstanced>>
        _hooks;
};

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

using DrawBuffersOwnProcessTest = DrawBuffersTest;

} // namespace

TEST_F(DrawBuffersOwnProcessTest, RandomUnitsAreDrawnByTheCallsOfTheirSettingsOrRefused)
{
    using Log = DrawLog;
    _loader.provide("glDrawArraysInstancedBaseInstance",
                    &Log::baseInstance<GLenum, GLint, GLsizei, GLsizei, GLuint>);
    _loader.hide("glDrawElementsInstancedBaseVertexBaseInstance");
    EXPECT_FALSE(DrawBuffers::isBaseInstanceDrawingSupported());
    DrawBuffers::useBaseInstanceDrawing(true);
    const auto plain = makeUnit();
    plain->bind();
    EXPECT_TRUE(asserted.refused(
        {{plain->draw(), "hasBaseInstanceEntryPoints()", "The driver has no base instance drawing"}}));
    plain->unbind();
    _loader.provide("glDrawElementsInstancedBaseVertexBaseInstance",
                    &Log::baseInstance<GLenum, GLsizei, GLenum, const void *, GLsizei, GLint, GLuint>);
    const auto withID = makeProgram(kVertexSource);
    const auto withoutID = makeProgram(kAllOver);
    const AutoBinder programBinder(withID.get());
    const int location = withID->getUniformLocationNameID();
    ShaderProgram *const programs[] = {nullptr, withID.get(), withoutID.get()}; // null: the one in use
    const QSharedPointer<BufferObject> indices = makeIndexBuffer();
    const QSharedPointer<VertexArrayObject> array(new VertexArrayObject(nullptr));
    array->create();
    std::mt19937 random(5);
    const auto below = [&](int count) { return int(random() % unsigned(count)); };
    const Log log;
    for (int step = 0; step < 5000 && !HasFailure(); ++step) {
        SCOPED_TRACE(step);
        ShaderProgram *const program = programs[below(3)];
        const bool isBound = below(9) != 0;
        const GLenum primitive = std::array<GLenum, 4>{GLenum(-1), GL_QUADS, GL_LINES, GL_POINTS}[below(4)];
        const bool isIndexed = below(2) == 0;
        const bool usesBase = below(4) == 0;
        const bool isInstanced = below(4) == 0;
        const unsigned indexSize = unsigned(below(3)) * 2;
        const GLenum type = indexSize == 0 ? 0 : indexSize == 2 ? GL_UNSIGNED_SHORT : GL_UNSIGNED_INT;
        const int count = below(4);
        const int vertices = below(4);
        const int instances = below(4);
        const int firstID = below(100);
        const int baseVertex = below(3);
        const int offset = below(9);
        QVector<DrawElementsIndirectCommand> commands(std::max(0, below(6) - 2));
        for (DrawElementsIndirectCommand &command : commands) {
            command = {unsigned(below(9)), 9, unsigned(below(9)), unsigned(below(9)), 9};
        }
        QVector<int> all(commands.size());
        std::iota(all.begin(), all.end(), 0);
        QVector<int> chosen(below(4));
        std::generate(chosen.begin(), chosen.end(), [&] { return below(commands.size() + 1) - below(2); });
        const QVector<int> *numbers = below(2) == 0 ? nullptr : &chosen;

        DrawBuffers unit(nullptr);
        isBound || below(2) == 0 ? unit.setVAO(array) : void();
        isBound ? array->bind() : false;
        unit.setPrimitiveType(primitive);
        unit.setIndexedDraw(isIndexed ? indices : nullptr, count, type);
        unit.setVertexCount(unsigned(vertices));
        unit.setInstanceCount(instances);
        unit.setDrawIDBase(firstID);
        unit.setBaseVertex(baseVertex);
        unit.setIndexBufferOffset(static_cast<unsigned long>(offset));
        unit.setDrawElementsIndirectCommands(commands.constData(), commands.size());
        DrawBuffers::useBaseInstanceDrawing(usesBase);
        _capture.take(); // messages on type 0 and on GL_QUADS
        counters();
        Log::calls.clear();
        const bool result = isInstanced ? unit.drawInstanced(instances) : unit.draw(program, numbers);

        QStringList calls;
        QString refusal;
        std::vector<qint64> counts{0, 0, 0};
        const auto refuse = [&](const char *condition, const QString &why) {
            refusal = asserted(condition, why);
        };
        const auto draw = [&](int number, qint64 drawn, const QString &call) {
            calls += program != withoutID.get() ? QStringList(text("id", location, firstID + number))
                                                : QStringList();
            calls += call;
            counts = {counts[0] + 1, counts[1] + 1, counts[2] + drawn};
        };
        const auto wrong =
            std::find_if_not(chosen.begin(), chosen.end(), [&](int i) { return all.contains(i); });
        if (!isBound) {
            refuse("true == this->_vao->isBound()", "Vertex Array Object is not bound on draw");
        } else if (primitive == GLenum(-1)) {
            refuse("GLenum(-1) != this->_primitiveType", "Primitive type is not setup on draw");
        } else if (!isInstanced && !commands.isEmpty()) {
            if (usesBase) {
                refusal = "debug ##### COMMAND COUNT";
            } else if (!isIndexed) {
                refuse("false == this->_boIndex.isNull()", "Index buffer object is not set on draw");
            } else if (numbers != nullptr && wrong != chosen.end()) {
                refuse("unsigned(number) < unsigned(this->_commandsCount)",
                       QString("Command %1 is not one of the %2 commands").arg(*wrong).arg(commands.size()));
            } else {
                for (const int i : numbers != nullptr ? chosen : all) {
                    const DrawElementsIndirectCommand &c = commands.at(i);
                    draw(i, c.count,
                         text("base vertex", primitive, c.count, type, c.firstIndex * indexSize,
                              c.baseVertex));
                }
            }
        } else if (isIndexed && type == 0) {
            refuse("0 != this->_indexType", "Index type is not setup on draw");
        } else if (isIndexed && count == 0) {
            refuse("0 != this->_indexCount", "Index count is not setup on draw");
        } else if (!isIndexed && vertices == 0) {
            refuse("0 != this->_vertexCount", "Index count is not setup on draw");
        } else if (isInstanced) {
            calls += isIndexed ? text("elements instanced", primitive, count, type, 0, instances)
                               : text("arrays instanced", primitive, 0, vertices, instances);
        } else if (usesBase) {
            calls += isIndexed ? text("base instance", primitive, count, type, offset, instances, baseVertex,
                                      firstID)
                               : text("base instance", primitive, baseVertex, vertices, instances, firstID);
            counts = {1, 1, isIndexed ? count : 0};
        } else {
            const QString elements = baseVertex != 0
                                         ? text("base vertex", primitive, count, type, offset, baseVertex)
                                         : text("elements", primitive, count, type, offset);
            for (int i = 0; i < instances; ++i) {
                draw(i, isIndexed ? count : 0, isIndexed ? elements : text("arrays", primitive, 0, vertices));
            }
        }
        const bool hasSome = commands.isEmpty() ? (isIndexed ? count : vertices) != 0
                                                : numbers == nullptr || !chosen.isEmpty();
        EXPECT_EQ(hasSome, unit.willDraw(program, numbers));
        EXPECT_EQ(refusal.isEmpty(), result);
        EXPECT_EQ(calls, Log::calls);
        EXPECT_EQ(counts, counters());
        EXPECT_EQ(refusal, _capture.takeTexts().join('\n'));
        isBound ? array->unbind() : false;
    }
}

TEST_F(DrawBuffersTest, DoubtfulSettingsAreReportedAndStored)
{
    DrawBuffers unit(nullptr);
    EXPECT_EQ(1, DrawBuffers::NumAlive());
    EXPECT_FALSE(unit.bind() || unit.rebind(nullptr));
    EXPECT_TRUE(unit.unbind());
    const QSharedPointer<VertexArrayObject> second(new VertexArrayObject(nullptr));
    unit.setVAO(QSharedPointer<VertexArrayObject>(new VertexArrayObject(nullptr)));
    unit.setVAO(second);
    unit.setPrimitiveType(GL_QUADS);
    EXPECT_TRUE(asserted.reported(R"(
!this->_vao.isNull(): Vertex Array Object is NULL on bind
!this->_vao.isNull(): Vertex Array Object is NULL on rebind
true == this->_vao.isNull(): Vertex Array Object is already set
GL_QUADS != primitiveType: GL_QUADS is not allowed)"));
    EXPECT_EQ(second, unit.VAO());
    unit.clear();
    EXPECT_TRUE(unit.VAO().isNull());
}

TEST_F(DrawBuffersTest, RebindSwitchesWithTheFewestCalls)
{
    const QSharedPointer<BufferObject> shared = makeIndexBuffer();
    const auto first = makeIndexedUnit(shared);
    const auto second = makeIndexedUnit(shared);
    const auto third = makeUnit();
    DrawBuffers sibling(nullptr); // shares the vertex array of the first: only their index buffers differ
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
    const auto bad =
        makeIndexedUnit(QSharedPointer<BufferObject>(new BufferObject(nullptr))); // without a target
    EXPECT_FALSE(bad->bind());
    ASSERT_TRUE(good->bind());
    EXPECT_FALSE(bad->rebind(good.get()) || bad->VAO()->isBound() || good->VAO()->isBound());
    EXPECT_EQ(2, _capture.take().size());
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
    EXPECT_EQ(std::make_tuple(GLenum(GL_TRIANGLES), GLenum(GL_UNSIGNED_SHORT),
                              static_cast<const void *>(nullptr), 3, 20),
              draws.calls().back());
    EXPECT_EQ((std::vector<qint64>{1, 3, 18}), counters());
}

TEST_F(DrawBuffersTest, CommandsReachShadersInStd140AndCountAsMemory)
{
    const auto unit = makeCommandUnit();
    const QSharedPointer<UniformBufferObject> uniforms =
        unit->getDrawElementsIndirectCommandsUniformBufferObject();
    EXPECT_EQ(uniforms, unit->getDrawElementsIndirectCommandsUniformBufferObject());
    const QSharedPointer<BufferObject> buffer = uniforms->bufferObject();
    EXPECT_EQ(3, buffer->valueCount());
    EXPECT_EQ(32u, buffer->valueSize());
    EXPECT_EQ((std::vector<quint32>{6, 9, 3, 10, 9, 0, 0, 0}), contentsOf<quint32>(*buffer, 8, 32));
    EXPECT_EQ(184u + 56u + 96u + 3 * 32u, unit->memoryEstimateCPU());
    EXPECT_EQ(0u, unit->memoryEstimateGPU());
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
        std::vector<std::unique_ptr<DrawBuffers>> ways[2]; // units, and instances
        for (int i = 0; i < kColumns; ++i) {
            ways[0].push_back(makeQuad(i % 2 == 0, i, 1));
        }
        ways[1].push_back(makeQuad(true, 0, kColumns));
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
