#include "ModelExhibit.h"

#include "AmbientOcclusion.h"
#include "Backdrop.h"
#include "Console.h"
#include "ModelLoader.h"
#include "ModelRenderer.h"
#include "Options.h"

namespace zelview {

namespace {

constexpr float kOcclusionReach = 0.08f; ///< radii of the scene

float aspectOf(const QSize &viewport)
{
    return float(viewport.width()) / float(viewport.height());
}

QString counted(size_t count, const char *one, const char *many)
{
    return QStringLiteral("%1 %2").arg(count).arg(QLatin1String(count == 1 ? one : many));
}

} // namespace

ModelExhibit::ModelExhibit(Scene scene, const Options &options)
    : _scene(std::move(scene))
    , _camera(options.azimuth, options.elevation)
{
}

ModelExhibit::~ModelExhibit() = default;

Expected<std::unique_ptr<Exhibit>> ModelExhibit::load(const Options &options)
{
    Expected<Scene> scene = loadModel(options.file);
    if (!scene) {
        return scene.problem();
    }
    if (!options.imageOption.isEmpty()) {
        return Problem{
            ExitCode::eUsage,
            QStringLiteral("--%1 goes with images; '%2' is a model").arg(options.imageOption, options.file)};
    }
    return std::unique_ptr<Exhibit>(new ModelExhibit(std::move(*scene), options));
}

QStringList ModelExhibit::describe() const
{
    const QString inFile = QStringLiteral("model     %1, %2, %3, %4")
                               .arg(counted(_scene.meshes.size(), "mesh", "meshes"))
                               .arg(counted(_scene.indices.size() / 3, "triangle", "triangles"))
                               .arg(counted(_scene.materials.size(), "material", "materials"))
                               .arg(counted(_scene.textures.size(), "texture", "textures"));
    return {QStringLiteral("%1; placed: %2, %3")
                .arg(inFile)
                .arg(counted(_scene.draws.size(), "mesh", "meshes"))
                .arg(counted(size_t(_scene.placedTriangles()), "triangle", "triangles"))};
}

Failure ModelExhibit::putUp(Programs &programs, const Options &options)
{
    Expected<std::unique_ptr<Backdrop>> backdrop = Backdrop::create(programs);
    if (!backdrop) {
        return backdrop.problem();
    }
    Expected<std::unique_ptr<AmbientOcclusion>> occlusion = AmbientOcclusion::create(programs);
    if (!occlusion) {
        return occlusion.problem();
    }
    Expected<std::unique_ptr<ModelRenderer>> renderer = ModelRenderer::create(_scene, programs, options);
    if (!renderer) {
        return renderer.problem();
    }
    for (const QString &remark : _scene.remarks + (*renderer)->remarks()) {
        Console::complain(remark);
    }
    _occlusion = std::move(*occlusion);
    _backdrop = std::move(*backdrop);
    _renderer = std::move(*renderer);
    return {};
}

void ModelExhibit::takeDown()
{
    _renderer.reset();
    _backdrop.reset();
    _occlusion.reset();
}

void ModelExhibit::frame(const QSize &viewport)
{
    _camera.frame(_scene, aspectOf(viewport));
}

Failure ModelExhibit::prepareFrame(const QSize &viewport)
{
    if (const Failure failure = _occlusion->resize(viewport)) {
        return failure;
    }
    const float aspect = aspectOf(viewport);
    _occlusion->beginGeometry();
    _renderer->drawGeometry(_camera, aspect);
    _occlusion->endGeometry(_camera.projection(aspect), kOcclusionReach * _scene.bounds.radius());
    return {};
}

void ModelExhibit::draw(const QSize &viewport)
{
    _backdrop->draw(viewport);
    _renderer->draw(_camera, _occlusion->texture());
}

QStringList ModelExhibit::describeFrame() const
{
    return {_renderer->describeFrame()};
}

bool ModelExhibit::isDithered() const
{
    return true;
}

void ModelExhibit::drag(DragKind kind, const QVector2D &way)
{
    if (kind == eTurn) {
        _camera.orbit(way);
    } else {
        _camera.pan(way);
    }
}

void ModelExhibit::zoom(float steps)
{
    _camera.zoom(steps);
}

bool ModelExhibit::key(int)
{
    return false;
}

} // namespace zelview
