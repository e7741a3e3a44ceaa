#include "TestContext.h"

#include <gtest/gtest.h>

#include <QtCore/QTemporaryDir>

namespace {

void setDefault(const char *variable, const QByteArray &value)
{
    if (!qEnvironmentVariableIsSet(variable)) {
        qputenv(variable, value);
    }
}

/// Sets environment variables that the caller has not set: X through GLX, since Qt's "offscreen" platform has no core
/// contexts; a runtime folder, without which Qt logs a warning; a writable shader cache, without which Mesa has no program
/// binaries; and a renderer with one thread, since tests run in parallel.
void prepareEnvironment(const QTemporaryDir &folder)
{
    setDefault("QT_QPA_PLATFORM", "xcb");
    setDefault("QT_XCB_GL_INTEGRATION", "xcb_glx");
    setDefault("XDG_RUNTIME_DIR", folder.path().toLocal8Bit());
    setDefault("MESA_SHADER_CACHE_DIR", folder.path().toLocal8Bit());
    setDefault("LP_NUM_THREADS", "1");
}

/// Leaves out the cases of ZELGL_TEST_EXCEPT, which `./zel test --check` sets, whatever the command line selects.
void applyExceptions()
{
    const std::string except = qgetenv("ZELGL_TEST_EXCEPT").toStdString();
    if (!except.empty()) {
        const std::string filter = GTEST_FLAG_GET(filter);
        GTEST_FLAG_SET(filter, filter + (filter.find('-') == std::string::npos ? "-" : ":") + except);
    }
}

} // namespace

int main(int argc, char **argv)
{
    testing::InitGoogleTest(&argc, argv);
    const QTemporaryDir folder;
    prepareEnvironment(folder);
    applyExceptions();
    const int result = RUN_ALL_TESTS();
    TestContext::endApplication();
    return result;
}
