#include "GPUModel.h"

#include "InstanceDataCollection.h"
#include "private/MatrixWriter.h"
#include "private/TransformTree.h"
#include "private/WorldMatrices.h"

/// \file
/// The transforms of GPUModel.

namespace Orvane { namespace Zel {

bool GPUModel::SwapsHandedness(const QMatrix4x4 &matrix)
{
    return swapsHandedness(matrix);
}

int GPUModel::addTransform(int parent, const QMatrix4x4 &local)
{
    const int transform = _localTransforms.size();
    // A parent may be added after its children, so the chain above may end at the number of this transform, which would close a
    // ring. Upward traversals would never end then.
    const bool loops = transformTree().endOfChain(parent) == transform;
    _localTransforms.append(local);
    _transformLocked.append(false);
    _worldTransforms.append(QMatrix4x4());
    _normalTransforms.append(QMatrix3x3());
    _transformParents.append(loops ? kInvalidTransformRef : parent);
    _transformSwapsHandedness.append(false);
    _transformDirty.append(true);
    _transformVisibility.append(1);
    _transformInstances.append(QVector<InstanceRef>());
    _transformsDirty = true;
    return transform;
}

void GPUModel::setLocalTransform(int transform, const QMatrix4x4 &local, bool locked)
{
    if (!isValidTransform(transform) || _localTransforms.at(transform) == local) {
        return; // required: not even the lock changes; see GPUModelTest.ARandomSceneIsUpdatedCulledAndDrawnAsPlainListsAre
    }
    _localTransforms[transform] = local;
    _transformDirty[transform] = true;
    _transformsDirty = true;
    _transformLocked[transform] = locked;
}

void GPUModel::setWorldTransform(int transform, const QMatrix4x4 &world)
{
    const int parent = parentOf(transform);
    setLocalTransform(transform, parent < 0 ? world : _worldTransforms.at(parent).inverted() * world, false);
}

void GPUModel::setTransformParent(int transform, int parent)
{
    if (!isValidTransform(transform) || _transformParents.at(transform) == parent
        || (isValidTransform(parent) && isDescendant(transform, parent))) {
        return;
    }
    _transformParents[transform] = parent;
    _transformDirty[transform] = true;
    _transformsDirty = true;
}

void GPUModel::setVisibility(int transform, int visibility)
{
    if (transform >= 0 && transform < _transformVisibility.size()) {
        _transformVisibility[transform] = visibility;
    }
}

int GPUModel::transformParent(int transform) const
{
    return _transformParents.value(transform, kInvalidTransformRef);
}

QMatrix4x4 GPUModel::localTransform(int transform) const
{
    return _localTransforms.value(transform, QMatrix4x4());
}

QMatrix4x4 GPUModel::worldTransform(int transform) const
{
    return _worldTransforms.value(transform, QMatrix4x4());
}

QMatrix3x3 GPUModel::normalTransform(int transform) const
{
    return _normalTransforms.value(transform, QMatrix3x3());
}

bool GPUModel::isValidTransform(int transform) const
{
    return transform >= 0 && transform < _localTransforms.size();
}

bool GPUModel::isTransformDirty(int transform) const
{
    for (int t = transform; isValidTransform(t); t = _transformParents.at(t)) {
        if (_transformDirty.at(t)) {
            return true;
        }
    }
    return false;
}

bool GPUModel::isParentHidden(int transform) const
{
    return transformTree().isParentHidden(transform);
}

bool GPUModel::isVisible(int transform) const
{
    return transformTree().isVisible(transform);
}

bool GPUModel::isDescendant(int ancestor, int transform) const
{
    return transformTree().isDescendant(ancestor, transform);
}

void GPUModel::useTransform(int instance, int drawCommand, int transform)
{
    Drawable *user = drawable(instance);
    if (user == nullptr || drawCommand < 0 || drawCommand >= user->transformRefs.size()) {
        return;
    }
    if (isValidTransform(transform)) {
        _transformInstances[transform].append({instance, drawCommand});
    }
    user->transformRefs[drawCommand] = transform;
    updateOnlyTransform(_instanceToDrawable.at(instance));
    _boxedCommandsDirty = true;
}

QMatrix4x4 GPUModel::updateTransform(int transform)
{
    if (!isValidTransform(transform)) {
        return QMatrix4x4();
    }
    MatrixWriter writer;
    updateChain(transform, writer);
    return _worldTransforms.at(transform);
}

void GPUModel::updateTransforms()
{
    if (!_transformsDirty) {
        return;
    }
    // 1. The descendants of dirty transforms become dirty, before any flag is cleared.
    const int count = _localTransforms.size();
    for (int transform = 0; transform < count; ++transform) {
        if (!_transformDirty.at(transform) && isParentDirty(transform)) {
            _transformDirty[transform] = true;
        }
    }
    // 2. Parents before children, whatever their numbers.
    MatrixWriter writer;
    for (int transform = 0; transform < count; ++transform) {
        updateChain(transform, writer);
    }
    _transformsDirty = false;
}

void GPUModel::updatePreviousMatrices()
{
    MatrixWriter writer;
    for (const InstanceRef &ref : qAsConst(_movedInstances)) {
        const Drawable *moved = drawableAt(ref.instance);
        if (moved != nullptr && moved->objectData != nullptr) {
            writer.copyToPrevious(*moved->objectData, ref.drawCommand);
        }
    }
    _movedInstances.resize(0);
}

void GPUModel::setTransformName(int transform, const QString &name)
{
    _transformNames.insert(name, transform);
}

int GPUModel::findTransform(const QString &name) const
{
    return _transformNames.value(name, kInvalidTransformRef);
}

QStringList GPUModel::transformNames() const
{
    return _transformNames.keys();
}

int GPUModel::parentOf(int transform) const
{
    const int parent = _transformParents.value(transform, kInvalidTransformRef);
    return isValidTransform(parent) ? parent : kInvalidTransformRef;
}

/// Returns isTransformDirty() of the parent, for a loop over the transforms by number: the flags of those with lower numbers
/// include their ancestors already, so the traversal ends at the first of them.
bool GPUModel::isParentDirty(int transform) const
{
    for (int t = parentOf(transform); t >= 0; t = parentOf(t)) {
        if (t < transform || _transformDirty.at(t)) {
            return _transformDirty.at(t);
        }
    }
    return false;
}

/// Updates a transform if it is dirty, after the dirty ones directly above it. Not recursive: a long chain would exhaust
/// the stack.
void GPUModel::updateChain(int transform, MatrixWriter &writer)
{
    _dirtyChain.resize(0);
    for (int t = transform; t >= 0 && _transformDirty.at(t); t = parentOf(t)) {
        _dirtyChain.append(t);
    }
    for (int i = _dirtyChain.size() - 1; i >= 0; --i) {
        recompute(_dirtyChain.at(i), writer);
    }
}

void GPUModel::recompute(int transform, MatrixWriter &writer)
{
    // 1. The world matrix. updateChain() begins at the top, so a dirty parent has been computed.
    const int parent = parentOf(transform);
    QMatrix4x4 world;
    if (_transformLocked.at(transform)) {
        world = lockedWorld(transform, parent < 0 ? QMatrix4x4() : _worldTransforms.at(parent));
    } else if (parent < 0) {
        world = _localTransforms.at(transform);
    } else {
        world = _worldTransforms.at(parent) * _localTransforms.at(transform);
    }
    // 2. What follows from it.
    const WorldMatrices matrices(world);
    _worldTransforms[transform] = world;
    _normalTransforms[transform] = matrices.normal;
    _transformSwapsHandedness[transform] = matrices.mirrors;
    _transformDirty[transform] = false;

    // 3. The object data of the commands that use the transform. Required: the number is read as a position in the list, also
    //    after sorting.
    for (const InstanceRef &ref : qAsConst(_transformInstances).at(transform)) {
        const Drawable *user = drawableAt(ref.instance);
        if (user == nullptr) {
            continue;
        }
        if (user->objectData != nullptr) {
            writer.write(*user->objectData, ref.drawCommand, world, matrices);
        }
        _movedInstances.append(ref);
    }
}

/// Returns a world matrix with the parent's position and scale but without its rotation.
///
/// Required: it rewrites the local matrix, so the next update scales it again unless the host sets it before; see
/// GPUModelTest.ARandomSceneIsUpdatedCulledAndDrawnAsPlainListsAre.
QMatrix4x4 GPUModel::lockedWorld(int transform, const QMatrix4x4 &parentWorld)
{
    // 1. The position in the world, from the local matrix as the host set it.
    QMatrix4x4 &local = _localTransforms[transform];
    const QVector3D originInWorld = (parentWorld * local).column(3).toVector3D();
    const QVector3D parentXInWorld = parentWorld.column(0).toVector3D();
    const QVector3D parentYInWorld = parentWorld.column(1).toVector3D();
    const QVector3D parentZInWorld = parentWorld.column(2).toVector3D();

    // 2. The parent's scale; one negative factor replaces any odd number of mirrored axes.
    local.setColumn(3, QVector4D(0.0f, 0.0f, 0.0f, 1.0f));
    local.scale(swapsHandedness(parentWorld) ? -parentXInWorld.length() : parentXInWorld.length(),
                parentYInWorld.length(), parentZInWorld.length());

    // 3. Both together.
    QMatrix4x4 world;
    world.translate(originInWorld);
    return world * local;
}

TransformTree GPUModel::transformTree() const
{
    return TransformTree(_transformParents, _transformVisibility, _transformSwapsHandedness);
}

}} // namespace Orvane::Zel
