#pragma once

#include "KitExport.h"

#include <ZelGL/ShadowMapManager.h>

#include <QtCore/QPair>
#include <QtCore/QSharedPointer>
#include <QtCore/QString>
#include <QtCore/QVariant>
#include <QtGui/QMatrix4x4>
#include <QtGui/QVector3D>

#include <functional>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

class QVector2D;

namespace Orvane {

namespace Zel {
class Bounds;
class FramebufferObject;
class GLSLMacroProcessor;
class ShaderProgram;
class Texture;
class TextureManager;
class UniformBufferObject;
} // namespace Zel

namespace ZelKit {

class OwnContext;
class RenderTarget;
class StableCascades;

/// A light that casts shadows.
///
/// - Units: world space, and radians.
/// - Context: none.
/// - Errors: none.
///
/// \snippet kit.cpp ShadowLight
struct ZELKIT_EXPORT ShadowLight
{
    enum Type { ePoint, eSpot, eDirectional };

    Type type = eDirectional;
    QVector3D position;                     ///< unless directional
    QVector3D direction{0.0f, -1.0f, 0.0f}; ///< in which it shines, of any length; unless a point light
    /// Of the cone of a spot light. The light fades to its edge from nine tenths of the angle on.
    float halfAngle = 0.7853982f;
    /// Radius of the source, which softens its shadows; of a directional light the tangent of its angular radius.
    float size = 0.0f;

    /// A transform to the position whose -z axis is the direction; the up direction is arbitrary.
    QMatrix4x4 placement() const;

    /// A directional light.
    static ShadowLight sun(const QVector3D &direction, float size = 0.0f);
    static ShadowLight spot(const QVector3D &position, const QVector3D &direction, float halfAngle,
                            float size = 0.0f);
    static ShadowLight point(const QVector3D &position, float size = 0.0f);
};

/// The shadow map layers of a frame: their projections, allocation and rendering, and their lookup in shaders.
///
/// For each frame, call update(), which lets the host draw the casters of each layer whose projection has changed. It draws them
/// with pancaking: a caster between a light and the near end of a layer casts its shadow. build() builds shaded programs, which
/// include "KitShadows.glslh". Its shadowIrradiance() is the light that a face gets, with its shadow; its shadowVisibility()
/// is the shadow alone, filtered by the size of the source and blended between cascades. DrawScope binds the layers for a draw.
///
/// - Units: world space; the side of a layer in texels.
/// - Context: create, use and delete with the same context current.
/// - Errors: a function that can fail explains why in its last argument, or logs it.
///
/// \snippet kit.cpp ShadowLayers
class ZELKIT_EXPORT ShadowLayers
{
    Q_DISABLE_COPY(ShadowLayers)

public:
    static constexpr int kMaxLights = Zel::ShadowMapManager::kShadowMapInfoArraySizeMax;
    static constexpr int kMaxLayers = Zel::ShadowMapManager::kShadowMapTransformArraySizeMax;

    enum Kind {
        ePlain,   ///< depths; shaders filter them with many lookups
        eVariance ///< blurred moments of depths; one lookup
    };

    struct Options
    {
        Kind kind = ePlain;
        int cascades = 4; ///< of a directional light
        /// Budget of all lights together. Lights get layers in their order; those beyond the budget cast no shadow.
        int maxLayers = kMaxLayers;
        /// Of up to eight plain layers. More layers, and variance layers, have half the side.
        int side = 2048;
        /// Cascades whose texels keep their size and place while the camera moves: the edges of shadows do not shimmer. They
        /// hold more than what the camera sees, and so their texels are larger. Directional lights then get their layers first.
        bool isStable = false;
    };

    /// A layer to be drawn.
    struct Layer
    {
        int number;
        QMatrix4x4 projection; ///< from the world to clip space, for the vertex stage of casters
        /// To cull casters with: the projection without its near plane, since casters may be before it.
        QMatrix4x4 beam;
    };

    /// Draws all casters into the bound framebuffer, with the projection of the layer and a program of buildCasters(). Draw both
    /// sides of faces.
    using CasterDrawer = std::function<void(const Layer &)>;

    /// Adds the include path and the defines of the programs that draw casters or look shadows up, for hosts that build them
    /// without build(). Call it before their stages are added.
    static void setUp(Zel::GLSLMacroProcessor *processor, Kind kind);
    /// The file that programs link, as another fragment shader, if build() does not build them.
    static QString shaderFile();

    /// Null if an option is out of range or the driver rejects a shader or a texture.
    static std::unique_ptr<ShadowLayers> create(const Options &options, QString *error = nullptr);
    ~ShadowLayers();

    /// ProgramBuilder::build() after setUp(), for programs that look shadows up.
    std::unique_ptr<Zel::ShaderProgram> build(const QString &vertex, const QString &fragment,
                                              Zel::TextureManager *manager = nullptr,
                                              Zel::GLSLMacroProcessor *processor = nullptr) const;
    /// The same for opaque casters. Their vertex stage may be that of the screen, since the layer's projection is an ordinary one.
    /// A fragment stage of the host, such as one that discards, writes shadowCasterMoments() of "KitCasterFragment.glslh"
    /// to output 0 with eVariance, and nothing with ePlain.
    std::unique_ptr<Zel::ShaderProgram> buildCasters(const QString &vertex,
                                                     Zel::TextureManager *manager = nullptr,
                                                     Zel::GLSLMacroProcessor *processor = nullptr) const;

    /// Sets the lights; uses only the first kMaxLights. The number of a light in shaders is its index. A light with values that are
    /// not finite, without a direction, or a spot light without an angle casts no shadow, with a warning.
    void setLights(const std::vector<ShadowLight> &lights);
    /// Makes the next update() render every layer. Call it when casters have changed.
    void invalidate() { _isValid = false; }

    /// Fits the projections to the part of the box that the camera sees, and renders the layers whose projection changed.
    /// Restores framebuffer and viewport; sets the depth mask to true and the depth range to its default. False if the box is empty or
    /// not finite, if the matrices are not finite, without a function to draw casters, or if the driver cannot provide the layers.
    ///
    /// \a box: around all casters and receivers, a little larger than needed. Stable cascades keep their size only if it stays
    /// the same.
    bool update(const QMatrix4x4 &view, const QMatrix4x4 &projection, const Zel::Bounds &box,
                const CasterDrawer &drawCasters, QString *error = nullptr);

    /// Sets the textures and uniforms of a program that is bound, until unbind(). False, with a warning, for null, or if the context of the
    /// layers is not current.
    bool bind(Zel::ShaderProgram *program);
    bool unbind(Zel::ShaderProgram *program);

    /// Draws the table's debug view over the whole viewport: a bar of the lights below, the layers side by side above.
    bool drawDebug(QString *error = nullptr);

    const Options &options() const { return _options; }
    /// The projections of the last update(). Cascades follow the lights a second time, each as a light of its own.
    const Zel::ShadowMapManager::RenderData &table() const { return *_table; }
    int lightCount() const { return int(_sources.size()); }
    int layerCount() const { return _table->transformCount; }
    /// Side of a layer; 1 before there is any.
    int side() const { return _side; }
    /// Number of layers that the last update() rendered.
    int renderedCount() const { return _rendered; }

private:
    using Light = Zel::ShadowMapManager::Light;
    using RenderData = Zel::ShadowMapManager::RenderData;
    using Corners = QPair<QVector3D, QVector3D>;

    ZELKIT_NO_EXPORT explicit ShadowLayers(const Options &options);

    ZELKIT_NO_EXPORT bool buildBlur(QString *error);
    ZELKIT_NO_EXPORT bool makeLayers(int layers, QString *error);
    ZELKIT_NO_EXPORT bool makeBlurTargets(QString *error);

    ZELKIT_NO_EXPORT int stableLayers() const;
    ZELKIT_NO_EXPORT int plannedLayers() const;
    ZELKIT_NO_EXPORT bool fillTable(const QMatrix4x4 &view, const QMatrix4x4 &projection, const Corners &box);
    ZELKIT_NO_EXPORT void addStableCascades(const QMatrix4x4 &view, const QMatrix4x4 &projection,
                                            const Corners &box);
    ZELKIT_NO_EXPORT void placeLights(const QMatrix4x4 &view, const QMatrix4x4 &projection,
                                      const Corners &box);
    ZELKIT_NO_EXPORT void addRuns();
    ZELKIT_NO_EXPORT void upload(const Corners &box);

    ZELKIT_NO_EXPORT void render(const CasterDrawer &drawCasters);
    ZELKIT_NO_EXPORT void renderDepth(const Layer &layer, const CasterDrawer &drawCasters);
    ZELKIT_NO_EXPORT void renderMoments(const Layer &layer, const CasterDrawer &drawCasters);
    ZELKIT_NO_EXPORT void blurFrom(Zel::Texture *source, const QVector2D &step);

    Options _options;
    std::unique_ptr<OwnContext> _context;
    std::unique_ptr<Zel::ShaderProgram> _blur;  ///< null for plain layers
    std::unique_ptr<Zel::ShaderProgram> _debug; ///< null until first used
    std::vector<ShadowLight> _sources;
    std::vector<std::unique_ptr<Light>> _lights;          ///< by source
    std::vector<std::unique_ptr<StableCascades>> _stable; ///< by source
    QVariant _lightList;                                  ///< of _lights
    std::vector<QMatrix4x4> _projections;                 ///< of the cascades of one light
    std::vector<std::pair<int, int>>
        _runs; ///< by source: first run in the table for shaders, and their number
    std::unique_ptr<RenderData> _table;
    QVariant _tableVariant;
    QSharedPointer<Zel::UniformBufferObject> _block;

    int _side = 0;
    int _layers = 0; ///< allocated
    std::unique_ptr<Zel::Texture> _texture;
    std::unique_ptr<Zel::FramebufferObject> _framebuffer;
    std::unique_ptr<RenderTarget> _moments; ///< with depth; null for plain layers
    std::unique_ptr<RenderTarget> _blurred;

    std::vector<std::optional<QMatrix4x4>> _renderedTransforms; ///< by layer
    bool _isValid = false;
    int _rendered = 0;
};

} // namespace ZelKit
} // namespace Orvane
