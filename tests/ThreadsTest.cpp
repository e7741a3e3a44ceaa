// Threads with a context each, at the same time: `./zel test --threads` runs this under the thread sanitizer.

#include "support/MessageCapture.h"
#include "support/TestBuffer.h"
#include "support/TestProgram.h"

#include <ZelGL/ZelGL.h>

#include <QtCore/QThread>

using namespace Orvane::Zel;
using ThreadsTest = MessageTest;

TEST_F(ThreadsTest, ContextsShareCountersAndTables)
{
    const std::unique_ptr<TestContext> contexts[] = {TestContext::create(), TestContext::create()};
    ASSERT_TRUE(initializeGLFunctions());
    std::vector<std::unique_ptr<QThread>> threads;
    for (const auto &context : contexts) {
        threads.emplace_back(QThread::create([&context, host = QThread::currentThread()] {
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
                framebuffer.bind();
                EXPECT_TRUE(framebuffer.createTexture2D(GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, GL_RGBA8, 4, 4));
                EXPECT_TRUE(quad->VAO()->enableShaderProgramArrays(program.get())
                            && quad->draw(program.get()));
                delete framebuffer.detach(GL_COLOR_ATTACHMENT0);
                framebuffer.unbind();
            }
            context->doneCurrent();
            context->context()->moveToThread(host);
        }));
        context->doneCurrent();
        context->context()->moveToThread(threads.back().get());
    }
    std::for_each(threads.begin(), threads.end(), [](const auto &thread) { thread->start(); });
    std::for_each(threads.begin(), threads.end(), [](const auto &thread) { thread->wait(); });
    EXPECT_EQ(0, BufferObject::NumAlive() + DrawBuffers::NumAlive() + FramebufferObject::NumAlive()
                     + Texture::NumAlive() + UniformBufferObject::NumAlive() + VertexArrayObject::NumAlive());
}
