#include "SnippetsTest.h"

#include <ZelGL/BufferTextureMechanism.h>
#include <ZelGL/GLSLMacroProcessor.h>
#include <ZelGL/InstanceDataCollection.h>
#include <ZelGL/InstanceDataRegistry.h>
#include <ZelGL/StorageBufferMechanism.h>
#include <ZelGL/UniformMechanism.h>

using namespace Orvane::Zel;

namespace {

const float kRed[] = {1, 0, 0, 1};
const float kBlue[] = {0, 0, 1, 1};

/// A fragment stage that shows item i in column i.
constexpr char kShowPaint[] = R"(#version 150
#instancedata "Paint"
out vec4 color;
void main() { color = getColor(uint(gl_FragCoord.x)) * getOpacity(uint(gl_FragCoord.x)); }
)";

class InstanceDataSnippetsTest : public SnippetsTest
{
protected:
    /// Registers the plan "Paint", of a colour and an opacity.
    InstanceDataPlan *registerPaint()
    {
        auto *plan = newPaint();
        registerPlan(plan);
        return plan;
    }

    static InstanceDataPlan *newPaint()
    {
        auto *plan = new InstanceDataPlan("Paint");
        plan->addMember(InstanceDataPlan::eVec4, "Color");
        plan->addMember(InstanceDataPlan::eFloat, "Opacity");
        return plan;
    }

    void registerPlan(InstanceDataPlan *plan)
    {
        InstanceDataRegistry::Instance()->registerPlan(plan);
        takeLimit();
    }

    /// Takes the message about the number of items that fit.
    void takeLimit() { EXPECT_MESSAGES(startsWith("debug [InstanceDataPlan.cpp:#] ")); }

    static std::unique_ptr<ShaderProgram> paintProgram()
    {
        return makeProgram(kAllOver, kShowPaint, nullptr, {"ZelUtilities.glslc", "ZelUtilities.frag"},
                           {InstanceDataRegistry::Instance()->getPlan("Paint")->glslc()});
    }

    /// The two paints as a program reads them.
    Pixels drawn(InstanceDataCollection &paints)
    {
        const auto program = paintProgram();
        Canvas canvas(2, 1);
        program->bind();
        EXPECT_TRUE(paints.bind(program.get(), nullptr));
        canvas.draw(*program);
        paints.unbind(program.get(), nullptr);
        program->unbind();
        return canvas.pixels();
    }

    /// Whether a red and a blue paint reach a program by the registered plan.
    testing::AssertionResult areCarried()
    {
        InstanceData red("Paint");
        InstanceData blue("Paint");
        const float opacity = 0.5f;
        red.set("Color", kRed, sizeof kRed);
        red.set("Opacity", &opacity, sizeof opacity);
        blue.set("Color", kBlue, sizeof kBlue);
        blue.set("Opacity", &opacity, sizeof opacity);
        InstanceDataCollection paints("Paint", {red, blue});
        const QVector4D expected[] = {{0.5f, 0, 0, 0.5f}, {0, 0, 0.5f, 0.5f}};
        return drawn(paints).isNear(Pixels::of(2, 1, [&](int x, int) { return expected[x]; }), 0);
    }
};

} // namespace

TEST_F(InstanceDataSnippetsTest, InstanceDataPlan)
{
    //! [InstanceDataPlan]
    auto *plan = new InstanceDataPlan("Paint");
    plan->addMember(InstanceDataPlan::eVec4, "Color"); // getColor() in GLSL
    plan->addMember(InstanceDataPlan::eFloat, "Opacity");
    plan->setArraySize(64);
    InstanceDataRegistry::Instance()->registerPlan(plan); // finalises and owns it

    // Each stage with the line `#instancedata "Paint"` links the definitions too.
    ShaderProgram program(nullptr);
    program.addShader(GL_FRAGMENT_SHADER, kShowPaint, QString());
    program.addShader(GL_FRAGMENT_SHADER, plan->glslc(), QString());
    //! [InstanceDataPlan]
    takeLimit();
    EXPECT_EQ(64u, plan->arraySize());
    EXPECT_TRUE(areCarried());
}

TEST_F(InstanceDataSnippetsTest, InstanceDataRegistry)
{
    registerPaint();
    const auto deleteScene = [] {};
    //! [InstanceDataRegistry]
    InstanceDataPlan *plan = InstanceDataRegistry::Instance()->getPlan("Paint");
    if (plan == nullptr) {
        return; // never registered
    }
    const QString declarations = plan->glslh(); // what `#instancedata "Paint"` inserts

    // At the end, before the context goes.
    deleteScene(); // with all collections
    InstanceDataRegistry::Instance()->clear();
    //! [InstanceDataRegistry]
    EXPECT_TRUE(declarations.contains("vec4 getColor(uint Index);"));
    EXPECT_EQ(nullptr, InstanceDataRegistry::Instance()->getPlan("Paint"));
    EXPECT_MESSAGES(startsWith("warning [InstanceDataRegistry.cpp:#] "));
}

TEST_F(InstanceDataSnippetsTest, InstanceData)
{
    registerPaint();
    //! [InstanceData]
    const float color[] = {1.0f, 0.5f, 0.0f, 1.0f};
    const float opacity = 0.25f;
    InstanceData paint("Paint");
    paint.set("Color", color, sizeof color);
    paint.set("Opacity", &opacity, sizeof opacity);
    //! [InstanceData]
    InstanceDataCollection paints("Paint", {paint, paint});
    EXPECT_TRUE(drawn(paints).isNear(1, 0, {0.25f, 0.125f, 0.0f, 0.25f}, 0));
}

TEST_F(InstanceDataSnippetsTest, InstanceDataCollection)
{
    registerPaint();
    const auto program = paintProgram();
    InstanceData red("Paint");
    const float opacity = 1;
    red.set("Color", kRed, sizeof kRed);
    red.set("Opacity", &opacity, sizeof opacity);
    Canvas canvas(2, 1);
    const auto drawScene = [&canvas](ShaderProgram &bound) { canvas.draw(bound); };
    //! [InstanceDataCollection]
    InstanceDataCollection paints("Paint", {red, red}); // items 0 and 1
    paints.set(1, "Color", kBlue, sizeof kBlue);

    program->bind();
    paints.bind(program.get(), nullptr); // uploads what changed; its plan has no textures
    drawScene(*program);
    paints.unbind(program.get(), nullptr);
    program->unbind();
    //! [InstanceDataCollection]
    EXPECT_TRUE(canvas.pixels().isNear(0, 0, {1, 0, 0, 1}, 0));
    EXPECT_TRUE(canvas.pixels().isNear(1, 0, {0, 0, 1, 1}, 0));
}

TEST_F(InstanceDataSnippetsTest, ParameterMechanism)
{
    const InstanceDataPlan *plan = registerPaint();
    QStringList layout;
    //! [ParameterMechanism]
    // What an inspector of the host shows of a plan.
    for (const QString &name : plan->memberNames()) {
        const InstanceDataPlan::DataType type = plan->dataType(name);
        layout += QString("%1 %2: %3 bytes at %4")
                      .arg(ParameterMechanism::glslType(type), name)
                      .arg(ParameterMechanism::dataSize(type))
                      .arg(plan->offset(name));
    }
    //! [ParameterMechanism]
    layout.sort();
    EXPECT_EQ((QStringList{"float Opacity: 4 bytes at 16", "vec4 Color: 16 bytes at 0"}), layout);
}

TEST_F(InstanceDataSnippetsTest, UniformBufferMechanism)
{
    InstanceDataPlan *plan = newPaint();
    //! [UniformBufferMechanism]
    plan->setMechanism(InstanceDataPlan::eUniformBufferMechanism); // the default
    plan->setUseVec4Storage(true); // for drivers with a wrong layout of mixed structures
    InstanceDataRegistry::Instance()->registerPlan(plan);
    qInfo("%zu items fit into a uniform block", plan->arraySizeMax());
    //! [UniformBufferMechanism]
    EXPECT_TRUE(_capture.takeTexts().last().endsWith(" items fit into a uniform block"));
    EXPECT_TRUE(areCarried());
}

TEST_F(InstanceDataSnippetsTest, StorageBufferMechanism)
{
    InstanceDataPlan *plan = newPaint();
    //! [StorageBufferMechanism]
    plan->setArraySize(100000); // more than a uniform block holds
    if (InstanceDataPlan::supportsStorageMechanism()) {
        plan->setMechanism(InstanceDataPlan::eStorageBufferMechanism);
    } else {
        plan->setMechanism(InstanceDataPlan::eBufferTextureMechanism);
    }
    InstanceDataRegistry::Instance()->registerPlan(plan);
    //! [StorageBufferMechanism]
    takeLimit();
    EXPECT_TRUE(areCarried());
}

TEST_F(InstanceDataSnippetsTest, UniformMechanism)
{
    InstanceDataPlan *plan = newPaint();
    //! [UniformMechanism]
    plan->setArraySize(4); // every bind sends all items
    plan->setMechanism(InstanceDataPlan::eUniformMechanism);
    InstanceDataRegistry::Instance()->registerPlan(plan);
    //! [UniformMechanism]
    takeLimit();
    EXPECT_TRUE(areCarried());
}

TEST_F(InstanceDataSnippetsTest, TextureMechanism)
{
    InstanceDataPlan *plan = newPaint();
    //! [TextureMechanism]
    plan->setArraySize(2000);
    plan->setMechanism(InstanceDataPlan::eTextureMechanism); // takes two texture units
    InstanceDataRegistry::Instance()->registerPlan(plan);
    //! [TextureMechanism]
    takeLimit();
    EXPECT_TRUE(areCarried());
}

TEST_F(InstanceDataSnippetsTest, BufferTextureMechanism)
{
    InstanceDataPlan *plan = newPaint();
    //! [BufferTextureMechanism]
    plan->setArraySize(10000);
    plan->setMechanism(InstanceDataPlan::eBufferTextureMechanism); // takes two texture units
    InstanceDataRegistry::Instance()->registerPlan(plan);
    //! [BufferTextureMechanism]
    takeLimit();
    EXPECT_TRUE(areCarried());
}
