#include "support/FakeLimits.h"
#include "support/GLFixture.h"
#include "support/TestProgram.h"

#include <ZelGL/ZelGL.h>

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

/// The accessors of a plan "E", which has a member of each kind that the texts distinguish, for textures. FETCH(f, 0) is the
/// first texel of an item in the texture of floats.
const char *const kOfTexels = R"(mat4 getM(uint Index) { return mat4(FETCH(f, 0).xyzw,
FETCH(f, 1).xyzw,
FETCH(f, 2).xyzw,
FETCH(f, 3).xyzw); } // off 64 0 (0:0)
vec3 getFff(uint Index) { return vec3(FETCH(f, 4).rgb); } // off 16 64 (4:0)
uvec2 getUu(uint Index) { return uvec2(FETCH(i, 5).xy); } // off 8 80 (5:0)
ZelTextureToken getT(uint Index) { return ZelTextureToken(FETCH(i, 5).zw); } // off 8 88 (5:2)
float getF(uint Index) { return float(FETCH(f, 6).x); } // off 4 96 (6:0)
bvec3 getBbb(uint Index) { return bvec3(FETCH(i, 6).rgb); } // off 4 100 (6:1))";

/// The data of plan "E" and its accessors by item number.
const struct
{
    Plan::MechanismType mechanism;
    bool useVec4Storage;
    const char *declarations;
    const char *accessors;
} kTexts[] = {
    {Plan::eUniformBufferMechanism, false, R"(struct E
{
  mat4 m;
  vec4 fff;
  uvec2 uu;
  ZelTextureToken t;
  float f;
  bvec4 bbb;
  float _dummy104;
  float _dummy108;
};

layout (std140) uniform u_EUniform{
  E Es[3];
};)",
     R"(mat4 getM(uint Index) { return Es[ Index].m; }
vec3 getFff(uint Index) { return Es[ Index].fff.rgb; }
uvec2 getUu(uint Index) { return Es[ Index].uu; }
ZelTextureToken getT(uint Index) { return Es[ Index].t; }
float getF(uint Index) { return Es[ Index].f; }
bvec3 getBbb(uint Index) { return Es[ Index].bbb.rgb; })"},
    {Plan::eStorageBufferMechanism, true, R"(struct E
{
  mat4 m;
  vec4 _data64;
  uvec4 _data80;
  uvec4 _data96;
  vec4 _data112;
  bvec4 _data128;
};

layout (std140) buffer u_EUniform{
  E Es[/*3*/];
};)",
     R"(mat4 getM(uint Index) { return Es[ Index].m; }
vec3 getFff(uint Index) { return vec3(Es[ Index]._data64.xyz); }  // off 16 64 (4:0)
uvec2 getUu(uint Index) { return uvec2(Es[ Index]._data80.xy); }  // off 8 80 (5:0)
ZelTextureToken getT(uint Index) { return ZelTextureToken(Es[ Index]._data96.xy); }  // off 8 96 (6:0)
float getF(uint Index) { return float(Es[ Index]._data112.x); }  // off 4 112 (7:0)
bvec3 getBbb(uint Index) { return bvec3(Es[ Index]._data128.xyz); }  // off 4 128 (8:0))"},
    {Plan::eUniformMechanism, true, R"(uniform mat4 u_m[3];
uniform vec4 u_fff[3];
uniform uvec2 u_uu[3];
uniform ZelTextureToken u_t[3];
uniform float u_f[3];
uniform bvec4 u_bbb[3];)",
     R"(mat4 getM(uint Index) { return u_m[Index]; }
vec3 getFff(uint Index) { return u_fff[Index].rgb; }
uvec2 getUu(uint Index) { return u_uu[Index]; }
ZelTextureToken getT(uint Index) { return u_t[Index]; }
float getF(uint Index) { return u_f[Index]; }
bvec3 getBbb(uint Index) { return u_bbb[Index].rgb; })"},
    {Plan::eTextureMechanism, true, "uniform sampler2D u_fESampler;\nuniform isampler2D u_iESampler;\n",
     kOfTexels},
    {Plan::eBufferTextureMechanism, false,
     "uniform samplerBuffer u_fESampler;\nuniform isamplerBuffer u_iESampler;\n", kOfTexels},
};

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
    EXPECT_TRUE(gInstanceDataNameValidator.exactMatch("_baseColor2"));
    EXPECT_FALSE(gInstanceDataNameValidator.exactMatch("2base color"));
}

TEST_F(InstanceDataPlanTest, EachMechanismHasItsWholeTextWithTheNumberOfItemsThatFits)
{
    Hook<&glGetInteger64v> storageLimit;
    storageLimit.replace([](GLenum, GLint64 *value) { *value = 440; });
    for (const int version : {3, 4}) {
        const FakeLimits limits({{GL_MAJOR_VERSION, version},
                                 {GL_MINOR_VERSION, 3},
                                 {GL_MAX_UNIFORM_BLOCK_SIZE, 440},
                                 {GL_MAX_FRAGMENT_UNIFORM_COMPONENTS, 400},
                                 {GL_MAX_TEXTURE_BUFFER_SIZE, 27}});
        const bool hasExtension = hasGLExtension("GL_ARB_shader_storage_buffer_object");
        EXPECT_EQ(version == 4 || hasExtension, Plan::supportsStorageMechanism());
        for (const auto &row : kTexts) {
            SCOPED_TRACE(row.mechanism);
            Plan plan("E");
            const std::pair<Plan::DataType, const char *> members[] = {
                {Plan::eTexture, "t"}, {Plan::eBVec3, "bbb"}, {Plan::eFloat, "f"},
                {Plan::eVec3, "fff"},  {Plan::eUVec2, "uu"},  {Plan::eMat4, "m"},
            };
            for (const auto &[type, name] : members) {
                plan.addMember(type, name);
            }
            plan.setMechanism(row.mechanism);
            plan.setUseVec4Storage(row.useVec4Storage);
            plan.setArraySize(5);
            EXPECT_EQ(QStringList(), finalise(plan));

            const bool isTexture = row.mechanism == Plan::eTextureMechanism;
            QString head = "#version 150";
            if (row.mechanism == Plan::eStorageBufferMechanism && version == 4) {
                head = "#version 430";
            } else if (row.mechanism == Plan::eStorageBufferMechanism && hasExtension) {
                head += "\n#extension GL_ARB_shader_storage_buffer_object: enable ";
            }
            head += "\n\n#include \"TextureManager.glslh\"\n#include \"ZelUtilities.glslh\"\n\n";
            const QString index = "(Index * uint(7)) + uint(\\2)";
            QString accessors = row.accessors;
            accessors.replace(QRegExp("FETCH\\((.), (.)\\)"),
                              "texelFetch( u_\\1ESampler, "
                                  + (isTexture ? "ivec2( " + index + ", 0), 0)" : "int( " + index + " ))"));
            const QRegExp accessor("(\\w+) (get\\w+)\\(uint Index\\)( \\{[^\\n]*(,\\n[^\\n]*)*)");
            const QString declared =
                QString(accessors).replace(accessor, "\\1 \\2(uint Index);\n\\1 \\2(void);");
            accessors.replace(accessor, "\\1 \\2(uint Index)\\3\n"
                                        "\\1 \\2(void)       { return \\2( uint(getDrawID())); }\n");
            EXPECT_EQ(head + row.declarations + "\n\n" + accessors + '\n', plan.glslc());
            const QString define = QString("#define E_ARRAY_SIZE %1\n").arg(isTexture ? 5 : 3);
            EXPECT_EQ("#ifndef ZEL_INSTANCEDATAPLAN_E_GLSLH\n#define ZEL_INSTANCEDATAPLAN_E_GLSLH\n"
                      "#include \"TextureManager.glslh\"\n"
                          + declared + '\n' + define + "#endif // ZEL_INSTANCEDATAPLAN_E_GLSLH\n",
                      plan.glslh());
        }
    }
}

TEST_F(InstanceDataPlanTest, SwizzlesStayInsideTheirVector)
{
    for (unsigned long component = 0; component < 5; ++component) {
        for (unsigned long count = 0; count <= 5; ++count) {
            const bool isInside = component + count <= 4;
            EXPECT_EQ(isInside && count > 0 ? "." + QString("xyzw").mid(int(component), int(count)) : "",
                      ParameterMechanism::glslAccessorString(component, count));
            if (!isInside) {
                EXPECT_MESSAGES(AssertionsOf("ParameterMechanism.cpp")(
                    "(component + numComponents) <= 4",
                    QString("ERROR: Accessor asking for out of range combination. %1+%2")
                        .arg(component)
                        .arg(count)));
            }
        }
    }
}

TEST_F(InstanceDataPlanTest, TheDriversLimitsClampTheArray)
{
    const GLenum limits[] = {GL_MAX_UNIFORM_BLOCK_SIZE, GL_MAX_FRAGMENT_UNIFORM_COMPONENTS,
                             GL_MAX_TEXTURE_BUFFER_SIZE, GL_MAX_TEXTURE_SIZE};
    const struct
    {
        Plan::MechanismType mechanism;
        int itemSize;
        GLint64 limit;
        size_t max, size;
        const char *message;
    } rows[] = {
        // Items of 20 components, 1000 wanted.
        {Plan::eUniformBufferMechanism, 80, 16384, 204, 204, "ubo: size  204 max  204"},
        {Plan::eUniformBufferMechanism, 80, 1 << 20, 13107, 1000, "ubo: size 1000 max 13107"},
        {Plan::eUniformBufferMechanism, 80, 1, 0, 0, "ubo: size    0 max    0"},
        {Plan::eUniformBufferMechanism, 80, 0, 150, 1000, nullptr},
        {Plan::eUniformMechanism, 80, 4096, 20, 20, "uni: size   20 max   20"}, // of the vertex stage
        {Plan::eUniformMechanism, 80, 896, 11, 11, "uni: size   11 max   11"},
        {Plan::eBufferTextureMechanism, 80, 2048, 409, 409, "bxt: size  409 max  409"},
        {Plan::eBufferTextureMechanism, 80, 0x7FFFFFFF, 429496729, 1000, "bxt: size 1000 max 429496729"},
        {Plan::eTextureMechanism, 80, 80, 150, 1000, "txt: size   80 max   80"},
        {Plan::eStorageBufferMechanism, 80, 1, 0, 0, "ssb: size    0 max    0"},
        {Plan::eStorageBufferMechanism, 80, 1LL << 33, 107374182, 1000, "ssb: size 1000 max 107374182"},
        {Plan::eStorageBufferMechanism, 80, 0, 150, 1000, nullptr},
        // Without members no limit is a quotient.
        {Plan::eUniformBufferMechanism, 0, 16384, 150, 1000, nullptr},
        {Plan::eUniformMechanism, 0, 4096, 1, 1, "uni: size    1 max    1"},
        {Plan::eBufferTextureMechanism, 0, 2048, 0, 0, "bxt: size    0 max    0"},
        {Plan::eTextureMechanism, 0, 64, 150, 1000, "txt: size    0 max   64"},
        {Plan::eStorageBufferMechanism, 0, 16384, 150, 1000, nullptr},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(testing::Message() << row.mechanism << ' ' << row.limit);
        const FakeLimits fake(
            {{GL_MAX_VERTEX_UNIFORM_COMPONENTS, 1600}, {limits[row.mechanism % 4], GLint(row.limit)}});
        Hook<&glGetInteger64v> storageLimit;
        storageLimit.replace([&](GLenum, GLint64 *value) { *value = row.limit; });
        Plan plan("Big");
        if (row.itemSize != 0) {
            plan.addMember(Plan::eMat4, "m");
            plan.addMember(Plan::eVec3, "v");
        }
        plan.setMechanism(row.mechanism);
        plan.setArraySize(1000);
        plan.finalise();
        const QString message = QString("debug [InstanceDataPlan.cpp:#] %1 plan 'Big'").arg(row.message);
        EXPECT_EQ(row.message != nullptr ? QStringList(message) : QStringList(), _capture.takeTexts());
        EXPECT_EQ(row.max, plan.arraySizeMax());
        EXPECT_EQ(row.size, plan.arraySize());
    }

    const FakeLimits narrow(GL_MAX_TEXTURE_SIZE, 4);
    const auto wide = paint(Plan::eTextureMechanism);
    wide->finalise();
    EXPECT_MESSAGES(asserted("static_cast<int>(_totalDataSize) <= maxTextureSize",
                             "Total data size (16) for plan Paint exceeds GL_MAX_TEXTURE_SIZE (4)"),
                    "debug [InstanceDataPlan.cpp:#] txt: size   16 max    4 plan 'Paint'");

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
    const QString unknown =
        "warning [InstanceDataRegistry.cpp:#] InstanceDataRegistry::getPlan() : Specified "
        "instanceData plan does not exist : Paint";
    EXPECT_EQ(nullptr, registry->getPlan("Paint"));
    EXPECT_EQ(nullptr, registry->getPlan("Paint"));
    EXPECT_MESSAGES(unknown);

    const auto replaced = paint(); // but not deleted
    registry->registerPlan(nullptr);
    registry->registerPlan(replaced.get());
    EXPECT_EQ(replaced.get(), registry->getPlan("Paint"));
    GLSLMacroProcessor processor;
    EXPECT_EQ(replaced->glslh() + "\n\nvoid main() {}",
              GLSLMacroProcessor::process("#instancedata \"Paint\"\nvoid main() {}", &processor));
    Plan *plan = paint().release();
    registry->registerPlan(plan);
    EXPECT_EQ(plan, registry->getPlan("Paint"));
    EXPECT_EQ(150u, plan->arraySize()); // not reported: the plan is finalised
    EXPECT_EQ(QStringList(), _capture.takeTexts(QtWarningMsg));
    registry->clear();
    EXPECT_EQ(nullptr, registry->getPlan("Paint"));
    EXPECT_MESSAGES(unknown);
}

TEST_F(InstanceDataPlanTest, AProgramOfAnotherSizeIsReported)
{
    const auto program =
        makeProgram(kAtOrigin, "#version 150\nlayout (std140) uniform u_OtherUniform { vec4 other; };\n"
                               "layout (std140) uniform u_PaintUniform { vec4 values[28]; };\n"
                               "out vec4 color;\nvoid main() { color = values[2] + other; }\n");
    Plan foreign("Foreign"); // the program has no such block
    finalise(foreign);
    Plan plan("Paint");
    plan.addMember(Plan::eMat4, "m");
    plan.setArraySize(5);
    finalise(plan);
    plan.assertShaderProgram(nullptr);
    foreign.assertShaderProgram(program.get());
    plan.assertShaderProgram(program.get());
    EXPECT_MESSAGES(asserted("int(_arraySize * _totalDataSize) == blockSize",
                             "CPP (5 * 64 = 320) and GLSL (448) for plan Paint disagree on the size of the "
                             "instance data buffer. Check alignment code"));
}
