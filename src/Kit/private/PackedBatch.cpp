#include "PackedBatch.h"

#include <ZelGL/ZelGL.h>

#include <algorithm>
#include <cmath>
#include <limits>

using namespace Orvane::Zel;

namespace Orvane { namespace ZelKit {

namespace {

constexpr int kMinItems = 16;

int blocksOf(int count)
{
    return (count + kPackedLanes - 1) / kPackedLanes;
}

/// Calls the function with the slot of each bit, in ascending order.
template <typename Function> void forEachBit(size_t block, unsigned bits, Function function)
{
    for (; bits != 0; bits &= bits - 1) {
        function(int(block) * kPackedLanes + __builtin_ctz(bits));
    }
}

/// Whether the bytes of a collection are in a buffer in the order of the items.
bool isInBuffer(InstanceDataPlan::MechanismType mechanism)
{
    return mechanism == InstanceDataPlan::eUniformBufferMechanism
           || mechanism == InstanceDataPlan::eBufferTextureMechanism
           || mechanism == InstanceDataPlan::eStorageBufferMechanism;
}

} // namespace

PackedBatch::PackedBatch(const PackedMatrices &matrices, int material)
    : _matrices(matrices)
    , _material(material)
    , _objects(std::make_unique<InstanceDataCollection>(matrices.plan(), 0ul))
{
    _objects->setBOUsageFlags(GL_DYNAMIC_DRAW);
}

PackedBatch::~PackedBatch() = default;

bool PackedBatch::isFull() const
{
    return _free.empty() && int(_commands.size()) >= itemLimit();
}

int PackedBatch::add(int drawable, const Command &command, const GPUModel::BoundingBox &box,
                     const QMatrix4x4 &world, int flags)
{
    applyMoves(); // of the drawable that had the slot
    if (_free.empty()) {
        const int count = int(_commands.size());
        if (count == _objects->size()) {
            resizeItems(itemsFor(2 * count));
        }
        resizeSlots(count + 1);
        _free.push_back(count);
    }
    const int slot = _free.back();
    _free.pop_back();
    ++_count;
    set(eUsed, slot, true);
    set(eMoved, slot, false);
    set(eUnsettled, slot, false);
    set(ePreviousChanged, slot, false);
    _boxes[size_t(slot)].mesh = box;
    _boxes[size_t(slot)].drawable = drawable;
    setCommand(slot, command);
    setFlags(slot, flags);
    place(slot, world);
    _matrices.write(PackedMatrices::Items(*_objects), slot, world);
    return slot;
}

void PackedBatch::remove(int slot)
{
    set(eUsed, slot, false);
    _free.push_back(slot);
    --_count;
}

void PackedBatch::setTransform(int slot, const QMatrix4x4 &world)
{
    place(slot, world);
    if (_moves.size() >= _commands.size()) { // a batch that is never drawn
        applyMoves();
    }
    _moves.push_back({slot, world});
    set(eMoved, slot, true);
    _hasMoved = true;
}

void PackedBatch::setFlags(int slot, int flags)
{
    set(eHidden, slot, (flags & PackedScene::eHidden) != 0);
    set(eIsTwoSided, slot, (flags & PackedScene::eTwoSided) != 0);
    set(eSorted, slot, (flags & PackedScene::eSorted) != 0);
}

void PackedBatch::setData(int slot, const QString &member, const void *data, unsigned long size)
{
    _objects->set(slot, member, data, size);
    set(eChanged, slot, true);
    _hasChanged = true;
}

void PackedBatch::updatePreviousMatrices()
{
    if (!_hasMoved) {
        return;
    }
    _hasMoved = false;
    applyMoves();
    const bool hasPrevious = _matrices.previousOffset() != PackedMatrices::kAbsent;
    for (Bits &bits : _bits) {
        if (hasPrevious) {
            bits.rows[eUnsettled] |= bits.rows[eMoved];
            bits.rows[ePreviousChanged] |= bits.rows[eMoved];
        }
        bits.rows[eMoved] = 0;
    }
    _hasChanged = _hasChanged || hasPrevious;
}

void PackedBatch::setCommand(int slot, const Command &command)
{
    _commands[size_t(slot)] = command;
    _commands[size_t(slot)].baseInstance = quint32(slot);
    _subDrawsVersion = -1;
}

std::vector<int> PackedBatch::compact()
{
    std::vector<int> filled;
    applyMoves();
    settleAll();
    // 1. The last slots fill the gaps before the end.
    std::sort(_free.begin(), _free.end());
    QByteArray bytes = _objects->dataArray();
    char *data = bytes.data(); // a copy
    const size_t size = _matrices.itemSize();
    int last = int(_commands.size());
    for (const int to : _free) {
        if (to >= _count) {
            break;
        }
        do {
            --last;
        } while (!is(eUsed, last));
        moveSlot(last, to);
        std::copy_n(data + size_t(last) * size, size, data + size_t(to) * size);
        filled.push_back(to);
    }
    _free.clear();
    // 2. What is after them is removed.
    resizeSlots(_count);
    _objects->update(data, static_cast<unsigned long>(isBlock() ? itemLimit() : _count) * size);
    _isUploaded = false;
    return filled;
}

bool PackedBatch::select(const PackedFrustum *frustum, std::vector<quint8> &chosen) const
{
    chosen.resize(_bits.size()); // keeps the memory
    unsigned others = 0;
    for (size_t block = 0; block < _bits.size(); ++block) {
        const quint8 *rows = _bits[block].rows;
        unsigned visible = rows[eUsed] & ~unsigned(rows[eHidden]);
        if (frustum != nullptr && visible != 0) {
            visible &= frustum->visible(_spheres[block], &_boxes[block * kPackedLanes]);
        }
        chosen[block] = quint8(visible);
        others |= visible & unsigned(rows[eIsMirrored] | rows[eIsTwoSided] | rows[eSorted]);
    }
    return others != 0;
}

template <typename Chooser>
void PackedBatch::append(const std::vector<quint8> &chosen, std::vector<int> &numbers, Chooser chooser) const
{
    size_t count = numbers.size();
    numbers.resize(count + size_t(kPackedLanes) * chosen.size());
    int *to = numbers.data() + count;
    for (size_t block = 0; block < chosen.size(); ++block) {
        const unsigned bits = chosen[block] & chooser(_bits[block].rows);
        if (bits == 0xFFu) {
            for (int lane = 0; lane < kPackedLanes; ++lane) {
                to[lane] = int(block) * kPackedLanes + lane;
            }
            to += kPackedLanes;
        } else {
            forEachBit(block, bits, [&to](int slot) { *to++ = slot; });
        }
    }
    numbers.resize(size_t(to - numbers.data()));
}

void PackedBatch::appendOpaque(const std::vector<quint8> &chosen, Faces faces,
                               std::vector<int> &numbers) const
{
    append(chosen, numbers, [faces](const quint8 *rows) {
        const unsigned mirrored = rows[eIsMirrored];
        const unsigned ofFaces = faces == eTwoSided   ? rows[eIsTwoSided]
                                 : faces == eMirrored ? mirrored & ~unsigned(rows[eIsTwoSided])
                                                      : ~(mirrored | rows[eIsTwoSided]);
        return ofFaces & ~unsigned(rows[eSorted]);
    });
}

void PackedBatch::appendSorted(const std::vector<quint8> &chosen, std::vector<int> &numbers) const
{
    append(chosen, numbers, [](const quint8 *rows) { return unsigned(rows[eSorted]); });
}

PackedBatch::Faces PackedBatch::facesOf(int slot) const
{
    return is(eIsTwoSided, slot) ? eTwoSided : is(eIsMirrored, slot) ? eMirrored : eFront;
}

QVector3D PackedBatch::centerOf(int slot) const
{
    const PackedSpheres &spheres = _spheres[size_t(slot) / kPackedLanes];
    const int lane = slot % kPackedLanes;
    return QVector3D(spheres.value(0, lane), spheres.value(1, lane), spheres.value(2, lane));
}

void PackedBatch::bind(ShaderProgram *program, TextureManager *textureManager)
{
    // Otherwise bind() uploads all items, if any has changed.
    if (uploadChanges()) {
        _objects->clearDirtyStatus();
    }
    _objects->bind(program, textureManager);
    _isUploaded = true;
}

void PackedBatch::unbind(ShaderProgram *program, TextureManager *textureManager)
{
    _objects->unbind(program, textureManager);
}

DrawBuffers &PackedBatch::subDraws(PackedGeometry &geometry)
{
    if (_subDrawsVersion != geometry.version()) {
        _subDraws = geometry.newUnit();
        _subDraws->setDrawElementsIndirectCommands(_commands.data(), int(_commands.size()));
        _subDrawsVersion = geometry.version();
    }
    return *_subDraws;
}

quint64 PackedBatch::bytesOnCPU() const
{
    return _objects->memoryEstimateCPU() + _spheres.capacity() * sizeof(PackedSpheres)
           + _boxes.capacity() * sizeof(PackedBox) + _bits.capacity() * sizeof(Bits)
           + _commands.capacity() * sizeof(Command) + _free.capacity() * sizeof(int)
           + (_subDraws ? quint64(_subDraws->numDrawCommands()) * sizeof(Command) : 0);
}

quint64 PackedBatch::bytesOnGPU() const
{
    return _objects->memoryEstimateGPU();
}

/// The plan limits the items, and QByteArray their bytes.
int PackedBatch::itemLimit() const
{
    constexpr size_t kMaxBytes = size_t(std::numeric_limits<int>::max()) - 64;
    return int(std::min(_matrices.plan()->arraySize(), kMaxBytes / _matrices.itemSize()));
}

/// A uniform block must not be longer than its buffer.
bool PackedBatch::isBlock() const
{
    return _matrices.plan()->mechanism() == InstanceDataPlan::eUniformBufferMechanism;
}

int PackedBatch::itemsFor(int count) const
{
    return isBlock() ? itemLimit() : std::min(std::max(kMinItems, count), itemLimit());
}

void PackedBatch::resizeItems(int items)
{
    const size_t size = size_t(items) * _matrices.itemSize();
    QByteArray bytes = _objects->dataArray();
    bytes.append(int(size) - bytes.size(), '\0');
    _objects->update(bytes.constData(), static_cast<unsigned long>(size));
    _isUploaded = false;
}

void PackedBatch::resizeSlots(int count)
{
    const size_t blocks = size_t(blocksOf(count));
    _spheres.resize(blocks);
    _boxes.resize(blocks * kPackedLanes);
    _bits.resize(blocks);
    _commands.resize(size_t(count));
    if (count % kPackedLanes != 0) { // slots that were removed from the last block
        for (quint8 &row : _bits.back().rows) {
            row &= quint8((1u << (count % kPackedLanes)) - 1);
        }
    }
    _subDrawsVersion = -1;
}

bool PackedBatch::is(Bit bit, int slot) const
{
    return (_bits[size_t(slot) / kPackedLanes].rows[bit] >> (slot % kPackedLanes) & 1) != 0;
}

void PackedBatch::set(Bit bit, int slot, bool value)
{
    quint8 &row = _bits[size_t(slot) / kPackedLanes].rows[bit];
    const unsigned mask = 1u << (slot % kPackedLanes);
    row = quint8(value ? row | mask : row & ~mask);
}

/// Does not move object data.
void PackedBatch::moveSlot(int from, int to)
{
    for (int row = 0; row < 4; ++row) {
        _spheres[size_t(to) / kPackedLanes].value(row, to % kPackedLanes) =
            _spheres[size_t(from) / kPackedLanes].value(row, from % kPackedLanes);
    }
    _boxes[size_t(to)] = _boxes[size_t(from)];
    for (int bit = 0; bit < kBits; ++bit) {
        set(Bit(bit), to, is(Bit(bit), from));
    }
    setCommand(to, _commands[size_t(from)]);
    set(eUsed, from, false);
}

void PackedBatch::place(int slot, const QMatrix4x4 &world)
{
    PackedBox &placed = _boxes[size_t(slot)];
    const GPUModel::BoundingBox &box = placed.mesh;
    // 1. The box in world space.
    const QVector3D low(box.minX, box.minY, box.minZ);
    const QVector3D high(box.maxX, box.maxY, box.maxZ);
    const QVector3D half = 0.5f * (high - low);
    const QVector3D center = world.map(0.5f * (low + high));
    const QVector3D axes[3] = {half.x() * world.column(0).toVector3D(),
                               half.y() * world.column(1).toVector3D(),
                               half.z() * world.column(2).toVector3D()};
    // 2. The sphere around its corners; shears make some farther away than others.
    float radiusSquared = 0.0f;
    for (const QVector3D &base : {axes[0] + axes[1], axes[0] - axes[1]}) {
        radiusSquared =
            std::max({radiusSquared, (base + axes[2]).lengthSquared(), (base - axes[2]).lengthSquared()});
    }
    constexpr float kRounding = 1.00001f;
    // 3. Where the culling reads them.
    const int lane = slot % kPackedLanes;
    PackedSpheres &spheres = _spheres[size_t(slot) / kPackedLanes];
    for (int i = 0; i < 3; ++i) {
        spheres.value(i, lane) = center[i];
        for (int k = 0; k < 3; ++k) {
            placed.axes[3 * i + k] = axes[i][k];
        }
    }
    spheres.value(3, lane) = kRounding * std::sqrt(radiusSquared);
    set(eIsMirrored, slot, GPUModel::SwapsHandedness(world));
    set(eChanged, slot, true);
    _hasChanged = true;
}

void PackedBatch::applyMoves()
{
    constexpr size_t kAhead = 8;
    const Items items(*_objects);
    const size_t size = _matrices.itemSize();
    for (size_t i = 0; i < _moves.size(); ++i) {
        if (i + kAhead < _moves.size()) {
            ZelKit::prefetch(items.bytes + size_t(_moves[i + kAhead].slot) * size, size);
        }
        _matrices.move(items, _moves[i].slot, _moves[i].world); // which settles
        set(eUnsettled, _moves[i].slot, false);
    }
    _moves.resize(0); // keeps the memory
}

/// Makes the present matrix the previous one.
void PackedBatch::settle(const Items &items, int slot)
{
    _matrices.settle(items, slot);
    set(eUnsettled, slot, false);
}

void PackedBatch::settleAll()
{
    const Items items(*_objects);
    for (size_t block = 0; block < _bits.size(); ++block) {
        forEachBit(block, _bits[block].rows[eUnsettled], [&](int slot) { settle(items, slot); });
    }
}

/// Writes the changed items, and uploads them if the GPU has the others. Returns whether it has all of them then.
bool PackedBatch::uploadChanges()
{
    if (!_hasChanged) {
        return _isUploaded;
    }
    _hasChanged = false;
    applyMoves();
    // A quarter of the items costs as much as all: calls, or the driver's copies.
    int changes = 0;
    for (const Bits &bits : _bits) {
        changes += __builtin_popcount(bits.changes());
    }
    const bool canUpload =
        _isUploaded && isInBuffer(_matrices.plan()->mechanism()) && changes <= int(_commands.size()) / 4;
    if (canUpload) {
        glBindBuffer(GL_COPY_WRITE_BUFFER,
                     _objects->getUniformBufferObject(GL_COPY_WRITE_BUFFER)->bufferObject()->getBO());
        uploadRuns();
        glBindBuffer(GL_COPY_WRITE_BUFFER, 0);
    } else {
        settleAll();
    }
    for (Bits &bits : _bits) {
        bits.rows[eChanged] = 0;
        bits.rows[ePreviousChanged] = 0;
    }
    return canUpload;
}

/// Changed items with few others between them are one upload.
void PackedBatch::uploadRuns()
{
    constexpr int kMaxOthers = 4;
    constexpr size_t kBlocksAhead = 8; // prefetched
    const Items items(*_objects);
    const size_t size = _matrices.itemSize();
    int first = 0;
    int end = -1 - kMaxOthers;
    for (size_t block = 0; block < _bits.size(); ++block) {
        if (block + kBlocksAhead < _bits.size()) {
            const Bits &ahead = _bits[block + kBlocksAhead];
            const unsigned inCaches = ahead.rows[eMoved]; // they were just written
            forEachBit(block + kBlocksAhead, ahead.changes() & ~inCaches,
                       [&](int slot) { ZelKit::prefetch(items.bytes + size_t(slot) * size, size); });
        }
        forEachBit(block, _bits[block].changes(), [&](int slot) {
            if (slot > end + kMaxOthers) {
                upload(items, first, end);
                first = slot;
            }
            end = slot + 1;
        });
    }
    upload(items, first, end);
}

void PackedBatch::upload(const Items &items, int first, int end)
{
    if (end <= first) {
        return;
    }
    const auto size = GLsizeiptr(_matrices.itemSize());
    const bool isMatrix = end == first + 1 && !is(eChanged, first);
    if (isMatrix) { // the item itself stays unsettled: no memory is written for it
        glBufferSubData(GL_COPY_WRITE_BUFFER, first * size + _matrices.previousOffset(),
                        PackedMatrices::kMatrixSize, items.bytes + first * size + _matrices.modelOffset());
        return;
    }
    for (int slot = first; slot < end; ++slot) {
        if (is(eUnsettled, slot)) {
            settle(items, slot);
        }
    }
    glBufferSubData(GL_COPY_WRITE_BUFFER, first * size, (end - first) * size, items.bytes + first * size);
}

}} // namespace Orvane::ZelKit
