#include "StateGuard.h"

#include "TestContext.h"

#include <QtGui/QOpenGLFunctions_3_2_Core>

#include <GL/glcorearb.h>

#include <cmath>
#include <cstring>

namespace {

/// Queries of one kind, and their names, which are made if the driver has the extension or it is empty.
struct Queries
{
    const char *extension;
    const char *
        of; ///< what has a number: nothing, a texture unit, or what glGetIntegeri_v() or glGetVertexAttribdv() number
    std::vector<GLenum> values;
    QStringList names;
};
#define QUERIES(extension, of, ...) Queries({extension, of, {__VA_ARGS__}, QString(#__VA_ARGS__).split(", ")})

const Queries kQueries[] = {
    QUERIES("", "", GL_BLEND, GL_COLOR_LOGIC_OP, GL_CULL_FACE, GL_DEPTH_CLAMP, GL_DEPTH_TEST, GL_DITHER,
            GL_FRAMEBUFFER_SRGB, GL_MULTISAMPLE, GL_POLYGON_OFFSET_FILL, GL_PRIMITIVE_RESTART,
            GL_PROGRAM_POINT_SIZE, GL_RASTERIZER_DISCARD, GL_SAMPLE_ALPHA_TO_COVERAGE, GL_SCISSOR_TEST,
            GL_STENCIL_TEST, GL_TEXTURE_CUBE_MAP_SEAMLESS), // all are capabilities
    QUERIES("", "", GL_CURRENT_PROGRAM, GL_VERTEX_ARRAY_BINDING, GL_ARRAY_BUFFER_BINDING,
            GL_ELEMENT_ARRAY_BUFFER_BINDING, GL_UNIFORM_BUFFER_BINDING, GL_COPY_READ_BUFFER,
            GL_COPY_WRITE_BUFFER, GL_PIXEL_PACK_BUFFER_BINDING, GL_PIXEL_UNPACK_BUFFER_BINDING,
            GL_TRANSFORM_FEEDBACK_BUFFER_BINDING, GL_DRAW_FRAMEBUFFER_BINDING, GL_READ_FRAMEBUFFER_BINDING,
            GL_RENDERBUFFER_BINDING, GL_ACTIVE_TEXTURE, GL_PACK_ALIGNMENT, GL_PACK_ROW_LENGTH,
            GL_UNPACK_ALIGNMENT, GL_UNPACK_IMAGE_HEIGHT, GL_UNPACK_ROW_LENGTH, GL_UNPACK_SKIP_IMAGES,
            GL_UNPACK_SKIP_PIXELS, GL_UNPACK_SKIP_ROWS, GL_UNPACK_SWAP_BYTES, GL_VIEWPORT, GL_SCISSOR_BOX,
            GL_COLOR_CLEAR_VALUE, GL_DEPTH_CLEAR_VALUE, GL_STENCIL_CLEAR_VALUE, GL_BLEND_COLOR,
            GL_BLEND_EQUATION_RGB, GL_BLEND_EQUATION_ALPHA, GL_BLEND_SRC_RGB, GL_BLEND_SRC_ALPHA,
            GL_BLEND_DST_RGB, GL_BLEND_DST_ALPHA, GL_CULL_FACE_MODE, GL_FRONT_FACE, GL_DEPTH_FUNC,
            GL_DEPTH_WRITEMASK, GL_DEPTH_RANGE, GL_DRAW_BUFFER, GL_READ_BUFFER, GL_LINE_WIDTH,
            GL_LOGIC_OP_MODE, GL_POINT_SIZE, GL_POLYGON_MODE, GL_POLYGON_OFFSET_FACTOR,
            GL_POLYGON_OFFSET_UNITS, GL_PRIMITIVE_RESTART_INDEX, GL_PROVOKING_VERTEX, GL_STENCIL_FUNC,
            GL_STENCIL_REF, GL_STENCIL_VALUE_MASK, GL_STENCIL_WRITEMASK, GL_STENCIL_FAIL,
            GL_STENCIL_PASS_DEPTH_FAIL, GL_STENCIL_PASS_DEPTH_PASS, GL_STENCIL_BACK_FUNC, GL_STENCIL_BACK_REF,
            GL_STENCIL_BACK_VALUE_MASK, GL_STENCIL_BACK_WRITEMASK, GL_STENCIL_BACK_FAIL,
            GL_STENCIL_BACK_PASS_DEPTH_FAIL, GL_STENCIL_BACK_PASS_DEPTH_PASS),
    QUERIES("GL_ARB_draw_indirect", "", GL_DRAW_INDIRECT_BUFFER_BINDING),
    QUERIES("GL_ARB_transform_feedback2", "", GL_TRANSFORM_FEEDBACK_BINDING),
    QUERIES("GL_KHR_debug", "", GL_DEBUG_OUTPUT, GL_DEBUG_OUTPUT_SYNCHRONOUS, GL_DEBUG_GROUP_STACK_DEPTH),
    QUERIES("", "unit", GL_TEXTURE_BINDING_1D, GL_TEXTURE_BINDING_2D, GL_TEXTURE_BINDING_2D_ARRAY,
            GL_TEXTURE_BINDING_2D_MULTISAMPLE, GL_TEXTURE_BINDING_2D_MULTISAMPLE_ARRAY, GL_TEXTURE_BINDING_3D,
            GL_TEXTURE_BINDING_BUFFER, GL_TEXTURE_BINDING_CUBE_MAP),
    QUERIES("GL_ARB_sampler_objects", "unit", GL_SAMPLER_BINDING),
    QUERIES("GL_ARB_texture_cube_map_array", "unit", GL_TEXTURE_BINDING_CUBE_MAP_ARRAY),
    QUERIES("", "point", GL_UNIFORM_BUFFER_BINDING, GL_TRANSFORM_FEEDBACK_BUFFER_BINDING),
    QUERIES("GL_ARB_shader_storage_buffer_object", "", GL_SHADER_STORAGE_BUFFER_BINDING),
    QUERIES("GL_ARB_shader_storage_buffer_object", "point", GL_SHADER_STORAGE_BUFFER_BINDING),
    QUERIES("", "draw buffer", GL_COLOR_WRITEMASK),
    QUERIES("", "attribute", GL_CURRENT_VERTEX_ATTRIB),
};

constexpr int kNumbered = 4;   ///< how many points, draw buffers and attributes: every driver has these
constexpr int kComponents = 4; ///< of each value; those that a query does not write are no numbers

/// All values. Their names are appended to \a names unless it is null.
std::vector<double> readAll(QStringList *names = nullptr)
{
    QOpenGLFunctions_3_2_Core *const gl = driver();
    const GLint active = integerOf(GL_ACTIVE_TEXTURE);
    const GLint units = integerOf(GL_MAX_TEXTURE_IMAGE_UNITS);
    std::vector<double> all;
    for (const Queries &queries : kQueries) {
        const QByteArray of = queries.of;
        const bool exists =
            *queries.extension == '\0' || QOpenGLContext::currentContext()->hasExtension(queries.extension);
        const int count = !exists ? 0 : of.isEmpty() ? 1 : of == "unit" ? units : kNumbered;
        for (int i = 0; i < count; ++i) {
            gl->glActiveTexture(GLenum(of == "unit" ? GL_TEXTURE0 + i : active));
            for (int query = 0; query < queries.names.size(); ++query) {
                const GLenum name = queries.values[size_t(query)];
                double values[kComponents] = {NAN, NAN, NAN, NAN};
                GLint integers[kComponents] = {};
                if (of.isEmpty() || of == "unit") {
                    gl->glGetDoublev(name, values);
                } else if (of == "attribute") {
                    gl->glGetVertexAttribdv(GLuint(i), name, values);
                } else {
                    gl->glGetIntegeri_v(name, GLuint(i), integers);
                    std::copy_n(integers, of == "point" ? 1 : kComponents, values);
                }
                all.insert(all.end(), values, values + kComponents);
                if (names != nullptr) {
                    *names += queries.names[query]
                              + (of.isEmpty() ? of : " of " + of + ' ' + QByteArray::number(i));
                }
            }
        }
    }
    gl->glActiveTexture(GLenum(active));
    return all;
}

QString textOf(const double *value)
{
    QStringList words;
    for (int i = 0; i < kComponents && !std::isnan(value[i]); ++i) {
        words += QString::number(value[i], 'g', 10);
    }
    return words.join(' ');
}

} // namespace

const std::vector<GLenum> &StateGuard::capabilities()
{
    return kQueries[0].values;
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
            changes +=
                QString("%1 %2 -> %3").arg(names[int(i / kComponents)], textOf(&_values[i]), textOf(&now[i]));
        }
    }
    changes.sort();
    return changes;
}
