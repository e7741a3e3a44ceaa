#pragma once

#include "Hooks.h"
#include "Repeats.h"

namespace Orvane { namespace ZelCheck {

/// Whether a call sets what is set already. Calls without a specialisation are not counted.
template <auto Slot> struct Repeated
{
    static constexpr bool isKnown = false;
};

struct RepeatedState
{
    static constexpr bool isKnown = true;
};

#define ZELCHECK_REPEATED(slot, parameters, ...)                                                             \
    template <> struct Repeated<&slot> : RepeatedState                                                       \
    {                                                                                                        \
        static Repeat of parameters { return __VA_ARGS__; }                                                  \
    };

// 1. Binds.

ZELCHECK_REPEATED(glUseProgram, (GLuint program), usesProgram(program))
ZELCHECK_REPEATED(glBindVertexArray, (GLuint array), bindsVertexArray(array))
ZELCHECK_REPEATED(glBindBuffer, (GLenum target, GLuint buffer), bindsBuffer(target, buffer))
ZELCHECK_REPEATED(glBindTexture, (GLenum target, GLuint texture), bindsTexture(target, texture))
ZELCHECK_REPEATED(glBindFramebuffer, (GLenum target, GLuint framebuffer),
                  bindsFramebuffer(target, framebuffer))
ZELCHECK_REPEATED(glBindBufferBase, (GLenum target, GLuint index, GLuint buffer),
                  bindsRange(target, index, buffer, 0, 0))
ZELCHECK_REPEATED(glBindBufferRange,
                  (GLenum target, GLuint index, GLuint buffer, GLintptr start, GLsizeiptr size),
                  bindsRange(target, index, buffer, start, size))
ZELCHECK_REPEATED(glActiveTexture, (GLenum unit), activatesUnit(unit))

// 2. Switches and other state.

ZELCHECK_REPEATED(glEnable, (GLenum capability), enables(capability, true))
ZELCHECK_REPEATED(glDisable, (GLenum capability), enables(capability, false))
ZELCHECK_REPEATED(glEnableVertexAttribArray, (GLuint location), enablesArray(location, true))
ZELCHECK_REPEATED(glDisableVertexAttribArray, (GLuint location), enablesArray(location, false))
ZELCHECK_REPEATED(glDepthFunc, (GLenum function), setsIntegers({GL_DEPTH_FUNC}, {GLint(function)}))
ZELCHECK_REPEATED(glDepthMask, (GLboolean mask), setsIntegers({GL_DEPTH_WRITEMASK}, {mask}))
ZELCHECK_REPEATED(glColorMask, (GLboolean r, GLboolean g, GLboolean b, GLboolean a),
                  setsIntegers({GL_COLOR_WRITEMASK}, {r, g, b, a}))
ZELCHECK_REPEATED(glCullFace, (GLenum face), setsIntegers({GL_CULL_FACE_MODE}, {GLint(face)}))
ZELCHECK_REPEATED(glFrontFace, (GLenum mode), setsIntegers({GL_FRONT_FACE}, {GLint(mode)}))
ZELCHECK_REPEATED(glBlendFunc, (GLenum source, GLenum target),
                  setsIntegers({GL_BLEND_SRC_RGB, GL_BLEND_DST_RGB, GL_BLEND_SRC_ALPHA, GL_BLEND_DST_ALPHA},
                               {GLint(source), GLint(target), GLint(source), GLint(target)}))
ZELCHECK_REPEATED(glViewport, (GLint x, GLint y, GLsizei width, GLsizei height),
                  setsIntegers({GL_VIEWPORT}, {x, y, width, height}))
ZELCHECK_REPEATED(glScissor, (GLint x, GLint y, GLsizei width, GLsizei height),
                  setsIntegers({GL_SCISSOR_BOX}, {x, y, width, height}))
ZELCHECK_REPEATED(glPixelStorei, (GLenum name, GLint value), setsIntegers({name}, {value}))

// 3. Uniforms.

template <typename Value, typename... Values>
Repeat setsUniformTo(GLint location, Value first, Values... others)
{
    const Value values[] = {first, others...};
    return setsUniform(location, 1, 1 + int(sizeof...(others)), values);
}

#define ZELCHECK_UNIFORMS(suffix, Value)                                                                     \
    ZELCHECK_REPEATED(glUniform1##suffix, (GLint location, Value a), setsUniformTo(location, a))             \
    ZELCHECK_REPEATED(glUniform2##suffix, (GLint location, Value a, Value b), setsUniformTo(location, a, b)) \
    ZELCHECK_REPEATED(glUniform3##suffix, (GLint location, Value a, Value b, Value c),                       \
                      setsUniformTo(location, a, b, c))                                                      \
    ZELCHECK_REPEATED(glUniform4##suffix, (GLint location, Value a, Value b, Value c, Value d),              \
                      setsUniformTo(location, a, b, c, d))                                                   \
    ZELCHECK_VECTORS(suffix, Value, 1)                                                                       \
    ZELCHECK_VECTORS(suffix, Value, 2)                                                                       \
    ZELCHECK_VECTORS(suffix, Value, 3)                                                                       \
    ZELCHECK_VECTORS(suffix, Value, 4)
#define ZELCHECK_VECTORS(suffix, Value, n)                                                                   \
    ZELCHECK_REPEATED(glUniform##n##suffix##v, (GLint location, GLsizei count, const Value *values),         \
                      setsUniform(location, count, n, values))
#define ZELCHECK_MATRIX(slot, components)                                                                    \
    ZELCHECK_REPEATED(slot, (GLint location, GLsizei count, GLboolean isTransposed, const GLfloat *values),  \
                      isTransposed ? Repeat{false, QString()}                                                \
                                   : setsUniform(location, count, components, values))
ZELCHECK_UNIFORMS(f, GLfloat)
ZELCHECK_UNIFORMS(i, GLint)
ZELCHECK_UNIFORMS(ui, GLuint)
ZELCHECK_MATRIX(glUniformMatrix2fv, 4)
ZELCHECK_MATRIX(glUniformMatrix3fv, 9)
ZELCHECK_MATRIX(glUniformMatrix4fv, 16)
#undef ZELCHECK_MATRIX
#undef ZELCHECK_VECTORS
#undef ZELCHECK_UNIFORMS
#undef ZELCHECK_REPEATED

}} // namespace Orvane::ZelCheck
