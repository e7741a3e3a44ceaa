#include "RenderTarget.h"

#include "private/Failure.h"
#include "private/Library.h"
#include "private/Orphans.h"
#include "private/SavedTarget.h"

#include <ZelGL/ZelGL.h>

using namespace Orvane::Zel;

namespace Orvane { namespace ZelKit {

namespace {

constexpr int kMaxErrors = 100;

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

/// Ends with a lost context too, in which some drivers report an error for ever.
void dropErrors()
{
    for (int i = 0; i < kMaxErrors && glGetError() != GL_NO_ERROR; ++i) {}
}

} // namespace

RenderTarget::RenderTarget(const QSize &size, unsigned int colorFormat, Depth depth, int samples)
    : _size(size)
    , _samples(samples)
    , _context(std::make_unique<OwnContext>())
    , _color(makeTexture(size, colorFormat, samples))
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

RenderTarget::~RenderTarget()
{
    keepWithoutContext(*_context, "render target", _framebuffer, _color, _depth);
}

std::unique_ptr<RenderTarget> RenderTarget::create(const QSize &size, unsigned int colorFormat, Depth depth,
                                                   int samples, QString *error)
{
    if (size.isEmpty()) {
        fail(error, QStringLiteral("a render target needs a size of at least 1x1 pixel"));
        return nullptr;
    }
    if (!isLibraryReady(error)) {
        return nullptr;
    }
    const SavedTarget saved;
    dropErrors();
    std::unique_ptr<RenderTarget> target(new RenderTarget(size, colorFormat, depth, samples));
    const bool isAllocated = glGetError() == GL_NO_ERROR;
    dropErrors();
    if (!isAllocated || !target->_framebuffer->isComplete()) {
        fail(error, QStringLiteral("the driver cannot provide a framebuffer of %1x%2 pixels")
                        .arg(size.width())
                        .arg(size.height()));
        return nullptr;
    }
    return target;
}

QImage RenderTarget::picture(const QSize &size, const std::function<void()> &draw, QString *error)
{
    if (!draw) {
        fail(error, QStringLiteral("a picture needs a function that draws"));
        return {};
    }
    if (!isLibraryReady(error)) {
        return {};
    }
    const SavedTarget saved;
    const std::unique_ptr<RenderTarget> target = create(size, GL_RGBA8, eDepth, 0, error);
    if (target == nullptr) {
        return {};
    }
    {
        const AutoBinder bound(target->framebuffer());
        glViewport(0, 0, size.width(), size.height());
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
        draw();
    }
    return target->image(error);
}

QImage RenderTarget::image(QString *error)
{
    if (_samples > 0) {
        fail(error, QStringLiteral(
                        "a multisampled render target has no pixels to read; resolve it into another one"));
        return {};
    }
    if (!isLibraryReady(error) || !_context->isCurrent("render target", error)) {
        return {};
    }
    QImage pixels(_size, QImage::Format_RGBX8888);
    if (pixels.isNull()) {
        fail(error, QStringLiteral("there is not enough memory for the picture"));
        return {};
    }
    const SavedTarget saved;
    dropErrors(); // of the host
    const AutoBinder bound(_framebuffer.get());
    glPixelStorei(GL_PACK_ALIGNMENT, 4);
    glReadPixels(0, 0, _size.width(), _size.height(), GL_RGBA, GL_UNSIGNED_BYTE, pixels.bits());
    if (glGetError() != GL_NO_ERROR) {
        fail(error, QStringLiteral("the picture cannot be read back from the driver"));
        return {};
    }
    return pixels.mirrored().convertToFormat(QImage::Format_RGB888);
}

}} // namespace Orvane::ZelKit
