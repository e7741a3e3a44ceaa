#include "support/MessageCapture.h"

#include <ZelGL/Reporting.h>

#include <QtCore/QTextCodec>

using ReportingTest = MessageTest;

TEST_F(ReportingTest, ALogHasLevelFileLineAndTextAndNothingElse)
{
    // clang-format off
    ZEL_LOG_WARNING("%s of %d", "one", 2); const int line = __LINE__;
    // clang-format on
    const QVector<Message> messages = _capture.take();
    ASSERT_EQ(1, messages.size());
    EXPECT_EQ(QString("[ReportingTest.cpp:%1] one of 2").arg(line), messages.first().text);
    EXPECT_EQ("warning [ReportingTest.cpp:#] one of 2", messages.first().toString());
    EXPECT_EQ("", messages.first().place);
}

TEST_F(ReportingTest, EveryFormHasItsLevelTakesTextAsItIsAndIsOneStatement)
{
    ZEL_LOG_DEBUG("text");
    ZEL_LOG_WARNING("text");
    ZEL_LOG_CRITICAL("text");
    ZEL_BARE_DEBUG("text %d", 1);
    ZEL_BARE_WARNING("text %d", 2);
    ZEL_BARE_CRITICAL("text %d", 3);
    EXPECT_MESSAGES("debug [ReportingTest.cpp:#] text", "warning [ReportingTest.cpp:#] text",
                    "critical [ReportingTest.cpp:#] text", "debug text 1", "warning text 2",
                    "critical text 3");

    ZEL_LOG_DEBUG("%s", "100% %s %n");
    QTextCodec::setCodecForLocale(QTextCodec::codecForName("ISO-8859-1"));
    ZEL_BARE_DEBUG("%s",
                   "Gr\u00f6\u00dfe \u03c0 %n"); // a conversion to the locale would change this
    EXPECT_MESSAGES("debug [ReportingTest.cpp:#] 100% %s %n", "debug Gr\u00f6\u00dfe \u03c0 %n");
    QTextCodec::setCodecForLocale(nullptr);

    bool other = false;
    if (other)
        ZEL_ASSERT(false, "never");
    else
        other = true;
    EXPECT_TRUE(other) << "the else must not have gone to the if of the macro";
}

TEST_F(ReportingTest, AnAssertionQuotesItsConditionAndLeavesTheFunctionOnlyIfItIsChecked)
{
    int conditions = 0;
    int messages = 0;
    const auto checked = [&](int expected) {
        ZEL_ASSERT(++conditions == expected, "%d", ++messages);
        ZEL_ASSERT_RETURN(++conditions % 9 == expected + 1 && "50%s", -1, "%d", ++messages);
        return conditions;
    };
    EXPECT_EQ(2, checked(1));
    EXPECT_EQ(0, messages) << "evaluated only when it fires";
    EXPECT_EQ(-1, checked(0));
    EXPECT_EQ(4, conditions);
    // A backslash precedes each per cent sign of the condition.
    const QString start = "critical [ReportingTest.cpp:#] [ !! ] Assertion '++conditions ";
    EXPECT_MESSAGES(start + "== expected' failed: 1",
                    start + "\\% 9 == expected + 1 && \"50\\%s\"' failed: 2");
}
