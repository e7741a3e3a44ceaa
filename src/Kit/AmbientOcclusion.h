#pragma once

#include "KitExport.h"

#include <QtCore/QSize>
#include <QtCore/QString>
#include <QtGui/QMatrix4x4>

#include <memory>

namespace Orvane {

namespace Zel {
class ShaderProgram;
class Texture;
} // namespace Zel

namespace ZelKit {

class OwnContext;
class RenderTarget;

/// Screen-space ambient occlusion: estimates from the depth and normals of a frame how much ambient light reaches each
/// surface, so that crevices and contacts darken.
///
/// Between beginGeometry() and endGeometry() the host draws all surfaces that cast or receive occlusion, into the bound
/// framebuffer; the colour is the normal of the face in view space, and the distance along the view. Then texture() holds the
/// openness of each pixel, from 0 to 1, and the distance. Shaders read it with opennessAt() of "KitOcclusion.glslh", whose uniform
/// u_Occlusion is the unit of the texture.
///
/// - Units: sizes in pixels.
/// - Context: create, use and delete with the same context current.
/// - Errors: a function that can fail explains why in its last argument, or logs it.
///
/// \snippet kit.cpp AmbientOcclusion
class ZELKIT_EXPORT AmbientOcclusion
{
    Q_DISABLE_COPY(AmbientOcclusion)

public:
    /// Null if the driver rejects a shader.
    static std::unique_ptr<AmbientOcclusion> create(QString *error = nullptr);
    ~AmbientOcclusion();

    /// Call it before the first frame and when the size changes; does nothing if it is unchanged. False if the driver cannot
    /// provide the framebuffers.
    bool resize(const QSize &size, QString *error = nullptr);

    /// Binds and clears the framebuffer, sets the viewport, and enables depth writes. False, with a warning, before a successful
    /// resize().
    bool beginGeometry();
    /// Restores the framebuffer and the viewport of before beginGeometry(). \a reach: greatest distance of an occluder, in units of
    /// the scene; a tenth of its size at most. 0, as of a scene that is a point, leaves everything open.
    bool endGeometry(const QMatrix4x4 &projection, float reach);

    /// Null before a successful resize().
    Zel::Texture *texture();

private:
    ZELKIT_NO_EXPORT AmbientOcclusion();

    ZELKIT_NO_EXPORT void pass(Zel::ShaderProgram &program, RenderTarget &target,
                               const QMatrix4x4 &projection, float reach);

    ZELKIT_NO_EXPORT bool isUsable(QString *error = nullptr) const;

    std::unique_ptr<OwnContext> _context;
    std::unique_ptr<Zel::ShaderProgram> _estimator;
    std::unique_ptr<Zel::ShaderProgram> _smoother;
    QSize _size;
    bool _isOpen = false;     ///< between beginGeometry() and endGeometry()
    int _hostFramebuffer = 0; ///< in between
    int _hostViewport[4] = {};
    std::unique_ptr<RenderTarget> _geometry;
    std::unique_ptr<RenderTarget> _estimate;
    std::unique_ptr<RenderTarget> _smoothed;
};

} // namespace ZelKit
} // namespace Orvane
