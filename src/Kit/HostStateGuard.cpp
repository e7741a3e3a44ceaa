#include "HostStateGuard.h"

#include "private/Library.h"
#include "private/OwnContext.h"

#include <ZelGL/ZelGL.h>

#include <algorithm>
#include <cstring>
#include <iterator>

namespace Orvane { namespace ZelKit {

namespace {

struct Capability
{
    GLenum name;
    bool isOnAtFirst; ///< in a new context
};

constexpr Capability kCapabilities[] = {{GL_BLEND, false},
                                        {GL_COLOR_LOGIC_OP, false},
                                        {GL_CULL_FACE, false},
                                        {GL_DEPTH_CLAMP, false},
                                        {GL_DEPTH_TEST, false},
                                        {GL_DITHER, true},
                                        {GL_FRAMEBUFFER_SRGB, false},
                                        {GL_LINE_SMOOTH, false},
                                        {GL_MULTISAMPLE, true},
                                        {GL_POLYGON_OFFSET_FILL, false},
                                        {GL_POLYGON_SMOOTH, false},
                                        {GL_PRIMITIVE_RESTART, false},
                                        {GL_PROGRAM_POINT_SIZE, false},
                                        {GL_RASTERIZER_DISCARD, false},
                                        {GL_SAMPLE_ALPHA_TO_COVERAGE, false},
                                        {GL_SAMPLE_ALPHA_TO_ONE, false},
                                        {GL_SAMPLE_COVERAGE, false},
                                        {GL_SCISSOR_TEST, false},
                                        {GL_STENCIL_TEST, false},
                                        {GL_TEXTURE_CUBE_MAP_SEAMLESS, false},
                                        {GL_CLIP_DISTANCE0, false},
                                        {GL_CLIP_DISTANCE1, false},
                                        {GL_CLIP_DISTANCE2, false},
                                        {GL_CLIP_DISTANCE3, false},
                                        {GL_CLIP_DISTANCE4, false},
                                        {GL_CLIP_DISTANCE5, false},
                                        {GL_CLIP_DISTANCE6, false},
                                        {GL_CLIP_DISTANCE7, false}};

struct PixelStore
{
    GLenum name;
    int atFirst; ///< in a new context
};

constexpr PixelStore kPixelStores[] = {
    {GL_PACK_ALIGNMENT, 4},    {GL_PACK_IMAGE_HEIGHT, 0},  {GL_PACK_ROW_LENGTH, 0},
    {GL_PACK_SKIP_IMAGES, 0},  {GL_PACK_SKIP_PIXELS, 0},   {GL_PACK_SKIP_ROWS, 0},
    {GL_PACK_SWAP_BYTES, 0},   {GL_UNPACK_ALIGNMENT, 4},   {GL_UNPACK_IMAGE_HEIGHT, 0},
    {GL_UNPACK_ROW_LENGTH, 0}, {GL_UNPACK_SKIP_IMAGES, 0}, {GL_UNPACK_SKIP_PIXELS, 0},
    {GL_UNPACK_SKIP_ROWS, 0},  {GL_UNPACK_SWAP_BYTES, 0},
};

/// Other queries of one integer.
constexpr GLenum kIntegers[] = {GL_CURRENT_PROGRAM,
                                GL_VERTEX_ARRAY_BINDING,
                                GL_ARRAY_BUFFER_BINDING,
                                GL_UNIFORM_BUFFER_BINDING,
                                GL_PIXEL_PACK_BUFFER_BINDING,
                                GL_PIXEL_UNPACK_BUFFER_BINDING,
                                GL_DRAW_FRAMEBUFFER_BINDING,
                                GL_READ_FRAMEBUFFER_BINDING,
                                GL_RENDERBUFFER_BINDING,
                                GL_ACTIVE_TEXTURE,
                                GL_BLEND_SRC_RGB,
                                GL_BLEND_DST_RGB,
                                GL_BLEND_SRC_ALPHA,
                                GL_BLEND_DST_ALPHA,
                                GL_BLEND_EQUATION_RGB,
                                GL_BLEND_EQUATION_ALPHA,
                                GL_LOGIC_OP_MODE,
                                GL_DEPTH_FUNC,
                                GL_DEPTH_WRITEMASK,
                                GL_CULL_FACE_MODE,
                                GL_FRONT_FACE,
                                GL_POLYGON_MODE,
                                GL_PRIMITIVE_RESTART_INDEX,
                                GL_STENCIL_CLEAR_VALUE,
                                GL_STENCIL_FUNC,
                                GL_STENCIL_REF,
                                GL_STENCIL_VALUE_MASK,
                                GL_STENCIL_WRITEMASK,
                                GL_STENCIL_FAIL,
                                GL_STENCIL_PASS_DEPTH_FAIL,
                                GL_STENCIL_PASS_DEPTH_PASS,
                                GL_STENCIL_BACK_FUNC,
                                GL_STENCIL_BACK_REF,
                                GL_STENCIL_BACK_VALUE_MASK,
                                GL_STENCIL_BACK_WRITEMASK,
                                GL_STENCIL_BACK_FAIL,
                                GL_STENCIL_BACK_PASS_DEPTH_FAIL,
                                GL_STENCIL_BACK_PASS_DEPTH_PASS};

constexpr GLenum kFloats[] = {GL_COLOR_CLEAR_VALUE,     GL_DEPTH_CLEAR_VALUE,   GL_BLEND_COLOR,
                              GL_DEPTH_RANGE,           GL_LINE_WIDTH,          GL_POINT_SIZE,
                              GL_POLYGON_OFFSET_FACTOR, GL_POLYGON_OFFSET_UNITS};
enum Float {
    eClearColor,
    eClearDepth,
    eBlendColor,
    eDepthRange,
    eLineWidth,
    ePointSize,
    eOffsetFactor,
    eOffsetUnits
};

struct TextureTarget
{
    GLenum target;
    GLenum query;
};

constexpr TextureTarget kTextureTargets[] = {{GL_TEXTURE_2D, GL_TEXTURE_BINDING_2D},
                                             {GL_TEXTURE_2D_ARRAY, GL_TEXTURE_BINDING_2D_ARRAY},
                                             {GL_TEXTURE_CUBE_MAP, GL_TEXTURE_BINDING_CUBE_MAP}};

int query(GLenum name)
{
    GLint values[4] = {}; // some drivers return two polygon modes
    glGetIntegerv(name, values);
    return values[0];
}

void setCapability(GLenum name, bool isOn)
{
    if (isOn) {
        glEnable(name);
    } else {
        glDisable(name);
    }
}

/// The state of a new context, but for what says where and with which colour to draw.
void setInitialState()
{
    for (const Capability &capability : kCapabilities) {
        setCapability(capability.name, capability.isOnAtFirst);
    }
    for (const PixelStore &store : kPixelStores) {
        glPixelStorei(store.name, store.atFirst);
    }
    glUseProgram(0);
    glBindVertexArray(0);
    for (const GLenum target :
         {GL_ARRAY_BUFFER, GL_UNIFORM_BUFFER, GL_PIXEL_PACK_BUFFER, GL_PIXEL_UNPACK_BUFFER}) {
        glBindBuffer(target, 0);
    }
    glActiveTexture(GL_TEXTURE0);
    glBlendFunc(GL_ONE, GL_ZERO);
    glBlendEquation(GL_FUNC_ADD);
    glLogicOp(GL_COPY);
    glColorMask(GL_TRUE, GL_TRUE, GL_TRUE, GL_TRUE);
    glDepthFunc(GL_LESS);
    glDepthMask(GL_TRUE);
    glDepthRange(0.0, 1.0);
    glCullFace(GL_BACK);
    glFrontFace(GL_CCW);
    glPolygonMode(GL_FRONT_AND_BACK, GL_FILL);
    glPolygonOffset(0.0f, 0.0f);
    glLineWidth(1.0f);
    glPointSize(1.0f);
    glStencilFunc(GL_ALWAYS, 0, ~0u);
    glStencilMask(~0u);
    glStencilOp(GL_KEEP, GL_KEEP, GL_KEEP);
}

} // namespace

HostStateGuard::HostStateGuard()
    : _context(std::make_unique<OwnContext>())
    , _isActive(isLibraryReady(nullptr))
{
    if (_isActive) {
        save();
        setInitialState();
    }
}

HostStateGuard::~HostStateGuard()
{
    if (!_isActive || !_context->isCurrent("host state guard")) {
        return;
    }
    restoreTextures(); // before the active unit
    restoreAttributes();
    restoreBindings();
    restoreDrawing();
    restoreStencil();
    for (size_t i = 0; i < std::size(kCapabilities); ++i) {
        setCapability(kCapabilities[i].name, _capabilities[i]);
    }
}

void HostStateGuard::save()
{
    static_assert(std::size(kCapabilities) <= kMaxValues && std::size(kFloats) <= kMaxValues / 4
                  && std::size(kIntegers) + std::size(kPixelStores) <= kMaxValues);
    for (size_t i = 0; i < std::size(kCapabilities); ++i) {
        _capabilities[i] = glIsEnabled(kCapabilities[i].name) == GL_TRUE;
    }
    for (size_t i = 0; i < std::size(kIntegers); ++i) {
        _integers[i] = query(kIntegers[i]);
    }
    for (size_t i = 0; i < std::size(kPixelStores); ++i) {
        _integers[std::size(kIntegers) + i] = query(kPixelStores[i].name);
    }
    for (size_t i = 0; i < std::size(kFloats); ++i) {
        glGetFloatv(kFloats[i], _floats[i].data());
    }
    glGetIntegerv(GL_VIEWPORT, _viewport.data());
    glGetIntegerv(GL_SCISSOR_BOX, _scissor.data());
    GLboolean mask[4] = {};
    glGetBooleanv(GL_COLOR_WRITEMASK, mask);
    std::transform(mask, mask + 4, _colorMask.begin(),
                   [](GLboolean isWritten) { return isWritten == GL_TRUE; });
    saveTextures();
    for (int i = 0; i < kVertexAttributes; ++i) {
        glGetVertexAttribfv(static_cast<GLuint>(i), GL_CURRENT_VERTEX_ATTRIB, _attributes[i].data());
    }
}

/// Only what has changed, bit by bit: values that glVertexAttribI*() has set are not floats.
void HostStateGuard::restoreAttributes() const
{
    for (int i = 0; i < kVertexAttributes; ++i) {
        const GLuint index = static_cast<GLuint>(i);
        std::array<float, 4> value = {};
        glGetVertexAttribfv(index, GL_CURRENT_VERTEX_ATTRIB, value.data());
        if (std::memcmp(value.data(), _attributes[i].data(), sizeof value) != 0) {
            glVertexAttrib4fv(index, _attributes[i].data());
        }
    }
}

void HostStateGuard::saveTextures()
{
    for (size_t unit = 0; unit < kTextureUnits; ++unit) {
        glActiveTexture(GLenum(GL_TEXTURE0 + unit));
        for (size_t i = 0; i < std::size(kTextureTargets); ++i) {
            _textures[unit][i] = query(kTextureTargets[i].query);
        }
    }
}

int HostStateGuard::integer(unsigned int name) const
{
    return _integers[size_t(std::find(std::begin(kIntegers), std::end(kIntegers), name)
                            - std::begin(kIntegers))];
}

void HostStateGuard::restoreTextures() const
{
    for (size_t unit = 0; unit < kTextureUnits; ++unit) {
        glActiveTexture(GLenum(GL_TEXTURE0 + unit));
        for (size_t i = 0; i < std::size(kTextureTargets); ++i) {
            glBindTexture(kTextureTargets[i].target, GLuint(_textures[unit][i]));
        }
    }
    glActiveTexture(GLenum(integer(GL_ACTIVE_TEXTURE)));
}

void HostStateGuard::restoreBindings() const
{
    glUseProgram(GLuint(integer(GL_CURRENT_PROGRAM)));
    glBindVertexArray(GLuint(integer(GL_VERTEX_ARRAY_BINDING)));
    glBindBuffer(GL_ARRAY_BUFFER, GLuint(integer(GL_ARRAY_BUFFER_BINDING)));
    glBindBuffer(GL_UNIFORM_BUFFER, GLuint(integer(GL_UNIFORM_BUFFER_BINDING)));
    glBindBuffer(GL_PIXEL_PACK_BUFFER, GLuint(integer(GL_PIXEL_PACK_BUFFER_BINDING)));
    glBindBuffer(GL_PIXEL_UNPACK_BUFFER, GLuint(integer(GL_PIXEL_UNPACK_BUFFER_BINDING)));
    glBindFramebuffer(GL_DRAW_FRAMEBUFFER, GLuint(integer(GL_DRAW_FRAMEBUFFER_BINDING)));
    glBindFramebuffer(GL_READ_FRAMEBUFFER, GLuint(integer(GL_READ_FRAMEBUFFER_BINDING)));
    glBindRenderbuffer(GL_RENDERBUFFER, GLuint(integer(GL_RENDERBUFFER_BINDING)));
    for (size_t i = 0; i < std::size(kPixelStores); ++i) {
        glPixelStorei(kPixelStores[i].name, _integers[std::size(kIntegers) + i]);
    }
}

void HostStateGuard::restoreDrawing() const
{
    const auto color = [this](Float name) { return _floats[name].data(); };
    const auto number = [this](Float name) { return _floats[name][0]; };
    glViewport(_viewport[0], _viewport[1], _viewport[2], _viewport[3]);
    glScissor(_scissor[0], _scissor[1], _scissor[2], _scissor[3]);
    glClearColor(color(eClearColor)[0], color(eClearColor)[1], color(eClearColor)[2], color(eClearColor)[3]);
    glClearDepth(double(number(eClearDepth)));
    glClearStencil(integer(GL_STENCIL_CLEAR_VALUE));
    glBlendColor(color(eBlendColor)[0], color(eBlendColor)[1], color(eBlendColor)[2], color(eBlendColor)[3]);
    glBlendFuncSeparate(GLenum(integer(GL_BLEND_SRC_RGB)), GLenum(integer(GL_BLEND_DST_RGB)),
                        GLenum(integer(GL_BLEND_SRC_ALPHA)), GLenum(integer(GL_BLEND_DST_ALPHA)));
    glBlendEquationSeparate(GLenum(integer(GL_BLEND_EQUATION_RGB)), GLenum(integer(GL_BLEND_EQUATION_ALPHA)));
    glLogicOp(GLenum(integer(GL_LOGIC_OP_MODE)));
    glColorMask(_colorMask[0], _colorMask[1], _colorMask[2], _colorMask[3]);
    glDepthFunc(GLenum(integer(GL_DEPTH_FUNC)));
    glDepthMask(GLboolean(integer(GL_DEPTH_WRITEMASK)));
    glDepthRange(double(color(eDepthRange)[0]), double(color(eDepthRange)[1]));
    glCullFace(GLenum(integer(GL_CULL_FACE_MODE)));
    glFrontFace(GLenum(integer(GL_FRONT_FACE)));
    glPolygonMode(GL_FRONT_AND_BACK, GLenum(integer(GL_POLYGON_MODE)));
    glPolygonOffset(number(eOffsetFactor), number(eOffsetUnits));
    glPrimitiveRestartIndex(GLuint(integer(GL_PRIMITIVE_RESTART_INDEX)));
    glLineWidth(number(eLineWidth));
    glPointSize(number(ePointSize));
}

void HostStateGuard::restoreStencil() const
{
    glStencilFuncSeparate(GL_FRONT, GLenum(integer(GL_STENCIL_FUNC)), integer(GL_STENCIL_REF),
                          GLuint(integer(GL_STENCIL_VALUE_MASK)));
    glStencilFuncSeparate(GL_BACK, GLenum(integer(GL_STENCIL_BACK_FUNC)), integer(GL_STENCIL_BACK_REF),
                          GLuint(integer(GL_STENCIL_BACK_VALUE_MASK)));
    glStencilMaskSeparate(GL_FRONT, GLuint(integer(GL_STENCIL_WRITEMASK)));
    glStencilMaskSeparate(GL_BACK, GLuint(integer(GL_STENCIL_BACK_WRITEMASK)));
    glStencilOpSeparate(GL_FRONT, GLenum(integer(GL_STENCIL_FAIL)),
                        GLenum(integer(GL_STENCIL_PASS_DEPTH_FAIL)),
                        GLenum(integer(GL_STENCIL_PASS_DEPTH_PASS)));
    glStencilOpSeparate(GL_BACK, GLenum(integer(GL_STENCIL_BACK_FAIL)),
                        GLenum(integer(GL_STENCIL_BACK_PASS_DEPTH_FAIL)),
                        GLenum(integer(GL_STENCIL_BACK_PASS_DEPTH_PASS)));
}

}} // namespace Orvane::ZelKit
