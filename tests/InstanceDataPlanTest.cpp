#include "support/GLFixture.h"
#include "support/Tap.h"
#include "support/TestProgram.h"

#include <ZelGL/BufferTextureMechanism.h>
#include <ZelGL/GLSLMacroProcessor.h>
#include <ZelGL/GLUtilities.h>
#include <ZelGL/InstanceDataPlan.h>
#include <ZelGL/InstanceDataRegistry.h>
#include <ZelGL/StorageBufferMechanism.h>
#include <ZelGL/TextureMechanism.h>
#include <ZelGL/UniformBufferMechanism.h>
#include <ZelGL/UniformMechanism.h>

#include <memory>
#include <random>

using namespace Orvane::Zel;

namespace {

using Plan = InstanceDataPlan;

/// The limits of a driver that is not there.
class FakeLimits
{
public:
    explicit FakeLimits(const QHash<GLenum, GLint> &limits)
    {
        _integers.replace([this, limits](GLenum name, GLint *value) {
            if (limits.contains(name)) {
                *value = limits.value(name);
            } else {
                _integers.original(name, value);
            }
        });
    }

private:
    Hook<&glGetIntegerv> _integers;
};

class InstanceDataPlanTest : public GLTest
{
protected:
    ~InstanceDataPlanTest() override { InstanceDataRegistry::Instance()->clear(); }

    /// Finalises, and takes the line about the limit.
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

/// One member or two of every type, in no order.
void addEveryType(Plan &plan)
{
    const std::pair<Plan::DataType, const char *> members[] = {
        {Plan::eBool, "b"},  {Plan::eBVec2, "bb"},  {Plan::eBVec3, "bbb"}, {Plan::eBVec4, "bbbb"},
        {Plan::eInt, "i"},   {Plan::eIVec2, "ii"},  {Plan::eIVec3, "iii"}, {Plan::eIVec4, "iiii"},
        {Plan::eUInt, "u"},  {Plan::eUVec2, "uu"},  {Plan::eUVec3, "uuu"}, {Plan::eUVec4, "uuuu"},
        {Plan::eFloat, "f"}, {Plan::eVec2, "ff"},   {Plan::eVec3, "fff"},  {Plan::eVec4, "ffff"},
        {Plan::eMat4, "m"},  {Plan::eTexture, "t"}, {Plan::eFloat, "g"},   {Plan::eBool, "c"},
    };
    for (const auto &member : members) {
        plan.addMember(member.first, member.second);
    }
}

/// The definitions by item number alone, which is where the mechanisms differ.
QString accessorsByIndex(const Plan &plan)
{
    const QStringList lines = plan.glslc().split('\n');
    QStringList result;
    bool inside = false;
    for (const QString &line : lines) {
        inside = inside || line.contains("(uint Index) {");
        if (inside) {
            result += line;
            inside = !line.contains('}');
        }
    }
    return result.join('\n');
}

} // namespace

TEST_F(InstanceDataPlanTest, LaysMembersOutByFallingSizeAndType)
{
    Plan plan("Every");
    addEveryType(plan);
    EXPECT_TRUE(plan.contains("fff"));
    EXPECT_TRUE(plan.memberNames().isEmpty()); // offsets come with finalising
    finalise(plan);
    const std::pair<const char *, unsigned int> expected[] = {
        {"m", 0},    {"ffff", 64},  {"fff", 80},  {"uuuu", 96}, {"uuu", 112}, {"iiii", 128}, {"iii", 144},
        {"ff", 160}, {"uu", 168},   {"ii", 176},  {"t", 184},   {"f", 192},   {"g", 196},    {"u", 200},
        {"i", 204},  {"bbbb", 208}, {"bbb", 212}, {"bb", 216},  {"b", 218},   {"c", 219},
    };
    for (const auto &member : expected) {
        EXPECT_EQ(member.second, plan.offset(member.first)) << member.first;
    }
    EXPECT_EQ(224u, plan.totalDataSize());
    EXPECT_EQ(QList<int>{184}, plan.textureTokenOffsets());
    EXPECT_EQ(20, plan.memberNames().size());
}

TEST_F(InstanceDataPlanTest, Vec4StorageStartsEachTypeOnAFreshVector)
{
    for (const bool vec4 : {false, true}) {
        Plan plan("Small");
        for (const char *name : {"a", "b", "c"}) {
            plan.addMember(Plan::eFloat, name);
        }
        plan.addMember(Plan::eVec4, "v");
        plan.addMember(Plan::eInt, "i");
        plan.setUseVec4Storage(vec4);
        finalise(plan);
        EXPECT_EQ(0u, plan.offset("v"));
        EXPECT_EQ(16u, plan.offset("a"));
        EXPECT_EQ(24u, plan.offset("c"));
        EXPECT_EQ(vec4 ? 32u : 28u, plan.offset("i"));
        EXPECT_EQ(vec4 ? 48u : 32u, plan.totalDataSize());
    }
    Plan matrices("Matrices"); // these are no vectors
    matrices.addMember(Plan::eMat4, "m");
    matrices.setUseVec4Storage(true);
    finalise(matrices);
    EXPECT_EQ(64u, matrices.totalDataSize());
    EXPECT_TRUE(matrices.glslc().contains("  mat4 m;\n")) << matrices.glslc().toStdString();
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
    EXPECT_MESSAGES("critical [InstanceDataPlan.cpp:#] [ !! ] Assertion 'true == _finalised' failed: "
                    "InstanceDataPlan::arraySize() can only be called after the plan has been finalised");
    finalise(*plan);
    plan->setArraySize(7);
    plan->setMechanism(Plan::eTextureMechanism);
    plan->setUseVec4Storage(true);
    const QString assertion =
        "critical [InstanceDataPlan.cpp:#] [ !! ] Assertion 'false == _finalised' failed: "
        "InstanceDataPlan::%1() can only be called before the plan has been finalised";
    EXPECT_MESSAGES(assertion.arg("setArraySize"), assertion.arg("setMechanism"),
                    assertion.arg("setUseVec4Storage"));
    EXPECT_EQ(7u, plan->arraySize());
    EXPECT_EQ(Plan::eTextureMechanism, plan->mechanism());
    // The mechanism was made when the text was.
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
    const auto declared = [&](Plan::MechanismType mechanism, bool vec4 = false) {
        auto plan = paint(mechanism);
        plan->addMember(Plan::eVec3, "tint");
        plan->addMember(Plan::eVec2, "a");
        plan->addMember(Plan::eVec2, "b");
        plan->addMember(Plan::eVec2, "c");
        plan->addMember(Plan::eMat4, "m");
        plan->setArraySize(3);
        plan->setUseVec4Storage(vec4);
        finalise(*plan);
        return plan->glslc().section("mat4 getM(uint", 0, 0);
    };
    const QString head = "#version 150\n\n#include \"ZelUtilities.glslh\"\n\n";
    EXPECT_EQ(head + R"(uniform mat4 u_m[3];
uniform vec4 u_tint[3];
uniform vec2 u_a[3];
uniform vec2 u_b[3];
uniform vec2 u_c[3];
uniform float u_strength[3];

)",
              declared(Plan::eUniformMechanism));
    EXPECT_EQ(head + R"(struct Paint
{
  mat4 m;
  vec4 _data64;
  vec4 _data80;
  vec4 _data96;
  vec4 _data112;
};

layout (std140) uniform u_PaintUniform{
  Paint Paints[3];
};

)",
              declared(Plan::eUniformBufferMechanism, true));
    EXPECT_EQ(head + R"(uniform sampler2D u_fPaintSampler;
uniform isampler2D u_iPaintSampler;


)",
              declared(Plan::eTextureMechanism, true));
    EXPECT_EQ(head + R"(uniform samplerBuffer u_fPaintSampler;
uniform isamplerBuffer u_iPaintSampler;


)",
              declared(Plan::eBufferTextureMechanism, true));
    EXPECT_EQ(R"(#version 430

#include "ZelUtilities.glslh"

struct Paint
{
  mat4 m;
  vec4 tint;
  vec2 a;
  vec2 b;
  vec2 c;
  float strength;
  float _dummy108;
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

TEST_F(InstanceDataPlanTest, APlanWithoutMembersStillHasItsFrame)
{
    Plan plan("No Thing");
    finalise(plan);
    EXPECT_EQ(0u, plan.totalDataSize());
    EXPECT_EQ("#ifndef ZEL_INSTANCEDATAPLAN_No Thing_GLSLH\n#define ZEL_INSTANCEDATAPLAN_No Thing_GLSLH\n"
              "#define NO_THING_ARRAY_SIZE 150\n#endif // ZEL_INSTANCEDATAPLAN_No Thing_GLSLH\n",
              plan.glslh());
    EXPECT_EQ("#version 150\n\n#include \"ZelUtilities.glslh\"\n\n\n\n", plan.glslc());
}

TEST_F(InstanceDataPlanTest, AccessorsOfUniformBlocksReadTheMemberOfTheStructure)
{
    Plan plan("E");
    addEveryType(plan);
    finalise(plan);
    EXPECT_EQ(R"(mat4 getM(uint Index) { return Es[ Index].m; }
vec4 getFfff(uint Index) { return Es[ Index].ffff; }
vec3 getFff(uint Index) { return Es[ Index].fff.rgb; }
uvec4 getUuuu(uint Index) { return Es[ Index].uuuu; }
uvec3 getUuu(uint Index) { return Es[ Index].uuu.rgb; }
ivec4 getIiii(uint Index) { return Es[ Index].iiii; }
ivec3 getIii(uint Index) { return Es[ Index].iii.rgb; }
vec2 getFf(uint Index) { return Es[ Index].ff; }
uvec2 getUu(uint Index) { return Es[ Index].uu; }
ivec2 getIi(uint Index) { return Es[ Index].ii; }
ZelTextureToken getT(uint Index) { return Es[ Index].t; }
float getF(uint Index) { return Es[ Index].f; }
float getG(uint Index) { return Es[ Index].g; }
uint getU(uint Index) { return Es[ Index].u; }
int getI(uint Index) { return Es[ Index].i; }
bvec4 getBbbb(uint Index) { return Es[ Index].bbbb; }
bvec3 getBbb(uint Index) { return Es[ Index].bbb.rgb; }
bvec2 getBb(uint Index) { return Es[ Index].bb; }
bool getB(uint Index) { return Es[ Index].b; }
bool getC(uint Index) { return Es[ Index].c; })",
              accessorsByIndex(plan));
    EXPECT_EQ(R"(
  mat4 m;
  vec4 ffff;
  vec4 fff;
  uvec4 uuuu;
  uvec4 uuu;
  ivec4 iiii;
  ivec4 iii;
  vec2 ff;
  uvec2 uu;
  ivec2 ii;
  ZelTextureToken t;
  float f;
  float g;
  uint u;
  int i;
  bvec4 bbbb;
  bvec4 bbb;
  bvec2 bb;
  bool b;
  bool c;
  float _dummy220;
)",
              plan.glslc().section('{', 1, 1).section('}', 0, 0));
}

TEST_F(InstanceDataPlanTest, AccessorsOfVec4StorageSwizzleTheirVector)
{
    Plan plan("E");
    addEveryType(plan);
    plan.setUseVec4Storage(true);
    finalise(plan);
    EXPECT_EQ(R"(mat4 getM(uint Index) { return Es[ Index].m; }
vec4 getFfff(uint Index) { return vec4(Es[ Index]._data64.xyzw); }  // off 16 64 (4:0)
vec3 getFff(uint Index) { return vec3(Es[ Index]._data80.xyz); }  // off 16 80 (5:0)
uvec4 getUuuu(uint Index) { return uvec4(Es[ Index]._data96.xyzw); }  // off 16 96 (6:0)
uvec3 getUuu(uint Index) { return uvec3(Es[ Index]._data112.xyz); }  // off 16 112 (7:0)
ivec4 getIiii(uint Index) { return ivec4(Es[ Index]._data128.xyzw); }  // off 16 128 (8:0)
ivec3 getIii(uint Index) { return ivec3(Es[ Index]._data144.xyz); }  // off 16 144 (9:0)
vec2 getFf(uint Index) { return vec2(Es[ Index]._data160.xy); }  // off 8 160 (10:0)
uvec2 getUu(uint Index) { return uvec2(Es[ Index]._data176.xy); }  // off 8 176 (11:0)
ivec2 getIi(uint Index) { return ivec2(Es[ Index]._data192.xy); }  // off 8 192 (12:0)
ZelTextureToken getT(uint Index) { return ZelTextureToken(Es[ Index]._data208.xy); }  // off 8 208 (13:0)
float getF(uint Index) { return float(Es[ Index]._data224.x); }  // off 4 224 (14:0)
float getG(uint Index) { return float(Es[ Index]._data224.y); }  // off 4 228 (14:1)
uint getU(uint Index) { return uint(Es[ Index]._data240.x); }  // off 4 240 (15:0)
int getI(uint Index) { return int(Es[ Index]._data256.x); }  // off 4 256 (16:0)
bvec4 getBbbb(uint Index) { return bvec4(Es[ Index]._data272.xyzw); }  // off 4 272 (17:0)
bvec3 getBbb(uint Index) { return bvec3(Es[ Index]._data288.xyz); }  // off 4 288 (18:0)
bvec2 getBb(uint Index) { return bvec2(Es[ Index]._data304.xy); }  // off 2 304 (19:0)
bool getB(uint Index) { return bool(Es[ Index]._data320.x); }  // off 1 320 (20:0)
bool getC(uint Index) { return bool(Es[ Index]._data320.x); }  // off 1 321 (20:0))",
              accessorsByIndex(plan));
    EXPECT_EQ(336u, plan.totalDataSize());
    EXPECT_EQ(R"(
  mat4 m;
  vec4 _data64;
  vec4 _data80;
  uvec4 _data96;
  uvec4 _data112;
  ivec4 _data128;
  ivec4 _data144;
  vec4 _data160;
  uvec4 _data176;
  ivec4 _data192;
  uvec4 _data208;
  vec4 _data224;
  uvec4 _data240;
  ivec4 _data256;
  bvec4 _data272;
  bvec4 _data288;
  bvec4 _data304;
  bvec4 _data320;
)",
              plan.glslc().section('{', 1, 1).section('}', 0, 0));
}

TEST_F(InstanceDataPlanTest, AccessorsOfUniformsReadTheirArray)
{
    Plan plan("E");
    addEveryType(plan);
    plan.setMechanism(Plan::eUniformMechanism);
    plan.setUseVec4Storage(true); // blocks only
    finalise(plan);
    const QString text = accessorsByIndex(plan);
    EXPECT_TRUE(text.startsWith("mat4 getM(uint Index) { return u_m[Index]; }\n"
                                "vec4 getFfff(uint Index) { return u_ffff[Index]; }\n"
                                "vec3 getFff(uint Index) { return u_fff[Index].rgb; }\n"))
        << text.toStdString();
    EXPECT_TRUE(text.contains("ZelTextureToken getT(uint Index) { return u_t[Index]; }\n"));
    EXPECT_TRUE(text.contains("bvec3 getBbb(uint Index) { return u_bbb[Index].rgb; }\n"));
    EXPECT_TRUE(plan.glslc().contains("uniform bvec4 u_bbb[")) << plan.glslc().toStdString();
}

TEST_F(InstanceDataPlanTest, AccessorsOfTexturesFetchTheirTexel)
{
    const QString expected = R"(mat4 getM(uint Index) { return mat4(FETCH_F(0).xyzw,
FETCH_F(1).xyzw,
FETCH_F(2).xyzw,
FETCH_F(3).xyzw); } // off 64 0 (0:0)
vec4 getFfff(uint Index) { return vec4(FETCH_F(4).xyzw); } // off 16 64 (4:0)
vec3 getFff(uint Index) { return vec3(FETCH_F(5).rgb); } // off 16 80 (5:0)
uvec4 getUuuu(uint Index) { return uvec4(FETCH_I(6).xyzw); } // off 16 96 (6:0)
uvec3 getUuu(uint Index) { return uvec3(FETCH_I(7).rgb); } // off 16 112 (7:0)
ivec4 getIiii(uint Index) { return ivec4(FETCH_I(8).xyzw); } // off 16 128 (8:0)
ivec3 getIii(uint Index) { return ivec3(FETCH_I(9).rgb); } // off 16 144 (9:0)
vec2 getFf(uint Index) { return vec2(FETCH_F(10).xy); } // off 8 160 (10:0)
uvec2 getUu(uint Index) { return uvec2(FETCH_I(10).zw); } // off 8 168 (10:2)
ivec2 getIi(uint Index) { return ivec2(FETCH_I(11).xy); } // off 8 176 (11:0)
ZelTextureToken getT(uint Index) { return ZelTextureToken(FETCH_I(11).zw); } // off 8 184 (11:2)
float getF(uint Index) { return float(FETCH_F(12).x); } // off 4 192 (12:0)
float getG(uint Index) { return float(FETCH_F(12).y); } // off 4 196 (12:1)
uint getU(uint Index) { return uint(FETCH_I(12).z); } // off 4 200 (12:2)
int getI(uint Index) { return int(FETCH_I(12).w); } // off 4 204 (12:3)
bvec4 getBbbb(uint Index) { return bvec4(FETCH_I(13).xyzw); } // off 4 208 (13:0)
bvec3 getBbb(uint Index) { return bvec3(FETCH_I(13).rgb); } // off 4 212 (13:1)
bvec2 getBb(uint Index) { return bvec2(FETCH_I(13).zw); } // off 2 216 (13:2)
bool getB(uint Index) { return bool(FETCH_I(13).z); } // off 1 218 (13:2)
bool getC(uint Index) { return bool(FETCH_I(13).z); } // off 1 219 (13:2))";
    const std::pair<Plan::MechanismType, const char *> mechanisms[] = {
        {Plan::eTextureMechanism, "texelFetch( u_\\1ESampler, ivec2( (Index * uint(14)) + uint(\\2), 0), 0)"},
        {Plan::eBufferTextureMechanism, "texelFetch( u_\\1ESampler, int( (Index * uint(14)) + uint(\\2) ))"},
    };
    for (const auto &mechanism : mechanisms) {
        Plan plan("E");
        addEveryType(plan);
        plan.setMechanism(mechanism.first);
        finalise(plan);
        QString text = expected;
        text.replace("FETCH_F", "FETCH_f").replace("FETCH_I", "FETCH_i");
        text.replace(QRegExp("FETCH_([fi])\\(([0-9]+)\\)"), mechanism.second);
        EXPECT_EQ(text, accessorsByIndex(plan));
    }
}

TEST_F(InstanceDataPlanTest, SwizzlesStayInsideTheirVector)
{
    const char *const expected[4][4] = {{".x", ".xy", ".xyz", ".xyzw"},
                                        {".y", ".yz", ".yzw", nullptr},
                                        {".z", ".zw", nullptr, nullptr},
                                        {".w", nullptr, nullptr, nullptr}};
    for (unsigned long component = 0; component < 4; ++component) {
        for (unsigned long count = 1; count <= 4; ++count) {
            const QString swizzle = ParameterMechanism::glslAccessorString(component, count);
            EXPECT_EQ(QString(expected[component][count - 1]), swizzle);
            if (swizzle.isEmpty()) {
                EXPECT_MESSAGES(
                    QString("critical [ParameterMechanism.cpp:#] [ !! ] Assertion '(component + "
                            "numComponents) <= 4' failed: ERROR: Accessor asking for out of range "
                            "combination. %1+%2")
                        .arg(component)
                        .arg(count));
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
    struct Row
    {
        Plan::MechanismType mechanism;
        QHash<GLenum, GLint> limits;
        size_t max, size;
        const char *message;
    };
    // Items of 80 bytes and 20 components, 1000 wanted.
    const Row rows[] = {
        {Plan::eUniformBufferMechanism,
         {{GL_MAX_UNIFORM_BLOCK_SIZE, 16384}},
         204,
         204,
         "ubo: size  204 max  204"},
        {Plan::eUniformBufferMechanism,
         {{GL_MAX_UNIFORM_BLOCK_SIZE, 1 << 20}},
         13107,
         1000,
         "ubo: size 1000 max 13107"},
        {Plan::eUniformBufferMechanism, {{GL_MAX_UNIFORM_BLOCK_SIZE, 0}}, 150, 1000, nullptr},
        {Plan::eUniformMechanism,
         {{GL_MAX_FRAGMENT_UNIFORM_COMPONENTS, 4096}, {GL_MAX_VERTEX_UNIFORM_COMPONENTS, 1600}},
         20,
         20,
         "uni: size   20 max   20"},
        {Plan::eUniformMechanism,
         {{GL_MAX_FRAGMENT_UNIFORM_COMPONENTS, 896}, {GL_MAX_VERTEX_UNIFORM_COMPONENTS, 1600}},
         11,
         11,
         "uni: size   11 max   11"},
        {Plan::eBufferTextureMechanism,
         {{GL_MAX_TEXTURE_BUFFER_SIZE, 2048}},
         409,
         409,
         "bxt: size  409 max  409"},
        {Plan::eBufferTextureMechanism,
         {{GL_MAX_TEXTURE_BUFFER_SIZE, 0x7FFFFFFF}},
         429496729,
         1000,
         "bxt: size 1000 max 429496729"},
        {Plan::eTextureMechanism, {{GL_MAX_TEXTURE_SIZE, 1024}}, 150, 1000, "txt: size   80 max 1024"},
    };
    for (const Row &row : rows) {
        Plan plan("Big");
        plan.addMember(Plan::eMat4, "m");
        plan.addMember(Plan::eVec3, "v");
        plan.setMechanism(row.mechanism);
        plan.setArraySize(1000);
        const FakeLimits limits(row.limits);
        plan.finalise();
        if (row.message != nullptr) {
            EXPECT_MESSAGES(QString("debug [InstanceDataPlan.cpp:#] %1 plan 'Big'").arg(row.message));
        }
        EXPECT_EQ(row.max, plan.arraySizeMax());
        EXPECT_EQ(row.size, plan.arraySize());
        EXPECT_TRUE(plan.glslh().contains(QString("#define BIG_ARRAY_SIZE %1\n").arg(row.size)));
    }
    const FakeLimits limits({{GL_MAX_TEXTURE_SIZE, 4}});
    const auto plan = paint(Plan::eTextureMechanism);
    plan->finalise();
    EXPECT_MESSAGES(
        "critical [InstanceDataPlan.cpp:#] [ !! ] Assertion 'static_cast<int>(_totalDataSize) <= "
        "maxTextureSize' failed: Total data size (16) for plan Paint exceeds GL_MAX_TEXTURE_SIZE (4)",
        "debug [InstanceDataPlan.cpp:#] txt: size   16 max    4 plan 'Paint'");
}

TEST_F(InstanceDataPlanTest, TheLimitOfStorageBlocksHas64Bits)
{
    Hook<&glGetInteger64v> limit;
    limit.replace([](GLenum, GLint64 *value) { *value = GLint64(1) << 33; });
    const auto plan = paint(Plan::eStorageBufferMechanism);
    plan->finalise();
    EXPECT_MESSAGES("debug [InstanceDataPlan.cpp:#] ssb: size  150 max 536870912 plan 'Paint'");
    EXPECT_EQ(size_t(1) << 29, plan->arraySizeMax());

    limit.replace([](GLenum, GLint64 *) {}); // silent drivers change nothing
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
    const std::pair<Plan::MechanismType, size_t> rows[] = {{Plan::eUniformBufferMechanism, 150},
                                                           {Plan::eUniformMechanism, 1},
                                                           {Plan::eBufferTextureMechanism, 0},
                                                           {Plan::eTextureMechanism, 150},
                                                           {Plan::eStorageBufferMechanism, 150}};
    for (const auto &row : rows) {
        Plan plan("Empty");
        plan.setMechanism(row.first);
        finalise(plan);
        EXPECT_EQ(row.second, plan.arraySize()) << row.first;
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
    EXPECT_EQ(150u, plan->arraySize()); // silent: it is finalised

    GLSLMacroProcessor processor;
    EXPECT_EQ(plan->glslh() + "\n\nvoid main() {}",
              GLSLMacroProcessor::process("#instancedata \"Paint\"\nvoid main() {}", &processor));

    const std::unique_ptr<Plan> replaced(plan); // by its name alone; its owner is the test again
    registry->registerPlan(paint().release());
    EXPECT_EQ(1, _capture.take().size());
    EXPECT_NE(plan, registry->getPlan("Paint"));
    registry->clear();
    EXPECT_EQ(nullptr, registry->getPlan("Paint"));
    EXPECT_EQ(1, _capture.take().size()); // told again
    registry->registerPlan(nullptr);
}

TEST_F(InstanceDataPlanTest, AProgramOfAnotherSizeIsReported)
{
    const auto programOf = [](const char *count) {
        const QByteArray fragment =
            QByteArray("#version 150\nstruct Paint { float strength; float pad[3]; };\n"
                       "layout (std140) uniform u_PaintUniform { Paint Paints[")
            + count + "]; };\nout vec4 color;\nvoid main() { color = vec4(Paints[2].strength); }\n";
        return makeProgram("#version 150\nvoid main() { gl_Position = vec4(0.0); }\n", fragment.constData());
    };
    auto plan = std::make_unique<Plan>("Paint");
    for (const char *name : {"a", "b", "c", "d"}) {
        plan->addMember(Plan::eVec4, name);
    }
    plan->setArraySize(5);
    finalise(*plan);
    plan->assertShaderProgram(
        programOf("5").get()); // an array of floats takes a vector each: 64 bytes an item
    plan->assertShaderProgram(programOf("7").get());
    EXPECT_MESSAGES(
        "critical [InstanceDataPlan.cpp:#] [ !! ] Assertion 'int(_arraySize * _totalDataSize) == "
        "blockSize' failed: CPP (5 * 64 = 320) and GLSL (448) for plan Paint disagree on the size of "
        "the instance data buffer. Check alignment code");
    plan->assertShaderProgram(nullptr);
    const auto other = paint();
    finalise(*other);
    Plan foreign("Foreign");
    finalise(foreign);
    foreign.assertShaderProgram(programOf("5").get()); // no such block
}

TEST_F(InstanceDataPlanTest, ThousandsOfRandomLayoutsFollowTheRulesOfStd140)
{
    std::mt19937 engine(11);
    const auto integer = [&](int low, int high) {
        return std::uniform_int_distribution<int>(low, high)(engine);
    };
    // Alignment and size of each type in std140; booleans are not std140's.
    const auto rules = [](Plan::DataType type) -> std::pair<unsigned int, unsigned int> {
        const size_t components = ParameterMechanism::numberComponents(type);
        return components == 16 ? std::make_pair(16u, 64u)
               : components > 2 ? std::make_pair(16u, 16u)
                                : std::make_pair(unsigned(components) * 4, unsigned(components) * 4);
    };
    for (int i = 0; i < 3000; ++i) {
        Plan plan("Random");
        QVector<Plan::DataType> types;
        for (int member = integer(1, 40); member > 0; --member) {
            const auto type = Plan::DataType(integer(Plan::eTexture, Plan::eMat4));
            if (type < Plan::eBool || type > Plan::eBVec4) {
                plan.addMember(type, QString::number(types.size()));
                types += type;
            }
        }
        plan.setUseVec4Storage(integer(0, 1) != 0);
        plan.setMechanism(Plan::MechanismType(integer(0, 4)));
        finalise(plan);
        QVector<bool> used(int(plan.totalDataSize()), false);
        size_t tokens = 0;
        for (int member = 0; member < types.size(); ++member) {
            const unsigned int offset = plan.offset(QString::number(member));
            const auto [alignment, size] = rules(types[member]);
            ASSERT_EQ(0u, offset % alignment) << i;
            ASSERT_LE(offset + size, plan.totalDataSize()) << i;
            for (unsigned int byte = offset; byte < offset + size; ++byte) {
                ASSERT_FALSE(used[int(byte)]) << i << ": two members share a byte";
                used[int(byte)] = true;
            }
            tokens += types[member] == Plan::eTexture ? 1 : 0;
        }
        ASSERT_EQ(0u, plan.totalDataSize() % 16) << i;
        ASSERT_EQ(tokens, size_t(plan.textureTokenOffsets().size())) << i;
    }
}
