#include "support/FakeLimits.h"
#include "support/FakeLoader.h"
#include "support/GLFixture.h"
#include "support/Tap.h"
#include "support/TestBuffer.h"
#include "support/TestProgram.h"

#include <ZelGL/AutoBinder.h>
#include <ZelGL/UniformBufferObject.h>

using namespace Orvane::Zel;

namespace {

using BaseCall = std::tuple<GLenum, GLuint, GLuint>;

const char kVertexSource[] = "#version 150\n"
                             "layout (std140) uniform First { vec4 first; };\n"
                             "layout (std140) uniform Second { vec4 second; };\n"
                             "void main() { gl_Position = first + second; }\n";
const AssertionsOf asserted("UniformBufferObject.cpp");

QSharedPointer<BufferObject> makeFilled(GLenum target = GL_UNIFORM_BUFFER)
{
    const float values[] = {1.0f, 2.0f, 3.0f, 4.0f};
    const QSharedPointer<BufferObject> buffer = makeBuffer(target);
    const AutoBinder binder(buffer.data());
    EXPECT_TRUE(buffer->upload(values, 4, GL_STATIC_DRAW));
    return buffer;
}

GLint blockBinding(const ShaderProgram &program, const char *block)
{
    GLint binding = -1;
    glGetActiveUniformBlockiv(program.shaderProgramID(), program.getUniformBlockIndex(block),
                              GL_UNIFORM_BLOCK_BINDING, &binding);
    return binding;
}

/// The calls of glBindBuffersBase.
std::vector<std::tuple<GLenum, GLuint, std::vector<GLuint>>> gMultiBinds;

void APIENTRY recordMultiBind(GLenum target, GLuint first, GLsizei count, const GLuint *buffers)
{
    gMultiBinds.emplace_back(target, first, std::vector<GLuint>(buffers, buffers + count));
}

/// As many objects of a block, each with a buffer of its own.
std::vector<std::unique_ptr<UniformBufferObject>> makeObjects(int count, GLenum target = GL_UNIFORM_BUFFER)
{
    std::vector<std::unique_ptr<UniformBufferObject>> objects;
    for (int i = 0; i < count; ++i) {
        objects.push_back(std::make_unique<UniformBufferObject>("First", makeFilled(target), nullptr));
    }
    return objects;
}

class UniformBufferObjectTest : public GLTest
{
protected:
    FakeLoader _loader;
};

} // namespace

TEST_F(UniformBufferObjectTest, WrongUsesAreReported)
{
    UniformBufferObject empty("First", {}, nullptr);
    EXPECT_FALSE(empty.bind());
    EXPECT_FALSE(empty.unbind());
    const char *const noProgram = "warning [UniformBufferObject.cpp:#] No ShaderProgram is bound";
    EXPECT_MESSAGES(noProgram, noProgram);
    const char *const hasBuffer = "!this->_bufferObject.isNull()";
    EXPECT_TRUE(asserted.refused(
        {{empty.bind(nullptr), hasBuffer, "m_bufferObject is NULL on bind()"},
         {empty.unbind(nullptr), hasBuffer, "m_bufferObject is NULL on bind()"},
         {empty.uniformBlockBinding() != 0, hasBuffer, "m_bufferObject is NULL on uniformBlockBinding()"}}));
    EXPECT_EQ(0u, empty.memoryEstimateGPU());

    UniformBufferObject unbound("First", makeFilled(), nullptr);
    EXPECT_TRUE(unbound.unbind(nullptr));
    EXPECT_EQ(0xFFFFFFFFu, unbound.uniformBlockBinding());
    EXPECT_MESSAGES(asserted("uboContextData._boundUniformBufferObjectCounts.contains(bufferObjectID)",
                             "UniformBufferObject has not been bound on uniformBlockBinding()"));
    EXPECT_EQ(56u + 5u + 96u, unbound.memoryEstimateCPU());
    EXPECT_EQ(16u, unbound.memoryEstimateGPU());
    EXPECT_EQ(2, UniformBufferObject::NumAlive());
}

TEST_F(UniformBufferObjectTest, OtherTargetsAndEmptyBuffersAreReportedAndBoundAnyway)
{
    const QSharedPointer<BufferObject> buffer = makeBuffer(GL_ARRAY_BUFFER);
    UniformBufferObject object("First", buffer, nullptr);
    Tap<&glBindBufferBase> binds;
    EXPECT_TRUE(object.bind(nullptr));
    EXPECT_MESSAGES("debug Unknown Uniforma b uffer type 0x8892",
                    asserted("_bufferObject->valueCount() * _bufferObject->valueSize() != 0",
                             "glBindBufferRange() cannot take 0 as a size (0,0)"));
    EXPECT_EQ((std::vector<BaseCall>{{GL_UNIFORM_BUFFER, 0, buffer->getBO()}}), binds.calls());
    EXPECT_TRUE(object.unbind(nullptr));
    EXPECT_MESSAGES("debug Unknown Uniforma b uffer type 0x8892");
}

TEST_F(UniformBufferObjectTest, ABufferHoldsItsPointUntilItsLastUserIsGone)
{
    const auto program = makeProgram(kVertexSource);
    const auto other = makeProgram(QString(kVertexSource)
                                       .remove("layout (std140) uniform First { vec4 first; };")
                                       .remove("first + ")); // other indices
    const AutoBinder programBinder(program.get());
    const QSharedPointer<BufferObject> buffer = makeFilled();
    const auto lowest = makeObjects(2);
    UniformBufferObject first("First", buffer, nullptr);
    UniformBufferObject second("Second", buffer, nullptr);
    Tap<&glBindBufferBase> binds;
    EXPECT_TRUE(lowest[0]->bind(nullptr));
    EXPECT_TRUE(first.bind() && second.bind());
    EXPECT_EQ(1u, second.uniformBlockBinding());
    EXPECT_EQ(1, blockBinding(*program, "Second"));
    EXPECT_EQ(2u, binds.count());
    EXPECT_TRUE(second.bind(other.get()) && second.unbind(other.get()));
    EXPECT_EQ(1, blockBinding(*other, "Second"));

    EXPECT_TRUE(first.unbind() && lowest[1]->bind(nullptr));
    EXPECT_EQ(2u, lowest[1]->uniformBlockBinding()) << "point 1 is still held";
    binds.clear();
    EXPECT_TRUE(second.unbind());
    EXPECT_TRUE(second.unbind()) << "one too many is no fault";
    EXPECT_EQ((std::vector<BaseCall>{{GL_UNIFORM_BUFFER, 1, 0}}), binds.calls());
    EXPECT_TRUE(lowest[0]->unbind(nullptr) && lowest[1]->unbind(nullptr));
}

TEST_F(UniformBufferObjectTest, AProgramKeepsThePointsOfItsBlocks)
{
    const auto program = makeProgram(kVertexSource);
    UniformBufferObject first("First", makeFilled(), nullptr);
    UniformBufferObject second("Second", makeFilled(), nullptr);
    UniformBufferObject absent("Absent", makeFilled(), nullptr);
    Tap<&glUniformBlockBinding> settings;

    EXPECT_TRUE(first.bind(program.get()));
    EXPECT_TRUE(second.bind(program.get()));
    EXPECT_EQ(1u, settings.count()) << "First has point 0 from the start";
    EXPECT_EQ(0, blockBinding(*program, "First"));
    EXPECT_EQ(1, blockBinding(*program, "Second"));
    EXPECT_TRUE(first.unbind(program.get()));
    EXPECT_TRUE(second.unbind(program.get()));

    EXPECT_TRUE(second.bind(program.get())) << "in the other order";
    EXPECT_EQ(1u, second.uniformBlockBinding()) << "its own point, though 0 is free";
    EXPECT_TRUE(absent.bind(program.get()));
    EXPECT_EQ(0u, absent.uniformBlockBinding()) << "a block that the program lacks takes the lowest";
    EXPECT_EQ(1u, settings.count());
    EXPECT_TRUE(first.bind(program.get()));
    EXPECT_EQ(2, blockBinding(*program, "First")) << "its own point is taken";
    for (UniformBufferObject *object : {&first, &second, &absent}) {
        EXPECT_TRUE(object->unbind(program.get()));
    }
}

TEST_F(UniformBufferObjectTest, WhenAllPointsAreTakenOnlyTheirHoldersBind)
{
    const int count = UniformBufferObject::maxUniformBlockBindings();
    ASSERT_GT(count, 0);
    const auto objects = makeObjects(count + 1);
    for (const auto &object : objects) {
        EXPECT_EQ(object != objects.back(), object->bind(nullptr));
    }
    EXPECT_MESSAGES("warning [UniformBufferObject.cpp:#] There is no available uniformBlockBindings");
    EXPECT_EQ(unsigned(count - 1), objects[size_t(count) - 1]->uniformBlockBinding());
    EXPECT_TRUE(objects.front()->bind(nullptr));
    EXPECT_TRUE(objects.front()->unbind(nullptr));

    EXPECT_TRUE(objects[3]->unbind(nullptr));
    EXPECT_TRUE(objects.back()->bind(nullptr));
    EXPECT_EQ(3u, objects.back()->uniformBlockBinding()) << "the one that came free";
    for (const auto &object : objects) {
        EXPECT_TRUE(object->unbind(nullptr));
    }
}

TEST_F(UniformBufferObjectTest, ABatchIsOneCallForEachKind)
{
    ZEL_NEEDS_EXTENSION("GL_ARB_shader_storage_buffer_object");
    gMultiBinds.clear();
    _loader.provide("glBindBuffersBase", &recordMultiBind);
    auto objects = makeObjects(3);
    objects.push_back(std::move(makeObjects(1, GL_SHADER_STORAGE_BUFFER).front()));
    Tap<&glBindBufferBase> binds;
    UniformBufferObject::bindBatchStart();
    for (const auto &object : objects) {
        EXPECT_TRUE(object->bind(nullptr));
    }
    EXPECT_EQ(0u, objects[3]->uniformBlockBinding()) << "storage blocks count for themselves";
    EXPECT_EQ(0u, binds.count());
    EXPECT_TRUE(objects[1]->unbind(nullptr));
    EXPECT_EQ((std::vector<BaseCall>{{GL_UNIFORM_BUFFER, 1, 0}}), binds.calls())
        << "an unbind is never deferred";
    UniformBufferObject::bindBatchFlush();
    UniformBufferObject::bindBatchStart();
    UniformBufferObject::bindBatchFlush(); // an empty batch makes no call

    const auto name = [&](size_t index) { return objects[index]->bufferObject()->getBO(); };
    EXPECT_EQ((decltype(gMultiBinds){{GL_UNIFORM_BUFFER, 0, {name(0), 0, name(2)}},
                                     {GL_SHADER_STORAGE_BUFFER, 0, {name(3)}}}),
              gMultiBinds);
    EXPECT_TRUE(objects[1]->bind(nullptr));
    EXPECT_EQ(2u, binds.count()) << "after the flush binds are immediate again";
    for (const auto &object : objects) {
        EXPECT_TRUE(object->unbind(nullptr));
    }
}

TEST_F(UniformBufferObjectTest, WithoutMultiBindABatchIsOneCallForEachPointOfItsRange)
{
    _loader.hide("glBindBuffersBase");
    _loader.hide("glShaderStorageBlockBinding");
    const auto objects = makeObjects(3);
    EXPECT_TRUE(objects[0]->bind(nullptr));
    UniformBufferObject::bindBatchStart();
    EXPECT_TRUE(objects[1]->bind(nullptr));
    EXPECT_TRUE(objects[2]->bind(nullptr));
    Tap<&glBindBufferBase> binds;
    UniformBufferObject::bindBatchFlush();
    EXPECT_EQ((std::vector<BaseCall>{{GL_UNIFORM_BUFFER, 1, objects[1]->bufferObject()->getBO()},
                                     {GL_UNIFORM_BUFFER, 2, objects[2]->bufferObject()->getBO()}}),
              binds.calls());
    for (const auto &object : objects) {
        EXPECT_TRUE(object->unbind(nullptr));
    }
    const char *const report = "debug [GLUtilities.cpp:#] Failed to obtain 'glBindBuffersBase'";
    EXPECT_MESSAGES(report, report,
                    "debug [GLUtilities.cpp:#] Failed to obtain 'glShaderStorageBlockBinding'");
}

TEST_F(UniformBufferObjectTest, EachContextHasPointsOfItsOwnUpToItsLimits)
{
    const auto objects = makeObjects(2);
    EXPECT_TRUE(objects[0]->bind(nullptr) && objects[1]->bind(nullptr));
    {
        const auto context = TestContext::create();
        const auto theirs = makeObjects(3); // the third has a name that no buffer of the first context has
        const FakeLimits limits(
            {{GL_MAX_UNIFORM_BUFFER_BINDINGS, 2}, {GL_MAX_SHADER_STORAGE_BUFFER_BINDINGS, 1}});
        EXPECT_TRUE(theirs[2]->bind(nullptr));
        EXPECT_EQ(0u, theirs[2]->uniformBlockBinding());
        EXPECT_EQ(2, UniformBufferObject::maxUniformBlockBindings());
        if (!isForOpenGL32()) { // which has no storage blocks
            const auto storage = makeObjects(2, GL_SHADER_STORAGE_BUFFER);
            EXPECT_TRUE(storage[0]->bind(nullptr) && !storage[1]->bind(nullptr)
                        && storage[0]->unbind(nullptr));
            EXPECT_MESSAGES("warning [UniformBufferObject.cpp:#] There is no available uniformBlockBindings");
        }
        EXPECT_TRUE(theirs[2]->unbind(nullptr));
    }
    makeCurrent();
    EXPECT_EQ(1u, objects[1]->uniformBlockBinding());
    EXPECT_TRUE(objects[0]->unbind(nullptr) && objects[1]->unbind(nullptr));
}
