#pragma once

#include <ZelGL/ZelGL.h>

namespace Orvane { namespace ZelKit {

/// Restores the framebuffer and the viewport of the host at the end of a scope: its framebuffer need not be 0.
class SavedTarget
{
    Q_DISABLE_COPY(SavedTarget)

public:
    SavedTarget()
    {
        glGetIntegerv(GL_FRAMEBUFFER_BINDING, &_framebuffer);
        glGetIntegerv(GL_VIEWPORT, _viewport);
    }

    ~SavedTarget()
    {
        glBindFramebuffer(GL_FRAMEBUFFER, GLuint(_framebuffer));
        glViewport(_viewport[0], _viewport[1], _viewport[2], _viewport[3]);
    }

private:
    GLint _framebuffer = 0;
    GLint _viewport[4] = {};
};

}} // namespace Orvane::ZelKit
