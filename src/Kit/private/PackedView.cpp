#include "PackedView.h"

#include <algorithm>
#include <cmath>
#include <tuple>

using namespace Orvane::Zel;

namespace Orvane { namespace ZelKit {

PackedView::PackedView(bool usesPersistentMapping)
    : _commands(usesPersistentMapping)
{
}

void PackedView::setCamera(const QMatrix4x4 *viewProjection, const QVector3D &eye)
{
    const bool isSame = _hasCamera && _eye == eye
                        && _viewProjection.has_value() == (viewProjection != nullptr)
                        && (viewProjection == nullptr || *_viewProjection == *viewProjection);
    if (isSame) {
        return;
    }
    _hasCamera = true;
    _isSelected = false;
    _eye = eye;
    _viewProjection = viewProjection != nullptr ? std::optional<QMatrix4x4>(*viewProjection) : std::nullopt;
}

void PackedView::select(const Batches &batches, quint64 sceneVersion)
{
    if (_isSelected && _sceneVersion == sceneVersion) {
        return;
    }
    _isSelected = true;
    _isWritten = false;
    _sceneVersion = sceneVersion;
    _slots.resize(0);
    _opaque.resize(0);
    _sorted.resize(0);
    _distances.resize(0);
    std::optional<PackedFrustum> frustum;
    if (_viewProjection) {
        frustum.emplace(*_viewProjection);
    }
    for (size_t number = 0; number < batches.size(); ++number) {
        PackedBatch &batch = *batches[number];
        // 1. Most batches have one kind of faces, and one run.
        const bool hasOthers = batch.select(frustum ? &*frustum : nullptr, _chosen);
        for (const PackedBatch::Faces faces :
             {PackedBatch::eFront, PackedBatch::eMirrored, PackedBatch::eTwoSided}) {
            const int first = count();
            if (faces == PackedBatch::eFront || hasOthers) {
                batch.appendOpaque(_chosen, faces, _slots);
                addRun(_opaque, {&batch, faces, first, count() - first});
            }
        }
        // 2. Sorted drawables are collected from all batches.
        if (hasOthers) {
            _sortedSlots.resize(0);
            batch.appendSorted(_chosen, _sortedSlots);
            for (const int slot : _sortedSlots) {
                const float distance = (batch.centerOf(slot) - _eye).lengthSquared();
                // NaN would break the strict order that std::sort() needs.
                _distances.push_back(
                    {std::isnan(distance) ? 0.0f : distance, int(number), slot, batch.drawableOf(slot)});
            }
        }
    }
    selectSorted(batches);
}

bool PackedView::writeCommands()
{
    if (_isWritten || _slots.empty()) {
        return true;
    }
    CommandRing::Command *to = _commands.begin(count());
    if (to == nullptr) {
        return false;
    }
    for (const std::vector<Run> *runs : {&_opaque, &_sorted}) {
        for (const Run &run : *runs) {
            const CommandRing::Command *commands = run.batch->commands();
            const int *number = numbers(run);
            for (int i = 0; i < run.count; ++i) {
                *to++ = commands[number[i]];
            }
        }
    }
    _isWritten = _commands.end();
    return _isWritten;
}

quint64 PackedView::bytesOnCPU() const
{
    return (_slots.capacity() + _sortedSlots.capacity()) * sizeof(int)
           + (_opaque.capacity() + _sorted.capacity()) * sizeof(Run) + _chosen.capacity()
           + _distances.capacity() * sizeof(Sorted);
}

void PackedView::addRun(std::vector<Run> &runs, const Run &run)
{
    if (run.count > 0) {
        runs.push_back(run);
    }
}

/// The farthest comes first, whatever its material is; of several at the same distance the one with the smallest number.
/// Neighbours of a batch with the same faces share a call.
void PackedView::selectSorted(const Batches &batches)
{
    std::sort(_distances.begin(), _distances.end(), [](const Sorted &a, const Sorted &b) {
        return std::make_tuple(-a.distance, a.drawable) < std::make_tuple(-b.distance, b.drawable);
    });
    for (const Sorted &sorted : _distances) {
        PackedBatch *batch = batches[size_t(sorted.batch)].get();
        const PackedBatch::Faces faces = batch->facesOf(sorted.slot);
        if (_sorted.empty() || _sorted.back().batch != batch || _sorted.back().faces != faces) {
            _sorted.push_back({batch, faces, count(), 0});
        }
        _slots.push_back(sorted.slot);
        ++_sorted.back().count;
    }
}

}} // namespace Orvane::ZelKit
