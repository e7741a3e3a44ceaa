#pragma once

#include <gtest/gtest.h>

#include <QtCore/QtGlobal>

#include <functional>

/// Repeats an operation, and fails if the memory of the process grows by more than \a allowedBytes from the end of the
/// first tenth, when caches are filled, to the end.
testing::AssertionResult soak(int runs, const std::function<void()> &operation,
                              qint64 allowedBytes = 1 << 20);
