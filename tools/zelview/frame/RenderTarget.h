#pragma once

#include "frame/Outcome.h"

#include <QtCore/QSize>

#include <memory>

namespace Orvane { namespace Zel {
class FramebufferObject;
class Texture;
}} // namespace Orvane::Zel

namespace zelview {

/// A framebuffer with a colour texture and an optional depth texture, which has stencil if it is multisampled.
///
/// Context: construct, use and delete with the same context current.
class RenderTarget
{
    Q_DISABLE_COPY(RenderTarget)

public:
    enum Depth { eNoDepth, eDepth };

    /// \a samples: 0 for a texture without multisampling. ExitCode::eGL if the driver cannot provide the framebuffer.
    static Expected<std::unique_ptr<RenderTarget>> create(const QSize &size, unsigned int colorFormat,
                                                          int samples, Depth depth);
    ~RenderTarget();

    Orvane::Zel::FramebufferObject *framebuffer() { return _framebuffer.get(); }
    Orvane::Zel::Texture *color() { return _color.get(); }

private:
    RenderTarget(const QSize &size, unsigned int colorFormat, int samples, Depth depth);

    std::unique_ptr<Orvane::Zel::Texture> _color;
    std::unique_ptr<Orvane::Zel::Texture> _depth;
    std::unique_ptr<Orvane::Zel::FramebufferObject>
        _framebuffer; ///< declared last: deleted before its attachments
};

} // namespace zelview
