// Checks that the driver is of the kind for which this run of the suite is meant.

#include "support/GLFixture.h"

#include <ZelGL/GLUtilities.h>

#include <cstdio>
#include <cstring>

using DriverTest = GLTest;

namespace {

bool isBindless()
{
    GLint count = 0;
    glGetIntegerv(GL_NUM_EXTENSIONS, &count);
    for (GLint i = 0; i < count; ++i) {
        const auto *name =
            reinterpret_cast<const char *>(glGetStringi(GL_EXTENSIONS, static_cast<GLuint>(i)));
        if (std::strcmp(name, "GL_ARB_bindless_texture") == 0) {
            return true;
        }
    }
    return false;
}

} // namespace

TEST_F(DriverTest, IsOfTheKindThatThisRunNeeds)
{
    // The script that runs the suite reads this line.
    std::printf("driver: %s, %s%s\n", glGetString(GL_RENDERER), glGetString(GL_VERSION),
                isBindless() ? ", bindless" : "");
    if (qgetenv("ZELGL_TEST_DRIVER") == "bindless") {
        EXPECT_TRUE(isBindless());
    }
    EXPECT_EQ(!isForOpenGL32(), openGlVersionSupported(3, 3));
    EXPECT_EQ(!qEnvironmentVariableIsSet("ZEL_NO_GL_EXTENSIONS"),
              hasGLExtension("GL_ARB_vertex_array_object"));
}
