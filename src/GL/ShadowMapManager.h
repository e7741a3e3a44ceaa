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

/// From lights to a table of depth projections that shaders read.
///
/// A frame: processLights() when lights, camera or scene changed; where it says so,
/// the host draws the layers of the RenderData; bind() and unbind() around shaded
/// drawing, whose shader asks shadowMapGetVisibility() of ShadowMapManager.glslh.
///
/// A spot light takes one projection; a directional light one, or one a cascade; a
/// point light up to six, by cone and by what the camera sees.
///
/// Units:   world space; at most 32 lights and 32 projections. A light beyond the
///          end of the table is not shadowed, or in part. Matrices and positions are
///          rounded to single precision: far from the origin shadows are coarse.
/// Context: bind() and unbind() alone.
/// Errors:  logged. bind() returns false, and sends nothing to the program, for null
///          arguments and when no texture unit is free. A camera with a far plane at
///          infinity leaves directional and point lights without shadows: a warning,
///          once in the process.
/// Source:  Williams, Casting Curved Shadows on Curved Surfaces, 1978; Donnelly and
///          Lauritzen, Variance Shadow Maps, 2006.
///
/// Lights and RenderData are the host's, handed over as QObject* in a QVariant. How it
/// draws the layers stands in docs/shadows.md.
class ZELGL_EXPORT ShadowMapManager
{
public:
    using Light = ShadowMapLight;
    using RenderData = ShadowMapRenderData;

    static constexpr int kShadowMapInfoArraySizeMax = 32;
    static constexpr int kShadowMapTransformArraySizeMax = 32;

    ShadowMapManager() = delete;

    /// The GLSL file that implements ShadowMapManager.glslh.
    static QString getShaderFile();
    /// Adds the defines. Bit 0 of \a options: the layers are variance maps.
    static void setup(GLSLMacroProcessor *processor, int options);
    /// Of variance maps: the probability that counts as no light at all; 0.1 at first.
    static void setVarianceClamping(float clamping);
    /// Fills gSextantProjectionModelview, once.
    static void setupSextant();

    /// Fills the table. True when it changed. \a lights is a list of QObject*, each
    /// a Light. With camera and scene box the projections are fitted to what is seen.
    static bool processLights(QVariant lights, RenderData &renderData, const QMatrix4x4 *view,
                              const QMatrix4x4 *projection, const QPair<QVector3D, QVector3D> *sceneBounds);
    static bool processLights(QVariant lights, RenderData &renderData);

    /// Binds the texture and hands the table to the uniforms of the program, which the
    /// caller has bound. \a dataVariant is a QObject*, a RenderData.
    static bool bind(ShaderProgram *program, QVariant dataVariant);
    static bool unbind(ShaderProgram *program, QVariant dataVariant);
};

/// The projections of the six faces of a point light.
ZELGL_EXPORT extern QVector<QMatrix4x4> gSextantProjectionModelview;

// Known by this namespace too.
constexpr int kShadowMapInfoArraySizeMax = ShadowMapManager::kShadowMapInfoArraySizeMax;
constexpr int kShadowMapTransformArraySizeMax = ShadowMapManager::kShadowMapTransformArraySizeMax;

}} // namespace Orvane::Zel
