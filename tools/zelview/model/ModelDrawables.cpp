#include "model/ModelDrawables.h"

#include "model/ModelGeometry.h"
#include "model/ModelTextures.h"
#include "scene/ModelPlans.h"
#include "scene/Scene.h"

#include <ZelGL/ZelGL.h>

#include <QtCore/qmath.h>
#include <QtGui/QGenericMatrix>

#include <algorithm>
#include <cmath>

using namespace Orvane::Zel;

namespace zeltools {

namespace {

constexpr int kVisible = 1;
constexpr int kHiddenWithDescendants = 3;
constexpr float kFarAway = 1000.0f;   ///< distance, in extents of the scene
constexpr float kFilmHeight = 0.024f; ///< metres; only its ratio to the focal length matters

/// The position and the directions of a camera, without the scale of its nodes.
QMatrix4x4 withoutScale(const QMatrix4x4 &world)
{
    const QVector3D place = world.column(3).toVector3D();
    QMatrix4x4 toLocal;
    toLocal.lookAt(place, place - world.column(2).toVector3D(), world.column(1).toVector3D());
    return toLocal.inverted();
}

/// A film and a lens with the view of the camera. The film is so wide that its height limits the view in every viewport.
GPUModel::Camera toModelCamera(const SceneCamera &source, int transform, float farthest)
{
    GPUModel::Camera camera;
    camera.transform = transform;
    camera.projectionType = source.isOrthographic ? 1 : 0;
    camera.filmHeight = kFilmHeight;
    camera.filmWidth = 100.0f * kFilmHeight;
    // The view of an orthographic camera is the film, scaled by the focus distance in focal lengths.
    camera.focalLength = source.isOrthographic ? 1.0f : kFilmHeight / source.height;
    camera.focusDistance = source.isOrthographic ? source.height / kFilmHeight : camera.focalLength;
    camera.nearClip = source.nearPlane;
    camera.farClip =
        std::max(source.farPlane, farthest); // the default of a file that states none could clip the scene
    return camera;
}

unsigned long long flagsOf(const Material &material)
{
    return material.isTwoSided ? GPUModel::kFlagTwoSided : 0;
}

} // namespace

GPUModel::BoundingBox toModelBox(const Box &box)
{
    return {box.low.x(), box.low.y(), box.low.z(), box.high.x(), box.high.y(), box.high.z()};
}

ModelDrawables::ModelDrawables(const Scene &scene, const ModelTextures &textures, const ModelPlans &plans,
                               const ModelGeometry *geometry)
    : _scene(scene)
    , _textures(textures)
    , _plans(plans)
    , _geometry(geometry)
    , _shown(scene.materials.size(), true)
{
    addNodes();
    addCameras();
    std::vector<GPUModel::BoundingBox> boxes;
    for (const Mesh &mesh : scene.meshes) {
        boxes.push_back(toModelBox(mesh.bounds));
    }
    _model.loadBoundingBoxes(boxes.data(), int(boxes.size()));
    if (geometry != nullptr) {
        for (const Group &group : makeGroups(plans.capacity())) {
            addGroup(group);
        }
    }
    _model.updateTransforms();
}

ModelDrawables::~ModelDrawables()
{
    _model.clear(); // deletes what the drawables own
}

View ModelDrawables::cameraView(int camera, float aspect) const
{
    const QMatrix4x4 view = _model.getCameraWorldSpaceMatrix(camera);
    const QVector3D back = view.row(2).toVector3D();
    QVector3D eye = view.inverted().column(3).toVector3D();
    if (_scene.cameras[size_t(camera)].isOrthographic) { // its rays are parallel: use a very distant eye
        eye += back * kFarAway * std::max(_scene.bounds.radius(), (eye - _scene.bounds.center()).length());
    }
    return {view, _model.getCameraProjectionMatrix(camera, aspect), eye,
            qRadiansToDegrees(std::atan2(back.x(), back.z()))};
}

void ModelDrawables::cull(const QMatrix4x4 &viewProjection)
{
    if (_culledBy == viewProjection) {
        return; // passes of a frame repeat the frustum, and nothing moves
    }
    _culledBy = viewProjection;
    _model.resetCulling();
    _culled = _model.visibilityCull();
    _culled += _model.frustumCull(viewProjection);
}

void ModelDrawables::setShown(std::vector<bool> materials)
{
    _shown = std::move(materials);
}

QList<int> ModelDrawables::numbers(Part part, const QVector3D &eye) const
{
    QList<int> numbers;
    const auto append = [&](int number) {
        if (_shown[size_t(materialOf(number))]) {
            numbers.append(number);
        }
    };
    if (part == eOpaque) {
        std::for_each(_opaqueNumbers.begin(), _opaqueNumbers.end(), append);
        return numbers;
    }
    const int first = int(_scene.materials.size());
    for (size_t i = 0; i < _blendedCenters.size(); ++i) {
        append(first + int(i));
    }
    const auto distance = [&](int number) {
        return (_blendedCenters[size_t(number - first)] - eye).lengthSquared();
    };
    std::stable_sort(numbers.begin(), numbers.end(), [&](int a, int b) { return distance(a) > distance(b); });
    return numbers;
}

int ModelDrawables::materialOf(int number) const
{
    const int materials = int(_scene.materials.size());
    return number < materials ? number : _blendedMaterials[size_t(number - materials)];
}

void ModelDrawables::draw(ShaderProgram *program, const QList<int> &numbers, bool writesStencil,
                          WindingType winding)
{
    if (numbers.isEmpty()) {
        return; // GPUModel::draw() draws all for an empty list
    }
    _model.draw(program, _textures.manager(), 0, 0, winding, nullptr, {}, numbers, writesStencil);
}

quint64 ModelDrawables::memoryOnCPU()
{
    return withoutCopies(_model.memoryEstimateCPU(), _geometry->memoryOnCPU());
}

quint64 ModelDrawables::memoryOnGPU()
{
    return withoutCopies(_model.memoryEstimateGPU(), _geometry->memoryOnGPU());
}

/// Subtracts the repetitions of the geometry, which all drawables share and the model counts for each of them.
quint64 ModelDrawables::withoutCopies(quint64 bytes, quint64 geometry) const
{
    const quint64 copies = geometry * quint64(std::max(drawableCount() - 1, 0));
    return bytes > copies ? bytes - copies : 0;
}

void ModelDrawables::addNodes()
{
    for (const Node &node : _scene.nodes) {
        const int transform = _model.addTransform(node.parent, node.local);
        _model.setVisibility(transform, node.isHidden ? kHiddenWithDescendants : kVisible);
    }
}

void ModelDrawables::addCameras()
{
    for (const SceneCamera &camera : _scene.cameras) {
        const QMatrix4x4 node = _scene.worldTransform(camera.node);
        const QMatrix4x4 world = withoutScale(node * camera.local);
        const QVector3D place = world.column(3).toVector3D();
        const float farthest = (_scene.bounds.center() - place).length() + _scene.bounds.radius();
        const int transform = _model.addTransform(camera.node, node.inverted() * world);
        _model.addCamera(toModelCamera(camera, transform, farthest), camera.name);
    }
}

std::vector<ModelDrawables::Group> ModelDrawables::makeGroups(int capacity)
{
    std::vector<Group> opaque;
    std::vector<Group> blended;
    QHash<int, size_t> open; // groups that are not full, by material
    for (const Draw &draw : _scene.draws) {
        const Mesh &mesh = _scene.meshes[size_t(draw.mesh)];
        if (_scene.materialOf(draw).isBlended) {
            blended.push_back({int(_scene.materials.size() + blended.size()), {&draw}});
            _blendedMaterials.push_back(mesh.material);
            _blendedCenters.push_back(draw.transform.map(mesh.bounds.center()));
            continue;
        }
        const auto known = open.constFind(mesh.material);
        if (known == open.constEnd() || int(opaque[*known].draws.size()) == capacity) {
            open[mesh.material] = opaque.size();
            opaque.push_back({mesh.material, {&draw}});
        } else {
            opaque[*known].draws.push_back(&draw);
        }
    }
    for (const Group &group : opaque) {
        if (!_opaqueNumbers.contains(group.number)) {
            _opaqueNumbers.append(group.number);
        }
    }
    opaque.insert(opaque.end(), blended.begin(), blended.end());
    return opaque;
}

void ModelDrawables::addGroup(const Group &group)
{
    InstanceDataCollection *objects = _plans.newObjects(int(group.draws.size()));
    _objects += int(group.draws.size());
    ++_collections;
    std::vector<const Mesh *> meshes;
    for (const Draw *draw : group.draws) {
        meshes.push_back(&_scene.meshes[size_t(draw->mesh)]);
    }
    const int drawable =
        _model.add(_geometry->newUnit(meshes), group.number, materialData(materialOf(group.number)), objects,
                   flagsOf(_scene.materialOf(*group.draws.front())));
    for (int command = 0; command < int(group.draws.size()); ++command) {
        const Draw &draw = *group.draws[size_t(command)];
        _model.useTransform(drawable, command, draw.node);
        _model.useBoundingBox(drawable, command, draw.mesh);
    }
}

InstanceDataCollection *ModelDrawables::materialData(int material)
{
    InstanceDataCollection *&data = _materials[material];
    if (data == nullptr) {
        data = _plans.newMaterial(_scene.materials[size_t(material)], material,
                                  _textures.tokens(_scene.materials[size_t(material)]));
    }
    return data;
}

} // namespace zeltools
