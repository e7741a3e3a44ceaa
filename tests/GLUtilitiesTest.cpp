#include "support/GLFixture.h"

#include <ZelGL/GLUtilities.h>

using GLUtilitiesTest = GLTest;

TEST_F(GLUtilitiesTest, TheVersionIsThatOfTheContext)
{
    EXPECT_TRUE(openGlVersionSupported(2, 1));
    EXPECT_TRUE(openGlVersionSupported(4, 0));
    EXPECT_FALSE(openGlVersionSupported(5, 0));
}
