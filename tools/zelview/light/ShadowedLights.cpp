#include "light/ShadowedLights.h"

#include "file/Counted.h"
#include "frame/UniformBlock.h"

#include <ZelGL/ZelGL.h>

#include <algorithm>
#include <cmath>

using namespace Orvane::Zel;

namespace zeltools {

namespace {

constexpr int kMaxLights = ShadowedLights::kMaxLights;

/// The struct LightSource of LightTable.glslh, in std140 layout.
struct SourceRecord
{
    float color[3];
    float inverseRange;
    float cone[2];
    float unused[2];
};

/// The block u_LightTable, in std140 layout.
struct TableRecord
{
    qint32 count;
    qint32 areCascadesShown;
    qint32 unused[2];
    SourceRecord sources[kMaxLights];
};
static_assert(sizeof(TableRecord) == 16 + 32 * kMaxLights, "as std140 lays it out");

SourceRecord toRecord(const LightSource &source)
{
    SourceRecord record = {};
    for (int i = 0; i < 3; ++i) {
        record.color[i] = source.color[i];
    }
    const bool isEndless = source.type == LightSource::eDirectional || source.range <= 0.0f;
    record.inverseRange = isEndless ? 0.0f : 1.0f / source.range;
    // Between its two cones a spot light fades linearly with the cosine.
    const float outer = std::cos(source.halfAngle);
    const bool isSpot = source.type == LightSource::eSpot;
    const float fade = std::max(std::cos(source.innerCone) - outer, 1e-3f);
    record.cone[0] = isSpot ? 1.0f / fade : 0.0f;
    record.cone[1] = isSpot ? -outer / fade : 1.0f;
    return record;
}

ShadowedLights::Layers::Kind toKind(ShadowKind kind)
{
    return kind == ShadowKind::eVariance ? ShadowedLights::Layers::eVariance : ShadowedLights::Layers::ePlain;
}

} // namespace

void ShadowedLights::setUp(GLSLMacroProcessor *processor, ShadowKind kind)
{
    Layers::setUp(processor, toKind(kind));
}

QString ShadowedLights::casterFile(ShadowKind kind)
{
    return kind == ShadowKind::eVariance ? QStringLiteral("shadowMoments.frag")
                                         : QStringLiteral("caster.frag");
}

ShadowedLights::ShadowedLights(std::unique_ptr<Layers> layers)
    : _layers(std::move(layers))
    , _block(makeUniformBlock("u_LightTable"))
{
}

ShadowedLights::~ShadowedLights() = default;

Expected<std::unique_ptr<ShadowedLights>> ShadowedLights::create(const Options &options)
{
    Layers::Options layerOptions;
    layerOptions.kind = toKind(options.shadowKind);
    layerOptions.cascades = options.cascades;
    layerOptions.isStable = options.areShadowsStable;
    QString error;
    std::unique_ptr<Layers> layers = Layers::create(layerOptions, &error);
    if (layers == nullptr) {
        return Problem{ExitCode::eGL, error};
    }
    return std::unique_ptr<ShadowedLights>(new ShadowedLights(std::move(layers)));
}

void ShadowedLights::setLights(const std::vector<LightSource> &lights)
{
    _sources.assign(lights.begin(), lights.begin() + std::min(int(lights.size()), kMaxLights));
    _layers->setLights({_sources.begin(), _sources.end()});
}

Failure ShadowedLights::update(const View &view, const Box &box, const Layers::CasterDrawer &drawCasters)
{
    QString error;
    if (!_layers->update(view.view, view.projection, {box.low, box.high}, drawCasters, &error)) {
        return Problem{ExitCode::eGL, error};
    }
    upload();
    return {};
}

void ShadowedLights::upload()
{
    TableRecord record = {};
    record.count = qint32(_sources.size());
    record.areCascadesShown = _areCascadesShown;
    std::transform(_sources.begin(), _sources.end(), record.sources, toRecord);
    uploadUniformBlock(*_block, &record, 1, sizeof(record));
}

void ShadowedLights::bind(ShaderProgram *program)
{
    _block->bind(program);
    _layers->bind(program);
}

void ShadowedLights::unbind(ShaderProgram *program)
{
    _layers->unbind(program);
    _block->unbind(program);
}

void ShadowedLights::drawDebug(const QSize &viewport)
{
    const int side = std::min(viewport.width(), viewport.height());
    glViewport(0, 0, side, side);
    _layers->drawDebug();
    glViewport(0, 0, viewport.width(), viewport.height());
}

QString ShadowedLights::describeFrame() const
{
    if (_sources.empty()) {
        return QStringLiteral("shadows   none");
    }
    return QStringLiteral("shadows   %1, %2 of %3x%3, %4; %5 rendered")
        .arg(counted(int(_sources.size()), "light", "lights"))
        .arg(counted(_layers->layerCount(), "layer", "layers"))
        .arg(_layers->side())
        .arg(_layers->options().kind == Layers::eVariance ? QStringLiteral("variance")
                                                          : QStringLiteral("plain"))
        .arg(_layers->renderedCount());
}

} // namespace zeltools
