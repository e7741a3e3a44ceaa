#pragma once

#include "frame/Options.h"
#include "frame/Outcome.h"
#include "frame/Programs.h"
#include "frame/Targets.h"
#include "frame/View.h"
#include "light/Lights.h"
#include "scene/Scene.h"

#include <ZelGL/ShadowMapManager.h>

#include <QtCore/QSize>
#include <QtCore/QString>
#include <QtGui/QMatrix4x4>
#include <QtGui/QVector2D>

#include <functional>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

namespace Orvane { namespace Zel {
class FramebufferObject;
class Texture;
class UniformBufferObject;
}} // namespace Orvane::Zel

namespace zelview {

/// The shadow map layers of the lights, and the uniforms of Lights.glslh.
///
/// A layer is rendered with its projection in the table, and only if that has changed. Cascades are in the table a second
/// time, each as a separate light, so that shaders can sample the cascade that they choose.
///
/// Context: create, use and delete with the same context current.
class ShadowLayers
{
    Q_DISABLE_COPY(ShadowLayers)

public:
    static constexpr int kMaxLights = Orvane::Zel::ShadowMapManager::kShadowMapInfoArraySizeMax;

    /// Draws all casters into the bound framebuffer, with this projection.
    using CasterDrawer = std::function<void(const QMatrix4x4 &)>;

    /// Adds the defines of programs that include Lights.glslh.
    static void setUp(Orvane::Zel::GLSLMacroProcessor *processor, ShadowKind kind);
    static QStringList shaderFiles();
    /// The fragment stage of caster programs; the vertex stage is "shadow.vert".
    static QString casterFile(ShadowKind kind);
    /// The projection to cull casters with: the volume of the shadow projection without its near plane, since casters may be
    /// before it.
    static QMatrix4x4 beam(const QMatrix4x4 &projection);

    static Expected<std::unique_ptr<ShadowLayers>> create(Programs &programs, ShadowKind kind, int cascades);
    ~ShadowLayers();

    /// Sets the lights; uses only the first kMaxLights.
    void setLights(const std::vector<LightSource> &lights);
    /// Makes the next update() render every layer. Call it when casters have changed.
    void invalidate() { _isValid = false; }

    /// Fits the projections to the visible part of the box, and renders the layers whose projection changed. Leaves no
    /// framebuffer bound.
    Failure update(const View &view, const Box &box, const CasterDrawer &drawCasters);

    void bind(Orvane::Zel::ShaderProgram *program);
    void unbind(Orvane::Zel::ShaderProgram *program);

    /// Draws the table's debug view into a square in the lower left corner of the bound framebuffer.
    void drawDebug(const QSize &viewport);
    /// Colours each cascade differently.
    void setCascadesShown(bool isShown) { _areCascadesShown = isShown; }

    /// The table of projections.
    const Orvane::Zel::ShadowMapManager::RenderData &table() const { return *_table; }

    /// A line for the report.
    QString describeFrame() const;

private:
    using Light = Orvane::Zel::ShadowMapManager::Light;
    using RenderData = Orvane::Zel::ShadowMapManager::RenderData;

    ShadowLayers(ShadowKind kind, int cascades);

    Failure buildPrograms(Programs &programs);

    void placeLights(const View &view, const Box &box);
    void addRuns();
    void upload(const Box &box);
    Failure makeLayers();
    void render(const CasterDrawer &drawCasters);
    void renderDepth(int layer, const CasterDrawer &drawCasters);
    void renderMoments(int layer, const CasterDrawer &drawCasters);
    void blurFrom(Orvane::Zel::Texture *source, const QVector2D &step);

    ShadowKind _kind;
    int _cascades;
    ProgramPointer _blur; ///< null for plain layers
    ProgramPointer _debug;
    std::vector<LightSource> _sources;
    std::vector<std::unique_ptr<Light>> _lights; ///< by source
    std::vector<std::pair<int, int>>
        _runs; ///< by source: the first run in the table that shaders use, and the number of runs
    std::unique_ptr<RenderData> _table;
    QSharedPointer<Orvane::Zel::UniformBufferObject> _block;

    int _size = 0; ///< side of a layer
    int _layers = 0;
    std::unique_ptr<Orvane::Zel::Texture> _texture;
    std::unique_ptr<Orvane::Zel::FramebufferObject> _framebuffer;
    std::unique_ptr<RenderTarget> _moments; ///< with depth; null for plain layers
    std::unique_ptr<RenderTarget> _blurred;

    std::vector<std::optional<QMatrix4x4>> _renderedTransforms; ///< by layer
    bool _isValid = false;
    bool _areCascadesShown = false;
    int _rendered = 0; ///< layers that the last update() rendered
};

} // namespace zelview
