#include "CommandSelection.h"

#include "DrawableMarks.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace Orvane { namespace Zel {

namespace {

constexpr float kFarAway = 1.0e30f; ///< the distance of a command without box or transform

} // namespace

GPUModel::CommandSelection::CommandSelection(GPUModel &model)
    : _model(model)
    , _onlyTransforms(model._onlyTransforms)
    , _parents(model._transformParents)
    , _visibility(model._transformVisibility)
    , _swapsHandedness(model._transformSwapsHandedness)
    , _worldTransforms(model._worldTransforms)
    , _boundingBoxes(model._boundingBoxes)
    , _tree(_parents, _visibility, _swapsHandedness)
{
    swapLists(); // the model's lists come here, and empty ones go to the model for a draw within the draw
}

GPUModel::CommandSelection::~CommandSelection()
{
    swapLists();
}

void GPUModel::CommandSelection::sortIfRequested(unsigned long long flags, const QMatrix4x4 *viewMatrix)
{
    _sorts = (flags & kFlagSortByDistance) != 0 && viewMatrix != nullptr;
    if (_sorts) {
        // Required: the translation of the inverse with its sign turned, although that of the inverse itself is the eye of a
        // view matrix; see GPUModelTest.ARandomSceneIsUpdatedCulledAndDrawnAsPlainListsAre.
        _eyeInWorld = -viewMatrix->inverted().column(3).toVector3D();
    }
}

void GPUModel::CommandSelection::choose(const Drawable &drawable, int commands, WindingType winding)
{
    _chosen.resize(0);
    _others.resize(0);
    // The draw unit may have more commands by now than the drawable has marks; addSimple() makes none.
    commands = std::min(commands, drawable.culled.size());
    for (int command = 0; command < commands; ++command) {
        const int transform = drawable.transformRefs.at(command);
        if (!isCulled(drawable, command) && _tree.isVisible(transform)) {
            (isOfWinding(transform, winding) ? _chosen : _others).append(command);
        }
    }
}

void GPUModel::CommandSelection::chooseFirst(int commands)
{
    _chosen.resize(commands);
    std::iota(_chosen.begin(), _chosen.end(), 0);
}

void GPUModel::CommandSelection::sort(const Drawable &drawable, QVector<int> &commands)
{
    if (!_sorts || commands.isEmpty()) {
        return;
    }
    _distances.resize(0);
    for (const int command : qAsConst(commands)) {
        _distances.append({distanceOf(drawable, command), command});
    }
    std::sort(_distances.begin(), _distances.end(), &GPUModel::distanceCompare);
    std::transform(_distances.cbegin(), _distances.cend(), commands.begin(),
                   [](const DistanceSort &sorted) { return sorted.drawCommand; });
}

void GPUModel::CommandSelection::swapLists()
{
    _chosen.swap(_model._chosenCommands);
    _others.swap(_model._otherCommands);
    _distances.swap(_model._distances);
}

float GPUModel::CommandSelection::distanceOf(const Drawable &drawable, int command) const
{
    const int box = drawable.boundingBoxRefs.value(command, kInvalidBoundingBoxRef);
    const int transform = drawable.transformRefs.value(command, kInvalidTransformRef);
    if (box < 0 || box >= _boundingBoxes.size() || !_tree.isValid(transform)) {
        return kFarAway;
    }
    // In the space of the box, which is then compared as it is stored. So a transform that scales also scales the distance.
    const QVector3D eyeInLocal = _worldTransforms.at(transform).inverted().map(_eyeInWorld);
    const QVector3D nearestInLocal = _boundingBoxes.at(box).closestPointFrom(eyeInLocal);
    const float distance = (eyeInLocal - nearestInLocal).length();
    return std::isnan(distance) ? kFarAway : distance; // std::sort() needs a strict order, which NaN breaks
}

}} // namespace Orvane::Zel
