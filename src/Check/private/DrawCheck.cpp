#include "DrawCheck.h"

#include "Driver.h"
#include "Labels.h"
#include "Reports.h"

#include <ZelGL/GLContextTracker.h>

#include <QtCore/QStringList>

#include <algorithm>
#include <limits>

namespace Orvane { namespace ZelCheck {

namespace {

GLint arrayInteger(GLuint location, GLenum name)
{
    GLint value = 0;
    driver.glGetVertexAttribiv(location, name, &value);
    return value;
}

/// Binds a buffer to a target that draws do not use, and restores that target.
class ReadBinding
{
public:
    explicit ReadBinding(GLuint buffer)
        : _before(GLuint(integer(GL_COPY_READ_BUFFER)))
    {
        driver.glBindBuffer(GL_COPY_READ_BUFFER, buffer);
    }
    ~ReadBinding() { driver.glBindBuffer(GL_COPY_READ_BUFFER, _before); }

    GLint64 size() const
    {
        GLint64 size = 0;
        driver.glGetBufferParameteri64v(GL_COPY_READ_BUFFER, GL_BUFFER_SIZE, &size);
        return size;
    }

private:
    Q_DISABLE_COPY(ReadBinding)

    GLuint _before;
};

QString quoted(const QByteArray &name)
{
    return QString::fromLatin1(name);
}

/// Whether glVertexAttrib*() has set the constant value that a disabled array is replaced by.
bool hasConstant(GLuint location, ProgramFacts::Kind kind)
{
    if (location == 0) {
        return false; // has no constant value in every profile
    }
    if (kind == ProgramFacts::eInteger) {
        GLint value[4] = {0, 0, 0, 1};
        driver.glGetVertexAttribIiv(location, GL_CURRENT_VERTEX_ATTRIB, value);
        return value[0] != 0 || value[1] != 0 || value[2] != 0 || value[3] != 1;
    }
    GLfloat value[4] = {0, 0, 0, 1};
    driver.glGetVertexAttribfv(location, GL_CURRENT_VERTEX_ATTRIB, value);
    return value[0] != 0 || value[1] != 0 || value[2] != 0 || value[3] != 1;
}

struct BlockTargets
{
    const char *word;
    GLenum buffer;
    GLenum start;
    GLenum size;
};

constexpr BlockTargets kUniformTargets = {"uniform", GL_UNIFORM_BUFFER_BINDING, GL_UNIFORM_BUFFER_START,
                                          GL_UNIFORM_BUFFER_SIZE};
constexpr BlockTargets kStorageTargets = {"storage", GL_SHADER_STORAGE_BUFFER_BINDING,
                                          GL_SHADER_STORAGE_BUFFER_START, GL_SHADER_STORAGE_BUFFER_SIZE};

void checkBlock(GLuint program, const ProgramFacts::Block &block, const BlockTargets &targets, GLuint binding)
{
    const quint64 place = block.index + (&targets == &kStorageTargets ? quint64(1) << 32 : 0);
    GLint buffer = 0;
    driver.glGetIntegeri_v(targets.buffer, binding, &buffer);
    if (buffer == 0) {
        report(Mistake::eBlockWithoutBuffer, program, place, [&] {
            return QStringLiteral(
                       "Program %1: the %2 block %3 reads binding %4, which has no buffer. Bind its buffer "
                       "or collection before the draw, or bind the block to the binding of its buffer.")
                .arg(nameOf(Kind::eProgram, program))
                .arg(QLatin1String(targets.word), quoted(block.name))
                .arg(binding);
        });
        return;
    }
    GLint64 start = 0;
    GLint64 size = 0;
    driver.glGetInteger64i_v(targets.start, binding, &start);
    driver.glGetInteger64i_v(targets.size, binding, &size);
    // Of glBindBufferBase() the size is 0: the whole buffer. One that has shrunk since may end before the range.
    const GLint64 available = std::max<GLint64>(ReadBinding(GLuint(buffer)).size() - start, 0);
    size = size == 0 ? available : std::min(size, available);
    if (size < block.size) {
        report(Mistake::eBlockBufferTooSmall, program, place, [&] {
            return QStringLiteral(
                       "Program %1: the %2 block %3 needs %4 bytes, but buffer %5 of binding %6 provides %7. "
                       "Upload the whole block, or declare a smaller one.")
                .arg(nameOf(Kind::eProgram, program))
                .arg(QLatin1String(targets.word), quoted(block.name))
                .arg(block.size)
                .arg(nameOf(Kind::eBuffer, GLuint(buffer)))
                .arg(binding)
                .arg(size);
        });
    }
}

void checkBlocks(GLuint program, const ProgramFacts &facts)
{
    for (const ProgramFacts::Block &block : facts.uniformBlocks) {
        GLint binding = 0;
        driver.glGetActiveUniformBlockiv(program, block.index, GL_UNIFORM_BLOCK_BINDING, &binding);
        checkBlock(program, block, kUniformTargets, GLuint(binding));
    }
    for (const ProgramFacts::Block &block : facts.storageBlocks) {
        const GLenum property = GL_BUFFER_BINDING;
        GLint binding = 0;
        newerFunctions().getProgramResourceiv(program, GL_SHADER_STORAGE_BLOCK, block.index, 1, &property, 1,
                                              nullptr, &binding);
        checkBlock(program, block, kStorageTargets, GLuint(binding));
    }
}

template <typename Index> GLint64 greatestOf(const std::vector<GLubyte> &bytes, GLint64 restart)
{
    GLint64 greatest = -1;
    const auto *indices = reinterpret_cast<const Index *>(bytes.data());
    for (size_t i = 0; i < bytes.size() / sizeof(Index); ++i) {
        if (GLint64(indices[i]) != restart) {
            greatest = std::max(greatest, GLint64(indices[i]));
        }
    }
    return greatest;
}

/// The index that ends a primitive; -1 if there is none.
GLint64 restartIndex(GLenum indexType)
{
    if (newerFunctions().hasFixedRestart
        && driver.glIsEnabled(GL_PRIMITIVE_RESTART_FIXED_INDEX) != GL_FALSE) {
        return (GLint64(1) << 8 * indexSize(indexType)) - 1;
    }
    return driver.glIsEnabled(GL_PRIMITIVE_RESTART) != GL_FALSE
               ? GLint64(GLuint(integer(GL_PRIMITIVE_RESTART_INDEX)))
               : -1;
}

/// The greatest index of a draw, read from the bound index buffer; -1 if there is none.
GLint64 greatestIndex(const DrawCall &call)
{
    const GLint64 restart = restartIndex(call.indexType);
    std::vector<GLubyte> bytes(size_t(call.count) * size_t(indexSize(call.indexType)));
    driver.glGetBufferSubData(GL_ELEMENT_ARRAY_BUFFER, GLintptr(call.indices), GLsizeiptr(bytes.size()),
                              bytes.data());
    switch (call.indexType) {
    case GL_UNSIGNED_INT:
        return greatestOf<GLuint>(bytes, restart);
    case GL_UNSIGNED_SHORT:
        return greatestOf<GLushort>(bytes, restart);
    default:
        return greatestOf<GLubyte>(bytes, restart);
    }
}

bool isPacked(GLint type)
{
    return type == GL_INT_2_10_10_10_REV || type == GL_UNSIGNED_INT_2_10_10_10_REV
           || type == GL_UNSIGNED_INT_10F_11F_11F_REV;
}

int componentSize(GLint type)
{
    switch (type) {
    case GL_BYTE:
    case GL_UNSIGNED_BYTE:
        return 1;
    case GL_SHORT:
    case GL_UNSIGNED_SHORT:
    case GL_HALF_FLOAT:
        return 2;
    case GL_DOUBLE:
        return 8;
    default:
        return 4;
    }
}

/// 0 for an array of vertices, otherwise the instances for which an item lasts.
GLint divisorOf(GLuint location)
{
    return newerFunctions().hasInstancedArrays ? arrayInteger(location, GL_VERTEX_ATTRIB_ARRAY_DIVISOR) : 0;
}

/// Number of items in the buffer of an array.
GLint64 vertexCount(GLuint location)
{
    const GLint components = arrayInteger(location, GL_VERTEX_ATTRIB_ARRAY_SIZE);
    const GLint type = arrayInteger(location, GL_VERTEX_ATTRIB_ARRAY_TYPE);
    const GLint64 size = components == GL_BGRA || isPacked(type) ? 4 : components * componentSize(type);
    const GLint64 stated = arrayInteger(location, GL_VERTEX_ATTRIB_ARRAY_STRIDE);
    const GLint64 stride = stated != 0 ? stated : size;
    void *offset = nullptr;
    driver.glGetVertexAttribPointerv(location, GL_VERTEX_ATTRIB_ARRAY_POINTER, &offset);
    const ReadBinding buffer(GLuint(arrayInteger(location, GL_VERTEX_ATTRIB_ARRAY_BUFFER_BINDING)));
    const GLint64 bytes = buffer.size() - GLint64(quintptr(offset));
    return bytes < size ? 0 : (bytes - size) / stride + 1;
}

} // namespace

int indexSize(GLenum type)
{
    return type == GL_UNSIGNED_INT ? 4 : type == GL_UNSIGNED_SHORT ? 2 : 1;
}

bool DrawCheck::allows(const DrawCommands &commands)
{
    const std::vector<DrawCall> calls = checkCommands(commands, readsIndices);
    return allows(calls.data(), calls.size());
}

bool DrawCheck::allows(const DrawCall *calls, size_t count)
{
    const DrawCall *const end = calls + count;
    if (std::all_of(calls, end,
                    [](const DrawCall &call) { return call.count == 0 || call.instances == 0; })) {
        return true; // a host may leave everything out
    }
    const State state = {Zel::GLContextTracker::currentContext(), changes, calls->mode,
                         calls->indexType != 0};
    const bool isKnown = state == _correct;
    const int mistakesBefore = mistakesSeen();
    const GLuint program = isKnown ? _program : checkProgram();
    if (program == 0) {
        return true;
    }
    const bool hasArrays = isKnown || checkState(program, *calls);
    bool hasIndices = true;
    for (const DrawCall *call = calls; call != end; ++call) {
        hasIndices = checkIndexBuffer(program, *call) && hasIndices;
    }
    for (const DrawCall *call = calls; readsIndices && hasArrays && hasIndices && call != end; ++call) {
        if (call->count > 0 && call->instances > 0) {
            checkVertexNumbers(program, programs.of(program), *call);
        }
    }
    _correct = mistakesSeen() == mistakesBefore ? state : State();
    _program = program;
    return hasArrays && hasIndices;
}

GLuint DrawCheck::checkProgram()
{
    const GLuint program = currentProgram();
    if (program == 0) {
        if (!newerFunctions().hasPipelines || integer(GL_PROGRAM_PIPELINE_BINDING) == 0) {
            report(Mistake::eNoProgram, 0, 0, [] {
                return QStringLiteral(
                    "A draw without a program draws nothing. Call bind() of a ShaderProgram that is "
                    "linked, and check its result.");
            });
        }
        return 0;
    }
    ProgramFacts &facts = programs.of(program);
    if (!facts.isLinked) {
        report(Mistake::eProgramNotLinked, program, 0, [program] {
            return QStringLiteral(
                       "Program %1 is in use, but its last link failed. Read its log, and link it before the "
                       "draw.")
                .arg(nameOf(Kind::eProgram, program));
        });
        return 0;
    }
    if (!facts.isNamed) {
        facts.isNamed = true;
        Labels::program(program);
    }
    if (integer(GL_VERTEX_ARRAY_BINDING) == 0) {
        report(Mistake::eNoVertexArray, program, 0, [program] {
            return QStringLiteral(
                       "Program %1 draws without a vertex array object, which the core profile refuses. Bind "
                       "a VertexArrayObject or a draw unit.")
                .arg(nameOf(Kind::eProgram, program));
        });
        return 0;
    }
    return program;
}

bool DrawCheck::checkState(GLuint program, const DrawCall &call)
{
    ProgramFacts &facts = programs.of(program);
    const bool hasArrays = checkArrays(program, facts);
    textures.check(program, facts);
    checkBlocks(program, facts);
    checkUniforms(program, facts);
    checkTarget(program, facts, call.mode, open);
    return hasArrays;
}

bool DrawCheck::checkArrays(GLuint program, const ProgramFacts &facts)
{
    bool canBeRead = true;
    for (const ProgramFacts::Attribute &attribute : facts.attributes) {
        for (GLuint column = 0; column < attribute.columns; ++column) {
            canBeRead = checkArray(program, attribute, attribute.location + column) && canBeRead;
        }
    }
    return canBeRead;
}

bool DrawCheck::checkArray(GLuint program, const ProgramFacts::Attribute &attribute, GLuint location)
{
    const auto text = [&](const char *format) {
        return QString(QLatin1String(format))
            .arg(nameOf(Kind::eProgram, program))
            .arg(quoted(attribute.name))
            .arg(location);
    };
    if (arrayInteger(location, GL_VERTEX_ATTRIB_ARRAY_ENABLED) == GL_FALSE) {
        if (!hasConstant(location, attribute.kind)) {
            report(Mistake::eAttributeWithoutArray, program, attribute.location, [&] {
                return text("Program %1: the attribute %2 (location %3) has no enabled array. Register a "
                            "buffer of this "
                            "name, and call enableShaderProgramArrays() after the vertex array is bound.");
            });
        }
        return true;
    }
    if (arrayInteger(location, GL_VERTEX_ATTRIB_ARRAY_BUFFER_BINDING) == 0) {
        report(Mistake::eArrayWithoutBuffer, program, attribute.location, [&] {
            return text("Program %1: the array of the attribute %2 (location %3) has no buffer. Bind a "
                        "buffer before the "
                        "array is set, and keep it alive. The draw was left out.");
        });
        return false;
    }
    const bool isInteger = arrayInteger(location, GL_VERTEX_ATTRIB_ARRAY_INTEGER) != GL_FALSE;
    if (attribute.kind != ProgramFacts::eDouble && isInteger != (attribute.kind == ProgramFacts::eInteger)) {
        report(Mistake::eAttributeOfOtherKind, program, attribute.location, [&] {
            return isInteger
                       ? text(
                           "Program %1: the attribute %2 (location %3) is of floats, but its array has "
                           "integers. Set "
                           "the array with glVertexAttribPointer(), or declare the attribute as int or uint.")
                       : text("Program %1: the attribute %2 (location %3) is of integers, but its array has "
                              "floats. Set "
                              "the array with glVertexAttribIPointer(), or declare the attribute as float.");
        });
    }
    return true;
}

bool DrawCheck::checkIndexBuffer(GLuint program, const DrawCall &call)
{
    if (call.indexType == 0) {
        return true;
    }
    const GLint buffer = integer(GL_ELEMENT_ARRAY_BUFFER_BINDING);
    if (buffer == 0) {
        report(Mistake::eNoIndexBuffer, program, 0, [&] {
            return QStringLiteral("Program %1 draws with indices, but the vertex array has no index buffer. "
                                  "Bind it after "
                                  "the vertex array. The draw was left out.")
                .arg(nameOf(Kind::eProgram, program));
        });
        return false;
    }
    if (call.count < 0) {
        return true;
    }
    GLint64 size = 0;
    driver.glGetBufferParameteri64v(GL_ELEMENT_ARRAY_BUFFER, GL_BUFFER_SIZE, &size);
    const GLint64 needed = GLint64(quintptr(call.indices)) + GLint64(call.count) * indexSize(call.indexType);
    if (size < needed) {
        report(Mistake::eIndexBufferTooSmall, program, quint64(buffer), [&] {
            return QStringLiteral(
                       "Program %1 draws with %2 indices that end at byte %3, but index buffer %4 has %5 "
                       "bytes. Check count, type and offset of the draw. The draw was left out.")
                .arg(nameOf(Kind::eProgram, program))
                .arg(call.count)
                .arg(needed)
                .arg(nameOf(Kind::eBuffer, GLuint(buffer)))
                .arg(size);
        });
        return false;
    }
    return true;
}

void DrawCheck::checkVertexNumbers(GLuint program, const ProgramFacts &facts, const DrawCall &call)
{
    const bool isIndexed = call.indexType != 0;
    const GLint64 last = call.first + (isIndexed ? greatestIndex(call) : GLint64(call.count) - 1);
    for (const ProgramFacts::Attribute &attribute : facts.attributes) {
        if (arrayInteger(attribute.location, GL_VERTEX_ATTRIB_ARRAY_ENABLED) == GL_FALSE) {
            continue;
        }
        const GLint64 count = vertexCount(attribute.location);
        if (const GLint divisor = divisorOf(attribute.location)) {
            const GLint64 lastItem = GLint64(call.baseInstance) + (call.instances - 1) / divisor;
            if (lastItem >= count) {
                report(Mistake::eInstanceBeyondBuffer, program, attribute.location, [&] {
                    return QStringLiteral(
                               "Program %1 draws instance %2, but the array of the attribute %3 has %4 "
                               "items. Check the number of instances, the base instance and the divisor.")
                        .arg(nameOf(Kind::eProgram, program))
                        .arg(call.instances - 1)
                        .arg(quoted(attribute.name))
                        .arg(count);
                });
            }
            continue;
        }
        if (last >= count) {
            const Mistake mistake =
                isIndexed ? Mistake::eIndexBeyondVertices : Mistake::eVerticesBeyondBuffer;
            report(mistake, program, attribute.location, [&] {
                return QStringLiteral(
                           "Program %1 draws vertex %2, but the array of the attribute %3 has %4 vertices. "
                           "Check %5, and the stride and the size of the buffer.")
                    .arg(nameOf(Kind::eProgram, program))
                    .arg(last)
                    .arg(quoted(attribute.name))
                    .arg(count)
                    .arg(QLatin1String(isIndexed ? "the indices and the base vertex" : "first and count"));
            });
        }
    }
}

/// Once after each link. A uniform that was set to zero by an entry point outside of the table is reported too: GL cannot tell.
void DrawCheck::checkUniforms(GLuint program, ProgramFacts &facts)
{
    if (!facts.isHistoryKnown || facts.uniformsReported) {
        return;
    }
    facts.uniformsReported = true;
    for (const ProgramFacts::Uniform &uniform : facts.uniforms) {
        if (uniform.isSet) {
            continue;
        }
        GLfloat values[16] = {};
        driver.glGetUniformfv(program, uniform.location, values);
        if (std::all_of(std::begin(values), std::end(values), [](GLfloat value) { return value == 0.0f; })) {
            report(Mistake::eUniformNeverSet, program, quint64(uniform.location), [&] {
                return QStringLiteral("Program %1: the uniform %2 was never set since the link, and is 0. ")
                           .arg(nameOf(Kind::eProgram, program), quoted(uniform.name))
                       + (uniform.isOfCollection
                              ? "Call bind() of its InstanceDataCollection before the draw, with this "
                                "program."
                              : "Call setUniform() after link(), also after a second link(), with this "
                                "name.");
            });
        }
    }
}

}} // namespace Orvane::ZelCheck
