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
const float kThree[] = {1.0f, 2.0f, 3.0f};
const char *const kNoValues = "Buffer Object needs more and 0 values during upload";

class BufferObjectTest : public GLTest
{
protected:
    void expectStorage(BufferObject &buffer)
    {
        EXPECT_FALSE(buffer.isBindNeededForUpload());
        EXPECT_EQ(0u, buffer.memoryEstimateGPU());
        EXPECT_TRUE(buffer.uploadArbitraryData(kThree, 3, GL_STATIC_DRAW, 4));
        EXPECT_EQ((std::vector<float>{1.0f, 2.0f, 3.0f}), contentsOf<float>(buffer, 3));
        EXPECT_EQ(12u, buffer.memoryEstimateGPU());
    }

    FakeLoader _loader;
};

} // namespace

TEST_F(BufferObjectTest, CountsWhatLivesAndWhatItOwns)
{
    BufferObject owner(nullptr);
    {
        const BufferObject wrapper(owner.getBO(), nullptr);
        EXPECT_EQ(owner.getBO(), wrapper.getBO());
        EXPECT_EQ(2, BufferObject::NumAlive());
        EXPECT_EQ(1, BufferObject::NumAliveManaged());
    }
    EXPECT_EQ(1, BufferObject::NumAlive());
    EXPECT_EQ(1, ledger().alive(GLLedger::eBuffer)) << "a wrapper must not delete the name";
    EXPECT_EQ(96u, owner.memoryEstimateCPU());
    EXPECT_EQ(0u, owner.memoryEstimateGPU());
}

TEST_F(BufferObjectTest, WrongOrdersAreReportedAndChangeNothing)
{
    auto buffer = std::make_unique<BufferObject>(nullptr);
    GLuint name = buffer->getBO();
    EXPECT_TRUE(asserted.refused(
        {{buffer->create(), "0u == this->_bo", "Buffer Object is not NULL on create"},
         {buffer->bind(), "0u != this->_target", "Buffer Object's target is not set when bind() is called"},
         {buffer->unbind(), "0u != this->_boBountTarget", "Buffer Object is not bound on unbind"},
         {buffer->map(GL_READ_ONLY) != nullptr, "0u != this->_boBountTarget",
          "Buffer Object is not bound on map"}}));

    buffer->setTarget(GL_ARRAY_BUFFER);
    ASSERT_TRUE(buffer->bind());
    const QString destroyed = "Buffer Object is already bound on destroy to target 34962";
    EXPECT_TRUE(asserted.refused({{buffer->bind(), "0u == this->_boBountTarget",
                                   "Buffer Object is already bound on bind to target 34962"},
                                  {buffer->destroy(), "0u == this->_boBountTarget", destroyed}}));
    EXPECT_EQ(GLint(name), integerOf(GL_ARRAY_BUFFER_BINDING));
    buffer.reset(); // leaks its name: the ledger would report a second delete
    EXPECT_MESSAGES(asserted("0u == this->_boBountTarget", destroyed));
    glDeleteBuffers(1, &name);
}

TEST_F(BufferObjectTest, WithoutANameEveryUseIsReportedInItsOwnWords)
{
    BufferObject buffer(0, nullptr);
    Tap<&glUnmapBuffer> unmaps;
    unmaps.replace([](GLenum) { return GLboolean(GL_FALSE); });
    EXPECT_TRUE(buffer.destroy());
    EXPECT_TRUE(asserted.refused(
        {{buffer.bind(), "0u != this->_bo", "Buffer Object is NULL on bind"},
         {buffer.unbind(), "0u != this->_bo", "Buffer Object is NULL on unbind"},
         {buffer.upload(kThree, 3, GL_STATIC_DRAW), "0u != this->_bo", "Buffer Object is NULL on upload"},
         {buffer.subUpload(kThree, 3, 0), "0u != this->_bo", "Buffer Object is NULL on upload"},
         {buffer.map(GL_READ_ONLY) != nullptr, "0u != this->_bo", "Buffer Object is NULL on map"}}));

    EXPECT_FALSE(buffer.unmap());
    EXPECT_EQ(1u, unmaps.count()) << "an unmap is attempted even on a doubtful object";
    EXPECT_MESSAGES(
        asserted("0u != this->_bo", "Buffer Object is NULL on map"),
        asserted("0u != this->_boBountTarget", "Buffer Object is not bound on unmap"),
        asserted("0u != this->_target", "Buffer Object's target is not set when unmap() is called"));
}

TEST_F(BufferObjectTest, IndexedAndPlainTargetsAreToldApartAndStoredAllTheSame)
{
    BufferObject buffer(nullptr);
    buffer.setTarget(GL_UNIFORM_BUFFER);
    ASSERT_TRUE(buffer.bind());
    ASSERT_TRUE(buffer.upload(kThree, 3, GL_STATIC_DRAW));
    ASSERT_TRUE(buffer.unbind());
    buffer.setIndexedTarget(GL_ATOMIC_COUNTER_BUFFER, 0, 0, 4);
    EXPECT_MESSAGES();
    buffer.setTarget(GL_ATOMIC_COUNTER_BUFFER);
    EXPECT_EQ(GLenum(GL_ATOMIC_COUNTER_BUFFER), buffer.target());
    buffer.setIndexedTarget(GL_UNIFORM_BUFFER, 5, 0, 12);
    EXPECT_EQ(GLenum(GL_UNIFORM_BUFFER), buffer.target());
    EXPECT_MESSAGES(
        "critical [BufferObject.cpp:#] Cannot use setTarget() for indexed buffer object such as "
        "GL_UNIFORM_BUFFER. Use setIndexedTarget() instead.",
        "critical [BufferObject.cpp:#] Cannot use setIndexedTarget() for non-indexed buffer object such as "
        "GL_ARRAY_BUFFER. Use setTarget() instead.");

    Tap<&glBindBufferRange> ranges;
    ASSERT_TRUE(buffer.bind());
    ASSERT_TRUE(buffer.unbind());
    EXPECT_EQ((std::vector<decltype(ranges)::Call>{{GL_UNIFORM_BUFFER, 5, buffer.getBO(), 0, 12},
                                                   {GL_UNIFORM_BUFFER, 0, 0, 0, 0}}),
              ranges.calls());
    GLint bound = -1;
    driver()->glGetIntegeri_v(GL_UNIFORM_BUFFER_BINDING, 5, &bound);
    EXPECT_EQ(GLint(buffer.getBO()), bound) << "where it was bound it stays";
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
    EXPECT_EQ(9u, buffer.memoryEstimateGPU());
    EXPECT_EQ(2u, byTarget.count());

    EXPECT_TRUE(asserted.refused({{buffer.upload(kThree, 0, GL_STATIC_DRAW), "0 != valueCount", kNoValues},
                                  {buffer.upload(kThree, -1, GL_STATIC_DRAW), "0 < valueCount", kNoValues},
                                  {buffer.uploadArbitraryData("abc", 3, GL_STATIC_DRAW, 0), "0 != valueSize",
                                   "Buffer Object needs more and 0 value size during upload"}}));
    EXPECT_EQ(9u, buffer.memoryEstimateGPU());
}

TEST_F(BufferObjectTest, SubUploadEndsExactlyAtTheEnd)
{
    BufferObject buffer(nullptr);
    buffer.setTarget(GL_ARRAY_BUFFER);
    const QVector<float> two{8.0f, 9.0f};
    EXPECT_TRUE(asserted.refused(
        {{buffer.subUpload(two, 0), "0u != this->_boBountTarget", "Buffer Object is not bound on upload"}}));
    const AutoBinder binder(&buffer);
    ASSERT_TRUE(buffer.upload(kThree, 3, GL_STATIC_DRAW));
    EXPECT_TRUE(buffer.subUpload(two, 1));
    for (const int tooFar : {2, std::numeric_limits<int>::max()}) {
        EXPECT_TRUE(asserted.refused({{buffer.subUpload(two, tooFar), "offset + valueCount <= _valueCount",
                                       "Buffer Object is not large enough to hold data"}}));
    }
    EXPECT_TRUE(asserted.refused({{buffer.subUpload(kThree, 0, 0), "0 != valueCount", kNoValues},
                                  {buffer.subUpload(kThree, -1, 1), "0 < valueCount", kNoValues}}));
    EXPECT_EQ((std::vector<float>{1.0f, 8.0f, 9.0f}), contentsOf<float>(buffer, 3));
}

TEST_F(BufferObjectTest, WithoutNamedUploadsABindIsNeededAndEveryObjectLooksAgain)
{
    _loader.hide("glNamedBufferData");
    _loader.takeLookUps();
    BufferObject buffer(nullptr);
    const QStringList four{"glXGetProcAddress glBufferStorage", "glXGetProcAddress glNamedBufferData",
                           "glXGetProcAddress glNamedBufferStorage",
                           "glXGetProcAddress glNamedBufferSubData"};
    EXPECT_EQ(four, _loader.takeLookUps());
    const BufferObject wrapper(buffer.getBO(), nullptr);
    EXPECT_EQ(four, _loader.takeLookUps());

    EXPECT_FALSE(buffer.upload(kThree, 3, GL_STATIC_DRAW));
    EXPECT_MESSAGES(asserted("0u != this->_boBountTarget", "Buffer Object is not bound on upload"));
    EXPECT_EQ(0, buffer.valueCount());
    buffer.setTarget(GL_ARRAY_BUFFER);
    const AutoBinder binder(&buffer);
    EXPECT_TRUE(buffer.upload(kThree, 3, GL_STATIC_DRAW));
    EXPECT_TRUE(buffer.isBindNeededForUpload());
}

TEST_F(BufferObjectTest, StorageIsFilledByNameAndLeavesTheScratchTargetUnbound)
{
    BufferObject buffer(nullptr);
    buffer.useStorageBuffer(12, GL_DYNAMIC_STORAGE_BIT);
    expectStorage(buffer);
    EXPECT_EQ(0, integerOf(GL_UNIFORM_BUFFER_BINDING));
}

TEST_F(BufferObjectTest, StorageIsMadeByNameWhereThatIsAllThereIs)
{
    _loader.hide("glBufferStorage");
    BufferObject buffer(nullptr);
    buffer.setTarget(GL_ARRAY_BUFFER);
    ASSERT_TRUE(buffer.bind()); // the name becomes a buffer with its first bind
    ASSERT_TRUE(buffer.unbind());
    Tap<&glBindBuffer> binds;
    buffer.useStorageBuffer(12, GL_DYNAMIC_STORAGE_BIT);
    EXPECT_EQ(0u, binds.count());
    expectStorage(buffer);
}

TEST_F(BufferObjectTest, WithoutNamedSubUploadsThereIsNoStorage)
{
    _loader.hide("glNamedBufferSubData");
    BufferObject buffer(nullptr);
    buffer.useStorageBuffer(12, GL_DYNAMIC_STORAGE_BIT);
    EXPECT_TRUE(buffer.isBindNeededForUpload());
    buffer.setTarget(GL_ARRAY_BUFFER);
    const AutoBinder binder(&buffer);
    EXPECT_TRUE(buffer.upload(kThree, 3, GL_STATIC_DRAW)) << "immutable storage would refuse this";
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
    EXPECT_TRUE(first.rebind(&first, false));
    EXPECT_TRUE(sameAsFirst.rebind(&first, false));
    EXPECT_EQ(1u, binds.count());
    EXPECT_TRUE(first.bind()) << "the bound mark has moved on";
    EXPECT_TRUE(second.rebind(&sameAsFirst, false));
    EXPECT_EQ(std::make_tuple(GLenum(GL_ARRAY_BUFFER), second.getBO()), binds.calls().back());
    EXPECT_EQ(3u, binds.count());
    EXPECT_TRUE(second.rebind(&second, true));
    EXPECT_EQ(4u, binds.count());
    EXPECT_TRUE(second.unbind());
    EXPECT_TRUE(first.unbind());
    EXPECT_EQ(0, integerOf(GL_ARRAY_BUFFER_BINDING));
}

TEST_F(BufferObjectTest, RebindRefusesWhatDoesNotFitAndLeavesTheOldObjectBound)
{
    BufferObject bound(nullptr);
    BufferObject other(nullptr);
    bound.setTarget(GL_ARRAY_BUFFER);
    EXPECT_TRUE(asserted.refused({{other.rebind(&bound, false), "0u != this->_target",
                                   "Buffer Object's target is not set when bind() is called"}}));
    other.setTarget(GL_ARRAY_BUFFER);
    EXPECT_TRUE(asserted.refused({{other.rebind(&bound, false), "0u != bufferObjectBound->_boBountTarget",
                                   "Bound Buffer Object is not already bound to target 0"}}));

    ASSERT_TRUE(bound.bind());
    const char *const sameTarget = "_target == bufferObjectBound->_boBountTarget";
    const QString otherTarget = "Bound Buffer Object target 0 is not the same target 34962";
    other.setTarget(GL_COPY_READ_BUFFER);
    EXPECT_TRUE(asserted.refused({{other.rebind(&bound, false), sameTarget, otherTarget}}));
    other.setIndexedTarget(GL_ATOMIC_COUNTER_BUFFER, 0, 0, 4);
    EXPECT_TRUE(asserted.refused({{other.rebind(&bound, false), sameTarget, otherTarget}}));
    other.setIndexedTarget(GL_ARRAY_BUFFER, 0, 0, 4);
    EXPECT_MESSAGES(startsWith("critical [BufferObject.cpp:#] Cannot use setIndexedTarget()"));
    EXPECT_TRUE(asserted.refused(
        {{other.rebind(&bound, false), "_useBindBufferRange == bufferObjectBound->_useBindBufferRange",
          "Bound BO useRange does not match the rebind Buffer Object"}}));

    BufferObject third(nullptr);
    third.setTarget(GL_ARRAY_BUFFER);
    ASSERT_TRUE(third.bind());
    EXPECT_TRUE(asserted.refused({{third.rebind(&bound, false), "0u == this->_boBountTarget",
                                   "Buffer Object is already bound on bind to target 34962"}}));
    EXPECT_TRUE(third.unbind());
    EXPECT_TRUE(bound.unbind());
}
