#include "DrawnPixels.h"

#include <ZelGL/DrawBuffers.h>
#include <ZelGL/FramebufferObject.h>
#include <ZelGL/GLUtilities.h>
#include <ZelGL/OpenGLDeviceContext.h>
#include <ZelGL/Texture.h>
#include <ZelGL/VertexArrayObject.h>

using namespace Orvane::Zel;

std::vector<Pixels> drawnPixels(ShaderProgram &program, int width, int height, int outputs)
{
    FramebufferObject framebuffer(nullptr);
    std::vector<std::unique_ptr<Texture>> targets;
    framebuffer.bind();
    for (int i = 0; i < outputs; ++i) {
        targets.push_back(std::make_unique<Texture>(nullptr));
        targets.back()->create2D(GL_TEXTURE_2D, GL_RGBA32F, width, height);
        framebuffer.attach(targets.back().get(), GL_COLOR_ATTACHMENT0 + GLenum(i), 0);
    }
    framebuffer.setDrawBuffers();
    glViewport(0, 0, width, height);
    glClear(GL_COLOR_BUFFER_BIT);
    glDisable(GL_DEPTH_TEST);
    const auto quad = OpenGLDeviceContext::current()->newFullscreenQuad();
    quad->bind();
    quad->VAO()->enableShaderProgramArrays(&program);
    EXPECT_TRUE(quad->draw(&program));
    quad->unbind();
    std::vector<Pixels> pixels;
    for (int i = 0; i < outputs; ++i) {
        glReadBuffer(GL_COLOR_ATTACHMENT0 + GLenum(i));
        pixels.push_back(Pixels::ofFramebuffer(0, 0, width, height));
    }
    framebuffer.detachAll();
    framebuffer.unbind();
    return pixels;
}
