#include "support/FakeLimits.h"
#include "support/GLFixture.h"
#include "support/TestProgram.h"

#include <ZelGL/ZelGL.h>

#include <algorithm>
#include <memory>
#include <random>

using namespace Orvane::Zel;

namespace {

using Plan = InstanceDataPlan;

const AssertionsOf asserted("InstanceDataPlan.cpp");

class InstanceDataPlanTest : public GLTest
{
protected:
    ~InstanceDataPlanTest() override { InstanceDataRegistry::Instance()->clear(); }

    /// Returns the messages but that about the limit.
    QStringList finalise(Plan &plan)
    {
        plan.finalise();
        return _capture.takeTexts(QtWarningMsg);
    }

    std::unique_ptr<Plan> paint(Plan::MechanismType mechanism = Plan::eUniformBufferMechanism)
    {
        auto plan = std::make_unique<Plan>("Paint");
        plan->addMember(Plan::eFloat, "strength");
        plan->setMechanism(mechanism);
        return plan;
    }
};

/// In the order of the layout.
const struct
{
    Plan::DataType type;
    unsigned int size;
} kTypes[] = {
    {Plan::eMat4, 64},   {Plan::eVec4, 16},  {Plan::eVec3, 16}, {Plan::eUVec4, 16}, {Plan::eUVec3, 16},
    {Plan::eIVec4, 16},  {Plan::eIVec3, 16}, {Plan::eVec2, 8},  {Plan::eUVec2, 8},  {Plan::eIVec2, 8},
    {Plan::eTexture, 8}, {Plan::eFloat, 4},  {Plan::eUInt, 4},  {Plan::eInt, 4},    {Plan::eBVec4, 4},
    {Plan::eBVec3, 4},   {Plan::eBVec2, 2},  {Plan::eBool, 1},
};

/// The uniform block of a plan "E", which has a member of each kind that texts distinguish, and its accessors by item number.
const char *const kBlock = R"(struct E
{
  mat4 m;
  vec4 fff;
  ZelTextureToken t;
  float f;
  float _dummy92;
};

layout (std140) uniform u_EUniform{
  E Es[3];
};

)";
const char *const kAccessors = R"(mat4 getM(uint Index) { return Es[ Index].m; }
vec3 getFff(uint Index) { return Es[ Index].fff.rgb; }
ZelTextureToken getT(uint Index) { return Es[ Index].t; }
float getF(uint Index) { return Es[ Index].f; })";

} // namespace

TEST_F(InstanceDataPlanTest, RandomMembersAreLaidOutByFallingSizeAndType)
{
    std::mt19937 engine(11);
    for (int i = 0; i < 1000 && !HasFailure(); ++i) {
        SCOPED_TRACE(i);
        const auto mechanism = Plan::MechanismType(engine() % (Plan::supportsStorageMechanism() ? 5 : 4));
        const bool isBlock =
            mechanism == Plan::eUniformBufferMechanism || mechanism == Plan::eStorageBufferMechanism;
        const bool useVec4Storage = engine() % 2 != 0;
        Plan plan("Random");
        plan.setMechanism(mechanism);
        plan.setUseVec4Storage(useVec4Storage);
        QMap<size_t, QStringList> names; // by row of the table
        QMap<QString, size_t> rows;
        for (unsigned int member = engine() % 40; member > 0; --member) {
            const QString name = QString::number(engine() % 100); // some are repeated
            rows[name] = engine() % std::size(kTypes);
            names[rows[name]] += name;
            plan.addMember(kTypes[rows[name]].type, name);
        }
        unsigned int end = 0;
        QMap<QString, unsigned int> offsets{{"unknown", 0}};
        QList<int> tokens;
        for (auto it = names.cbegin(); it != names.cend(); ++it) {
            for (const QString &name : *it) {
                tokens += kTypes[it.key()].type == Plan::eTexture ? QList<int>{int(end)} : QList<int>();
                offsets[name] = end;
                end += kTypes[it.key()].size;
            }
            const bool isPadded = isBlock && useVec4Storage && kTypes[it.key()].type != Plan::eMat4;
            end += isPadded ? (16 - end % 16) % 16 : 0;
        }
        EXPECT_TRUE(plan.memberNames().isEmpty()); // they are those of the offsets, which finalise() computes
        const QString message =
            QString("critical [InstanceDataPlan.cpp:#] The members of plan 'Random' have a "
                    "total of %1 bytes, which is not a multiple of 4")
                .arg(end);
        // ParameterMechanism reports booleans of which a texture has no vector.
        EXPECT_EQ(end % 4 == 0 ? QStringList() : QStringList(message), finalise(plan).filter("DataPlan.cpp"));
        EXPECT_EQ((end + 15) / 16 * 16, plan.totalDataSize());
        EXPECT_EQ(tokens, plan.textureTokenOffsets());
        EXPECT_EQ(rows.size(), plan.memberNames().size());
        for (const QString &name : offsets.keys()) { // an unknown name has the values of a texture
            const auto &type = kTypes[rows.value(name, 10)];
            EXPECT_EQ(offsets[name], plan.offset(name));
            EXPECT_EQ(type.type, plan.dataType(name));
            EXPECT_EQ(type.size, plan.dataSize(name));
            EXPECT_EQ(rows.contains(name), plan.contains(name));
        }
    }
}

TEST_F(InstanceDataPlanTest, SettingsAndQueriesOutOfOrderAreReportedAndCarriedOut)
{
    const auto plan = paint();
    EXPECT_EQ(150u, plan->arraySize());
    EXPECT_MESSAGES(
        asserted("true == _finalised",
                 "InstanceDataPlan::arraySize() can only be called after the plan has been finalised"));
    finalise(*plan);
    plan->setArraySize(7);
    plan->setMechanism(Plan::eTextureMechanism);
    plan->setUseVec4Storage(true);
    const QString early =
        asserted("false == _finalised",
                 "InstanceDataPlan::%1() can only be called before the plan has been finalised");
    EXPECT_MESSAGES(early.arg("setArraySize"), early.arg("setMechanism"), early.arg("setUseVec4Storage"));
    EXPECT_EQ(7u, plan->arraySize());
    EXPECT_EQ(Plan::eTextureMechanism, plan->mechanism());
    // finalise() has created the mechanism.
    EXPECT_EQ(nullptr, dynamic_cast<TextureMechanism *>(plan->parameterMechanism(Plan::eTextureMechanism)));
}

TEST_F(InstanceDataPlanTest, TextsHaveTheVersionOfTheMechanismAndTheNumberOfItemsThatFits)
{
    Hook<&glGetInteger64v> storageLimit;
    storageLimit.replace([](GLenum, GLint64 *value) { *value = 360; });
    for (const int version : {3, 4}) {
        const FakeLimits limits({{GL_MAJOR_VERSION, version},
                                 {GL_MINOR_VERSION, 3},
                                 {GL_MAX_UNIFORM_BLOCK_SIZE, 360},
                                 {GL_MAX_TEXTURE_BUFFER_SIZE, 20}});
        const bool hasExtension = hasGLExtension("GL_ARB_shader_storage_buffer_object");
        EXPECT_EQ(version == 4 || hasExtension, Plan::supportsStorageMechanism());
        for (const auto mechanism : {Plan::eUniformBufferMechanism, Plan::eBufferTextureMechanism,
                                     Plan::eTextureMechanism, Plan::eStorageBufferMechanism}) {
            SCOPED_TRACE(mechanism);
            Plan plan("E");
            plan.addMember(Plan::eTexture, "t");
            plan.addMember(Plan::eFloat, "f");
            plan.addMember(Plan::eVec3, "fff");
            plan.addMember(Plan::eMat4, "m");
            plan.setMechanism(mechanism);
            plan.setArraySize(5);
            EXPECT_EQ(QStringList(), finalise(plan));

            QString head = "#version 150";
            if (mechanism == Plan::eStorageBufferMechanism && version == 4) {
                head = "#version 430";
            } else if (mechanism == Plan::eStorageBufferMechanism && hasExtension) {
                head += "\n#extension GL_ARB_shader_storage_buffer_object: enable ";
            }
            head += "\n\n#include \"TextureManager.glslh\"\n#include \"ZelUtilities.glslh\"\n\n";
            const int size = mechanism == Plan::eTextureMechanism ? 5 : 3;
            const QString end =
                QString("#define E_ARRAY_SIZE %1\n#endif // ZEL_INSTANCEDATAPLAN_E_GLSLH\n").arg(size);
            EXPECT_EQ(head, plan.glslc().left(head.size()));
            EXPECT_EQ(end, plan.glslh().right(end.size()));
            if (mechanism == Plan::eUniformBufferMechanism) {
                const QRegExp accessor("(\\w+) (get\\w+)\\(uint Index\\)([^\\n]*)");
                const QString both = "\\1 \\2(uint Index)\\3\n"
                                     "\\1 \\2(void)       { return \\2( uint(getDrawID())); }\n";
                EXPECT_EQ(head + kBlock + QString(kAccessors).replace(accessor, both) + '\n', plan.glslc());
                EXPECT_EQ("#ifndef ZEL_INSTANCEDATAPLAN_E_GLSLH\n#define ZEL_INSTANCEDATAPLAN_E_GLSLH\n"
                          "#include \"TextureManager.glslh\"\n"
                              + QString(kAccessors).replace(accessor, "\\1 \\2(uint Index);\n\\1 \\2(void);")
                              + '\n' + end,
                          plan.glslh());
            }
        }
    }
}

TEST_F(InstanceDataPlanTest, SwizzlesStayInsideTheirVector)
{
    EXPECT_EQ(".xyzw", ParameterMechanism::glslAccessorString(0, 4));
    for (const auto &[component, count] : {std::pair(0, 0), {2, 3}, {0, 5}}) {
        EXPECT_EQ("", ParameterMechanism::glslAccessorString(size_t(component), size_t(count)));
    }
    EXPECT_EQ("ZelTextureToken", ParameterMechanism::glslType(Plan::DataType(18))); // as for unknown members
    const QString report = AssertionsOf("ParameterMechanism.cpp")(
        "(component + numComponents) <= 4", "ERROR: Accessor asking for out of range combination. %1");
    EXPECT_MESSAGES(report.arg("2+3"), report.arg("0+5"));
}

TEST_F(InstanceDataPlanTest, TheDriversLimitsClampTheArray)
{
    const std::pair<const char *, GLenum> mechanisms[] = {{"ubo", GL_MAX_UNIFORM_BLOCK_SIZE},
                                                          {"uni", GL_MAX_FRAGMENT_UNIFORM_COMPONENTS},
                                                          {"bxt", GL_MAX_TEXTURE_BUFFER_SIZE},
                                                          {"txt", GL_MAX_TEXTURE_SIZE},
                                                          {"ssb", GL_MAX_SHADER_STORAGE_BLOCK_SIZE}};
    const struct
    {
        Plan::MechanismType mechanism;
        int itemSize;
        GLint64 limit; ///< negative: the driver writes no result
        size_t max, size;
        bool isQuiet = false;
    } rows[] = {
        // Items of 20 components, 1000 wanted.
        {Plan::eUniformBufferMechanism, 80, 16384, 204, 204},
        {Plan::eUniformBufferMechanism, 80, 1 << 20, 13107, 1000},
        {Plan::eUniformBufferMechanism, 80, 1, 0, 0},
        {Plan::eUniformBufferMechanism, 80, -1, 150, 1000, true},
        {Plan::eUniformMechanism, 80, 4096, 20, 20}, // of the vertex stage
        {Plan::eUniformMechanism, 80, 959, 11, 11},
        {Plan::eUniformMechanism, 80, -1, 11, 11},
        {Plan::eBufferTextureMechanism, 16, -1, 2048, 1000},
        {Plan::eBufferTextureMechanism, 80, 0x7FFFFFFF, 429496729, 1000},
        {Plan::eTextureMechanism, 80, 80, 80, 80},
        {Plan::eTextureMechanism, 80, 79, 79, 80},
        {Plan::eStorageBufferMechanism, 80, 1, 0, 0},
        {Plan::eStorageBufferMechanism, 80, 1LL << 33, 107374182, 1000},
        {Plan::eStorageBufferMechanism, 80, -1, 150, 1000, true},
        // Without members no limit is a quotient.
        {Plan::eUniformBufferMechanism, 0, 16384, 150, 1000, true},
        {Plan::eUniformMechanism, 0, 4096, 1, 1},
        {Plan::eBufferTextureMechanism, 0, 2048, 0, 0},
        {Plan::eTextureMechanism, 0, -1, 1024, 0},
        {Plan::eStorageBufferMechanism, 0, 16384, 150, 1000, true},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(testing::Message() << row.mechanism << ' ' << row.limit);
        Hook<&glGetIntegerv> limit;
        limit.replace([&](GLenum name, GLint *value) {
            const bool isVertex = name == GL_MAX_VERTEX_UNIFORM_COMPONENTS;
            if (!isVertex && name != mechanisms[row.mechanism].second) {
                limit.original(name, value);
            } else if (row.limit >= 0) {
                *value = isVertex ? 1600 : GLint(row.limit);
            }
        });
        Hook<&glGetInteger64v> limit64;
        limit64.replace([&](GLenum name, GLint64 *value) {
            EXPECT_EQ(mechanisms[row.mechanism].second, name);
            *value = row.limit < 0 ? *value : row.limit;
        });
        Plan plan("Big");
        if (row.itemSize > 64) {
            plan.addMember(Plan::eMat4, "m");
        }
        if (row.itemSize > 0) {
            plan.addMember(Plan::eVec3, "v");
        }
        plan.setMechanism(row.mechanism);
        plan.setArraySize(1000);
        plan.finalise();
        QStringList messages;
        if (row.limit == 79) { // less than an item
            messages += asserted("static_cast<int>(_totalDataSize) <= maxTextureSize",
                                 "Total data size (80) for plan Big exceeds GL_MAX_TEXTURE_SIZE (79)");
        }
        if (!row.isQuiet) {
            messages += QString::asprintf("debug [InstanceDataPlan.cpp:#] %s: size %4zu max %4zu plan 'Big'",
                                          mechanisms[row.mechanism].first, row.size, row.max);
        }
        EXPECT_EQ(messages, _capture.takeTexts());
        const bool isTexture = row.mechanism == Plan::eTextureMechanism; // counts bytes, and does not clamp
        EXPECT_EQ(isTexture ? 150 : row.max, plan.arraySizeMax());
        EXPECT_EQ(isTexture ? 1000 : row.size, plan.arraySize());
    }

    const auto loaded = std::exchange(_ptrc_glGetInteger64v, nullptr);
    const auto unlimited = paint(Plan::eStorageBufferMechanism);
    unlimited->finalise();
    _ptrc_glGetInteger64v = loaded;
    EXPECT_MESSAGES(
        "warning [InstanceDataPlan.cpp:#] OpenGL has not been initialised. No way it obtain correct "
        "maximum InstanceData table size for 'Paint'");
}

TEST_F(InstanceDataPlanTest, TheRegistryFinalisesOwnsAndReportsAnUnknownNameOnce)
{
    InstanceDataRegistry *registry = InstanceDataRegistry::Instance();
    const auto replaced = paint(); // but not deleted
    Plan *const plan = paint().release();
    registry->registerPlan(nullptr);
    registry->registerPlan(replaced.get());
    EXPECT_EQ(150u, replaced->arraySize()); // not reported: the plan is finalised
    GLSLMacroProcessor processor;
    EXPECT_EQ(replaced->glslh() + "\n\nvoid main() {}",
              GLSLMacroProcessor::process("#instancedata \"Paint\"\nvoid main() {}", &processor));
    registry->registerPlan(plan);
    EXPECT_EQ(plan, registry->getPlan("Paint"));
    EXPECT_EQ(QStringList(), _capture.takeTexts(QtWarningMsg));
    registry->clear();
    EXPECT_TRUE(registry->getPlan("Paint") == nullptr && registry->getPlan("Paint") == nullptr);
    EXPECT_MESSAGES("warning [InstanceDataRegistry.cpp:#] InstanceDataRegistry::getPlan() : Specified "
                    "instanceData plan does not exist : Paint");
}

TEST_F(InstanceDataPlanTest, AProgramOfAnotherSizeIsReported)
{
    const auto program =
        makeProgram(kAtOrigin, "#version 150\nlayout (std140) uniform u_PaintUniform { vec4 values[28]; };\n"
                               "out vec4 color;\nvoid main() { color = values[2]; }\n");
    const auto plan = paint();
    plan->setArraySize(5);
    finalise(*plan);
    plan->assertShaderProgram(nullptr);
    plan->assertShaderProgram(program.get());
    EXPECT_MESSAGES(asserted("int(_arraySize * _totalDataSize) == blockSize",
                             "CPP (5 * 16 = 80) and GLSL (448) for plan Paint disagree on the size of the "
                             "instance data buffer. Check alignment code"));
}

namespace {

constexpr int kMaxItems = 8;

/// A collection of a plan with random members. The shader and the test hash all bits of its items.
class RandomCollection
{
public:
    RandomCollection(const QString &name, Plan::MechanismType mechanism, std::mt19937 &engine)
        : _name(name)
        , _engine(engine)
    {
        const bool isBlock =
            mechanism == Plan::eUniformBufferMechanism || mechanism == Plan::eStorageBufferMechanism;
        const bool useVec4Storage = engine() % 2 == 0;
        QVector<Plan::DataType> types = {Plan::eTexture};
        for (unsigned int i = engine() % 10; i > 0; --i) {
            types += Plan::DataType(Plan::eInt + engine() % 13);
        }
        // Booleans of a GLSL structure are larger than the packed ones, and uniforms are sent as integers. The sum must be a
        // multiple of four bytes. A texture cannot fetch a boolean inside a word.
        if (engine() % 2 == 0 && isBlock && useVec4Storage) {
            types << Plan::eBVec4 << Plan::eBVec3 << Plan::eBVec2 << Plan::eBool << Plan::eBool;
        } else if (engine() % 2 == 0 && !isBlock && mechanism != Plan::eUniformMechanism) {
            types += QVector<Plan::DataType>(8, Plan::eBool);
        }
        std::shuffle(types.begin(), types.end(), engine);
        auto *plan = new Plan(name);
        for (const Plan::DataType type : types) {
            _members.append({type, name.toLower() + QString::number(_members.size())});
            plan->addMember(type, _members.last().second);
        }
        plan->setMechanism(mechanism);
        plan->setUseVec4Storage(useVec4Storage);
        plan->setArraySize(1 + engine() % 9);
        InstanceDataRegistry::Instance()->registerPlan(plan);
        _collection = std::make_unique<InstanceDataCollection>(
            plan, std::min<unsigned long>(plan->arraySize(), kMaxItems));
    }

    InstanceDataCollection *operator->() const { return _collection.get(); }

    /// Replaces all bytes by random ones, and returns the hash of each item.
    std::vector<GLuint> fill()
    {
        const size_t itemSize = _collection->plan()->totalDataSize() / 4;
        std::vector<GLuint> words(size_t(_collection->size()) * itemSize);
        std::vector<GLuint> hashes(size_t(_collection->size()), 0);
        for (GLuint &word : words) {
            word = GLuint(_engine());
            const GLuint exponent = word >> 23 & 0xFF;
            word = exponent == 0 || exponent > 191 ? 0 : word; // drivers change NaN and denormal numbers
        }
        _collection->update(reinterpret_cast<const char *>(words.data()), words.size() * 4);
        for (size_t item = 0; item < hashes.size(); ++item) {
            for (const auto &[type, name] : _members) {
                const GLuint *const word = &words[item * itemSize + _collection->plan()->offset(name) / 4];
                for (size_t i = 0; i < ParameterMechanism::numberComponents(type) && isRead(type); ++i) {
                    // All packed booleans of a word are read as one value.
                    hashes[item] =
                        (hashes[item] ^ (type == Plan::eBool ? word[i] != 0 : word[i])) * 16777619u;
                }
            }
        }
        return hashes;
    }

    /// The function hashFirst(uint item) for the name "First". It reads each member by item or by draw number.
    QString hashFunction() const
    {
        QString text = QString("#instancedata \"%1\"\nuint hash%1(uint item) {\n  uint h = 0u;\n").arg(_name);
        for (const auto &[type, name] : _members) {
            const int components = int(ParameterMechanism::numberComponents(type));
            const QString accessor = "get" + name.left(1).toUpper() + name.mid(1);
            text += QString("  { %1 v = %2(%3);\n")
                        .arg(ParameterMechanism::glslType(type), accessor, _engine() % 2 == 0 ? "item" : "");
            for (int i = 0; i < components && isRead(type); ++i) {
                const QString component = components == 1    ? ""
                                          : components == 16 ? QString("[%1][%2]").arg(i / 4).arg(i % 4)
                                                             : QString("[%1]").arg(i);
                text +=
                    QString("    h = (h ^ %1(v%2)) * 16777619u;\n")
                        .arg(ParameterMechanism::isIntegerType(type) ? "uint" : "floatBitsToUint", component);
            }
            text += "  }\n";
        }
        return text + "  return h;\n}\n";
    }

private:
    static bool isRead(Plan::DataType type) { return type < Plan::eBVec2 || type > Plan::eBVec4; }

    QString _name;
    std::mt19937 &_engine;
    QVector<std::pair<Plan::DataType, QString>> _members;
    std::unique_ptr<InstanceDataCollection> _collection;
};

} // namespace

using InstanceDataRoundTripTest = GLTest;

TEST_F(InstanceDataRoundTripTest, TwoCollectionsOfAnyMechanismsAreReadBitByBit)
{
    ZEL_NEEDS_EXTENSION("GL_ARB_shader_bit_encoding");
    std::mt19937 engine(20);
    Texture texture(nullptr);
    texture.create2D(GL_TEXTURE_2D, GL_RG32UI, 1, kMaxItems);
    FramebufferObject framebuffer(nullptr);
    framebuffer.bind();
    framebuffer.attach(&texture, GL_COLOR_ATTACHMENT0, 0);
    const auto quad = OpenGLDeviceContext::current()->newFullscreenQuad();
    ASSERT_TRUE(quad->bind());
    for (int pair = 0; pair < 25 && !HasFailure(); ++pair) {
        const auto mechanism = Plan::MechanismType(pair % 5);
        const auto otherMechanism = Plan::MechanismType(pair / 5);
        SCOPED_TRACE(testing::Message() << mechanism << " and " << otherMechanism);
        RandomCollection first("First", mechanism, engine);
        RandomCollection second("Second", otherMechanism, engine);
        EXPECT_EQ(QStringList(), _capture.takeTexts(QtWarningMsg));
        const auto program = makeProgram(
            kAllOver,
            "#version 330\n#include \"ZelUtilities.glslh\"\n" + first.hashFunction() + second.hashFunction()
                + "out uvec2 hashes;\nvoid main() {\n  uint item = uint(gl_FragCoord.y);\n"
                  "  hashes = uvec2(hashFirst(item), hashSecond(item));\n}\n",
            nullptr, {"ZelUtilities.glslc"}, {first->plan()->glslc(), second->plan()->glslc()});
        first->plan()->assertShaderProgram(program.get()); // reports nothing
        ASSERT_TRUE(program->bind());
        quad->VAO()->enableShaderProgramArrays(program.get());
        for (int pass = 0; pass < 2; ++pass) { // the second pass uploads to existing storage
            const std::vector<GLuint> hashes = first.fill();
            const std::vector<GLuint> others = second.fill();
            EXPECT_TRUE(first->bind(program.get(), nullptr) && second->bind(program.get(), nullptr));
            for (int item = 0; item < std::min(first->size(), second->size()); ++item) {
                glViewport(0, item, 1, 1);
                quad->setDrawIDBase(item);
                EXPECT_TRUE(quad->draw(program.get()));
                std::array<GLuint, 2> read;
                glReadPixels(0, item, 1, 1, GL_RG_INTEGER, GL_UNSIGNED_INT, read.data());
                EXPECT_EQ((std::array<GLuint, 2>{hashes[size_t(item)], others[size_t(item)]}), read) << item;
            }
            EXPECT_TRUE(first->unbind(program.get(), nullptr) && second->unbind(program.get(), nullptr));
        }
        program->unbind();
        InstanceDataRegistry::Instance()->clear();
    }
    quad->unbind();
    framebuffer.detachAll();
    framebuffer.unbind();
}
