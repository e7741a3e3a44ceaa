#include "support/GLFixture.h"
#include "support/TestProgram.h"

#include <ZelGL/ZelGL.h>

#include <algorithm>
#include <cstring>
#include <random>

using namespace Orvane::Zel;

namespace {

using Plan = InstanceDataPlan;

/// A way to transfer the data: a mechanism, with or without vec4 storage.
struct Road
{
    Plan::MechanismType mechanism;
    bool vec4;

    bool isBlock() const
    {
        return mechanism == Plan::eUniformBufferMechanism || mechanism == Plan::eStorageBufferMechanism;
    }
    /// Booleans of a GLSL structure are larger than the packed ones; uniforms are read as integers.
    bool carriesBooleans() const { return isBlock() ? vec4 : mechanism != Plan::eUniformMechanism; }
};

void PrintTo(const Road &road, std::ostream *out)
{
    *out << "mechanism " << road.mechanism << (road.vec4 ? " in vec4 storage" : "");
}

struct Member
{
    Plan::DataType type;
    QString name;

    int components() const { return int(ParameterMechanism::numberComponents(type)); }
    bool isBoolean() const { return type >= Plan::eBool && type <= Plan::eBVec4; }
    bool isRead() const { return !isBoolean() || type == Plan::eBool; }
    int columns() const { return !isRead() ? 0 : type == Plan::eMat4 ? 4 : 1; }
};

/// Draws the members of every item as raw bits, a column for each four words and a row for each item, and reads them
/// back: read by item number in the first target, by draw number in the second.
class Probe
{
public:
    static constexpr int kColumns = 96;
    static constexpr int kRows = 8;
    using Words = std::array<GLuint, 4>;

    Probe()
        : _quad(OpenGLDeviceContext::current()->newFullscreenQuad())
    {
        _framebuffer.bind();
        for (GLuint i = 0; i < 2; ++i) {
            _targets[i].create2D(GL_TEXTURE_2D, GL_RGBA32UI, kColumns, kRows);
            _framebuffer.attach(&_targets[i], GL_COLOR_ATTACHMENT0 + i, 0);
        }
        _framebuffer.setDrawBuffers();
    }

    ~Probe()
    {
        _framebuffer.detachAll();
        _framebuffer.unbind();
    }

    void draw(ShaderProgram &program, int items)
    {
        ASSERT_TRUE(_quad->bind());
        _quad->VAO()->enableShaderProgramArrays(&program);
        for (int item = 0; item < items; ++item) {
            glViewport(0, item, kColumns, 1);
            _quad->setDrawIDBase(item);
            EXPECT_TRUE(_quad->draw(&program));
        }
        _quad->unbind();
    }

    std::vector<Words> read(int target)
    {
        std::vector<Words> words(size_t(kColumns) * kRows);
        glReadBuffer(GL_COLOR_ATTACHMENT0 + GLenum(target));
        glReadPixels(0, 0, kColumns, kRows, GL_RGBA_INTEGER, GL_UNSIGNED_INT, words.data());
        return words;
    }

private:
    QSharedPointer<DrawBuffers> _quad;
    Texture _targets[2] = {Texture(nullptr), Texture(nullptr)};
    FramebufferObject _framebuffer{nullptr};
};

class InstanceDataRoundTripTest : public GLTest, public testing::WithParamInterface<Road>
{
protected:
    ~InstanceDataRoundTripTest() override { InstanceDataRegistry::Instance()->clear(); }

    int integer(int low, int high) { return std::uniform_int_distribution<int>(low, high)(_engine); }

    QVector<Member> randomMembers();
    GLuint randomWord(const Member &member);
    Plan *newPlan(const QString &name, const QVector<Member> &members);
    void expectDriverLayout(const ShaderProgram &program, const Plan &plan, const QVector<Member> &members);
    void roundTrip(int number);

    std::mt19937 _engine{20 + unsigned(GetParam().mechanism)};
    Probe _probe;
};

QVector<Member> InstanceDataRoundTripTest::randomMembers()
{
    QVector<Member> members;
    int columns = 0;
    for (int i = integer(1, 14); i > 0; --i) {
        const Member member{Plan::DataType(integer(Plan::eTexture, Plan::eMat4)),
                            QStringLiteral("m%1").arg(members.size())};
        columns += member.columns();
        if (columns <= Probe::kColumns && !member.isBoolean()) {
            members += member;
        }
    }
    if (GetParam().carriesBooleans() && integer(0, 1) != 0) {
        // The sum must be a multiple of four bytes. A texture cannot fetch a boolean inside a word.
        const QVector<Plan::DataType> packed = {Plan::eBVec4, Plan::eBVec3, Plan::eBVec2, Plan::eBool,
                                                Plan::eBool};
        for (const Plan::DataType type :
             GetParam().isBlock() ? packed : QVector<Plan::DataType>(8, Plan::eBool)) {
            members += Member{type, QStringLiteral("b%1").arg(members.size())};
        }
    }
    if (members.isEmpty()) {
        members += Member{Plan::eFloat, QStringLiteral("f")};
    }
    std::shuffle(members.begin(), members.end(), _engine);
    return members;
}

/// Any float that each driver must keep: neither NaN nor denormal.
GLuint InstanceDataRoundTripTest::randomWord(const Member &member)
{
    const GLuint word = GLuint(_engine());
    const GLuint exponent = word >> 23 & 0xFF;
    const bool isFloat = !ParameterMechanism::isIntegerType(member.type);
    return isFloat && (exponent == 0 || exponent == 0xFF) ? word & 0x80000000u : word;
}

Plan *InstanceDataRoundTripTest::newPlan(const QString &name, const QVector<Member> &members)
{
    auto *plan = new Plan(name);
    for (const Member &member : members) {
        plan->addMember(member.type, member.name);
    }
    plan->setMechanism(GetParam().mechanism);
    plan->setUseVec4Storage(GetParam().vec4);
    plan->setArraySize(static_cast<unsigned long>(integer(1, 40)));
    InstanceDataRegistry::Instance()->registerPlan(plan);
    return plan;
}

/// The statements that write a value to four words of the output.
QString wordsOf(const Member &member, const QString &value, int column)
{
    if (member.type == Plan::eMat4) {
        return QStringLiteral("floatBitsToUint(%1[%2])").arg(value).arg(column);
    }
    const QString bits = ParameterMechanism::isIntegerType(member.type)
                             ? value
                             : QStringLiteral("floatBitsToUint(%1)").arg(value);
    static const char *const kFill[] = {"", ", 0u, 0u, 0u", ", 0u, 0u", ", 0u", ""};
    return QStringLiteral("uvec4(%1%2)").arg(bits, QLatin1String(kFill[member.components()]));
}

QString fragmentSource(const QString &planName, const QVector<Member> &members)
{
    QString text = QStringLiteral("#version 330\n#include \"ZelUtilities.glslh\"\n#instancedata \"%1\"\n"
                                  "layout(location = 0) out uvec4 byIndex;\n"
                                  "layout(location = 1) out uvec4 byDraw;\n"
                                  "void main() {\n"
                                  "  int column = int(gl_FragCoord.x);\n"
                                  "  uint item = uint(gl_FragCoord.y);\n"
                                  "  byIndex = byDraw = uvec4(0u);\n")
                       .arg(planName);
    int column = 0;
    for (const Member &member : members) {
        const QString name = QStringLiteral("get") + member.name.left(1).toUpper() + member.name.mid(1);
        for (int i = 0; i < member.columns(); ++i) {
            text += QStringLiteral("  if (column == %1) { byIndex = %2; byDraw = %3; }\n")
                        .arg(QString::number(column++), wordsOf(member, name + QStringLiteral("(item)"), i),
                             wordsOf(member, name + QStringLiteral("()"), i));
        }
    }
    return text + QStringLiteral("}\n");
}

/// The number of plans for each parameter: ten, because each links a program, or as many as the environment sets.
int numberOfPlans()
{
    const int wanted = qEnvironmentVariableIntValue("ZELGL_ROUND_TRIPS");
    return wanted > 0 ? wanted : 10;
}

/// Compares the block in the linked program: offsets, stride of the items, size.
void InstanceDataRoundTripTest::expectDriverLayout(const ShaderProgram &program, const Plan &plan,
                                                   const QVector<Member> &members)
{
    const auto indexOf =
        PFNGLGETPROGRAMRESOURCEINDEXPROC(getGLProcAddress("glGetProgramResourceIndex", false));
    const auto valuesOf = PFNGLGETPROGRAMRESOURCEIVPROC(getGLProcAddress("glGetProgramResourceiv", false));
    ASSERT_TRUE(indexOf != nullptr && valuesOf != nullptr);
    const auto ask = [&](GLenum interface, const QString &name, GLenum property) {
        const GLuint id = program.shaderProgramID();
        GLint value = -1;
        valuesOf(id, interface, indexOf(id, interface, qPrintable(name)), 1, &property, 1, nullptr, &value);
        return value;
    };
    const bool uniforms = GetParam().mechanism == Plan::eUniformBufferMechanism;
    const GLenum variable = uniforms ? GL_UNIFORM : GL_BUFFER_VARIABLE;
    const GLint stride = GLint(plan.totalDataSize());
    for (const Member &member : members) {
        const bool inVec4 = GetParam().vec4 && member.type != Plan::eMat4;
        const GLint offset = GLint(plan.offset(member.name)) / (inVec4 ? 16 : 1) * (inVec4 ? 16 : 1);
        const QString name =
            QStringLiteral("%1s[%3].%2")
                .arg(plan.name(), inVec4 ? QStringLiteral("_data%1").arg(offset) : member.name);
        EXPECT_EQ(offset, ask(variable, name.arg(0), GL_OFFSET)) << qPrintable(member.name);
        if (!uniforms) {
            EXPECT_EQ(stride, ask(variable, name.arg(0), GL_TOP_LEVEL_ARRAY_STRIDE));
        } else if (plan.arraySize() > 1) {
            EXPECT_EQ(offset + stride, ask(variable, name.arg(1), GL_OFFSET)) << qPrintable(member.name);
        }
    }
    EXPECT_EQ(uniforms ? GLint(plan.arraySize()) * stride
                       : stride, // an array without a size counts as one item
              ask(uniforms ? GL_UNIFORM_BLOCK : GL_SHADER_STORAGE_BLOCK,
                  QStringLiteral("u_%1Uniform").arg(plan.name()), GL_BUFFER_DATA_SIZE));
    plan.assertShaderProgram(&program); // reports nothing
}

void InstanceDataRoundTripTest::roundTrip(int number)
{
    const QVector<Member> members = randomMembers();
    const QString planName = QStringLiteral("Plan%1").arg(number);
    Plan *plan = newPlan(planName, members);
    const QVector<Message> messages = _capture.take();
    ASSERT_EQ(1, messages.size()) << qPrintable(messages.value(0).text); // the limit only
    ASSERT_EQ(QtDebugMsg, messages[0].level);

    const int items = qMin(int(plan->arraySize()), int(Probe::kRows));
    ASSERT_GT(items, 0);
    InstanceDataCollection collection(plan, static_cast<unsigned long>(items));
    QVector<QVector<GLuint>> values(items); // one vector for each item, its members in order
    for (int item = 0; item < items; ++item) {
        for (const Member &member : members) {
            GLuint words[16] = {};
            std::generate_n(words, member.components(), [&] { return randomWord(member); });
            const size_t size = qMin(plan->dataSize(member.name), size_t(member.components()) * 4);
            collection.set(item, member.name, words, size);
            std::copy_n(words, member.components(), std::back_inserter(values[item]));
        }
    }

    const auto program = makeProgram(kAllOver, fragmentSource(planName, members), nullptr,
                                     {"ZelUtilities.glslc"}, {plan->glslc()});
    if (GetParam().isBlock()) {
        expectDriverLayout(*program, *plan, members);
    }

    ASSERT_TRUE(program->bind());
    ASSERT_TRUE(collection.bind(program.get(), nullptr));
    _probe.draw(*program, items);
    ASSERT_TRUE(collection.unbind(program.get(), nullptr));
    program->unbind();

    const std::vector<Probe::Words> byIndex = _probe.read(0);
    const std::vector<Probe::Words> byDraw = _probe.read(1);
    for (int item = 0; item < items; ++item) {
        size_t column = size_t(item) * Probe::kColumns;
        const GLuint *expected = values[item].constData();
        for (const Member &member : members) {
            for (int i = 0; i < member.columns(); ++i, ++column) {
                Probe::Words words = {};
                std::copy_n(expected + 4 * i, qMin(member.components(), 4), words.begin());
                if (member.type == Plan::eBool) {
                    // All packed booleans of a word read as one value.
                    GLuint word = 0;
                    const int at = item * int(plan->totalDataSize()) + int(plan->offset(member.name) / 4 * 4);
                    std::memcpy(&word, collection.dataArray().constData() + at, sizeof word);
                    words = {word != 0 ? 1u : 0u};
                }
                EXPECT_EQ(words, byIndex[column]) << qPrintable(member.name) << " of item " << item;
                EXPECT_EQ(words, byDraw[column]) << qPrintable(member.name) << " of item " << item;
            }
            expected += member.components();
        }
    }
}

} // namespace

TEST_P(InstanceDataRoundTripTest, WhatWasWrittenIsReadBackBitByBit)
{
    ZEL_NEEDS_EXTENSION("GL_ARB_shader_bit_encoding");
    for (int number = 0; number < numberOfPlans() && !HasFailure(); ++number) {
        SCOPED_TRACE(number);
        roundTrip(number);
        InstanceDataRegistry::Instance()->clear();
    }
}

INSTANTIATE_TEST_SUITE_P(
    Roads, InstanceDataRoundTripTest,
    testing::Values(Road{Plan::eUniformBufferMechanism, false}, Road{Plan::eUniformBufferMechanism, true},
                    Road{Plan::eUniformMechanism, false}, Road{Plan::eUniformMechanism, true},
                    Road{Plan::eBufferTextureMechanism, false}, Road{Plan::eBufferTextureMechanism, true},
                    Road{Plan::eTextureMechanism, false}, Road{Plan::eTextureMechanism, true},
                    Road{Plan::eStorageBufferMechanism, false}, Road{Plan::eStorageBufferMechanism, true}));
