#include "StateGuard.h"

#include "TestContext.h"

#include <QtGui/QOpenGLFunctions_3_2_Core>

#include <GL/glcorearb.h>

#include <algorithm>
#include <cmath>
#include <cstring>

namespace {

/// Queries and their names. They are made only if the driver has the extension; an empty one means always.
struct Queries
{
    const char *extension;
    std::vector<GLenum> values;
    QStringList names;
};
#define QUERIES(extension, ...) Queries({extension, {__VA_ARGS__}, QString(#__VA_ARGS__).split(", ")})

const Queries kCapabilities =
    QUERIES("", GL_BLEND, GL_COLOR_LOGIC_OP, GL_CULL_FACE, GL_DEPTH_CLAMP, GL_DEPTH_TEST, GL_DITHER,
            GL_FRAMEBUFFER_SRGB, GL_LINE_SMOOTH, GL_MULTISAMPLE, GL_POLYGON_OFFSET_FILL,
            GL_POLYGON_OFFSET_LINE, GL_POLYGON_OFFSET_POINT, GL_POLYGON_SMOOTH, GL_PRIMITIVE_RESTART,
            GL_PROGRAM_POINT_SIZE, GL_RASTERIZER_DISCARD, GL_SAMPLE_ALPHA_TO_COVERAGE, GL_SAMPLE_ALPHA_TO_ONE,
            GL_SAMPLE_COVERAGE, GL_SCISSOR_TEST, GL_STENCIL_TEST, GL_TEXTURE_CUBE_MAP_SEAMLESS);

const Queries kOfContext[] = {
    kCapabilities,
    // Bindings.
    QUERIES("", GL_CURRENT_PROGRAM, GL_VERTEX_ARRAY_BINDING, GL_ARRAY_BUFFER_BINDING,
            GL_ELEMENT_ARRAY_BUFFER_BINDING, GL_UNIFORM_BUFFER_BINDING, GL_COPY_READ_BUFFER,
            GL_COPY_WRITE_BUFFER, GL_PIXEL_PACK_BUFFER_BINDING, GL_PIXEL_UNPACK_BUFFER_BINDING,
            GL_TRANSFORM_FEEDBACK_BUFFER_BINDING, GL_DRAW_FRAMEBUFFER_BINDING, GL_READ_FRAMEBUFFER_BINDING,
            GL_RENDERBUFFER_BINDING, GL_ACTIVE_TEXTURE),
    QUERIES("GL_ARB_draw_indirect", GL_DRAW_INDIRECT_BUFFER_BINDING),
    QUERIES("GL_ARB_shader_atomic_counters", GL_ATOMIC_COUNTER_BUFFER_BINDING),
    QUERIES("GL_ARB_shader_storage_buffer_object", GL_SHADER_STORAGE_BUFFER_BINDING),
    QUERIES("GL_ARB_transform_feedback2", GL_TRANSFORM_FEEDBACK_BINDING),
    // Pixel transfer and settings.
    QUERIES("", GL_PACK_ALIGNMENT, GL_PACK_ROW_LENGTH, GL_PACK_SKIP_PIXELS, GL_PACK_SKIP_ROWS,
            GL_UNPACK_ALIGNMENT, GL_UNPACK_IMAGE_HEIGHT, GL_UNPACK_LSB_FIRST, GL_UNPACK_ROW_LENGTH,
            GL_UNPACK_SKIP_IMAGES, GL_UNPACK_SKIP_PIXELS, GL_UNPACK_SKIP_ROWS, GL_UNPACK_SWAP_BYTES,
            GL_VIEWPORT, GL_SCISSOR_BOX, GL_COLOR_CLEAR_VALUE, GL_DEPTH_CLEAR_VALUE, GL_STENCIL_CLEAR_VALUE,
            GL_BLEND_COLOR, GL_BLEND_EQUATION_RGB, GL_BLEND_EQUATION_ALPHA, GL_BLEND_SRC_RGB,
            GL_BLEND_SRC_ALPHA, GL_BLEND_DST_RGB, GL_BLEND_DST_ALPHA, GL_CULL_FACE_MODE, GL_FRONT_FACE,
            GL_DEPTH_FUNC, GL_DEPTH_WRITEMASK, GL_DEPTH_RANGE, GL_DRAW_BUFFER, GL_READ_BUFFER, GL_LINE_WIDTH,
            GL_LOGIC_OP_MODE, GL_POINT_SIZE, GL_POLYGON_MODE, GL_POLYGON_OFFSET_FACTOR,
            GL_POLYGON_OFFSET_UNITS, GL_PRIMITIVE_RESTART_INDEX, GL_PROVOKING_VERTEX,
            GL_SAMPLE_COVERAGE_VALUE, GL_STENCIL_FUNC, GL_STENCIL_REF, GL_STENCIL_VALUE_MASK,
            GL_STENCIL_WRITEMASK, GL_STENCIL_FAIL, GL_STENCIL_PASS_DEPTH_FAIL, GL_STENCIL_PASS_DEPTH_PASS,
            GL_STENCIL_BACK_FUNC, GL_STENCIL_BACK_REF, GL_STENCIL_BACK_VALUE_MASK, GL_STENCIL_BACK_WRITEMASK,
            GL_STENCIL_BACK_FAIL, GL_STENCIL_BACK_PASS_DEPTH_FAIL, GL_STENCIL_BACK_PASS_DEPTH_PASS),
    QUERIES("GL_KHR_debug", GL_DEBUG_OUTPUT, GL_DEBUG_OUTPUT_SYNCHRONOUS, GL_DEBUG_GROUP_STACK_DEPTH),
};

const Queries kOfUnit[] = {
    QUERIES("", GL_TEXTURE_BINDING_1D, GL_TEXTURE_BINDING_1D_ARRAY, GL_TEXTURE_BINDING_2D,
            GL_TEXTURE_BINDING_2D_ARRAY, GL_TEXTURE_BINDING_2D_MULTISAMPLE,
            GL_TEXTURE_BINDING_2D_MULTISAMPLE_ARRAY, GL_TEXTURE_BINDING_3D, GL_TEXTURE_BINDING_BUFFER,
            GL_TEXTURE_BINDING_CUBE_MAP, GL_TEXTURE_BINDING_RECTANGLE),
    QUERIES("GL_ARB_sampler_objects", GL_SAMPLER_BINDING),
    QUERIES("GL_ARB_texture_cube_map_array", GL_TEXTURE_BINDING_CUBE_MAP_ARRAY),
};

/// State with an index, of which the first few are read.
const struct
{
    Queries query;
    const char *of;
    GLenum limit;
} kIndexed[] = {
    {QUERIES("", GL_COLOR_WRITEMASK), "draw buffer", GL_MAX_DRAW_BUFFERS},
    {QUERIES("", GL_UNIFORM_BUFFER_BINDING), "point", GL_MAX_UNIFORM_BUFFER_BINDINGS},
    {QUERIES("", GL_TRANSFORM_FEEDBACK_BUFFER_BINDING), "point", GL_MAX_TRANSFORM_FEEDBACK_SEPARATE_ATTRIBS},
    {QUERIES("GL_ARB_shader_atomic_counters", GL_ATOMIC_COUNTER_BUFFER_BINDING), "point",
     GL_MAX_ATOMIC_COUNTER_BUFFER_BINDINGS},
    {QUERIES("GL_ARB_shader_storage_buffer_object", GL_SHADER_STORAGE_BUFFER_BINDING), "point",
     GL_MAX_SHADER_STORAGE_BUFFER_BINDINGS},
};
constexpr GLint kMaxIndex = 8;

constexpr size_t kComponents = 4; ///< of each value; those that a query does not write are no numbers

/// Appends the names to \a names unless that is null.
std::vector<double> readAll(QStringList *names = nullptr)
{
    QOpenGLFunctions_3_2_Core *const gl = driver();
    const auto has = [context = QOpenGLContext::currentContext()](const char *extension) {
        return *extension == '\0' || context->hasExtension(extension);
    };
    std::vector<double> values;
    const auto next = [&](const QString &name, const char *of = "", int number = 0) {
        if (names != nullptr) {
            *names += *of == '\0' ? name : QString("%1 of %2 %3").arg(name, of).arg(number);
        }
        values.resize(values.size() + kComponents, NAN);
        return &*values.end() - kComponents;
    };
    // 1. Of the context, and of each texture unit.
    const auto read = [&](const Queries &queries, const char *of = "", int number = 0) {
        for (size_t i = 0; i < queries.values.size(); ++i) {
            gl->glGetDoublev(queries.values[i], next(queries.names.at(int(i)), of, number));
        }
    };
    for (const Queries &queries : kOfContext) {
        if (has(queries.extension)) {
            read(queries);
        }
    }
    const GLint active = integerOf(GL_ACTIVE_TEXTURE);
    const GLint units = integerOf(GL_MAX_TEXTURE_IMAGE_UNITS);
    for (const Queries &queries : kOfUnit) {
        for (GLint unit = 0; unit < units && has(queries.extension); ++unit) {
            gl->glActiveTexture(GLenum(GL_TEXTURE0 + unit));
            read(queries, "unit", unit);
        }
    }
    gl->glActiveTexture(GLenum(active));
    // 2. What has an index.
    for (const auto &[query, of, limit] : kIndexed) {
        const GLint count = has(query.extension) ? std::min(integerOf(limit), kMaxIndex) : 0;
        for (GLint i = 0; i < count; ++i) {
            GLint integers[kComponents] = {};
            gl->glGetIntegeri_v(query.values[0], GLuint(i), integers);
            std::copy_n(integers, query.values[0] == GL_COLOR_WRITEMASK ? kComponents : 1,
                        next(query.names[0], of, i));
        }
    }
    for (GLint i = 1; i < kMaxIndex; ++i) { // 0 has no value in some profiles
        gl->glGetVertexAttribdv(GLuint(i), GL_CURRENT_VERTEX_ATTRIB,
                                next("GL_CURRENT_VERTEX_ATTRIB", "attribute", i));
    }
    return values;
}

QString textOf(const double *value)
{
    QStringList words;
    for (size_t i = 0; i < kComponents && !std::isnan(value[i]); ++i) {
        words += QString::number(value[i], 'g', 10);
    }
    return words.join(' ');
}

} // namespace

const std::vector<GLenum> &StateGuard::capabilities()
{
    return kCapabilities.values;
}

StateGuard::StateGuard()
    : _values(readAll())
{
}

QStringList StateGuard::changes() const
{
    QStringList names;
    const std::vector<double> now = readAll(&names);
    QStringList changes;
    for (size_t i = 0; i < now.size(); i += kComponents) {
        if (std::memcmp(&now[i], &_values[i], kComponents * sizeof(double)) != 0) {
            changes += QString("%1 %2 -> %3")
                           .arg(names.at(int(i / kComponents)), textOf(&_values[i]), textOf(&now[i]));
        }
    }
    changes.sort();
    return changes;
}
