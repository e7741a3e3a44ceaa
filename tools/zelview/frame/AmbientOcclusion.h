#pragma once

#include "frame/Outcome.h"
#include "frame/Programs.h"

#include <QtCore/QSize>
#include <QtGui/QMatrix4x4>
#include <QtGui/QVector2D>

#include <memory>

namespace Orvane { namespace Zel {
class Texture;
}} // namespace Orvane::Zel

namespace zelview {

class RenderTarget;

/// How much of the light from all around reaches the surfaces of a frame, judged from what the frame itself shows:
/// crevices and contacts darken.
///
/// The caller draws what casts and takes occlusion between beginGeometry() and endGeometry(), with the normal of the
/// face in view space and the distance along the view as colour; then texture() holds, for each pixel, 1 in the open down
/// to 0, and the distance.
///
/// Context: create, use and delete with one and the same context current.
class AmbientOcclusion
{
    Q_DISABLE_COPY(AmbientOcclusion)

public:
    static Expected<std::unique_ptr<AmbientOcclusion>> create(Programs &programs);
    ~AmbientOcclusion();

    /// Does nothing for the size that it has.
    Failure resize(const QSize &size);

    void beginGeometry();
    /// Leaves no framebuffer bound. \a reach: how far an occluder may be, in the scene's units.
    void endGeometry(const QMatrix4x4 &projection, float reach);

    Orvane::Zel::Texture *texture();

private:
    AmbientOcclusion(ProgramPointer estimator, ProgramPointer smoother);

    void pass(Orvane::Zel::ShaderProgram &program, RenderTarget &target, const QMatrix4x4 &projection,
              float reach);

    ProgramPointer _estimator;
    ProgramPointer _smoother;
    QSize _size;
    std::unique_ptr<RenderTarget> _geometry;
    std::unique_ptr<RenderTarget> _estimate;
    std::unique_ptr<RenderTarget> _smoothed;
};

} // namespace zelview
