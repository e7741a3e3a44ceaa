#pragma once

#include "../RenderTarget.h"

#include <QtCore/QSize>
#include <QtCore/QString>

#include <memory>

namespace Orvane { namespace ZelKit {

/// A target of a pass that is read with linear filters, without depth.
std::unique_ptr<RenderTarget> makeFilteredTarget(const QSize &size, unsigned int format, QString *error);

/// Smooths the edges of a finished picture with the library's FXAA or SMAA, as the last step before the screen.
///
/// Context: create, use and delete with the same context current.
class EdgeFilter
{
    Q_DISABLE_COPY(EdgeFilter)

public:
    /// FXAA, or SMAA.
    static std::unique_ptr<EdgeFilter> create(bool isSmaa, QString *error);
    virtual ~EdgeFilter();

    bool resize(const QSize &size, QString *error);

    /// The target for the sRGB picture that draw() reads.
    RenderTarget &encoded() { return *_encoded; }

    /// Draws the picture into a framebuffer, which stays bound. \a linear: the same picture in linear light, with linear filters.
    virtual void draw(Zel::Texture &linear, unsigned int targetFramebuffer, bool isDithered) = 0;

protected:
    EdgeFilter();

    virtual bool makeTargets(const QSize &size, QString *error) = 0;

private:
    std::unique_ptr<RenderTarget> _encoded;
};

}} // namespace Orvane::ZelKit
