#include "GPUModel.h"

#include "private/DrawableMarks.h"
#include "private/FrustumTest.h"
#include "private/TransformTree.h"

#include <algorithm>
#include <iterator>

/// \file
/// The bounding boxes and the culling of GPUModel.

namespace Orvane { namespace Zel {

namespace {

constexpr float kBoundsExtreme = 1e20f;
constexpr float kMinRowLengthSquared = 1e-6f; ///< of a world matrix that shows anything

} // namespace

QVector3D GPUModel::BoundingBox::closestPointFrom(const QVector3D &point) const
{
    return QVector3D(std::min(std::max(point.x(), minX), maxX), std::min(std::max(point.y(), minY), maxY),
                     std::min(std::max(point.z(), minZ), maxZ));
}

void GPUModel::useBoundingBox(int instance, int drawCommand, int box)
{
    Drawable *user = drawable(instance);
    if (user != nullptr && drawCommand >= 0 && drawCommand < user->boundingBoxRefs.size()) {
        user->boundingBoxRefs[drawCommand] = box;
        _boxedCommandsDirty = true;
    }
}

void GPUModel::loadBoundingBoxes(const BoundingBox *boxes, int count)
{
    _boundingBoxes.clear();
    if (boxes != nullptr && count > 0) {
        _boundingBoxes.reserve(count);
        std::copy(boxes, boxes + count, std::back_inserter(_boundingBoxes));
    }
}

GPUModel::BoundingBox GPUModel::getBoundingBox(int index) const
{
    return _boundingBoxes.value(index);
}

bool GPUModel::isValidBoundingBox(int index) const
{
    return index >= 0 && index < _boundingBoxes.size();
}

const GPUModel::BoundingBox &GPUModel::sceneBounds()
{
    if (!_boundsDirty) {
        return _sceneBounds;
    }
    // 1. No box, which is the result if nothing is visible.
    BoundingBox &bounds = _sceneBounds;
    bounds = invertedBounds();
    // 2. The boxes of all commands that are not culled.
    for (const Drawable &drawable : qAsConst(_drawables)) {
        for (int command = 0; command < drawable.culled.size(); ++command) {
            const int ref = drawable.boundingBoxRefs.at(command);
            if (isCulled(drawable, command) || !isValidBoundingBox(ref)) {
                continue;
            }
            // Required: the box as stored, in its own space; see
            // GPUModelTest.ARandomSceneIsUpdatedCulledAndDrawnAsPlainListsAre, whose boxes have transforms.
            const BoundingBox &box = _boundingBoxes.at(ref);
            bounds.minX = std::min(bounds.minX, box.minX);
            bounds.minY = std::min(bounds.minY, box.minY);
            bounds.minZ = std::min(bounds.minZ, box.minZ);
            bounds.maxX = std::max(bounds.maxX, box.maxX);
            bounds.maxY = std::max(bounds.maxY, box.maxY);
            bounds.maxZ = std::max(bounds.maxZ, box.maxZ);
        }
    }
    _boundsDirty = false;
    return _sceneBounds;
}

int GPUModel::visibilityCull()
{
    const TransformTree tree = transformTree();
    int newlyCulled = 0;
    for (Drawable &drawable : _drawables) {
        // A hidden drawable loses all commands at once, whatever their transforms are.
        if ((drawable.flags & kFlagHidden) != 0) {
            newlyCulled += drawable.culled.size() - drawable.culledCount;
            setAllCulled(drawable, true);
            continue;
        }
        for (int command = 0; command < drawable.culled.size(); ++command) {
            if (!isCulled(drawable, command) && isHidden(drawable.transformRefs.at(command), tree)) {
                cull(drawable, command);
                ++newlyCulled;
            }
        }
    }
    _boundsDirty = true;
    return newlyCulled;
}

int GPUModel::frustumCull(const QMatrix4x4 &viewProjection)
{
    // All boxes are tested, also those of culled commands: the marks are in the drawables, which the loop loads only for boxes
    // that are outside.
    collectBoxedCommands();
    const FrustumTest frustum(viewProjection);
    int newlyCulled = 0;
    for (const BoxedCommand &boxed : qAsConst(_boxedCommands)) {
        if (!isBoxOutside(frustum, boxed.box, boxed.transform)) {
            continue;
        }
        Drawable &drawable = _drawables[_instanceToDrawable.at(boxed.instance)];
        if (!isCulled(drawable, boxed.drawCommand)) {
            cull(drawable, boxed.drawCommand);
            ++newlyCulled;
        }
    }
    _boundsDirty = true;
    return newlyCulled;
}

void GPUModel::resetCulling()
{
    if (!hasFeatureFlags(kFeatureCulling)) { // required: not even the bounds become dirty
        return;
    }
    for (Drawable &drawable : _drawables) {
        if (drawable.culledCount != 0) {
            setAllCulled(drawable, false);
        }
    }
    _boundsDirty = true;
}

GPUModel::BoundingBox GPUModel::invertedBounds()
{
    return {kBoundsExtreme,  kBoundsExtreme,  kBoundsExtreme,
            -kBoundsExtreme, -kBoundsExtreme, -kBoundsExtreme};
}

/// Keeps the marks of the commands that the drawable had before.
void GPUModel::setMarkCount(Drawable &drawable, int commands)
{
    static const QVector<bool> kOneMark(
        1, false); // of all drawables with one command; see private/DrawableMarks.h
    QVector<bool> marks(commands, false);
    for (int command = 0; command < std::min(commands, drawable.culled.size()); ++command) {
        marks[command] = isCulled(drawable, command);
    }
    drawable.culledCount = marks.count(true);
    drawable.culled = commands == 1 ? kOneMark : marks;
}

bool GPUModel::isHidden(int transform, const TransformTree &tree) const
{
    if (!tree.isVisible(transform)) {
        return true;
    }
    // The world matrix of a dirty transform is out of date: the next pass decides.
    if (_transformsDirty && isTransformDirty(transform)) {
        return false;
    }
    // Required: the translation counts too, so a transform that is scaled to nothing is hidden only near the origin.
    const QMatrix4x4 &world = _worldTransforms.at(transform);
    return world.row(0).lengthSquared() < kMinRowLengthSquared
           && world.row(1).lengthSquared() < kMinRowLengthSquared
           && world.row(2).lengthSquared() < kMinRowLengthSquared;
}

void GPUModel::collectBoxedCommands()
{
    if (!_boxedCommandsDirty) {
        return;
    }
    _boxedCommandsDirty = false;
    _boxedCommands.resize(0); // keeps the capacity
    for (const Drawable &drawable : qAsConst(_drawables)) {
        for (int command = 0; command < drawable.boundingBoxRefs.size(); ++command) {
            const int box = drawable.boundingBoxRefs.at(command);
            if (box >= 0) { // numbers of boxes that are loaded later count too
                _boxedCommands.append({box, drawable.transformRefs.at(command), drawable.instance, command});
            }
        }
    }
}

/// A command without a box is never outside; one with a box but no transform always is.
inline bool GPUModel::isBoxOutside(const FrustumTest &frustum, int box, int transform) const
{
    if (!isValidBoundingBox(box)) {
        return false;
    }
    if (!isValidTransform(transform)) {
        return true;
    }
    // As in isHidden(): the world matrix of a dirty transform is out of date.
    if (_transformsDirty && isTransformDirty(transform)) {
        return false;
    }
    const BoundingBox &bounds = _boundingBoxes.at(box);
    return frustum.isOutside(_worldTransforms.at(transform), {bounds.minX, bounds.minY, bounds.minZ},
                             {bounds.maxX, bounds.maxY, bounds.maxZ});
}

}} // namespace Orvane::Zel
