#include <ZelKit/ZelKit.h>

#include "support/GLFixture.h"

#include <ZelGL/ZelGL.h>

using namespace Orvane::Zel;
using namespace Orvane::ZelKit;

using KitTest = GLTest;

TEST_F(KitTest, ARenderTargetReturnsItsPixelsOrTheReason)
{
    QString error;
    EXPECT_EQ(nullptr, RenderTarget::create({0, 4}, GL_RGBA8, RenderTarget::eNoDepth, 0, &error));
    EXPECT_EQ("a render target needs a size of at least 1x1 pixel", error);
    EXPECT_EQ(nullptr, RenderTarget::create({0, 4}, GL_RGBA8));
    EXPECT_MESSAGES("warning ZelKit: a render target needs a size of at least 1x1 pixel");

    for (const int samples : {0, 4}) {
        const auto target = RenderTarget::create({3, 2}, GL_RGBA8, RenderTarget::eDepth, samples);
        ASSERT_NE(nullptr, target);
        {
            const AutoBinder bound(target->framebuffer());
            glClearColor(0, 0, 1, 0);
            glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
            glEnable(GL_SCISSOR_TEST);
            glScissor(2, 1, 1, 1); // the top right pixel
            glClearColor(1, 0, 0, 0);
            glClear(GL_COLOR_BUFFER_BIT);
            glDisable(GL_SCISSOR_TEST);
            glClearColor(0, 0, 0, 0);
        }
        const QImage image = target->image(&error);
        EXPECT_EQ(samples > 0, image.isNull());
        if (samples > 0) {
            EXPECT_EQ("a multisampled render target has no pixels to read; resolve it into another one",
                      error);
        } else {
            EXPECT_EQ(QSize(3, 2), image.size());
            EXPECT_EQ(qRgb(255, 0, 0), image.pixel(2, 0));
            EXPECT_EQ(qRgb(0, 0, 255), image.pixel(2, 1));
        }
    }
}
