#include "StateGuard.h"

#include "TestContext.h"

#include <QtGui/QOpenGLFunctions_3_2_Core>

#include <GL/glcorearb.h>

#include <cmath>
#include <vector>

namespace {

/// Defines a list of queries, and one of their names.
#define QUERIES(...)                                                                                         \
    const std::vector<GLenum> kQueries{__VA_ARGS__};                                                         \
    const QStringList kNames = QString(#__VA_ARGS__).split(", ");

// Bindings, pixel transfer, capabilities and settings.
QUERIES(GL_CURRENT_PROGRAM, GL_VERTEX_ARRAY_BINDING, GL_ARRAY_BUFFER_BINDING, GL_ELEMENT_ARRAY_BUFFER_BINDING,
        GL_UNIFORM_BUFFER_BINDING, GL_COPY_READ_BUFFER, GL_COPY_WRITE_BUFFER, GL_PIXEL_PACK_BUFFER_BINDING,
        GL_PIXEL_UNPACK_BUFFER_BINDING, GL_TRANSFORM_FEEDBACK_BUFFER_BINDING, GL_DRAW_FRAMEBUFFER_BINDING,
        GL_READ_FRAMEBUFFER_BINDING, GL_RENDERBUFFER_BINDING, GL_ACTIVE_TEXTURE, GL_TEXTURE_BINDING_1D,
        GL_TEXTURE_BINDING_2D, GL_TEXTURE_BINDING_3D, GL_TEXTURE_BINDING_2D_ARRAY,
        GL_TEXTURE_BINDING_CUBE_MAP, GL_TEXTURE_BINDING_BUFFER, GL_PACK_ALIGNMENT, GL_PACK_ROW_LENGTH,
        GL_UNPACK_ALIGNMENT, GL_UNPACK_ROW_LENGTH, GL_UNPACK_SKIP_PIXELS, GL_UNPACK_SKIP_ROWS, GL_BLEND,
        GL_CULL_FACE, GL_DEPTH_CLAMP, GL_DEPTH_TEST, GL_FRAMEBUFFER_SRGB, GL_MULTISAMPLE,
        GL_POLYGON_OFFSET_FILL, GL_PRIMITIVE_RESTART, GL_PROGRAM_POINT_SIZE, GL_RASTERIZER_DISCARD,
        GL_SCISSOR_TEST, GL_STENCIL_TEST, GL_TEXTURE_CUBE_MAP_SEAMLESS, GL_VIEWPORT, GL_SCISSOR_BOX,
        GL_COLOR_CLEAR_VALUE, GL_COLOR_WRITEMASK, GL_BLEND_SRC_RGB, GL_BLEND_SRC_ALPHA, GL_BLEND_DST_RGB,
        GL_BLEND_DST_ALPHA, GL_CULL_FACE_MODE, GL_FRONT_FACE, GL_DEPTH_FUNC, GL_DEPTH_WRITEMASK,
        GL_DEPTH_RANGE, GL_DRAW_BUFFER, GL_READ_BUFFER, GL_LINE_WIDTH, GL_POLYGON_MODE, GL_STENCIL_FUNC,
        GL_STENCIL_REF, GL_STENCIL_VALUE_MASK, GL_STENCIL_WRITEMASK, GL_STENCIL_FAIL,
        GL_STENCIL_PASS_DEPTH_FAIL, GL_STENCIL_PASS_DEPTH_PASS)

QMap<QString, QString> readAll()
{
    QMap<QString, QString> state;
    for (size_t i = 0; i < kQueries.size(); ++i) {
        double values[4] = {NAN, NAN, NAN, NAN}; // some queries have fewer values
        driver()->glGetDoublev(kQueries[i], values);
        QStringList words;
        for (int j = 0; j < 4 && !std::isnan(values[j]); ++j) {
            words += QString::number(values[j], 'g', 10);
        }
        state[kNames[int(i)]] = words.join(' ');
    }
    return state;
}

} // namespace

StateGuard::StateGuard()
    : _state(readAll())
{
}

QStringList StateGuard::changes() const
{
    QStringList changes;
    const QMap<QString, QString> now = readAll();
    for (auto it = now.begin(); it != now.end(); ++it) {
        const QString before = _state.value(it.key());
        if (it.value() != before) {
            changes += QString("%1 %2 -> %3").arg(it.key(), before, it.value());
        }
    }
    return changes;
}
