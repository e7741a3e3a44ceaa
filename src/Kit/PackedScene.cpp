#include "PackedScene.h"

#include "private/Failure.h"
#include "private/Library.h"
#include "private/Orphans.h"
#include "private/PackedDraw.h"

#include <ZelGL/ZelGL.h>

#include <QtCore/QPointer>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>

using namespace Orvane::Zel;

namespace Orvane { namespace ZelKit {

namespace {

int failed(QString *error, const QString &message)
{
    fail(error, message);
    return PackedScene::kNone;
}

QString problemOf(const PackedScene::Format &format)
{
    if (format.attributes.isEmpty()) {
        return QStringLiteral("the format of a packed scene has no attribute");
    }
    for (const PackedScene::Attribute &attribute : format.attributes) {
        const bool isSupported = VertexArrayObject::isTypeSupported(attribute.type);
        const int bytes = attribute.type == GL_UNSIGNED_BYTE                                       ? 1
                          : attribute.type == GL_UNSIGNED_SHORT || attribute.type == GL_HALF_FLOAT ? 2
                                                                                                   : 4;
        if (!isSupported || attribute.components < 1 || attribute.components > 4
            || quint64(attribute.offset) + quint64(bytes) * quint64(attribute.components) > format.stride) {
            return QStringLiteral("the attribute '%1' of a packed scene needs a type that "
                                  "VertexArrayObject supports, 1 to 4 components, and a place in the vertex")
                .arg(attribute.name);
        }
    }
    if (format.indexType != GL_UNSIGNED_SHORT && format.indexType != GL_UNSIGNED_INT) {
        return QStringLiteral("the indices of a packed scene are GL_UNSIGNED_SHORT or GL_UNSIGNED_INT");
    }
    if (format.primitiveType > GL_PATCHES
        || (format.primitiveType > GL_TRIANGLE_FAN && format.primitiveType < GL_LINES_ADJACENCY)) {
        return QStringLiteral("the primitive type of a packed scene is none of OpenGL");
    }
    return {};
}

bool isBox(const GPUModel::BoundingBox &box)
{
    const auto isRange = [](float low, float high) {
        return std::isfinite(low) && std::isfinite(high) && low <= high;
    };
    return isRange(box.minX, box.maxX) && isRange(box.minY, box.maxY) && isRange(box.minZ, box.maxZ);
}

/// Returns an inverted box if the format has no positions.
GPUModel::BoundingBox boxOf(const PackedScene::Format &format, const void *vertices, int count)
{
    const auto position =
        std::find_if(format.attributes.begin(), format.attributes.end(), [](const PackedScene::Attribute &a) {
            return a.name == QLatin1String("va_Vertex") && a.type == GL_FLOAT && a.components >= 3;
        });
    GPUModel::BoundingBox box{1.0f, 1.0f, 1.0f, -1.0f, -1.0f, -1.0f};
    for (int i = 0; i < count && position != format.attributes.end(); ++i) {
        float p[3];
        std::memcpy(p, static_cast<const char *>(vertices) + size_t(i) * format.stride + position->offset,
                    sizeof p);
        if (i == 0) {
            box = {p[0], p[1], p[2], p[0], p[1], p[2]};
        }
        box = {std::min(box.minX, p[0]), std::min(box.minY, p[1]), std::min(box.minZ, p[2]),
               std::max(box.maxX, p[0]), std::max(box.maxY, p[1]), std::max(box.maxZ, p[2])};
    }
    return box;
}

} // namespace

class PackedScene::Data
{
public:
    struct Material
    {
        bool hasData = false;
        QPointer<InstanceDataCollection> data; ///< null if the host has deleted it
        int uses = 0;
        PackedBatch *open = nullptr; ///< to which the last drawable was added
        bool hasGaps = false;        ///< whether another batch may have a place
    };
    struct Drawable
    {
        int mesh;
        int material;
        PackedBatch *batch;
        int slot;
    };

    Data(const Format &format, InstanceDataPlan *objects)
        : geometry(format)
        , matrices(objects)
        , path(PackedDraw::bestPath())
        , hasPersistentMapping(format.usesPersistentMapping && CommandRing::canMapPersistently())
    {
    }

    bool isCurrent(QString *error) const { return context.isCurrent("packed scene", error); }

    /// Logs the message, or that the context is lost: then nothing works, whatever the reason seems to be.
    static void failInContext(QString *error, const QString &message)
    {
        if (!isContextLost(error)) {
            fail(error, message);
        }
    }

    template <typename Record>
    Record *find(HandleTable<Record> &table, int number, const char *kind, QString *error)
    {
        Record *record = table.find(number);
        if (record == nullptr) {
            fail(error, QStringLiteral("%1 %2 is not in the packed scene")
                            .arg(QLatin1String(kind), QString::number(number)));
        }
        return record;
    }

    Drawable *findDrawable(int number, QString *error) { return find(drawables, number, "drawable", error); }

    PackedGeometry::Mesh *findMesh(int number, QString *error)
    {
        PackedGeometry::Mesh *mesh = geometry.find(number);
        if (mesh == nullptr) {
            fail(error, QStringLiteral("mesh %1 is not in the packed scene").arg(number));
        }
        return mesh;
    }

    PackedView *findView(int number, QString *error)
    {
        const bool isThere = number >= 0 && size_t(number) < views.size();
        if (!isThere) {
            fail(error, QStringLiteral("view %1 is not in the packed scene").arg(number));
        }
        return isThere ? views[size_t(number)].get() : nullptr;
    }

    /// One that has a place, or a new one.
    PackedBatch &batchFor(Material &material, int number)
    {
        if (material.open != nullptr && material.open->isFull()) {
            material.open = nullptr;
        }
        if (material.open == nullptr && material.hasGaps) {
            const auto open = std::find_if(batches.begin(), batches.end(), [number](const auto &batch) {
                return batch->material() == number && !batch->isFull();
            });
            material.hasGaps = open != batches.end();
            material.open = material.hasGaps ? open->get() : nullptr;
        }
        if (material.open == nullptr) {
            batches.push_back(std::make_unique<PackedBatch>(matrices, number));
            material.open = batches.back().get();
        }
        return *material.open;
    }

    template <typename Predicate> void removeBatches(Predicate predicate)
    {
        batches.erase(std::remove_if(batches.begin(), batches.end(), predicate), batches.end());
        materials.forEach([](Material &material) {
            material.open = nullptr;
            material.hasGaps = true;
        });
        ++version;
    }

    /// Drawables that move are far apart in memory. Each move waits in a queue while its memory is loaded.
    void move(int drawable, const Drawable &record, const QMatrix4x4 &world)
    {
        constexpr unsigned kLoads = 8; // in flight
        prefetch(&record);
        moves[movesEnd++ % kMoves] = {drawable, world};
        applyMoves(kLoads, 2 * kLoads);
    }

    /// Leaves at most so many moves whose boxes are not prefetched yet, and so many in the queue.
    void applyMoves(unsigned notPrefetched = 0, unsigned left = 0)
    {
        for (; movesEnd - movesPrefetched > notPrefetched; ++movesPrefetched) {
            const Drawable &moved = *drawables.find(moves[movesPrefetched % kMoves].drawable);
            moved.batch->prefetch(moved.slot);
        }
        for (; movesEnd - movesApplied > left; ++movesApplied) {
            const Move &move = moves[movesApplied % kMoves];
            const Drawable &moved = *drawables.find(move.drawable);
            moved.batch->setTransform(moved.slot, move.world);
        }
    }

    int select(const QMatrix4x4 *viewProjection, const QVector3D &eye, int number, QString *error)
    {
        PackedView *view = findView(number, error);
        if (view == nullptr) {
            return kNone;
        }
        applyMoves();
        view->setCamera(viewProjection, eye);
        view->select(batches, version);
        return view->count();
    }

    bool drawRuns(const std::vector<PackedView::Run> &runs, PackedDraw &pass, QString *error)
    {
        for (const PackedView::Run &run : runs) {
            const Material &material = *materials.find(run.batch->material());
            if (material.hasData && material.data.isNull()) {
                fail(error, QStringLiteral("the collection of material %1 is deleted: remove the material "
                                           "from the packed scene first")
                                .arg(run.batch->material()));
                return false;
            }
            if (!pass.draw(run, material.data.data(), numbers)) {
                fail(error, QStringLiteral("a draw of the packed scene failed"));
                return false;
            }
        }
        return true;
    }

    struct Move
    {
        int drawable;
        QMatrix4x4 world;
    };
    static constexpr unsigned kMoves = 32;
    std::array<Move, kMoves> moves; ///< a queue, in a ring
    // Numbers of moves so far.
    unsigned movesEnd = 0;
    unsigned movesPrefetched = 0;
    unsigned movesApplied = 0;

    PackedGeometry geometry;
    const PackedMatrices matrices;
    const PackedDraw::Path path;     ///< of the driver
    const bool hasPersistentMapping; ///< of commands
    const OwnContext context;
    HandleTable<Material> materials;
    HandleTable<Drawable> drawables;
    PackedView::Batches batches;
    std::vector<std::unique_ptr<PackedView>> views;
    quint64 version = 0;  ///< counts changes that selections depend on
    QVector<int> numbers; ///< of sub-draws; kept between uses
};

PackedScene::PackedScene(std::unique_ptr<Data> data)
    : _data(std::move(data))
{
}

PackedScene::~PackedScene()
{
    keepWithoutContext(_data->context, "packed scene", _data);
}

std::unique_ptr<PackedScene> PackedScene::create(const Format &format, InstanceDataPlan *objects,
                                                 QString *error)
{
    if (!isLibraryReady(error)) {
        return nullptr;
    }
    const QString formatProblem = problemOf(format);
    const QString problem = formatProblem.isEmpty() ? PackedMatrices::problemOf(objects) : formatProblem;
    if (!problem.isEmpty()) {
        fail(error, problem);
        return nullptr;
    }
    std::unique_ptr<PackedScene> scene(new PackedScene(std::make_unique<Data>(format, objects)));
    scene->addView();
    return scene;
}

int PackedScene::addMesh(const void *vertices, int vertexCount, const quint32 *indices, int indexCount,
                         const GPUModel::BoundingBox *box, QString *error)
{
    if (!_data->isCurrent(error)) {
        return kNone;
    }
    if (vertices == nullptr || indices == nullptr || vertexCount <= 0 || indexCount <= 0) {
        return failed(error, QStringLiteral("a mesh of a packed scene needs vertices and indices"));
    }
    constexpr quint32 kRestart = 0xFFFFFFFFu; // as GPUModel sets it
    const bool isShort = _data->geometry.format().indexType == GL_UNSIGNED_SHORT;
    const bool isInside = std::all_of(indices, indices + indexCount, [=](quint32 index) {
        return index < quint32(vertexCount) && (!isShort || index <= 0xFFFFu);
    });
    const auto isInsideOrRestart = [=](quint32 index) {
        return index < quint32(vertexCount) || index == kRestart;
    };
    if (!isInside && (isShort || !std::all_of(indices, indices + indexCount, isInsideOrRestart))) {
        return failed(error, QStringLiteral("a mesh of a packed scene has an index beyond its %1 vertices or "
                                            "the index type")
                                 .arg(vertexCount));
    }
    PackedGeometry::Mesh mesh;
    mesh.vertexCount = vertexCount;
    mesh.indexCount = indexCount;
    mesh.box = box != nullptr ? *box : boxOf(_data->geometry.format(), vertices, vertexCount);
    if (!isBox(mesh.box)) {
        return failed(error,
                      QStringLiteral("a mesh of a packed scene needs a finite box, or finite positions "
                                     "of three floats in the attribute 'va_Vertex'"));
    }
    const int number = _data->geometry.add(vertices, {indices, indices + indexCount}, mesh);
    if (number == kNone) {
        Data::failInContext(error,
                            QStringLiteral("there is no memory for a mesh of %1 vertices").arg(vertexCount));
    }
    return number;
}

bool PackedScene::removeMesh(int mesh, QString *error)
{
    const PackedGeometry::Mesh *removed = _data->findMesh(mesh, error);
    if (removed == nullptr) {
        return false;
    }
    if (removed->uses > 0) {
        fail(error,
             QStringLiteral("mesh %1 is in use: remove its %2 drawables first").arg(mesh).arg(removed->uses));
        return false;
    }
    _data->geometry.remove(mesh);
    return true;
}

int PackedScene::addMaterial(InstanceDataCollection *data, QString *error)
{
    if (data != nullptr && data->size() < 1) {
        return failed(error, QStringLiteral("the collection of a material has no item"));
    }
    const int number = _data->materials.add({data != nullptr, data, 0, nullptr});
    return number != kNone ? number : failed(error, QStringLiteral("the packed scene is full"));
}

bool PackedScene::removeMaterial(int material, QString *error)
{
    const Data::Material *removed = _data->find(_data->materials, material, "material", error);
    if (removed == nullptr || !_data->isCurrent(error)) {
        return false;
    }
    if (removed->uses > 0) {
        fail(error, QStringLiteral("material %1 is in use: remove its %2 drawables first")
                        .arg(material)
                        .arg(removed->uses));
        return false;
    }
    _data->removeBatches([material](const auto &batch) { return batch->material() == material; });
    _data->materials.remove(material);
    return true;
}

int PackedScene::add(int mesh, int material, const QMatrix4x4 &world, int flags, QString *error)
{
    PackedGeometry::Mesh *used = _data->findMesh(mesh, error);
    Data::Material *ofMaterial =
        used != nullptr ? _data->find(_data->materials, material, "material", error) : nullptr;
    if (ofMaterial == nullptr) {
        return kNone;
    }
    const int drawable = _data->drawables.add({mesh, material, nullptr, 0});
    if (drawable == kNone) {
        return failed(error, QStringLiteral("the packed scene is full"));
    }
    PackedBatch &batch = _data->batchFor(*ofMaterial, material);
    const int slot = batch.add(drawable, PackedGeometry::commandOf(*used, 0), used->box, world, flags);
    *_data->drawables.find(drawable) = {mesh, material, &batch, slot};
    ++used->uses;
    ++ofMaterial->uses;
    ++_data->version;
    return drawable;
}

bool PackedScene::remove(int drawable, QString *error)
{
    const Data::Drawable *removed = _data->findDrawable(drawable, error);
    if (removed == nullptr) {
        return false;
    }
    _data->applyMoves();
    removed->batch->remove(removed->slot);
    --_data->geometry.find(removed->mesh)->uses;
    Data::Material &material = *_data->materials.find(removed->material);
    --material.uses;
    material.hasGaps = true;
    _data->drawables.remove(drawable);
    ++_data->version;
    return true;
}

bool PackedScene::setTransform(int drawable, const QMatrix4x4 &world, QString *error)
{
    const Data::Drawable *moved = _data->findDrawable(drawable, error);
    if (moved == nullptr) {
        return false;
    }
    _data->move(drawable, *moved, world);
    ++_data->version;
    return true;
}

bool PackedScene::setFlags(int drawable, int flags, QString *error)
{
    const Data::Drawable *changed = _data->findDrawable(drawable, error);
    if (changed == nullptr) {
        return false;
    }
    changed->batch->setFlags(changed->slot, flags);
    ++_data->version;
    return true;
}

bool PackedScene::setObjectData(int drawable, const QString &member, const void *data, unsigned long size,
                                QString *error)
{
    const Data::Drawable *changed = _data->findDrawable(drawable, error);
    if (changed == nullptr) {
        return false;
    }
    const InstanceDataPlan *plan = _data->matrices.plan();
    if (data == nullptr || PackedMatrices::isOwn(member) || !plan->contains(member)
        || size > plan->dataSize(member)) {
        fail(error, QStringLiteral("'%1' is not a member of the plan '%2' that a host can set with %3 bytes")
                        .arg(member, plan->name())
                        .arg(size));
        return false;
    }
    changed->batch->setData(changed->slot, member, data, size);
    return true;
}

void PackedScene::updatePreviousMatrices()
{
    _data->applyMoves();
    for (const auto &batch : _data->batches) {
        batch->updatePreviousMatrices();
    }
}

int PackedScene::drawableCount() const
{
    return _data->drawables.count();
}

bool PackedScene::compact(QString *error)
{
    if (!_data->isCurrent(error)) {
        return false;
    }
    _data->applyMoves();
    const bool isCompact = _data->geometry.compact();
    _data->removeBatches([](const auto &batch) { return batch->count() == 0; });
    for (const auto &batch : _data->batches) {
        for (const int slot : batch->compact()) {
            _data->drawables.find(batch->drawableOf(slot))->slot = slot;
        }
    }
    _data->drawables.forEach([this](const Data::Drawable &drawable) {
        drawable.batch->setCommand(drawable.slot,
                                   PackedGeometry::commandOf(*_data->geometry.find(drawable.mesh), 0));
    });
    if (!isCompact) {
        Data::failInContext(error,
                            QStringLiteral("there is no memory for a compact copy of the packed scene"));
    }
    return isCompact;
}

int PackedScene::addView()
{
    _data->views.push_back(std::make_unique<PackedView>(_data->hasPersistentMapping));
    return int(_data->views.size()) - 1;
}

int PackedScene::cull(const QMatrix4x4 &viewProjection, const QVector3D &eye, int view, QString *error)
{
    return _data->select(&viewProjection, eye, view, error);
}

int PackedScene::selectAll(const QVector3D &eye, int view, QString *error)
{
    return _data->select(nullptr, eye, view, error);
}

bool PackedScene::draw(ShaderProgram *program, TextureManager *textureManager, Part part, WindingType winding,
                       int view, QString *error)
{
    PackedView *drawn = _data->findView(view, error);
    if (drawn == nullptr || !_data->isCurrent(error)) {
        return false;
    }
    if (program == nullptr || ShaderProgram::currentShaderProgram() != program) {
        fail(error, QStringLiteral("bind the program before a packed scene is drawn with it"));
        return false;
    }
    if (!drawn->hasCamera()) {
        fail(error, QStringLiteral("view %1 of the packed scene has no selection: call cull() or selectAll()")
                        .arg(view));
        return false;
    }
    _data->applyMoves();
    drawn->select(_data->batches, _data->version);
    if (drawn->count() == 0) {
        return true;
    }
    const PackedDraw::Path path = PackedDraw::pathFor(*program, _data->path);
    if (path == PackedDraw::eIndirect && !drawn->writeCommands()) {
        Data::failInContext(error,
                            QStringLiteral("the driver has no memory for the commands of a packed scene"));
        return false;
    }
    PackedDraw pass(_data->geometry, *drawn, path, program, textureManager, winding);
    return (part == eSortedPart || _data->drawRuns(drawn->opaque(), pass, error))
           && (part == eOpaquePart || _data->drawRuns(drawn->sorted(), pass, error));
}

quint64 PackedScene::memoryEstimateCPU() const
{
    quint64 bytes = _data->geometry.bytesOnCPU() + _data->materials.bytes() + _data->drawables.bytes();
    for (const auto &batch : _data->batches) {
        bytes += batch->bytesOnCPU();
    }
    for (const auto &view : _data->views) {
        bytes += view->bytesOnCPU();
    }
    return bytes;
}

quint64 PackedScene::memoryEstimateGPU() const
{
    quint64 bytes = _data->geometry.bytesOnGPU();
    for (const auto &batch : _data->batches) {
        bytes += batch->bytesOnGPU();
    }
    for (const auto &view : _data->views) {
        bytes += view->commands().bytes();
    }
    return bytes;
}

}} // namespace Orvane::ZelKit
