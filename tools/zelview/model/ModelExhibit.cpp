#include "model/ModelExhibit.h"

#include "file/Console.h"
#include "file/Counted.h"
#include "frame/Backdrop.h"
#include "frame/Options.h"
#include "light/Environment.h"
#include "light/Ground.h"
#include "light/LightLines.h"
#include "light/ShadowedLights.h"
#include "model/ModelRenderer.h"
#include "scene/ModelLoader.h"
#include "scene/UdimFiles.h"

#include <ZelGL/AutoBinder.h>
#include <ZelGL/ShaderProgram.h>
#include <ZelKit/AmbientOcclusion.h>

#include <algorithm>

using Orvane::ZelKit::AmbientOcclusion;

namespace zeltools {

namespace {

constexpr float kExposureStep = 0.5f;    ///< powers of two
constexpr float kTurnStep = 15.0f;       ///< degrees
constexpr float kOcclusionReach = 0.08f; ///< radii of the scene

/// The cheapest manager for a scene of plain textures, or one that supports tiles.
ManagerKind suitableManager(const Scene &scene)
{
    const bool hasTiles = std::any_of(scene.textures.begin(), scene.textures.end(),
                                      [](const TextureSource &texture) { return !texture.tiles.empty(); });
    return hasTiles ? ManagerKind::eArray : ManagerKind::eSampler;
}

QStringList materialNames(const Scene &scene)
{
    QStringList names;
    for (const Material &material : scene.materials) {
        names.append(material.name);
    }
    return names;
}

/// The next kind that the driver supports; it supports at least one.
template <typename Kind> Kind nextSupported(Kind kind, int kinds, bool (*isSupported)(Kind))
{
    int next = int(kind);
    do {
        next = (next + 1) % kinds;
    } while (!isSupported(Kind(next)));
    return Kind(next);
}

} // namespace

ModelExhibit::ModelExhibit(Scene scene, const Options &options, ModelCamera camera)
    : _scene(std::move(scene))
    , _options(options)
    , _camera(std::move(camera))
    , _selection(materialNames(_scene))
{
}

ModelExhibit::~ModelExhibit() = default;

Expected<std::unique_ptr<Exhibit>> ModelExhibit::load(const Options &options)
{
    Expected<Scene> scene = options.isUdim ? loadTiles(options.file) : loadModel(options.file);
    if (!scene) {
        return scene.problem();
    }
    if (!options.imageOption.isEmpty()) {
        return Problem{
            ExitCode::eUsage,
            QStringLiteral("--%1 applies to images; '%2' is a model").arg(options.imageOption, options.file)};
    }
    if (options.lights == LightRig::eFile && scene->lights.empty()) {
        return Problem{ExitCode::eUsage,
                       QStringLiteral("--lights file: '%1' has no lights").arg(options.file)};
    }
    const Expected<ModelCamera> camera = ModelCamera::create(*scene, options);
    if (!camera) {
        return camera.problem();
    }
    return std::unique_ptr<Exhibit>(new ModelExhibit(std::move(*scene), options, *camera));
}

QStringList ModelExhibit::describe() const
{
    return {_scene.describe()};
}

QStringList ModelExhibit::files() const
{
    QStringList files{_options.file, _options.environment};
    for (const TextureSource &texture : _scene.textures) {
        files.append(texture.path);
        for (const TextureTile &tile : texture.tiles) {
            files.append(tile.path);
        }
    }
    return files;
}

Failure ModelExhibit::createGLObjects(Programs &programs, const Options &)
{
    _programs = &programs;
    if (const Failure failure = createEnvironment(programs)) {
        return failure;
    }
    if (const Failure failure = makeShadows(programs)) {
        return failure;
    }
    QString error;
    _occlusion = AmbientOcclusion::create(&error);
    if (_occlusion == nullptr) {
        return Problem{ExitCode::eGL, error};
    }
    if (const Failure failure =
            makeRenderer(_options.manager.value_or(suitableManager(_scene)), _options.mechanism)) {
        return failure;
    }
    for (const QString &remark : _scene.remarks) {
        Console::printError(remark);
    }
    return {};
}

Failure ModelExhibit::createEnvironment(Programs &programs)
{
    if (_options.environment.isEmpty()) {
        Expected<std::unique_ptr<Backdrop>> backdrop = Backdrop::create(programs);
        if (!backdrop) {
            return backdrop.problem();
        }
        _backdrop = std::move(*backdrop);
        return {};
    }
    Expected<std::unique_ptr<Environment>> environment = Environment::create(
        programs, _options.environment, _options.environmentLayout,
        _options.lights == LightRig::eSun ? Environment::eTakeSun : Environment::eKeepSun);
    if (!environment) {
        return environment.problem();
    }
    Environment::setUp(programs.processor());
    _environment = std::move(*environment);
    _environment->setRotation(_options.environmentRotation);
    return {};
}

Failure ModelExhibit::makeRenderer(ManagerKind manager, MechanismKind mechanism)
{
    Expected<std::unique_ptr<ModelRenderer>> renderer =
        ModelRenderer::create(*_programs, _scene, _options, manager, mechanism, _environment != nullptr);
    if (!renderer) {
        return renderer.problem();
    }
    for (const QString &remark : (*renderer)->remarks()) {
        Console::printError(remark);
    }
    const Expected<ProgramPointer> casters = (*renderer)->buildCasterProgram(
        QStringLiteral("shadow.vert"), ShadowedLights::casterFile(_options.shadowKind));
    if (!casters) {
        return casters.problem();
    }
    if (const Failure failure = (*renderer)->freeze(_frozenFrustum)) {
        return failure;
    }
    _renderer = std::move(*renderer);
    _casters = *casters;
    showSelection();
    return {};
}

Failure ModelExhibit::makeShadows(Programs &programs)
{
    ShadowedLights::setUp(programs.processor(), _options.shadowKind);
    Expected<std::unique_ptr<ShadowedLights>> shadows = ShadowedLights::create(_options);
    if (!shadows) {
        return shadows.problem();
    }
    Expected<std::unique_ptr<Ground>> ground = Ground::create(programs, _scene.bounds);
    if (!ground) {
        return ground.problem();
    }
    Expected<std::unique_ptr<LightLines>> lightLines = LightLines::create(programs);
    if (!lightLines) {
        return lightLines.problem();
    }
    _shadows = std::move(*shadows);
    _ground = std::move(*ground);
    _lightLines = std::move(*lightLines);
    setLights();
    if (int(_lights.size()) > ShadowedLights::kMaxLights) {
        Console::printError(QStringLiteral("the file has %1 lights; only the first %2 are used")
                                .arg(_lights.size())
                                .arg(ShadowedLights::kMaxLights));
    }
    return {};
}

/// With an environment, the sun is the light that was removed from it, if there is one.
void ModelExhibit::setLights()
{
    if (_environment != nullptr && _options.lights == LightRig::eSun) {
        const std::optional<DistantLight> sun = _environment->sun();
        _lights = sun ? std::vector<LightSource>{makeSun(sun->direction, sun->irradiance)}
                      : std::vector<LightSource>();
    } else {
        _lights = makeLights(_options.lights, _scene, _options.azimuth);
    }
    _shadows->setLights(_lights);
}

void ModelExhibit::releaseGLObjects()
{
    _renderer.reset();
    ModelTextures::deleteManagers();
    _backdrop.reset();
    _environment.reset();
    _occlusion.reset();
    _casters.reset();
    _shadows.reset();
    _ground.reset();
    _lightLines.reset();
}

void ModelExhibit::frame(const QSize &viewport)
{
    _camera.frame(_scene, viewport);
}

void ModelExhibit::refit(const QSize &viewport)
{
    _camera.refit(_scene, viewport);
}

Failure ModelExhibit::changeRenderer()
{
    if (!_takesNextManager && !_takesNextMechanism && !_takesPacked) {
        return {};
    }
    _options.isPacked = _options.isPacked != _takesPacked;
    const ManagerKind manager =
        _takesNextManager ? nextSupported(_renderer->manager(), kManagerKinds, ModelTextures::isSupported)
                          : _renderer->manager();
    const MechanismKind mechanism =
        _takesNextMechanism ? nextSupported(_renderer->mechanism(), kMechanismKinds, ModelPlans::isSupported)
                            : _renderer->mechanism();
    _takesNextManager = false;
    _takesNextMechanism = false;
    _takesPacked = false;
    return makeRenderer(manager, mechanism);
}

Failure ModelExhibit::changeFrustum(const View &view)
{
    if (!_takesFrustum) {
        return {};
    }
    _takesFrustum = false;
    _frozenFrustum = _frozenFrustum ? std::nullopt : std::optional(view.viewProjection());
    return _renderer->freeze(_frozenFrustum);
}

Failure ModelExhibit::prepareFrame(const QSize &viewport)
{
    if (const Failure failure = changeRenderer()) {
        return failure;
    }
    if (_showsSlots) {
        if (const Failure failure = _renderer->prepareSlots()) {
            return failure;
        }
    }
    QString error;
    if (!_occlusion->resize(viewport, &error)) {
        return Problem{ExitCode::eGL, error};
    }
    const View seen = view(viewport);
    if (const Failure failure = changeFrustum(seen)) {
        return failure;
    }
    _occlusion->beginGeometry();
    if (_options.hasGround) {
        _ground->drawGeometry(seen);
    }
    _renderer->drawGeometry(seen);
    _occlusion->endGeometry(seen.projection, kOcclusionReach * _scene.bounds.radius());
    return prepareShadows(seen);
}

Failure ModelExhibit::prepareShadows(const View &view)
{
    _shadows->setCascadesShown(_showsCascades);
    if (const int changes = _programs->changes(); changes != _changesInShadows) {
        _changesInShadows = changes;
        _shadows->invalidate();
    }
    return _shadows->update(view, shadowedBox(_scene.bounds, _lights, _options.hasGround),
                            [this](const ShadowedLights::Layers::Layer &layer) {
                                const Orvane::Zel::AutoBinder bound(_casters.data());
                                _casters->setUniform(QStringLiteral("u_ShadowProjection"),
                                                     QVariant(layer.projection));
                                _renderer->drawCasters(_casters.data(), layer.beam);
                            });
}

void ModelExhibit::draw(const QSize &viewport)
{
    const View seen = view(viewport);
    if (_environment != nullptr) {
        _environment->drawBackground(seen.view, seen.projection, _options.environmentBlur, _options.exposure);
    } else {
        _backdrop->draw(viewport);
    }
    if (_options.hasGround) {
        _ground->draw(seen, _occlusion->texture(), *_shadows, _environment.get());
    }
    _renderer->draw(seen, _occlusion->texture(), _environment.get(), *_shadows, _options.exposure);
    if (_showsVolumes) {
        _lightLines->draw(seen.viewProjection(), _shadows->table());
    }
    if (_showsLayers) {
        _shadows->drawDebug(viewport);
    }
    if (_showsSlots) {
        _renderer->drawSlots();
    }
}

QStringList ModelExhibit::describeFrame() const
{
    QStringList lines{_renderer->describeFrame(), _shadows->describeFrame()};
    if (_environment != nullptr) {
        lines.prepend(QStringLiteral("light     ") + _environment->describe());
    }
    if (const QString camera = _camera.describe(_scene); !camera.isEmpty()) {
        lines.append(QStringLiteral("camera    ") + camera);
    }
    if (const QString selection = _selection.describe(); !selection.isEmpty()) {
        lines.append(QStringLiteral("material  ") + selection);
    }
    return lines;
}

QStringList ModelExhibit::describeStatistics()
{
    return _renderer->describeStatistics();
}

bool ModelExhibit::isDithered() const
{
    return true;
}

void ModelExhibit::drag(DragKind kind, const QVector2D &way)
{
    if (kind == eTurn) {
        _camera.turn(way);
    } else {
        _camera.move(way);
    }
}

void ModelExhibit::zoom(float steps)
{
    _camera.zoom(steps);
}

QString ModelExhibit::pick(const QPoint &pixel, const QSize &viewport)
{
    const std::optional<Orvane::ZelKit::Picker::Hit> hit = _renderer->pick(view(viewport), pixel, viewport);
    _selection.select(hit ? hit->number : -1);
    showSelection();
    const QString head = QStringLiteral("pick      %1,%2: ").arg(pixel.x()).arg(pixel.y());
    if (!hit) {
        return head + QStringLiteral("nothing");
    }
    return head
           + QStringLiteral("material '%5', number %1, at %2 %3 %4")
                 .arg(hit->number)
                 .arg(double(hit->position.x()))
                 .arg(double(hit->position.y()))
                 .arg(double(hit->position.z()))
                 .arg(_scene.materials[size_t(hit->number)].name);
}

bool ModelExhibit::key(int key)
{
    switch (key) {
    case Qt::Key_V:
        _camera.takeNext(_scene);
        return true;
    case Qt::Key_Z:
        _takesFrustum = true;
        return true;
    case Qt::Key_M:
        _takesNextManager = true;
        return true;
    case Qt::Key_I:
        _takesNextMechanism = true;
        return true;
    case Qt::Key_P:
        _takesPacked = !_takesPacked;
        return true;
    case Qt::Key_D:
        _showsSlots = !_showsSlots;
        return true;
    case Qt::Key_S:
        _showsLayers = !_showsLayers;
        return true;
    case Qt::Key_C:
        _showsCascades = !_showsCascades;
        return true;
    case Qt::Key_L:
        _showsVolumes = !_showsVolumes;
        return true;
    case Qt::Key_G:
        _options.hasGround = !_options.hasGround;
        return true;
    case Qt::Key_Up:
    case Qt::Key_Down:
        _options.exposure += key == Qt::Key_Up ? kExposureStep : -kExposureStep;
        return true;
    case Qt::Key_Left:
    case Qt::Key_Right:
        return turnEnvironment(key == Qt::Key_Left ? -kTurnStep : kTurnStep);
    default:
        return changeSelection(key);
    }
}

bool ModelExhibit::changeSelection(int key)
{
    switch (key) {
    case Qt::Key_N:
        _selection.selectNext();
        break;
    case Qt::Key_O:
        _selection.toggleSolo();
        break;
    case Qt::Key_X:
        _selection.toggleExcluded();
        break;
    case Qt::Key_A:
        _selection.showAll();
        break;
    default:
        return false;
    }
    showSelection();
    return true;
}

View ModelExhibit::view(const QSize &viewport) const
{
    return _camera.view(viewport,
                        [this](int camera, float aspect) { return _renderer->cameraView(camera, aspect); });
}

void ModelExhibit::showSelection()
{
    std::vector<bool> shown;
    for (int material = 0; material < int(_scene.materials.size()); ++material) {
        shown.push_back(_selection.isShown(material));
    }
    _renderer->setShown(std::move(shown), _selection.selected());
    if (_shadows != nullptr) {
        _shadows->invalidate();
    }
}

bool ModelExhibit::turnEnvironment(float angle)
{
    if (_environment == nullptr) {
        return false;
    }
    _options.environmentRotation += angle;
    _environment->setRotation(_options.environmentRotation);
    setLights();
    return true;
}

} // namespace zeltools
