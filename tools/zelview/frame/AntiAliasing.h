#pragma once

#include "frame/Options.h"
#include "frame/Outcome.h"
#include "frame/Programs.h"
#include "frame/Targets.h"

#include <QtCore/QSize>

#include <memory>

namespace Orvane { namespace Zel {
class Texture;
}} // namespace Orvane::Zel

namespace zelview {

/// Smooths the edges of a finished picture with the library's FXAA or SMAA, as the last step before the screen.
///
/// FXAA works on the sRGB picture. SMAA finds edges in the sRGB picture and blends linear light, so that its edges are as
/// bright as those of multisampling.
///
/// Context: create, use and delete with the same context current.
class AntiAliasing
{
    Q_DISABLE_COPY(AntiAliasing)

public:
    /// Null for EdgeFilter::eNone.
    static Expected<std::unique_ptr<AntiAliasing>> create(Programs &programs, EdgeFilter filter);
    virtual ~AntiAliasing();

    /// Does nothing if the size is unchanged.
    Failure resize(const QSize &size);

    /// The target for the sRGB picture that draw() reads.
    RenderTarget &encoded() { return *_encoded; }

    /// Draws the picture into a framebuffer. \a linear: the same picture in linear light, clamped, with linear filters.
    virtual void draw(Orvane::Zel::Texture &linear, unsigned int targetFramebuffer, bool isDithered) = 0;

protected:
    AntiAliasing();

    virtual Failure makeTargets(const QSize &size) = 0;

private:
    QSize _size;
    std::unique_ptr<RenderTarget> _encoded;
};

} // namespace zelview
