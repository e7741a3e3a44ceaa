#include "SnippetsTest.h"

#include <ZelCheck/Check.h>
#include <ZelCheck/EntryPointTap.h>

using namespace Orvane::Zel;

namespace {

//! [Check]
/// Called at the end of each frame; "--check" of the host has set \a isWanted.
void endFrame(bool isWanted)
{
    using Orvane::ZelCheck::Check;
    if (isWanted && !Check::isRunning()) {
        Check::start(); // checks the draws of the next frames
    }
    Check::endFrame(); // reports what this frame left bound
}
//! [Check]

//! [Scope]
/// Draws a picture that stays black, with an explanation in the log.
void drawChecked(Canvas &canvas, ShaderProgram &program)
{
    const Orvane::ZelCheck::Scope checked;
    canvas.draw(program);
}
//! [Scope]

//! [Group]
/// A pass of the host, as debuggers of GL show it.
void drawShadows(Canvas &canvas, ShaderProgram &program)
{
    const Orvane::ZelCheck::Group group("shadows");
    canvas.draw(program);
}
//! [Group]

//! [EntryPointTap]
/// Counts the draws of quads.
struct DrawCounter
{
    static inline int count = 0;

    template <auto Slot, typename Result, typename... Arguments>
    static Result call(Result(APIENTRY *driver)(Arguments...), Arguments... arguments)
    {
        ++count;
        return driver(arguments...);
    }
};
using DrawTaps = Orvane::ZelCheck::EntryPointTaps<DrawCounter, &glDrawArrays, &glDrawElements>;
//! [EntryPointTap]

} // namespace

TEST_F(SnippetsTest, Check)
{
    endFrame(true);
    EXPECT_TRUE(Orvane::ZelCheck::Check::isRunning());
    Orvane::ZelCheck::Check::stop();
}

TEST_F(SnippetsTest, Scope)
{
    Canvas canvas;
    const auto program = makeProgram(kAllOver);
    program->bind();
    glViewport(0, 0, 0, 0);
    drawChecked(canvas, *program);
    program->unbind();
    EXPECT_MESSAGES(
        QString("warning [ZelCheck] Program %1 draws with a viewport of 0 x 0 pixels. Call glViewport() with "
                "the size of the target.")
            .arg(program->shaderProgramID()));
}

TEST_F(SnippetsTest, Group)
{
    Canvas canvas;
    const auto program = makeProgram(kAllOver);
    program->bind();
    drawShadows(canvas, *program);
    program->unbind();
}

TEST_F(SnippetsTest, EntryPointTap)
{
    Canvas canvas;
    const auto program = makeProgram(kAllOver);
    program->bind();
    DrawTaps::install();
    canvas.draw(*program);
    DrawTaps::remove();
    program->unbind();
    EXPECT_EQ(1, DrawCounter::count);
}
