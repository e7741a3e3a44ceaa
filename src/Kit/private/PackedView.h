#pragma once

#include "CommandRing.h"
#include "PackedBatch.h"

#include <optional>

namespace Orvane { namespace ZelKit {

/// One selection of a PackedScene, in the order of the draws, and its commands on the GPU.
///
/// Context: construct and delete with the same context current.
class PackedView
{
    Q_DISABLE_COPY(PackedView)

public:
    using Batches = std::vector<std::unique_ptr<PackedBatch>>;

    /// Neighbours in the selection that one call draws.
    struct Run
    {
        PackedBatch *batch;
        PackedBatch::Faces faces;
        int first;
        int count;
    };

    /// Makes no GL call.
    explicit PackedView(bool usesPersistentMapping);

    /// Null: without a frustum.
    void setCamera(const QMatrix4x4 *viewProjection, const QVector3D &eye);
    bool hasCamera() const { return _hasCamera; }
    /// Selects unless neither the camera nor the scene, whose changes the caller counts, differs from the last time.
    void select(const Batches &batches, quint64 sceneVersion);

    int count() const { return int(_slots.size()); }
    const std::vector<Run> &opaque() const { return _opaque; }
    const std::vector<Run> &sorted() const { return _sorted; }
    const int *numbers(const Run &run) const { return _slots.data() + run.first; }

    /// Writes the commands if the selection has changed. Returns false if the driver has no memory for them.
    bool writeCommands();
    CommandRing &commands() { return _commands; }

    quint64 bytesOnCPU() const;

private:
    struct Sorted
    {
        float distance;
        int batch;
        int slot;
        int drawable;
    };

    void addRun(std::vector<Run> &runs, const Run &run);
    void selectSorted(const Batches &batches);

    bool _hasCamera = false;
    std::optional<QMatrix4x4> _viewProjection;
    QVector3D _eye;
    quint64 _sceneVersion = 0;
    bool _isSelected = false; ///< for the camera
    bool _isWritten = false;

    std::vector<int> _slots;
    std::vector<Run> _opaque;
    std::vector<Run> _sorted;
    CommandRing _commands;

    // Kept between uses, so that a frame allocates nothing.
    std::vector<quint8> _chosen;
    std::vector<Sorted> _distances;
    std::vector<int> _sortedSlots;
};

}} // namespace Orvane::ZelKit
