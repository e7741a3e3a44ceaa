#include "Sanitizer.h"
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

/// What a test process needs of its environment, where the caller has not chosen: X through GLX, since Qt's
/// "offscreen" platform cannot make a core context; a runtime folder, without which Qt logs; a shader cache
/// that can be written, without which Mesa offers no program binaries; and a renderer of one thread, since
/// tests run side by side.
void prepareEnvironment(const QTemporaryDir &folder)
{
    setDefault("QT_QPA_PLATFORM", "xcb");
    setDefault("QT_XCB_GL_INTEGRATION", "xcb_glx");
    setDefault("XDG_RUNTIME_DIR", folder.path().toLocal8Bit());
    setDefault("MESA_SHADER_CACHE_DIR", folder.path().toLocal8Bit());
    setDefault("LP_NUM_THREADS", "1");
}

} // namespace

#if ZELGL_ADDRESS_SANITIZER
/// What the leak check of the sanitizer passes over: the wrappers of the managers' helper textures, which are left to the
/// context, by the functions that make them; and what Qt's message bus keeps until the process ends.
extern "C" __attribute__((visibility("default"))) const char *__lsan_default_suppressions()
{
    return "leak:Array2DTextureManager::uploadSlotMap\n"
           "leak:SamplerSlots::makeEmptyTexture\n"
           "leak:SamplerSlots::makeMap\n"
           "leak:libdbus-1.so\n";
}
#endif

int main(int argc, char **argv)
{
    testing::InitGoogleTest(&argc, argv);
    const QTemporaryDir folder;
    prepareEnvironment(folder);
    const int result = RUN_ALL_TESTS();
    TestContext::endApplication();
    return result;
}
