#pragma once

#include "Hooks.h"
#include "Labels.h"
#include "Reports.h"

namespace Orvane { namespace ZelCheck {

// 1. Deletions.

template <auto Slot, Kind ObjectKind> struct Deletes
{
    static bool of(GLsizei count, const GLuint *names)
    {
        for (GLsizei i = 0; i < count; ++i) {
            objects().deletes(ObjectKind, names[i], kNameOf<Slot>);
        }
        return true;
    }
    static bool of(GLuint name) { return of(1, &name); }
};

#define ZELCHECK_DELETES(slot, kind)                                                                         \
    template <> struct Before<&slot> : Deletes<&slot, Kind::kind>                                            \
    {                                                                                                        \
    };
ZELCHECK_DELETES(glDeleteBuffers, eBuffer)
ZELCHECK_DELETES(glDeleteTextures, eTexture)
ZELCHECK_DELETES(glDeleteRenderbuffers, eRenderbuffer)
ZELCHECK_DELETES(glDeleteQueries, eQuery)
ZELCHECK_DELETES(glDeleteVertexArrays, eVertexArray)
ZELCHECK_DELETES(glDeleteFramebuffers, eFramebuffer)
ZELCHECK_DELETES(glDeleteProgram, eProgram)
ZELCHECK_DELETES(glDeleteShader, eShader)
#undef ZELCHECK_DELETES

// 2. Names.

template <Kind ObjectKind> struct Makes
{
    static bool of(GLenum, GLsizei count, const GLuint *names)
    {
        objects().made(ObjectKind, count, names);
        return false;
    }
};

#define ZELCHECK_MAKES(slot, kind)                                                                           \
    template <> struct After<&slot> : Makes<Kind::kind>                                                      \
    {                                                                                                        \
    };
ZELCHECK_MAKES(glGenBuffers, eBuffer)
ZELCHECK_MAKES(glGenTextures, eTexture)
ZELCHECK_MAKES(glGenRenderbuffers, eRenderbuffer)
ZELCHECK_MAKES(glGenQueries, eQuery)
ZELCHECK_MAKES(glGenVertexArrays, eVertexArray)
ZELCHECK_MAKES(glGenFramebuffers, eFramebuffer)
#undef ZELCHECK_MAKES

template <> struct Made<&glCreateProgram>
{
    static void of(GLuint program) { objects().made(Kind::eProgram, 1, &program); }
};
template <> struct Made<&glCreateShader>
{
    static void of(GLuint shader) { objects().made(Kind::eShader, 1, &shader); }
};

// 3. Binds. GL makes an object with the first one, and labels none before.

template <Kind ObjectKind> struct Binds
{
    static bool of(GLenum error, GLenum, GLuint name) { return of(error, name); }
    static bool of(GLenum error, GLenum, GLuint, GLuint name) { return of(error, name); }
    static bool of(GLenum error, GLenum, GLuint, GLuint name, GLintptr, GLsizeiptr)
    {
        return of(error, name);
    }
    static bool of(GLenum error, GLuint name)
    {
        if (error == GL_NO_ERROR) {
            Labels::name(ObjectKind, name);
        }
        return false;
    }
};

#define ZELCHECK_BINDS(slot, kind)                                                                           \
    template <> struct After<&slot> : Binds<Kind::kind>                                                      \
    {                                                                                                        \
    };
ZELCHECK_BINDS(glBindBuffer, eBuffer)
ZELCHECK_BINDS(glBindBufferBase, eBuffer)
ZELCHECK_BINDS(glBindBufferRange, eBuffer)
ZELCHECK_BINDS(glBindTexture, eTexture)
ZELCHECK_BINDS(glBindRenderbuffer, eRenderbuffer)
ZELCHECK_BINDS(glBindVertexArray, eVertexArray)
ZELCHECK_BINDS(glBindFramebuffer, eFramebuffer)
ZELCHECK_BINDS(glCompileShader, eShader)
#undef ZELCHECK_BINDS

// 4. Programs.

template <> struct After<&glLinkProgram>
{
    static bool of(GLenum error, GLuint program)
    {
        if (error == GL_NO_ERROR) {
            draws().programs.linked(program);
        }
        return false;
    }
};
template <> struct After<&Outside::glProgramBinary>
{
    static bool of(GLenum, GLuint program, GLenum, const void *, GLsizei)
    {
        draws().programs.forget(program);
        return false;
    }
};
template <> struct After<&glDeleteProgram>
{
    static bool of(GLenum, GLuint program)
    {
        draws().programs.forget(program);
        forgetReportsOf(program);
        return false;
    }
};
template <> struct After<&glUseProgram>
{
    static bool of(GLenum error, GLuint program)
    {
        // The other causes are the name of a shader, and active transform feedback.
        if (error != GL_INVALID_OPERATION || driver.glIsProgram(program) == GL_FALSE
            || draws().programs.of(program).isLinked) {
            return false;
        }
        report(Mistake::eProgramNotLinked, program, 0, [program] {
            return QStringLiteral(
                       "Program %1 cannot be used: it is not linked. Call link() and read the log when that "
                       "fails.")
                .arg(nameOf(Kind::eProgram, program));
        });
        return true;
    }
};

}} // namespace Orvane::ZelCheck
