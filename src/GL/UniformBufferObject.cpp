#include "UniformBufferObject.h"

#include "BufferObject.h"
#include "GLContextTracker.h"
#include "GLUtilities.h"
#include "ShaderProgram.h"

#include <QtCore/QMutex>
#include <QtCore/QMutexLocker>
#include <QtCore/QVector>

#include <algorithm>
#include <unordered_map>
#include <vector>

namespace Orvane { namespace Zel {

namespace {

constexpr unsigned int kInvalidBinding = 0xFFFFFFFF;

/// A map by GL buffer name for the few buffers that are in use at once. Each holds a binding point, so room for
/// as many as there are points is taken at the start, and binding allocates nothing.
template <typename Value> class BufferMap
{
public:
    explicit BufferMap(int capacity) { _entries.reserve(size_t(std::max(capacity, 0))); }

    bool contains(unsigned int buffer) const { return find(buffer) != _entries.end(); }
    Value value(unsigned int buffer) const { return find(buffer)->second; }
    /// The buffer must be there.
    Value &operator[](unsigned int buffer)
    {
        return _entries[size_t(find(buffer) - _entries.begin())].second;
    }
    void insert(unsigned int buffer, Value value) { _entries.emplace_back(buffer, value); }

    void remove(unsigned int buffer)
    {
        _entries[size_t(find(buffer) - _entries.begin())] = _entries.back();
        _entries.pop_back();
    }

private:
    using Entries = std::vector<std::pair<unsigned int, Value>>;

    typename Entries::const_iterator find(unsigned int buffer) const
    {
        return std::find_if(_entries.begin(), _entries.end(),
                            [buffer](const auto &entry) { return entry.first == buffer; });
    }

    Entries _entries;
};

/// The binding points that are free; sorted, so the lowest comes first.
class FreePoints
{
public:
    explicit FreePoints(int count)
        : _isFree(size_t(std::max(count, 0)), true)
    {
    }

    /// The lowest; kInvalidBinding when none is free.
    unsigned int first() const
    {
        const auto lowest = std::find(_isFree.begin(), _isFree.end(), true);
        return lowest == _isFree.end() ? kInvalidBinding
                                       : static_cast<unsigned int>(lowest - _isFree.begin());
    }
    bool contains(unsigned int point) const { return point < _isFree.size() && _isFree[point]; }
    void insert(unsigned int point) { _isFree[point] = true; }
    void remove(unsigned int point) { _isFree[point] = false; }

private:
    std::vector<bool> _isFree;
};

GLint integer(GLenum name)
{
    GLint value = 0;
    glGetIntegerv(name, &value);
    return value;
}

/// The binding points of one kind in one context.
struct UBOContextData
{
    explicit UBOContextData(unsigned int target);

    void recordInBatch(unsigned int binding);
    void startBatch();
    void flushBatch();

    unsigned int _target;
    int _maxBindings;
    BufferMap<unsigned int> _uniformBufferObjectToUniformBlockBindingMaps; ///< to the binding point
    BufferMap<int> _boundUniformBufferObjectCounts;                        ///< to the use count
    FreePoints _availableBindings;
    int _batchFirst = -1; ///< the points touched in a batch; both -1 when none runs
    int _batchLast = -1;
    QVector<unsigned int> _bufferIDs; ///< by binding point; 0: none
    PFNGLBINDBUFFERSBASEPROC _glBindBuffersBase;
    PFNGLSHADERSTORAGEBLOCKBINDINGPROC _glShaderStorageBlockBinding = nullptr; ///< in the storage row
};

UBOContextData::UBOContextData(unsigned int target)
    : _target(target)
    , _maxBindings(integer(target == GL_SHADER_STORAGE_BUFFER ? GL_MAX_SHADER_STORAGE_BUFFER_BINDINGS
                                                              : GL_MAX_UNIFORM_BUFFER_BINDINGS))
    , _uniformBufferObjectToUniformBlockBindingMaps(_maxBindings)
    , _boundUniformBufferObjectCounts(_maxBindings)
    , _availableBindings(_maxBindings)
    , _bufferIDs(_maxBindings, 0)
    , _glBindBuffersBase(
          reinterpret_cast<PFNGLBINDBUFFERSBASEPROC>(getGLProcAddress("glBindBuffersBase", false)))
{
    if (target == GL_SHADER_STORAGE_BUFFER) {
        _glShaderStorageBlockBinding = reinterpret_cast<PFNGLSHADERSTORAGEBLOCKBINDINGPROC>(
            getGLProcAddress("glShaderStorageBlockBinding", false));
    }
}

void UBOContextData::recordInBatch(unsigned int binding)
{
    _batchFirst = std::min(_batchFirst, int(binding));
    _batchLast = std::max(_batchLast, int(binding));
}

void UBOContextData::startBatch()
{
    _batchFirst = _maxBindings;
    _batchLast = -1;
}

void UBOContextData::flushBatch()
{
    if (_batchLast != -1 && _glBindBuffersBase != nullptr) {
        _glBindBuffersBase(_target, GLuint(_batchFirst), _batchLast - _batchFirst + 1,
                           _bufferIDs.constData() + _batchFirst);
    } else if (_batchLast != -1) {
        for (int binding = _batchFirst; binding <= _batchLast; ++binding) {
            glBindBufferBase(_target, GLuint(binding), _bufferIDs.at(binding));
        }
    }
    _batchFirst = -1;
    _batchLast = -1;
}

/// By context identity. Rows are never removed, and their references stay good while others come.
using Rows = std::unordered_map<void *, UBOContextData>;
Rows uniformRows;
Rows storageRows;
QMutex rowsMutex;

UBOContextData &contextData(unsigned int target)
{
    if (target != GL_UNIFORM_BUFFER && target != GL_SHADER_STORAGE_BUFFER) {
        ZEL_BARE_DEBUG("Unknown Uniforma b uffer type 0x%X", target);
        target = GL_UNIFORM_BUFFER;
    }
    Rows &rows = target == GL_SHADER_STORAGE_BUFFER ? storageRows : uniformRows;
    const QMutexLocker locker(&rowsMutex);
    return rows.try_emplace(GLContextTracker::currentContext(), target).first->second;
}

/// The block's index as GL's signed answer: -1 when the program is null or lacks the block.
int blockIndex(const ShaderProgram *program, unsigned int target, const QString &blockName)
{
    return program == nullptr ? -1 : int(program->getTypeBlockIndex(target, blockName));
}

} // namespace

int UniformBufferObject::_numAlive = 0;

int UniformBufferObject::NumAlive()
{
    return _numAlive;
}

int UniformBufferObject::maxUniformBlockBindings()
{
    return contextData(GL_UNIFORM_BUFFER)._maxBindings;
}

void UniformBufferObject::bindBatchStart()
{
    contextData(GL_UNIFORM_BUFFER).startBatch();
    contextData(GL_SHADER_STORAGE_BUFFER).startBatch();
}

void UniformBufferObject::bindBatchFlush()
{
    contextData(GL_UNIFORM_BUFFER).flushBatch();
    contextData(GL_SHADER_STORAGE_BUFFER).flushBatch();
}

UniformBufferObject::UniformBufferObject(const QString &blockName, QSharedPointer<BufferObject> bufferObject,
                                         QObject *parent)
    : QObject(parent)
    , _bufferObject(bufferObject)
    , _blockName(blockName)
{
    ++_numAlive;
}

UniformBufferObject::~UniformBufferObject()
{
    --_numAlive;
}

bool UniformBufferObject::bind()
{
    ShaderProgram *program = ShaderProgram::currentShaderProgram();
    if (program == nullptr) {
        ZEL_LOG_WARNING("No ShaderProgram is bound");
        return false;
    }
    return bind(program);
}

bool UniformBufferObject::unbind()
{
    ShaderProgram *program = ShaderProgram::currentShaderProgram();
    if (program == nullptr) {
        ZEL_LOG_WARNING("No ShaderProgram is bound");
        return false;
    }
    return unbind(program);
}

bool UniformBufferObject::bind(ShaderProgram *program)
{
    ZEL_ASSERT_RETURN(!this->_bufferObject.isNull(), false, "m_bufferObject is NULL on bind()");
    UBOContextData &uboContextData = contextData(_bufferObject->target());
    const unsigned int target = uboContextData._target;
    const unsigned int bufferObjectID = _bufferObject->getBO();

    if (uboContextData._uniformBufferObjectToUniformBlockBindingMaps.contains(bufferObjectID)) {
        const int index = blockIndex(program, target, _blockName);
        if (index >= 0) {
            program->setTypeBlockBinding(
                target, unsigned(index),
                uboContextData._uniformBufferObjectToUniformBlockBindingMaps.value(bufferObjectID));
        }
        ++uboContextData._boundUniformBufferObjectCounts[bufferObjectID];
        return true;
    }

    unsigned int binding = uboContextData._availableBindings.first();
    if (binding == kInvalidBinding) {
        ZEL_LOG_WARNING("There is no available uniformBlockBindings");
        return false;
    }
    // The point that the program has from before costs it no GL call.
    const int index = blockIndex(program, target, _blockName);
    if (index >= 0) {
        const unsigned int previous = program->getTypeBlockBinding(target, unsigned(index));
        if (previous != kInvalidBinding && uboContextData._availableBindings.contains(previous)) {
            binding = previous;
        }
    }
    uboContextData._availableBindings.remove(binding);
    uboContextData._uniformBufferObjectToUniformBlockBindingMaps.insert(bufferObjectID, binding);
    uboContextData._boundUniformBufferObjectCounts.insert(bufferObjectID, 1);
    uboContextData._bufferIDs[int(binding)] = bufferObjectID;

    if (uboContextData._batchFirst == -1) {
        ZEL_ASSERT(_bufferObject->valueCount() * _bufferObject->valueSize() != 0,
                   "glBindBufferRange() cannot take 0 as a size (%d,%d)", _bufferObject->valueCount(),
                   int(_bufferObject->valueSize()));
        glBindBufferBase(target, binding, bufferObjectID);
    } else {
        uboContextData.recordInBatch(binding);
    }
    if (index >= 0) {
        program->setTypeBlockBinding(target, unsigned(index), binding);
    }
    return true;
}

// The program keeps its binding: bind() finds the same point again by it.
bool UniformBufferObject::unbind(ShaderProgram *)
{
    ZEL_ASSERT_RETURN(!this->_bufferObject.isNull(), false,
                      "m_bufferObject is NULL on bind()"); // bind() on purpose
    UBOContextData &uboContextData = contextData(_bufferObject->target());
    const unsigned int bufferObjectID = _bufferObject->getBO();
    if (!uboContextData._uniformBufferObjectToUniformBlockBindingMaps.contains(bufferObjectID)) {
        return true;
    }
    ZEL_ASSERT_RETURN(uboContextData._boundUniformBufferObjectCounts.contains(bufferObjectID), false,
                      "UniformBufferObject has not been bound on unbind");
    if (--uboContextData._boundUniformBufferObjectCounts[bufferObjectID] != 0) {
        return true;
    }
    const unsigned int binding =
        uboContextData._uniformBufferObjectToUniformBlockBindingMaps.value(bufferObjectID);
    glBindBufferBase(uboContextData._target, binding, 0);
    uboContextData._uniformBufferObjectToUniformBlockBindingMaps.remove(bufferObjectID);
    uboContextData._boundUniformBufferObjectCounts.remove(bufferObjectID);
    uboContextData._availableBindings.insert(binding);
    uboContextData._bufferIDs[int(binding)] = 0;
    return true;
}

const QSharedPointer<BufferObject> &UniformBufferObject::bufferObject() const
{
    return _bufferObject;
}

unsigned int UniformBufferObject::uniformBlockBinding() const
{
    ZEL_ASSERT_RETURN(!this->_bufferObject.isNull(), 0, "m_bufferObject is NULL on uniformBlockBinding()");
    const UBOContextData &uboContextData = contextData(_bufferObject->target());
    const unsigned int bufferObjectID = _bufferObject->getBO();
    ZEL_ASSERT_RETURN(uboContextData._boundUniformBufferObjectCounts.contains(bufferObjectID),
                      kInvalidBinding, "UniformBufferObject has not been bound on uniformBlockBinding()");
    ZEL_ASSERT_RETURN(uboContextData._uniformBufferObjectToUniformBlockBindingMaps.contains(bufferObjectID),
                      kInvalidBinding, "UniformBufferObject has not been bound on uniformBlockBinding()");
    return uboContextData._uniformBufferObjectToUniformBlockBindingMaps.value(bufferObjectID);
}

quint64 UniformBufferObject::memoryEstimateCPU() const
{
    return 56 + quint64(_blockName.size())
           + (_bufferObject.isNull() ? 0 : _bufferObject->memoryEstimateCPU());
}

quint64 UniformBufferObject::memoryEstimateGPU() const
{
    return _bufferObject.isNull() ? 0 : _bufferObject->memoryEstimateGPU();
}

}} // namespace Orvane::Zel
