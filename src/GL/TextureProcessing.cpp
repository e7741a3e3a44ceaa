#include "TextureProcessing.h"

#include "AutoBinder.h"
#include "AutoDisabler.h"
#include "AutoEnabler.h"
#include "FramebufferObject.h"
#include "GLUtilities.h"
#include "ShaderProgram.h"
#include "Texture.h"
#include "private/BoundTexture.h"
#include "private/DefaultRasterState.h"
#include "private/FullscreenPass.h"
#include "private/UnpackState.h"

#include <memory>
#include <utility>

namespace Orvane { namespace Zel {

namespace {

const char *const kSrgbToLinear = R"(#version 150
// The power part of the sRGB curve on all four channels; no linear part near black.

uniform sampler2D u_Src;

in vec2 vo_TexCoord;
out vec4 out_FragColor;

void main()
{
    vec4 color = texture(u_Src, vo_TexCoord);
    out_FragColor = pow((color + 0.055) / 1.055, vec4(2.4));
}
)";

const char *const kLinearToSrgb = R"(#version 150
// The power part of the inverse sRGB curve; alpha stays.

uniform sampler2D u_Src;

in vec2 vo_TexCoord;
out vec4 out_FragColor;

void main()
{
    vec4 color = texture(u_Src, vo_TexCoord);
    out_FragColor = vec4(vec3(1.055 * pow(color.rgb, vec3(1.0 / 2.4)) - 0.055), color.a);
}
)";

const char *const kPremultiply = R"(#version 150
// Colour times alpha.

uniform sampler2D u_Src;

in vec2 vo_TexCoord;
out vec4 out_FragColor;

void main()
{
    vec4 color = texture(u_Src, vo_TexCoord);
    out_FragColor = vec4(color.rgb * color.a, color.a);
}
)";

const char *const kFlipY = R"(#version 150
// Top to bottom.

uniform sampler2D u_Src;

in vec2 vo_TexCoord;
out vec4 out_FragColor;

void main()
{
    out_FragColor = texture(u_Src, vec2(vo_TexCoord.x, 1.0 - vo_TexCoord.y));
}
)";

const char *const kRemapColorRange = R"(#version 150
// Colours from 0 .. 1 to u_lowValue .. u_highValue; alpha stays. The last part of the comma expression has no effect.

uniform sampler2D u_Src;
uniform float u_lowValue;
uniform float u_highValue;

in vec2 vo_TexCoord;
out vec4 out_FragColor;

void main()
{
    vec4 color = texture(u_Src, vo_TexCoord);
    color.rgb = color.rgb * (u_highValue - u_lowValue) + u_lowValue, vec3(0.0);
    out_FragColor = color;
}
)";

/// A program without its fragment stage.
std::unique_ptr<ShaderProgram> newPassProgram()
{
    auto program = std::make_unique<ShaderProgram>(nullptr);
    program->setFragDataLocations({QStringLiteral("out_FragColor")});
    program->addShaderFromFile(GL_VERTEX_SHADER, QStringLiteral("passthroughVS.glslc"));
    return program;
}

/// Draws the quad. The caller binds the program, the source and the framebuffer of the target.
void drawQuad(ShaderProgram *program, const QHash<QString, QVariant> &uniforms, Texture *source)
{
    FullscreenPass pass;
    pass.bind(*program);
    for (auto uniform = uniforms.constBegin(); uniform != uniforms.constEnd(); ++uniform) {
        program->setUniform(uniform.key(), uniform.value());
    }
    program->setUniform(QStringLiteral("u_Src"), static_cast<int>(source->unit()));

    const DefaultRasterState rasterState;
    // texture() decodes sRGB, so the draw must encode; see
    // TextureProcessingTest.APassKeepsEncodedColoursAndLeavesAFullMipChain.
    const AutoEnabler encoding(GL_FRAMEBUFFER_SRGB);
    FullscreenPass::setState();
    glClearColor(0.0f, 0.0f, 0.0f, 0.0f);
    glClear(GL_COLOR_BUFFER_BIT);
    glViewport(0, 0, source->width(0), source->height(0));
    pass.draw();
    FullscreenPass::resetState();
    pass.unbind(); // before the host's state is restored
}

/// The body of ProcessTexture(). Returns false, and draws nothing, if the program or a texture cannot be bound or the
/// framebuffer is incomplete.
bool runPass(ShaderProgram *program, const QHash<QString, QVariant> &uniforms, Texture *source,
             Texture *target)
{
    if (program == nullptr || source == nullptr || target == nullptr || !program->bind()) {
        return false;
    }
    if (!source->bind()) {
        program->unbind();
        return false;
    }
    auto framebuffer = std::make_unique<FramebufferObject>(nullptr);
    framebuffer->bind();
    framebuffer->attach(target, GL_COLOR_ATTACHMENT0, 0);
    framebuffer->setDrawBuffers();
    const bool complete = framebuffer->isComplete();
    if (complete) {
        drawQuad(program, uniforms, source);
    }
    framebuffer->detachAll();
    framebuffer->unbind();
    framebuffer.reset();
    source->unbind();
    program->unbind();

    if (!complete || !target->bind()) { // unbound, the levels of the host's texture would be generated
        return false;
    }
    glGenerateMipmap(target->target());
    target->unbind();
    return true;
}

/// Whether the texels are integers: a sampler2D reads undefined values from them.
bool holdsIntegers(Texture *texture)
{
    const AutoBinder binder(texture);
    const int type = texture->getTexLevelParameteriv(0, GL_TEXTURE_RED_TYPE);
    return type == GL_INT || type == GL_UNSIGNED_INT;
}

/// The pass of SrgbToLinear() to RemapColorRange(). The caller's texture changes only after the draw succeeded; see
/// TextureProcessingTest.TexturesThatNoPassCanDrawStayAsTheyAre.
bool replaceByPass(Texture *&texture, const char *fragmentSource, const QHash<QString, QVariant> &uniforms)
{
    std::unique_ptr<ShaderProgram> program(MakeTextureShaderFromString(QString::fromLatin1(fragmentSource)));
    if (!program) {
        return false;
    }
    std::unique_ptr<Texture> target(WritableCopyOfTexture(texture, 0, 0));
    if (!target || holdsIntegers(texture) || !runPass(program.get(), uniforms, texture, target.get())) {
        return false;
    }
    program.reset();
    delete texture;
    texture = target.release();
    return true;
}

} // namespace

Texture *WritableCopyOfTexture(Texture *source, unsigned internalFormat, int level)
{
    if (source == nullptr || !source->bind()) {
        return nullptr;
    }
    // 1. What the copy has in common with the source, read while the source is bound.
    const unsigned int target = source->target();
    const int width = source->width(level);
    const int height = source->height(level);
    if (internalFormat == 0) {
        internalFormat = static_cast<unsigned>(source->internalFormat(level));
        if (source->getTexLevelParameteriv(level, GL_TEXTURE_COMPRESSED) != 0) { // not renderable
            internalFormat = GL_RGBA;
        }
    }
    constexpr GLenum kParameters[] = {GL_TEXTURE_MIN_FILTER, GL_TEXTURE_MAG_FILTER, GL_TEXTURE_WRAP_S,
                                      GL_TEXTURE_WRAP_T,     GL_TEXTURE_BASE_LEVEL, GL_TEXTURE_MAX_LEVEL};
    constexpr int kParameterCount = sizeof(kParameters) / sizeof(GLenum);
    GLint values[kParameterCount] = {};
    for (int i = 0; i < kParameterCount; ++i) {
        glGetTexParameteriv(target, kParameters[i], &values[i]);
    }
    const unsigned int format = formatFromInternalFormat(internalFormat);
    const unsigned int type = typeFromInternalFormat(internalFormat);
    source->unbind();
    if (target != GL_TEXTURE_2D || format == 0 || type == 0) {
        return nullptr;
    }

    // 2. The copy, with the parameters of the source and without its pixels.
    std::unique_ptr<Texture> copy = newBoundTexture(target);
    if (!copy) {
        return nullptr;
    }
    if (level == 0) {
        copy->setSize(level, static_cast<int>(internalFormat), width, height, 1);
    }
    for (int i = 0; i < kParameterCount; ++i) {
        glTexParameteri(target, kParameters[i], values[i]);
    }
    const UnpackState unpackState(4); // with a buffer of the host bound, null is an offset into it
    glTexImage2D(target, level, static_cast<GLint>(internalFormat), width, height, 0, format, type, nullptr);
    copy->unbind();
    return copy.release();
}

ShaderProgram *MakeTextureShaderFromString(const QString &fragmentSource)
{
    std::unique_ptr<ShaderProgram> program = newPassProgram();
    program->addShader(GL_FRAGMENT_SHADER, fragmentSource, QString());
    if (!program->compile()) {
        ZEL_LOG_WARNING("shader program failed to compile:\n%s", qUtf8Printable(program->log()));
        return nullptr;
    }
    if (!program->link()) {
        ZEL_LOG_WARNING("shader program failed to link:\n%s", qUtf8Printable(program->log()));
        return nullptr;
    }
    return program.release();
}

ShaderProgram *MakeTextureShaderFromFile(const QString &fragmentFile)
{
    std::unique_ptr<ShaderProgram> program = newPassProgram();
    program->addShaderFromFile(GL_FRAGMENT_SHADER, fragmentFile);
    // Required: unlike above, the messages do not contain the log.
    if (!program->compile()) {
        ZEL_LOG_WARNING("shader program failed to compile");
        return nullptr;
    }
    if (!program->link()) {
        ZEL_LOG_WARNING("shader program failed to link");
        return nullptr;
    }
    return program.release();
}

void ProcessTexture(ShaderProgram *program, const QHash<QString, QVariant> &uniforms, Texture *source,
                    Texture *target)
{
    runPass(program, uniforms, source, target);
}

void BlitTexture(const Texture *source, const Texture *target, TextureFormat format, int width, int height)
{
    if (source == nullptr || target == nullptr) {
        return;
    }
    // 1. Which part of a framebuffer the format belongs to.
    GLenum attachment = GL_COLOR_ATTACHMENT0;
    GLbitfield mask = GL_COLOR_BUFFER_BIT;
    switch (ExternalFormat(format)) {
    case GL_DEPTH_COMPONENT:
        attachment = GL_DEPTH_ATTACHMENT;
        mask = GL_DEPTH_BUFFER_BIT;
        break;
    case GL_DEPTH_STENCIL:
        attachment = GL_DEPTH_STENCIL_ATTACHMENT;
        mask = GL_DEPTH_BUFFER_BIT | GL_STENCIL_BUFFER_BIT;
        break;
    default:
        break;
    }

    // 2. A framebuffer for each side. Plain GL calls, because attach() takes no const texture.
    const FramebufferObject readFramebuffer(nullptr);
    const FramebufferObject drawFramebuffer(nullptr);
    const AutoDisabler scissorTest(GL_SCISSOR_TEST); // the only test that clips a blit
    for (const auto &[framebuffer, texture] :
         {std::pair(&readFramebuffer, source), std::pair(&drawFramebuffer, target)}) {
        glBindFramebuffer(GL_FRAMEBUFFER, framebuffer->getFBO());
        glFramebufferTexture2D(GL_FRAMEBUFFER, attachment, texture->target(), texture->textureID(), 0);
        // Before OpenGL 4.1 a missing colour image makes it incomplete.
        if (attachment != GL_COLOR_ATTACHMENT0) {
            glDrawBuffer(GL_NONE);
            glReadBuffer(GL_NONE);
        }
    }
    // 3. The copy; the draw side is still bound to both targets.
    glBindFramebuffer(GL_READ_FRAMEBUFFER, readFramebuffer.getFBO());
    glBlitFramebuffer(0, 0, width, height, 0, 0, width, height, mask, GL_NEAREST);
    glFramebufferTexture2D(GL_READ_FRAMEBUFFER, attachment, source->target(), 0, 0);
    glFramebufferTexture2D(GL_DRAW_FRAMEBUFFER, attachment, target->target(), 0, 0);
    glBindFramebuffer(GL_FRAMEBUFFER, 0);
}

bool SrgbToLinear(Texture *&texture)
{
    return replaceByPass(texture, kSrgbToLinear, {});
}

bool LinearToSrgb(Texture *&texture)
{
    return replaceByPass(texture, kLinearToSrgb, {});
}

bool Premultiply(Texture *&texture)
{
    return replaceByPass(texture, kPremultiply, {});
}

bool FlipY(Texture *&texture)
{
    return replaceByPass(texture, kFlipY, {});
}

bool RemapColorRange(Texture *&texture, float low, float high)
{
    if (texture == nullptr) {
        return false;
    }
    // Exact: a NaN is no identity; see TextureProcessingTest.RemapColorRangeOfTheIdentityDoesNothing.
    if (low == 0.0f && high == 1.0f) {
        return false;
    }
    return replaceByPass(texture, kRemapColorRange,
                         {{QStringLiteral("u_lowValue"), low}, {QStringLiteral("u_highValue"), high}});
}

}} // namespace Orvane::Zel
