#pragma once

#include "file/Outcome.h"
#include "frame/Programs.h"
#include "frame/View.h"
#include "scene/Scene.h"

#include <memory>

namespace Orvane { namespace Zel {
class Texture;
}} // namespace Orvane::Zel

namespace zeltools {

class Environment;
class ShadowedLights;

/// A horizontal ground under a scene that shows only shadows and occlusion: it darkens the backdrop. It is invisible from
/// below.
///
/// Context: create, use and delete with the same context current.
class Ground
{
    Q_DISABLE_COPY(Ground)

public:
    /// The processor of \a programs must have the defines of ShadowedLights, and those of Environment if there is one.
    static Expected<std::unique_ptr<Ground>> create(Programs &programs, const Box &scene);
    ~Ground();

    /// Draws the geometry for AmbientOcclusion into the bound framebuffer; call it before the model is drawn.
    void drawGeometry(const View &view);
    /// Darkens the backdrop in the bound framebuffer; call it before the model is drawn. Neither tests nor writes depth.
    void draw(const View &view, Orvane::Zel::Texture *occlusion, ShadowedLights &shadows,
              Environment *environment);

private:
    Ground(ProgramPointer geometry, ProgramPointer shading, const Box &scene);

    void setView(Orvane::Zel::ShaderProgram &program, const View &view) const;

    ProgramPointer _geometry;
    ProgramPointer _shading;
    QVector3D _middle; ///< centre of the scene, projected onto the ground
    float _radius;     ///< radius of the scene
};

} // namespace zeltools
