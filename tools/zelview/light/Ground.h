#pragma once

#include "frame/Outcome.h"
#include "frame/Programs.h"
#include "frame/View.h"
#include "scene/Scene.h"

#include <memory>

namespace Orvane { namespace Zel {
class Texture;
}} // namespace Orvane::Zel

namespace zelview {

class Environment;
class ShadowLayers;

/// A level ground under a scene, of which only what the scene does to it is seen: the backdrop darkens where shadows fall.
/// From below it is not there.
///
/// Context: create, use and delete with one and the same context current.
class Ground
{
    Q_DISABLE_COPY(Ground)

public:
    /// The processor of \a programs has ShadowLayers' defines, and that of Environment where there is one.
    static Expected<std::unique_ptr<Ground>> create(Programs &programs, const Box &scene);
    ~Ground();

    /// Into the bound framebuffer, for AmbientOcclusion, before the model.
    void drawGeometry(const View &view);
    /// Over the backdrop in the bound framebuffer, before the model. Depth is neither tested nor written.
    void draw(const View &view, Orvane::Zel::Texture *occlusion, ShadowLayers &shadows,
              Environment *environment);

private:
    Ground(ProgramPointer geometry, ProgramPointer shading, const Box &scene);

    void setView(Orvane::Zel::ShaderProgram &program, const View &view) const;

    ProgramPointer _geometry;
    ProgramPointer _shading;
    QVector3D _middle; ///< of the scene, on the ground
    float _radius;     ///< of the scene
};

} // namespace zelview
