#pragma once

#include "frame/Outcome.h"

#include <QtCore/QSize>

#include <memory>

namespace Orvane { namespace Zel {
class FramebufferObject;
class Texture;
}} // namespace Orvane::Zel

namespace zelview {

/// A framebuffer with a colour texture, and a depth texture if asked, which has stencil where it is multisampled.
///
/// Context: construct, use and delete with one and the same context current.
class RenderTarget
{
    Q_DISABLE_COPY(RenderTarget)

public:
    enum Depth { eNoDepth, eDepth };

    /// \a samples of 0 make a plain texture. ExitCode::eGL when the driver cannot provide it.
    static Expected<std::unique_ptr<RenderTarget>> create(const QSize &size, unsigned int colorFormat,
                                                          int samples, Depth depth);
    ~RenderTarget();

    Orvane::Zel::FramebufferObject *framebuffer() { return _framebuffer.get(); }
    Orvane::Zel::Texture *color() { return _color.get(); }

private:
    RenderTarget(const QSize &size, unsigned int colorFormat, int samples, Depth depth);

    std::unique_ptr<Orvane::Zel::Texture> _color;
    std::unique_ptr<Orvane::Zel::Texture> _depth;
    std::unique_ptr<Orvane::Zel::FramebufferObject> _framebuffer; ///< goes before what is attached to it
};

} // namespace zelview
