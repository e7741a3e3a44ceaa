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

    /// Finalises, and takes the message about the limit.
    void finalise(Plan &plan)
    {
        plan.finalise();
        const QVector<Message> messages = _capture.take();
        ASSERT_LE(messages.size(), 1) << messages.last().text.toStdString();
        for (const Message &message : messages) {
            EXPECT_EQ(QtDebugMsg, message.level) << message.text.toStdString();
        }
    }

    std::unique_ptr<Plan> paint(Plan::MechanismType mechanism = Plan::eUniformBufferMechanism)
    {
        auto plan = std::make_unique<Plan>("Paint");
        plan->addMember(Plan::eFloat, "strength");
        plan->setMechanism(mechanism);
        return plan;
    }
};

/// A plan named "E" with a member of each kind that the texts distinguish. \a vec4 is for blocks only.
std::unique_ptr<Plan> everyKind(Plan::MechanismType mechanism, bool vec4)
{
    auto plan = std::make_unique<Plan>("E");
    const std::pair<Plan::DataType, const char *> members[] = {
        {Plan::eBool, "b"},   {Plan::eBVec2, "bb"},  {Plan::eBVec3, "bbb"}, {Plan::eIVec4, "iiii"},
        {Plan::eUVec2, "uu"}, {Plan::eFloat, "f"},   {Plan::eVec2, "ff"},   {Plan::eVec3, "fff"},
        {Plan::eMat4, "m"},   {Plan::eTexture, "t"}, {Plan::eFloat, "g"},   {Plan::eBool, "c"},
    };
    for (const auto &member : members) {
        plan->addMember(member.first, member.second);
    }
    plan->setMechanism(mechanism);
    plan->setUseVec4Storage(vec4);
    return plan;
}

/// The definitions by item number, without those by draw, which are the same for all mechanisms.
QString accessorsByIndex(const Plan &plan)
{
    const QString all = plan.glslc();
    const QStringList lines = all.mid(all.indexOf("mat4 getM(uint")).split('\n');
    return lines.filter(QRegExp("^(?!.*\\(void\\)).+")).join('\n');
}

} // namespace

TEST_F(InstanceDataPlanTest, LaysMembersOutByFallingSizeAndType)
{
    const struct
    {
        Plan::DataType type;
        const char *name;
        unsigned int offset;
    } members[] = {
        {Plan::eMat4, "m", 0},       {Plan::eVec4, "ffff", 64},  {Plan::eVec3, "fff", 80},
        {Plan::eUVec4, "uuuu", 96},  {Plan::eUVec3, "uuu", 112}, {Plan::eIVec4, "iiii", 128},
        {Plan::eIVec3, "iii", 144},  {Plan::eVec2, "ff", 160},   {Plan::eUVec2, "uu", 168},
        {Plan::eIVec2, "ii", 176},   {Plan::eTexture, "t", 184}, {Plan::eFloat, "f", 192},
        {Plan::eFloat, "g", 196},    {Plan::eUInt, "u", 200},    {Plan::eInt, "i", 204},
        {Plan::eBVec4, "bbbb", 208}, {Plan::eBVec3, "bbb", 212}, {Plan::eBVec2, "bb", 216},
        {Plan::eBool, "b", 218},     {Plan::eBool, "c", 219},
    };
    Plan plan("Every");
    for (size_t i = 0; i < std::size(members); ++i) { // mixed up
        const auto &member = members[i * 7 % std::size(members)];
        plan.addMember(member.type, member.name);
    }
    EXPECT_TRUE(plan.contains("fff"));
    EXPECT_TRUE(plan.memberNames().isEmpty()); // they are those of the offsets, which finalise() computes
    finalise(plan);
    for (const auto &member : members) {
        EXPECT_EQ(member.offset, plan.offset(member.name)) << member.name;
    }
    EXPECT_EQ(224u, plan.totalDataSize());
    EXPECT_EQ(QList<int>{184}, plan.textureTokenOffsets());
    EXPECT_EQ(20, plan.memberNames().size());
}

TEST_F(InstanceDataPlanTest, UnknownAndRepeatedNamesAnswerQuietly)
{
    Plan plan("Odd");
    plan.addMember(Plan::eVec2, "twice");
    plan.addMember(Plan::eVec2, "twice");
    finalise(plan);
    EXPECT_EQ(16u, plan.totalDataSize());
    EXPECT_EQ(8u, plan.offset("twice"));
    EXPECT_FALSE(plan.contains("none"));
    EXPECT_EQ(Plan::eTexture, plan.dataType("none"));
    EXPECT_EQ(8u, plan.dataSize("none"));
    EXPECT_EQ(0u, plan.offset("none"));
    EXPECT_EQ("u_iOddSampler", plan.samplerIName());
    EXPECT_EQ("u_fOddSampler", plan.samplerFName());
    EXPECT_TRUE(gInstanceDataNameValidator.exactMatch("_baseColor2"));
    EXPECT_FALSE(gInstanceDataNameValidator.exactMatch("2base color"));
}

TEST_F(InstanceDataPlanTest, BooleansThatFillNoWordAreToldAndRoundedUp)
{
    Plan plan("Flags");
    plan.addMember(Plan::eFloat, "f");
    plan.addMember(Plan::eBool, "b");
    plan.finalise();
    EXPECT_MESSAGES(
        "critical [InstanceDataPlan.cpp:#] The members of plan 'Flags' have a total of 5 bytes, which is "
        "not a multiple of 4",
        startsWith("debug [InstanceDataPlan.cpp:#] ubo: size  150 max "));
    EXPECT_EQ(16u, plan.totalDataSize());
}

TEST_F(InstanceDataPlanTest, SettingsAndQuestionsOutOfOrderAreReportedAndCarriedOut)
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
    EXPECT_NE(nullptr,
              dynamic_cast<UniformBufferMechanism *>(plan->parameterMechanism(Plan::eUniformMechanism)));
    EXPECT_EQ(nullptr, dynamic_cast<TextureMechanism *>(plan->parameterMechanism(Plan::eTextureMechanism)));
}

TEST_F(InstanceDataPlanTest, TheTextsOfAPlanStandLineByLine)
{
    auto plan = paint();
    plan->addMember(Plan::eTexture, "baseColor");
    plan->addMember(Plan::eVec3, "tint");
    plan->setArraySize(40);
    finalise(*plan);
    EXPECT_EQ(R"(#ifndef ZEL_INSTANCEDATAPLAN_Paint_GLSLH
#define ZEL_INSTANCEDATAPLAN_Paint_GLSLH
#include "TextureManager.glslh"
vec3 getTint(uint Index);
vec3 getTint(void);
ZelTextureToken getBaseColor(uint Index);
ZelTextureToken getBaseColor(void);
float getStrength(uint Index);
float getStrength(void);
#define PAINT_ARRAY_SIZE 40
#endif // ZEL_INSTANCEDATAPLAN_Paint_GLSLH
)",
              plan->glslh());
    EXPECT_EQ(R"(#version 150

#include "TextureManager.glslh"
#include "ZelUtilities.glslh"

struct Paint
{
  vec4 tint;
  ZelTextureToken baseColor;
  float strength;
  float _dummy28;
};

layout (std140) uniform u_PaintUniform{
  Paint Paints[40];
};

vec3 getTint(uint Index) { return Paints[ Index].tint.rgb; }
vec3 getTint(void)       { return getTint( uint(getDrawID())); }

ZelTextureToken getBaseColor(uint Index) { return Paints[ Index].baseColor; }
ZelTextureToken getBaseColor(void)       { return getBaseColor( uint(getDrawID())); }

float getStrength(uint Index) { return Paints[ Index].strength; }
float getStrength(void)       { return getStrength( uint(getDrawID())); }

)",
              plan->glslc());
}

TEST_F(InstanceDataPlanTest, ThePartsThatTheMechanismsDeclareStandLineByLine)
{
    ZEL_NEEDS_EXTENSION("GL_ARB_shader_storage_buffer_object");
    const auto declared = [&](Plan::MechanismType mechanism, bool vec4 = false) {
        auto plan = paint(mechanism);
        plan->addMember(Plan::eVec3, "tint");
        plan->addMember(Plan::eMat4, "m");
        plan->setArraySize(3);
        plan->setUseVec4Storage(vec4);
        finalise(*plan);
        return plan->glslc().section("mat4 getM(uint", 0, 0);
    };
    const QString head = "#version 150\n\n#include \"ZelUtilities.glslh\"\n\n";
    EXPECT_EQ(head + "uniform mat4 u_m[3];\nuniform vec4 u_tint[3];\nuniform float u_strength[3];\n\n",
              declared(Plan::eUniformMechanism));
    const QString samplers = "uniform sampler%1 u_fPaintSampler;\nuniform isampler%1 u_iPaintSampler;\n\n\n";
    EXPECT_EQ(head + samplers.arg("2D"), declared(Plan::eTextureMechanism, true));
    EXPECT_EQ(head + samplers.arg("Buffer"), declared(Plan::eBufferTextureMechanism, true));
    EXPECT_EQ(R"(#version 430

#include "ZelUtilities.glslh"

struct Paint
{
  mat4 m;
  vec4 tint;
  float strength;
  float _dummy84;
  float _dummy88;
  float _dummy92;
};

layout (std140) buffer u_PaintUniform{
  Paint Paints[/*3*/];
};

)",
              declared(Plan::eStorageBufferMechanism));

    const FakeLimits old({{GL_MAJOR_VERSION, 3}, {GL_MINOR_VERSION, 3}});
    const bool extensions = qgetenv("ZEL_NO_GL_EXTENSIONS").isNull();
    EXPECT_EQ(extensions, Plan::supportsStorageMechanism());
    EXPECT_EQ(extensions ? "#version 150\n#extension GL_ARB_shader_storage_buffer_object: enable \n\n#include"
                         : "#version 150\n\n#include",
              declared(Plan::eStorageBufferMechanism).section(' ', 0, extensions ? 4 : 1));
}

TEST_F(InstanceDataPlanTest, AccessorsOfVec4StorageSwizzleTheirVector)
{
    const auto vectors = everyKind(Plan::eUniformBufferMechanism, true);
    finalise(*vectors);
    EXPECT_EQ(R"(mat4 getM(uint Index) { return Es[ Index].m; }
vec3 getFff(uint Index) { return vec3(Es[ Index]._data64.xyz); }  // off 16 64 (4:0)
ivec4 getIiii(uint Index) { return ivec4(Es[ Index]._data80.xyzw); }  // off 16 80 (5:0)
vec2 getFf(uint Index) { return vec2(Es[ Index]._data96.xy); }  // off 8 96 (6:0)
uvec2 getUu(uint Index) { return uvec2(Es[ Index]._data112.xy); }  // off 8 112 (7:0)
ZelTextureToken getT(uint Index) { return ZelTextureToken(Es[ Index]._data128.xy); }  // off 8 128 (8:0)
float getF(uint Index) { return float(Es[ Index]._data144.x); }  // off 4 144 (9:0)
float getG(uint Index) { return float(Es[ Index]._data144.y); }  // off 4 148 (9:1)
bvec3 getBbb(uint Index) { return bvec3(Es[ Index]._data160.xyz); }  // off 4 160 (10:0)
bvec2 getBb(uint Index) { return bvec2(Es[ Index]._data176.xy); }  // off 2 176 (11:0)
bool getB(uint Index) { return bool(Es[ Index]._data192.x); }  // off 1 192 (12:0)
bool getC(uint Index) { return bool(Es[ Index]._data192.x); }  // off 1 193 (12:0))",
              accessorsByIndex(*vectors));
    EXPECT_EQ(208u, vectors->totalDataSize());
    EXPECT_EQ("\n  mat4 m;\n  vec4 _data64;\n  ivec4 _data80;\n  vec4 _data96;\n  uvec4 _data112;\n  uvec4 "
              "_data128;\n"
              "  vec4 _data144;\n  bvec4 _data160;\n  bvec4 _data176;\n  bvec4 _data192;\n",
              vectors->glslc().section('{', 1, 1).section('}', 0, 0));
}

TEST_F(InstanceDataPlanTest, AccessorsOfUniformsReadTheirArray)
{
    const auto plan = everyKind(Plan::eUniformMechanism, true);
    finalise(*plan);
    const QStringList lines = plan->glslc().split('\n');
    for (const char *line : {"mat4 getM(uint Index) { return u_m[Index]; }",
                             "vec3 getFff(uint Index) { return u_fff[Index].rgb; }",
                             "ZelTextureToken getT(uint Index) { return u_t[Index]; }",
                             "bvec3 getBbb(uint Index) { return u_bbb[Index].rgb; }"}) {
        EXPECT_TRUE(lines.contains(line)) << line;
    }
    EXPECT_TRUE(plan->glslc().contains("uniform bvec4 u_bbb[")) << plan->glslc().toStdString();
}

TEST_F(InstanceDataPlanTest, AccessorsOfTexturesFetchTheirTexel)
{
    const QString expected = R"(mat4 getM(uint Index) { return mat4(FETCH_f(0).xyzw,
FETCH_f(1).xyzw,
FETCH_f(2).xyzw,
FETCH_f(3).xyzw); } // off 64 0 (0:0)
vec3 getFff(uint Index) { return vec3(FETCH_f(4).rgb); } // off 16 64 (4:0)
ivec4 getIiii(uint Index) { return ivec4(FETCH_i(5).xyzw); } // off 16 80 (5:0)
vec2 getFf(uint Index) { return vec2(FETCH_f(6).xy); } // off 8 96 (6:0)
uvec2 getUu(uint Index) { return uvec2(FETCH_i(6).zw); } // off 8 104 (6:2)
ZelTextureToken getT(uint Index) { return ZelTextureToken(FETCH_i(7).xy); } // off 8 112 (7:0)
float getF(uint Index) { return float(FETCH_f(7).z); } // off 4 120 (7:2)
float getG(uint Index) { return float(FETCH_f(7).w); } // off 4 124 (7:3)
bvec3 getBbb(uint Index) { return bvec3(FETCH_i(8).rgb); } // off 4 128 (8:0)
bvec2 getBb(uint Index) { return bvec2(FETCH_i(8).yz); } // off 2 132 (8:1)
bool getB(uint Index) { return bool(FETCH_i(8).y); } // off 1 134 (8:1)
bool getC(uint Index) { return bool(FETCH_i(8).y); } // off 1 135 (8:1))";
    const std::pair<Plan::MechanismType, const char *> mechanisms[] = {
        {Plan::eTextureMechanism, "texelFetch( u_\\1ESampler, ivec2( (Index * uint(9)) + uint(\\2), 0), 0)"},
        {Plan::eBufferTextureMechanism, "texelFetch( u_\\1ESampler, int( (Index * uint(9)) + uint(\\2) ))"},
    };
    for (const auto &mechanism : mechanisms) {
        const auto plan = everyKind(mechanism.first, true);
        finalise(*plan);
        QString text = expected;
        text.replace(QRegExp("FETCH_([fi])\\(([0-9]+)\\)"), mechanism.second);
        EXPECT_EQ(text, accessorsByIndex(*plan));
    }
}

TEST_F(InstanceDataPlanTest, SwizzlesStayInsideTheirVector)
{
    for (unsigned long component = 0; component < 4; ++component) {
        for (unsigned long count = 1; count <= 4; ++count) {
            const bool inside = component + count <= 4;
            const QString swizzle = ParameterMechanism::glslAccessorString(component, count);
            EXPECT_EQ(inside ? "." + QString("xyzw").mid(int(component), int(count)) : "", swizzle);
            if (!inside) {
                EXPECT_MESSAGES(AssertionsOf("ParameterMechanism.cpp")(
                    "(component + numComponents) <= 4",
                    QString("ERROR: Accessor asking for out of range combination. %1+%2")
                        .arg(component)
                        .arg(count)));
            }
        }
    }
    EXPECT_EQ("", ParameterMechanism::glslAccessorString(0, 0));
    EXPECT_FALSE(TextureMechanism("T").useVec4Storage(Plan::eVec4));
    EXPECT_TRUE(StorageBufferMechanism("T").useVec4Storage(Plan::eVec4));
    EXPECT_FALSE(StorageBufferMechanism("T").useVec4Storage(Plan::eMat4));
}

TEST_F(InstanceDataPlanTest, TheDriversLimitsClampTheArray)
{
    const GLenum blocks = GL_MAX_UNIFORM_BLOCK_SIZE;
    const GLenum components = GL_MAX_FRAGMENT_UNIFORM_COMPONENTS; // the vertex stage has 1600
    const GLenum texels = GL_MAX_TEXTURE_BUFFER_SIZE;
    struct Row
    {
        Plan::MechanismType mechanism;
        GLenum limit;
        GLint value;
        size_t max, size;
        const char *message;
    };
    // Items of 80 bytes and 20 components, 1000 wanted.
    const Row rows[] = {
        {Plan::eUniformBufferMechanism, blocks, 16384, 204, 204, "ubo: size  204 max  204"},
        {Plan::eUniformBufferMechanism, blocks, 1 << 20, 13107, 1000, "ubo: size 1000 max 13107"},
        {Plan::eUniformBufferMechanism, blocks, 0, 150, 1000, nullptr},
        {Plan::eUniformMechanism, components, 4096, 20, 20, "uni: size   20 max   20"},
        {Plan::eUniformMechanism, components, 896, 11, 11, "uni: size   11 max   11"},
        {Plan::eBufferTextureMechanism, texels, 2048, 409, 409, "bxt: size  409 max  409"},
        {Plan::eBufferTextureMechanism, texels, 0x7FFFFFFF, 429496729, 1000, "bxt: size 1000 max 429496729"},
        {Plan::eTextureMechanism, GL_MAX_TEXTURE_SIZE, 1024, 150, 1000, "txt: size   80 max 1024"},
    };
    for (const Row &row : rows) {
        Plan plan("Big");
        plan.addMember(Plan::eMat4, "m");
        plan.addMember(Plan::eVec3, "v");
        plan.setMechanism(row.mechanism);
        plan.setArraySize(1000);
        const FakeLimits limits({{row.limit, row.value}, {GL_MAX_VERTEX_UNIFORM_COMPONENTS, 1600}});
        plan.finalise();
        if (row.message != nullptr) {
            EXPECT_MESSAGES(QString("debug [InstanceDataPlan.cpp:#] %1 plan 'Big'").arg(row.message));
        }
        EXPECT_EQ(row.max, plan.arraySizeMax());
        EXPECT_EQ(row.size, plan.arraySize());
        EXPECT_TRUE(plan.glslh().contains(QString("#define BIG_ARRAY_SIZE %1\n").arg(row.size)));
    }
    const FakeLimits limits(GL_MAX_TEXTURE_SIZE, 4);
    const auto plan = paint(Plan::eTextureMechanism);
    plan->finalise();
    EXPECT_MESSAGES(asserted("static_cast<int>(_totalDataSize) <= maxTextureSize",
                             "Total data size (16) for plan Paint exceeds GL_MAX_TEXTURE_SIZE (4)"),
                    "debug [InstanceDataPlan.cpp:#] txt: size   16 max    4 plan 'Paint'");
}

TEST_F(InstanceDataPlanTest, WhatTheRealLimitsAllowLinks)
{
    for (const auto mechanism : {Plan::eUniformBufferMechanism, Plan::eUniformMechanism,
                                 Plan::eBufferTextureMechanism, Plan::eStorageBufferMechanism}) {
        ZEL_NEEDS_EXTENSION_IF(mechanism == Plan::eStorageBufferMechanism,
                               "GL_ARB_shader_storage_buffer_object");
        const auto plan = paint(mechanism);
        plan->addMember(Plan::eMat4, "m");
        plan->setArraySize(1ul << 40);
        finalise(*plan);
        EXPECT_EQ(plan->arraySizeMax(), plan->arraySize());
        SCOPED_TRACE(mechanism);
        makeProgram(
            kAtOrigin,
            "#version 150\nmat4 getM(uint Index);\nfloat getStrength(uint Index);\nuniform uint u_I;\n"
            "out vec4 color;\nvoid main() { color = getM(u_I)[1] * getStrength(u_I); }\n",
            nullptr, {"ZelUtilities.glslc"}, {plan->glslc()});
    }
}

TEST_F(InstanceDataPlanTest, TheLimitOfStorageBlocksHas64Bits)
{
    Hook<&glGetInteger64v> limit;
    limit.replace([](GLenum, GLint64 *value) { *value = GLint64(1) << 33; });
    const auto plan = paint(Plan::eStorageBufferMechanism);
    plan->finalise();
    EXPECT_MESSAGES("debug [InstanceDataPlan.cpp:#] ssb: size  150 max 536870912 plan 'Paint'");
    EXPECT_EQ(size_t(1) << 29, plan->arraySizeMax());

    limit.replace([](GLenum, GLint64 *) {}); // a driver that writes no result
    const auto quiet = paint(Plan::eStorageBufferMechanism);
    quiet->finalise();
    EXPECT_EQ(150u, quiet->arraySizeMax());

    const auto loaded = _ptrc_glGetInteger64v;
    _ptrc_glGetInteger64v = nullptr;
    const auto unasked = paint(Plan::eStorageBufferMechanism);
    unasked->finalise();
    _ptrc_glGetInteger64v = loaded;
    EXPECT_MESSAGES(
        "warning [InstanceDataPlan.cpp:#] OpenGL has not been initialised. No way it obtain correct "
        "maximum InstanceData table size for 'Paint'");
}

TEST_F(InstanceDataPlanTest, PlansWithoutBytesHaveLimitsWithoutQuotients)
{
    const size_t sizes[] = {150, 1, 0, 150, 150};
    for (int mechanism = Plan::eUniformBufferMechanism; mechanism <= Plan::eStorageBufferMechanism;
         ++mechanism) {
        ZEL_NEEDS_EXTENSION_IF(mechanism == Plan::eStorageBufferMechanism,
                               "GL_ARB_shader_storage_buffer_object");
        Plan plan("Empty");
        plan.setMechanism(Plan::MechanismType(mechanism));
        finalise(plan);
        EXPECT_EQ(sizes[mechanism], plan.arraySize()) << mechanism;
    }
}

TEST_F(InstanceDataPlanTest, TheRegistryFinalisesOwnsAndTellsOfUnknownNamesOnce)
{
    InstanceDataRegistry *registry = InstanceDataRegistry::Instance();
    EXPECT_EQ(nullptr, registry->getPlan("Paint"));
    EXPECT_MESSAGES("warning [InstanceDataRegistry.cpp:#] InstanceDataRegistry::getPlan() : Specified "
                    "instanceData plan does not exist : Paint");
    EXPECT_EQ(nullptr, registry->getPlan("Paint"));

    Plan *plan = paint().release();
    registry->registerPlan(plan);
    EXPECT_EQ(1, _capture.take().size());
    EXPECT_EQ(plan, registry->getPlan("Paint"));
    EXPECT_EQ(150u, plan->arraySize()); // not reported: the plan is finalised

    GLSLMacroProcessor processor;
    EXPECT_EQ(plan->glslh() + "\n\nvoid main() {}",
              GLSLMacroProcessor::process("#instancedata \"Paint\"\nvoid main() {}", &processor));

    const std::unique_ptr<Plan> replaced(plan); // replaced in the registry, but not deleted
    registry->registerPlan(paint().release());
    EXPECT_EQ(1, _capture.take().size());
    EXPECT_NE(plan, registry->getPlan("Paint"));
    registry->clear();
    EXPECT_EQ(nullptr, registry->getPlan("Paint"));
    EXPECT_EQ(1, _capture.take().size()); // logged again
    registry->registerPlan(nullptr);
}

TEST_F(InstanceDataPlanTest, AProgramOfAnotherSizeIsReported)
{
    const auto program =
        makeProgram(kAtOrigin, "#version 150\nlayout (std140) uniform u_PaintUniform { vec4 values[28]; };\n"
                               "out vec4 color;\nvoid main() { color = values[2]; }\n");
    Plan plan("Paint");
    plan.addMember(Plan::eMat4, "m");
    plan.setArraySize(5);
    finalise(plan);
    plan.assertShaderProgram(program.get());
    EXPECT_MESSAGES(asserted("int(_arraySize * _totalDataSize) == blockSize",
                             "CPP (5 * 64 = 320) and GLSL (448) for plan Paint disagree on the size of the "
                             "instance data buffer. Check alignment code"));
    plan.assertShaderProgram(nullptr);
    Plan foreign("Foreign");
    finalise(foreign);
    foreign.assertShaderProgram(program.get()); // has no such block
}

TEST_F(InstanceDataPlanTest, ThousandsOfRandomLayoutsFollowTheRulesOfStd140)
{
    ZEL_NEEDS_EXTENSION("GL_ARB_shader_storage_buffer_object");
    std::mt19937 engine(11);
    for (int i = 0; i < 3000; ++i) {
        Plan plan("Random");
        QVector<Plan::DataType> types;
        for (unsigned int member = 1 + engine() % 40; member > 0; --member) {
            const auto type = Plan::DataType(engine() % (Plan::eMat4 + 1));
            if (type < Plan::eBool || type > Plan::eBVec4) { // packed booleans are not in std140
                plan.addMember(type, QString::number(types.size()));
                types += type;
            }
        }
        plan.setUseVec4Storage(engine() % 2 != 0);
        plan.setMechanism(Plan::MechanismType(engine() % 5));
        finalise(plan);
        QVector<bool> used(int(plan.totalDataSize()), false);
        for (int member = 0; member < types.size(); ++member) {
            const unsigned int offset = plan.offset(QString::number(member));
            const auto components = unsigned(ParameterMechanism::numberComponents(types[member]));
            const unsigned int size = components == 16 ? 64 : components == 3 ? 16 : components * 4;
            ASSERT_EQ(0u, offset % qMin(size, 16u)) << i;
            ASSERT_LE(offset + size, plan.totalDataSize()) << i;
            for (unsigned int byte = offset; byte < offset + size; ++byte) {
                ASSERT_FALSE(used[int(byte)]) << i << ": two members share a byte";
                used[int(byte)] = true;
            }
        }
        ASSERT_EQ(0u, plan.totalDataSize() % 16) << i;
        ASSERT_EQ(types.count(Plan::eTexture), plan.textureTokenOffsets().size()) << i;
    }
}
