#pragma once

#include <ZelGL/ZelGL.h>

namespace Orvane { namespace ZelKit {

/// Restores the framebuffers and the viewport of the host at the end of a scope: its framebuffer need not be 0.
class SavedTarget
{
    Q_DISABLE_COPY(SavedTarget)

public:
    SavedTarget()
    {
        glGetIntegerv(GL_DRAW_FRAMEBUFFER_BINDING, &_drawFramebuffer);
        glGetIntegerv(GL_READ_FRAMEBUFFER_BINDING, &_readFramebuffer);
        glGetIntegerv(GL_VIEWPORT, _viewport);
    }

    ~SavedTarget()
    {
        glBindFramebuffer(GL_DRAW_FRAMEBUFFER, GLuint(_drawFramebuffer));
        glBindFramebuffer(GL_READ_FRAMEBUFFER, GLuint(_readFramebuffer));
        glViewport(_viewport[0], _viewport[1], _viewport[2], _viewport[3]);
    }

private:
    GLint _drawFramebuffer = 0;
    GLint _readFramebuffer = 0;
    GLint _viewport[4] = {};
};

}} // namespace Orvane::ZelKit
