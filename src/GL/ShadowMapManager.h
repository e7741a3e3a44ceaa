#pragma once

#include "ShadowMapLight.h"
#include "ShadowMapRenderData.h"

#include <QtCore/QPair>
#include <QtCore/QString>
#include <QtCore/QVariant>
#include <QtCore/QVector>
#include <QtGui/QMatrix4x4>
#include <QtGui/QVector3D>

namespace Orvane { namespace Zel {

class GLSLMacroProcessor;
class ShaderProgram;

/// Shadow maps: turns the lights of a frame into a table of projections, which the
/// host renders depth layers with and shaders look up.
///
/// In each frame, call processLights() if lights, camera or scene changed. If it
/// returns true, draw the layers of the RenderData, as docs/shadows.md describes.
/// Call bind() before shaded draws and unbind() after them; their shaders call
/// shadowMapGetVisibility() of ShadowMapManager.glslh.
///
/// A spot light has one projection. A directional light has one, or one for each
/// cascade. A point light has up to six, depending on its cone and on the camera.
///
/// \snippet shadows.cpp ShadowMapManager
///
/// Units:   world space. At most 32 lights and 32 projections; a light beyond these
///          limits has no shadow or a part of it. Matrices and positions are in
///          single precision: far from the origin shadows are coarse.
/// Context: required by bind() and unbind() only. Call all functions on one thread.
/// Errors:  logged. bind() returns false without setting a uniform if an argument is
///          null or no texture unit is free. A camera with its far plane at infinity
///          leaves directional and point lights without shadows; the first one is
///          logged as a warning.
class ZELGL_EXPORT ShadowMapManager
{
public:
    using Light = ShadowMapLight;
    using RenderData = ShadowMapRenderData;

    static constexpr int kShadowMapInfoArraySizeMax = 32;
    static constexpr int kShadowMapTransformArraySizeMax = 32;

    ShadowMapManager() = delete;

    /// Returns the name of the GLSL file that implements ShadowMapManager.glslh.
    static QString getShaderFile();
    /// Adds the defines of that file. Bit 0 of \a options: the layers are variance
    /// shadow maps.
    static void setup(GLSLMacroProcessor *processor, int options);
    /// Sets the visibility up to which a variance map counts as full shadow, against
    /// light bleeding; initially 0.1.
    static void setVarianceClamping(float clamping);
    /// Fills gSextantProjectionModelview unless it is filled.
    static void setupSextant();

    /// Fills the table. Returns true if the layers must be drawn again. \a lights is a
    /// QVariantList of QObject*, each a Light. The pointers may be null; with a scene
    /// box and a camera the projections are fitted to what the camera sees.
    static bool processLights(QVariant lights, RenderData &renderData, const QMatrix4x4 *view,
                              const QMatrix4x4 *projection, const QPair<QVector3D, QVector3D> *sceneBounds);
    static bool processLights(QVariant lights, RenderData &renderData);

    /// Binds the texture and sets the uniforms of the program, which must be bound.
    /// \a dataVariant holds a QObject*, a RenderData.
    static bool bind(ShaderProgram *program, QVariant dataVariant);
    static bool unbind(ShaderProgram *program, QVariant dataVariant);
};

/// The projections of the six faces of a point light at the origin, used if the scene
/// is unknown.
ZELGL_EXPORT extern QVector<QMatrix4x4> gSextantProjectionModelview;

// Known by this namespace too.
constexpr int kShadowMapInfoArraySizeMax = ShadowMapManager::kShadowMapInfoArraySizeMax;
constexpr int kShadowMapTransformArraySizeMax = ShadowMapManager::kShadowMapTransformArraySizeMax;

}} // namespace Orvane::Zel
