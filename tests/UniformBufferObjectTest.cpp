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

using BaseCalls = std::vector<std::tuple<GLenum, GLuint, GLuint>>;

const char kVertexSource[] = "#version 150\n"
                             "layout (std140) uniform First { vec4 first; };\n"
                             "layout (std140) uniform Second { vec4 second; };\n"
                             "void main() { gl_Position = first + second; }\n";
const char kNoPoint[] = "warning [UniformBufferObject.cpp:#] There is no available uniformBlockBindings";
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

/// Each call of glBindBuffersBase, as the calls of glBindBufferBase that it replaces.
std::vector<BaseCalls> gMultiBinds;

void APIENTRY recordMultiBind(GLenum target, GLuint first, GLsizei count, const GLuint *buffers)
{
    gMultiBinds.emplace_back();
    for (GLuint i = 0; i < GLuint(count); ++i) {
        gMultiBinds.back().emplace_back(target, first + i, buffers[i]);
    }
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

void unbindAll(const std::vector<std::unique_ptr<UniformBufferObject>> &objects)
{
    for (const auto &object : objects) {
        EXPECT_TRUE(object->unbind(nullptr));
    }
}

using UniformBufferObjectTest = GLTest;
using UniformBufferObjectOwnProcessTest = GLTest; // a context looks the entry points up once

} // namespace

TEST_F(UniformBufferObjectTest, WrongUsesAreReportedAndOddBuffersAreBoundAnyway)
{
    UniformBufferObject empty("First", {}, nullptr);
    EXPECT_FALSE(empty.bind() || empty.unbind());
    const char *const noProgram = "warning [UniformBufferObject.cpp:#] No ShaderProgram is bound";
    EXPECT_MESSAGES(noProgram, noProgram);
    EXPECT_FALSE(empty.bind(nullptr) || empty.unbind(nullptr) || empty.uniformBlockBinding() != 0
                 || empty.memoryEstimateGPU() != 0);
    EXPECT_TRUE(asserted.reported(R"(
!this->_bufferObject.isNull(): m_bufferObject is NULL on bind()
!this->_bufferObject.isNull(): m_bufferObject is NULL on bind()
!this->_bufferObject.isNull(): m_bufferObject is NULL on uniformBlockBinding())"));

    UniformBufferObject unbound("First", makeFilled(), nullptr);
    EXPECT_TRUE(unbound.unbind(nullptr));
    EXPECT_EQ(0xFFFFFFFFu, unbound.uniformBlockBinding());
    EXPECT_MESSAGES(asserted("uboContextData._boundUniformBufferObjectCounts.contains(bufferObjectID)",
                             "UniformBufferObject has not been bound on uniformBlockBinding()"));
    EXPECT_EQ(56u + 5u + 96u, unbound.memoryEstimateCPU());
    EXPECT_EQ(16u, unbound.memoryEstimateGPU());
    EXPECT_EQ(2, UniformBufferObject::NumAlive());

    UniformBufferObject odd("First", makeBuffer(GL_ARRAY_BUFFER), nullptr);
    Tap<&glBindBufferBase> binds;
    EXPECT_TRUE(odd.bind(nullptr));
    EXPECT_MESSAGES("debug Unknown Uniforma b uffer type 0x8892",
                    asserted("_bufferObject->valueCount() * _bufferObject->valueSize() != 0",
                             "glBindBufferRange() cannot take 0 as a size (0,0)"));
    EXPECT_EQ((BaseCalls{{GL_UNIFORM_BUFFER, 0, odd.bufferObject()->getBO()}}), binds.calls());
    EXPECT_TRUE(odd.unbind(nullptr));
    EXPECT_MESSAGES("debug Unknown Uniforma b uffer type 0x8892");
}

TEST_F(UniformBufferObjectTest, ABufferHoldsItsPointUntilItsLastUserIsGone)
{
    const auto program = makeProgram(kVertexSource);
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
    for (const auto &[block, object] : {std::pair("First", &first), {"Second", &second}}) {
        // The only block of a program has index 0, which one of the two does not have in the program of both.
        const auto other = makeProgram(QString("#version 150\nlayout (std140) uniform %1 { vec4 value; };\n"
                                               "void main() { gl_Position = value; }\n")
                                           .arg(block));
        EXPECT_TRUE(object->bind(other.get()) && object->unbind(other.get()));
        EXPECT_EQ(1, blockBinding(*other, block));
    }

    EXPECT_TRUE(first.unbind() && lowest[1]->bind(nullptr));
    EXPECT_EQ(2u, lowest[1]->uniformBlockBinding()) << "point 1 is still held";
    binds.clear();
    EXPECT_TRUE(second.unbind());
    EXPECT_TRUE(second.unbind()) << "one too many is no fault";
    EXPECT_EQ((BaseCalls{{GL_UNIFORM_BUFFER, 1, 0}}), binds.calls());
    unbindAll(lowest);
}

TEST_F(UniformBufferObjectTest, AProgramKeepsThePointsOfItsBlocks)
{
    const auto program = makeProgram(kVertexSource);
    UniformBufferObject first("First", makeFilled(), nullptr);
    UniformBufferObject second("Second", makeFilled(), nullptr);
    UniformBufferObject absent("Absent", makeFilled(), nullptr);
    ShaderProgram *const p = program.get();
    Tap<&glUniformBlockBinding> settings;
    EXPECT_TRUE(first.bind(p) && second.bind(p));
    EXPECT_EQ(1u, settings.count()) << "First has point 0 from the start";
    EXPECT_EQ(0, blockBinding(*p, "First"));
    EXPECT_EQ(1, blockBinding(*p, "Second"));

    EXPECT_TRUE(first.unbind(p) && second.unbind(p) && second.bind(p)) << "in the other order";
    EXPECT_EQ(1u, second.uniformBlockBinding()) << "its own point, though 0 is free";
    EXPECT_TRUE(absent.bind(p));
    EXPECT_EQ(0u, absent.uniformBlockBinding()) << "a block that the program lacks takes the lowest";
    EXPECT_EQ(1u, settings.count());
    EXPECT_TRUE(first.bind(p));
    EXPECT_EQ(2, blockBinding(*p, "First")) << "its own point is taken";
    EXPECT_TRUE(first.unbind(p) && second.unbind(p) && absent.unbind(p));
}

TEST_F(UniformBufferObjectTest, WhenAllPointsAreTakenOnlyTheirHoldersBind)
{
    const int count = UniformBufferObject::maxUniformBlockBindings();
    ASSERT_GT(count, 0);
    const auto objects = makeObjects(count + 1);
    for (const auto &object : objects) {
        EXPECT_EQ(object != objects.back(), object->bind(nullptr));
    }
    EXPECT_MESSAGES(kNoPoint);
    EXPECT_EQ(unsigned(count - 1), objects[size_t(count) - 1]->uniformBlockBinding());
    EXPECT_TRUE(objects.front()->bind(nullptr) && objects.front()->unbind(nullptr));
    EXPECT_TRUE(objects[3]->unbind(nullptr) && objects.back()->bind(nullptr));
    EXPECT_EQ(3u, objects.back()->uniformBlockBinding()) << "the one that came free";
    unbindAll(objects);
}

TEST_F(UniformBufferObjectOwnProcessTest, ABatchIsOneCallForEachKindOrOneForEachPointOfItsRange)
{
    for (const bool hasMultiBind : {true, false}) {
        const auto context = hasMultiBind ? nullptr : TestContext::create();
        FakeLoader loader;
        if (hasMultiBind) {
            loader.provide("glBindBuffersBase", &recordMultiBind);
        } else {
            loader.hide("glBindBuffersBase");
            loader.hide("glShaderStorageBlockBinding");
        }
        const auto objects = makeObjects(4);
        const auto storage = makeObjects(isForOpenGL32() ? 0 : 1, GL_SHADER_STORAGE_BUFFER);
        EXPECT_TRUE(objects[0]->bind(nullptr));
        UniformBufferObject::bindBatchStart();
        Tap<&glBindBufferBase> binds;
        EXPECT_TRUE(objects[1]->bind(nullptr) && objects[2]->bind(nullptr) && objects[3]->bind(nullptr));
        std::vector<BaseCalls> ranges = {{{GL_UNIFORM_BUFFER, 1, objects[1]->bufferObject()->getBO()},
                                          {GL_UNIFORM_BUFFER, 2, 0},
                                          {GL_UNIFORM_BUFFER, 3, objects[3]->bufferObject()->getBO()}}};
        for (const auto &object : storage) { // storage blocks have points of their own
            EXPECT_TRUE(object->bind(nullptr));
            ranges.push_back({{GL_SHADER_STORAGE_BUFFER, 0, object->bufferObject()->getBO()}});
        }
        EXPECT_EQ(0u, binds.count());
        EXPECT_TRUE(objects[2]->unbind(nullptr));
        EXPECT_EQ((BaseCalls{{GL_UNIFORM_BUFFER, 2, 0}}), binds.calls()) << "an unbind is never deferred";
        binds.clear();
        UniformBufferObject::bindBatchFlush();
        UniformBufferObject::bindBatchStart();
        UniformBufferObject::bindBatchFlush(); // an empty batch makes no call
        BaseCalls single;
        for (const BaseCalls &range : ranges) {
            single.insert(single.end(), range.begin(), range.end());
        }
        EXPECT_EQ(hasMultiBind ? BaseCalls() : single, binds.calls());
        EXPECT_EQ(hasMultiBind ? ranges : std::vector<BaseCalls>(), std::exchange(gMultiBinds, {}));
        binds.clear();
        EXPECT_TRUE(objects[2]->bind(nullptr));
        EXPECT_EQ(1u, binds.count()) << "after the flush binds are immediate again";
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
            EXPECT_MESSAGES(kNoPoint);
        }
        EXPECT_TRUE(theirs[2]->unbind(nullptr));
    }
    makeCurrent();
    EXPECT_EQ(1u, objects[1]->uniformBlockBinding());
    unbindAll(objects);
}
