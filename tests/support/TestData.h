#pragma once

#include <QtCore/QString>

/// The path of an optional real file: in the folder of the environment variable ZELGL_TEST_DATA, otherwise in shared/data
/// beside the source tree. Empty if there is no such file.
QString testData(const QString &relativePath);

/// Declares `QString path` with the path of such a file. If it is missing, skips the test with a message: the files are
/// not part of the source tree.
#define ZEL_NEEDS_TEST_DATA(path, relativePath)                                                              \
    const QString path = testData(relativePath);                                                             \
    if (path.isEmpty())                                                                                      \
    GTEST_SKIP() << "Needs the test data file " << relativePath
