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

TEST_F(KitTest, AHeadlessContextSharesWithGlxOrWorksWithoutADisplayOrSaysWhyItCannot)
{
    HeadlessContext::Options options;
    Texture texture(nullptr);
    texture.create2D(GL_TEXTURE_2D, GL_RGBA8, 1, 1);
    {
        const auto first = HeadlessContext::create();
        ASSERT_NE(nullptr, first);
        EXPECT_EQ(HeadlessContext::eGLX, first->platform());
        GLuint name = 0;
        glGenTextures(1, &name);
        glBindTexture(GL_TEXTURE_2D, name);
        options.shared = first.get();
        const auto second = HeadlessContext::create(options);
        ASSERT_NE(nullptr, second);
        EXPECT_TRUE(second->isCurrent() && !first->isCurrent());
        EXPECT_TRUE(glIsTexture(name));
        glDeleteTextures(1, &name);
    }
    QString error;
    for (const auto platform : {HeadlessContext::eGLX, HeadlessContext::eEGL}) {
        options = {};
        options.platform = platform;
        const auto context = HeadlessContext::create(options, &error);
        ASSERT_NE(nullptr, context) << qPrintable(error);
        EXPECT_EQ(platform, context->platform());
        EXPECT_EQ(platform == HeadlessContext::eEGL, context->qtContext() == nullptr);
        EXPECT_TRUE(openGlVersionSupported(3, 2));
        if (platform == HeadlessContext::eEGL) {
            EXPECT_EQ(nullptr, HeadlessContext::create(options));
            EXPECT_MESSAGES("warning ZelKit: only one EGL context can exist at a time, since ZelGL cannot "
                            "distinguish them; use GLX for several, or delete the first one");
            options.platform = HeadlessContext::eGLX;
            options.shared = context.get();
            EXPECT_EQ(nullptr, HeadlessContext::create(options, &error));
            EXPECT_EQ("a GLX context cannot share with an EGL context", error);
        }
        context->doneCurrent();
        EXPECT_FALSE(context->isCurrent());
        EXPECT_TRUE(context->makeCurrent() && context->isCurrent());
    }
    options = {};
    options.majorVersion = 9;
    for (const auto platform : {HeadlessContext::eGLX, HeadlessContext::eEGL}) {
        options.platform = platform;
        EXPECT_EQ(nullptr, HeadlessContext::create(options, &error));
        EXPECT_EQ("the driver has no OpenGL 9.2 core profile", error);
    }
    makeCurrent();
}
