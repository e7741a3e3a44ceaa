#include "FullscreenPass.h"

#include "../DrawBuffers.h"
#include "../GLUtilities.h"
#include "../OpenGLDeviceContext.h"
#include "../ShaderProgram.h"
#include "../VertexArrayObject.h"

namespace Orvane { namespace Zel {

FullscreenPass::FullscreenPass()
    // The pass shares the quad, so that resetContext() during the pass does not delete it.
    : _quad(OpenGLDeviceContext::current()->fullscreenQuad())
{
}

FullscreenPass::~FullscreenPass()
{
    unbind();
}

void FullscreenPass::bind(ShaderProgram &program)
{
    // All passes share the quad: until now its attributes are connected to the locations of the program that drew last.
    _quad->VAO()->bind();
    _quad->VAO()->enableShaderProgramArrays(&program);
    _quad->VAO()->unbind();
    _quad->bind();
    _program = &program;
}

void FullscreenPass::unbind()
{
    if (_program != nullptr) {
        _quad->unbind();
        _program = nullptr;
    }
}

void FullscreenPass::draw()
{
    _quad->draw(_program);
}

// The three states that hide or blend a fullscreen quad; the scissor and the viewport belong to the caller, whose target has
// its own size.
void FullscreenPass::setState()
{
    glDisable(GL_BLEND);
    glDisable(GL_DEPTH_TEST);
    glDepthMask(GL_FALSE);
}

// To the defaults of the library and not to saved values: a query in a frame waits for threaded drivers.
void FullscreenPass::resetState()
{
    glDepthMask(GL_TRUE);
    glEnable(GL_DEPTH_TEST);
}

}} // namespace Orvane::Zel
