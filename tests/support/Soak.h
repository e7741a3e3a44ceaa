#pragma once

#include <gtest/gtest.h>

#include <QtCore/QtGlobal>

#include <functional>

/// Repeats an operation, and fails when the memory that the process has in use has grown by more than \a
/// allowedBytes between the end of the first tenth, by which caches are filled, and the end.
testing::AssertionResult soak(int runs, const std::function<void()> &operation,
                              qint64 allowedBytes = 1 << 20);
