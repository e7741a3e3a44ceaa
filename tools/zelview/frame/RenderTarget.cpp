#include "frame/RenderTarget.h"

#include <ZelGL/ZelGL.h>

using namespace Orvane::Zel;

namespace zelview {

namespace {

std::unique_ptr<Texture> makeTexture(const QSize &size, unsigned int format, int samples)
{
    auto texture = std::make_unique<Texture>(nullptr);
    if (samples > 0) {
        texture->create2DMultisample(GL_TEXTURE_2D_MULTISAMPLE, format, size.width(), size.height(), samples);
    } else {
        texture->create2D(GL_TEXTURE_2D, format, size.width(), size.height());
    }
    return texture;
}

void dropErrors()
{
    while (glGetError() != GL_NO_ERROR) {}
}

} // namespace

RenderTarget::RenderTarget(const QSize &size, unsigned int colorFormat, int samples, Depth depth)
    : _color(makeTexture(size, colorFormat, samples))
    , _framebuffer(std::make_unique<FramebufferObject>(nullptr))
{
    _framebuffer->bind();
    _framebuffer->attach(_color.get(), GL_COLOR_ATTACHMENT0, 0);
    if (depth == eDepth) {
        // Only multisampled textures can have depth and stencil: other textures need a transfer type, and the library's tables
        // have one only for plain depth formats.
        const bool hasStencil = samples > 0;
        _depth = makeTexture(size, hasStencil ? GL_DEPTH24_STENCIL8 : GL_DEPTH_COMPONENT32F, samples);
        _framebuffer->attach(_depth.get(), hasStencil ? GL_DEPTH_STENCIL_ATTACHMENT : GL_DEPTH_ATTACHMENT, 0);
    }
    _framebuffer->setDrawBuffers();
    _framebuffer->unbind();
}

RenderTarget::~RenderTarget() = default;

Expected<std::unique_ptr<RenderTarget>> RenderTarget::create(const QSize &size, unsigned int colorFormat,
                                                             int samples, Depth depth)
{
    dropErrors();
    std::unique_ptr<RenderTarget> target(new RenderTarget(size, colorFormat, samples, depth));
    const bool isAllocated = glGetError() == GL_NO_ERROR;
    dropErrors();
    if (!isAllocated || !target->_framebuffer->isComplete()) {
        return Problem{ExitCode::eGL,
                       QStringLiteral("the driver cannot provide a framebuffer of %1x%2 pixels")
                           .arg(size.width())
                           .arg(size.height())};
    }
    return target;
}

} // namespace zelview
