#include "model/ModelCamera.h"

#include "frame/Options.h"
#include "scene/Scene.h"

using Orvane::ZelKit::OrbitCamera;

namespace zeltools {

namespace {

float aspectOf(const QSize &viewport)
{
    return float(viewport.width()) / float(viewport.height());
}

/// The index of the camera that the options name or number; -1 if they ask for none.
Expected<int> findCamera(const Scene &scene, const Options &options)
{
    if (options.camera.isEmpty()) {
        return -1;
    }
    QStringList names;
    for (const SceneCamera &camera : scene.cameras) {
        names.append(camera.name);
    }
    bool isNumber = false;
    const int number = options.camera.toInt(&isNumber);
    const int index = names.contains(options.camera) ? names.indexOf(options.camera) : isNumber ? number : -1;
    if (index >= 0 && index < names.size()) {
        return index;
    }
    const QString have = names.isEmpty() ? QStringLiteral("none")
                                         : QStringLiteral("'%1'").arg(names.join(QStringLiteral("', '")));
    return Problem{
        ExitCode::eUsage,
        QStringLiteral("there is no camera '%1': '%2' has %3").arg(options.camera, options.file, have)};
}

View viewOf(const OrbitCamera &camera, float aspect)
{
    return {camera.view(), camera.projection(aspect), camera.eye(), camera.azimuth()};
}

} // namespace

OrbitCamera::Extent extentOf(const Scene &scene)
{
    return {scene.bounds.center(), scene.bounds.radius(),
            [&scene](const QVector3D &direction) { return scene.reach(direction); }};
}

ModelCamera::ModelCamera(const Options &options)
    : _orbit(options.azimuth, options.elevation)
{
}

Expected<ModelCamera> ModelCamera::create(const Scene &scene, const Options &options)
{
    const Expected<int> fileCamera = findCamera(scene, options);
    if (!fileCamera) {
        return fileCamera.problem();
    }
    ModelCamera camera(options);
    camera._fileCamera = *fileCamera;
    return camera;
}

View ModelCamera::view(const QSize &viewport, const FileCamera &fileCamera) const
{
    const float aspect = aspectOf(viewport);
    return _fileCamera >= 0 ? fileCamera(_fileCamera, aspect) : viewOf(_orbit, aspect);
}

void ModelCamera::frame(const Scene &scene, const QSize &viewport)
{
    _fileCamera = _isFramed ? -1 : _fileCamera;
    _isFramed = true;
    _orbit.frame(extentOf(scene), aspectOf(viewport));
}

void ModelCamera::refit(const Scene &scene, const QSize &viewport)
{
    _orbit.refit(extentOf(scene), aspectOf(viewport));
}

void ModelCamera::turn(const QVector2D &way)
{
    _fileCamera = -1;
    _orbit.orbit(way);
}

void ModelCamera::move(const QVector2D &way)
{
    _fileCamera = -1;
    _orbit.pan(way);
}

void ModelCamera::zoom(float steps)
{
    _fileCamera = -1;
    _orbit.zoom(steps);
}

void ModelCamera::takeNext(const Scene &scene)
{
    _fileCamera = _fileCamera + 1 < int(scene.cameras.size()) ? _fileCamera + 1 : -1;
}

QString ModelCamera::describe(const Scene &scene) const
{
    return _fileCamera < 0 ? QString()
                           : QStringLiteral("'%2', number %1")
                                 .arg(_fileCamera)
                                 .arg(scene.cameras[size_t(_fileCamera)].name);
}

} // namespace zeltools
