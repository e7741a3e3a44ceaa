#include "support/AllocationCount.h"
#include "support/FakeLimits.h"
#include "support/FakeLoader.h"
#include "support/GLFixture.h"
#include "support/StateGuard.h"
#include "support/Tap.h"
#include "support/TestProgram.h"

#include <ZelGL/ZelGL.h>

#include <QtGui/QOpenGLFunctions_3_2_Core>

#include <limits>
#include <numeric>
#include <random>

using namespace Orvane::Zel;

namespace {

using Plan = InstanceDataPlan;
using Tokens = QVector<TextureToken>;
using Counts = std::vector<size_t>;

const AssertionsOf asserted("InstanceData.cpp");

/// Returns tokens, binds nothing and records the lists of its calls.
class RecordingManager : public TextureManager
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
    InstanceDataTest() { _loader.hide("glNamedBufferData"); } // so that each upload calls the tapped one
    ~InstanceDataTest() override { InstanceDataRegistry::Instance()->clear(); }

    /// "Paint": a vec3 at 0, a vec2 at 16, a token at 24, floats at 32 and 36; 48 bytes.
    Plan *paint(int mechanism = Plan::eUniformBufferMechanism, unsigned long arraySize = 8)
    {
        auto *plan = new Plan("Paint");
        plan->addMember(Plan::eFloat, "strength");
        plan->addMember(Plan::eFloat, "gloss");
        plan->addMember(Plan::eVec2, "shift");
        plan->addMember(Plan::eVec3, "tint");
        plan->addMember(Plan::eTexture, "image");
        plan->setMechanism(Plan::MechanismType(mechanism));
        plan->setArraySize(arraySize);
        InstanceDataRegistry::Instance()->registerPlan(plan);
        EXPECT_EQ(1, _capture.take().size()); // the limit
        return plan;
    }

    /// The uploads, allocations, copies and views that reached the driver since the last call.
    Counts takeTraffic()
    {
        const Counts counts = {_taps.of<&glBufferData>().count(), _taps.of<&glTexImage2D>().count(),
                               _taps.of<&glTexSubImage2D>().count(), _taps.of<&glTexBuffer>().count()};
        _taps.clear();
        return counts;
    }

    FakeLoader _loader;
    Taps<&glBufferData, &glTexImage2D, &glTexSubImage2D, &glTexBuffer> _taps;
};

bool isInside(const QByteArray &bytes, qint64 start, unsigned long size)
{
    const auto end = static_cast<unsigned long>(bytes.size());
    return start >= 0 && size <= end && static_cast<unsigned long>(start) <= end - size;
}

/// Writes all of the data, or nothing if a byte is outside.
void write(QByteArray &bytes, qint64 start, const char *data, unsigned long size)
{
    if (data != nullptr && isInside(bytes, start, size)) {
        bytes.replace(int(start), int(size), data, int(size));
    }
}

QByteArray zeros(int size)
{
    return QByteArray(size, '\0');
}

} // namespace

TEST_F(InstanceDataTest, RandomWritesChangeTheirBytesAndNoOthers)
{
    Plan *plan = paint();
    std::mt19937 engine(3);
    const auto pick = [&](const auto &list) { return list[int(engine() % unsigned(list.size()))]; };
    const QStringList names = {"strength", "gloss", "shift", "tint", "image", "none"};
    const QVector<int> indices = {0, 1, 2, 3, -1, std::numeric_limits<int>::max()};
    const QVector<unsigned long> sizes = {0, 1, 4, 8, 12, 16, 40, 48, 200, ~0ul};
    InstanceData item("Paint");
    InstanceDataCollection items(plan, 3);
    QByteArray itemBytes = item.dataArray();
    QByteArray bytes = items.dataArray();
    EXPECT_EQ(zeros(48), itemBytes);
    EXPECT_EQ(zeros(144), bytes);
    Tokens tokens;
    for (int step = 0; step < 3000 && !HasFailure(); ++step) {
        SCOPED_TRACE(step);
        const QByteArray data(200, char(step));
        const char *const source = engine() % 8 != 0 ? data.constData() : nullptr;
        const QString name = pick(names);
        const QString target = pick(names);
        const int index = pick(indices);
        const unsigned long size = pick(sizes);
        const int offset = int(engine() % 60) - 6;
        const TextureToken token(engine() % 5);
        const unsigned long memberSize = plan->dataSize(name);
        const qint64 start = index * qint64(48) + plan->offset(name);
        QByteArray read(200, '?');
        QByteArray expected = read;
        QStringList messages;
        switch (engine() % 7) {
        case 0:
            items.set(index, name, source, size);
            write(bytes, start, source, size);
            break;
        case 1:
            items.copyInstanceMember(index, name, target);
            if (isInside(bytes, start, memberSize)) {
                write(bytes, index * qint64(48) + plan->offset(target), bytes.mid(int(start)).constData(),
                      memberSize);
            }
            break;
        case 2:
            items.get(index, name, read.data());
            if (isInside(bytes, start, memberSize)) {
                write(expected, 0, bytes.constData() + start, memberSize);
            }
            break;
        case 3:
            item.set(name, source, size); // reports what it carries out
            messages += plan->contains(name)
                            ? QStringList()
                            : QStringList(asserted("_plan->contains(dataName)", "plan 'Paint' data 'none'"));
            messages += size <= memberSize ? QStringList()
                                           : QStringList(asserted("dataSize <= _plan->dataSize(dataName)",
                                                                  "plan 'Paint' data '" + name + "'"));
            messages += plan->dataType(name) != Plan::eTexture
                            ? QStringList()
                            : QStringList(asserted("InstanceDataPlan::eTexture != _plan->dataType(dataName)",
                                                   "InstanceData::set( '" + name + "') call on data type 0"));
            write(itemBytes, plan->offset(name), source, size);
            break;
        case 4:
            item.set(offset, source, size);
            write(itemBytes, offset, source, size);
            break;
        case 5:
            item.get(offset, size, read.data(), 0); // the size of the destination is ignored
            if (isInside(itemBytes, offset, size)) {
                write(expected, 0, itemBytes.constData() + offset, size);
            }
            item.get(name, read.data() + 100, 0);
            write(expected, 100, itemBytes.constData() + plan->offset(name), memberSize);
            break;
        default:
            item.setTextureToken(offset, token);
            write(itemBytes, offset, reinterpret_cast<const char *>(&token.token), 8);
            tokens += tokens.contains(token) ? Tokens() : Tokens{token};
        }
        EXPECT_EQ(messages, _capture.takeTexts());
        EXPECT_EQ(expected, read);
        EXPECT_EQ(itemBytes, item.dataArray());
        EXPECT_EQ(bytes, items.dataArray());
    }
    EXPECT_EQ(tokens, item.getTextureTokens());
    EXPECT_EQ(48 + 4 * 5 + sizeof item, item.memoryEstimateCPU());
    const InstanceData copy = item;
    item.clear();
    EXPECT_EQ(zeros(48), item.dataArray());
    EXPECT_TRUE(item.getTextureTokens().isEmpty());
    EXPECT_EQ(itemBytes, copy.dataArray());
}

TEST_F(InstanceDataTest, WithoutAPlanNothingIsWritten)
{
    const QString none =
        "critical [InstanceData.cpp:#] InstanceData::set() : There is no associated instanceData "
        "plan. set() should not be called on such InstanceData";
    InstanceData item;
    item.set("tint", "1234", 4);
    item.set(0, "1234", 4);
    EXPECT_MESSAGES(none, asserted("_plan != NULL", "data 'tint'"), none);
    RecordingManager manager;
    item.setTexture("image", nullptr, &manager);
    item.get("tint", nullptr, 4);
    EXPECT_EQ(sizeof item, item.memoryEstimateCPU());

    InstanceDataCollection collection("Unknown");
    EXPECT_MESSAGES(startsWith("warning [InstanceDataRegistry.cpp:#]"));
    collection.set(0, "tint", "1234", 4);
    collection.copyInstanceMember(0, "tint", "tint");
    collection.bindTextureTokens(&manager);
    EXPECT_EQ(0, collection.size());
    EXPECT_FALSE(collection.bind(nullptr, &manager));
    EXPECT_FALSE(collection.unbind(nullptr, &manager));
    EXPECT_TRUE(collection.getUniformBufferObject(GL_UNIFORM_BUFFER).isNull());
}

TEST_F(InstanceDataTest, TexturesAreStoredAsTheirTokens)
{
    paint();
    RecordingManager manager;
    TextureManager::setInstance(&manager);
    auto *const first = new Texture(nullptr); // owned by the manager from the first token on
    auto *const second = new Texture(nullptr);
    InstanceData item("Paint");
    const auto token = [&] { return int(item.dataArray()[24]); };
    item.setTexture("image", first, &manager);
    EXPECT_EQ(0, token());
    item.setTexture("image", second);
    EXPECT_EQ(1, token());
    item.setTexture(24, first);
    EXPECT_EQ(0, token());
    item.setTexture(24, second, &manager);
    EXPECT_EQ(1, token());
    _capture.take(); // the manager logs each new token
    item.setTexture("strength", first, &manager);
    EXPECT_MESSAGES(asserted("InstanceDataPlan::eTexture == _plan->dataType(dataName)",
                             "InstanceData::setTexture( 'strength') call on data type 13"));
    item.setTexture("image", QString()); // is shown as white
    EXPECT_MESSAGES("warning [TextureManager.cpp:#] Cannot load ",
                    "debug [TextureManager.cpp:#] Creating token 2 for 255 255 255 255");
    EXPECT_EQ(2, token());
    EXPECT_EQ(Tokens({TextureToken(0), TextureToken(1), TextureToken(2)}), item.getTextureTokens());
    item.clearTextures();
    EXPECT_TRUE(item.getTextureTokens().isEmpty());
    TextureManager::setInstance(nullptr);
}

TEST_F(InstanceDataTest, CollectionsTakeListsBytesAndCountsAndReportTooMuchForThePlan)
{
    Plan *plan = paint(Plan::eUniformBufferMechanism, 2);
    InstanceData item("Paint");
    item.set("tint", "123456789012", 12);
    const QList<InstanceData> items = {item, item, item};
    const QByteArray bytes = item.dataArray().repeated(3);
    const AssertionsOf asserted("InstanceDataCollection.cpp");
    const QString bytesTooBig = asserted("(numBytes / _plan->totalDataSize()) <= _plan->arraySize()",
                                         "List is too big for plan 'Paint'");
    const QString listTooBig = asserted("size_t(instanceDataDataList.size()) <= _plan->arraySize()",
                                        "List 3 too big, max 2 plan 'Paint'");
    const QString countTooBig =
        asserted("numItems <= _plan->arraySize()", "List is too big for plan 'Paint'");
    EXPECT_EQ(zeros(144), InstanceDataCollection(plan, 3).dataArray());
    EXPECT_TRUE(InstanceDataCollection(plan, ~0ul).dataArray().isEmpty());
    EXPECT_EQ(bytes, InstanceDataCollection(plan, bytes.constData(), 144).dataArray());
    InstanceDataCollection collection("Paint", items);
    EXPECT_EQ(bytes, collection.dataArray());
    EXPECT_MESSAGES(countTooBig, countTooBig, bytesTooBig, listTooBig);
    collection.update(QList<InstanceData>());
    EXPECT_EQ(0, collection.size());
    collection.update(items);
    EXPECT_EQ(3, collection.size());
    collection.update(bytes.constData(), 144);
    EXPECT_MESSAGES(listTooBig, bytesTooBig);
    collection.update(bytes.constData(), 143);
    EXPECT_EQ(bytes.left(143), collection.dataArray());
    EXPECT_EQ(143 + sizeof collection, collection.memoryEstimateCPU());
    EXPECT_EQ(0u, collection.memoryEstimateGPU());
}

TEST_F(InstanceDataTest, TokensAreFoundInTheBytesOncePerContents)
{
    RecordingManager manager;
    InstanceDataCollection collection(paint(), 3);
    const quint64 tokens[] = {7, 7, 9, 11};
    for (int i = 0; i < 3; ++i) {
        collection.set(i, "image", &tokens[i], 8);
    }
    collection.bindTextureTokens(nullptr);
    collection.bindTextureTokens(&manager);
    collection.set(2, "image", &tokens[3], 8); // the list lasts until update()
    collection.bindTextureTokens(&manager);
    EXPECT_EQ(3 * 48 + 4 * 2 + sizeof collection, collection.memoryEstimateCPU());
    const QByteArray bytes = collection.dataArray() + QByteArray(30, '\1'); // an incomplete item has no token
    collection.update(bytes.constData(), static_cast<unsigned long>(bytes.size()));
    collection.bindTextureTokens(&manager);
    const Tokens first = {TextureToken(7), TextureToken(9)};
    EXPECT_EQ(QVector<Tokens>({first, first, {TextureToken(7), TextureToken(11)}}), manager.bound);
}

TEST_F(InstanceDataTest, MoreThanATextureHoldsIsReportedAndStaysOutOfTheTexture)
{
    const FakeLimits narrow(GL_MAX_TEXTURE_SIZE, 64); // 21 items of 3 texels
    InstanceDataCollection collection(paint(Plan::eTextureMechanism, 30), 22);
    EXPECT_MESSAGES(AssertionsOf("InstanceDataCollection.cpp")("this->fitsTexture()",
                                                               "List is too big for plan 'Paint'"));
    for (const Counts &expected : {Counts{1, 0, 0, 0}, Counts{1, 2, 2, 0}}) {
        EXPECT_TRUE(collection.bind(nullptr, nullptr) && collection.unbind(nullptr, nullptr));
        EXPECT_EQ(expected, takeTraffic());
        collection.update(zeros(21 * 48).constData(), 21 * 48);
    }
}

TEST_F(InstanceDataTest, BooleansAreSentAsUniformsOnEveryBindAndReadNoFurtherThanTheirBytes)
{
    auto *plan = new Plan("Uni");
    const std::pair<Plan::DataType, const char *> members[] = {{Plan::eBool, "a"},
                                                               {Plan::eBool, "unused"},
                                                               {Plan::eBVec2, "bb"},
                                                               {Plan::eBVec3, "bbb"},
                                                               {Plan::eBVec4, "bbbb"}};
    for (const auto &[type, name] : members) {
        plan->addMember(type, name);
    }
    plan->setMechanism(Plan::eUniformMechanism);
    plan->setArraySize(3);
    InstanceDataRegistry::Instance()->registerPlan(plan);
    _capture.take(); // the limit
    const auto program = makeProgram(
        kAtOrigin,
        "#version 150\nuniform bool u_a[3]; uniform bvec2 u_bb[3]; uniform bvec4 u_bbb[3], u_bbbb[3];\n"
        "out vec4 color; void main() { color = vec4(u_a[2] && u_bb[2].x && u_bbb[2].x && u_bbbb[2].x); }\n");
    InstanceDataCollection collection(plan, 3);
    Taps<&glUniform1iv, &glUniform2iv, &glUniform4iv> sent;
    GLint sum = 0; // of all values that the driver would read, more than the packed bytes
    const auto add = [&](int components) {
        return [&sum, components](GLint, GLsizei count, const GLint *values) {
            sum = std::accumulate(values, values + count * components, sum);
        };
    };
    sent.of<&glUniform1iv>().replace(add(1));
    sent.of<&glUniform2iv>().replace(add(2));
    sent.of<&glUniform4iv>().replace(add(4));
    const AutoBinder binder(program.get());
    for (size_t binds = 1; binds <= 2; ++binds) {
        EXPECT_TRUE(collection.bind(program.get(), nullptr));
        EXPECT_EQ(binds, sent.of<&glUniform1iv>().count());
        EXPECT_EQ(binds, sent.of<&glUniform2iv>().count());
        EXPECT_EQ(2 * binds, sent.of<&glUniform4iv>().count());
    }
    EXPECT_EQ(0, sum);
}

namespace {

/// With each mechanism, and a program that reads floats and integers.
class InstanceDataMechanismTest : public InstanceDataTest, public testing::WithParamInterface<int>
{
protected:
    void SetUp() override
    {
        ZEL_NEEDS_EXTENSION_IF(GetParam() == Plan::eStorageBufferMechanism,
                               "GL_ARB_shader_storage_buffer_object");
        _plan = paint(GetParam());
        _program = makeProgram(kAtOrigin,
                               "#version 150\n#instancedata \"Paint\"\nout vec4 color;\n"
                               "void main() { color = vec4(getTint(1u), float(getImage(1u).x)); }\n",
                               nullptr, {"ZelUtilities.glslc"}, {_plan->glslc()});
        _binder = std::make_unique<AutoBinder>(_program.get());
    }

    bool hasTextures() const { return copies() + views() > 0; }
    size_t uploads() const { return GetParam() == Plan::eUniformMechanism ? 0 : 1; }
    size_t copies() const { return GetParam() == Plan::eTextureMechanism ? 2 : 0; }
    size_t views() const { return GetParam() == Plan::eBufferTextureMechanism ? 2 : 0; }

    Counts trafficOfABind(InstanceDataCollection &collection)
    {
        EXPECT_TRUE(collection.bind(_program.get(), nullptr));
        EXPECT_TRUE(collection.unbind(_program.get(), nullptr));
        return takeTraffic();
    }

    Plan *_plan = nullptr;
    std::unique_ptr<ShaderProgram> _program;
    std::unique_ptr<AutoBinder> _binder;
};

} // namespace

TEST_P(InstanceDataMechanismTest, ABindUploadsWhatHasChangedAndLeavesNothingBound)
{
    InstanceDataCollection collection(_plan, 4);
    collection.setBOUsageFlags(GL_STREAM_DRAW);
    EXPECT_TRUE(collection.unbind(_program.get(), nullptr)); // before any bind
    const StateGuard state;
    EXPECT_EQ(Counts({uploads(), copies(), copies(), views()}), trafficOfABind(collection));
    EXPECT_EQ(state.changes().filter("GL_ACTIVE_TEXTURE"), state.changes());
    const QByteArray bytes = zeros(5 * 48);
    const Counts nothing = {0, 0, 0, 0};
    const Counts changed = {uploads(), 0, copies(), 0};
    const Counts resized = {uploads(), copies(), copies(), 0};
    const std::pair<Counts, std::function<void()>> steps[] = {
        {changed, [&] { collection.set(0, "tint", bytes.constData(), 16); }},
        {changed, [&] { collection.copyInstanceMember(0, "tint", "shift"); }},
        {changed, [&] { collection.update(bytes.constData(), 4 * 48); }},
        {resized,
         [&] {
             collection.update({InstanceData("Paint"), InstanceData("Paint")});
         }},
        {resized, [&] { collection.update(bytes.constData(), 5 * 48); }},
        {nothing,
         [&] {
             collection.set(0, "gloss", bytes.constData(), 4);
             collection.clearDirtyStatus(); // counts as uploaded
         }},
    };
    for (const auto &[expected, change] : steps) {
        change();
        _loader.takeLookUps();
        EXPECT_EQ(expected, trafficOfABind(collection));
        EXPECT_EQ(nothing, trafficOfABind(collection));
    }
    EXPECT_EQ(240 * uploads(), collection.memoryEstimateGPU());
    const AllocationCount allocations;
    for (int i = 0; i < 10; ++i) {
        collection.bind(_program.get(), nullptr);
        collection.unbind(_program.get(), nullptr);
    }
    if (!hasTextures()) { // each new owner of a unit is added to a table
        EXPECT_EQ(0u, allocations.taken());
    }
}

TEST_P(InstanceDataMechanismTest, DataThatFindsNoTextureUnitIsUploadedByALaterBind)
{
    InstanceDataCollection collection(_plan, 4);
    std::vector<std::unique_ptr<Texture>> holders(size_t(integerOf(GL_MAX_TEXTURE_IMAGE_UNITS)));
    for (auto &holder : holders) {
        holder = std::make_unique<Texture>(GL_TEXTURE_2D, GL_RGBA8, 1, 1, 1, nullptr);
        ASSERT_TRUE(holder->bind());
    }
    takeTraffic();
    const Counts held = trafficOfABind(collection);
    EXPECT_EQ(Counts({0, 0, 0}), Counts(held.begin() + 1, held.end())) << "another texture is touched";
    EXPECT_EQ(hasTextures(), !_capture.take().isEmpty());
    for (const auto &holder : holders) {
        EXPECT_TRUE(holder->unbind());
    }
    EXPECT_EQ(Counts({hasTextures() ? 1u : 0u, copies(), copies(), views()}), trafficOfABind(collection));
}

TEST_P(InstanceDataMechanismTest, TheManagerReceivesTheTokensAtEveryBindAndUnbind)
{
    RecordingManager manager;
    InstanceDataCollection collection(_plan, 2);
    const quint64 token = 5;
    collection.set(1, "image", &token, 8);
    EXPECT_TRUE(collection.bind(&manager)); // with the program in use
    EXPECT_TRUE(collection.unbind(&manager));
    TextureManager::setInstance(&manager);
    EXPECT_TRUE(collection.bind());
    EXPECT_TRUE(collection.unbind());
    TextureManager::setInstance(nullptr);
    EXPECT_TRUE(collection.bind(nullptr, &manager)); // the tokens need no program
    EXPECT_TRUE(collection.unbind(nullptr, &manager));
    const QVector<Tokens> expected(3, {TextureToken(0), TextureToken(5)});
    EXPECT_EQ(expected, manager.bound);
    EXPECT_EQ(expected, manager.unbound);
    EXPECT_FALSE(_plan->bind(_program.get(), &manager, nullptr));
    EXPECT_FALSE(_plan->unbind(_program.get(), &manager, nullptr));
}

TEST_P(InstanceDataMechanismTest, AFixedStorageIsFilledAndNotAllocatedAgain)
{
    if (uploads() == 0) {
        return; // there is no buffer
    }
    InstanceDataCollection collection(_plan, 2);
    collection.set(1, "tint", "0123456789abcdef", 16);
    collection.useStorageBuffer(GL_DYNAMIC_STORAGE_BIT);
    EXPECT_EQ(0u, trafficOfABind(collection)[0]);
    const auto uniformBuffer = collection.getUniformBufferObject(0);
    EXPECT_EQ(uniformBuffer, collection.getUniformBufferObject(GL_UNIFORM_BUFFER)); // the first call decides
    char tint[17] = "";
    driver()->glBindBuffer(GL_COPY_READ_BUFFER, uniformBuffer->bufferObject()->getBO());
    driver()->glGetBufferSubData(GL_COPY_READ_BUFFER, 48, 16, tint);
    driver()->glBindBuffer(GL_COPY_READ_BUFFER, 0);
    EXPECT_STREQ("0123456789abcdef", tint);
}

INSTANTIATE_TEST_SUITE_P(Mechanisms, InstanceDataMechanismTest,
                         testing::Range(int(Plan::eUniformBufferMechanism),
                                        int(Plan::eStorageBufferMechanism) + 1));
