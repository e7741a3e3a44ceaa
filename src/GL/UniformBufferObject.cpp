#include "UniformBufferObject.h"

#include "BufferObject.h"
#include "GLUtilities.h"
#include "ShaderProgram.h"
#include "private/ContextState.h"
#include "private/GLValues.h"
#include "private/Hints.h"
#include "private/LinkNumber.h"

#include <algorithm>

namespace Orvane { namespace Zel {

namespace {

constexpr unsigned int kInvalidBinding = NumberSet::kNone; ///< 0xFFFFFFFF

/// Returns the limit of the context. Without storage blocks theirs is 0, and no query is made: every bindBatchStart() needs it.
int maxBindingsOf(unsigned int target)
{
    if (target == GL_UNIFORM_BUFFER) {
        return integerFromGL(GL_MAX_UNIFORM_BUFFER_BINDINGS);
    }
    const bool hasStorageBlocks =
        openGlVersionSupported(4, 3) || hasGLExtension("GL_ARB_shader_storage_buffer_object");
    return hasStorageBlocks ? integerFromGL(GL_MAX_SHADER_STORAGE_BUFFER_BINDINGS) : 0;
}

using UBOContextData = BindingPoints;

void recordInBatch(UBOContextData &points, unsigned int binding)
{
    points.batchFirst = std::min(points.batchFirst, int(binding));
    points.batchLast = std::max(points.batchLast, int(binding));
}

void startBatch(UBOContextData &points)
{
    points.batchFirst = points.maxBindings;
    points.batchLast = -1;
}

void flushBatch(UBOContextData &points)
{
    if (points.batchLast != -1 && points.glBindBuffersBase != nullptr) {
        points.glBindBuffersBase(points.target, GLuint(points.batchFirst),
                                 points.batchLast - points.batchFirst + 1,
                                 points.bufferIDs.data() + points.batchFirst);
    } else if (points.batchLast != -1) {
        // The whole range, untouched points included, as glBindBuffersBase() binds it; see
        // UniformBufferObjectOwnProcessTest.ABatchIsOneCallForEachKindOrOneForEachPointOfItsRange.
        for (int binding = points.batchFirst; binding <= points.batchLast; ++binding) {
            glBindBufferBase(points.target, GLuint(binding), points.bufferIDs[size_t(binding)]);
        }
    }
    points.batchFirst = -1;
    points.batchLast = -1;
}

UBOContextData &makePoints(std::optional<UBOContextData> &made, unsigned int target)
{
    const bool isStorage = target == GL_SHADER_STORAGE_BUFFER;
    UBOContextData &points = made.emplace();
    points.target = target;
    points.maxBindings = maxBindingsOf(target);
    // By point, as glBindBuffersBase() reads a range of names.
    points.bufferIDs.assign(size_t(std::max(points.maxBindings, 0)), 0);
    points.availableBindings.fill(points.maxBindings);
    points._boundUniformBufferObjectCounts.reserve(points.maxBindings); // each buffer in use holds a point
    points.glBindBuffersBase =
        reinterpret_cast<PFNGLBINDBUFFERSBASEPROC>(getGLProcAddress("glBindBuffersBase", false));
    if (isStorage) {
        getGLProcAddress("glShaderStorageBlockBinding",
                         false); // ShaderProgram calls it; this reports its lack
    }
    return points;
}

inline UBOContextData &contextData(unsigned int target)
{
    if (target != GL_UNIFORM_BUFFER && target != GL_SHADER_STORAGE_BUFFER) {
        ZEL_BARE_DEBUG("Unknown Uniforma b uffer type 0x%X", target);
        target = GL_UNIFORM_BUFFER;
    }
    ContextState &state = ContextState::current();
    auto &points = target == GL_SHADER_STORAGE_BUFFER ? state.storagePoints : state.uniformPoints;
    return points ? *points : makePoints(points, target);
}

} // namespace

std::atomic<int> UniformBufferObject::_numAlive{0};

int UniformBufferObject::NumAlive()
{
    return _numAlive.load(std::memory_order_relaxed);
}

int UniformBufferObject::maxUniformBlockBindings()
{
    return contextData(GL_UNIFORM_BUFFER).maxBindings;
}

void UniformBufferObject::bindBatchStart()
{
    startBatch(contextData(GL_UNIFORM_BUFFER));
    startBatch(contextData(GL_SHADER_STORAGE_BUFFER));
}

void UniformBufferObject::bindBatchFlush()
{
    flushBatch(contextData(GL_UNIFORM_BUFFER));
    flushBatch(contextData(GL_SHADER_STORAGE_BUFFER));
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

/// The index of the block, as a signed number: -1 if the program is null or does not have the block.
inline int UniformBufferObject::blockIndex(const ShaderProgram *program, unsigned int target)
{
    if (program == nullptr) {
        return -1;
    }
    const quint64 link = linkNumberOf(*program);
    const bool isKnown = link == _knownLink && link != 0 && target == _knownTarget;
    return isKnown ? _knownIndex : findBlockIndex(program, target);
}

// Inlined, the search costs each bind in the variant sceneowntokens of draw_zel three instructions.
ZELGL_COLD_PATH int UniformBufferObject::findBlockIndex(const ShaderProgram *program, unsigned int target)
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
    const unsigned int target = uboContextData.target;
    const unsigned int bufferObjectID = _bufferObject->getBO();
    const int index = blockIndex(program, target);

    // 1. A buffer that is bound already keeps its point.
    auto &uses = uboContextData._boundUniformBufferObjectCounts;
    // By name of the buffer, not by block: several blocks of a program, and several programs, share one point; see
    // UniformBufferObjectTest.ABufferHoldsItsPointUntilItsLastUserIsGone.
    if (NameTable::Use *const use = uses.find(bufferObjectID)) {
        if (index >= 0) {
            program->setTypeBlockBinding(target, unsigned(index), use->number);
        }
        ++use->count;
        return true;
    }

    // 2. A free point. The program still has the point of its last bind, which saves a glUniformBlockBinding().
    const unsigned int previous =
        index >= 0 ? program->getTypeBlockBinding(target, unsigned(index)) : kInvalidBinding;
    const bool takesPrevious =
        previous != kInvalidBinding && uboContextData.availableBindings.contains(previous);
    const unsigned int binding = takesPrevious ? previous : uboContextData.availableBindings.lowest();
    if (binding == kInvalidBinding) {
        ZEL_LOG_WARNING("There is no available uniformBlockBindings");
        return false;
    }
    uboContextData.availableBindings.remove(binding);
    uses.insert(bufferObjectID, binding);
    uboContextData.bufferIDs[binding] = bufferObjectID;

    // 3. The bind. In a batch only the point is recorded: one call binds all of them at the flush; see
    // UniformBufferObjectOwnProcessTest.ABatchIsOneCallForEachKindOrOneForEachPointOfItsRange.
    if (uboContextData.batchFirst == -1) {
        ZEL_ASSERT(_bufferObject->valueCount() * _bufferObject->valueSize() != 0,
                   "glBindBufferRange() cannot take 0 as a size (%d,%d)", _bufferObject->valueCount(),
                   int(_bufferObject->valueSize()));
        glBindBufferBase(target, binding, bufferObjectID);
    } else {
        recordInBatch(uboContextData, binding);
    }
    // 4. The block of the program, unless it has this point from before.
    if (index >= 0 && !takesPrevious) {
        program->setTypeBlockBinding(target, unsigned(index), binding);
    }
    return true;
}

// The program keeps the point of its block, so that the next bind() can acquire the same one; see
// UniformBufferObjectTest.AProgramKeepsThePointsOfItsBlocks.
bool UniformBufferObject::unbind(ShaderProgram *)
{
    ZEL_ASSERT_RETURN(!this->_bufferObject.isNull(), false,
                      "m_bufferObject is NULL on bind()"); // required: the message names bind()
    UBOContextData &uboContextData = contextData(_bufferObject->target());
    const unsigned int bufferObjectID = _bufferObject->getBO();
    auto &uses = uboContextData._boundUniformBufferObjectCounts;
    NameTable::Use *const use = uses.find(bufferObjectID);
    if (use == nullptr || --use->count != 0) {
        return true;
    }
    const unsigned int binding = use->number;
    // Not in a batch: a released point may be acquired again before the flush, which then binds the new buffer.
    glBindBufferBase(uboContextData.target, binding, 0);
    uses.remove(use);
    uboContextData.availableBindings.insert(binding);
    uboContextData.bufferIDs[binding] = 0;
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
    return uboContextData._boundUniformBufferObjectCounts.find(bufferObjectID)->number;
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
