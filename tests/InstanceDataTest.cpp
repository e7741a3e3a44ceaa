#include "support/AllocationCount.h"
#include "support/FakeLimits.h"
#include "support/FakeLoader.h"
#include "support/GLFixture.h"
#include "support/Tap.h"
#include "support/TestProgram.h"

#include <ZelGL/ZelGL.h>

#include <cstring>
#include <limits>
#include <numeric>
#include <random>

using namespace Orvane::Zel;

namespace {

using Plan = InstanceDataPlan;
using Tokens = QVector<TextureToken>;
using Counts = std::vector<size_t>;

const AssertionsOf asserted("InstanceData.cpp");

/// Binds nothing and records the lists of its calls.
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

    /// The uploads, allocations, copies and views of a bind.
    Counts trafficOfABind(InstanceDataCollection &items, ShaderProgram *program)
    {
        _taps.clear();
        EXPECT_TRUE(items.bind(program, nullptr) && items.unbind(program, nullptr));
        return {_taps.of<&glBufferData>().count(), _taps.of<&glTexImage2D>().count(),
                _taps.of<&glTexSubImage2D>().count(), _taps.of<&glTexBuffer>().count()};
    }

    FakeLoader _loader;
    Taps<&glBufferData, &glTexImage2D, &glTexSubImage2D, &glTexBuffer> _taps;
};

/// Copies all of the bytes, or none if one is outside.
void copy(QByteArray &to, qint64 at, const QByteArray &from, qint64 start, unsigned long size)
{
    const auto isInside = [size](const QByteArray &bytes, qint64 first) {
        const auto end = static_cast<unsigned long>(bytes.size());
        return first >= 0 && size <= end && static_cast<unsigned long>(first) <= end - size;
    };
    if (isInside(to, at) && isInside(from, start)) {
        to.replace(int(at), int(size), from.mid(int(start), int(size)));
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
    RecordingManager manager;
    InstanceData item("Paint");
    InstanceDataCollection items(plan, 3);
    QByteArray itemBytes = zeros(48);
    QByteArray bytes = zeros(144);
    Tokens tokens;
    Tokens found; // in the bytes since the last update()
    for (int step = 0; step < 5000 && !HasFailure(); ++step) {
        SCOPED_TRACE(step);
        const QByteArray data(engine() % 8 != 0 ? 200 : 0, char(step));
        const char *const source = data.isEmpty() ? nullptr : data.constData();
        const QString name = pick(names);
        const QString target = pick(names);
        const unsigned long size = pick(sizes);
        const unsigned long memberSize = plan->dataSize(name);
        const int index = pick(indices);
        const qint64 start = index * qint64(48) + plan->offset(name);
        const int offset = int(engine() % 60) - 6;
        TextureToken token(engine() % 5);
        QByteArray read(200, '?');
        QByteArray expected = read;

        item.set(name, source, size); // reports what it carries out
        const QStringList messages = _capture.takeTexts();
        const QString member = "plan 'Paint' data '" + name + "'";
        const std::pair<bool, QString> reports[] = {
            {!plan->contains(name), asserted("_plan->contains(dataName)", member)},
            {size > memberSize, asserted("dataSize <= _plan->dataSize(dataName)", member)},
            {plan->dataType(name) == Plan::eTexture,
             asserted("InstanceDataPlan::eTexture != _plan->dataType(dataName)",
                      "InstanceData::set( '" + name + "') call on data type 0")},
        };
        for (const auto &[isWrong, text] : reports) {
            EXPECT_EQ(isWrong ? 1 : 0, messages.count(text));
        }
        copy(itemBytes, plan->offset(name), data, 0, size);
        item.setTextureToken(offset, token);
        copy(itemBytes, offset, QByteArray(reinterpret_cast<const char *>(&token.token), 8), 0, 8);
        TextureToken::insert(tokens, token);
        item.set(offset / 2, source, size);
        copy(itemBytes, offset / 2, data, 0, size);
        item.get(offset, size, read.data(), 0); // the size of the destination is ignored
        copy(expected, 0, itemBytes, offset, size);
        item.get(name, read.data() + 100, 0);
        copy(expected, 100, itemBytes, plan->offset(name), memberSize);
        EXPECT_EQ(itemBytes, item.dataArray());

        items.set(index, name, source, size);
        copy(bytes, start, data, 0, size);
        items.copyInstanceMember(index, target, name);
        copy(bytes, start, bytes, start - plan->offset(name) + plan->offset(target), plan->dataSize(target));
        items.get(index, name, read.data() + 120);
        copy(expected, 120, bytes, start, memberSize);
        if (step % 8 == 0) { // the tokens found last until update()
            bytes = bytes.left(int(engine() % 144)) + zeros(int(engine() % 144));
            items.update(bytes.constData(), static_cast<unsigned long>(bytes.size()));
            found.clear();
        }
        for (int at = found.isEmpty() ? 24 : bytes.size(); at + 8 <= bytes.size(); at += 48) {
            std::memcpy(&token.token, bytes.constData() + at, 8);
            TextureToken::insert(found, token);
        }
        items.bindTextureTokens(nullptr);
        items.bindTextureTokens(&manager);
        EXPECT_EQ(found, manager.bound.takeLast());
        EXPECT_EQ(bytes.size() + 4 * found.size() + sizeof items, items.memoryEstimateCPU());
        EXPECT_EQ(bytes, items.dataArray());
        EXPECT_EQ(expected, read);
    }
    EXPECT_EQ(tokens, item.getTextureTokens());
    EXPECT_EQ(48 + 4 * 5 + sizeof item, item.memoryEstimateCPU());
    const InstanceData copied = item;
    item.clear();
    EXPECT_EQ(zeros(48), item.dataArray());
    EXPECT_TRUE(item.getTextureTokens().isEmpty());
    EXPECT_EQ(itemBytes, copied.dataArray());
}

TEST_F(InstanceDataTest, WithoutAPlanNothingIsWritten)
{
    const QString none =
        "critical [InstanceData.cpp:#] InstanceData::set() : There is no associated instanceData "
        "plan. set() should not be called on such InstanceData";
    RecordingManager manager;
    InstanceData item;
    item.set("tint", "1234", 4);
    item.set(0, "1234", 4);
    EXPECT_MESSAGES(none, asserted("_plan != NULL", "data 'tint'"), none);
    item.setTexture("image", nullptr, &manager);
    item.get("tint", nullptr, 4);
    item.clear();
    EXPECT_EQ("", item.name());
    EXPECT_EQ(sizeof item, item.memoryEstimateCPU());

    InstanceDataRegistry::Instance()->registerPlan(new Plan("Empty"));
    InstanceData("Empty").set("none", "1234", 4);
    const QString outside = asserted("offset >= 0 && offset < _data.size()", "plan 'Empty' data 'none'");
    EXPECT_EQ(outside, _capture.takeTexts().value(1));

    InstanceDataCollection items("Unknown");
    EXPECT_MESSAGES(startsWith("warning [InstanceDataRegistry.cpp:#]"));
    items.set(0, "tint", "1234", 4);
    items.copyInstanceMember(0, "tint", "tint");
    items.bindTextureTokens(&manager);
    EXPECT_EQ(0, items.size());
    EXPECT_FALSE(items.bind(nullptr, &manager) || items.unbind(nullptr, &manager));
    EXPECT_TRUE(items.getUniformBufferObject(GL_UNIFORM_BUFFER).isNull());
}

TEST_F(InstanceDataTest, TexturesAreStoredAsTheirTokens)
{
    paint();
    RecordingManager manager;
    TextureManager::setInstance(&manager);
    auto *const first = new Texture(nullptr); // owned by the manager from the first token on
    auto *const second = new Texture(nullptr);
    InstanceData item("Paint");
    item.setTexture("strength", first, &manager);
    EXPECT_MESSAGES(startsWith("debug [TextureManager.cpp:#]"), // logs each new token
                    asserted("InstanceDataPlan::eTexture == _plan->dataType(dataName)",
                             "InstanceData::setTexture( 'strength') call on data type 13"));
    item.setTexture("image", second);
    EXPECT_EQ(1, item.dataArray()[24]);
    item.setTexture("image", first, &manager);
    EXPECT_EQ(0, item.dataArray()[24]);
    item.setTexture("image", QString()); // is shown as white
    EXPECT_EQ(2, item.dataArray()[24]);
    item.setTexture(24, first);
    EXPECT_EQ(0, item.dataArray()[24]);
    item.setTexture(24, second, &manager);
    EXPECT_EQ(1, item.dataArray()[24]);
    EXPECT_EQ(QStringList("warning [TextureManager.cpp:#] Cannot load "), _capture.takeTexts(QtWarningMsg));
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
    const QList<InstanceData> list = {item, item, item};
    const QByteArray bytes = item.dataArray().repeated(3);
    const QString tooBig = "List is too big for plan 'Paint'";
    const AssertionsOf ofCollection("InstanceDataCollection.cpp");
    const QString countTooBig = ofCollection("numItems <= _plan->arraySize()", tooBig);
    const QString bytesTooBig =
        ofCollection("(numBytes / _plan->totalDataSize()) <= _plan->arraySize()", tooBig);
    const QString listTooBig = ofCollection("size_t(instanceDataDataList.size()) <= _plan->arraySize()",
                                            "List 3 too big, max 2 plan 'Paint'");
    EXPECT_EQ(zeros(144), InstanceDataCollection(plan, 3).dataArray());
    EXPECT_TRUE(InstanceDataCollection(plan, 100000000).dataArray().isEmpty());
    EXPECT_EQ(bytes, InstanceDataCollection(plan, bytes.constData(), 144).dataArray());
    InstanceDataCollection items("Paint", list);
    EXPECT_EQ(bytes, items.dataArray());
    items.update(QList<InstanceData>());
    EXPECT_EQ(0, items.size());
    items.update(list);
    EXPECT_EQ(bytes, items.dataArray());
    items.update(bytes.constData(), 144);
    EXPECT_MESSAGES(countTooBig, countTooBig, bytesTooBig, listTooBig, listTooBig, bytesTooBig);
    items.update(bytes.constData(), 143); // two whole items
}

TEST_F(InstanceDataTest, MoreThanATextureHoldsIsReportedAndStaysOutOfTheTexture)
{
    const FakeLimits narrow(GL_MAX_TEXTURE_SIZE, 64); // 21 items of 3 texels
    const std::pair<int, Counts> rows[] = {
        {22 * 48, {1, 0, 0, 0}}, {21 * 48, {1, 2, 2, 0}}, {16, {1, 2, 2, 0}}};
    InstanceDataCollection items(paint(Plan::eTextureMechanism, 30), 22);
    for (const auto &[size, expected] : rows) {
        items.update(zeros(size).constData(), static_cast<unsigned long>(size));
        EXPECT_EQ(expected, trafficOfABind(items, nullptr));
        EXPECT_EQ(Counts({0, 0, 0, 0}), trafficOfABind(items, nullptr));
    }
    const QString tooBig =
        AssertionsOf("InstanceDataCollection.cpp")("this->fitsTexture()", "List is too big for plan 'Paint'");
    EXPECT_MESSAGES(tooBig, tooBig); // of construction and update
}

TEST_F(InstanceDataTest, BooleansAreSentAsUniformsOnEveryBindAndReadNoFurtherThanTheirBytes)
{
    auto *plan = new Plan("Flags");
    const QStringList members = {"a", "bb", "bbb", "bbbb"};
    for (int i = 0; i < 4; ++i) {
        plan->addMember(Plan::DataType(int(Plan::eBool) + i), members[i]);
    }
    plan->addMember(Plan::eTexture, "image"); // at 0
    plan->addMember(Plan::eBool, "unused");
    plan->setMechanism(Plan::eUniformMechanism);
    plan->setArraySize(3);
    InstanceDataRegistry::Instance()->registerPlan(plan);
    _capture.take(); // the limit
    const auto program = makeProgram(
        kAtOrigin,
        "#version 150\nuniform bool u_a[3]; uniform bvec2 u_bb[3]; uniform bvec4 u_bbb[3], u_bbbb[3];\n"
        "out vec4 color; void main() { color = vec4(u_a[2] && u_bb[2].x && u_bbb[2].x && u_bbbb[2].x); }\n");
    InstanceDataCollection items(plan, 3);
    Taps<&glUniform1iv, &glUniform2iv, &glUniform4iv> sent;
    const auto expectZeros = [](int components) {
        return [=](GLint, GLsizei count, const GLint *values) { // reads as much as the driver would
            EXPECT_EQ(0, std::accumulate(values, values + count * components, 0));
        };
    };
    sent.of<&glUniform1iv>().replace(expectZeros(1));
    sent.of<&glUniform2iv>().replace(expectZeros(2));
    sent.of<&glUniform4iv>().replace(expectZeros(4));
    const AutoBinder binder(program.get());
    RecordingManager manager;
    for (size_t binds = 1; binds <= 2; ++binds) {
        EXPECT_TRUE(items.bind(program.get(), &manager));
        EXPECT_EQ(Tokens({TextureToken(0)}), manager.bound.last());
        EXPECT_EQ(4 * binds, sent.count());
    }
}

class InstanceDataMechanismTest : public InstanceDataTest, public testing::WithParamInterface<int>
{
};

TEST_P(InstanceDataMechanismTest, ABindUploadsWhatHasChangedAndLeavesNothingBound)
{
    ZEL_NEEDS_EXTENSION_IF(GetParam() == Plan::eStorageBufferMechanism,
                           "GL_ARB_shader_storage_buffer_object");
    const size_t uploads = GetParam() == Plan::eUniformMechanism ? 0 : 1;
    const size_t copies = GetParam() == Plan::eTextureMechanism ? 2 : 0;
    const size_t views = GetParam() == Plan::eBufferTextureMechanism ? 2 : 0;
    const bool hasTextures = copies + views > 0;
    Plan *plan = paint(GetParam());
    const auto program = makeProgram(kAtOrigin,
                                     "#version 150\n#instancedata \"Paint\"\nout vec4 color;\n"
                                     "void main() { color = vec4(getTint(1u), float(getImage(1u).x)); }\n",
                                     nullptr, {"ZelUtilities.glslc"}, {plan->glslc()});
    const AutoBinder binder(program.get());

    // 1. Data that finds no texture unit is uploaded by a later bind.
    InstanceDataCollection items(plan, 4);
    EXPECT_TRUE(items.unbind(program.get(), nullptr)); // before any bind
    std::vector<std::unique_ptr<Texture>> holders(size_t(integerOf(GL_MAX_TEXTURE_IMAGE_UNITS)));
    for (auto &holder : holders) {
        holder = std::make_unique<Texture>(GL_TEXTURE_2D, GL_RGBA8, 1, 1, 1, nullptr);
        ASSERT_TRUE(holder->bind());
    }
    EXPECT_EQ(Counts({copies > 0 ? 0 : uploads, 0, 0, 0}), trafficOfABind(items, program.get()));
    EXPECT_EQ(hasTextures, !_capture.take().isEmpty());
    for (const auto &holder : holders) {
        EXPECT_TRUE(holder->unbind());
    }
    EXPECT_EQ(Counts({hasTextures ? 1u : 0u, copies, copies, views}), trafficOfABind(items, program.get()));

    // 2. Later binds upload changes, and allocate for new sizes.
    const QByteArray bytes = zeros(5 * 48);
    const Counts nothing = {0, 0, 0, 0};
    const Counts changed = {uploads, 0, copies, 0};
    const Counts resized = {uploads, copies, copies, 0};
    const std::pair<Counts, std::function<void()>> steps[] = {
        {changed, [&] { items.set(0, "tint", bytes.constData(), 16); }},
        {changed, [&] { items.copyInstanceMember(0, "tint", "shift"); }},
        {changed, [&] { items.update(bytes.constData(), 4 * 48); }},
        {resized, [&] { items.update(QVector<InstanceData>(2, InstanceData("Paint")).toList()); }},
        {resized, [&] { items.update(bytes.constData(), 5 * 48); }},
    };
    items.setBOUsageFlags(GL_STREAM_DRAW);
    for (const auto &[expected, change] : steps) {
        change();
        EXPECT_EQ(expected, trafficOfABind(items, program.get()));
        EXPECT_TRUE(expected[0] == 0 || _taps.of<&glBufferData>().last<3>() == GL_STREAM_DRAW);
        EXPECT_EQ(nothing, trafficOfABind(items, program.get()));
    }
    for (const auto &holder : holders) {
        EXPECT_TRUE(holder->bind()) << "a data texture keeps its unit";
    }
    for (const auto &holder : holders) {
        EXPECT_TRUE(holder->unbind());
    }
    items.set(0, "tint", bytes.constData(), 16);
    items.clearDirtyStatus(); // counts as uploaded
    EXPECT_EQ(nothing, trafficOfABind(items, program.get()));
    const AllocationCount allocations;
    EXPECT_TRUE(items.bind(program.get(), nullptr) && items.unbind(program.get(), nullptr));
    EXPECT_TRUE(hasTextures || allocations.taken() == 0); // each new owner of a unit is added to a table
    EXPECT_EQ(240 * uploads, items.memoryEstimateGPU());
    EXPECT_GE(items.memoryEstimateCPU(), 240 + sizeof items);
    if (uploads > 0 && !hasTextures) {
        items.getUniformBufferObject(0)->uniformBlockBinding();
        EXPECT_MESSAGES(startsWith("critical [UniformBufferObject.cpp:#]")); // it is not bound
    }

    // 3. All overloads hand the tokens to the manager.
    RecordingManager manager;
    TextureManager::setInstance(&manager);
    EXPECT_TRUE(items.bind() && items.unbind());
    TextureManager::setInstance(nullptr);
    EXPECT_TRUE(items.bind(&manager) && items.unbind(&manager)); // with the program in use
    EXPECT_TRUE(items.bind(nullptr, &manager) && items.unbind(nullptr, &manager));
    EXPECT_EQ(QVector<Tokens>(3, {TextureToken(0)}), manager.bound);
    EXPECT_EQ(manager.bound, manager.unbound);
    EXPECT_FALSE(plan->bind(program.get(), &manager, nullptr)
                 || plan->unbind(program.get(), &manager, nullptr));

    // 4. An immutable storage of the size of the data is not allocated again.
    InstanceDataCollection fixed(plan, 2);
    fixed.useStorageBuffer(GL_DYNAMIC_STORAGE_BIT);
    EXPECT_EQ(0u, trafficOfABind(fixed, program.get())[0]);
    EXPECT_EQ(96 * uploads, fixed.memoryEstimateGPU());
}

INSTANTIATE_TEST_SUITE_P(Mechanisms, InstanceDataMechanismTest,
                         testing::Range(int(Plan::eUniformBufferMechanism),
                                        int(Plan::eStorageBufferMechanism) + 1));
