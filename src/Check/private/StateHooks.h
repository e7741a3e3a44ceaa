#pragma once

#include "Hooks.h"

namespace Orvane { namespace ZelCheck {

struct SetsUniform
{
    template <typename... Rest> static bool of(GLenum error, GLint location, Rest...)
    {
        const GLuint program = currentProgram(); // 0: the call is for the active program of a pipeline
        if (location >= 0 && error == GL_NO_ERROR && program != 0) {
            draws().changes += draws().programs.of(program).setUniform(location) ? 1 : 0;
        }
        return false;
    }
};

#define ZELCHECK_UNIFORM(name)                                                                               \
    template <> struct After<&name> : SetsUniform                                                            \
    {                                                                                                        \
    };
#define ZELCHECK_UNIFORMS(suffix)                                                                            \
    ZELCHECK_UNIFORM(glUniform1##suffix)                                                                     \
    ZELCHECK_UNIFORM(glUniform2##suffix)                                                                     \
    ZELCHECK_UNIFORM(glUniform3##suffix)                                                                     \
    ZELCHECK_UNIFORM(glUniform4##suffix)
ZELCHECK_UNIFORMS(f)
ZELCHECK_UNIFORMS(i)
ZELCHECK_UNIFORMS(ui)
ZELCHECK_UNIFORMS(fv)
ZELCHECK_UNIFORMS(iv)
ZELCHECK_UNIFORMS(uiv)
ZELCHECK_UNIFORM(glUniformMatrix2fv)
ZELCHECK_UNIFORM(glUniformMatrix3fv)
ZELCHECK_UNIFORM(glUniformMatrix4fv)
ZELCHECK_UNIFORM(glUniformMatrix2x3fv)
ZELCHECK_UNIFORM(glUniformMatrix3x2fv)
ZELCHECK_UNIFORM(glUniformMatrix2x4fv)
ZELCHECK_UNIFORM(glUniformMatrix4x2fv)
ZELCHECK_UNIFORM(glUniformMatrix3x4fv)
ZELCHECK_UNIFORM(glUniformMatrix4x3fv)
ZELCHECK_UNIFORM(Outside::glUniformHandleui64vARB)
#undef ZELCHECK_UNIFORMS
#undef ZELCHECK_UNIFORM

struct ChangesTexture
{
    template <typename... Arguments> static bool of(GLenum, Arguments...)
    {
        draws().textures.forget();
        return false;
    }
};

#define ZELCHECK_TEXTURE(name)                                                                               \
    template <> struct After<&name> : ChangesTexture                                                         \
    {                                                                                                        \
    };
ZELCHECK_TEXTURE(glTexImage1D)
ZELCHECK_TEXTURE(glTexImage2D)
ZELCHECK_TEXTURE(glTexImage3D)
ZELCHECK_TEXTURE(glTexImage2DMultisample)
ZELCHECK_TEXTURE(glTexImage3DMultisample)
ZELCHECK_TEXTURE(glCompressedTexImage1D)
ZELCHECK_TEXTURE(glCompressedTexImage2D)
ZELCHECK_TEXTURE(glCompressedTexImage3D)
ZELCHECK_TEXTURE(glCopyTexImage1D)
ZELCHECK_TEXTURE(glCopyTexImage2D)
ZELCHECK_TEXTURE(glTexParameterf)
ZELCHECK_TEXTURE(glTexParameterfv)
ZELCHECK_TEXTURE(glTexParameteri)
ZELCHECK_TEXTURE(glTexParameteriv)
ZELCHECK_TEXTURE(glTexBuffer)
ZELCHECK_TEXTURE(glDeleteTextures)
#undef ZELCHECK_TEXTURE

template <> struct After<&glBeginQuery>
{
    static bool of(GLenum error, GLenum target, GLuint)
    {
        if (error == GL_NO_ERROR) {
            draws().open.begin(target);
        }
        return false;
    }
};
template <> struct After<&glEndQuery>
{
    static bool of(GLenum, GLenum target)
    {
        draws().open.end(target);
        return false;
    }
};
template <> struct After<&glBeginTransformFeedback>
{
    static bool of(GLenum error, GLenum)
    {
        if (error == GL_NO_ERROR) {
            draws().open.begin(OpenScopes::kFeedback);
        }
        return false;
    }
};
template <> struct After<&glEndTransformFeedback>
{
    static bool of(GLenum)
    {
        draws().open.end(OpenScopes::kFeedback);
        return false;
    }
};

}} // namespace Orvane::ZelCheck
