#pragma once

#include "frame/Options.h"
#include "frame/Outcome.h"
#include "frame/Programs.h"

#include <QtCore/QSize>

#include <memory>

namespace Orvane { namespace Zel {
class Texture;
}} // namespace Orvane::Zel

namespace zelview {

class RenderTarget;

/// Smooths the edges of a finished picture by the library's FXAA or SMAA, the last step on its way to the screen.
///
/// FXAA takes the picture as screens show it. SMAA finds edges in that one and blends the light itself, so that its
/// edges are as bright as more samples would make them.
///
/// Context: create, use and delete with one and the same context current.
class AntiAliasing
{
    Q_DISABLE_COPY(AntiAliasing)

public:
    /// Null for EdgeFilter::eNone.
    static Expected<std::unique_ptr<AntiAliasing>> create(Programs &programs, EdgeFilter filter);
    virtual ~AntiAliasing();

    /// Does nothing for the size that it has.
    Failure resize(const QSize &size);

    /// Where the picture goes first, encoded for a screen.
    RenderTarget &encoded() { return *_encoded; }

    /// Draws the picture into a framebuffer; \a linear is what was encoded, clamped and with linear filters.
    virtual void draw(Orvane::Zel::Texture &linear, unsigned int targetFramebuffer, bool isDithered) = 0;

protected:
    AntiAliasing();

    virtual Failure makeTargets(const QSize &size) = 0;

private:
    QSize _size;
    std::unique_ptr<RenderTarget> _encoded;
};

} // namespace zelview
