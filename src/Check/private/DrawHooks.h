#pragma once

#include "Hooks.h"

namespace Orvane { namespace ZelCheck {

namespace DrawHooks {

inline bool allows(const std::vector<DrawCall> &calls)
{
    const bool isAllowed = draws().allows(calls.data(), calls.size());
    // An error of the checks themselves, with a driver that lacks a query, is not the host's.
    driver.glGetError();
    return isAllowed;
}

inline bool allows(const DrawCommands &commands)
{
    const bool isAllowed = draws().allows(commands);
    driver.glGetError();
    return isAllowed;
}

inline bool allowsOne(const DrawCall &call)
{
    const bool isAllowed = draws().allows(&call, 1);
    driver.glGetError();
    return isAllowed;
}

/// A draw whose numbers GL alone knows: only its state is checked.
inline bool allowsState(GLenum mode)
{
    DrawCall call;
    call.mode = mode;
    return allowsOne(call);
}

inline DrawCall arrays(GLenum mode, GLint first, GLsizei count, GLsizei instances = 1,
                       GLuint baseInstance = 0)
{
    return {mode, count, 0, nullptr, first, instances, baseInstance};
}

inline DrawCall elements(GLenum mode, GLsizei count, GLenum type, const void *indices, GLint baseVertex = 0,
                         GLsizei instances = 1, GLuint baseInstance = 0)
{
    return {mode, count, type, indices, baseVertex, instances, baseInstance};
}

inline bool allowsMany(GLenum mode, const GLsizei *counts, GLenum type, const void *const *indices,
                       GLsizei drawCount, const GLint *baseVertices)
{
    std::vector<DrawCall> calls;
    for (GLsizei i = 0; i < drawCount; ++i) {
        calls.push_back(
            elements(mode, counts[i], type, indices[i], baseVertices != nullptr ? baseVertices[i] : 0));
    }
    return allows(calls);
}

constexpr GLenum kNoIndices = 0;

} // namespace DrawHooks

#define ZELCHECK_DRAW(slot, parameters, ...)                                                                 \
    template <> struct Before<&slot>                                                                         \
    {                                                                                                        \
        static bool of parameters                                                                            \
        {                                                                                                    \
            using namespace DrawHooks;                                                                       \
            return __VA_ARGS__;                                                                              \
        }                                                                                                    \
    };

// 1. Draws with their numbers as arguments.

ZELCHECK_DRAW(glDrawArrays, (GLenum mode, GLint first, GLsizei count), allowsOne(arrays(mode, first, count)))
ZELCHECK_DRAW(glDrawArraysInstanced, (GLenum mode, GLint first, GLsizei count, GLsizei instances),
              allowsOne(arrays(mode, first, count, instances)))
ZELCHECK_DRAW(Outside::glDrawArraysInstancedBaseInstance,
              (GLenum mode, GLint first, GLsizei count, GLsizei instances, GLuint base),
              allowsOne(arrays(mode, first, count, instances, base)))
ZELCHECK_DRAW(glDrawElements, (GLenum mode, GLsizei count, GLenum type, const void *indices),
              allowsOne(elements(mode, count, type, indices)))
ZELCHECK_DRAW(glDrawRangeElements,
              (GLenum mode, GLuint, GLuint, GLsizei count, GLenum type, const void *indices),
              allowsOne(elements(mode, count, type, indices)))
ZELCHECK_DRAW(glDrawElementsInstanced,
              (GLenum mode, GLsizei count, GLenum type, const void *indices, GLsizei instances),
              allowsOne(elements(mode, count, type, indices, 0, instances)))
ZELCHECK_DRAW(glDrawElementsBaseVertex,
              (GLenum mode, GLsizei count, GLenum type, const void *indices, GLint baseVertex),
              allowsOne(elements(mode, count, type, indices, baseVertex)))
ZELCHECK_DRAW(glDrawRangeElementsBaseVertex,
              (GLenum mode, GLuint, GLuint, GLsizei count, GLenum type, const void *indices,
               GLint baseVertex),
              allowsOne(elements(mode, count, type, indices, baseVertex)))
ZELCHECK_DRAW(glDrawElementsInstancedBaseVertex,
              (GLenum mode, GLsizei count, GLenum type, const void *indices, GLsizei instances,
               GLint baseVertex),
              allowsOne(elements(mode, count, type, indices, baseVertex, instances)))
ZELCHECK_DRAW(Outside::glDrawElementsInstancedBaseInstance,
              (GLenum mode, GLsizei count, GLenum type, const void *indices, GLsizei instances, GLuint base),
              allowsOne(elements(mode, count, type, indices, 0, instances, base)))
ZELCHECK_DRAW(Outside::glDrawElementsInstancedBaseVertexBaseInstance,
              (GLenum mode, GLsizei count, GLenum type, const void *indices, GLsizei instances,
               GLint baseVertex, GLuint base),
              allowsOne(elements(mode, count, type, indices, baseVertex, instances, base)))

// 2. Several draws, with their numbers in arrays.

template <> struct Before<&glMultiDrawArrays>
{
    static bool of(GLenum mode, const GLint *first, const GLsizei *count, GLsizei drawCount)
    {
        std::vector<DrawCall> calls;
        for (GLsizei i = 0; i < drawCount; ++i) {
            calls.push_back(DrawHooks::arrays(mode, first[i], count[i]));
        }
        return DrawHooks::allows(calls);
    }
};
ZELCHECK_DRAW(glMultiDrawElements,
              (GLenum mode, const GLsizei *count, GLenum type, const void *const *indices, GLsizei drawCount),
              allowsMany(mode, count, type, indices, drawCount, nullptr))
ZELCHECK_DRAW(glMultiDrawElementsBaseVertex,
              (GLenum mode, const GLsizei *count, GLenum type, const void *const *indices, GLsizei drawCount,
               const GLint *baseVertices),
              allowsMany(mode, count, type, indices, drawCount, baseVertices))

// 3. Draws whose numbers are in a buffer.

ZELCHECK_DRAW(glDrawArraysIndirect, (GLenum mode, const void *offset),
              allows(DrawCommands{mode, kNoIndices, offset, 1, 0}))
ZELCHECK_DRAW(glDrawElementsIndirect, (GLenum mode, GLenum type, const void *offset),
              allows(DrawCommands{mode, type, offset, 1, 0}))
ZELCHECK_DRAW(glMultiDrawArraysIndirect, (GLenum mode, const void *offset, GLsizei count, GLsizei stride),
              allows(DrawCommands{mode, kNoIndices, offset, count, stride}))
ZELCHECK_DRAW(glMultiDrawElementsIndirect,
              (GLenum mode, GLenum type, const void *offset, GLsizei count, GLsizei stride),
              allows(DrawCommands{mode, type, offset, count, stride}))

// Those that read their count from a buffer may use fewer commands than the buffer of commands must have.
#define ZELCHECK_COUNTED(suffix)                                                                             \
    ZELCHECK_DRAW(Outside::glMultiDrawArraysIndirectCount##suffix,                                           \
                  (GLenum mode, const void *offset, GLintptr, GLsizei, GLsizei),                             \
                  allows(DrawCommands{mode, kNoIndices, offset, 0, 0}))                                      \
    ZELCHECK_DRAW(Outside::glMultiDrawElementsIndirectCount##suffix,                                         \
                  (GLenum mode, GLenum type, const void *offset, GLintptr, GLsizei, GLsizei),                \
                  allows(DrawCommands{mode, type, offset, 0, 0}))
ZELCHECK_COUNTED()
ZELCHECK_COUNTED(ARB)
#undef ZELCHECK_COUNTED

ZELCHECK_DRAW(Outside::glDrawTransformFeedback, (GLenum mode, GLuint), allowsState(mode))
ZELCHECK_DRAW(Outside::glDrawTransformFeedbackInstanced, (GLenum mode, GLuint, GLsizei), allowsState(mode))
ZELCHECK_DRAW(Outside::glDrawTransformFeedbackStream, (GLenum mode, GLuint, GLuint), allowsState(mode))
ZELCHECK_DRAW(Outside::glDrawTransformFeedbackStreamInstanced, (GLenum mode, GLuint, GLuint, GLsizei),
              allowsState(mode))

#undef ZELCHECK_DRAW

}} // namespace Orvane::ZelCheck
