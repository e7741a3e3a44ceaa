// Threads with a context each, at the same time: `./zel test --threads` runs this under the thread sanitizer.

#include "support/MessageCapture.h"
#include "support/TestBuffer.h"
#include "support/TestProgram.h"

#include <ZelGL/ZelGL.h>

#include <QtCore/QThread>

using namespace Orvane::Zel;
using ThreadsTest = MessageTest;

/// No QThread::create(): the sanitizer is blind to what a std::future runs.
struct ContextThread : QThread
{
    void run() override
    {
        context->makeCurrent();
        for (int i = 0; i < 20; ++i) {
            const auto program = makeProgram(kAllOver);
            const AutoBinder programBinder(program.get());
            const auto quad = OpenGLDeviceContext::current()->newFullscreenQuad();
            const AutoBinder quadBinder(quad.data());
            UniformBufferObject uniforms("none", makeBuffer(GL_UNIFORM_BUFFER), nullptr);
            uniforms.bindBatchStart(); // the buffer is empty
            EXPECT_TRUE(uniforms.bind() && uniforms.unbind());
            FramebufferObject framebuffer(nullptr);
            const AutoBinder framebufferBinder(&framebuffer);
            EXPECT_TRUE(framebuffer.createTexture2D(GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, GL_RGBA8, 4, 4));
            EXPECT_TRUE(quad->VAO()->enableShaderProgramArrays(program.get()) && quad->draw(program.get()));
            delete framebuffer.detach(GL_COLOR_ATTACHMENT0);
        }
        context->doneCurrent();
        context->context()->moveToThread(thread());
    }

    std::unique_ptr<TestContext> context = TestContext::create();
};

TEST_F(ThreadsTest, ContextsShareCountersAndTables)
{
    ContextThread threads[2];
    ASSERT_TRUE(initializeGLFunctions());
    for (ContextThread &thread : threads) {
        thread.context->doneCurrent();
        thread.context->context()->moveToThread(&thread);
        thread.start();
    }
    std::for_each(std::begin(threads), std::end(threads), [](QThread &thread) { thread.wait(); });
    EXPECT_EQ(0, BufferObject::NumAlive() + DrawBuffers::NumAlive() + FramebufferObject::NumAlive()
                     + Texture::NumAlive() + UniformBufferObject::NumAlive() + VertexArrayObject::NumAlive());
}
