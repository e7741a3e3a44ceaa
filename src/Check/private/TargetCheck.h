#pragma once

#include "ProgramFacts.h"

#include <set>

namespace Orvane { namespace ZelCheck {

/// The queries and transform feedbacks that the host has begun and not ended since the start of the check. What is older is
/// unknown.
class OpenScopes
{
public:
    static constexpr GLenum kFeedback = GL_TRANSFORM_FEEDBACK_BUFFER;

    /// \a target: that of the query, or kFeedback.
    void begin(GLenum target);
    void end(GLenum target);

    /// Whether transform feedback is active in the current context.
    bool hasFeedback() const;
    /// Whether a query of the current context counts what a draw does. One of time does not.
    bool hasCount() const;

private:
    std::set<std::pair<const void *, GLenum>> _open; ///< by context
};

/// Checks the framebuffer and the state that decides whether fragments reach it.
void checkTarget(GLuint program, const ProgramFacts &facts, GLenum mode, const OpenScopes &open);

}} // namespace Orvane::ZelCheck
