#pragma once

#include "frame/Options.h"
#include "frame/Outcome.h"
#include "frame/Programs.h"
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

class RenderTarget;

/// The depth layers of lights, and what shaders need to know of both: Lights.glslh.
///
/// Layers are rendered with the table's projections, and only when the table says that it changed. Cascades stand in the
/// table a second time, each as a light of its own, so that shaders can ask for the one that suits them.
///
/// Context: create, use and delete with one and the same context current.
class ShadowLayers
{
    Q_DISABLE_COPY(ShadowLayers)

public:
    static constexpr int kMaxLights = Orvane::Zel::ShadowMapManager::kShadowMapInfoArraySizeMax;

    /// Draws what casts shadows into the bound framebuffer with a program that puts this projection to use.
    using CasterDrawer = std::function<void(const QMatrix4x4 &)>;

    /// Defines for programs that include Lights.glslh, and the files that they link.
    static void setUp(Orvane::Zel::GLSLMacroProcessor *processor, ShadowKind kind);
    static QStringList shaderFiles();
    /// The fragment stage of programs for casters, behind "shadow.vert".
    static QString casterFile(ShadowKind kind);
    /// What a projection can show shadows of, as a projection to cull casters with: they may stand before its near end.
    static QMatrix4x4 beam(const QMatrix4x4 &projection);

    static Expected<std::unique_ptr<ShadowLayers>> create(Programs &programs, ShadowKind kind, int cascades);
    ~ShadowLayers();

    /// The lights from now on: the first kMaxLights.
    void setLights(const std::vector<LightSource> &lights);
    /// The next update() renders every layer: casters have changed.
    void invalidate() { _isValid = false; }

    /// Fits the projections to what is seen of the box, and renders the layers if they changed. Leaves no framebuffer
    /// bound.
    Failure update(const View &view, const Box &box, const CasterDrawer &drawCasters);

    void bind(Orvane::Zel::ShaderProgram *program);
    void unbind(Orvane::Zel::ShaderProgram *program);

    /// The table's view of itself, in a square in the left lower corner of the bound framebuffer.
    void drawDebug(const QSize &viewport);
    /// Cascades in colours of their own.
    void setCascadesShown(bool isShown) { _areCascadesShown = isShown; }

    /// The projections.
    const Orvane::Zel::ShadowMapManager::RenderData &table() const { return *_table; }

    /// In words, for the report.
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
    std::vector<std::pair<int, int>> _runs; ///< by source: the first run that shaders ask for, and how many
    std::unique_ptr<RenderData> _table;
    QSharedPointer<Orvane::Zel::UniformBufferObject> _block;

    int _size = 0; ///< of a side of a layer
    int _layers = 0;
    std::unique_ptr<Orvane::Zel::Texture> _texture;
    std::unique_ptr<Orvane::Zel::FramebufferObject> _framebuffer;
    std::unique_ptr<RenderTarget> _moments; ///< with depth; null for plain layers
    std::unique_ptr<RenderTarget> _blurred;

    std::vector<std::optional<QMatrix4x4>> _renderedTransforms; ///< by layer
    bool _isValid = false;
    bool _areCascadesShown = false;
    int _rendered = 0; ///< layers of the last update()
};

} // namespace zelview
