#include "UniformBufferObject.h"

#include "BufferObject.h"
#include "GLContextTracker.h"
#include "GLUtilities.h"
#include "ShaderProgram.h"
#include "private/LinkNumber.h"
#include "private/NameTable.h"
#include "private/NumberSet.h"

#include <QtCore/QMutex>
#include <QtCore/QMutexLocker>

#include <algorithm>
#include <unordered_map>
#include <vector>

namespace Orvane { namespace Zel {

namespace {

constexpr unsigned int kInvalidBinding = NumberSet::kNone; ///< 0xFFFFFFFF

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
    NameTable<unsigned int> _uniformBufferObjectToUniformBlockBindingMaps; ///< to the binding point
    NameTable<int> _boundUniformBufferObjectCounts; ///< to the use count; the same names at the same places
    NumberSet _availableBindings;
    int _batchFirst = -1; ///< the points touched in a batch; both -1 when none runs
    int _batchLast = -1;
    std::vector<unsigned int> _bufferIDs; ///< by binding point; 0: none
    PFNGLBINDBUFFERSBASEPROC _glBindBuffersBase;
    PFNGLSHADERSTORAGEBLOCKBINDINGPROC _glShaderStorageBlockBinding = nullptr; ///< in the storage row
};

UBOContextData::UBOContextData(unsigned int target)
    : _target(target)
    , _maxBindings(integer(target == GL_SHADER_STORAGE_BUFFER ? GL_MAX_SHADER_STORAGE_BUFFER_BINDINGS
                                                              : GL_MAX_UNIFORM_BUFFER_BINDINGS))
    , _bufferIDs(size_t(std::max(_maxBindings, 0)), 0)
    , _glBindBuffersBase(
          reinterpret_cast<PFNGLBINDBUFFERSBASEPROC>(getGLProcAddress("glBindBuffersBase", false)))
{
    _availableBindings.fill(_maxBindings);
    // Each buffer in use holds a point: that is room for all.
    _uniformBufferObjectToUniformBlockBindingMaps.reserve(_maxBindings);
    _boundUniformBufferObjectCounts.reserve(_maxBindings);
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
                           _bufferIDs.data() + _batchFirst);
    } else if (_batchLast != -1) {
        for (int binding = _batchFirst; binding <= _batchLast; ++binding) {
            glBindBufferBase(_target, GLuint(binding), _bufferIDs[size_t(binding)]);
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

/// A thread's last answer, which holds as long as its context does.
struct LastRow
{
    void *context;
    UBOContextData *row;
};
constexpr LastRow kNoRow = {&uniformRows, nullptr}; // no context lies there
thread_local LastRow lastUniformRow [[gnu::tls_model("initial-exec")]] = kNoRow;
thread_local LastRow lastStorageRow [[gnu::tls_model("initial-exec")]] = kNoRow;

/// Makes the row at the first question.
Q_NEVER_INLINE UBOContextData &findRow(unsigned int target, void *context)
{
    const bool isStorage = target == GL_SHADER_STORAGE_BUFFER;
    const QMutexLocker locker(&rowsMutex);
    UBOContextData &row = (isStorage ? storageRows : uniformRows).try_emplace(context, target).first->second;
    (isStorage ? lastStorageRow : lastUniformRow) = {context, &row};
    return row;
}

inline UBOContextData &contextData(unsigned int target)
{
    if (target != GL_UNIFORM_BUFFER && target != GL_SHADER_STORAGE_BUFFER) {
        ZEL_BARE_DEBUG("Unknown Uniforma b uffer type 0x%X", target);
        target = GL_UNIFORM_BUFFER;
    }
    void *const context = GLContextTracker::currentContext();
    const LastRow &last = target == GL_SHADER_STORAGE_BUFFER ? lastStorageRow : lastUniformRow;
    return last.context == context ? *last.row : findRow(target, context);
}

} // namespace

std::atomic<int> UniformBufferObject::_numAlive{0};

int UniformBufferObject::NumAlive()
{
    return _numAlive.load(std::memory_order_relaxed);
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
    _numAlive.fetch_add(1, std::memory_order_relaxed);
}

UniformBufferObject::~UniformBufferObject()
{
    _numAlive.fetch_sub(1, std::memory_order_relaxed);
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

/// The block's index as GL's signed answer: -1 when the program is null or lacks the block.
inline int UniformBufferObject::blockIndex(const ShaderProgram *program, unsigned int target)
{
    if (program == nullptr) {
        return -1;
    }
    const quint64 link = linkNumberOf(*program);
    const bool isKnown = link == _knownLink && link != 0 && target == _knownTarget;
    return isKnown ? _knownIndex : findBlockIndex(program, target);
}

Q_NEVER_INLINE int UniformBufferObject::findBlockIndex(const ShaderProgram *program, unsigned int target)
{
    _knownLink = linkNumberOf(*program);
    _knownTarget = target;
    _knownIndex = int(program->getTypeBlockIndex(target, _blockName));
    return _knownIndex;
}

bool UniformBufferObject::bind(ShaderProgram *program)
{
    ZEL_ASSERT_RETURN(!this->_bufferObject.isNull(), false, "m_bufferObject is NULL on bind()");
    UBOContextData &uboContextData = contextData(_bufferObject->target());
    const unsigned int target = uboContextData._target;
    const unsigned int bufferObjectID = _bufferObject->getBO();
    const int index = blockIndex(program, target);

    auto &bindings = uboContextData._uniformBufferObjectToUniformBlockBindingMaps;
    auto &counts = uboContextData._boundUniformBufferObjectCounts;
    const auto held = bindings.place(bufferObjectID);
    if (held >= 0) {
        if (index >= 0) {
            program->setTypeBlockBinding(target, unsigned(index), bindings.at(held));
        }
        ++counts.at(held);
        return true;
    }

    // The point that the program has from before costs it no GL call.
    const unsigned int previous =
        index >= 0 ? program->getTypeBlockBinding(target, unsigned(index)) : kInvalidBinding;
    const bool takesPrevious =
        previous != kInvalidBinding && uboContextData._availableBindings.contains(previous);
    const unsigned int binding = takesPrevious ? previous : uboContextData._availableBindings.lowest();
    if (binding == kInvalidBinding) {
        ZEL_LOG_WARNING("There is no available uniformBlockBindings");
        return false;
    }
    uboContextData._availableBindings.remove(binding);
    bindings.insert(bufferObjectID, binding);
    counts.insert(bufferObjectID, 1);
    uboContextData._bufferIDs[binding] = bufferObjectID;

    if (uboContextData._batchFirst == -1) {
        ZEL_ASSERT(_bufferObject->valueCount() * _bufferObject->valueSize() != 0,
                   "glBindBufferRange() cannot take 0 as a size (%d,%d)", _bufferObject->valueCount(),
                   int(_bufferObject->valueSize()));
        glBindBufferBase(target, binding, bufferObjectID);
    } else {
        uboContextData.recordInBatch(binding);
    }
    if (index >= 0 && !takesPrevious) {
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
    auto &bindings = uboContextData._uniformBufferObjectToUniformBlockBindingMaps;
    auto &counts = uboContextData._boundUniformBufferObjectCounts;
    const auto held = bindings.place(bufferObjectID);
    if (held < 0) {
        return true;
    }
    if (!counts.contains(bufferObjectID, held)) { // asked once where all is well
        ZEL_ASSERT_RETURN(uboContextData._boundUniformBufferObjectCounts.contains(bufferObjectID), false,
                          "UniformBufferObject has not been bound on unbind");
    }
    if (--counts.at(held) != 0) {
        return true;
    }
    const unsigned int binding = bindings.at(held);
    glBindBufferBase(uboContextData._target, binding, 0);
    bindings.remove(held);
    counts.remove(held);
    uboContextData._availableBindings.insert(binding);
    uboContextData._bufferIDs[binding] = 0;
    return true;
}

QSharedPointer<BufferObject> UniformBufferObject::bufferObject() const
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
    const auto &bindings = uboContextData._uniformBufferObjectToUniformBlockBindingMaps;
    return bindings.at(bindings.place(bufferObjectID));
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
