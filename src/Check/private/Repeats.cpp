#include "Repeats.h"

#include "Driver.h"
#include "Hooks.h"
#include "Objects.h"
#include "TextureCheck.h"

#include <algorithm>
#include <cstring>
#include <vector>

namespace Orvane { namespace ZelCheck {

namespace {

struct EnumName
{
    GLenum value;
    GLenum binding; ///< of a target of buffers
    const char *name;
};

constexpr EnumName kNames[] = {
    {GL_ARRAY_BUFFER, GL_ARRAY_BUFFER_BINDING, "GL_ARRAY_BUFFER"},
    {GL_ELEMENT_ARRAY_BUFFER, GL_ELEMENT_ARRAY_BUFFER_BINDING, "GL_ELEMENT_ARRAY_BUFFER"},
    {GL_UNIFORM_BUFFER, GL_UNIFORM_BUFFER_BINDING, "GL_UNIFORM_BUFFER"},
    {GL_SHADER_STORAGE_BUFFER, GL_SHADER_STORAGE_BUFFER_BINDING, "GL_SHADER_STORAGE_BUFFER"},
    {GL_PIXEL_PACK_BUFFER, GL_PIXEL_PACK_BUFFER_BINDING, "GL_PIXEL_PACK_BUFFER"},
    {GL_PIXEL_UNPACK_BUFFER, GL_PIXEL_UNPACK_BUFFER_BINDING, "GL_PIXEL_UNPACK_BUFFER"},
    {GL_DRAW_INDIRECT_BUFFER, GL_DRAW_INDIRECT_BUFFER_BINDING, "GL_DRAW_INDIRECT_BUFFER"},
    {GL_COPY_READ_BUFFER, GL_COPY_READ_BUFFER, "GL_COPY_READ_BUFFER"},
    {GL_COPY_WRITE_BUFFER, GL_COPY_WRITE_BUFFER, "GL_COPY_WRITE_BUFFER"},
    {GL_TEXTURE_BUFFER, GL_TEXTURE_BUFFER, "GL_TEXTURE_BUFFER"},
    {GL_BLEND, 0, "GL_BLEND"},
    {GL_CULL_FACE, 0, "GL_CULL_FACE"},
    {GL_DEPTH_TEST, 0, "GL_DEPTH_TEST"},
    {GL_FRAMEBUFFER_SRGB, 0, "GL_FRAMEBUFFER_SRGB"},
    {GL_MULTISAMPLE, 0, "GL_MULTISAMPLE"},
    {GL_POLYGON_OFFSET_FILL, 0, "GL_POLYGON_OFFSET_FILL"},
    {GL_PRIMITIVE_RESTART, 0, "GL_PRIMITIVE_RESTART"},
    {GL_PROGRAM_POINT_SIZE, 0, "GL_PROGRAM_POINT_SIZE"},
    {GL_RASTERIZER_DISCARD, 0, "GL_RASTERIZER_DISCARD"},
    {GL_SCISSOR_TEST, 0, "GL_SCISSOR_TEST"},
    {GL_STENCIL_TEST, 0, "GL_STENCIL_TEST"},
    {GL_TEXTURE_CUBE_MAP_SEAMLESS, 0, "GL_TEXTURE_CUBE_MAP_SEAMLESS"},
};

const EnumName *rowOf(GLenum value)
{
    const auto row = std::find_if(std::begin(kNames), std::end(kNames),
                                  [value](const EnumName &one) { return one.value == value; });
    return row != std::end(kNames) ? row : nullptr;
}

QString textOf(GLenum value)
{
    const EnumName *row = rowOf(value);
    return row != nullptr ? QString::fromLatin1(row->name)
                          : QStringLiteral("0x%1").arg(value, 4, 16, QChar('0'));
}

QString objectText(Kind kind, GLuint name)
{
    return QString::fromLatin1(wordFor(kind)) + ' ' + nameOf(kind, name);
}

QString unitText()
{
    return QStringLiteral(" of unit %1").arg(integer(GL_ACTIVE_TEXTURE) - GL_TEXTURE0);
}

void read(GLuint program, GLint location, GLfloat *values)
{
    driver.glGetUniformfv(program, location, values);
}

void read(GLuint program, GLint location, GLint *values)
{
    driver.glGetUniformiv(program, location, values);
}

void read(GLuint program, GLint location, GLuint *values)
{
    driver.glGetUniformuiv(program, location, values);
}

/// Elements of an array are compared by their bytes: a NaN that is set again is redundant too.
template <typename Value>
Repeat setsValues(GLint location, GLsizei count, int components, const Value *values)
{
    const GLuint program = currentProgram();
    const ProgramFacts::Uniform uniform = draws().programs.of(program).uniformAt(location);
    const GLsizei elements = std::min(count, uniform.location + uniform.size - location);
    if (elements <= 0) {
        return {false, QString()};
    }
    bool isSame = true;
    for (GLsizei i = 0; i < elements && isSame; ++i) {
        Value before[16] = {};
        read(program, location + i, before);
        isSame = std::memcmp(before, values + i * components, size_t(components) * sizeof(Value)) == 0;
    }
    driver.glGetError(); // a uniform of another type than the call
    return {isSame,
            QString::fromLatin1(uniform.name) + QStringLiteral(" of ") + objectText(Kind::eProgram, program)};
}

} // namespace

Repeats &repeats()
{
    static Repeats &all = *new Repeats; // never destroyed, like objects()
    return all;
}

void Repeats::add(const char *call, const Repeat &repeat)
{
    Count &count = _counts[{QString::fromLatin1(call), repeat.object}];
    count.redundant += repeat.isSame ? 1 : 0;
    ++count.all;
}

QStringList Repeats::take()
{
    using Row = std::pair<std::pair<QString, QString>, Count>;
    std::vector<Row> rows;
    int redundant = 0;
    int all = 0;
    for (const auto &row : _counts) {
        redundant += row.second.redundant;
        all += row.second.all;
        if (row.second.redundant != 0) {
            rows.push_back(row);
        }
    }
    _counts.clear();
    if (rows.empty()) {
        return QStringList();
    }
    std::stable_sort(rows.begin(), rows.end(), [](const Row &a, const Row &b) {
        return a.second.redundant > b.second.redundant; // those of the same count by name
    });
    QStringList table = {QStringLiteral("Redundant calls: %1 of %2 that set state. Leave them out where the "
                                        "order of the draws allows it.")
                             .arg(redundant)
                             .arg(all)};
    for (const Row &row : rows) {
        const QString line = QStringLiteral("  %1 of %2  ").arg(row.second.redundant).arg(row.second.all)
                             + row.first.first + ' ' + row.first.second;
        table += row.first.second.isEmpty() ? line.chopped(1) : line;
    }
    return table;
}

QStringList Repeats::takeIfChanged()
{
    QStringList table = take();
    if (table == _last) {
        return QStringList();
    }
    _last = table;
    return table;
}

Repeat bindsBuffer(GLenum target, GLuint buffer)
{
    const EnumName *row = rowOf(target);
    const bool isKnown = row != nullptr && row->binding != 0;
    return {isKnown && GLuint(integer(row->binding)) == buffer,
            textOf(target) + QStringLiteral(", ") + objectText(Kind::eBuffer, buffer)};
}

Repeat bindsTexture(GLenum target, GLuint texture)
{
    const GLenum binding = textureBinding(target);
    return {binding != 0 && GLuint(integer(binding)) == texture,
            QString::fromLatin1(textureTargetName(target)) + unitText() + QStringLiteral(", ")
                + objectText(Kind::eTexture, texture)};
}

Repeat bindsRange(GLenum target, GLuint index, GLuint buffer, GLintptr offset, GLsizeiptr size)
{
    const bool isUniform = target == GL_UNIFORM_BUFFER;
    if (!isUniform && (target != GL_SHADER_STORAGE_BUFFER || !newerFunctions().hasStorageBlocks)) {
        return {false, QString()};
    }
    GLint bound = 0;
    GLint64 start = 0;
    GLint64 bytes = 0;
    driver.glGetIntegeri_v(isUniform ? GL_UNIFORM_BUFFER_BINDING : GL_SHADER_STORAGE_BUFFER_BINDING, index,
                           &bound);
    driver.glGetInteger64i_v(isUniform ? GL_UNIFORM_BUFFER_START : GL_SHADER_STORAGE_BUFFER_START, index,
                             &start);
    driver.glGetInteger64i_v(isUniform ? GL_UNIFORM_BUFFER_SIZE : GL_SHADER_STORAGE_BUFFER_SIZE, index,
                             &bytes);
    // The call also binds the buffer to the target itself.
    const bool isSame =
        GLuint(bound) == buffer && start == offset && bytes == size && bindsBuffer(target, buffer).isSame;
    return {isSame, textOf(target) + QStringLiteral(" %1, ").arg(index) + objectText(Kind::eBuffer, buffer)};
}

Repeat activatesUnit(GLenum unit)
{
    return {GLenum(integer(GL_ACTIVE_TEXTURE)) == unit, QStringLiteral("unit %1").arg(unit - GL_TEXTURE0)};
}

Repeat usesProgram(GLuint program)
{
    return {currentProgram() == program, objectText(Kind::eProgram, program)};
}

Repeat bindsVertexArray(GLuint vertexArray)
{
    return {GLuint(integer(GL_VERTEX_ARRAY_BINDING)) == vertexArray,
            objectText(Kind::eVertexArray, vertexArray)};
}

Repeat bindsFramebuffer(GLenum target, GLuint framebuffer)
{
    const bool isForDraws = GLuint(integer(GL_DRAW_FRAMEBUFFER_BINDING)) == framebuffer;
    const bool isForReads = GLuint(integer(GL_READ_FRAMEBUFFER_BINDING)) == framebuffer;
    return {(isForDraws || target == GL_READ_FRAMEBUFFER) && (isForReads || target == GL_DRAW_FRAMEBUFFER),
            objectText(Kind::eFramebuffer, framebuffer)};
}

Repeat enables(GLenum capability, bool isEnabled)
{
    return {(driver.glIsEnabled(capability) != GL_FALSE) == isEnabled, textOf(capability)};
}

Repeat enablesArray(GLuint location, bool isEnabled)
{
    GLint value = 0;
    driver.glGetVertexAttribiv(location, GL_VERTEX_ATTRIB_ARRAY_ENABLED, &value);
    return {(value != GL_FALSE) == isEnabled,
            QStringLiteral("location %1 of ").arg(location)
                + objectText(Kind::eVertexArray, GLuint(integer(GL_VERTEX_ARRAY_BINDING)))};
}

Repeat setsIntegers(std::initializer_list<GLenum> names, std::initializer_list<GLint> values)
{
    std::vector<GLint> before;
    const size_t perName = values.size() / names.size();
    for (const GLenum name : names) {
        GLint some[16] = {};
        driver.glGetIntegerv(name, some);
        before.insert(before.end(), some, some + perName);
    }
    return {std::equal(values.begin(), values.end(), before.begin()), QString()};
}

Repeat setsUniform(GLint location, GLsizei count, int components, const GLfloat *values)
{
    return setsValues(location, count, components, values);
}

Repeat setsUniform(GLint location, GLsizei count, int components, const GLint *values)
{
    return setsValues(location, count, components, values);
}

Repeat setsUniform(GLint location, GLsizei count, int components, const GLuint *values)
{
    return setsValues(location, count, components, values);
}

}} // namespace Orvane::ZelCheck
