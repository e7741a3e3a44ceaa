#pragma once

#include "PackedFrustum.h"
#include "PackedGeometry.h"
#include "PackedMatrices.h"
#include "Prefetch.h"

namespace Orvane { namespace ZelKit {

/// Drawables of one material whose object data are in one collection: what one call draws. Their numbers here, the slots, are
/// their draw IDs.
///
/// Context: construct, use and delete with the same context current.
class PackedBatch
{
    Q_DISABLE_COPY(PackedBatch)

public:
    using Command = Zel::DrawElementsIndirectCommand;

    /// How the faces of a drawable are culled.
    enum Faces { eFront, eMirrored, eTwoSided };

    PackedBatch(const PackedMatrices &matrices, int material);
    ~PackedBatch();

    int material() const { return _material; }
    int count() const { return _count; }
    bool isFull() const;

    /// Adds a drawable and returns its slot.
    int add(int drawable, const Command &command, const Zel::GPUModel::BoundingBox &box,
            const QMatrix4x4 &world, int flags);
    void remove(int slot);
    /// Prefetches what setTransform() changes.
    void prefetch(int slot) const
    {
        ZelKit::prefetch(&_spheres[size_t(slot) / kPackedLanes].halves[slot % kPackedLanes / 4]);
        ZelKit::prefetch(&_boxes[size_t(slot)]);
        ZelKit::prefetch(&_bits[size_t(slot) / kPackedLanes]);
    }
    void setTransform(int slot, const QMatrix4x4 &world);
    void setFlags(int slot, int flags);
    void setData(int slot, const QString &member, const void *data, unsigned long size);
    void updatePreviousMatrices();
    void setCommand(int slot, const Command &command);
    /// Closes the gaps and returns the slots whose drawable came from another slot.
    std::vector<int> compact();

    /// Chooses the slots that are not hidden and not outside of the frustum, if there is one: sets a bit for each. Returns whether
    /// any of them is mirrored, two-sided or sorted.
    bool select(const PackedFrustum *frustum, std::vector<quint8> &chosen) const;
    // Append chosen slots.

    void appendOpaque(const std::vector<quint8> &chosen, Faces faces, std::vector<int> &numbers) const;
    void appendSorted(const std::vector<quint8> &chosen, std::vector<int> &numbers) const;

    Faces facesOf(int slot) const;
    QVector3D centerOf(int slot) const;
    /// By slot.
    const Command *commands() const { return _commands.data(); }
    int drawableOf(int slot) const { return _boxes[size_t(slot)].drawable; }

    /// Uploads what has changed and binds the object data.
    void bind(Zel::ShaderProgram *program, Zel::TextureManager *textureManager);
    void unbind(Zel::ShaderProgram *program, Zel::TextureManager *textureManager);
    /// The draw unit with a sub-draw for each slot.
    Zel::DrawBuffers &subDraws(PackedGeometry &geometry);

    quint64 bytesOnCPU() const;
    quint64 bytesOnGPU() const;

private:
    using Items = PackedMatrices::Items;

    /// Bits of eight slots.
    enum Bit {
        eUsed,
        eHidden,
        eIsMirrored,
        eIsTwoSided,
        eSorted,
        eChanged,         ///< the GPU does not have the item
        ePreviousChanged, ///< the GPU does not have its previous matrix, which is the present one
        eMoved,           ///< since the previous frame
        eUnsettled,       ///< the previous matrix in the item is not yet the present one
        kBits
    };
    struct Bits
    {
        quint8 rows[kBits] = {};

        unsigned changes() const { return unsigned(rows[eChanged]) | rows[ePreviousChanged]; }
    };

    /// A matrix that is not in the object data yet.
    struct Move
    {
        int slot;
        QMatrix4x4 world;
    };

    template <typename Chooser>
    void append(const std::vector<quint8> &chosen, std::vector<int> &numbers, Chooser chooser) const;

    int itemLimit() const;
    bool isBlock() const;
    int itemsFor(int count) const;
    void resizeItems(int items);
    void resizeSlots(int count);
    bool is(Bit bit, int slot) const;
    void set(Bit bit, int slot, bool value);
    void moveSlot(int from, int to);
    void place(int slot, const QMatrix4x4 &world);
    void applyMoves();
    void settle(const Items &items, int slot);
    void settleAll();
    bool uploadChanges();
    void uploadRuns();
    void upload(const Items &items, int first, int end);

    const PackedMatrices &_matrices; ///< the scene's
    const int _material;
    int _count = 0;
    std::unique_ptr<Zel::InstanceDataCollection> _objects;
    bool _hasChanged = false; ///< whether a bit of Bits::changes() is set
    bool _hasMoved = false;   ///< whether a bit eMoved is set
    bool _isUploaded = false; ///< whether the GPU has all items as they are, except for changed ones

    /// Written into the object data just before the upload, which then finds them in the caches.
    std::vector<Move> _moves;

    // By eight slots.
    std::vector<PackedSpheres> _spheres;
    std::vector<Bits> _bits;

    // By slot.
    std::vector<PackedBox> _boxes; ///< filled up to a multiple of eight
    std::vector<Command> _commands;
    std::vector<int> _free;

    std::unique_ptr<Zel::DrawBuffers> _subDraws;
    int _subDrawsVersion = -1; ///< of the geometry, when the commands were set
};

}} // namespace Orvane::ZelKit
