#include "GPUModel.h"

#include "DrawBuffers.h"
#include "InstanceDataCollection.h"

#include <algorithm>
#include <array>

/// \file
/// The drawables, names, cameras and lights of GPUModel.

namespace Orvane { namespace Zel {

namespace {

using Drawable = GPUModel::Drawable;

constexpr int kNotSingle = -2; ///< differs from all transforms and from kInvalidTransformRef

/// In the order in which clear() deletes them; see GPUModelTest.WhatIsReplacedOrClearedIsDeletedInOrderUnlessADrawableUsesIt.
std::array<QObject *, 3> objectsOf(const Drawable &drawable)
{
    return {drawable.drawBuffers, drawable.materialData, drawable.objectData};
}

/// Returns the largest number in the three bits of the flags at \a shift.
int maxSets(const QVector<Drawable> &drawables, int shift)
{
    unsigned long long max = 0;
    for (const Drawable &drawable : drawables) {
        max = std::max(max, (drawable.flags >> shift) & 7u);
    }
    return static_cast<int>(max);
}

void setProperty(const QVector<Drawable> &drawables, const QVector<GPUModel::InstanceRef> &refs,
                 InstanceDataCollection *Drawable::*data, const QString &member, const void *bytes,
                 unsigned long size)
{
    for (const GPUModel::InstanceRef &ref : refs) {
        // Required: the number is read as a position; see GPUModelTest.FlagsNamesAndAncestorsReachTheirDrawables.
        if (unsigned(ref.instance) >= unsigned(drawables.size())) {
            continue;
        }
        InstanceDataCollection *collection = drawables.at(ref.instance).*data;
        if (collection != nullptr) {
            collection->set(ref.drawCommand, member, bytes, size);
        }
    }
}

template <typename Container> quint64 bytesOf(const Container &container)
{
    return static_cast<quint64>(container.size()) * sizeof(typename Container::value_type);
}

template <typename Key, typename Value> quint64 bytesOf(const QHash<Key, QVector<Value>> &hash)
{
    quint64 bytes = static_cast<quint64>(hash.size()) * (sizeof(Key) + sizeof(QVector<Value>));
    for (const QVector<Value> &values : hash) {
        bytes += bytesOf(values);
    }
    return bytes;
}

} // namespace

GPUModel::GPUModel()
    : _sceneBounds(invertedBounds())
{
}

GPUModel::~GPUModel() = default;

void GPUModel::clear()
{
    // 1. The objects of the drawables: each once, although drawables may share it.
    QVector<QObject *> owned;
    for (const Drawable &drawable : qAsConst(_drawables)) {
        for (QObject *object : objectsOf(drawable)) {
            if (_uses.remove(object) != 0) {
                owned.append(object);
            }
        }
    }
    if (_deleteOnClear) {
        deleteObjects(owned);
    }
    // 2. All that refers to drawables or transforms by number.
    _drawables.clear();
    _onlyTransforms.clear();
    _instanceToDrawable.clear();
    _materialDrawables.clear();
    _materialInstances.clear();
    _objectInstances.clear();
    _localTransforms.clear();
    _transformLocked.clear();
    _worldTransforms.clear();
    _normalTransforms.clear();
    _transformParents.clear();
    _transformSwapsHandedness.clear();
    _transformDirty.clear();
    _transformNames.clear();
    _transformInstances.clear();
    // 3. Required: visibility, moved instances, cameras, lights and boxes stay. A model that is filled again has the old
    //    visibility at its low transform numbers; see GPUModelTest.FlagsNamesAndAncestorsReachTheirDrawables.
    _boxedCommands.clear();
    _flagsDirty = false;
    _transformsDirty = false;
    _boundsDirty = true;
}

void GPUModel::setDeleteOnClear(bool deleteOnClear)
{
    _deleteOnClear = deleteOnClear;
}

void GPUModel::setFeatureFlags(unsigned long long flags)
{
    _featureFlags = flags;
}

unsigned long long GPUModel::getFeatureFlags() const
{
    return _featureFlags;
}

bool GPUModel::hasFeatureFlags(unsigned long long mask) const
{
    return (_featureFlags & mask) == mask;
}

void GPUModel::setClipPlaneDefaults(float nearClip, float farClip)
{
    _clipNearDefault = nearClip;
    _clipFarDefault = farClip;
}

bool GPUModel::containsReflectedTransparency() const
{
    return _containsReflectedTransparency;
}

void GPUModel::setContainsReflectedTransparency(bool contains)
{
    _containsReflectedTransparency = contains;
}

int GPUModel::add(DrawBuffers *drawBuffers, int materialNumber, InstanceDataCollection *material,
                  InstanceDataCollection *object, const unsigned long long &flags)
{
    Drawable drawable;
    drawable.drawBuffers = drawBuffers;
    drawable.materialData = material;
    drawable.objectData = object;
    drawable.flags = flags;
    const int commands = commandCount(drawable);
    drawable.transformRefs.fill(kInvalidTransformRef, commands);
    drawable.boundingBoxRefs.fill(kInvalidBoundingBoxRef, commands);
    setMarkCount(drawable, commands);
    _boundsDirty = true;
    // A model that is filled in ascending order needs no sort.
    _flagsDirty = _flagsDirty || (!_drawables.isEmpty() && _drawables.constLast().flags > flags);
    return append(drawable, materialNumber);
}

int GPUModel::addSimple(DrawBuffers *drawBuffers, int, InstanceDataCollection *material,
                        InstanceDataCollection *object, const unsigned long long &flags)
{
    Drawable drawable;
    drawable.drawBuffers = drawBuffers;
    drawable.materialData = material;
    drawable.objectData = object;
    drawable.flags = flags;
    // No marks and no references by command, which drawSimple() does not read. It ignores material numbers too.
    return append(drawable, 0);
}

void GPUModel::set(int instance, DrawBuffers *drawBuffers, InstanceDataCollection *material,
                   InstanceDataCollection *object, unsigned long long flags, unsigned long long mask)
{
    Drawable *changed = drawable(instance);
    if (changed == nullptr) {
        return;
    }
    // 1. The objects and the flags. The new uses are counted before the old ones end: an object may be both.
    const std::array<QObject *, 3> replaced = objectsOf(*changed);
    changed->drawBuffers = drawBuffers;
    changed->materialData = material;
    changed->objectData = object;
    addUses(*changed);
    changeFlags(instance, flags, mask);

    // 2. The references and marks of commands that remain are kept.
    const int oldCommands = changed->culled.size();
    const int commands = commandCount(*changed);
    _boxedCommandsDirty = true;
    changed->transformRefs.resize(commands);
    changed->boundingBoxRefs.resize(commands);
    setMarkCount(*changed, commands);
    for (int i = oldCommands; i < commands; ++i) {
        changed->transformRefs[i] = kInvalidTransformRef;
        changed->boundingBoxRefs[i] = kInvalidBoundingBoxRef;
    }
    updateOnlyTransform(_instanceToDrawable.at(instance));
    _boundsDirty = true;

    // 3. What is no longer used is deleted last: deleting may run host code, which finds the model complete.
    QVector<QObject *> unused;
    for (QObject *old : replaced) {
        if (--_uses[old] == 0) {
            _uses.remove(old);
            unused.append(old);
        }
    }
    if (_deleteOnClear) {
        deleteObjects(unused);
    }
}

int GPUModel::numDrawables() const
{
    return _drawables.size();
}

bool GPUModel::isDrawablesEmpty() const
{
    return _drawables.isEmpty();
}

DrawBuffers *GPUModel::drawBuffers(int instance) const
{
    const Drawable *found = drawable(instance);
    return found != nullptr ? found->drawBuffers : nullptr;
}

InstanceDataCollection *GPUModel::materialData(int instance) const
{
    const Drawable *found = drawable(instance);
    return found != nullptr ? found->materialData : nullptr;
}

InstanceDataCollection *GPUModel::objectData(int instance) const
{
    const Drawable *found = drawable(instance);
    return found != nullptr ? found->objectData : nullptr;
}

unsigned long long GPUModel::getFlags(int instance) const
{
    const Drawable *found = drawable(instance);
    return found != nullptr ? found->flags : 0;
}

void GPUModel::setFlags(int instance, unsigned long long flags, unsigned long long mask)
{
    changeFlags(instance, flags, mask);
}

void GPUModel::addFlags(int instance, unsigned long long flags)
{
    changeFlags(instance, flags, flags);
}

void GPUModel::removeFlags(int instance, unsigned long long flags)
{
    changeFlags(instance, 0, flags);
}

void GPUModel::setFlags(int first, int last, unsigned long long flags, unsigned long long mask)
{
    for (int instance = first; instance < last; ++instance) {
        changeFlags(instance, flags, mask);
    }
}

void GPUModel::addFlags(int first, int last, unsigned long long flags)
{
    setFlags(first, last, flags, flags);
}

void GPUModel::removeFlags(int first, int last, unsigned long long flags)
{
    setFlags(first, last, 0, flags);
}

void GPUModel::sortDrawablesByFlags()
{
    if (!_flagsDirty) {
        return;
    }
    // Required: only clear() resets _flagsDirty. Sorting again is harmless because the sort is stable; see
    // GPUModelTest.FlagsNamesAndAncestorsReachTheirDrawables, which sorts twice.
    std::stable_sort(_drawables.begin(), _drawables.end(), &GPUModel::flagsLessThan);
    // Required: the lists by material and the references by name keep their numbers, which are read as positions; see
    // GPUModelTest.FlagsNamesAndAncestorsReachTheirDrawables.
    for (int position = 0; position < _drawables.size(); ++position) {
        _instanceToDrawable[_drawables.at(position).instance] = position;
        updateOnlyTransform(position);
    }
}

bool GPUModel::isDrawAny(unsigned long long bits) const
{
    return std::any_of(_drawables.begin(), _drawables.end(),
                       [bits](const Drawable &drawable) { return (drawable.flags & bits) != 0; });
}

bool GPUModel::isDrawEmpty(unsigned long long value, unsigned long long mask) const
{
    // Without the feature resetCulling() removes no marks, so they do not count here; a draw reads them anyway.
    const bool culling = hasFeatureFlags(kFeatureCulling);
    return std::none_of(_drawables.begin(), _drawables.end(), [=](const Drawable &drawable) {
        return (value & mask) == (drawable.flags & mask)
               && (!culling || drawable.culledCount < commandCount(drawable));
    });
}

int GPUModel::maxUVSets() const
{
    return maxSets(_drawables, kUVSetsShift);
}

int GPUModel::maxTangentSets() const
{
    return maxSets(_drawables, kTangentSetsShift);
}

void GPUModel::addMaterialName(int instance, int drawCommand, const QString &name)
{
    _materialInstances[name].append({instance, drawCommand});
}

void GPUModel::addObjectName(int instance, int drawCommand, const QString &name)
{
    _objectInstances[name].append({instance, drawCommand});
}

QVector<GPUModel::InstanceRef> GPUModel::materialInstances(const QString &name) const
{
    return _materialInstances.value(name);
}

QVector<GPUModel::InstanceRef> GPUModel::objectInstances(const QString &name) const
{
    return _objectInstances.value(name);
}

QStringList GPUModel::materialNames() const
{
    return _materialInstances.keys();
}

QStringList GPUModel::objectNames() const
{
    return _objectInstances.keys();
}

void GPUModel::setMaterialProperty(const QString &name, const QString &member, const void *data,
                                   unsigned long size)
{
    setProperty(_drawables, _materialInstances.value(name), &Drawable::materialData, member, data, size);
}

void GPUModel::setObjectProperty(const QString &name, const QString &member, const void *data,
                                 unsigned long size)
{
    setProperty(_drawables, _objectInstances.value(name), &Drawable::objectData, member, data, size);
}

int GPUModel::addCamera(const Camera &camera, const QString &name)
{
    _cameras.resize(_cameras.size() + 1); // not append(), for which gcc 12 gives a false warning
    _cameras.last() = camera;
    _cameraNames.append(name);
    return _cameras.size() - 1;
}

void GPUModel::setCamera(int index, const Camera &camera)
{
    if (index >= 0 && index < _cameras.size()) {
        _cameras[index] = camera;
    }
}

GPUModel::Camera GPUModel::getCamera(int index) const
{
    return _cameras.value(index);
}

int GPUModel::getCameraCount() const
{
    return _cameras.size();
}

QStringList GPUModel::getCameraNames() const
{
    return _cameraNames.toList();
}

int GPUModel::getCameraIndex(const QString &name) const
{
    return _cameraNames.indexOf(name);
}

QMatrix4x4 GPUModel::getCameraWorldSpaceMatrix(int index) const
{
    // Required: the view matrix, from the world to the camera, despite the name; see
    // GPUModelTest.CamerasTakeWhatTheyLackFromTheModelAndFillTheAspectFromTheirFilm.
    return worldTransform(getCamera(index).transform).inverted();
}

QMatrix4x4 GPUModel::getCameraProjectionMatrix(int index, float aspect) const
{
    // 1. The camera, or a film of 36 by 24 mm; 1.4999999 is the quotient of these as floats in metres. A clip distance of 0 is
    //    that of the model.
    const bool isDefault = index < 0;
    const Camera camera = isDefault ? Camera() : getCamera(index);
    const float halfFilm = isDefault ? 0.018f : camera.filmWidth / 2.0f;
    const float filmRatio = isDefault ? 1.4999999f : camera.filmWidth / camera.filmHeight;
    const float nearClip = isDefault || camera.nearClip == 0.0f ? _clipNearDefault : camera.nearClip;
    const float farClip = isDefault || camera.farClip == 0.0f ? _clipFarDefault : camera.farClip;

    // 2. The window on the near plane for a perspective film, on the plane of focus for an orthographic one. The film is cropped
    //    in height if the aspect is wider than the film, else in width.
    const float scale = (camera.projectionType != 0 ? camera.focusDistance : nearClip) / camera.focalLength;
    const float ratio = std::max(filmRatio, aspect);
    const float halfWidth = scale * halfFilm * aspect / ratio;
    const float halfHeight = halfWidth / aspect;
    const float x = camera.filmOffsetX * scale;
    const float y = camera.filmOffsetY * scale;

    // 3. The projection through this window.
    QMatrix4x4 projection;
    if (camera.projectionType == 1) {
        projection.ortho(x - halfWidth, x + halfWidth, y - halfHeight, y + halfHeight, nearClip, farClip);
    } else {
        projection.frustum(x - halfWidth, x + halfWidth, y - halfHeight, y + halfHeight, nearClip, farClip);
    }
    return projection;
}

int GPUModel::addLight(const Light &light, const QString &name)
{
    _lights.append(light);
    _lightNames.append(name);
    return _lights.size() - 1;
}

void GPUModel::getLight(int index, Light &light) const
{
    light = _lights.value(index, light); // unchanged for an unknown index
}

int GPUModel::lightCount() const
{
    return _lights.size();
}

quint64 GPUModel::memoryEstimateCPU() const
{
    // Objects count once for each drawable that shares them: the sum needs no list of those that it has seen.
    quint64 bytes = 0;
    for (const Drawable &drawable : _drawables) {
        bytes += sizeof(Drawable);
        bytes +=
            bytesOf(drawable.transformRefs) + bytesOf(drawable.boundingBoxRefs) + bytesOf(drawable.culled);
        bytes += drawable.drawBuffers != nullptr ? drawable.drawBuffers->memoryEstimateCPU() : 0;
        bytes += drawable.materialData != nullptr ? drawable.materialData->memoryEstimateCPU() : 0;
        bytes += drawable.objectData != nullptr ? drawable.objectData->memoryEstimateCPU() : 0;
    }
    for (const QVector<InstanceRef> &refs : _transformInstances) {
        bytes += sizeof(refs) + bytesOf(refs);
    }
    return bytes + bytesOf(_onlyTransforms) + bytesOf(_instanceToDrawable) + bytesOf(_materialDrawables)
           + bytesOf(_materialInstances) + bytesOf(_objectInstances) + bytesOf(_localTransforms)
           + bytesOf(_transformLocked) + bytesOf(_worldTransforms) + bytesOf(_normalTransforms)
           + bytesOf(_transformParents) + bytesOf(_transformSwapsHandedness) + bytesOf(_transformDirty)
           + bytesOf(_transformVisibility)
           + static_cast<quint64>(_transformNames.size()) * (sizeof(QString) + sizeof(int))
           + bytesOf(_movedInstances) + bytesOf(_cameras) + bytesOf(_cameraNames) + bytesOf(_lights)
           + bytesOf(_lightNames) + bytesOf(_boundingBoxes) + bytesOf(_boxedCommands)
           + static_cast<quint64>(_uses.size()) * (sizeof(QObject *) + sizeof(int));
}

quint64 GPUModel::memoryEstimateGPU() const
{
    quint64 bytes = 0;
    for (const Drawable &drawable : _drawables) {
        bytes += drawable.drawBuffers != nullptr ? drawable.drawBuffers->memoryEstimateGPU() : 0;
        bytes += drawable.materialData != nullptr ? drawable.materialData->memoryEstimateGPU() : 0;
        bytes += drawable.objectData != nullptr ? drawable.objectData->memoryEstimateGPU() : 0;
    }
    return bytes;
}

int GPUModel::getTotalVerts() const
{
    int vertices = 0;
    for (const Drawable &drawable : _drawables) {
        vertices += drawable.drawBuffers != nullptr ? drawable.drawBuffers->numVerts() : 0;
    }
    return vertices;
}

bool GPUModel::flagsLessThan(const Drawable &a, const Drawable &b)
{
    return a.flags < b.flags;
}

int GPUModel::commandCount(const Drawable &drawable)
{
    return drawable.drawBuffers != nullptr ? drawable.drawBuffers->numDrawCommands() : 0;
}

GPUModel::Drawable *GPUModel::drawable(int instance)
{
    const int position = _instanceToDrawable.value(instance, -1);
    return drawableAt(position) != nullptr ? &_drawables[position] : nullptr;
}

const GPUModel::Drawable *GPUModel::drawable(int instance) const
{
    return drawableAt(_instanceToDrawable.value(instance, -1));
}

const GPUModel::Drawable *GPUModel::drawableAt(int position) const
{
    return position >= 0 && position < _drawables.size() ? &_drawables.at(position) : nullptr;
}

void GPUModel::addUses(const Drawable &drawable)
{
    for (QObject *object : objectsOf(drawable)) {
        ++_uses[object];
    }
}

/// Deletes objects that no drawable uses any more. During a draw, which still uses them, the end of the draw does so.
void GPUModel::deleteObjects(const QVector<QObject *> &objects)
{
    if (_runningDraws == 0) {
        qDeleteAll(objects);
    } else {
        _removed += objects;
    }
}

int GPUModel::append(const Drawable &drawable, int materialNumber)
{
    const int instance = _drawables.size(); // and the position until sortDrawablesByFlags()
    _drawables.append(drawable);
    addUses(drawable);
    _drawables.last().instance = instance;
    _onlyTransforms.append(kNotSingle);
    updateOnlyTransform(instance);
    _instanceToDrawable.append(instance);
    _materialDrawables[materialNumber].append(instance);
    return instance;
}

/// Keeps the transform of a drawable with one command apart from the drawable, whose vector a draw then need not load.
void GPUModel::updateOnlyTransform(int position)
{
    const QVector<int> &refs = _drawables.at(position).transformRefs;
    _onlyTransforms[position] = refs.size() == 1 ? refs.constFirst() : kNotSingle;
}

void GPUModel::changeFlags(int instance, unsigned long long flags, unsigned long long mask)
{
    Drawable *changed = drawable(instance);
    if (changed == nullptr) {
        return;
    }
    const unsigned long long newFlags = (changed->flags & ~mask) | (flags & mask);
    if (newFlags != changed->flags) { // hosts set the same flags in each frame, which must not cause a sort
        changed->flags = newFlags;
        _flagsDirty = true;
    }
}

}} // namespace Orvane::Zel
