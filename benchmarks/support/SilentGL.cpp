#include "SilentGL.h"

#include <ZelGL/GLLoader.h>
#include <ZelGL/ShaderProgram.h>

#include <cstring>
#include <string>

namespace {

constexpr int kAttributeCount = 3;
constexpr int kBlockCount = 8;
const char *const kAttributeNames[kAttributeCount] = {"va_Vertex", "va_Normal", "va_TexCoord"};

template <auto Slot> struct Silent;

template <typename Result, typename... Arguments, Result (**Slot)(Arguments...)> struct Silent<Slot>
{
    static Result call(Arguments...) { return Result(); }
};

template <auto... Slots> void silence()
{
    ((*Slots = &Silent<Slots>::call), ...);
}

void generateNames(GLsizei count, GLuint *names)
{
    static GLuint last = 0;
    for (GLsizei i = 0; i < count; ++i) {
        names[i] = ++last;
    }
}

void getInteger(GLenum name, GLint *value)
{
    switch (name) {
    case GL_MAJOR_VERSION:
    case GL_MINOR_VERSION:
        *value = 3;
        break;
    case GL_MAX_VERTEX_ATTRIBS:
        *value = 16;
        break;
    case GL_MAX_SAMPLES:
        *value = 8;
        break;
    case GL_MAX_TEXTURE_IMAGE_UNITS:
        *value = 32;
        break;
    case GL_MAX_TEXTURE_SIZE:
    case GL_MAX_3D_TEXTURE_SIZE:
        *value = 16384;
        break;
    case GL_MAX_ARRAY_TEXTURE_LAYERS:
        *value = 1 << 20;
        break;
    case GL_NUM_EXTENSIONS:
        *value = 1;
        break;
    case GL_MAX_UNIFORM_BUFFER_BINDINGS:
        *value = 84;
        break;
    default:
        *value = 0;
        break;
    }
}

void getProgram(GLuint, GLenum name, GLint *value)
{
    switch (name) {
    case GL_LINK_STATUS:
        *value = 1;
        break;
    case GL_ACTIVE_ATTRIBUTES:
        *value = kAttributeCount;
        break;
    case GL_ACTIVE_UNIFORM_BLOCKS:
        *value = kBlockCount;
        break;
    default:
        *value = 0;
        break;
    }
}

void getTextureLevel(GLenum, GLint, GLenum name, GLint *value)
{
    switch (name) {
    case GL_TEXTURE_WIDTH:
    case GL_TEXTURE_HEIGHT:
        *value = 4;
        break;
    case GL_TEXTURE_INTERNAL_FORMAT:
        *value = GL_RGBA8;
        break;
    default:
        *value = 1;
        break;
    }
}

void getName(const std::string &text, GLsizei size, GLsizei *length, GLchar *name)
{
    std::strncpy(name, text.c_str(), size_t(size));
    if (length != nullptr) {
        *length = GLsizei(text.size());
    }
}

// The lookup of GLX by name; other entry points are missing.
void (*getFunction(const char *name))()
{
    if (std::strcmp(name, "glBindBuffersBase") == 0) {
        return reinterpret_cast<void (*)()>(silentBindBuffersBase);
    }
    if (std::strcmp(name, "glDrawElementsInstancedBaseVertexBaseInstance") == 0) {
        return reinterpret_cast<void (*)()>(silentDrawElementsInstancedBaseVertexBaseInstance);
    }
    if (std::strcmp(name, "glDrawArraysInstancedBaseInstance") == 0) {
        return [] {};
    }
    if (std::strcmp(name, "glGetTextureHandleARB") == 0) {
        return reinterpret_cast<void (*)()>(silentGetTextureHandle);
    }
    if (std::strcmp(name, "glIsTextureHandleResidentARB") == 0) {
        return reinterpret_cast<void (*)()>(silentIsTextureHandleResident);
    }
    return nullptr;
}

} // namespace

MultiBindFunction silentBindBuffersBase = [](unsigned int, unsigned int, int, const unsigned int *) {};
BaseInstanceFunction silentDrawElementsInstancedBaseVertexBaseInstance =
    [](unsigned int, int, unsigned int, const void *, int, int, unsigned int) {};

GetTextureHandleFunction silentGetTextureHandle = [](unsigned int texture) { return std::uint64_t(texture); };
IsTextureHandleResidentFunction silentIsTextureHandleResident = [](std::uint64_t) -> unsigned char {
    return 1;
};

extern "C" {

__attribute__((visibility("default"))) void (*glXGetProcAddress(const unsigned char *name))()
{
    return getFunction(reinterpret_cast<const char *>(name));
}

__attribute__((visibility("default"))) void (*glXGetProcAddressARB(const unsigned char *name))()
{
    return getFunction(reinterpret_cast<const char *>(name));
}

__attribute__((visibility("default"))) void *glXGetCurrentContext()
{
    static int context;
    return &context;
}
}

void installSilentGL()
{
    silence<&glActiveTexture, &glAttachShader, &glBindBuffer, &glBindBufferBase, &glBindBufferRange,
            &glBindFragDataLocation, &glBindFramebuffer, &glBindTexture, &glBindVertexArray,
            &glBlitFramebuffer, &glBufferData, &glCompileShader, &glDeleteBuffers, &glDeleteFramebuffers,
            &glDeleteProgram, &glDeleteShader, &glDeleteTextures, &glDeleteVertexArrays, &glDisable,
            &glDisableVertexAttribArray, &glDrawArrays, &glDrawBuffer, &glDrawElements,
            &glDrawElementsBaseVertex, &glEnableVertexAttribArray, &glFlush, &glFramebufferTexture,
            &glFramebufferTextureLayer, &glGetProgramInfoLog, &glGetShaderInfoLog, &glIsEnabled,
            &glLinkProgram, &glReadBuffer, &glShaderSource, &glTexImage1D, &glTexImage2D, &glTexImage3D,
            &glTexParameterf, &glTexParameteri, &glUniform1f, &glUniform1fv, &glUniform1i, &glUniform1iv,
            &glUniform4iv, &glUniform1ui, &glUniform4f, &glUniform4fv, &glUniformBlockBinding,
            &glUniformMatrix4fv, &glUseProgram, &glVertexAttribPointer>();
    glGenBuffers = &generateNames;
    glGenFramebuffers = &generateNames;
    glGenTextures = &generateNames;
    glGenVertexArrays = &generateNames;
    glGetIntegerv = &getInteger;
    glGetStringi = [](GLenum, GLuint) {
        return reinterpret_cast<const GLubyte *>("GL_ARB_bindless_texture");
    };
    glGetTexLevelParameteriv = &getTextureLevel;
    glGetTexParameteriv = [](GLenum, GLenum, GLint *value) { *value = 0; };
    glGetTexParameterfv = [](GLenum, GLenum, GLfloat *value) { *value = 0; };
    glCreateShader = [](GLenum) { return GLuint(1); };
    glCreateProgram = [] { return GLuint(1); };
    glGetShaderiv = [](GLuint, GLenum name, GLint *value) { *value = name == GL_COMPILE_STATUS ? 1 : 0; };
    glGetProgramiv = &getProgram;
    glGetActiveAttrib = [](GLuint, GLuint index, GLsizei size, GLsizei *length, GLint *count, GLenum *type,
                           GLchar *name) {
        *count = 1;
        *type = GL_FLOAT_VEC3;
        getName(kAttributeNames[index], size, length, name);
    };
    glGetAttribLocation = [](GLuint, const GLchar *name) {
        for (int i = 0; i < kAttributeCount; ++i) {
            if (std::strcmp(kAttributeNames[i], name) == 0) {
                return i;
            }
        }
        return -1;
    };
    glGetUniformLocation = [](GLuint, const GLchar *) { return 0; };
    glGetActiveUniformBlockName = [](GLuint, GLuint index, GLsizei size, GLsizei *length, GLchar *name) {
        getName("Block" + std::to_string(index), size, length, name);
    };
}

std::unique_ptr<Orvane::Zel::ShaderProgram> makeSilentProgram()
{
    auto program = std::make_unique<Orvane::Zel::ShaderProgram>(nullptr);
    program->addShader(GL_VERTEX_SHADER, "#version 150\n", QString());
    return program->link() ? std::move(program) : nullptr;
}
