// Tests of the checks in tests/support: a check that never fails would make every other test worthless.

#include "support/GLFixture.h"
#include "support/Pixels.h"

#include <ZelGL/GLLoader.h>

#include <gtest/gtest-spi.h>

#include <cmath>

namespace {

void warn(const char *text)
{
    QMessageLogger(nullptr, 0, nullptr).warning("%s", text);
}

/// The failures that the fixture reports for a test with this body; empty if it passes.
std::string verdict(void (*body)(GLuint buffer))
{
    struct Judged : GLTest
    {
        void TestBody() override {}
    };
    testing::TestPartResultArray results;
    {
        const testing::ScopedFakeTestPartResultReporter reporter(
            testing::ScopedFakeTestPartResultReporter::INTERCEPT_ONLY_CURRENT_THREAD, &results);
        Judged judged;
        GLuint buffer = 0;
        glGenBuffers(1, &buffer);
        body(buffer);
        glDeleteBuffers(1, &buffer);
    }
    std::string failures;
    for (int i = 0; i < results.size(); ++i) {
        failures += results.GetTestPartResult(i).message();
    }
    return failures;
}

} // namespace

TEST(SupportTest, EveryUntakenMessageErrorOrObjectFails)
{
    const auto expectFailure = [](const char *words, void (*body)(GLuint)) {
        EXPECT_PRED_FORMAT2(testing::IsSubstring, words, verdict(body));
    };
    expectFailure("warning chatter", [](GLuint) { warn("chatter"); });
    expectFailure("GL debug output", [](GLuint) { glEnable(GL_TEXTURE_2D_ARRAY); });
    expectFailure("GL errors", [](GLuint) { glEnable(GL_TEXTURE_2D_ARRAY); });
    expectFailure("is still alive", [](GLuint buffer) { glGenBuffers(1, &buffer); });
    expectFailure("which is not alive", [](GLuint buffer) { glDeleteBuffers(1, &buffer); });
    EXPECT_EQ("", verdict([](GLuint) {
                  warn("expected");
                  EXPECT_MESSAGES("warning expected");
                  glEnable(GL_TEXTURE_2D_ARRAY);
                  EXPECT_EQ(std::vector<GLenum>{GL_INVALID_ENUM}, takeGLErrors());
              }));
}

using CaptureTest = MessageTest;

TEST_F(CaptureTest, MessagesAreComparedInLevelNumberOrderAndText)
{
    const auto taken = [](const std::vector<ExpectedMessage> &expected) {
        warn("[File.cpp:12] text");
        QMessageLogger(nullptr, 0, nullptr).debug("bare");
        return bool(takeMessages(expected));
    };
    EXPECT_TRUE(taken({"warning [File.cpp:#] text", startsWith("debug b")}));
    EXPECT_FALSE(taken({"warning [File.cpp:#] text"}));
    EXPECT_FALSE(taken({"debug bare", "warning [File.cpp:#] text"}));
    EXPECT_FALSE(taken({"critical [File.cpp:#] text", "debug bare"}));
    EXPECT_FALSE(taken({"warning [File.cpp:#] text", "debug bar"}));
    EXPECT_FALSE(taken({}));
    EXPECT_MESSAGES();
}

TEST(PixelsTest, NearPicturesHaveOneSizeAndDifferByTheToleranceAtMost)
{
    const Pixels picture(3, 2, {0.2f, 0.2f, 0.2f, 1});
    Pixels other = picture;
    other.at(1, 1).setX(0.1f);
    EXPECT_TRUE(picture.isNear(other, 0.11f));
    EXPECT_FALSE(picture.isNear(other, 0.09f));
    EXPECT_FALSE(picture.isNear(1, 1, {std::nanf(""), 0, 0, 1}, 1.0f));
    EXPECT_FALSE(picture.isNear(Pixels(3, 3), 1.0f));
}
