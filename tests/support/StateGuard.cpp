#include "StateGuard.h"

#include "TestContext.h"

#include <QtGui/QOpenGLFunctions_3_2_Core>

#include <GL/glcorearb.h>

namespace {

struct Value
{
    const char *name;
    GLenum query;
    int components;
};

#define VALUE(name)                                                                                          \
    {                                                                                                        \
#name, name, 1                                                                                       \
    }

constexpr Value kValues[] = {
    // bindings
    VALUE(GL_CURRENT_PROGRAM),
    VALUE(GL_VERTEX_ARRAY_BINDING),
    VALUE(GL_ARRAY_BUFFER_BINDING),
    VALUE(GL_ELEMENT_ARRAY_BUFFER_BINDING),
    VALUE(GL_UNIFORM_BUFFER_BINDING),
    VALUE(GL_COPY_READ_BUFFER),
    VALUE(GL_COPY_WRITE_BUFFER),
    VALUE(GL_PIXEL_PACK_BUFFER_BINDING),
    VALUE(GL_PIXEL_UNPACK_BUFFER_BINDING),
    VALUE(GL_TRANSFORM_FEEDBACK_BUFFER_BINDING),
    VALUE(GL_DRAW_FRAMEBUFFER_BINDING),
    VALUE(GL_READ_FRAMEBUFFER_BINDING),
    VALUE(GL_RENDERBUFFER_BINDING),
    VALUE(GL_ACTIVE_TEXTURE),
    VALUE(GL_TEXTURE_BINDING_1D),
    VALUE(GL_TEXTURE_BINDING_2D),
    VALUE(GL_TEXTURE_BINDING_3D),
    VALUE(GL_TEXTURE_BINDING_2D_ARRAY),
    VALUE(GL_TEXTURE_BINDING_CUBE_MAP),
    VALUE(GL_TEXTURE_BINDING_BUFFER),
    // pixel transfer
    VALUE(GL_PACK_ALIGNMENT),
    VALUE(GL_PACK_ROW_LENGTH),
    VALUE(GL_UNPACK_ALIGNMENT),
    VALUE(GL_UNPACK_ROW_LENGTH),
    VALUE(GL_UNPACK_SKIP_PIXELS),
    VALUE(GL_UNPACK_SKIP_ROWS),
    // capabilities
    VALUE(GL_BLEND),
    VALUE(GL_CULL_FACE),
    VALUE(GL_DEPTH_CLAMP),
    VALUE(GL_DEPTH_TEST),
    VALUE(GL_FRAMEBUFFER_SRGB),
    VALUE(GL_MULTISAMPLE),
    VALUE(GL_POLYGON_OFFSET_FILL),
    VALUE(GL_PRIMITIVE_RESTART),
    VALUE(GL_PROGRAM_POINT_SIZE),
    VALUE(GL_RASTERIZER_DISCARD),
    VALUE(GL_SCISSOR_TEST),
    VALUE(GL_STENCIL_TEST),
    VALUE(GL_TEXTURE_CUBE_MAP_SEAMLESS),
    // settings
    {"GL_VIEWPORT", GL_VIEWPORT, 4},
    {"GL_SCISSOR_BOX", GL_SCISSOR_BOX, 4},
    {"GL_COLOR_CLEAR_VALUE", GL_COLOR_CLEAR_VALUE, 4},
    {"GL_COLOR_WRITEMASK", GL_COLOR_WRITEMASK, 4},
    VALUE(GL_BLEND_SRC_RGB),
    VALUE(GL_BLEND_SRC_ALPHA),
    VALUE(GL_BLEND_DST_RGB),
    VALUE(GL_BLEND_DST_ALPHA),
    VALUE(GL_CULL_FACE_MODE),
    VALUE(GL_FRONT_FACE),
    VALUE(GL_DEPTH_FUNC),
    VALUE(GL_DEPTH_WRITEMASK),
    {"GL_DEPTH_RANGE", GL_DEPTH_RANGE, 2},
    VALUE(GL_DRAW_BUFFER),
    VALUE(GL_READ_BUFFER),
    VALUE(GL_LINE_WIDTH),
    VALUE(GL_POLYGON_MODE),
    VALUE(GL_STENCIL_FUNC),
    VALUE(GL_STENCIL_REF),
    VALUE(GL_STENCIL_VALUE_MASK),
    VALUE(GL_STENCIL_WRITEMASK),
    VALUE(GL_STENCIL_FAIL),
    VALUE(GL_STENCIL_PASS_DEPTH_FAIL),
    VALUE(GL_STENCIL_PASS_DEPTH_PASS),
};

#undef VALUE

QString read(const Value &value)
{
    double numbers[4] = {};
    driver()->glGetDoublev(value.query, numbers);
    QStringList words;
    for (int i = 0; i < value.components; ++i) {
        words += QString::number(numbers[i], 'g', 10);
    }
    return words.join(' ');
}

QMap<QString, QString> readAll()
{
    QMap<QString, QString> state;
    for (const Value &value : kValues) {
        state.insert(value.name, read(value));
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
