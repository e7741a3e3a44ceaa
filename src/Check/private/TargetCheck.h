#pragma once

#include "ProgramFacts.h"

namespace Orvane { namespace ZelCheck {

/// What the host has begun and not ended in this context that the checks of the target need.
struct OpenScopes
{
    int queries = 0;
    bool hasFeedback = false; ///< transform feedback
};

/// Checks the framebuffer and the state that decides whether fragments reach it.
void checkTarget(GLuint program, const ProgramFacts &facts, GLenum mode, const OpenScopes &open);

}} // namespace Orvane::ZelCheck
