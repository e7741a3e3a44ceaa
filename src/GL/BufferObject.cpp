#include "BufferObject.h"

#include "GLUtilities.h"
#include "private/EntryPoint.h"

namespace Orvane { namespace Zel {

namespace {

EntryPoint<PFNGLBUFFERSTORAGEPROC> bufferStorage;
EntryPoint<PFNGLNAMEDBUFFERDATAPROC> namedBufferData;
EntryPoint<PFNGLNAMEDBUFFERSTORAGEPROC> namedBufferStorage;
EntryPoint<PFNGLNAMEDBUFFERSUBDATAPROC> namedBufferSubData;

void lookUpEntryPoints()
{
    // Required: this one decides for all four, so without it every object looks all four up again; see
    // BufferObjectOwnProcessTest.EachObjectLooksAgainUntilNamedUploadsAreFoundAndStorageTakesWhatThereIs.
    if (namedBufferData != nullptr) {
        return;
    }
    bufferStorage.lookUp("glBufferStorage", true);
    namedBufferData.lookUp("glNamedBufferData", true);
    namedBufferStorage.lookUp("glNamedBufferStorage", true);
    namedBufferSubData.lookUp("glNamedBufferSubData", true);
}

GLsizeiptr byteCount(int valueCount, unsigned long valueSize)
{
    // In 64 bits: more than 2 GB of values have a count that fits into an int.
    return GLsizeiptr(quint64(valueCount) * valueSize);
}

} // namespace

std::atomic<int> BufferObject::_numAlive{0};
std::atomic<int> BufferObject::_numAliveManaged{0};
QSet<unsigned int> BufferObject::_indexedTargets;

int BufferObject::NumAlive()
{
    return _numAlive.load(std::memory_order_relaxed);
}

int BufferObject::NumAliveManaged()
{
    return _numAliveManaged.load(std::memory_order_relaxed);
}

BufferObject::BufferObject(QObject *parent)
    : QObject(parent)
    , _managed(true)
{
    lookUpEntryPoints();
    // The name is made with the object, unlike that of a vertex array: buffers are shared between contexts.
    create();
    _numAlive.fetch_add(1, std::memory_order_relaxed);
    _numAliveManaged.fetch_add(1, std::memory_order_relaxed);
}

BufferObject::BufferObject(unsigned int bo, QObject *parent)
    : QObject(parent)
    , _bo(bo)
{
    lookUpEntryPoints();
    _numAlive.fetch_add(1, std::memory_order_relaxed);
}

BufferObject::~BufferObject()
{
    if (_managed) {
        destroy();
        _numAliveManaged.fetch_sub(1, std::memory_order_relaxed);
    }
    _numAlive.fetch_sub(1, std::memory_order_relaxed);
}

bool BufferObject::create()
{
    ZEL_ASSERT_RETURN(0u == this->_bo, false, "Buffer Object is not NULL on create");
    ZEL_ASSERT_RETURN(0u == this->_boBountTarget, false,
                      "Buffer Object is already bound on create to target %d", this->_boBountTarget);
    ZEL_ASSERT_RETURN(nullptr != glGenBuffers, false, kNotInitialized);
    glGenBuffers(1, &_bo);
    return true;
}

// A bound buffer keeps its name: GL would remove the binding, and the state of the object would be wrong. See
// BufferObjectTest.WrongOrdersAreReportedAndChangeNothing.
bool BufferObject::destroy()
{
    ZEL_ASSERT_RETURN(0u == this->_boBountTarget, false,
                      "Buffer Object is already bound on destroy to target %d", this->_boBountTarget);
    if (_bo == 0) {
        return true;
    }
    glDeleteBuffers(1, &_bo);
    _bo = 0;
    return true;
}

void BufferObject::setTarget(unsigned int target)
{
    if (isIndexedTarget(target)) {
        ZEL_LOG_CRITICAL("Cannot use setTarget() for indexed buffer object such as GL_UNIFORM_BUFFER. "
                         "Use setIndexedTarget() instead.");
    }
    _target = target;
    _useBindBufferRange = false;
}

void BufferObject::setIndexedTarget(unsigned int target, unsigned int index, long offset, long size)
{
    if (!isIndexedTarget(target)) {
        ZEL_LOG_CRITICAL(
            "Cannot use setIndexedTarget() for non-indexed buffer object such as GL_ARRAY_BUFFER. "
            "Use setTarget() instead.");
    }
    _target = target;
    // On the heap: few buffers have a range, and a draw reads the other fields of every index buffer.
    _range.reset(new Range{index, offset, size});
    _useBindBufferRange = true;
}

bool BufferObject::bind()
{
    ZEL_ASSERT_RETURN(0u != this->_bo, false, "Buffer Object is NULL on bind");
    ZEL_ASSERT_RETURN(0u == this->_boBountTarget, false,
                      "Buffer Object is already bound on bind to target %d", this->_boBountTarget);
    ZEL_ASSERT_RETURN(0u != this->_target, false, "Buffer Object's target is not set when bind() is called");
    if (_useBindBufferRange) {
        glBindBufferRange(_target, _range->index, _bo, _range->offset, _range->size);
    } else {
        glBindBuffer(_target, _bo);
    }
    _boBountTarget = _target;
    return true;
}

bool BufferObject::unbind()
{
    ZEL_ASSERT_RETURN(0u != this->_bo, false, "Buffer Object is NULL on unbind");
    ZEL_ASSERT_RETURN(0u != this->_boBountTarget, false, "Buffer Object is not bound on unbind");
    if (_useBindBufferRange) {
        // Required: index 0, whatever index the range has; see
        // BufferObjectTest.EitherSetterTakesEitherKindOfTargetAndReportsTheWrongKind.
        glBindBufferRange(_target, 0, 0, 0, 0);
    } else {
        glBindBuffer(_target, 0);
    }
    _boBountTarget = 0;
    return true;
}

bool BufferObject::rebind(BufferObject *bufferObjectBound, bool force)
{
    if (bufferObjectBound == nullptr) {
        return bind();
    }
    if (bufferObjectBound == this) {
        // GL has the binding already, unless the vertex array changed; see
        // BufferObjectTest.RebindSavesTheCallForOneNameAndForTheSameObject.
        if (!force) {
            return true;
        }
    } else {
        ZEL_ASSERT_RETURN(0u != this->_bo, false, "Buffer Object is NULL on bind");
        ZEL_ASSERT_RETURN(0u == this->_boBountTarget, false,
                          "Buffer Object is already bound on bind to target %d", this->_boBountTarget);
        ZEL_ASSERT_RETURN(0u != this->_target, false,
                          "Buffer Object's target is not set when bind() is called");
        ZEL_ASSERT_RETURN(0u != bufferObjectBound->_boBountTarget, false,
                          "Bound Buffer Object is not already bound to target %d",
                          bufferObjectBound->_boBountTarget);
        ZEL_ASSERT_RETURN(_target == bufferObjectBound->_boBountTarget, false,
                          "Bound Buffer Object target %d is not the same target %d", this->_boBountTarget,
                          bufferObjectBound->_boBountTarget);
        ZEL_ASSERT_RETURN(_useBindBufferRange == bufferObjectBound->_useBindBufferRange, false,
                          "Bound BO useRange does not match the rebind Buffer Object");
    }
    bufferObjectBound->_boBountTarget = 0; // before the next line: with \a force both may be the same object
    _boBountTarget = _target;
    // The GL call comes last, so that nothing must be saved across it: variant baseinstance of draw_zel.
    if (_useBindBufferRange) {
        glBindBufferRange(_target, _range->index, _bo, _range->offset, _range->size);
        // Two objects can wrap the same name.
    } else if (force || _bo != bufferObjectBound->_bo) {
        glBindBuffer(_target, _bo);
    }
    return true;
}

bool BufferObject::upload(const float *data, int valueCount, unsigned int usage)
{
    return uploadValues(data, valueCount, usage, sizeof(float));
}

bool BufferObject::upload(const QVector<float> &data, unsigned int usage)
{
    return upload(data.constData(), data.size(), usage);
}

bool BufferObject::uploadGLuintData(const unsigned int *data, int valueCount, unsigned int usage)
{
    return uploadValues(data, valueCount, usage, sizeof(unsigned int));
}

bool BufferObject::uploadGLushortData(const unsigned short *data, int valueCount, unsigned int usage)
{
    return uploadValues(data, valueCount, usage, sizeof(unsigned short));
}

bool BufferObject::uploadArbitraryData(const void *data, int valueCount, unsigned int usage,
                                       unsigned long valueSize)
{
    if (!isUploadPossible(valueCount)) {
        return false;
    }
    ZEL_ASSERT_RETURN(0 != valueSize, false, "Buffer Object needs more and 0 value size during upload");
    if (_storage) {
        // Immutable storage cannot be specified again.
        namedBufferSubData(_bo, 0, byteCount(valueCount, valueSize), data);
    } else if (!specify(data, valueCount, usage, valueSize)) {
        return false;
    }
    remember(valueCount, valueSize);
    return true;
}

bool BufferObject::subUpload(const float *data, int valueCount, int valueOffset)
{
    const qint64 offset = valueOffset; // wide enough for the sum below
    ZEL_ASSERT_RETURN(0u != this->_bo, false, "Buffer Object is NULL on upload");
    ZEL_ASSERT_RETURN(0u != this->_boBountTarget, false, "Buffer Object is not bound on upload");
    ZEL_ASSERT_RETURN(0 != valueCount, false, "Buffer Object needs more and 0 values during upload");
    ZEL_ASSERT_RETURN(0 < valueCount, false, "Buffer Object needs more and 0 values during upload");
    ZEL_ASSERT_RETURN(0 <= offset, false, "Buffer Object is not large enough to hold data");
    ZEL_ASSERT_RETURN(offset + valueCount <= _valueCount, false,
                      "Buffer Object is not large enough to hold data");
    // Required: values are floats here, whatever _valueSize is.
    glBufferSubData(_boBountTarget, offset * GLintptr(sizeof(float)), byteCount(valueCount, sizeof(float)),
                    data);
    return true;
}

bool BufferObject::subUpload(const QVector<float> &data, int offset)
{
    return subUpload(data.constData(), data.size(), offset);
}

bool BufferObject::isBindNeededForUpload() const
{
    if (_storage) {
        return false;
    }
    // A name has no GL object until its first bind, and the named calls reject it before; the first upload shows whether there
    // was one.
    return namedBufferData == nullptr || _useBindBufferRange || _valueCount == 0;
}

void BufferObject::useStorageBuffer(int size, int flags)
{
    if (namedBufferStorage == nullptr && bufferStorage == nullptr) {
        return;
    }
    if (namedBufferSubData == nullptr) {
        return;
    }
    ZEL_ASSERT(0u != this->_bo, "Buffer Object is NULL during StorageBuffer setup");
    // By target if the driver has the call: a new name becomes a buffer only when it is bound. GL_UNIFORM_BUFFER is a scratch
    // target; see BufferObjectOwnProcessTest.EachObjectLooksAgainUntilNamedUploadsAreFoundAndStorageTakesWhatThereIs.
    if (bufferStorage != nullptr) {
        glBindBuffer(GL_UNIFORM_BUFFER, _bo);
        bufferStorage(GL_UNIFORM_BUFFER, size, nullptr, GLbitfield(flags));
        glBindBuffer(GL_UNIFORM_BUFFER, 0);
    } else {
        namedBufferStorage(_bo, size, nullptr, GLbitfield(flags));
    }
    _storage = true;
}

// By target only: glMapNamedBuffer() needs OpenGL 4.5.
void *BufferObject::map(unsigned int access)
{
    ZEL_ASSERT_RETURN(0u != this->_bo, nullptr, "Buffer Object is NULL on map");
    ZEL_ASSERT_RETURN(0u != this->_boBountTarget, nullptr, "Buffer Object is not bound on map");
    ZEL_ASSERT_RETURN(0u != this->_target, nullptr, "Buffer Object's Target is not set when map() is called");
    return glMapBuffer(_target, access);
}

bool BufferObject::unmap()
{
    // Required: the text of map(); see BufferObjectTest.WrongOrdersAreReportedAndChangeNothing.
    ZEL_ASSERT(0u != this->_bo, "Buffer Object is NULL on map");
    ZEL_ASSERT(0u != this->_boBountTarget, "Buffer Object is not bound on unmap");
    ZEL_ASSERT(0u != this->_target, "Buffer Object's target is not set when unmap() is called");
    return glUnmapBuffer(_target) != GL_FALSE;
}

unsigned int BufferObject::target() const
{
    return _target;
}

unsigned int BufferObject::getBO() const
{
    return _bo;
}

int BufferObject::valueCount() const
{
    return _valueCount;
}

unsigned long BufferObject::valueSize() const
{
    return _valueSize;
}

quint64 BufferObject::memoryEstimateCPU() const
{
    return 96;
}

quint64 BufferObject::memoryEstimateGPU() const
{
    // What was uploaded last; drivers do not report what they allocate.
    return _bo == 0 ? 0 : quint64(_valueCount) * _valueSize;
}

void BufferObject::initializeIndexedBufferObjecttargets()
{
    // Required: GL_UNIFORM_BUFFER is not in the set, although the messages name it;
    // see BufferObjectTest.EitherSetterTakesEitherKindOfTargetAndReportsTheWrongKind.
    _indexedTargets.insert(GL_ATOMIC_COUNTER_BUFFER);
}

bool BufferObject::isIndexedTarget(unsigned int target)
{
    // A static local is initialised once, also when threads call at the same time.
    static const bool isInitialized = (initializeIndexedBufferObjecttargets(), true);
    Q_UNUSED(isInitialized)
    return _indexedTargets.contains(target);
}

bool BufferObject::isUploadPossible(int valueCount) const
{
    ZEL_ASSERT_RETURN(0u != this->_bo, false, "Buffer Object is NULL on upload");
    ZEL_ASSERT_RETURN(0 != valueCount, false, "Buffer Object needs more and 0 values during upload");
    ZEL_ASSERT_RETURN(0 < valueCount, false, "Buffer Object needs more and 0 values during upload");
    return true;
}

// A bound object is filled by its target, even if the driver has the named call: see
// BufferObjectTest.EveryUploadFillsABoundObjectByTargetAndAnUnboundOneByName.
bool BufferObject::specify(const void *data, int valueCount, unsigned int usage,
                           unsigned long valueSize) const
{
    if (_boBountTarget == 0 && namedBufferData != nullptr) {
        namedBufferData(_bo, byteCount(valueCount, valueSize), data, usage);
        return true;
    }
    ZEL_ASSERT_RETURN(0u != this->_boBountTarget, false, "Buffer Object is not bound on upload");
    glBufferData(_boBountTarget, byteCount(valueCount, valueSize), data, usage);
    return true;
}

bool BufferObject::uploadValues(const void *data, int valueCount, unsigned int usage, unsigned long valueSize)
{
    if (!isUploadPossible(valueCount) || !specify(data, valueCount, usage, valueSize)) {
        return false;
    }
    remember(valueCount, valueSize);
    return true;
}

void BufferObject::remember(int valueCount, unsigned long valueSize)
{
    _valueCount = valueCount;
    _valueSize = valueSize;
}

}} // namespace Orvane::Zel
