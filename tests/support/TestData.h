#pragma once

#include <QtCore/QString>

/// The path of one of the real files that tests may read: under the folder that the environment variable
/// ZELGL_TEST_DATA names, else under shared/data beside the source tree. Empty where there is no such file.
QString testData(const QString &relativePath);

/// Makes `QString path` the path of such a file, or skips the test, naming it: they do not come with the
/// source.
#define ZEL_NEEDS_TEST_DATA(path, relativePath)                                                              \
    const QString path = testData(relativePath);                                                             \
    if (path.isEmpty())                                                                                      \
    GTEST_SKIP() << "Needs the test data file " << relativePath
