#pragma once

#include "file/Outcome.h"
#include "frame/Options.h"
#include "frame/View.h"
#include "light/Lights.h"
#include "scene/Scene.h"

#include <ZelKit/ShadowLayers.h>

#include <QtCore/QSharedPointer>
#include <QtCore/QSize>
#include <QtCore/QString>

#include <memory>
#include <vector>

namespace zeltools {

/// The lights of a scene with their shadows, and the uniforms of Lights.glslh.
///
/// Context: create, use and delete with the same context current.
class ShadowedLights
{
    Q_DISABLE_COPY(ShadowedLights)

public:
    using Layers = Orvane::ZelKit::ShadowLayers;

    static constexpr int kMaxLights = Layers::kMaxLights;

    /// Adds the defines of programs that include Lights.glslh.
    static void setUp(Orvane::Zel::GLSLMacroProcessor *processor, ShadowKind kind);
    /// The fragment stage of caster programs; the vertex stage is "shadow.vert".
    static QString casterFile(ShadowKind kind);

    static Expected<std::unique_ptr<ShadowedLights>> create(const Options &options);
    ~ShadowedLights();

    /// Sets the lights; uses only the first kMaxLights.
    void setLights(const std::vector<LightSource> &lights);
    /// Makes the next update() render every layer. Call it when casters have changed.
    void invalidate() { _layers->invalidate(); }

    Failure update(const View &view, const Box &box, const Layers::CasterDrawer &drawCasters);

    void bind(Orvane::Zel::ShaderProgram *program);
    void unbind(Orvane::Zel::ShaderProgram *program);

    /// Draws the table's debug view into a square in the lower left corner of the bound framebuffer.
    void drawDebug(const QSize &viewport);
    /// Colours each cascade differently.
    void setCascadesShown(bool isShown) { _areCascadesShown = isShown; }

    /// The table of projections.
    const Orvane::Zel::ShadowMapManager::RenderData &table() const { return _layers->table(); }

    /// A line for the report.
    QString describeFrame() const;

private:
    explicit ShadowedLights(std::unique_ptr<Layers> layers);

    void upload();

    std::unique_ptr<Layers> _layers;
    std::vector<LightSource> _sources;
    QSharedPointer<Orvane::Zel::UniformBufferObject> _block;
    bool _areCascadesShown = false;
};

} // namespace zeltools
