#pragma once

/// \file
/// Private to the library. Used by passes and bakes that render into a framebuffer of their own.

#include "../GLUtilities.h"
#include "GLValues.h"

namespace Orvane { namespace Zel {

/// Restores the bindings of the draw and the read framebuffer at the end of its scope.
///
/// Context: the same context must be current at both ends of the scope.
class SavedFramebuffers
{
    Q_DISABLE_COPY(SavedFramebuffers)

public:
    SavedFramebuffers() = default;

    ~SavedFramebuffers()
    {
        glBindFramebuffer(GL_DRAW_FRAMEBUFFER, static_cast<GLuint>(_draw));
        glBindFramebuffer(GL_READ_FRAMEBUFFER, static_cast<GLuint>(_read));
    }

private:
    const GLint _draw = integerFromGL(GL_DRAW_FRAMEBUFFER_BINDING);
    const GLint _read = integerFromGL(GL_READ_FRAMEBUFFER_BINDING);
};

}} // namespace Orvane::Zel
