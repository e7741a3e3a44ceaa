#include "ProgramQueries.h"

#include "ProgramFunctions.h"

#include <algorithm>
#include <cstring>

namespace Orvane { namespace Zel {

namespace {

constexpr int kBlockNameBytes = 1024;

} // namespace

GLint programParameter(GLuint program, GLenum parameter)
{
    GLint value = 0;
    glGetProgramiv(program, parameter, &value);
    return value;
}

QByteArray nameBuffer(GLint longest, int usual)
{
    return QByteArray(std::max(longest, usual), '\0');
}

bool isBuiltInAttribute(const char *name)
{
    return std::strncmp(name, "gl_", 3) == 0;
}

bool isAllowedBuiltIn(const char *name)
{
    // Fourteen characters are required: they accept the name without its suffix too.
    return std::strncmp(name, "gl_BaseInstanceARB", 14) == 0 || std::strcmp(name, "gl_InstanceID") == 0
           || std::strcmp(name, "gl_VertexID") == 0;
}

QStringList uniformBlockNames(GLuint program)
{
    const GLint count = programParameter(program, GL_ACTIVE_UNIFORM_BLOCKS);
    QByteArray name =
        nameBuffer(programParameter(program, GL_ACTIVE_UNIFORM_BLOCK_MAX_NAME_LENGTH), kBlockNameBytes);
    QStringList names;
    for (GLuint i = 0; i < static_cast<GLuint>(count); ++i) {
        glGetActiveUniformBlockName(program, i, name.size(), nullptr, name.data());
        names.append(QString::fromLatin1(name.constData()));
    }
    return names;
}

QStringList storageBlockNames(GLuint program)
{
    if (getProgramInterfaceivFunction == nullptr || getProgramResourceNameFunction == nullptr
        || getProgramResourceIndexFunction == nullptr) {
        return {};
    }
    GLint count = 0;
    GLint longest = 0;
    getProgramInterfaceivFunction(program, GL_SHADER_STORAGE_BLOCK, GL_ACTIVE_RESOURCES, &count);
    getProgramInterfaceivFunction(program, GL_SHADER_STORAGE_BLOCK, GL_MAX_NAME_LENGTH, &longest);
    QByteArray name = nameBuffer(longest, kBlockNameBytes);
    QStringList names;
    for (GLuint i = 0; i < static_cast<GLuint>(count); ++i) {
        getProgramResourceNameFunction(program, GL_SHADER_STORAGE_BLOCK, i, name.size(), nullptr,
                                       name.data());
        names.append(QString::fromLatin1(name.constData()));
    }
    return names;
}

}} // namespace Orvane::Zel
