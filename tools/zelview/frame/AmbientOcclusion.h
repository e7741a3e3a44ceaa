#pragma once

#include "frame/Outcome.h"
#include "frame/Programs.h"
#include "frame/Targets.h"

#include <QtCore/QSize>
#include <QtGui/QMatrix4x4>
#include <QtGui/QVector2D>

#include <memory>

namespace Orvane { namespace Zel {
class Texture;
}} // namespace Orvane::Zel

namespace zelview {

/// Screen-space ambient occlusion: estimates from the depth and normals of a frame how much ambient light reaches each
/// surface, so that crevices and contacts darken.
///
/// Between beginGeometry() and endGeometry() the caller draws all surfaces that cast or receive occlusion; the colour is
/// the normal of the face in view space, and the distance along the view. Then texture() holds the openness of each
/// pixel, from 0 to 1, and the distance.
///
/// Context: create, use and delete with the same context current.
class AmbientOcclusion
{
    Q_DISABLE_COPY(AmbientOcclusion)

public:
    static Expected<std::unique_ptr<AmbientOcclusion>> create(Programs &programs);
    ~AmbientOcclusion();

    /// Does nothing if the size is unchanged.
    Failure resize(const QSize &size);

    void beginGeometry();
    /// Leaves no framebuffer bound. \a reach: greatest distance of an occluder, in units of the scene.
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
