// Checks that the driver is of the kind for which this run of the suite is meant.

#include "support/GLFixture.h"

#include <ZelGL/GLUtilities.h>

#include <QtGui/QOpenGLContext>

#include <cstdio>

using DriverTest = GLTest;

TEST_F(DriverTest, IsOfTheKindThatThisRunNeeds)
{
    const bool isBindless = context()->hasExtension("GL_ARB_bindless_texture");
    // The script that runs the suite reads this line.
    std::printf("driver: %s, %s%s\n", glGetString(GL_RENDERER), glGetString(GL_VERSION),
                isBindless ? ", bindless" : "");
    EXPECT_TRUE(isBindless || qgetenv("ZELGL_TEST_DRIVER") != "bindless");
    EXPECT_EQ(!isForOpenGL32(), openGlVersionSupported(3, 3));
    EXPECT_EQ(!qEnvironmentVariableIsSet("ZEL_NO_GL_EXTENSIONS"),
              hasGLExtension("GL_ARB_vertex_array_object"));
}
