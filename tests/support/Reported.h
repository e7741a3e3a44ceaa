#pragma once

#include "MessageCapture.h"

/// Takes the messages of assertions in a source file, one line each: "condition: text".
inline testing::AssertionResult reported(const char *file, const QString &lines)
{
    std::vector<ExpectedMessage> expected;
    for (const QString &line : lines.trimmed().split('\n')) {
        expected.emplace_back(AssertionsOf(file)(line.section(": ", 0, 0), line.section(": ", 1)));
    }
    return takeMessages(expected);
}
