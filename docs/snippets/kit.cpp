#include "SnippetsTest.h"

#include <ZelKit/ZelKit.h>

using namespace Orvane::Zel;
using namespace Orvane::ZelKit;

TEST_F(SnippetsTest, HeadlessContext)
{
    context()->doneCurrent();
    {
        //! [HeadlessContext]
        QString error;
        const std::unique_ptr<HeadlessContext> headless = HeadlessContext::create(&error);
        if (headless == nullptr) {
            return qCritical("%s", qPrintable(error));
        }
        const std::unique_ptr<RenderTarget> target = RenderTarget::create({64, 64}, GL_RGBA8);
        //! [HeadlessContext]
        EXPECT_NE(nullptr, target);
    }
    makeCurrent();
}

TEST_F(SnippetsTest, RenderTarget)
{
    //! [RenderTarget]
    const std::unique_ptr<RenderTarget> target = RenderTarget::create({64, 64}, GL_RGBA8);
    {
        const AutoBinder bound(target->framebuffer());
        glViewport(0, 0, 64, 64);
        glClearColor(1, 0, 0, 1);
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
        // Draw.
    }
    const QImage picture = target->image();
    //! [RenderTarget]
    EXPECT_EQ(qRgb(255, 0, 0), picture.pixel(0, 0));
}
