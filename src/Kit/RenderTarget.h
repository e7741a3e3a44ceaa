#pragma once

#include "KitExport.h"

#include <QtCore/QSize>
#include <QtGui/QImage>

#include <functional>
#include <memory>

namespace Orvane { namespace Zel {
class FramebufferObject;
class Texture;
}} // namespace Orvane::Zel

namespace Orvane { namespace ZelKit {

class OwnContext;

/// A framebuffer with a colour texture and an optional depth texture, which has stencil if it is multisampled.
///
/// create(), picture() and image() restore the framebuffer and viewport of the host.
///
/// - Units: sizes in pixels.
/// - Context: construct, use and delete with the same context current.
/// - Errors: create() returns null, and explains why.
///
/// \snippet kit.cpp RenderTarget
///
/// picture() does all of it:
///
/// \snippet kit.cpp picture
class ZELKIT_EXPORT RenderTarget
{
    Q_DISABLE_COPY(RenderTarget)

public:
    enum Depth { eNoDepth, eDepth };

    /// \a colorFormat: a sized internal format such as GL_RGBA8. \a samples: 0 for a texture without multisampling. Null if the
    /// size is empty or the driver cannot provide the framebuffer; the reason goes to \a error, or is logged if \a error is null.
    static std::unique_ptr<RenderTarget> create(const QSize &size, unsigned int colorFormat,
                                                Depth depth = eDepth, int samples = 0,
                                                QString *error = nullptr);
    ~RenderTarget();

    /// What \a draw draws into a new target with depth, which is cleared as the state of GL says; the viewport is all of it. Null
    /// if it fails; the reason goes to \a error, or is logged.
    static QImage picture(const QSize &size, const std::function<void()> &draw, QString *error = nullptr);

    QSize size() const { return _size; }
    Zel::FramebufferObject *framebuffer() { return _framebuffer.get(); }
    Zel::Texture *color() { return _color.get(); }

    /// Null without depth.
    Zel::Texture *depth() { return _depth.get(); }

    /// The colours without alpha, top row first. Unbind the framebuffer before. Null if they cannot be read back: multisampled
    /// targets must be resolved first. The reason goes to \a error, or is logged.
    QImage image(QString *error = nullptr);

private:
    ZELKIT_NO_EXPORT RenderTarget(const QSize &size, unsigned int colorFormat, Depth depth, int samples);

    QSize _size;
    int _samples;
    std::unique_ptr<OwnContext> _context;
    std::unique_ptr<Zel::Texture> _color;
    std::unique_ptr<Zel::Texture> _depth;
    std::unique_ptr<Zel::FramebufferObject> _framebuffer; ///< declared last: deleted before its attachments
};

}} // namespace Orvane::ZelKit
