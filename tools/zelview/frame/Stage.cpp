#include "frame/Stage.h"

#include "frame/AntiAliasing.h"

#include <ZelGL/ZelGL.h>

#include <algorithm>

using namespace Orvane::Zel;

namespace zelview {

namespace {

int queryLimit(GLenum name)
{
    GLint value = 1;
    glGetIntegerv(name, &value);
    return value;
}

/// Linear filters, since an edge filter reads between texels.
void setSmooth(Texture &texture)
{
    const AutoBinder bound(&texture);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
}

} // namespace

Stage::Stage(ProgramPointer encoder, std::unique_ptr<AntiAliasing> antiAliasing, int samples)
    : _encoder(std::move(encoder))
    , _antiAliasing(std::move(antiAliasing))
    , _samples(samples)
{
}

Stage::~Stage() = default;

Expected<std::unique_ptr<Stage>> Stage::create(Programs &programs, int samples, EdgeFilter filter)
{
    Expected<ProgramPointer> encoder = programs.buildFullscreen(QStringLiteral("encode.frag"));
    if (!encoder) {
        return encoder.problem();
    }
    Expected<std::unique_ptr<AntiAliasing>> antiAliasing = AntiAliasing::create(programs, filter);
    if (!antiAliasing) {
        return antiAliasing.problem();
    }
    const int maxSamples =
        std::min(queryLimit(GL_MAX_COLOR_TEXTURE_SAMPLES), queryLimit(GL_MAX_DEPTH_TEXTURE_SAMPLES));
    return std::unique_ptr<Stage>(
        new Stage(*encoder, std::move(*antiAliasing), std::clamp(samples, 1, std::max(maxSamples, 1))));
}

Failure Stage::resize(const QSize &size)
{
    if (size == _size) {
        return {};
    }
    _multisampled.reset();
    _resolved.reset();
    _size = QSize();

    // Drivers may provide more samples than one if one is requested, so one sample means a texture without multisampling.
    auto multisampled = makeTarget(size, GL_RGBA16F, RenderTarget::eDepth, _samples > 1 ? _samples : 0);
    if (!multisampled) {
        return multisampled.problem();
    }
    auto resolved = makeTarget(size, GL_RGBA16F, RenderTarget::eNoDepth);
    if (!resolved) {
        return resolved.problem();
    }
    setSmooth(*(*resolved)->color());
    if (_antiAliasing != nullptr) {
        if (const Failure failure = _antiAliasing->resize(size)) {
            return failure;
        }
    }
    _multisampled = std::move(*multisampled);
    _resolved = std::move(*resolved);
    _size = size;
    return {};
}

void Stage::begin()
{
    _multisampled->framebuffer()->bind();
    glViewport(0, 0, _size.width(), _size.height());
    glEnable(GL_MULTISAMPLE);
    glDepthMask(GL_TRUE);
    glClear(GL_DEPTH_BUFFER_BIT | GL_STENCIL_BUFFER_BIT);
}

void Stage::end(unsigned int targetFramebuffer, bool isDithered)
{
    _multisampled->framebuffer()->unbind();
    resolve();
    glViewport(0, 0, _size.width(), _size.height());
    if (_antiAliasing != nullptr) {
        {
            const AutoBinder bound(_antiAliasing->encoded().framebuffer());
            encode(false);
        }
        _antiAliasing->draw(*_resolved->color(), targetFramebuffer, isDithered);
        return;
    }
    glBindFramebuffer(GL_FRAMEBUFFER, targetFramebuffer);
    encode(isDithered);
}

void Stage::resolve()
{
    FramebufferObject *target = _resolved->framebuffer();
    target->bind();
    glBindFramebuffer(GL_READ_FRAMEBUFFER, _multisampled->framebuffer()->getFBO());
    glBlitFramebuffer(0, 0, _size.width(), _size.height(), 0, 0, _size.width(), _size.height(),
                      GL_COLOR_BUFFER_BIT, GL_NEAREST);
    target->unbind();
}

void Stage::encode(bool isDithered)
{
    const AutoDisabler noDepthTest(GL_DEPTH_TEST);
    const AutoDisabler noBlending(GL_BLEND);
    const AutoBinder boundFrame(_resolved->color());
    const AutoBinder boundProgram(_encoder.data());
    _encoder->setUniform(_encoder->getUniformLocation(QStringLiteral("u_Frame")),
                         int(_resolved->color()->unit()));
    _encoder->setUniform(_encoder->getUniformLocation(QStringLiteral("u_IsDithered")), int(isDithered));
    drawFullscreen(_encoder.data());
}

} // namespace zelview
