#include "ProgramFacts.h"

#include "Driver.h"

#include <QtGui/QOpenGLContext>

#include <QtCore/QRegularExpression>
#include <QtCore/QString>

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace Orvane { namespace ZelCheck {

namespace {

struct SamplerType
{
    GLenum type;
    GLenum target;
    ProgramFacts::Kind kind;
};

constexpr auto eFloat = ProgramFacts::eFloat;
constexpr auto eInteger = ProgramFacts::eInteger;

constexpr SamplerType kSamplerTypes[] = {
    {GL_SAMPLER_1D, GL_TEXTURE_1D, eFloat},
    {GL_SAMPLER_2D, GL_TEXTURE_2D, eFloat},
    {GL_SAMPLER_3D, GL_TEXTURE_3D, eFloat},
    {GL_SAMPLER_CUBE, GL_TEXTURE_CUBE_MAP, eFloat},
    {GL_SAMPLER_1D_SHADOW, GL_TEXTURE_1D, eFloat},
    {GL_SAMPLER_2D_SHADOW, GL_TEXTURE_2D, eFloat},
    {GL_SAMPLER_1D_ARRAY, GL_TEXTURE_1D_ARRAY, eFloat},
    {GL_SAMPLER_2D_ARRAY, GL_TEXTURE_2D_ARRAY, eFloat},
    {GL_SAMPLER_1D_ARRAY_SHADOW, GL_TEXTURE_1D_ARRAY, eFloat},
    {GL_SAMPLER_2D_ARRAY_SHADOW, GL_TEXTURE_2D_ARRAY, eFloat},
    {GL_SAMPLER_2D_MULTISAMPLE, GL_TEXTURE_2D_MULTISAMPLE, eFloat},
    {GL_SAMPLER_2D_MULTISAMPLE_ARRAY, GL_TEXTURE_2D_MULTISAMPLE_ARRAY, eFloat},
    {GL_SAMPLER_CUBE_SHADOW, GL_TEXTURE_CUBE_MAP, eFloat},
    {GL_SAMPLER_CUBE_MAP_ARRAY, GL_TEXTURE_CUBE_MAP_ARRAY, eFloat},
    {GL_SAMPLER_CUBE_MAP_ARRAY_SHADOW, GL_TEXTURE_CUBE_MAP_ARRAY, eFloat},
    {GL_SAMPLER_BUFFER, GL_TEXTURE_BUFFER, eFloat},
    {GL_SAMPLER_2D_RECT, GL_TEXTURE_RECTANGLE, eFloat},
    {GL_SAMPLER_2D_RECT_SHADOW, GL_TEXTURE_RECTANGLE, eFloat},
    {GL_INT_SAMPLER_1D, GL_TEXTURE_1D, eInteger},
    {GL_INT_SAMPLER_2D, GL_TEXTURE_2D, eInteger},
    {GL_INT_SAMPLER_3D, GL_TEXTURE_3D, eInteger},
    {GL_INT_SAMPLER_CUBE, GL_TEXTURE_CUBE_MAP, eInteger},
    {GL_INT_SAMPLER_1D_ARRAY, GL_TEXTURE_1D_ARRAY, eInteger},
    {GL_INT_SAMPLER_2D_ARRAY, GL_TEXTURE_2D_ARRAY, eInteger},
    {GL_INT_SAMPLER_2D_MULTISAMPLE, GL_TEXTURE_2D_MULTISAMPLE, eInteger},
    {GL_INT_SAMPLER_2D_MULTISAMPLE_ARRAY, GL_TEXTURE_2D_MULTISAMPLE_ARRAY, eInteger},
    {GL_INT_SAMPLER_CUBE_MAP_ARRAY, GL_TEXTURE_CUBE_MAP_ARRAY, eInteger},
    {GL_INT_SAMPLER_BUFFER, GL_TEXTURE_BUFFER, eInteger},
    {GL_INT_SAMPLER_2D_RECT, GL_TEXTURE_RECTANGLE, eInteger},
    {GL_UNSIGNED_INT_SAMPLER_1D, GL_TEXTURE_1D, eInteger},
    {GL_UNSIGNED_INT_SAMPLER_2D, GL_TEXTURE_2D, eInteger},
    {GL_UNSIGNED_INT_SAMPLER_3D, GL_TEXTURE_3D, eInteger},
    {GL_UNSIGNED_INT_SAMPLER_CUBE, GL_TEXTURE_CUBE_MAP, eInteger},
    {GL_UNSIGNED_INT_SAMPLER_1D_ARRAY, GL_TEXTURE_1D_ARRAY, eInteger},
    {GL_UNSIGNED_INT_SAMPLER_2D_ARRAY, GL_TEXTURE_2D_ARRAY, eInteger},
    {GL_UNSIGNED_INT_SAMPLER_2D_MULTISAMPLE, GL_TEXTURE_2D_MULTISAMPLE, eInteger},
    {GL_UNSIGNED_INT_SAMPLER_2D_MULTISAMPLE_ARRAY, GL_TEXTURE_2D_MULTISAMPLE_ARRAY, eInteger},
    {GL_UNSIGNED_INT_SAMPLER_CUBE_MAP_ARRAY, GL_TEXTURE_CUBE_MAP_ARRAY, eInteger},
    {GL_UNSIGNED_INT_SAMPLER_BUFFER, GL_TEXTURE_BUFFER, eInteger},
    {GL_UNSIGNED_INT_SAMPLER_2D_RECT, GL_TEXTURE_RECTANGLE, eInteger},
};

const SamplerType *samplerType(GLenum type)
{
    const auto found = std::find_if(std::begin(kSamplerTypes), std::end(kSamplerTypes),
                                    [type](const SamplerType &row) { return row.type == type; });
    return found != std::end(kSamplerTypes) ? found : nullptr;
}

bool isImage(GLenum type)
{
    return type >= GL_IMAGE_1D && type <= GL_UNSIGNED_INT_IMAGE_2D_MULTISAMPLE_ARRAY;
}

ProgramFacts::Kind kindOfValues(GLenum type)
{
    switch (type) {
    case GL_INT:
    case GL_INT_VEC2:
    case GL_INT_VEC3:
    case GL_INT_VEC4:
    case GL_UNSIGNED_INT:
    case GL_UNSIGNED_INT_VEC2:
    case GL_UNSIGNED_INT_VEC3:
    case GL_UNSIGNED_INT_VEC4:
        return ProgramFacts::eInteger;
    case GL_FLOAT:
    case GL_FLOAT_VEC2:
    case GL_FLOAT_VEC3:
    case GL_FLOAT_VEC4:
    case GL_FLOAT_MAT2:
    case GL_FLOAT_MAT2x3:
    case GL_FLOAT_MAT2x4:
    case GL_FLOAT_MAT3:
    case GL_FLOAT_MAT3x2:
    case GL_FLOAT_MAT3x4:
    case GL_FLOAT_MAT4:
    case GL_FLOAT_MAT4x2:
    case GL_FLOAT_MAT4x3:
        return ProgramFacts::eFloat;
    default:
        return ProgramFacts::eDouble;
    }
}

GLuint columnsOf(GLenum type)
{
    switch (type) {
    case GL_FLOAT_MAT2:
    case GL_FLOAT_MAT2x3:
    case GL_FLOAT_MAT2x4:
        return 2;
    case GL_FLOAT_MAT3:
    case GL_FLOAT_MAT3x2:
    case GL_FLOAT_MAT3x4:
        return 3;
    case GL_FLOAT_MAT4:
    case GL_FLOAT_MAT4x2:
    case GL_FLOAT_MAT4x3:
        return 4;
    default:
        return 1;
    }
}

GLint parameter(GLuint program, GLenum name)
{
    GLint value = 0;
    driver.glGetProgramiv(program, name, &value);
    return value;
}

/// The text of all shaders that are still attached.
QString sourceOf(GLuint program)
{
    std::vector<GLuint> shaders(size_t(parameter(program, GL_ATTACHED_SHADERS)));
    driver.glGetAttachedShaders(program, GLsizei(shaders.size()), nullptr, shaders.data());
    QString text;
    for (const GLuint shader : shaders) {
        GLint length = 0;
        driver.glGetShaderiv(shader, GL_SHADER_SOURCE_LENGTH, &length);
        QByteArray source(qMax(length, 1), '\0');
        driver.glGetShaderSource(shader, source.size(), nullptr, source.data());
        text += QString::fromUtf8(source.constData());
    }
    return text;
}

/// Uniforms that the library sets itself, by entry points that the table does not contain or only where they differ from zero.
bool isOfLibrary(const QByteArray &name)
{
    return name == "u_DrawID" || name.startsWith("u_TextureTokenManagedTextureSlotMap")
           || name.startsWith("u_ManagedTexture");
}

void readAttributes(GLuint program, ProgramFacts &facts)
{
    QByteArray name(qMax(parameter(program, GL_ACTIVE_ATTRIBUTE_MAX_LENGTH), 1), '\0');
    for (GLint i = 0; i < parameter(program, GL_ACTIVE_ATTRIBUTES); ++i) {
        GLint size = 0;
        GLenum type = 0;
        driver.glGetActiveAttrib(program, GLuint(i), name.size(), nullptr, &size, &type, name.data());
        const GLint location = driver.glGetAttribLocation(program, name.constData());
        if (location >= 0) { // built-in inputs have none
            facts.attributes.push_back(
                {name.constData(), GLuint(location), GLuint(size) * columnsOf(type), kindOfValues(type)});
        }
    }
}

void readUniforms(GLuint program, ProgramFacts &facts)
{
    const QString source = sourceOf(program);
    const bool mayHaveHandles = source.contains(QLatin1String("bindless_sampler"));
    QByteArray buffer(qMax(parameter(program, GL_ACTIVE_UNIFORM_MAX_LENGTH), 1), '\0');
    for (GLint i = 0; i < parameter(program, GL_ACTIVE_UNIFORMS); ++i) {
        GLint size = 0;
        GLenum type = 0;
        driver.glGetActiveUniform(program, GLuint(i), buffer.size(), nullptr, &size, &type, buffer.data());
        const QByteArray name = buffer.constData();
        const GLint location = driver.glGetUniformLocation(program, name.constData());
        facts.hasSideEffects |= isImage(type) || type == GL_UNSIGNED_INT_ATOMIC_COUNTER;
        if (location < 0 || isImage(type)) {
            continue; // a member of a block, or a built-in
        }
        if (const SamplerType *sampler = samplerType(type)) {
            // The value of a sampler of a bindless texture is no unit.
            if (!mayHaveHandles) {
                facts.samplers.push_back({name, location, size, sampler->target, sampler->kind, false});
            }
            continue;
        }
        const QString plain = QString::fromLatin1(name).section('[', 0, 0).section('.', -1);
        const QRegularExpression initializer(QStringLiteral("\\buniform\\b[^;]*\\b%1\\b[^;,]*=").arg(plain));
        facts.uniforms.push_back({name, location, size,
                                  isOfLibrary(name) || initializer.match(source).hasMatch(),
                                  source.contains(QStringLiteral("return %1[Index]").arg(plain))});
    }
}

/// The bytes that a uniform block needs at least. Of an array at its end a host may provide only the items that it uses, as
/// InstanceDataCollection does: the first item counts.
GLint neededSize(GLuint program, GLuint block)
{
    const auto ofBlock = [&](GLenum name, GLint *values) {
        driver.glGetActiveUniformBlockiv(program, block, name, values);
    };
    GLint size = 0;
    GLint count = 0;
    ofBlock(GL_UNIFORM_BLOCK_DATA_SIZE, &size);
    ofBlock(GL_UNIFORM_BLOCK_ACTIVE_UNIFORMS, &count);
    std::vector<GLint> members(size_t(qMax(count, 0)));
    ofBlock(GL_UNIFORM_BLOCK_ACTIVE_UNIFORM_INDICES, members.data());
    GLint lastOffset = 0;
    bool hasArray = false;
    for (const GLint member : members) {
        const GLuint index = GLuint(member);
        GLint offset = 0;
        GLint length = 0;
        GLchar name[256] = {};
        driver.glGetActiveUniformsiv(program, 1, &index, GL_UNIFORM_OFFSET, &offset);
        driver.glGetActiveUniformsiv(program, 1, &index, GL_UNIFORM_SIZE, &length);
        driver.glGetActiveUniformName(program, index, sizeof name, nullptr, name);
        const char *bracket = std::strchr(name, '[');
        const bool isLater = bracket != nullptr && std::atoi(bracket + 1) > 0;
        hasArray = hasArray || isLater || length > 1;
        lastOffset = isLater ? lastOffset : std::max(lastOffset, offset);
    }
    return hasArray ? lastOffset + GLint(sizeof(GLfloat)) : size;
}

void readUniformBlocks(GLuint program, ProgramFacts &facts)
{
    QByteArray name(qMax(parameter(program, GL_ACTIVE_UNIFORM_BLOCK_MAX_NAME_LENGTH), 1), '\0');
    for (GLint i = 0; i < parameter(program, GL_ACTIVE_UNIFORM_BLOCKS); ++i) {
        driver.glGetActiveUniformBlockName(program, GLuint(i), name.size(), nullptr, name.data());
        facts.uniformBlocks.push_back({name.constData(), GLuint(i), neededSize(program, GLuint(i))});
    }
}

void readStorageBlocks(GLuint program, ProgramFacts &facts)
{
    const NewerFunctions &gl = newerFunctions();
    if (!gl.hasStorageBlocks) {
        return;
    }
    GLint count = 0;
    gl.getProgramInterfaceiv(program, GL_SHADER_STORAGE_BLOCK, GL_ACTIVE_RESOURCES, &count);
    for (GLint i = 0; i < count; ++i) {
        const GLenum property = GL_BUFFER_DATA_SIZE;
        GLint size = 0;
        gl.getProgramResourceiv(program, GL_SHADER_STORAGE_BLOCK, GLuint(i), 1, &property, 1, nullptr, &size);
        QByteArray name(256, '\0');
        gl.getProgramResourceName(program, GL_SHADER_STORAGE_BLOCK, GLuint(i), name.size(), nullptr,
                                  name.data());
        facts.storageBlocks.push_back({name.constData(), GLuint(i), size});
        facts.hasSideEffects = true;
    }
}

void readOutputs(GLuint program, ProgramFacts &facts)
{
    const NewerFunctions &gl = newerFunctions();
    if (!gl.hasInterfaceQueries) {
        return;
    }
    GLint count = 0;
    gl.getProgramInterfaceiv(program, GL_PROGRAM_OUTPUT, GL_ACTIVE_RESOURCES, &count);
    for (GLint i = 0; i < count; ++i) {
        const GLenum properties[] = {GL_LOCATION, GL_TYPE, GL_REFERENCED_BY_FRAGMENT_SHADER};
        GLint values[3] = {-1, 0, 0};
        gl.getProgramResourceiv(program, GL_PROGRAM_OUTPUT, GLuint(i), 3, properties, 3, nullptr, values);
        QByteArray name(256, '\0');
        gl.getProgramResourceName(program, GL_PROGRAM_OUTPUT, GLuint(i), name.size(), nullptr, name.data());
        const ProgramFacts::Kind kind = kindOfValues(GLenum(values[1]));
        if (values[0] >= 0 && values[2] != GL_FALSE && kind != ProgramFacts::eDouble) {
            facts.outputs.push_back({name.constData(), values[0], kind});
        }
    }
}

} // namespace

bool ProgramFacts::setUniform(GLint location)
{
    bool isSampler = false;
    for (Uniform &uniform : uniforms) {
        if (location >= uniform.location && location < uniform.location + uniform.size) {
            uniform.isSet = true;
        }
    }
    for (Sampler &sampler : samplers) {
        if (location >= sampler.location && location < sampler.location + sampler.size) {
            sampler.isSet = true;
            isSampler = true;
        }
    }
    return isSampler;
}

ProgramFacts::Uniform ProgramFacts::uniformAt(GLint location) const
{
    for (const Uniform &uniform : uniforms) {
        if (location >= uniform.location && location < uniform.location + uniform.size) {
            return uniform;
        }
    }
    for (const Sampler &sampler : samplers) {
        if (location >= sampler.location && location < sampler.location + sampler.size) {
            return {sampler.name, sampler.location, sampler.size, false, false};
        }
    }
    return {QByteArray(), -1, 0, false, false};
}

SharedName sharedName(GLuint name)
{
    const QOpenGLContext *context = QOpenGLContext::currentContext();
    return {context != nullptr ? context->shareGroup() : nullptr, name};
}

GLuint currentProgram()
{
    GLint program = 0;
    driver.glGetIntegerv(GL_CURRENT_PROGRAM, &program);
    return GLuint(program);
}

ProgramFacts &Programs::of(GLuint program)
{
    const auto [place, isNew] = _facts.try_emplace(sharedName(program));
    ProgramFacts &facts = place->second;
    if (isNew) {
        facts.isLinked = parameter(program, GL_LINK_STATUS) != GL_FALSE;
        if (facts.isLinked) {
            readAttributes(program, facts);
            readUniforms(program, facts);
            readUniformBlocks(program, facts);
            readStorageBlocks(program, facts);
            readOutputs(program, facts);
        }
    }
    return facts;
}

void Programs::linked(GLuint program)
{
    forget(program);
    of(program).isHistoryKnown = true;
}

const NewerFunctions &newerFunctions()
{
    static auto &byContext = *new std::map<const QOpenGLContext *, NewerFunctions>; // never destroyed
    QOpenGLContext *context = QOpenGLContext::currentContext();
    const auto [place, isNew] = byContext.try_emplace(context);
    NewerFunctions &gl = place->second;
    if (!isNew || context == nullptr) {
        return gl; // without Qt's context nothing is known of the driver
    }
    const auto find = [context](auto &function, const char *name) {
        function = reinterpret_cast<std::decay_t<decltype(function)>>(context->getProcAddress(name));
    };
    if (context->hasExtension("GL_ARB_program_interface_query")) {
        find(gl.getProgramInterfaceiv, "glGetProgramInterfaceiv");
        find(gl.getProgramResourceiv, "glGetProgramResourceiv");
        find(gl.getProgramResourceName, "glGetProgramResourceName");
        gl.hasInterfaceQueries = gl.getProgramInterfaceiv != nullptr && gl.getProgramResourceiv != nullptr
                                 && gl.getProgramResourceName != nullptr;
    }
    gl.hasStorageBlocks =
        gl.hasInterfaceQueries && context->hasExtension("GL_ARB_shader_storage_buffer_object");
    if (context->hasExtension("GL_ARB_sampler_objects")) {
        find(gl.getSamplerParameteriv, "glGetSamplerParameteriv");
    }
    if (context->hasExtension("GL_KHR_debug")) {
        find(gl.getObjectLabel, "glGetObjectLabel");
        find(gl.objectLabel, "glObjectLabel");
        find(gl.pushDebugGroup, "glPushDebugGroup");
        find(gl.popDebugGroup, "glPopDebugGroup");
    }
    gl.hasInstancedArrays = context->hasExtension("GL_ARB_instanced_arrays");
    gl.hasFixedRestart = context->hasExtension("GL_ARB_ES3_compatibility");
    gl.hasPipelines = context->hasExtension("GL_ARB_separate_shader_objects");
    gl.hasImmutableTextures = context->hasExtension("GL_ARB_texture_storage");
    return gl;
}

}} // namespace Orvane::ZelCheck
