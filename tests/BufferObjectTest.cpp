#include "support/FakeLoader.h"
#include "support/GLFixture.h"
#include "support/Tap.h"
#include "support/TestBuffer.h"

#include <ZelGL/AutoBinder.h>
#include <ZelGL/BufferObject.h>

#include <limits>

using namespace Orvane::Zel;

namespace {

const AssertionsOf asserted("BufferObject.cpp");
const std::vector<float> kThree = {1.0f, 2.0f, 3.0f};

class BufferObjectTest : public GLTest
{
protected:
    static bool upload(BufferObject &buffer, int count = 3)
    {
        return buffer.upload(kThree.data(), count, GL_STATIC_DRAW);
    }

    FakeLoader _loader;
};

using BufferObjectOwnProcessTest = BufferObjectTest;

} // namespace

TEST_F(BufferObjectOwnProcessTest, EachObjectLooksAgainUntilNamedUploadsAreFoundAndStorageTakesWhatThereIs)
{
    _loader.hide("glNamedBufferData");
    _loader.hide("glNamedBufferSubData");
    _loader.takeLookUps();
    BufferObject buffer(nullptr);
    const QStringList four{"glXGetProcAddress glBufferStorage", "glXGetProcAddress glNamedBufferData",
                           "glXGetProcAddress glNamedBufferStorage",
                           "glXGetProcAddress glNamedBufferSubData"};
    EXPECT_EQ(four, _loader.takeLookUps());
    const BufferObject wrapper(buffer.getBO(), nullptr);
    EXPECT_EQ(four, _loader.takeLookUps());
    buffer.useStorageBuffer(12, 0); // without effect: immutable storage would refuse the upload below
    EXPECT_FALSE(upload(buffer));
    EXPECT_TRUE(asserted.reported("0u != this->_boBountTarget: Buffer Object is not bound on upload"));
    EXPECT_EQ(0, buffer.valueCount());
    buffer.setTarget(GL_ARRAY_BUFFER);
    const AutoBinder binder(&buffer);
    EXPECT_TRUE(upload(buffer) && buffer.isBindNeededForUpload());

    for (const QString hidden : {"glNamedBufferData", "glBufferStorage"}) {
        _loader.show();
        _loader.hide(hidden);
        BufferObject storage(nullptr);
        storage.setTarget(GL_COPY_READ_BUFFER);
        ASSERT_TRUE(storage.bind() && storage.unbind()); // the name becomes a buffer with its first bind
        Tap<&glBindBuffer> binds;
        storage.useStorageBuffer(12, GL_DYNAMIC_STORAGE_BIT);
        EXPECT_FALSE(storage.isBindNeededForUpload());
        EXPECT_TRUE(storage.uploadArbitraryData(kThree.data(), 3, GL_STATIC_DRAW, 4));
        EXPECT_EQ(hidden == "glBufferStorage" ? 0u : 2u, binds.count()) << "by name if that is the only way";
        EXPECT_EQ(kThree, contentsOf<float>(storage, 3));
        EXPECT_EQ(12u, storage.memoryEstimateGPU());
    }
}

TEST_F(BufferObjectTest, WrongOrdersAreReportedAndChangeNothing)
{
    auto buffer = std::make_unique<BufferObject>(nullptr);
    GLuint name = buffer->getBO();
    EXPECT_FALSE(buffer->create() || buffer->bind() || buffer->unbind() || buffer->map(GL_READ_ONLY));
    EXPECT_TRUE(asserted.reported(R"(
0u == this->_bo: Buffer Object is not NULL on create
0u != this->_target: Buffer Object's target is not set when bind() is called
0u != this->_boBountTarget: Buffer Object is not bound on unbind
0u != this->_boBountTarget: Buffer Object is not bound on map)"));
    buffer->setTarget(GL_ARRAY_BUFFER);
    ASSERT_TRUE(buffer->bind());
    EXPECT_FALSE(buffer->bind() || buffer->destroy());
    EXPECT_EQ(GLint(name), integerOf(GL_ARRAY_BUFFER_BINDING));
    buffer.reset(); // leaks its name: the ledger would report a second delete
    EXPECT_TRUE(asserted.reported(R"(
0u == this->_boBountTarget: Buffer Object is already bound on bind to target 34962
0u == this->_boBountTarget: Buffer Object is already bound on destroy to target 34962
0u == this->_boBountTarget: Buffer Object is already bound on destroy to target 34962)"));

    const BufferObject owner(nullptr);
    buffer = std::make_unique<BufferObject>(name, nullptr);
    EXPECT_EQ(2, BufferObject::NumAlive());
    EXPECT_EQ(1, BufferObject::NumAliveManaged());
    buffer.reset();
    EXPECT_EQ(1, BufferObject::NumAlive());
    EXPECT_EQ(2, ledger().alive(GLLedger::eBuffer)) << "a wrapper must not delete the name";
    EXPECT_EQ(96u, owner.memoryEstimateCPU());
    glDeleteBuffers(1, &name);

    BufferObject none(0, nullptr);
    Tap<&glUnmapBuffer> unmaps;
    unmaps.replace([](GLenum) { return GLboolean(GL_FALSE); });
    EXPECT_TRUE(none.destroy());
    EXPECT_FALSE(none.bind() || none.unbind() || upload(none) || none.subUpload(kThree.data(), 3, 0)
                 || none.map(GL_READ_ONLY) || none.unmap());
    EXPECT_EQ(1u, unmaps.count()) << "an unmap is attempted even on a doubtful object";
    EXPECT_TRUE(asserted.reported(R"(
0u != this->_bo: Buffer Object is NULL on bind
0u != this->_bo: Buffer Object is NULL on unbind
0u != this->_bo: Buffer Object is NULL on upload
0u != this->_bo: Buffer Object is NULL on upload
0u != this->_bo: Buffer Object is NULL on map
0u != this->_bo: Buffer Object is NULL on map
0u != this->_boBountTarget: Buffer Object is not bound on unmap
0u != this->_target: Buffer Object's target is not set when unmap() is called)"));
}

TEST_F(BufferObjectTest, EitherSetterTakesEitherKindOfTargetAndReportsTheWrongKind)
{
    BufferObject buffer(nullptr);
    const GLuint name = buffer.getBO();
    buffer.setTarget(GL_UNIFORM_BUFFER);
    ASSERT_TRUE(buffer.bind() && upload(buffer) && buffer.unbind());
    buffer.setIndexedTarget(GL_ATOMIC_COUNTER_BUFFER, 0, 0, 4);
    EXPECT_MESSAGES();
    buffer.setTarget(GL_ATOMIC_COUNTER_BUFFER);
    EXPECT_EQ(GLenum(GL_ATOMIC_COUNTER_BUFFER), buffer.target());
    buffer.setIndexedTarget(GL_UNIFORM_BUFFER, 5, 0, 12);
    EXPECT_MESSAGES(
        "critical [BufferObject.cpp:#] Cannot use setTarget() for indexed buffer object such as "
        "GL_UNIFORM_BUFFER. Use setIndexedTarget() instead.",
        "critical [BufferObject.cpp:#] Cannot use setIndexedTarget() for non-indexed buffer object such as "
        "GL_ARRAY_BUFFER. Use setTarget() instead.");
    EXPECT_TRUE(buffer.isBindNeededForUpload());

    Tap<&glBindBufferRange> ranges;
    Tap<&glBindBuffer> binds;
    ASSERT_TRUE(buffer.bind() && buffer.unbind());
    EXPECT_EQ((std::vector<decltype(ranges)::Call>{{GL_UNIFORM_BUFFER, 5, name, 0, 12},
                                                   {GL_UNIFORM_BUFFER, 0, 0, 0, 0}}),
              ranges.calls());
    GLint bound = -1;
    driver()->glGetIntegeri_v(GL_UNIFORM_BUFFER_BINDING, 5, &bound);
    EXPECT_EQ(GLint(name), bound) << "the range stays bound";
    buffer.setTarget(GL_COPY_READ_BUFFER);
    ASSERT_TRUE(buffer.bind() && buffer.unbind());
    EXPECT_EQ((std::vector<decltype(binds)::Call>{{GL_COPY_READ_BUFFER, name}, {GL_COPY_READ_BUFFER, 0}}),
              binds.calls());
    EXPECT_EQ(2u, ranges.count());
}

TEST_F(BufferObjectTest, EveryUploadFillsABoundObjectByTargetAndAnUnboundOneByName)
{
    const unsigned int uints[] = {7, 8};
    const unsigned short ushorts[] = {9, 10, 11};
    BufferObject buffer(nullptr);
    buffer.setTarget(GL_ARRAY_BUFFER);
    Tap<&glBufferData> byTarget;
    EXPECT_TRUE(buffer.isBindNeededForUpload());
    {
        const AutoBinder binder(&buffer);
        EXPECT_TRUE(buffer.upload(QVector<float>{1.0f, 2.0f}, GL_STATIC_DRAW));
        EXPECT_EQ((std::vector<float>{1.0f, 2.0f}), contentsOf<float>(buffer, 2));
        EXPECT_EQ(8u, buffer.memoryEstimateGPU());
        EXPECT_TRUE(buffer.uploadGLuintData(uints, 2, GL_STATIC_DRAW));
        EXPECT_EQ((std::vector<unsigned int>{7, 8}), contentsOf<unsigned int>(buffer, 2));
        ASSERT_NE(nullptr, buffer.map(GL_READ_ONLY));
        EXPECT_TRUE(buffer.unmap());
        EXPECT_EQ(2u, byTarget.count());
    }
    EXPECT_FALSE(buffer.isBindNeededForUpload());
    EXPECT_TRUE(buffer.uploadGLushortData(ushorts, 3, GL_STATIC_DRAW));
    EXPECT_EQ((std::vector<unsigned short>{9, 10, 11}), contentsOf<unsigned short>(buffer, 3));
    EXPECT_EQ(3, buffer.valueCount());
    EXPECT_EQ(2u, buffer.valueSize());
    EXPECT_TRUE(buffer.uploadArbitraryData("abcdefghi", 3, GL_DYNAMIC_DRAW, 3));
    EXPECT_EQ('i', contentsOf<char>(buffer, 9).back());
    EXPECT_FALSE(upload(buffer, 0) || upload(buffer, -1)
                 || buffer.uploadArbitraryData("", 3, GL_STATIC_DRAW, 0));
    EXPECT_EQ(9u, buffer.memoryEstimateGPU());
    EXPECT_EQ(2u, byTarget.count());
    EXPECT_TRUE(asserted.reported(R"(
0 != valueCount: Buffer Object needs more and 0 values during upload
0 < valueCount: Buffer Object needs more and 0 values during upload
0 != valueSize: Buffer Object needs more and 0 value size during upload)"));
}

TEST_F(BufferObjectTest, SubUploadEndsExactlyAtTheEnd)
{
    BufferObject buffer(nullptr);
    buffer.setTarget(GL_ARRAY_BUFFER);
    const QVector<float> two{8.0f, 9.0f};
    EXPECT_FALSE(buffer.subUpload(two, 0));
    const AutoBinder binder(&buffer);
    ASSERT_TRUE(upload(buffer) && buffer.subUpload(two, 1));
    EXPECT_FALSE(buffer.subUpload(two, 2) || buffer.subUpload(two, std::numeric_limits<int>::max())
                 || buffer.subUpload(two, -1) || buffer.subUpload({}, 0)
                 || buffer.subUpload(two.data(), -1, 1));
    EXPECT_EQ((std::vector<float>{1.0f, 8.0f, 9.0f}), contentsOf<float>(buffer, 3));
    EXPECT_TRUE(asserted.reported(R"(
0u != this->_boBountTarget: Buffer Object is not bound on upload
offset + valueCount <= _valueCount: Buffer Object is not large enough to hold data
offset + valueCount <= _valueCount: Buffer Object is not large enough to hold data
0 <= offset: Buffer Object is not large enough to hold data
0 != valueCount: Buffer Object needs more and 0 values during upload
0 < valueCount: Buffer Object needs more and 0 values during upload)"));
}

TEST_F(BufferObjectTest, RebindSavesTheCallForOneNameAndForTheSameObject)
{
    BufferObject first(nullptr);
    BufferObject second(nullptr);
    BufferObject sameAsFirst(first.getBO(), nullptr);
    for (BufferObject *buffer : {&first, &second, &sameAsFirst}) {
        buffer->setTarget(GL_ARRAY_BUFFER);
    }
    Tap<&glBindBuffer> binds;
    EXPECT_TRUE(first.rebind(nullptr, false));
    EXPECT_EQ(1u, binds.count());
    EXPECT_TRUE(first.rebind(&first, false) && sameAsFirst.rebind(&first, false));
    EXPECT_EQ(1u, binds.count());
    EXPECT_TRUE(first.bind()) << "the bound mark has moved on";
    EXPECT_TRUE(second.rebind(&sameAsFirst, false));
    EXPECT_EQ(std::make_tuple(GLenum(GL_ARRAY_BUFFER), second.getBO()), binds.calls().back());
    EXPECT_EQ(3u, binds.count());
    EXPECT_TRUE(second.rebind(&second, true));
    EXPECT_EQ(4u, binds.count());
    EXPECT_TRUE(second.unbind() && first.unbind());
}

TEST_F(BufferObjectTest, RebindRefusesWhatDoesNotFitAndLeavesTheOldObjectBound)
{
    BufferObject bound(nullptr);
    BufferObject other(nullptr);
    BufferObject third(nullptr);
    bound.setTarget(GL_ARRAY_BUFFER);
    third.setTarget(GL_ARRAY_BUFFER);
    EXPECT_FALSE(other.rebind(&bound, false));
    other.setTarget(GL_ARRAY_BUFFER);
    EXPECT_FALSE(other.rebind(&bound, false));
    ASSERT_TRUE(bound.bind() && third.bind());
    EXPECT_FALSE(third.rebind(&bound, false));
    other.setTarget(GL_COPY_READ_BUFFER);
    EXPECT_FALSE(other.rebind(&bound, false));
    other.setIndexedTarget(GL_ATOMIC_COUNTER_BUFFER, 0, 0, 4);
    EXPECT_FALSE(other.rebind(&bound, false));
    EXPECT_TRUE(asserted.reported(R"(
0u != this->_target: Buffer Object's target is not set when bind() is called
0u != bufferObjectBound->_boBountTarget: Bound Buffer Object is not already bound to target 0
0u == this->_boBountTarget: Buffer Object is already bound on bind to target 34962
_target == bufferObjectBound->_boBountTarget: Bound Buffer Object target 0 is not the same target 34962
_target == bufferObjectBound->_boBountTarget: Bound Buffer Object target 0 is not the same target 34962)"));
    other.setIndexedTarget(GL_ARRAY_BUFFER, 0, 0, 4);
    EXPECT_MESSAGES(startsWith("critical [BufferObject.cpp:#] Cannot use setIndexedTarget()"));
    EXPECT_FALSE(other.rebind(&bound, false));
    EXPECT_TRUE(asserted.reported("_useBindBufferRange == bufferObjectBound->_useBindBufferRange: "
                                  "Bound BO useRange does not match the rebind Buffer Object"));
    EXPECT_TRUE(third.unbind() && bound.unbind());
}
