#include "support/AllocationCount.h"
#include "support/FakeLimits.h"
#include "support/FakeLoader.h"
#include "support/GLFixture.h"
#include "support/StateGuard.h"
#include "support/Tap.h"
#include "support/TestProgram.h"

#include <ZelGL/ZelGL.h>

#include <QtGui/QOpenGLFunctions_3_2_Core>

#include <cstring>
#include <numeric>

using namespace Orvane::Zel;

namespace {

using Plan = InstanceDataPlan;
using Tokens = QVector<TextureToken>;

/// Returns tokens, binds nothing and records the lists of its calls.
class ToldManager : public TextureManager
{
public:
    using TextureManager::bind;
    using TextureManager::unbind;

    void bind(const QVector<TextureToken> &tokens) override { bound += tokens; }
    void bind(const QList<TextureToken> &) override {}
    void unbind(const QVector<TextureToken> &tokens) override { unbound += tokens; }
    void bind(ShaderProgram *) override {}
    void unbind(ShaderProgram *) override {}
    QString getShaderFile() override { return {}; }

    QVector<Tokens> bound;
    QVector<Tokens> unbound;
};

class InstanceDataTest : public GLTest
{
protected:
    InstanceDataTest()
    {
        _loader.hide("glNamedBufferData"); // so that each upload calls the tapped one
    }

    ~InstanceDataTest() override { InstanceDataRegistry::Instance()->clear(); }

    /// "Paint": a vec3 at 0, a vec2 at 16, a token at 24, floats at 32 and 36; 48 bytes.
    Plan *paint(Plan::MechanismType mechanism = Plan::eUniformBufferMechanism, unsigned long arraySize = 8)
    {
        auto *plan = new Plan("Paint");
        plan->addMember(Plan::eFloat, "strength");
        plan->addMember(Plan::eFloat, "gloss");
        plan->addMember(Plan::eVec2, "shift");
        plan->addMember(Plan::eVec3, "tint");
        plan->addMember(Plan::eTexture, "image");
        plan->setMechanism(mechanism);
        plan->setArraySize(arraySize);
        InstanceDataRegistry::Instance()->registerPlan(plan);
        EXPECT_EQ(1, _capture.take().size()); // the limit
        return plan;
    }

    FakeLoader _loader;
};

const float kTint[] = {1, 2, 3, 4};

QByteArray zeros(int size)
{
    return QByteArray(size, '\0');
}

QByteArray bytesOf(const float *values, int count)
{
    return QByteArray(reinterpret_cast<const char *>(values), count * int(sizeof *values));
}

const AssertionsOf asserted("InstanceData.cpp");

} // namespace

TEST_F(InstanceDataTest, ItemsHoldTheBytesOfTheirMembers)
{
    paint();
    InstanceData item("Paint");
    EXPECT_EQ("Paint", item.name());
    EXPECT_EQ(zeros(48), item.dataArray());
    item.set("tint", kTint, 16);
    item.set("tint", kTint + 1, 4); // a shorter value leaves the rest
    const float tint[] = {2, 2, 3, 4};
    EXPECT_EQ(bytesOf(tint, 4) + zeros(32), item.dataArray());
    item.set(36, kTint, 4);
    float read[4] = {};
    item.get("tint", read, 0); // the size of the destination is ignored
    EXPECT_EQ(bytesOf(tint, 4), bytesOf(read, 4));
    item.get(36, 4, read, 0);
    EXPECT_EQ(1.0f, read[0]);

    const InstanceData copy = item;
    item.clear();
    EXPECT_EQ(zeros(48), item.dataArray());
    EXPECT_EQ(bytesOf(tint, 4), copy.dataArray().left(16));
}

TEST_F(InstanceDataTest, WrongMembersAreReportedAndStayInsideTheItem)
{
    paint();
    InstanceData item("Paint");
    const QString isTexture = asserted("InstanceDataPlan::eTexture != _plan->dataType(dataName)",
                                       "InstanceData::set( '%1') call on data type 0");
    const QString tooLong = asserted("dataSize <= _plan->dataSize(dataName)", "plan 'Paint' data 'strength'");
    item.set("none", kTint, 4);
    EXPECT_MESSAGES(asserted("_plan->contains(dataName)", "plan 'Paint' data 'none'"), isTexture.arg("none"));
    EXPECT_EQ(bytesOf(kTint, 1) + zeros(44), item.dataArray()); // an unknown member is at offset 0
    item.set("image", kTint, 8);
    EXPECT_MESSAGES(isTexture.arg("image"));
    item.set("strength", kTint, 8); // overwrites its neighbour
    EXPECT_MESSAGES(tooLong);
    EXPECT_EQ(bytesOf(kTint, 2), item.dataArray().mid(32, 8));

    const QByteArray before = item.dataArray();
    const QByteArray huge(64, 'x');
    item.set("strength", huge.constData(), 64);
    EXPECT_MESSAGES(tooLong);
    item.set(-4, huge.constData(), 4);
    item.set(45, huge.constData(), 4);
    item.set(0, huge.constData(), ~0ul);
    item.set(0, nullptr, 4);
    item.setTextureToken(44, TextureToken(5));
    float untouched = 7;
    item.get(45, 4, &untouched, 4);
    EXPECT_EQ(7.0f, untouched);
    EXPECT_EQ(before, item.dataArray());
}

TEST_F(InstanceDataTest, WithoutAPlanNothingIsWritten)
{
    const QString none =
        "critical [InstanceData.cpp:#] InstanceData::set() : There is no associated instanceData "
        "plan. set() should not be called on such InstanceData";
    InstanceData item;
    item.set("tint", kTint, 4);
    EXPECT_MESSAGES(none, asserted("_plan != NULL", "data 'tint'"));
    item.set(0, kTint, 4);
    EXPECT_MESSAGES(none);
    ToldManager manager;
    item.setTexture("image", nullptr, &manager);
    item.get("tint", nullptr, 4);
    EXPECT_TRUE(item.dataArray().isEmpty());
    EXPECT_EQ(sizeof item, item.memoryEstimateCPU());

    InstanceDataCollection collection("Nobody");
    EXPECT_MESSAGES(startsWith("warning [InstanceDataRegistry.cpp:#]"));
    collection.set(0, "tint", kTint, 4);
    collection.copyInstanceMember(0, "tint", "tint");
    collection.bindTextureTokens(&manager);
    EXPECT_EQ(0, collection.size());
    EXPECT_FALSE(collection.bind(nullptr, &manager));
    EXPECT_FALSE(collection.unbind(nullptr, &manager));
    EXPECT_TRUE(collection.getUniformBufferObject(GL_UNIFORM_BUFFER).isNull());
}

TEST_F(InstanceDataTest, TexturesStandAmongTheBytesAsTheirTokens)
{
    paint();
    ToldManager manager;
    TextureManager::setInstance(&manager);
    auto *const first = new Texture(nullptr); // owned by the manager from the first token on
    auto *const second = new Texture(nullptr);
    InstanceData item("Paint");
    item.setTexture("image", first, &manager);
    item.setTexture("image", second);
    item.setTexture(24, first); // in the list once, however often it is used
    EXPECT_EQ(Tokens({TextureToken(0), TextureToken(1)}), item.getTextureTokens());
    EXPECT_EQ(zeros(8), item.dataArray().mid(24, 8));
    item.setTexture(24, second, &manager);
    EXPECT_EQ(QByteArray("\1\0\0\0\0\0\0\0", 8), item.dataArray().mid(24, 8));
    EXPECT_EQ(48 + 4 * 2 + sizeof item, item.memoryEstimateCPU());
    _capture.take(); // the manager logs each new token

    item.setTexture("strength", first, &manager);
    EXPECT_MESSAGES(asserted("InstanceDataPlan::eTexture == _plan->dataType(dataName)",
                             "InstanceData::setTexture( 'strength') call on data type 13"));
    item.setTexture("image", QString()); // is shown as white
    EXPECT_MESSAGES("warning [TextureManager.cpp:#] Cannot load ",
                    "debug [TextureManager.cpp:#] Creating token 2 for 255 255 255 255");
    EXPECT_EQ(3, item.getTextureTokens().size());
    item.clearTextures();
    EXPECT_TRUE(item.getTextureTokens().isEmpty());
    EXPECT_EQ('\2', item.dataArray()[24]);
    TextureManager::setInstance(nullptr);
}

TEST_F(InstanceDataTest, CollectionsTakeListsBytesAndCountsAndReportTooMuchForThePlan)
{
    Plan *plan = paint(Plan::eUniformBufferMechanism, 2);
    InstanceData item("Paint");
    item.set("tint", kTint, 12);
    const QList<InstanceData> items = {item, item, item};
    const QByteArray bytes = item.dataArray().repeated(3);
    const AssertionsOf asserted("InstanceDataCollection.cpp");
    const QString bytesTooBig = asserted("(numBytes / _plan->totalDataSize()) <= _plan->arraySize()",
                                         "List is too big for plan 'Paint'");
    const QString listTooBig = asserted("size_t(instanceDataDataList.size()) <= _plan->arraySize()",
                                        "List 3 too big, max 2 plan 'Paint'");
    InstanceDataCollection counted(plan, 3);
    EXPECT_MESSAGES(asserted("numItems <= _plan->arraySize()", "List is too big for plan 'Paint'"));
    EXPECT_EQ(zeros(144), counted.dataArray());
    InstanceDataCollection ofBytes(plan, bytes.constData(), 144);
    EXPECT_MESSAGES(bytesTooBig);
    EXPECT_EQ(bytes, ofBytes.dataArray());
    InstanceDataCollection ofItems("Paint", items);
    EXPECT_MESSAGES(listTooBig);
    EXPECT_EQ(bytes, ofItems.dataArray());

    ofItems.update(QList<InstanceData>());
    EXPECT_EQ(0, ofItems.size());
    ofItems.update(items);
    EXPECT_MESSAGES(listTooBig);
    EXPECT_EQ(3, ofItems.size());
    ofItems.update(bytes.constData(), 144);
    EXPECT_MESSAGES(bytesTooBig);
    ofItems.update(bytes.constData(), 96);
    EXPECT_EQ(bytes.left(96), ofItems.dataArray());
    EXPECT_EQ(96 + sizeof ofItems, ofItems.memoryEstimateCPU());
    EXPECT_EQ(0u, ofItems.memoryEstimateGPU());
    InstanceDataCollection(plan, ~0ul);
    EXPECT_EQ(1, _capture.take().size());
}

TEST_F(InstanceDataTest, MembersOfItemsAreReadWrittenAndMovedWithinTheirBytes)
{
    Plan *plan = paint();
    InstanceDataCollection collection(plan, 2);
    collection.set(1, "tint", kTint, 16);
    collection.set(1, "gloss", kTint + 3, 4);
    EXPECT_EQ(zeros(48), collection.dataArray().left(48));
    float read[4] = {};
    collection.get(1, "tint", read);
    EXPECT_EQ(bytesOf(kTint, 4), bytesOf(read, 4));
    collection.copyInstanceMember(1, "shift", "strength"); // eight bytes over four and the next four
    EXPECT_EQ(zeros(8), collection.dataArray().mid(48 + plan->offset("strength"), 8));
    collection.copyInstanceMember(1, "tint", "shift"); // and over the token
    EXPECT_EQ(bytesOf(kTint, 4), collection.dataArray().mid(48 + 16, 16));

    const QByteArray before = collection.dataArray();
    collection.set(2, "tint", kTint, 4);
    collection.set(-1, "gloss", kTint, 4);
    collection.set(1, "gloss", kTint, ~0ul);
    collection.set(1, "gloss", kTint, 4000);
    collection.set(1, "gloss", nullptr, 4);
    collection.copyInstanceMember(2, "tint", "gloss");
    collection.copyInstanceMember(-1, "tint", "gloss");
    float untouched = 7;
    collection.get(2, "gloss", &untouched);
    EXPECT_EQ(7.0f, untouched);
    EXPECT_EQ(before, collection.dataArray());
}

TEST_F(InstanceDataTest, TokensAreFoundInTheBytesOncePerContents)
{
    Plan *plan = paint();
    ToldManager manager;
    InstanceDataCollection collection(plan, 3);
    const quint64 tokens[] = {7, 7, 9};
    for (int i = 0; i < 3; ++i) {
        collection.set(i, "image", &tokens[i], 8);
    }
    collection.bindTextureTokens(nullptr);
    collection.bindTextureTokens(&manager);
    const quint64 other = 11;
    collection.set(2, "image", &other, 8); // the list lasts until update()
    collection.bindTextureTokens(&manager);
    const Tokens first = {TextureToken(7), TextureToken(9)};
    EXPECT_EQ(QVector<Tokens>({first, first}), manager.bound);
    EXPECT_EQ(3 * 48 + 4 * 2 + sizeof collection, collection.memoryEstimateCPU());

    const QByteArray bytes = collection.dataArray() + zeros(30); // an incomplete item has no token
    collection.update(bytes.constData(), static_cast<unsigned long>(bytes.size()));
    collection.bindTextureTokens(&manager);
    EXPECT_EQ(Tokens({TextureToken(7), TextureToken(11)}), manager.bound.last());
}

namespace {

/// The uploads, allocations, copies and views that reach the driver.
struct Traffic
{
    std::vector<size_t> take()
    {
        const std::vector<size_t> counts = {
            taps.of<&glBufferData>().count(), taps.of<&glTexImage2D>().count(),
            taps.of<&glTexSubImage2D>().count(), taps.of<&glTexBuffer>().count()};
        taps.clear();
        return counts;
    }

    Taps<&glBufferData, &glTexImage2D, &glTexSubImage2D, &glTexBuffer> taps;
};

using Counts = std::vector<size_t>;

/// With each mechanism, and a program that reads floats and integers.
class InstanceDataRoadTest : public InstanceDataTest, public testing::WithParamInterface<int>
{
protected:
    void SetUp() override
    {
        ZEL_NEEDS_EXTENSION_IF(GetParam() == Plan::eStorageBufferMechanism,
                               "GL_ARB_shader_storage_buffer_object");
        _plan = paint(Plan::MechanismType(GetParam()));
        _program = makeProgram(kAtOrigin,
                               "#version 150\n#instancedata \"Paint\"\nout vec4 color;\n"
                               "void main() { color = vec4(getTint(1u), float(getImage(1u).x)); }\n",
                               nullptr, {"ZelUtilities.glslc"}, {_plan->glslc()});
        _binder = std::make_unique<AutoBinder>(_program.get());
    }

    bool isTexture() const { return GetParam() == Plan::eTextureMechanism; }
    bool usesTextureUnits() const { return isTexture() || GetParam() == Plan::eBufferTextureMechanism; }
    bool hasBuffer() const { return GetParam() != Plan::eUniformMechanism; }

    Counts boundTraffic(InstanceDataCollection &collection)
    {
        EXPECT_TRUE(collection.bind(_program.get(), nullptr));
        EXPECT_TRUE(collection.unbind(_program.get(), nullptr));
        return _traffic.take();
    }

    Plan *_plan = nullptr;
    std::unique_ptr<ShaderProgram> _program;
    std::unique_ptr<AutoBinder> _binder;
    Traffic _traffic;
};

} // namespace

TEST_P(InstanceDataRoadTest, OnlyChangesAreUploadedAndOnlyNewSizesSpecified)
{
    const size_t upload = hasBuffer() ? 1 : 0;
    const size_t copies = isTexture() ? 2 : 0;
    const Counts nothing = {0, 0, 0, 0};
    const Counts changed = {upload, 0, copies, 0};
    const Counts resized = {upload, copies, copies, 0};

    InstanceDataCollection collection(_plan, 4);
    EXPECT_TRUE(collection.unbind(_program.get(), nullptr)); // before any bind
    EXPECT_EQ(nothing, _traffic.take());
    const size_t views = GetParam() == Plan::eBufferTextureMechanism ? 2 : 0;
    EXPECT_EQ(Counts({upload, copies, copies, views}), boundTraffic(collection));
    EXPECT_EQ(nothing, boundTraffic(collection));
    collection.set(0, "tint", kTint, 16);
    EXPECT_EQ(changed, boundTraffic(collection));
    EXPECT_EQ(nothing, boundTraffic(collection));
    collection.copyInstanceMember(0, "tint", "shift");
    EXPECT_EQ(changed, boundTraffic(collection));
    const QByteArray bytes = collection.dataArray() + zeros(48);
    collection.update(bytes.constData(), 4 * 48);
    EXPECT_EQ(changed, boundTraffic(collection));
    collection.update(bytes.constData(), 5 * 48);
    EXPECT_EQ(resized, boundTraffic(collection));
    collection.set(0, "gloss", kTint, 4);
    collection.clearDirtyStatus(); // counts as uploaded
    EXPECT_EQ(nothing, boundTraffic(collection));
    EXPECT_EQ(hasBuffer() ? 240u : 0u, collection.memoryEstimateGPU());
}

TEST_P(InstanceDataRoadTest, WhatFindsNoTextureUnitIsMadeUpForAtTheNextBind)
{
    InstanceDataCollection collection(_plan, 4);
    std::vector<std::unique_ptr<Texture>> holders;
    const int units = integerOf(GL_MAX_TEXTURE_IMAGE_UNITS);
    for (int i = 0; i < units; ++i) {
        holders.push_back(std::make_unique<Texture>(GL_TEXTURE_2D, GL_RGBA8, 1, 1, 1, nullptr));
        ASSERT_TRUE(holders.back()->bind());
    }
    const Counts held = boundTraffic(collection);
    EXPECT_EQ(Counts({0, 0, 0}), Counts(held.begin() + 1, held.end())) << "another texture is touched";
    EXPECT_EQ(usesTextureUnits(), !_capture.take().isEmpty());
    for (const auto &holder : holders) {
        EXPECT_TRUE(holder->unbind());
    }
    const size_t views = GetParam() == Plan::eBufferTextureMechanism ? 2 : 0;
    const size_t copies = isTexture() ? 2 : 0;
    EXPECT_EQ(Counts({usesTextureUnits() ? 1u : 0u, copies, copies, views}), boundTraffic(collection));
}

TEST_P(InstanceDataRoadTest, BindingLeavesNothingBehindAndTakesNoMemoryOnceTheProgramIsKnown)
{
    InstanceDataCollection collection(_plan, 4);
    const StateGuard state;
    boundTraffic(collection);
    EXPECT_EQ(state.changes().filter("GL_ACTIVE_TEXTURE"), state.changes());
    boundTraffic(collection);
    const AllocationCount allocations;
    for (int i = 0; i < 10; ++i) {
        collection.bind(_program.get(), nullptr);
        collection.unbind(_program.get(), nullptr);
    }
    if (!usesTextureUnits()) { // each new owner of a unit is added to a table
        EXPECT_EQ(0u, allocations.taken());
    }
}

TEST_P(InstanceDataRoadTest, TheManagerIsToldOfTheTokensAtEveryBindAndUnbind)
{
    ToldManager manager;
    InstanceDataCollection collection(_plan, 2);
    const quint64 token = 5;
    collection.set(1, "image", &token, 8);
    const Tokens tokens = {TextureToken(0), TextureToken(5)};
    EXPECT_TRUE(collection.bind(&manager)); // with the program in use
    EXPECT_TRUE(collection.unbind(&manager));
    TextureManager::setInstance(&manager);
    EXPECT_TRUE(collection.bind());
    EXPECT_TRUE(collection.unbind());
    TextureManager::setInstance(nullptr);
    EXPECT_EQ(QVector<Tokens>({tokens, tokens}), manager.bound);
    EXPECT_EQ(QVector<Tokens>({tokens, tokens}), manager.unbound);
    EXPECT_TRUE(collection.bind(nullptr, &manager)); // the tokens need no program
    EXPECT_TRUE(collection.unbind(nullptr, &manager));
    EXPECT_EQ(3, manager.bound.size());
    EXPECT_FALSE(_plan->bind(_program.get(), &manager, nullptr));
    EXPECT_FALSE(_plan->unbind(_program.get(), &manager, nullptr));
}

TEST_P(InstanceDataRoadTest, UsageAndStorageReachTheBuffer)
{
    if (!hasBuffer()) {
        return; // there is no buffer
    }
    InstanceDataCollection collection(_plan, 2);
    collection.setBOUsageFlags(GL_STREAM_DRAW);
    collection.bind(_program.get(), nullptr);
    EXPECT_EQ(GLenum(GL_STREAM_DRAW), _traffic.taps.of<&glBufferData>().last<3>());
    collection.unbind(_program.get(), nullptr);
    _traffic.take();

    InstanceDataCollection fixed(_plan, 2);
    fixed.set(1, "tint", kTint, 16);
    fixed.useStorageBuffer(GL_DYNAMIC_STORAGE_BIT);
    EXPECT_EQ(0u, boundTraffic(fixed)[0]); // its storage is not allocated again
    const auto uniformBuffer = fixed.getUniformBufferObject(0);
    EXPECT_EQ(uniformBuffer, fixed.getUniformBufferObject(GL_UNIFORM_BUFFER)); // the first call decides
    float tint[4] = {};
    driver()->glBindBuffer(GL_COPY_READ_BUFFER, uniformBuffer->bufferObject()->getBO());
    driver()->glGetBufferSubData(GL_COPY_READ_BUFFER, 48, sizeof tint, tint);
    driver()->glBindBuffer(GL_COPY_READ_BUFFER, 0);
    EXPECT_EQ(bytesOf(kTint, 4), bytesOf(tint, 4));
}

TEST_F(InstanceDataTest, MoreThanATextureHoldsIsReportedAndStaysOutOfTheTexture)
{
    const FakeLimits narrow(GL_MAX_TEXTURE_SIZE, 64); // 21 items of 3 texels
    InstanceDataCollection collection(paint(Plan::eTextureMechanism, 30), 22);
    EXPECT_MESSAGES(AssertionsOf("InstanceDataCollection.cpp")("this->fitsTexture()",
                                                               "List is too big for plan 'Paint'"));
    Traffic traffic;
    for (const std::vector<size_t> &expected : {Counts{1, 0, 0, 0}, Counts{1, 2, 2, 0}}) {
        EXPECT_TRUE(collection.bind(nullptr, nullptr) && collection.unbind(nullptr, nullptr));
        EXPECT_EQ(expected, traffic.take());
        collection.update(zeros(21 * 48).constData(), 21 * 48);
    }
}

INSTANTIATE_TEST_SUITE_P(Mechanisms, InstanceDataRoadTest,
                         testing::Range(int(Plan::eUniformBufferMechanism),
                                        int(Plan::eStorageBufferMechanism) + 1));

TEST_F(InstanceDataTest, UniformsAreSentOnEveryBindAndReadNoFurtherThanTheirBytes)
{
    auto *plan = new Plan("Uni");
    const std::pair<Plan::DataType, const char *> members[] = {
        {Plan::eInt, "i"},        {Plan::eVec3, "v"},   {Plan::eUVec2, "u"}, {Plan::eMat4, "m"},
        {Plan::eFloat, "unused"}, {Plan::eBool, "a"},   {Plan::eBool, "b"},  {Plan::eBool, "c"},
        {Plan::eBool, "d"},       {Plan::eBVec3, "bbb"}};
    for (const auto &[type, name] : members) {
        plan->addMember(type, name);
    }
    plan->setMechanism(Plan::eUniformMechanism);
    plan->setArraySize(3);
    InstanceDataRegistry::Instance()->registerPlan(plan);
    _capture.take(); // the limit
    const auto program = makeProgram(
        kAtOrigin, "#version 150\nuniform int u_i[3]; uniform vec4 u_v[3]; uniform uvec2 u_u[3];\n"
                   "uniform mat4 u_m[3]; uniform bool u_a[3]; uniform bvec4 u_bbb[3];\n"
                   "out vec4 color; void main() { color = u_m[2] * u_v[2] + vec4(u_i[2], u_u[2], "
                   "u_a[2] && u_bbb[2].x); }\n");
    InstanceDataCollection collection(plan, 3);

    Taps<&glUniform1iv, &glUniform2uiv, &glUniform4fv, &glUniform4iv, &glUniformMatrix4fv> sent;
    auto &ints = sent.of<&glUniform1iv>();
    auto &booleans = sent.of<&glUniform4iv>();
    GLint sum = 0; // of all values that the driver would read, more than the packed bytes
    ints.replace([&](GLint, GLsizei count, const GLint *values) {
        sum = std::accumulate(values, values + count, sum);
    });
    booleans.replace([&](GLint, GLsizei count, const GLint *values) {
        sum = std::accumulate(values, values + 4 * count, sum);
    });

    const AutoBinder binder(program.get());
    for (int i = 0; i < 2; ++i) {
        EXPECT_TRUE(collection.bind(program.get(), nullptr));
        collection.unbind(program.get(), nullptr);
    }
    EXPECT_EQ(4u, ints.count()); // u_i and u_a
    EXPECT_EQ(2u, sent.of<&glUniform2uiv>().count());
    EXPECT_EQ(2u, sent.of<&glUniform4fv>().count());
    EXPECT_EQ(2u, booleans.count());
    EXPECT_EQ(2u, sent.of<&glUniformMatrix4fv>().count());
    EXPECT_EQ(0, sum);
}
