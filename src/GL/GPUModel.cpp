#include "GPUModel.h"

#include "Array2DTextureManager.h"
#include "BindlessTextureManager.h"
#include "DrawBuffers.h"
#include "GLUtilities.h"
#include "InstanceDataCollection.h"
#include "InstanceDataPlan.h"
#include "SamplerTextureManager.h"
#include "ShaderProgram.h"
#include "VertexArrayObject.h"
#include "private/ContextHold.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <optional>
#include <tuple>
#include <typeinfo>
#include <vector>

namespace Orvane { namespace Zel {

namespace {

using BoundingBox = GPUModel::BoundingBox;

constexpr float kFarAway = 1.0e30f; ///< the distance of what has no box or no transform
constexpr float kLeastRowLengthSquared = 1e-6f;
constexpr float kBoundsExtreme = 1e20f;
constexpr int kNotJustOne = -2; ///< in the place of a transform

constexpr BoundingBox kInvertedBounds = {kBoundsExtreme,  kBoundsExtreme,  kBoundsExtreme,
                                         -kBoundsExtreme, -kBoundsExtreme, -kBoundsExtreme};

/// Four floats that the compiler computes side by side.
typedef float Lanes __attribute__((vector_size(16), aligned(4), may_alias));

Lanes broadcast(float value)
{
    return Lanes{value, value, value, value};
}

/// Column \a column of the product of \a left and \a right.
Lanes productColumn(const float *left, const float *right, int column)
{
    const auto *columns = reinterpret_cast<const Lanes *>(left);
    const float *factors = right + 4 * column;
    return columns[0] * factors[0] + columns[1] * factors[1] + columns[2] * factors[2]
           + columns[3] * factors[3];
}

/// Whether a box lies wholly behind one of the six planes of \a viewProjection
/// times \a world. The box stays in its own space: the planes are the last row of
/// the product plus and minus each of the others, and of a plane only the corner
/// most in the direction of its normal counts.
bool isOutside(const QMatrix4x4 &viewProjection, const QMatrix4x4 &world, const BoundingBox &box)
{
    const float *left = viewProjection.constData();
    const float *right = world.constData();
    const float least[3] = {box.minX, box.minY, box.minZ};
    const float most[3] = {box.maxX, box.maxY, box.maxZ};

    // The lanes 0 to 2 are the planes of x, y and z; lane 3 means nothing.
    Lanes plus = broadcast(0.0f);
    Lanes minus = broadcast(0.0f);
    for (int axis = 0; axis < 3; ++axis) {
        const Lanes column = productColumn(left, right, axis);
        const Lanes plusNormal = broadcast(column[3]) + column;
        const Lanes minusNormal = broadcast(column[3]) - column;
        const Lanes low = broadcast(least[axis]);
        const Lanes high = broadcast(most[axis]);
        const Lanes zero = broadcast(0.0f);
        plus += plusNormal * (plusNormal >= zero ? high : low);
        minus += minusNormal * (minusNormal >= zero ? high : low);
    }
    const Lanes offset = productColumn(left, right, 3);
    plus += broadcast(offset[3]) + offset;
    minus += broadcast(offset[3]) - offset;
    const auto behind = (plus <= broadcast(0.0f)) | (minus <= broadcast(0.0f));
    return (behind[0] | behind[1] | behind[2]) != 0;
}

template <typename T> T valueOr(const QVector<T> &values, int index, const T &otherwise)
{
    return index >= 0 && index < values.size() ? values.at(index) : otherwise;
}

void enablePrimitiveRestart(bool &enabled)
{
    if (!enabled) {
        enabled = true;
        glEnable(GL_PRIMITIVE_RESTART);
        glPrimitiveRestartIndex(0xFFFFFFFF);
    }
}

// Once a process each.
bool gPrimitiveRestartForDraw = false;
bool gPrimitiveRestartForDrawSimple = false;

void setWinding(WindingType winding)
{
    switch (winding) {
    case eWindingDefault:
        break;
    case eWindingOff:
        glDisable(GL_CULL_FACE);
        break;
    case eWindingCCW:
        glEnable(GL_CULL_FACE);
        glFrontFace(GL_CCW);
        break;
    case eWindingCW:
        glEnable(GL_CULL_FACE);
        glFrontFace(GL_CW);
        break;
    }
}

/// Whether no code of the host can run in the manager.
bool isOfLibrary(const TextureManager *manager)
{
    if (manager == nullptr) {
        return true;
    }
    const std::type_info &type = typeid(*manager);
    return type == typeid(SamplerTextureManager) || type == typeid(BindlessTextureManager)
           || type == typeid(Array2DTextureManager);
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

/// What follows from a world matrix.
///
/// An affine one gives all of it by the cross products of its columns, which are the rows of the inverse times the
/// determinant: one computation in place of three. Qt does the same for the inverse and for the normal matrix, in
/// double too, and is asked where the shape is another or the determinant is 0.
class GPUModel::Derived
{
public:
    explicit Derived(const QMatrix4x4 &world)
    {
        const float *m = world.constData();
        const Vector columns[3] = {{m[0], m[1], m[2]}, {m[4], m[5], m[6]}, {m[8], m[9], m[10]}};
        const Vector rows[3] = {cross(columns[1], columns[2]), cross(columns[2], columns[0]),
                                cross(columns[0], columns[1])};
        const double determinant = dot(columns[0], rows[0]);
        if (!world.isAffine() || isFlat(columns, determinant)) {
            inverse = world.inverted();
            normal = world.normalMatrix();
            swapsHandedness = SwapsHandedness(world);
            return;
        }
        fillFrom(rows, 1.0 / determinant, m + 12);
        swapsHandedness = determinant < 0.0;
    }

    QMatrix4x4 inverse{Qt::Uninitialized};
    QMatrix3x3 normal{Qt::Uninitialized};
    bool swapsHandedness;

private:
    struct Vector
    {
        double x;
        double y;
        double z;
    };

    static Vector cross(const Vector &a, const Vector &b)
    {
        return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
    }
    static double dot(const Vector &a, const Vector &b) { return a.x * b.x + a.y * b.y + a.z * b.z; }

    /// Whether rounding decides what is computed: a row that normalising might take for 0, or rows so close to a plane
    /// that neither the sign of the determinant nor its difference from 0 means anything.
    static bool isFlat(const Vector (&columns)[3], double determinant)
    {
        constexpr double kTiny = 1e-11;
        constexpr double kFlat = 1e-10;
        const Vector &a = columns[0];
        const Vector &b = columns[1];
        const Vector &c = columns[2];
        const double x = a.x * a.x + b.x * b.x + c.x * c.x;
        const double y = a.y * a.y + b.y * b.y + c.y * c.y;
        const double z = a.z * a.z + b.z * b.z + c.z * c.z;
        return !(x > kTiny && y > kTiny && z > kTiny && determinant * determinant > kFlat * x * y * z);
    }

    void fillFrom(const Vector (&rows)[3], double factor, const float *translation)
    {
        float *to = inverse.data();
        for (int row = 0; row < 3; ++row) {
            const double x = rows[row].x * factor;
            const double y = rows[row].y * factor;
            const double z = rows[row].z * factor;
            to[row] = float(x);
            to[4 + row] = float(y);
            to[8 + row] = float(z);
            // Rounded last: far from the origin the products are large and cancel.
            to[12 + row] = float(-x * translation[0] - y * translation[1] - z * translation[2]);
            to[4 * row + 3] = 0.0f;
            // The normal matrix is the transpose of the inverse.
            normal.data()[3 * row] = float(x);
            normal.data()[3 * row + 1] = float(y);
            normal.data()[3 * row + 2] = float(z);
        }
        to[15] = 1.0f;
    }
};

/// Writes the matrices of transforms into object data. The places of the members
/// are looked up once a plan.
class GPUModel::MatrixWriter
{
public:
    void write(InstanceDataCollection &data, int item, const QMatrix4x4 &world, const Derived &derived)
    {
        const Places &places = placesIn(data.plan());
        data.moveBytes(item, places.model, places.previous, places.modelBytes);
        data.setBytes(item, places.model, world.constData(), kMat4Bytes);
        data.setBytes(item, places.inverse, derived.inverse.constData(), kMat4Bytes);
        if (places.hasNormal) {
            data.setBytes(item, places.normal, derived.normal.constData(), kMat3Bytes);
        }
    }

    void copyToPrevious(InstanceDataCollection &data, int item)
    {
        const Places &places = placesIn(data.plan());
        data.moveBytes(item, places.model, places.previous, places.modelBytes);
    }

private:
    static constexpr size_t kMat4Bytes = 64;
    static constexpr size_t kMat3Bytes = 36;

    struct Places
    {
        const InstanceDataPlan *plan = nullptr;
        bool hasNormal = false;
        unsigned int model = 0;
        unsigned int previous = 0;
        unsigned int inverse = 0;
        unsigned int normal = 0;
        size_t modelBytes = 0;
    };

    const Places &placesIn(const InstanceDataPlan *plan)
    {
        if (_last < _places.size() && _places[_last].plan == plan) {
            return _places[_last];
        }
        const auto known = std::find_if(_places.begin(), _places.end(),
                                        [plan](const Places &places) { return places.plan == plan; });
        _last = size_t(known - _places.begin());
        if (known == _places.end()) {
            _places.push_back(lookUp(plan));
        }
        return _places[_last];
    }

    static Places lookUp(const InstanceDataPlan *plan)
    {
        Places places;
        places.plan = plan;
        if (plan != nullptr) {
            const QString model = QStringLiteral("ModelMatrix");
            const QString normal = QStringLiteral("ModelNormalMatrix");
            // What the plan lacks has offset 0, as in the calls by name.
            places.model = plan->offset(model);
            places.modelBytes = plan->dataSize(model);
            places.previous = plan->offset(QStringLiteral("PreviousModelMatrix"));
            places.inverse = plan->offset(QStringLiteral("InverseModelMatrix"));
            places.normal = plan->offset(normal);
            places.hasNormal = plan->contains(normal);
        }
        return places;
    }

    std::vector<Places> _places;
    size_t _last = 0;
};

/// The transforms as draws and culling read them.
class GPUModel::TransformView
{
public:
    explicit TransformView(const GPUModel &model)
        : _visibility(model._transformVisibility.constData())
        , _parents(model._transformParents.constData())
        , _swapsHandedness(model._transformSwapsHandedness.constData())
        , _count(model._localTransforms.size())
    {
    }

    bool isValid(int transform) const { return unsigned(transform) < unsigned(_count); }

    bool isParentHidden(int transform) const
    {
        while (isValid(transform)) {
            if (_visibility[transform] == 3) {
                return true;
            }
            transform = _parents[transform];
        }
        return false;
    }

    bool isVisible(int transform) const
    {
        return isValid(transform) && _visibility[transform] != 2 && _visibility[transform] != 3
               && !isParentHidden(_parents[transform]);
    }

    /// Whether a command is of those that are drawn first.
    bool isOfWinding(int transform, WindingType winding) const
    {
        const bool byHandedness = winding == eWindingCCW || winding == eWindingCW;
        return !byHandedness || _swapsHandedness[transform] == (winding == eWindingCW);
    }

private:
    const int *_visibility;
    const int *_parents;
    const bool *_swapsHandedness;
    int _count;
};

/// One walk over drawables: what it draws with, and what it has bound so far.
///
/// Host code that runs meanwhile (a texture manager, a reader of images, a message handler) may change the model: the
/// draw goes on with the model as it was at the start. The containers share their memory with the model's, so that the
/// change is made in a copy; what clear() and set() remove is deleted when the last draw ends.
class GPUModel::Walk
{
    Q_DISABLE_COPY(Walk)

public:
    /// The caller's references to what is bound, for the time between two drawables.
    using References = std::tuple<InstanceDataCollection *&, InstanceDataCollection *&, TextureManager *&,
                                  VertexArrayObject *&, DrawBuffers *&>;

    Walk(GPUModel &model, ShaderProgram *program, TextureManager *textureManager)
        : _model(model)
        , _drawables(model._drawables)
        , _onlyTransforms(model._onlyTransforms)
        , _materialDrawables(model._materialDrawables)
        , _visibility(model._transformVisibility)
        , _parents(model._transformParents)
        , _swapsHandedness(model._transformSwapsHandedness)
        , _worldTransforms(model._worldTransforms)
        , _boundingBoxes(model._boundingBoxes)
        , _transforms(model)
        , _program(program)
        , _textureManager(textureManager)
    {
        ++_model._runningDraws;
        swapLists();
        if (isOfLibrary(textureManager)) {
            _context.emplace();
            _currentProgram = ShaderProgram::currentShaderProgram();
        }
    }

    ~Walk()
    {
        swapLists();
        _context.reset(); // destroyed() may run host code
        if (--_model._runningDraws == 0 && !_model._removed.isEmpty()) {
            qDeleteAll(std::exchange(_model._removed, {}));
        }
    }

    void takeBound(const References &bound)
    {
        std::tie(_object, _material, _boundManager, _vao, _boundBuffers) = bound;
        if (!isOfLibrary(_boundManager)) {
            _context.reset();
        }
    }
    void giveBound(References bound) const
    {
        bound = std::tie(_object, _material, _boundManager, _vao, _boundBuffers);
    }

    /// From now on each drawable's commands go nearest first, where the draw asks for it.
    void sortIfAsked(const unsigned long long &flags, const QMatrix4x4 *viewMatrix)
    {
        _sorts = (flags & kFlagSortByDistance) != 0 && viewMatrix != nullptr;
        if (_sorts) {
            // The negated translation of the inverse, as it stands.
            _eye = -viewMatrix->inverted().column(3).toVector3D();
        }
    }

    const QHash<int, QVector<int>> &materialDrawables() const { return _materialDrawables; }
    /// Null where there is none.
    const Drawable *drawableAt(int position) const
    {
        return unsigned(position) < unsigned(_drawables.size()) ? &_drawables.at(position) : nullptr;
    }

    /// Changes what differs and draws the commands, all of them for null.
    bool draw(const Drawable &drawable, const QVector<int> *commands)
    {
        return !bind(drawable, commands) || _boundBuffers->draw(_program, commands);
    }

    /// Draws the commands that are visible and not culled.
    bool drawVisible(int position, const Drawable &drawable, int commands, WindingType winding)
    {
        return !_sorts && choosesAll(position, drawable, commands, winding)
                   ? drawAll(drawable, commands)
                   : drawChosen(drawable, commands, winding);
    }

    Q_NEVER_INLINE bool drawChosen(const Drawable &drawable, int commands, WindingType winding)
    {
        chooseCommands(drawable, commands, winding);
        if (!drawSorted(drawable, _chosenCommands)) {
            return false;
        }
        if (_otherCommands.isEmpty()) {
            return true;
        }
        // What is mirrored the other way is drawn with the opposite front face.
        glFrontFace(winding == Zel::eWindingCW ? GL_CCW : GL_CW);
        const bool result = drawSorted(drawable, _otherCommands);
        glFrontFace(winding == Zel::eWindingCW ? GL_CW : GL_CCW);
        return result;
    }

    /// Sorts the commands if asked, and draws them.
    bool drawSorted(const Drawable &drawable, QVector<int> &commands)
    {
        if (_sorts && !commands.isEmpty()) {
            sortByDistance(drawable, commands);
        }
        return draw(drawable, &commands);
    }

    void unbindData()
    {
        if (_boundManager != nullptr) {
            _boundManager->unbind(_program);
        }
        for (InstanceDataCollection *collection : {_material, _object}) {
            if (collection != nullptr) {
                collection->unbind(currentProgram(), _textureManager);
            }
        }
    }

    void unbindBuffers()
    {
        if (_boundBuffers != nullptr) {
            _boundBuffers->unbind();
        }
    }

private:
    /// Between draws the model keeps the lists, so that a frame allocates nothing for them.
    void swapLists()
    {
        _chosenCommands.swap(_model._chosenCommands);
        _otherCommands.swap(_model._otherCommands);
        _distances.swap(_model._distances);
    }

    /// Whether chooseCommands() would choose every command.
    bool choosesAll(int position, const Drawable &drawable, int commands, WindingType winding) const
    {
        if (drawable.culledCount != 0) {
            return false;
        }
        const int *refs = &_onlyTransforms.at(position);
        if (commands != 1) {
            if (commands != drawable.transformRefs.size()) {
                return false;
            }
            refs = drawable.transformRefs.constData();
        }
        for (int command = 0; command < commands; ++command) {
            if (!_transforms.isVisible(refs[command]) || !_transforms.isOfWinding(refs[command], winding)) {
                return false;
            }
        }
        return true;
    }

    void chooseCommands(const Drawable &drawable, int commands, WindingType winding)
    {
        _chosenCommands.resize(0);
        _otherCommands.resize(0);
        commands = std::min(commands, drawable.culled.size());
        for (int command = 0; command < commands; ++command) {
            const int transform = drawable.transformRefs.at(command);
            if (!isCulled(drawable, command) && _transforms.isVisible(transform)) {
                (_transforms.isOfWinding(transform, winding) ? _chosenCommands : _otherCommands)
                    .append(command);
            }
        }
    }

    void sortByDistance(const Drawable &drawable, QVector<int> &commands)
    {
        _distances.resize(0);
        for (const int command : qAsConst(commands)) {
            _distances.append({distanceOf(drawable, command), command});
        }
        std::sort(_distances.begin(), _distances.end(), &GPUModel::distanceCompare);
        std::transform(_distances.cbegin(), _distances.cend(), commands.begin(),
                       [](const DistanceSort &sorted) { return sorted.drawCommand; });
    }

    float distanceOf(const Drawable &drawable, int command) const
    {
        const int box = valueOr(drawable.boundingBoxRefs, command, kInvalidBoundingBoxRef);
        const int transform = valueOr(drawable.transformRefs, command, kInvalidTransformRef);
        if (box < 0 || box >= _boundingBoxes.size() || !_transforms.isValid(transform)) {
            return kFarAway;
        }
        const QVector3D local = _worldTransforms.at(transform).inverted().map(_eye);
        const float distance = (local - _boundingBoxes.at(box).closestPointFrom(local)).length();
        return std::isnan(distance) ? kFarAway : distance; // sorting needs an order
    }

    /// Draws all commands: without a list of them where the drawable's own unit is bound, which has no others.
    bool drawAll(const Drawable &drawable, int commands)
    {
        if (!bind(drawable, nullptr)) {
            return true;
        }
        return _boundBuffers == drawable.drawBuffers && _boundBuffers->numDrawCommands() == commands
                   ? _boundBuffers->draw(_program, nullptr)
                   : drawFirst(commands);
    }

    Q_NEVER_INLINE bool drawFirst(int commands)
    {
        _chosenCommands.resize(commands);
        std::iota(_chosenCommands.begin(), _chosenCommands.end(), 0);
        return _boundBuffers->draw(_program, &_chosenCommands);
    }

    /// Changes what differs. False when there is nothing to draw.
    bool bind(const Drawable &drawable, const QVector<int> *commands)
    {
        if (drawable.drawBuffers != nullptr && !drawable.drawBuffers->willDraw(_program, commands)) {
            return false;
        }
        if (drawable.materialData != _material || drawable.objectData != _object
            || _textureManager != _boundManager) {
            bindData(drawable);
        }
        return drawable.drawBuffers != nullptr && bindBuffers(*drawable.drawBuffers);
    }

    /// That to which collections are bound.
    ShaderProgram *currentProgram() const
    {
        return _context ? _currentProgram : ShaderProgram::currentShaderProgram();
    }

    void bindData(const Drawable &drawable)
    {
        const bool materialBound = switchTo(_material, drawable.materialData);
        const bool objectBound = switchTo(_object, drawable.objectData);
        if (!materialBound && !objectBound && _textureManager == _boundManager) {
            return;
        }
        // A new batch of tokens must always reach the shader.
        if (_boundManager != nullptr) {
            _boundManager->unbind(_program);
        }
        _boundManager = _textureManager;
        if (_textureManager != nullptr) {
            _textureManager->bind(_program);
        }
    }

    /// True when another collection was bound.
    bool switchTo(InstanceDataCollection *&current, InstanceDataCollection *wanted)
    {
        if (wanted == current) {
            return false;
        }
        if (current != nullptr) {
            current->unbind(currentProgram(), _textureManager);
        }
        current = wanted;
        if (wanted != nullptr) {
            wanted->bind(currentProgram(), _textureManager);
        }
        return wanted != nullptr;
    }

    /// False when nothing is bound to draw with. Those bound before stay in use where the wanted ones fail.
    bool bindBuffers(DrawBuffers &wanted)
    {
        if (&wanted != _boundBuffers && wanted.rebind(_boundBuffers)) {
            _boundBuffers = &wanted;
        }
        if (_boundBuffers == nullptr) {
            return false;
        }
        VertexArrayObject *vao = _boundBuffers->VAO().data();
        if (vao != _vao) {
            _vao = vao;
            if (vao != nullptr) {
                vao->enableShaderProgramArrays(_program);
            }
        }
        return true;
    }

    GPUModel &_model;
    // Shared with the model until host code changes it.
    const QVector<Drawable> _drawables;
    const QVector<int> _onlyTransforms;
    const QHash<int, QVector<int>> _materialDrawables;
    const QVector<int> _visibility;
    const QVector<int> _parents;
    const QVector<bool> _swapsHandedness;
    const QVector<QMatrix4x4> _worldTransforms;
    const QVector<BoundingBox> _boundingBoxes;
    const TransformView _transforms; ///< reads these

    QVector<int> _chosenCommands;
    QVector<int> _otherCommands;
    QVector<DistanceSort> _distances;
    std::optional<ContextHold> _context; ///< where nothing can change the context and the current program
    InstanceDataCollection *_object = nullptr;
    InstanceDataCollection *_material = nullptr;
    TextureManager *_boundManager = nullptr;
    VertexArrayObject *_vao = nullptr;
    DrawBuffers *_boundBuffers = nullptr;
    ShaderProgram *const _program;
    ShaderProgram *_currentProgram = nullptr; ///< while the context is held
    TextureManager *const _textureManager;
    bool _sorts = false;
    QVector3D _eye;
};

QVector3D BoundingBox::closestPointFrom(const QVector3D &point) const
{
    return QVector3D(std::min(std::max(point.x(), minX), maxX), std::min(std::max(point.y(), minY), maxY),
                     std::min(std::max(point.z(), minZ), maxZ));
}

bool GPUModel::SwapsHandedness(const QMatrix4x4 &matrix)
{
    const QVector3D x = matrix.row(0).toVector3D().normalized();
    const QVector3D y = matrix.row(1).toVector3D().normalized();
    const QVector3D z = matrix.row(2).toVector3D().normalized();
    return QVector3D::dotProduct(QVector3D::crossProduct(x, y), z) < 0.0f;
}

GPUModel::GPUModel()
    : _sceneBounds(kInvertedBounds)
{
}

GPUModel::~GPUModel() = default;

void GPUModel::clear()
{
    QVector<QObject *> owned; // in the order of the drawables; once each, as these may share them
    for (const Drawable &drawable : qAsConst(_drawables)) {
        for (QObject *object : objectsOf(drawable)) {
            if (_uses.remove(object) != 0) {
                owned.append(object);
            }
        }
    }
    if (_deleteOnClear) {
        remove(owned);
    }
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
    // Visibility, moved instances, cameras, lights and boxes stay on purpose: a model that is filled again finds the
    // old visibility at its low transform numbers.
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
    return append(drawable, 0); // under number 0, whatever the material
}

void GPUModel::set(int instance, DrawBuffers *drawBuffers, InstanceDataCollection *material,
                   InstanceDataCollection *object, unsigned long long flags, unsigned long long mask)
{
    Drawable *changed = drawable(instance);
    if (changed == nullptr) {
        return;
    }
    const std::array<QObject *, 3> replaced = objectsOf(*changed);
    changed->drawBuffers = drawBuffers;
    changed->materialData = material;
    changed->objectData = object;
    use(*changed);
    changeFlags(instance, flags, mask);

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
    noteOnlyTransform(_instanceToDrawable.at(instance));
    _boundsDirty = true;

    QVector<QObject *> unused;
    for (QObject *old : replaced) {
        if (--_uses[old] == 0) {
            _uses.remove(old);
            unused.append(old);
        }
    }
    if (_deleteOnClear) {
        remove(unused);
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
    // The flag stays set on purpose: only clear() resets it, and sorting what is sorted changes nothing.
    std::stable_sort(_drawables.begin(), _drawables.end(), &GPUModel::flagsLessThan);
    for (int position = 0; position < _drawables.size(); ++position) {
        _instanceToDrawable[_drawables.at(position).instance] = position;
        noteOnlyTransform(position);
    }
}

bool GPUModel::isDrawAny(unsigned long long bits) const
{
    return std::any_of(_drawables.begin(), _drawables.end(),
                       [bits](const Drawable &drawable) { return (drawable.flags & bits) != 0; });
}

bool GPUModel::isDrawEmpty(unsigned long long value, unsigned long long mask) const
{
    const bool culling = hasFeatureFlags(kFeatureCulling);
    return std::none_of(_drawables.begin(), _drawables.end(), [=](const Drawable &drawable) {
        return (value & mask) == (drawable.flags & mask)
               && (!culling || drawable.culledCount < commandCount(drawable));
    });
}

int GPUModel::maxUVSets() const
{
    return maxSets(kUVSetsShift);
}

int GPUModel::maxTangentSets() const
{
    return maxSets(kTangentSetsShift);
}

int GPUModel::addTransform(int parent, const QMatrix4x4 &local)
{
    const int transform = _localTransforms.size();
    const bool loops = endOfChain(parent) == transform;
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
        return; // an equal matrix does not even change the lock
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
    return valueOr(_transformParents, transform, kInvalidTransformRef);
}

QMatrix4x4 GPUModel::localTransform(int transform) const
{
    return valueOr(_localTransforms, transform, QMatrix4x4());
}

QMatrix4x4 GPUModel::worldTransform(int transform) const
{
    return valueOr(_worldTransforms, transform, QMatrix4x4());
}

QMatrix3x3 GPUModel::normalTransform(int transform) const
{
    return valueOr(_normalTransforms, transform, QMatrix3x3());
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
    return TransformView(*this).isParentHidden(transform);
}

bool GPUModel::isVisible(int transform) const
{
    return TransformView(*this).isVisible(transform);
}

bool GPUModel::isDescendant(int ancestor, int transform) const
{
    for (int t = transform; isValidTransform(t); t = _transformParents.at(t)) {
        if (t == ancestor) {
            return true;
        }
    }
    return false;
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
    noteOnlyTransform(_instanceToDrawable.at(instance));
    _boxedCommandsDirty = true;
}

void GPUModel::useBoundingBox(int instance, int drawCommand, int box)
{
    Drawable *user = drawable(instance);
    if (user != nullptr && drawCommand >= 0 && drawCommand < user->boundingBoxRefs.size()) {
        user->boundingBoxRefs[drawCommand] = box;
        _boxedCommandsDirty = true;
    }
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
    // Before any mark is cleared, those below what changed are marked too.
    const int count = _localTransforms.size();
    for (int transform = 0; transform < count; ++transform) {
        if (!_transformDirty.at(transform) && isParentDirty(transform)) {
            _transformDirty[transform] = true;
        }
    }
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
    setProperty(_materialInstances.value(name), &Drawable::materialData, member, data, size);
}

void GPUModel::setObjectProperty(const QString &name, const QString &member, const void *data,
                                 unsigned long size)
{
    setProperty(_objectInstances.value(name), &Drawable::objectData, member, data, size);
}

int GPUModel::addCamera(const Camera &camera, const QString &name)
{
    _cameras.resize(_cameras.size() + 1); // gcc 12 warns wrongly of append()
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
    return valueOr(_cameras, index, Camera());
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
    return worldTransform(getCamera(index).transform).inverted();
}

QMatrix4x4 GPUModel::getCameraProjectionMatrix(int index, float aspect) const
{
    const bool isDefault = index < 0;
    const Camera camera = isDefault ? Camera() : getCamera(index);
    const float halfFilm = isDefault ? 0.018f : camera.filmWidth / 2.0f;
    const float filmRatio = isDefault ? 1.4999999f : camera.filmWidth / camera.filmHeight;
    const float nearClip = isDefault || camera.nearClip == 0.0f ? _clipNearDefault : camera.nearClip;
    const float farClip = isDefault || camera.farClip == 0.0f ? _clipFarDefault : camera.farClip;

    const float scale = (camera.projectionType != 0 ? camera.focusDistance : nearClip) / camera.focalLength;
    const float ratio = std::max(filmRatio, aspect);
    const float halfWidth = scale * halfFilm * aspect / ratio;
    const float halfHeight = halfWidth / aspect;
    const float x = camera.filmOffsetX * scale;
    const float y = camera.filmOffsetY * scale;

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
    light = valueOr(_lights, index, light);
}

int GPUModel::lightCount() const
{
    return _lights.size();
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
    return valueOr(_boundingBoxes, index, BoundingBox());
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
    BoundingBox &bounds = _sceneBounds;
    bounds = kInvertedBounds;
    for (const Drawable &drawable : qAsConst(_drawables)) {
        for (int command = 0; command < drawable.culled.size(); ++command) {
            const int ref = drawable.boundingBoxRefs.at(command);
            if (isCulled(drawable, command) || !isValidBoundingBox(ref)) {
                continue;
            }
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

quint64 GPUModel::memoryEstimateCPU() const
{
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

int GPUModel::visibilityCull()
{
    int newlyCulled = 0;
    for (Drawable &drawable : _drawables) {
        if ((drawable.flags & kFlagHidden) != 0) {
            newlyCulled += drawable.culled.size() - drawable.culledCount;
            markAll(drawable, true);
            continue;
        }
        for (int command = 0; command < drawable.culled.size(); ++command) {
            if (!isCulled(drawable, command) && isCommandHidden(drawable, command)) {
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
    collectBoxedCommands();
    int newlyCulled = 0;
    for (const BoxedCommand &boxed : qAsConst(_boxedCommands)) {
        if (!isBoxOutside(viewProjection, boxed.box, boxed.transform)) {
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
    if (!hasFeatureFlags(kFeatureCulling)) {
        return;
    }
    for (Drawable &drawable : _drawables) {
        if (drawable.culledCount != 0) {
            markAll(drawable, false);
        }
    }
    _boundsDirty = true;
}

bool GPUModel::draw(ShaderProgram *program, TextureManager *textureManager, const unsigned long long &flags,
                    const unsigned long long &mask, const WindingType &winding, const QMatrix4x4 *viewMatrix,
                    const QList<int> &excludeMaterials, const QList<int> &materials, bool stencil)
{
    if (hasFeatureFlags(kFeatureSimple)) {
        return drawSimple(program, textureManager, flags, mask);
    }
    bool stencilWasOn = true;
    if (stencil) {
        stencilWasOn = glIsEnabled(GL_STENCIL_TEST) != GL_FALSE;
        glEnable(GL_STENCIL_TEST);
        glStencilOp(GL_KEEP, GL_KEEP, GL_REPLACE);
        glStencilMask(255);
    }
    enablePrimitiveRestart(gPrimitiveRestartForDraw);

    Walk walk(*this, program, textureManager);
    walk.sortIfAsked(flags, viewMatrix);
    WindingType currentWinding = eWindingDefault;
    const unsigned long long wanted = flags & mask;
    bool result = true;

    const QList<int> materialNumbers = materials.isEmpty() ? walk.materialDrawables().keys() : materials;
    for (const int materialNumber : materialNumbers) {
        if (excludeMaterials.contains(materialNumber)) {
            continue;
        }
        bool stencilSet = !stencil;
        const QVector<int> positions = walk.materialDrawables().value(materialNumber);
        for (const int position : positions) {
            const Drawable *candidate = walk.drawableAt(position);
            if (candidate == nullptr || (candidate->flags & mask) != wanted) {
                continue;
            }
            const int commands = commandCount(*candidate);
            if (commands <= candidate->culledCount) {
                continue;
            }
            const WindingType wantedWinding = (candidate->flags & kFlagTwoSided) != 0 ? eWindingOff : winding;
            if (wantedWinding != currentWinding) {
                setWinding(wantedWinding);
                currentWinding = wantedWinding;
            }
            if (!stencilSet) {
                glStencilFunc(GL_ALWAYS, materialNumber + 1, 255);
                stencilSet = true;
            }
            result = walk.drawVisible(position, *candidate, commands, wantedWinding);
        }
    }

    walk.unbindData();
    if (!stencilWasOn) {
        glDisable(GL_STENCIL_TEST);
    }
    walk.unbindBuffers();
    glDisable(GL_CULL_FACE);
    return result;
}

bool GPUModel::draw(ShaderProgram *program, TextureManager *textureManager, const unsigned long long &flags,
                    const unsigned long long &mask, const WindingType &winding, const QMatrix4x4 *viewMatrix,
                    bool stencil)
{
    return draw(program, textureManager, flags, mask, winding, viewMatrix, QList<int>(), QList<int>(),
                stencil);
}

bool GPUModel::draw(ShaderProgram *program, TextureManager *textureManager, const unsigned long long &flags,
                    const unsigned long long &mask, const WindingType &winding, bool stencil)
{
    return draw(program, textureManager, flags, mask, winding, nullptr, stencil);
}

bool GPUModel::draw(ShaderProgram *program, const unsigned long long &flags, const unsigned long long &mask,
                    const WindingType &winding, bool stencil)
{
    return draw(program, TextureManager::Instance(), flags, mask, winding, nullptr, stencil);
}

bool GPUModel::draw(ShaderProgram *program, TextureManager *textureManager, const unsigned long long &flags,
                    const unsigned long long &mask)
{
    return draw(program, textureManager, flags, mask, Zel::eWindingDefault, nullptr, false);
}

bool GPUModel::drawExclude(ShaderProgram *program, TextureManager *textureManager,
                           const unsigned long long &flags, const unsigned long long &mask,
                           const WindingType &winding, const QMatrix4x4 *viewMatrix,
                           const QList<int> &excludeMaterials)
{
    return draw(program, textureManager, flags, mask, winding, viewMatrix, excludeMaterials, QList<int>(),
                false);
}

bool GPUModel::drawExclude(ShaderProgram *program, const unsigned long long &flags,
                           const unsigned long long &mask, const WindingType &winding,
                           const QList<int> &excludeMaterials)
{
    return drawExclude(program, TextureManager::Instance(), flags, mask, winding, nullptr, excludeMaterials);
}

bool GPUModel::drawMaterials(ShaderProgram *program, TextureManager *textureManager,
                             const unsigned long long &flags, const unsigned long long &mask,
                             const WindingType &winding, const QMatrix4x4 *viewMatrix,
                             const QList<int> &materials)
{
    return draw(program, textureManager, flags, mask, winding, viewMatrix, QList<int>(), materials, false);
}

bool GPUModel::drawSimple(ShaderProgram *program, TextureManager *textureManager,
                          const unsigned long long &flags, const unsigned long long &mask)
{
    enablePrimitiveRestart(gPrimitiveRestartForDrawSimple);
    Walk walk(*this, program, textureManager);
    const unsigned long long wanted = flags & mask;
    const bool filter = hasFeatureFlags(kFeatureFilterSimple);
    bool result = true;
    for (const QVector<int> &positions : walk.materialDrawables()) {
        for (const int position : positions) {
            const Drawable *candidate = walk.drawableAt(position);
            if (candidate != nullptr && (!filter || (candidate->flags & mask) == wanted)) {
                result = walk.draw(*candidate, nullptr) && result;
            }
        }
    }
    walk.unbindData();
    walk.unbindBuffers();
    return result;
}

bool GPUModel::drawMesh(int drawable, InstanceDataCollection *&object, InstanceDataCollection *&material,
                        TextureManager *&boundManager, VertexArrayObject *&vao, DrawBuffers *&boundBuffers,
                        ShaderProgram *program, TextureManager *textureManager,
                        const unsigned long long &flags, const WindingType &winding,
                        const QMatrix4x4 *viewMatrix, QVector<int> commands)
{
    const Drawable *drawn = drawableAt(drawable);
    if (drawn == nullptr) {
        return true;
    }
    const Walk::References bound(object, material, boundManager, vao, boundBuffers);
    Walk walk(*this, program, textureManager);
    walk.takeBound(bound);
    walk.sortIfAsked(flags, viewMatrix);
    const bool result = commands.isEmpty() ? walk.drawVisible(drawable, *drawn, commandCount(*drawn), winding)
                                           : walk.drawSorted(*drawn, commands);
    walk.giveBound(bound);
    return result;
}

bool GPUModel::drawMesh(int drawable, QVector<int> *commands, InstanceDataCollection *&object,
                        InstanceDataCollection *&material, TextureManager *&boundManager,
                        VertexArrayObject *&vao, DrawBuffers *&boundBuffers, ShaderProgram *program,
                        TextureManager *textureManager)
{
    const Drawable *drawn = drawableAt(drawable);
    if (drawn == nullptr) {
        return true;
    }
    const Walk::References bound(object, material, boundManager, vao, boundBuffers);
    Walk walk(*this, program, textureManager);
    walk.takeBound(bound);
    const bool result = walk.draw(*drawn, commands);
    walk.giveBound(bound);
    return result;
}

bool GPUModel::flagsLessThan(const Drawable &a, const Drawable &b)
{
    return a.flags < b.flags;
}

bool GPUModel::distanceCompare(const DistanceSort &a, const DistanceSort &b)
{
    return a.distance < b.distance;
}

int GPUModel::commandCount(const Drawable &drawable)
{
    return drawable.drawBuffers != nullptr ? drawable.drawBuffers->numDrawCommands() : 0;
}

/// Keeps the marks of the commands that there were before. Drawables with one command share the vector of its mark, which
/// is never set, so that culling need not fetch one for each.
void GPUModel::setMarkCount(Drawable &drawable, int commands)
{
    static const QVector<bool> kOneMark(1, false);
    QVector<bool> marks(commands, false);
    for (int command = 0; command < std::min(commands, drawable.culled.size()); ++command) {
        marks[command] = isCulled(drawable, command);
    }
    drawable.culledCount = marks.count(true);
    drawable.culled = commands == 1 ? kOneMark : marks;
}

inline bool GPUModel::isCulled(const Drawable &drawable, int command)
{
    return drawable.culled.size() == 1 ? drawable.culledCount != 0 : drawable.culled.at(command);
}

inline void GPUModel::cull(Drawable &drawable, int command)
{
    if (drawable.culled.size() != 1) {
        drawable.culled[command] = true;
    }
    ++drawable.culledCount;
}

inline void GPUModel::markAll(Drawable &drawable, bool culled)
{
    const int commands = drawable.culled.size();
    if (commands != 1) {
        drawable.culled.fill(culled);
    }
    drawable.culledCount = culled ? commands : 0;
}

GPUModel::Drawable *GPUModel::drawable(int instance)
{
    const int position = valueOr(_instanceToDrawable, instance, -1);
    return drawableAt(position) != nullptr ? &_drawables[position] : nullptr;
}

const GPUModel::Drawable *GPUModel::drawable(int instance) const
{
    return drawableAt(valueOr(_instanceToDrawable, instance, -1));
}

const GPUModel::Drawable *GPUModel::drawableAt(int position) const
{
    return position >= 0 && position < _drawables.size() ? &_drawables.at(position) : nullptr;
}

std::array<QObject *, 3> GPUModel::objectsOf(const Drawable &drawable)
{
    return {drawable.drawBuffers, drawable.materialData, drawable.objectData};
}

void GPUModel::use(const Drawable &drawable)
{
    for (QObject *object : objectsOf(drawable)) {
        ++_uses[object];
    }
}

/// Deletes objects, during a draw only when it ends.
void GPUModel::remove(const QVector<QObject *> &objects)
{
    if (_runningDraws == 0) {
        qDeleteAll(objects);
    } else {
        _removed += objects;
    }
}

int GPUModel::append(const Drawable &drawable, int materialNumber)
{
    const int instance = _drawables.size();
    _drawables.append(drawable);
    use(drawable);
    _drawables.last().instance = instance;
    _onlyTransforms.append(kNotJustOne);
    noteOnlyTransform(instance);
    _instanceToDrawable.append(instance);
    _materialDrawables[materialNumber].append(instance);
    return instance;
}

void GPUModel::noteOnlyTransform(int position)
{
    const QVector<int> &refs = _drawables.at(position).transformRefs;
    _onlyTransforms[position] = refs.size() == 1 ? refs.constFirst() : kNotJustOne;
}

void GPUModel::changeFlags(int instance, unsigned long long flags, unsigned long long mask)
{
    Drawable *changed = drawable(instance);
    if (changed == nullptr) {
        return;
    }
    const unsigned long long newFlags = (changed->flags & ~mask) | (flags & mask);
    if (newFlags != changed->flags) {
        changed->flags = newFlags;
        _flagsDirty = true;
    }
}

int GPUModel::maxSets(int shift) const
{
    unsigned long long most = 0;
    for (const Drawable &drawable : _drawables) {
        most = std::max(most, (drawable.flags >> shift) & 7u);
    }
    return static_cast<int>(most);
}

int GPUModel::parentOf(int transform) const
{
    const int parent = valueOr(_transformParents, transform, kInvalidTransformRef);
    return isValidTransform(parent) ? parent : kInvalidTransformRef;
}

/// Where the walk from \a transform upward leaves the transforms.
int GPUModel::endOfChain(int transform) const
{
    while (isValidTransform(transform)) {
        transform = _transformParents.at(transform);
    }
    return transform;
}

/// isTransformDirty() of the parent, in a walk over all transforms in the order of
/// their numbers: those in front of this one have what is above them in their marks
/// already.
bool GPUModel::isParentDirty(int transform) const
{
    for (int t = parentOf(transform); t >= 0; t = parentOf(t)) {
        if (t < transform || _transformDirty.at(t)) {
            return _transformDirty.at(t);
        }
    }
    return false;
}

/// Recomputes a transform if it is dirty, behind the dirty ones directly above it.
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
    const int parent = parentOf(transform);
    QMatrix4x4 world;
    if (_transformLocked.at(transform)) {
        world = lockedWorld(transform, parent < 0 ? QMatrix4x4() : _worldTransforms.at(parent));
    } else if (parent < 0) {
        world = _localTransforms.at(transform);
    } else {
        world = _worldTransforms.at(parent) * _localTransforms.at(transform);
    }
    const Derived derived(world);
    _worldTransforms[transform] = world;
    _normalTransforms[transform] = derived.normal;
    _transformSwapsHandedness[transform] = derived.swapsHandedness;
    _transformDirty[transform] = false;

    for (const InstanceRef &ref : qAsConst(_transformInstances).at(transform)) {
        const Drawable *user = drawableAt(ref.instance);
        if (user == nullptr) {
            continue;
        }
        if (user->objectData != nullptr) {
            writer.write(*user->objectData, ref.drawCommand, world, derived);
        }
        _movedInstances.append(ref);
    }
}

/// The parent's position and scale without its rotation. The local matrix is
/// rewritten, so that a further update scales it again unless the host has set it
/// anew; kept so on purpose.
QMatrix4x4 GPUModel::lockedWorld(int transform, const QMatrix4x4 &parentWorld)
{
    QMatrix4x4 &local = _localTransforms[transform];
    const QVector3D translation = (parentWorld * local).column(3).toVector3D();
    const QVector3D a = parentWorld.column(0).toVector3D();
    const QVector3D b = parentWorld.column(1).toVector3D();
    const QVector3D c = parentWorld.column(2).toVector3D();
    const bool mirrored = QVector3D::dotProduct(QVector3D::crossProduct(a, b), c) < 0.0f;
    local.setColumn(3, QVector4D(0.0f, 0.0f, 0.0f, 1.0f));
    local.scale(mirrored ? -a.length() : a.length(), b.length(), c.length());
    QMatrix4x4 world;
    world.translate(translation);
    return world * local;
}

void GPUModel::setProperty(const QVector<InstanceRef> &refs, InstanceDataCollection *Drawable::*data,
                           const QString &member, const void *bytes, unsigned long size)
{
    for (const InstanceRef &ref : refs) {
        const Drawable *user = drawableAt(ref.instance);
        if (user != nullptr && user->*data != nullptr) {
            (user->*data)->set(ref.drawCommand, member, bytes, size);
        }
    }
}

bool GPUModel::isCommandHidden(const Drawable &drawable, int command) const
{
    const int transform = drawable.transformRefs.at(command);
    if (!isVisible(transform)) {
        return true;
    }
    if (_transformsDirty && isTransformDirty(transform)) {
        return false;
    }
    // The rows as they stand, translation included.
    const QMatrix4x4 &world = _worldTransforms.at(transform);
    return world.row(0).lengthSquared() < kLeastRowLengthSquared
           && world.row(1).lengthSquared() < kLeastRowLengthSquared
           && world.row(2).lengthSquared() < kLeastRowLengthSquared;
}

void GPUModel::collectBoxedCommands()
{
    if (!_boxedCommandsDirty) {
        return;
    }
    _boxedCommandsDirty = false;
    _boxedCommands.resize(0);
    for (const Drawable &drawable : qAsConst(_drawables)) {
        for (int command = 0; command < drawable.boundingBoxRefs.size(); ++command) {
            const int box = drawable.boundingBoxRefs.at(command);
            if (box >= 0) {
                _boxedCommands.append({box, drawable.transformRefs.at(command), drawable.instance, command});
            }
        }
    }
}

/// What has no box is not outside, and what has a box without a place is.
inline bool GPUModel::isBoxOutside(const QMatrix4x4 &viewProjection, int box, int transform) const
{
    if (!isValidBoundingBox(box)) {
        return false;
    }
    if (!isValidTransform(transform)) {
        return true;
    }
    return !(_transformsDirty && isTransformDirty(transform))
           && isOutside(viewProjection, _worldTransforms.at(transform), _boundingBoxes.at(box));
}

}} // namespace Orvane::Zel
