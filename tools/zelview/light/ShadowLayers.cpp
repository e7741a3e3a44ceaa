#include "light/ShadowLayers.h"

#include "frame/Counted.h"
#include "frame/UniformBlock.h"

#include <ZelGL/ZelGL.h>

#include <QtGui/QVector2D>

#include <algorithm>
#include <array>
#include <cmath>

using namespace Orvane::Zel;

namespace zelview {

namespace {

constexpr int kMaxLights = ShadowLayers::kMaxLights;

constexpr int kSize = 2048;      ///< side of a layer, in texels
constexpr int kSmallSize = 1024; ///< the same for more layers than kMaxFullSizeLayers
constexpr int kMaxFullSizeLayers = 8;

/// Factor on the distance of the blur taps that the table suggests for variance layers. It makes edges as soft as those of
/// plain layers.
constexpr float kBlurStep = 3.0f;

/// Pancaking moves casters before the near plane of a projection onto it. Depth 0 means "empty", so depths start slightly
/// above 0.
constexpr double kFirstDepth = 1e-6;

/// Scale of the camera's projection to which the shadow projections are fitted: less than 1 widens the view, so that
/// filters find texels at its edges.
constexpr float kWidening = 0.96f;

/// A spot light wider than this, in radians, gets cube faces like a point light.
constexpr float kMaxSpotAngle = 1.2f;

/// The reach of the projection of a spot light, in units of the light.
constexpr float kSpotReach = 100.0f;

/// The struct LightSource of LightTable.glslh, in std140 layout.
struct SourceRecord
{
    float position[3];
    float inverseRange;
    float towards[3];
    qint32 isLocal;
    float color[3];
    float size;
    float cone[2];
    qint32 runs[2];
};

/// The block u_LightTable, in std140 layout.
struct TableRecord
{
    qint32 count;
    qint32 areCascadesShown;
    float reach;
    float unused;
    SourceRecord sources[kMaxLights];
};
static_assert(sizeof(TableRecord) == 16 + 64 * kMaxLights, "as std140 lays it out");

void copy(const QVector3D &vector, float (&target)[3])
{
    for (int i = 0; i < 3; ++i) {
        target[i] = vector[i];
    }
}

SourceRecord toRecord(const LightSource &source, const std::pair<int, int> &runs)
{
    SourceRecord record = {};
    copy(source.position, record.position);
    record.inverseRange = source.range > 0.0f ? 1.0f / source.range : 0.0f;
    copy(-source.direction, record.towards);
    record.isLocal = source.type != LightSource::eDirectional;
    copy(source.color, record.color);
    record.size = source.size;
    // Between its two cones a spot light fades linearly with the cosine.
    const float outer = std::cos(source.outerCone);
    const bool isSpot = source.type == LightSource::eSpot;
    const float fade = std::max(std::cos(source.innerCone) - outer, 1e-3f);
    record.cone[0] = isSpot ? 1.0f / fade : 0.0f;
    record.cone[1] = isSpot ? -outer / fade : 1.0f;
    record.runs[0] = runs.first;
    record.runs[1] = runs.second;
    return record;
}

bool isOrthographic(const View &view)
{
    return view.projection(3, 3) != 0.0f;
}

/// The nearest and farthest depth of a box in a view. In a perspective view the near depth is at least a thousandth of the
/// far depth.
struct Depths
{
    float near = 3.4e38f;
    float far = -3.4e38f;
};

Depths depthsOf(const View &view, const Box &box)
{
    Depths depths;
    for (int corner = 0; corner < Box::kCorners; ++corner) {
        const float depth = -view.view.map(box.corner(corner)).z();
        depths.near = std::min(depths.near, depth);
        depths.far = std::max(depths.far, depth);
    }
    if (!isOrthographic(view)) {
        depths.near = std::max(depths.near, 0.001f * depths.far);
    }
    return depths;
}

/// The camera's projection, slightly wider, with the depth range of the box.
QMatrix4x4 projectionToFit(const View &view, const Depths &depths)
{
    QMatrix4x4 projection = view.projection;
    projection(0, 0) *= kWidening;
    projection(1, 1) *= kWidening;
    const float length = depths.far - depths.near;
    if (isOrthographic(view)) {
        projection(2, 2) = -2.0f / length;
        projection(2, 3) = -(depths.far + depths.near) / length;
    } else if (depths.far > 0.0f) { // otherwise the whole box is behind the eye
        projection(2, 2) = -(depths.far + depths.near) / length;
        projection(2, 3) = -2.0f * depths.far * depths.near / length;
    }
    return projection;
}

/// The side of a layer. Blurred layers need less resolution.
int sizeFor(int layers, ShadowKind kind)
{
    if (layers == 0) {
        return 1;
    }
    return layers <= kMaxFullSizeLayers && kind == ShadowKind::eDepth ? kSize : kSmallSize;
}

QMatrix4x4 matrixOf(const ShadowMapManager::RenderData::Transform &transform)
{
    return QMatrix4x4(transform.values.data()).transposed();
}

void dropErrors()
{
    while (glGetError() != GL_NO_ERROR) {}
}

/// An array texture for depths or moments. Outside of a layer nothing casts a shadow.
std::unique_ptr<Texture> makeTexture(ShadowKind kind, int size, int layers)
{
    const bool isVariance = kind == ShadowKind::eVariance;
    auto texture = std::make_unique<Texture>(nullptr);
    texture->create3D(GL_TEXTURE_2D_ARRAY, isVariance ? GL_RG32F : GL_DEPTH_COMPONENT32F, size, size, layers);
    const AutoBinder bound(texture.get());
    const float kEmpty[] = {1.0f, 1.0f, 1.0f, 1.0f};
    glTexParameterfv(GL_TEXTURE_2D_ARRAY, GL_TEXTURE_BORDER_COLOR, kEmpty);
    for (const GLenum wrap : {GL_TEXTURE_WRAP_S, GL_TEXTURE_WRAP_T}) {
        glTexParameteri(GL_TEXTURE_2D_ARRAY, wrap, GL_CLAMP_TO_BORDER);
    }
    if (isVariance) { // means of moments are meaningful
        for (const GLenum filter : {GL_TEXTURE_MIN_FILTER, GL_TEXTURE_MAG_FILTER}) {
            glTexParameteri(GL_TEXTURE_2D_ARRAY, filter, GL_LINEAR);
        }
    }
    return texture;
}

} // namespace

void ShadowLayers::setUp(GLSLMacroProcessor *processor, ShadowKind kind)
{
    ShadowMapManager::setup(processor, kind == ShadowKind::eVariance ? 1 : 0);
}

QStringList ShadowLayers::shaderFiles()
{
    return {ShadowMapManager::getShaderFile()};
}

QString ShadowLayers::casterFile(ShadowKind kind)
{
    return kind == ShadowKind::eVariance ? QStringLiteral("shadowMoments.frag")
                                         : QStringLiteral("caster.frag");
}

QMatrix4x4 ShadowLayers::beam(const QMatrix4x4 &projection)
{
    QMatrix4x4 matrix = projection;
    matrix.setRow(2, QVector4D());
    return matrix;
}

ShadowLayers::ShadowLayers(ShadowKind kind, int cascades)
    : _kind(kind)
    , _cascades(cascades)
    , _table(std::make_unique<RenderData>())
    , _block(makeUniformBlock("u_LightTable"))
    , _framebuffer(std::make_unique<FramebufferObject>(nullptr))
{
}

ShadowLayers::~ShadowLayers() = default;

Expected<std::unique_ptr<ShadowLayers>> ShadowLayers::create(Programs &programs, ShadowKind kind,
                                                             int cascades)
{
    std::unique_ptr<ShadowLayers> layers(new ShadowLayers(kind, cascades));
    if (const Failure failure = layers->buildPrograms(programs)) {
        return *failure;
    }
    if (const Failure failure = layers->makeLayers()) {
        return *failure;
    }
    return layers;
}

Failure ShadowLayers::buildPrograms(Programs &programs)
{
    const Expected<ProgramPointer> debug =
        programs.build({QStringLiteral("passthroughVS.glslc")},
                       QStringList(QStringLiteral("shadowDebug.frag")) + shaderFiles());
    if (!debug) {
        return debug.problem();
    }
    _debug = *debug;
    if (_kind == ShadowKind::eVariance) {
        const Expected<ProgramPointer> blur = programs.buildFullscreen(QStringLiteral("shadowBlur.frag"));
        if (!blur) {
            return blur.problem();
        }
        _blur = *blur;
    }
    return {};
}

void ShadowLayers::setLights(const std::vector<LightSource> &lights)
{
    _sources.assign(lights.begin(), lights.begin() + std::min(int(lights.size()), kMaxLights));
    _lights.clear();
    for (const LightSource &source : _sources) {
        _lights.push_back(std::make_unique<Light>());
        Light &light = *_lights.back();
        if (source.type == LightSource::eDirectional) {
            light.setType(Light::eDirectional);
            light.setCSMLevels(_cascades);
        } else if (source.type == LightSource::eSpot) {
            // Wider than the light, so that filters find texels at its edge.
            light.setType(source.outerCone < kMaxSpotAngle ? Light::eSpot : Light::ePoint);
            light.setSpotCutoff(source.outerCone * 1.05f);
        }
    }
    _isValid = false;
}

Failure ShadowLayers::update(const View &view, const Box &box, const CasterDrawer &drawCasters)
{
    placeLights(view, box);
    QVariantList lights;
    for (const std::unique_ptr<Light> &light : _lights) {
        lights.append(QVariant::fromValue<QObject *>(light.get()));
    }
    const QMatrix4x4 projection = projectionToFit(view, depthsOf(view, box));
    const QPair<QVector3D, QVector3D> ends(box.low, box.high);
    const bool hasChanged = ShadowMapManager::processLights(lights, *_table, &view.view, &projection, &ends);
    addRuns();
    upload(box);
    _rendered = 0;
    if (_table->transformCount > _layers) {
        if (const Failure failure = makeLayers()) {
            return failure;
        }
    }
    if (hasChanged || !_isValid) {
        render(drawCasters);
        _isValid = true;
    }
    return {};
}

/// Places the lights for the table. A directional light gets a position amid the visible part of the box, which its
/// projections need. The others are scaled so that kSpotReach units reach the far end of the box.
void ShadowLayers::placeLights(const View &view, const Box &box)
{
    const Depths depths = depthsOf(view, box);
    const QVector3D middle =
        view.view.inverted().map(QVector3D(0.0f, 0.0f, -0.5f * (depths.near + depths.far)));
    for (size_t i = 0; i < _sources.size(); ++i) {
        LightSource source = _sources[i];
        if (source.type == LightSource::eDirectional) {
            source.direction = -source.direction; // the table's directional lights shine along +z
            source.position = middle;
            _lights[i]->setTransform(source.placement());
            continue;
        }
        float reach = 0.0f;
        for (int corner = 0; corner < Box::kCorners; ++corner) {
            reach = std::max(reach, (box.corner(corner) - source.position).length());
        }
        QMatrix4x4 placement = source.placement();
        placement.scale(reach / kSpotReach);
        _lights[i]->setTransform(placement);
    }
}

void ShadowLayers::addRuns()
{
    _runs.clear();
    int free = int(_sources.size());
    for (size_t i = 0; i < _sources.size(); ++i) {
        const RenderData::ProjectorInfo whole = _table->projectorInfos.at(int(i));
        const bool isSplit = _sources[i].type == LightSource::eDirectional && whole.count > 1
                             && free + whole.count <= kMaxLights;
        _runs.emplace_back(isSplit ? free : int(i), isSplit ? whole.count : 1);
        for (int cascade = 0; isSplit && cascade < whole.count; ++cascade) {
            _table->projectorInfos[free].count = 1;
            _table->projectorInfos[free].index = whole.index + cascade;
            ++free;
        }
    }
}

void ShadowLayers::upload(const Box &box)
{
    TableRecord record = {};
    record.count = qint32(_sources.size());
    record.areCascadesShown = _areCascadesShown;
    record.reach = 2.0f * box.radius();
    for (size_t i = 0; i < _sources.size(); ++i) {
        record.sources[i] = toRecord(_sources[i], _runs[i]);
    }
    uploadUniformBlock(*_block, &record, 1, sizeof(record));
}

/// Creates as many layers as the table has projections, but at least one, since shaders always sample the texture.
Failure ShadowLayers::makeLayers()
{
    _layers = _table->transformCount;
    _size = sizeFor(_layers, _kind);
    _renderedTransforms.clear();
    dropErrors();
    _texture = makeTexture(_kind, _size, std::max(_layers, 1));
    const bool isAllocated = glGetError() == GL_NO_ERROR;
    dropErrors();
    _table->projectionTexture = _texture.get();
    if (!isAllocated) {
        return Problem{ExitCode::eGL,
                       QStringLiteral("the driver cannot provide %1 shadow layers").arg(_layers)};
    }
    if (_kind == ShadowKind::eVariance) {
        auto moments = makeTarget({_size, _size}, GL_RG32F, RenderTarget::eDepth);
        auto blurred = makeTarget({_size, _size}, GL_RG32F, RenderTarget::eNoDepth);
        if (!moments || !blurred) {
            return !moments ? moments.problem() : blurred.problem();
        }
        _moments = std::move(*moments);
        _blurred = std::move(*blurred);
    }
    return {};
}

/// Renders the layers whose projection differs from the one with which they were rendered.
void ShadowLayers::render(const CasterDrawer &drawCasters)
{
    if (!_isValid) {
        _renderedTransforms.clear();
    }
    _renderedTransforms.resize(size_t(_table->transformCount));
    const AutoEnabler depthTest(GL_DEPTH_TEST);
    const AutoEnabler depthClamp(GL_DEPTH_CLAMP);
    const AutoDisabler noBlending(GL_BLEND);
    glViewport(0, 0, _size, _size);
    glDepthMask(GL_TRUE);
    glClearColor(1.0f, 1.0f, 1.0f, 1.0f);
    glDepthRange(kFirstDepth, 1.0);
    for (int layer = 0; layer < _table->transformCount; ++layer) {
        const RenderData::Transform &transform = _table->transforms.at(layer);
        std::optional<QMatrix4x4> &rendered = _renderedTransforms[size_t(layer)];
        if (rendered && transform == *rendered) {
            continue;
        }
        rendered = matrixOf(transform);
        if (_kind == ShadowKind::eVariance) {
            renderMoments(layer, drawCasters);
        } else {
            renderDepth(layer, drawCasters);
        }
        ++_rendered;
    }
    glDepthRange(0.0, 1.0);
}

void ShadowLayers::renderDepth(int layer, const CasterDrawer &drawCasters)
{
    const AutoBinder bound(_framebuffer.get());
    _framebuffer->attach3D(_texture.get(), GL_DEPTH_ATTACHMENT, layer, 0);
    _framebuffer->setDrawBuffers();
    glClear(GL_DEPTH_BUFFER_BIT);
    drawCasters(*_renderedTransforms[size_t(layer)]);
    _framebuffer->detach(GL_DEPTH_ATTACHMENT);
}

void ShadowLayers::renderMoments(int layer, const CasterDrawer &drawCasters)
{
    {
        const AutoBinder bound(_moments->framebuffer());
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
        drawCasters(*_renderedTransforms[size_t(layer)]);
    }
    const AutoDisabler noDepthTest(GL_DEPTH_TEST);
    const float blur = kBlurStep * _table->blurInfos.at(layer).blur;
    {
        const AutoBinder bound(_blurred->framebuffer());
        blurFrom(_moments->color(), {blur, 0.0f});
    }
    const AutoBinder bound(_framebuffer.get());
    _framebuffer->attach3D(_texture.get(), GL_COLOR_ATTACHMENT0, layer, 0);
    _framebuffer->setDrawBuffers();
    blurFrom(_blurred->color(), {0.0f, blur});
    _framebuffer->detach(GL_COLOR_ATTACHMENT0);
}

/// Blurs along one direction, into the bound framebuffer.
void ShadowLayers::blurFrom(Texture *source, const QVector2D &step)
{
    const AutoBinder boundSource(source);
    for (const GLenum filter : {GL_TEXTURE_MIN_FILTER, GL_TEXTURE_MAG_FILTER}) {
        glTexParameteri(GL_TEXTURE_2D, filter, GL_LINEAR);
    }
    for (const GLenum wrap : {GL_TEXTURE_WRAP_S, GL_TEXTURE_WRAP_T}) {
        glTexParameteri(GL_TEXTURE_2D, wrap, GL_CLAMP_TO_EDGE);
    }
    const AutoBinder bound(_blur.data());
    _blur->setUniform(QStringLiteral("u_Moments"), QVariant(int(source->unit())));
    _blur->setUniform(QStringLiteral("u_Step"), QVariant(step));
    drawFullscreen(_blur.data());
}

void ShadowLayers::bind(ShaderProgram *program)
{
    _block->bind(program);
    ShadowMapManager::bind(program, QVariant::fromValue<QObject *>(_table.get()));
}

void ShadowLayers::unbind(ShaderProgram *program)
{
    ShadowMapManager::unbind(program, QVariant::fromValue<QObject *>(_table.get()));
    _block->unbind(program);
}

void ShadowLayers::drawDebug(const QSize &viewport)
{
    const AutoDisabler noDepthTest(GL_DEPTH_TEST);
    const AutoEnabler blending(GL_BLEND);
    glBlendFunc(GL_ONE, GL_ONE_MINUS_SRC_ALPHA);
    const AutoBinder bound(_debug.data());
    bind(_debug.data());
    const int side = std::min(viewport.width(), viewport.height());
    glViewport(0, 0, side, side);
    drawFullscreen(_debug.data());
    glViewport(0, 0, viewport.width(), viewport.height());
    unbind(_debug.data());
}

QString ShadowLayers::describeFrame() const
{
    if (_sources.empty()) {
        return QStringLiteral("shadows   none");
    }
    return QStringLiteral("shadows   %1, %2 of %3x%3, %4; %5 rendered")
        .arg(counted(int(_sources.size()), "light", "lights"))
        .arg(counted(_table->transformCount, "layer", "layers"))
        .arg(_size)
        .arg(_kind == ShadowKind::eVariance ? QStringLiteral("variance") : QStringLiteral("plain"))
        .arg(_rendered);
}

} // namespace zelview
