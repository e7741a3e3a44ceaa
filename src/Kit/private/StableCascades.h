#pragma once

#include "SceneBox.h"

#include <QtGui/QMatrix4x4>

#include <vector>

namespace Orvane { namespace ZelKit {

/// Projections of the cascades of a directional light whose texels do not move (Valient, "Stable rendering of cascaded shadow
/// maps", ShaderX6, 2008). Uses no GL.
///
/// A cascade holds the sphere around its slice of the view, whose size does not depend on where the camera looks. The slices
/// split the depths of the sphere around the scene. The radius is one of a few fractions of the scene's, and changes from one to
/// another only after the camera has come nearer or gone farther by a good part. The centre is on a grid of whole texels.
class StableCascades
{
public:
    /// \a texels: side of a layer. Replaces \a projections, finest first: at most \a count, for the last one holds the scene.
    void fit(const QMatrix4x4 &view, const QMatrix4x4 &projection, const SceneBox &box,
             const QVector3D &direction, int count, int texels, std::vector<QMatrix4x4> &projections);

private:
    /// The number of half powers of two by which the radius of a cascade is smaller than that of the scene.
    int stepOf(int cascade, double radius, double sceneRadius);

    std::vector<int> _steps; ///< by cascade, of the last fit()
};

}} // namespace Orvane::ZelKit
