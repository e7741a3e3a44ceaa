#include "ShadowLayers.h"

#include "RenderTarget.h"
#include "private/Checks.h"
#include "private/FullscreenProgram.h"
#include "private/Orphans.h"
#include "private/SavedTarget.h"
#include "private/SceneBox.h"
#include "private/StableCascades.h"

#include <ZelGL/ZelGL.h>
#include <ZelShaders/ProgramBuilder.h>

#include <QtGui/QVector2D>

#include <algorithm>
#include <cmath>

using namespace Orvane::Zel;
using Orvane::ZelShaders::ProgramBuilder;

namespace Orvane { namespace ZelKit {

namespace {

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
constexpr int kCubeFaces = 6;

/// Part of the angle of a spot light in which it has its full strength.
constexpr float kFullPartOfCone = 0.9f;

constexpr int kMaxErrors = 100;

/// What layers are cleared to: the far depth, or its moments.
constexpr GLfloat kFar[4] = {1.0f, 1.0f, 1.0f, 1.0f};

/// The reach of the projection of a spot light, in units of the light. It begins at 0.2 units. Moments need most of the range of
/// depths: their projection begins at a hundredth of the reach, as those of point lights do.
constexpr float kSpotReach = 100.0f;
constexpr float kSpotReachOfMoments = 20.0f;

/// The struct ShadowSource of KitShadows.glslh, in std140 layout.
struct SourceRecord
{
    float position[3];
    float size;
    float towards[3];
    qint32 isLocal;
    qint32 runs[2];
    float cone[2];
};

/// The block u_ShadowSourceTable, in std140 layout.
struct TableRecord
{
    qint32 count;
    float reach;
    qint32 unused[2];
    SourceRecord sources[ShadowLayers::kMaxLights];
};
static_assert(sizeof(TableRecord) == 16 + 48 * ShadowLayers::kMaxLights, "as std140 lays it out");

void copy(const QVector3D &vector, float (&target)[3])
{
    for (int i = 0; i < 3; ++i) {
        target[i] = vector[i];
    }
}

SourceRecord toRecord(const ShadowLight &source, const std::pair<int, int> &runs)
{
    SourceRecord record = {};
    copy(source.position, record.position);
    copy(-source.direction, record.towards);
    record.isLocal = source.type != ShadowLight::eDirectional;
    record.size = source.size;
    record.runs[0] = runs.first;
    record.runs[1] = runs.second;
    const bool isSpot = source.type == ShadowLight::eSpot;
    record.cone[0] = isSpot ? std::cos(source.halfAngle) : -3.0f;
    record.cone[1] = isSpot ? std::cos(kFullPartOfCone * source.halfAngle) : -2.0f;
    return record;
}

bool isOrthographic(const QMatrix4x4 &projection)
{
    return projection(3, 3) != 0.0f;
}

/// The nearest and farthest depth of a box in a view. In a perspective view the near depth is at least a thousandth of the
/// far depth.
struct Depths
{
    Depths(const QMatrix4x4 &view, const QMatrix4x4 &projection, const SceneBox &box)
    {
        for (int corner = 0; corner < SceneBox::kCorners; ++corner) {
            const float depth = -view.map(box.corner(corner)).z();
            near = std::min(near, depth);
            far = std::max(far, depth);
        }
        if (!isOrthographic(projection)) {
            near = std::max(near, 0.001f * far);
        }
    }

    float near = 3.4e38f;
    float far = -3.4e38f;
};

/// The camera's projection, slightly wider, with the depth range of the box.
QMatrix4x4 projectionToFit(const QMatrix4x4 &camera, const Depths &depths)
{
    QMatrix4x4 projection = camera;
    projection(0, 0) *= kWidening;
    projection(1, 1) *= kWidening;
    const float length = depths.far - depths.near;
    if (isOrthographic(camera)) {
        projection(2, 2) = -2.0f / length;
        projection(2, 3) = -(depths.far + depths.near) / length;
    } else if (depths.far > 0.0f) { // otherwise the whole box is behind the eye
        projection(2, 2) = -(depths.far + depths.near) / length;
        projection(2, 3) = -2.0f * depths.far * depths.near / length;
    }
    return projection;
}

/// The side of a layer. Blurred layers need less resolution.
int sideFor(int layers, const ShadowLayers::Options &options)
{
    if (layers == 0) {
        return 1;
    }
    const bool isFull = layers <= kMaxFullSizeLayers && options.kind == ShadowLayers::ePlain;
    return isFull ? options.side : std::max(options.side / 2, 1);
}

/// \a transform: to depths of 0 to 1. The depth range of the window maps those of clip space, -1 to 1, back to them.
ShadowLayers::Layer makeLayer(int number, const QMatrix4x4 &transform)
{
    ShadowLayers::Layer layer{number, transform, transform};
    layer.projection.setRow(2, 2.0f * transform.row(2) - transform.row(3));
    layer.beam.setRow(2, QVector4D());
    return layer;
}

/// Ends with a lost context too, in which some drivers report an error for ever.
void dropErrors()
{
    for (int i = 0; i < kMaxErrors && glGetError() != GL_NO_ERROR; ++i) {}
}

bool isFinite(const QVector3D &vector)
{
    return std::isfinite(vector.x()) && std::isfinite(vector.y()) && std::isfinite(vector.z());
}

bool isFinite(const QMatrix4x4 &matrix)
{
    return std::all_of(matrix.constData(), matrix.constData() + 16,
                       [](float value) { return std::isfinite(value); });
}

bool isUsable(const ShadowLight &light)
{
    const bool hasDirection = light.type == ShadowLight::ePoint
                              || (isFinite(light.direction) && !light.direction.normalized().isNull());
    const bool hasPosition = light.type == ShadowLight::eDirectional || isFinite(light.position);
    const bool hasAngle = light.type != ShadowLight::eSpot || light.halfAngle > 0.0f; // false for a NaN
    return hasDirection && hasPosition && hasAngle && light.size >= 0.0f && std::isfinite(light.size);
}

/// An array texture for depths or moments. Outside of a layer nothing casts a shadow.
std::unique_ptr<Texture> makeTexture(ShadowLayers::Kind kind, int side, int layers)
{
    const bool isVariance = kind == ShadowLayers::eVariance;
    auto texture = std::make_unique<Texture>(nullptr);
    texture->create3D(GL_TEXTURE_2D_ARRAY, isVariance ? GL_RG32F : GL_DEPTH_COMPONENT32F, side, side, layers);
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

bool areValid(const ShadowLayers::Options &options, QString *error)
{
    GLint maxSide = 1;
    glGetIntegerv(GL_MAX_TEXTURE_SIZE, &maxSide);
    return isWithin("shadow layers", "cascades", options.cascades, 1, ShadowLayers::kMaxLayers, error)
           && isWithin("shadow layers", "maxLayers", options.maxLayers, 1, ShadowLayers::kMaxLayers, error)
           && isWithin("shadow layers", "side", options.side, 1, maxSide, error);
}

} // namespace

QMatrix4x4 ShadowLight::placement() const
{
    const QVector3D back = -direction.normalized();
    const QVector3D side =
        std::abs(back.y()) < 0.9f ? QVector3D(0.0f, 1.0f, 0.0f) : QVector3D(1.0f, 0.0f, 0.0f);
    const QVector3D right = QVector3D::crossProduct(side, back).normalized();
    QMatrix4x4 matrix;
    matrix.setColumn(0, right.toVector4D());
    matrix.setColumn(1, QVector3D::crossProduct(back, right).toVector4D());
    matrix.setColumn(2, back.toVector4D());
    matrix.setColumn(3, QVector4D(position, 1.0f));
    return matrix;
}

ShadowLight ShadowLight::sun(const QVector3D &direction, float size)
{
    ShadowLight light;
    light.direction = direction.normalized();
    light.size = size;
    return light;
}

ShadowLight ShadowLight::spot(const QVector3D &position, const QVector3D &direction, float halfAngle,
                              float size)
{
    ShadowLight light = sun(direction, size);
    light.type = eSpot;
    light.position = position;
    light.halfAngle = halfAngle;
    return light;
}

ShadowLight ShadowLight::point(const QVector3D &position, float size)
{
    ShadowLight light;
    light.type = ePoint;
    light.position = position;
    light.size = size;
    return light;
}

void ShadowLayers::setUp(GLSLMacroProcessor *processor, Kind kind)
{
    if (processor == nullptr) {
        fail(nullptr, QStringLiteral("shadow layers: setUp() needs a text processor"));
        return;
    }
    processor->addIncludePath(shaderFolder());
    ShadowMapManager::setup(processor, kind == eVariance ? 1 : 0);
}

QString ShadowLayers::shaderFile()
{
    return ShadowMapManager::getShaderFile();
}

std::unique_ptr<ShaderProgram> ShadowLayers::build(const QString &vertex, const QString &fragment,
                                                   TextureManager *manager,
                                                   GLSLMacroProcessor *processor) const
{
    GLSLMacroProcessor own;
    processor = processor != nullptr ? processor : &own;
    setUp(processor, _options.kind);
    return ProgramBuilder::build(vertex, fragment, manager, processor);
}

std::unique_ptr<ShaderProgram> ShadowLayers::buildCasters(const QString &vertex, TextureManager *manager,
                                                          GLSLMacroProcessor *processor) const
{
    const QString fragment = shaderFolder()
                             + (_options.kind == ePlain ? QStringLiteral("/casterDepths.frag")
                                                        : QStringLiteral("/casterMoments.frag"));
    return build(vertex, fragment, manager, processor);
}

ShadowLayers::ShadowLayers(const Options &options)
    : _options(options)
    , _context(std::make_unique<OwnContext>())
    , _table(std::make_unique<RenderData>())
    , _tableVariant(QVariant::fromValue<QObject *>(_table.get()))
    , _framebuffer(std::make_unique<FramebufferObject>(nullptr))
{
    const QSharedPointer<OpenGLDeviceContext> device = OpenGLDeviceContext::current();
    const QSharedPointer<BufferObject> buffer = device->newBuffer();
    buffer->setTarget(GL_UNIFORM_BUFFER);
    _block = device->newUniformBuffer(QStringLiteral("u_ShadowSourceTable"), buffer);
}

ShadowLayers::~ShadowLayers()
{
    keepWithoutContext(*_context, "shadow layers", _blur, _debug, _block, _texture, _framebuffer, _moments,
                       _blurred);
}

std::unique_ptr<ShadowLayers> ShadowLayers::create(const Options &options, QString *error)
{
    if (!hasContext("shadow layers", error) || !areValid(options, error)) {
        return nullptr;
    }
    std::unique_ptr<ShadowLayers> layers(new ShadowLayers(options));
    if (!layers->buildBlur(error) || !layers->makeLayers(0, error)) {
        return nullptr;
    }
    layers->upload({}); // bind() is valid before the first update()
    return layers;
}

bool ShadowLayers::buildBlur(QString *error)
{
    if (_options.kind == ePlain) {
        return true;
    }
    GLSLMacroProcessor processor;
    _blur = buildProgram(processor, QString(), {QStringLiteral("shadowBlur.frag")}, error);
    return _blur != nullptr;
}

void ShadowLayers::setLights(const std::vector<ShadowLight> &lights)
{
    _sources.assign(lights.begin(), lights.begin() + std::min(int(lights.size()), kMaxLights));
    _lights.clear();
    _stable.clear();
    QVariantList list;
    for (ShadowLight &source : _sources) {
        const bool isShadowing = isUsable(source);
        if (!isShadowing) {
            fail(nullptr,
                 QStringLiteral("shadow layers: light %1 has values that are not finite, no direction or no "
                                "angle; it casts no shadow")
                     .arg(_lights.size()));
            source = ShadowLight();
            source.type = ShadowLight::ePoint;
        }
        source.direction.normalize();
        _lights.push_back(std::make_unique<Light>());
        _stable.push_back(std::make_unique<StableCascades>());
        Light &light = *_lights.back();
        list.append(QVariant::fromValue<QObject *>(&light));
        if (source.type == ShadowLight::eDirectional) {
            light.setType(Light::eDirectional);
            light.setCSMLevels(_options.cascades);
            light.setOn(!_options.isStable); // addStableCascades() has its projections
        } else if (source.type == ShadowLight::eSpot) {
            // Wider than the light, so that filters find texels at its edge.
            light.setType(source.halfAngle < kMaxSpotAngle ? Light::eSpot : Light::ePoint);
            light.setSpotCutoff(source.halfAngle * 1.05f);
        }
        if (!isShadowing) {
            light.setOn(false);
        }
    }
    _lightList = list;
    _isValid = false;
}

bool ShadowLayers::update(const QMatrix4x4 &view, const QMatrix4x4 &projection, const Bounds &bounds,
                          const CasterDrawer &drawCasters, QString *error)
{
    const Corners box(bounds.boxLowerBounds(), bounds.boxUpperBounds());
    if (!hasContext("shadow layers", error) || !_context->isCurrent("shadow layers", error)) {
        return false;
    }
    if (!drawCasters) {
        fail(error, QStringLiteral("shadow layers: update() needs a function that draws the casters"));
        return false;
    }
    if (!isFinite(view) || !isFinite(projection)) {
        fail(error, QStringLiteral("shadow layers: the view or the projection is not finite"));
        return false;
    }
    if (!SceneBox(box).isValid()) {
        fail(error, QStringLiteral("shadow layers: the box is empty or not finite; pass the bounds of all "
                                   "casters and receivers"));
        return false;
    }
    if (_options.isStable && _layers < plannedLayers() && !makeLayers(plannedLayers(), error)) {
        return false;
    }
    placeLights(view, projection, box);
    const bool hasChanged = fillTable(view, projection, box);
    addRuns();
    upload(box);
    _rendered = 0;
    if (_table->transformCount > _layers && !makeLayers(_table->transformCount, error)) {
        return false;
    }
    if (hasChanged || !_isValid) {
        render(drawCasters);
        _isValid = true;
    }
    return true;
}

/// Places the lights for the table. A directional light gets a position amid the visible part of the box, which its
/// projections need. The others are scaled so that kSpotReach units reach the far end of the box.
void ShadowLayers::placeLights(const QMatrix4x4 &view, const QMatrix4x4 &projection, const Corners &corners)
{
    const SceneBox box(corners);
    const Depths depths(view, projection, box);
    const QVector3D middle = view.inverted().map(QVector3D(0.0f, 0.0f, -0.5f * (depths.near + depths.far)));
    for (size_t i = 0; i < _sources.size(); ++i) {
        ShadowLight source = _sources[i];
        if (source.type == ShadowLight::eDirectional) {
            source.direction = -source.direction; // the table's directional lights shine along +z
            source.position = middle;
            _lights[i]->setTransform(source.placement());
            continue;
        }
        float reach = 0.0f;
        for (int corner = 0; corner < SceneBox::kCorners; ++corner) {
            reach = std::max(reach, (box.corner(corner) - source.position).length());
        }
        QMatrix4x4 placement = source.placement();
        placement.scale(reach / (_options.kind == eVariance ? kSpotReachOfMoments : kSpotReach));
        _lights[i]->setTransform(placement);
    }
}

/// The number of layers that are reserved for stable cascades.
int ShadowLayers::stableLayers() const
{
    if (!_options.isStable) {
        return 0;
    }
    const auto count = int(std::count_if(_sources.begin(), _sources.end(), [](const ShadowLight &source) {
        return source.type == ShadowLight::eDirectional;
    }));
    return std::min(count * _options.cascades, _options.maxLayers);
}

/// The number of layers if every light is seen: allocated at once, since the side of layers depends on their number.
int ShadowLayers::plannedLayers() const
{
    int layers = stableLayers();
    for (const std::unique_ptr<Light> &light : _lights) {
        layers += light->type() == Light::eDirectional ? 0 : light->type() == Light::eSpot ? 1 : kCubeFaces;
    }
    return std::min(layers, _options.maxLayers);
}

/// Returns whether the table has changed.
bool ShadowLayers::fillTable(const QMatrix4x4 &view, const QMatrix4x4 &projection, const Corners &box)
{
    const QMatrix4x4 toFit = projectionToFit(projection, Depths(view, projection, SceneBox(box)));
    // The size of the table limits the projections. Its full size is what bind() expects.
    _table->transforms.resize(_options.maxLayers - stableLayers());
    const bool hasChanged = ShadowMapManager::processLights(_lightList, *_table, &view, &toFit, &box);
    _table->transforms.resize(kMaxLayers);
    if (!_options.isStable) {
        return hasChanged;
    }
    addStableCascades(view, projection, box);
    return true; // render() compares each layer
}

void ShadowLayers::addStableCascades(const QMatrix4x4 &view, const QMatrix4x4 &projection, const Corners &box)
{
    const float blur = RenderData::BlurInfo().blur;
    for (size_t i = 0; i < _sources.size(); ++i) {
        if (_sources[i].type != ShadowLight::eDirectional) {
            continue;
        }
        const int free = _options.maxLayers - _table->transformCount;
        const int count = std::min(_options.cascades, free);
        if (count > 0) {
            _stable[i]->fit(view, projection, SceneBox(box), _sources[i].direction, count, _side,
                            _projections);
        } else {
            _projections.clear();
        }
        _table->projectorInfos[int(i)].index = _table->transformCount;
        _table->projectorInfos[int(i)].count = int(_projections.size());
        for (const QMatrix4x4 &matrix : _projections) {
            _table->setTransform(_table->transformCount++, matrix, blur);
        }
    }
}

void ShadowLayers::addRuns()
{
    _runs.clear();
    int free = int(_sources.size());
    for (size_t i = 0; i < _sources.size(); ++i) {
        const RenderData::ProjectorInfo whole = _table->projectorInfos.at(int(i));
        const bool isSplit = _sources[i].type == ShadowLight::eDirectional && whole.count > 1
                             && free + whole.count <= kMaxLights;
        _runs.emplace_back(isSplit ? free : int(i), isSplit ? whole.count : 1);
        for (int cascade = 0; isSplit && cascade < whole.count; ++cascade) {
            _table->projectorInfos[free].count = 1;
            _table->projectorInfos[free].index = whole.index + cascade;
            ++free;
        }
    }
}

void ShadowLayers::upload(const Corners &box)
{
    TableRecord record = {};
    record.count = qint32(_sources.size());
    record.reach = SceneBox(box).diameter();
    for (size_t i = 0; i < _sources.size(); ++i) {
        record.sources[i] = toRecord(_sources[i], _runs[i]);
    }
    BufferObject *buffer = _block->bufferObject().data();
    const AutoBinder bound(buffer);
    buffer->uploadArbitraryData(&record, 1, GL_DYNAMIC_DRAW, sizeof(record));
}

/// Creates the layers, but at least one, since shaders always sample the texture.
bool ShadowLayers::makeLayers(int layers, QString *error)
{
    _layers = 0; // until all is there: the next update() tries again
    _side = sideFor(layers, _options);
    _renderedTransforms.clear();
    dropErrors();
    _texture = makeTexture(_options.kind, _side, std::max(layers, 1));
    const bool isAllocated = glGetError() == GL_NO_ERROR;
    dropErrors();
    _table->projectionTexture = _texture.get();
    if (!isAllocated) {
        fail(error, QStringLiteral("the driver cannot provide %1 shadow layers of %2x%2 texels")
                        .arg(layers)
                        .arg(_side));
        return false;
    }
    if (_options.kind == eVariance && !makeBlurTargets(error)) {
        return false;
    }
    _layers = layers;
    _isValid = false;
    return true;
}

bool ShadowLayers::makeBlurTargets(QString *error)
{
    const SavedTarget target;
    const QSize size(_side, _side);
    _moments = RenderTarget::create(size, GL_RG32F, RenderTarget::eDepth, 0, error);
    _blurred = RenderTarget::create(size, GL_RG32F, RenderTarget::eNoDepth, 0, error);
    return _moments != nullptr && _blurred != nullptr;
}

/// Renders the layers whose projection differs from the one with which they were rendered.
void ShadowLayers::render(const CasterDrawer &drawCasters)
{
    if (!_isValid) {
        _renderedTransforms.clear();
    }
    _renderedTransforms.resize(size_t(_table->transformCount));
    const SavedTarget target;
    const AutoEnabler depthTest(GL_DEPTH_TEST);
    const AutoEnabler depthClamp(GL_DEPTH_CLAMP);
    const AutoDisabler noBlending(GL_BLEND);
    const AutoDisabler noScissor(GL_SCISSOR_TEST);
    const AutoDisabler noStencil(GL_STENCIL_TEST);
    glViewport(0, 0, _side, _side);
    glDepthMask(GL_TRUE);
    glDepthRange(kFirstDepth, 1.0);
    for (int number = 0; number < _table->transformCount; ++number) {
        const RenderData::Transform &transform = _table->transforms.at(number);
        std::optional<QMatrix4x4> &rendered = _renderedTransforms[size_t(number)];
        if (rendered && transform == *rendered) {
            continue;
        }
        rendered = QMatrix4x4(transform.values.data()).transposed();
        const Layer layer = makeLayer(number, *rendered);
        if (_options.kind == eVariance) {
            renderMoments(layer, drawCasters);
        } else {
            renderDepth(layer, drawCasters);
        }
        ++_rendered;
    }
    glDepthRange(0.0, 1.0);
}

void ShadowLayers::renderDepth(const Layer &layer, const CasterDrawer &drawCasters)
{
    const AutoBinder bound(_framebuffer.get());
    _framebuffer->attach3D(_texture.get(), GL_DEPTH_ATTACHMENT, layer.number, 0);
    _framebuffer->setDrawBuffers();
    glClearBufferfv(GL_DEPTH, 0, kFar);
    drawCasters(layer);
    _framebuffer->detach(GL_DEPTH_ATTACHMENT);
}

void ShadowLayers::renderMoments(const Layer &layer, const CasterDrawer &drawCasters)
{
    {
        const AutoBinder bound(_moments->framebuffer());
        glClearBufferfv(GL_COLOR, 0, kFar);
        glClearBufferfv(GL_DEPTH, 0, kFar);
        drawCasters(layer);
    }
    const PassState state;
    const float blur = kBlurStep * _table->blurInfos.at(layer.number).blur;
    {
        const AutoBinder bound(_blurred->framebuffer());
        blurFrom(_moments->color(), {blur, 0.0f});
    }
    const AutoBinder bound(_framebuffer.get());
    _framebuffer->attach3D(_texture.get(), GL_COLOR_ATTACHMENT0, layer.number, 0);
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
    const AutoBinder bound(_blur.get());
    _blur->setUniform(QStringLiteral("u_Moments"), QVariant(int(source->unit())));
    _blur->setUniform(QStringLiteral("u_Step"), QVariant(step));
    drawFullscreen(*_blur);
}

bool ShadowLayers::bind(ShaderProgram *program)
{
    if (program == nullptr) {
        fail(nullptr, QStringLiteral("shadow layers: bind() needs a program that is bound"));
        return false;
    }
    return _context->isCurrent("shadow layers") && _block->bind(program)
           && ShadowMapManager::bind(program, _tableVariant);
}

bool ShadowLayers::unbind(ShaderProgram *program)
{
    if (program == nullptr) {
        fail(nullptr, QStringLiteral("shadow layers: unbind() needs the program of bind()"));
        return false;
    }
    if (!_context->isCurrent("shadow layers")) {
        return false;
    }
    const bool isUnbound = ShadowMapManager::unbind(program, _tableVariant);
    return _block->unbind(program) && isUnbound;
}

bool ShadowLayers::drawDebug(QString *error)
{
    if (!hasContext("shadow layers", error) || !_context->isCurrent("shadow layers", error)) {
        return false;
    }
    if (_debug == nullptr) {
        GLSLMacroProcessor processor;
        setUp(&processor, _options.kind);
        _debug =
            buildProgram(processor, QString(), {QStringLiteral("shadowDebug.frag"), shaderFile()}, error);
    }
    if (_debug == nullptr) {
        return false;
    }
    const PassState state;
    const AutoEnabler blending(GL_BLEND);
    glBlendFunc(GL_ONE, GL_ONE_MINUS_SRC_ALPHA);
    const AutoBinder bound(_debug.get());
    bind(_debug.get());
    drawFullscreen(*_debug);
    return unbind(_debug.get());
}

}} // namespace Orvane::ZelKit
