#include "DrawBuffers.h"

#include "AutoBinder.h"
#include "BufferObject.h"
#include "GLSLMacroProcessor.h"
#include "GLUtilities.h"
#include "OpenGLDeviceContext.h"
#include "ShaderProgram.h"
#include "UniformBufferObject.h"
#include "VertexArrayObject.h"
#include "private/EntryPoint.h"
#include "private/GLValues.h"
#include "private/Hints.h"

#include <algorithm>
#include <numeric>

namespace Orvane { namespace Zel {

namespace {

static_assert(sizeof(DrawElementsIndirectCommand) == 20, "GL reads the records at this stride");

/// One command in the std140 layout of "DrawElementsIndirectCommand.glslh".
struct Std140Command
{
    DrawElementsIndirectCommand command;
    quint32 padding[3];
};
static_assert(sizeof(Std140Command) == 32, "std140 rounds the stride of an array of structs up to 16");

EntryPoint<PFNGLDRAWARRAYSINSTANCEDBASEINSTANCEPROC> drawArraysInstancedBaseInstance;
EntryPoint<PFNGLDRAWELEMENTSINSTANCEDBASEVERTEXBASEINSTANCEPROC> drawElementsInstancedBaseVertexBaseInstance;

/// Draws, and their indices, of all units since the start of the process. Almost every draw is a GL call of its own, so that
/// draws and calls share a count: a second one costs three instructions a draw.
std::atomic<qint64> draws{0};
std::atomic<qint64> indices{0};
std::atomic<qint64> drawsWithoutOwnCall{0}; ///< the others of a call with several draws

/// Load and store are separate: with three locked instructions a draw takes 17 ns instead of 4 ns. If two threads draw at the
/// same time, a draw may not be counted.
void add(std::atomic<qint64> &total, qint64 count)
{
    total.store(total.load(std::memory_order_relaxed) + count, std::memory_order_relaxed);
}

/// What has been added to \a total since the last query. A query changes no count, so that it loses no draw of another thread.
qint64 sinceLastQuery(qint64 total, std::atomic<qint64> &totalAtLastQuery)
{
    return total - totalAtLastQuery.exchange(total, std::memory_order_relaxed);
}

bool hasBaseInstanceEntryPoints()
{
    return drawArraysInstancedBaseInstance.lookUpIfMissing("glDrawArraysInstancedBaseInstance")
           && drawElementsInstancedBaseVertexBaseInstance.lookUpIfMissing(
               "glDrawElementsInstancedBaseVertexBaseInstance");
}

} // namespace

/// The uniform "u_DrawID" of the program of one draw. If the program has none, set() makes no GL call.
class DrawBuffers::DrawID
{
public:
    explicit DrawID(ShaderProgram *program)
        : _program(program)
        , _location(program != nullptr ? program->getUniformLocationNameID() : locationInCurrentProgram())
    {
    }

    void set(int base, int number) const
    {
        // A program without the uniform may read the ID from an attribute, or not at all; see
        // DrawBuffersOwnProcessTest.RandomUnitsAreDrawnByTheCallsOfTheirSettingsOrRefused.
        if (_location < 0) {
            return;
        }
        const unsigned int id = unsigned(base) + unsigned(number);
        if (_program != nullptr) {
            _program->setUniform(_location, id);
        } else {
            glUniform1ui(_location, id);
        }
    }

private:
    ZELGL_COLD_PATH static int locationInCurrentProgram()
    {
        return glGetUniformLocation(GLuint(integerFromGL(GL_CURRENT_PROGRAM)), "u_DrawID");
    }

    ShaderProgram *_program;
    int _location;
};

std::atomic<int> DrawBuffers::_numAlive{0};
bool DrawBuffers::_useBaseInstance = false;

int DrawBuffers::NumAlive()
{
    return _numAlive.load(std::memory_order_relaxed);
}

bool DrawBuffers::isBaseInstanceDrawingSupported()
{
    return hasBaseInstanceEntryPoints() && hasGLExtension("GL_ARB_shader_draw_parameters");
}

void DrawBuffers::useBaseInstanceDrawing(bool use)
{
    // One flag for all units: the define of setup() has compiled it into the shaders.
    _useBaseInstance = use;
}

void DrawBuffers::setup(GLSLMacroProcessor *processor)
{
    if (processor != nullptr && _useBaseInstance) {
        processor->addDefine(QStringLiteral("DRAW_BUFFER_USE_BASE_INSTANCE"), QStringLiteral("1"));
    }
}

qint64 DrawBuffers::getAndResetTotalDrawCalls()
{
    static std::atomic<qint64> atLastQuery{0};
    return sinceLastQuery(draws - drawsWithoutOwnCall, atLastQuery);
}

qint64 DrawBuffers::getAndResetTotalDrawBatches()
{
    static std::atomic<qint64> atLastQuery{0};
    return sinceLastQuery(draws, atLastQuery);
}

qint64 DrawBuffers::getAndResetTotalDrawIndices()
{
    static std::atomic<qint64> atLastQuery{0};
    return sinceLastQuery(indices, atLastQuery);
}

DrawBuffers::DrawBuffers(QObject *parent)
    : QObject(parent)
    , _primitiveType(GLenum(-1))
{
    _numAlive.fetch_add(1, std::memory_order_relaxed);
}

DrawBuffers::~DrawBuffers()
{
    _numAlive.fetch_sub(1, std::memory_order_relaxed);
}

void DrawBuffers::clear()
{
    _vao.clear();
    _boIndex.clear();
}

void DrawBuffers::setVAO(QSharedPointer<VertexArrayObject> vao)
{
    ZEL_ASSERT(true == this->_vao.isNull(), "Vertex Array Object is already set");
    _vao = vao;
}

void DrawBuffers::setPrimitiveType(unsigned int primitiveType)
{
    ZEL_ASSERT(GL_QUADS != primitiveType, "GL_QUADS is not allowed");
    _primitiveType = primitiveType;
}

void DrawBuffers::setVertexCount(unsigned int count)
{
    _vertexCount = int(count);
}

void DrawBuffers::setIndexedDraw(QSharedPointer<BufferObject> indexBuffer, int indexCount,
                                 unsigned int indexType)
{
    _boIndex = indexBuffer;
    _indexCount = indexCount;
    _indexType = indexType;
}

void DrawBuffers::setIndexBufferOffset(unsigned long offset)
{
    _indexBufferOffset = offset;
}

void DrawBuffers::setDrawIDBase(int base)
{
    _drawIDBase = base;
}

void DrawBuffers::setBaseVertex(int baseVertex)
{
    _baseVertex = baseVertex;
}

void DrawBuffers::setInstanceCount(int count)
{
    _instanceCount = count;
}

void DrawBuffers::setDrawElementsIndirectCommands(const DrawElementsIndirectCommand *commands, int count)
{
    _commandsCount = commands != nullptr ? std::max(count, 0) : 0;
    // A copy, because the host may change or free its records before the next draw.
    _commands.resize(_commandsCount);
    std::copy_n(commands, _commandsCount, _commands.begin());
    _commandIndexSize = quint64(bytesFromInternalFormat(_indexType));
    _useMultiDrawIndirect = false;
}

bool DrawBuffers::bind()
{
    ZEL_ASSERT_RETURN(!this->_vao.isNull(), false, "Vertex Array Object is NULL on bind");
    // The vertex array comes first: the binding of the index buffer is part of its state.
    if (!_vao->bind()) {
        return false;
    }
    if (!_boIndex.isNull() && !_boIndex->bind()) {
        _vao->unbind();
        return false;
    }
    return true;
}

bool DrawBuffers::unbind()
{
    if (!_boIndex.isNull()) {
        _boIndex->unbind();
    }
    // A missing one is not reported: bind() has reported it.
    if (!_vao.isNull()) {
        _vao->unbind();
    }
    return true;
}

bool DrawBuffers::rebind(DrawBuffers *drawBuffersBound)
{
    ZEL_ASSERT_RETURN(!this->_vao.isNull(), false, "Vertex Array Object is NULL on rebind");
    // Without the checks of bind(), which would report that the unit is bound.
    if (drawBuffersBound == this) {
        return true;
    }
    if (drawBuffersBound == nullptr) {
        return bind();
    }
    ZEL_ASSERT_RETURN(!drawBuffersBound->_vao.isNull(), false, "Vertex Array Object is NULL on rebind");
    bool didBind = false;
    if (!_vao->rebind(drawBuffersBound->_vao.data(), didBind)) {
        return false;
    }
    // A failed switch leaves no vertex array bound, as a failed bind() does; see
    // DrawBuffersTest.AFailedIndexBufferLeavesNoVertexArrayBound.
    if (!switchIndexBuffer(drawBuffersBound, didBind)) {
        _vao->unbind();
        return false;
    }
    return true;
}

bool DrawBuffers::willDraw(ShaderProgram *, const QVector<int> *commandIndices) const
{
    if (_useMultiDrawIndirect) {
        return _commandsCount != 0;
    }
    if (_commandsCount != 0) {
        // An empty list selects nothing, a missing one everything.
        return commandIndices == nullptr || !commandIndices->isEmpty();
    }
    return _boIndex.isNull() ? _vertexCount != 0 : _indexCount != 0;
}

bool DrawBuffers::draw()
{
    return draw(nullptr, nullptr);
}

bool DrawBuffers::draw(ShaderProgram *program)
{
    return draw(program, nullptr);
}

// In the order of precedence: indirect commands, then the base instance, then the uniform.
bool DrawBuffers::draw(ShaderProgram *program, const QVector<int> *commandIndices)
{
    if (!isDrawPossible()) {
        return false;
    }
    if (_useMultiDrawIndirect) {
        return drawMultiDrawElementsIndirect();
    }
    if (_useBaseInstance) {
        return drawBaseInstance(commandIndices);
    }
    return drawDrawID(program, commandIndices);
}

bool DrawBuffers::drawInstanced(int instanceCount)
{
    if (!isDrawPossible()) {
        return false;
    }
    if (!_boIndex.isNull()) {
        if (!isIndexSetUp()) {
            return false;
        }
        // Required: offset 0 and no base vertex, whatever the unit has; see
        // DrawBuffersOwnProcessTest.RandomUnitsAreDrawnByTheCallsOfTheirSettingsOrRefused.
        glDrawElementsInstanced(_primitiveType, _indexCount, _indexType, nullptr, instanceCount);
        return true;
    }
    if (!isVertexSetUp()) {
        return false;
    }
    glDrawArraysInstanced(_primitiveType, 0, _vertexCount, instanceCount);
    return true;
}

bool DrawBuffers::drawBaseInstance(const QVector<int> *)
{
    if (_commandsCount != 0) {
        ZEL_BARE_DEBUG("##### COMMAND COUNT"); // only drawDrawID() draws commands
        return false;
    }
    ZEL_ASSERT_RETURN(hasBaseInstanceEntryPoints(), false, "The driver has no base instance drawing");
    if (!_boIndex.isNull()) {
        // Read before the checks: the compiler does not keep the fields that they read across an atomic load.
        const PFNGLDRAWELEMENTSINSTANCEDBASEVERTEXBASEINSTANCEPROC drawIndexed =
            drawElementsInstancedBaseVertexBaseInstance;
        if (!isIndexSetUp()) {
            return false;
        }
        drawIndexed(_primitiveType, _indexCount, _indexType, bufferOffset(_indexBufferOffset), _instanceCount,
                    _baseVertex, GLuint(_drawIDBase));
        // Required: the indices count once, whatever the number of instances; see
        // DrawBuffersOwnProcessTest.RandomUnitsAreDrawnByTheCallsOfTheirSettingsOrRefused.
        add(indices, _indexCount);
    } else {
        if (!isVertexSetUp()) {
            return false;
        }
        drawArraysInstancedBaseInstance(_primitiveType, _baseVertex, _vertexCount, _instanceCount,
                                        GLuint(_drawIDBase));
    }
    add(draws, 1);
    return true;
}

// What it calls for anything but a single command is not inlined: that saves such a draw 7 of 55 instructions in the variant
// sceneshared of draw_zel.
bool DrawBuffers::drawDrawID(ShaderProgram *program, const QVector<int> *commandIndices)
{
    const DrawID drawID(program);
    if (_commandsCount != 0) {
        return drawCommands(drawID, commandIndices);
    }
    return drawInstances(drawID);
}

bool DrawBuffers::drawMultiDrawElementsIndirect()
{
    ZEL_ASSERT_RETURN(0 != this->_commandsCount, false,
                      "DrawElementsIndirectCommandsCount is not set on draw");
    ZEL_ASSERT_RETURN(0 != this->_indexType, false, "Index type is not setup on draw");
    ZEL_ASSERT_RETURN(false == this->_boIndex.isNull(), false, "Index buffer object is not set on draw");
    ZEL_ASSERT_RETURN(nullptr != glMultiDrawElementsIndirect, false, "The driver has no indirect drawing");
    // Null in every unit, and then the binder does nothing; see
    // DrawBuffersTest.TheIndirectPathIsDormantUntilTheHostBindsABuffer.
    const AutoBinder binder(_boIndirect.data());
    // The host may have bound a buffer of commands. Without one GL would read the commands from the host's memory, at null.
    const GLint indirectBuffer = integerFromGL(GL_DRAW_INDIRECT_BUFFER_BINDING);
    ZEL_ASSERT_RETURN(0 != indirectBuffer, false, "Indirect buffer object is not set on draw");
    glMultiDrawElementsIndirect(_primitiveType, _indexType, nullptr, _commandsCount,
                                sizeof(DrawElementsIndirectCommand));
    add(draws, _commandsCount);
    add(drawsWithoutOwnCall, _commandsCount - 1);
    add(indices, std::accumulate(_commands.cbegin(), _commands.cend(), qint64(0),
                                 [](qint64 sum, const DrawElementsIndirectCommand &command) {
                                     return sum + int(command.count);
                                 }));
    return true;
}

QSharedPointer<UniformBufferObject> DrawBuffers::getDrawElementsIndirectCommandsUniformBufferObject()
{
    if (!_commandsUniformBufferObject.isNull()) {
        return _commandsUniformBufferObject;
    }
    // From the factory, so that hosts that count or replace objects see these too.
    const QSharedPointer<OpenGLDeviceContext> factory = OpenGLDeviceContext::current();
    const QSharedPointer<BufferObject> buffer = factory->newBuffer();
    buffer->setTarget(GL_UNIFORM_BUFFER);
    QVector<Std140Command> records;
    records.reserve(_commandsCount);
    for (const DrawElementsIndirectCommand &command : _commands) {
        // The padding is set: undefined bytes would differ from run to run in captures of a frame.
        records.append(Std140Command{command, {0, 0, 0}});
    }
    {
        const AutoBinder binder(buffer.data());
        buffer->uploadArbitraryData(records.constData(), _commandsCount, GL_STATIC_DRAW,
                                    sizeof(Std140Command));
    }
    _commandsUniformBufferObject =
        factory->newUniformBuffer(QStringLiteral("u_DrawElementsIndirectCommandsUniform"), buffer);
    return _commandsUniformBufferObject;
}

QSharedPointer<VertexArrayObject> DrawBuffers::VAO() const
{
    return _vao;
}

QSharedPointer<BufferObject> DrawBuffers::indexBO() const
{
    return _boIndex;
}

int DrawBuffers::numVerts() const
{
    return _vertexCount;
}

int DrawBuffers::numIndexes() const
{
    return _indexCount;
}

unsigned int DrawBuffers::indexType() const
{
    return _indexType;
}

int DrawBuffers::numDrawCommands() const
{
    return _commandsCount;
}

quint64 DrawBuffers::memoryEstimateCPU() const
{
    // A fixed estimate of the object, so that hosts see the same totals with every compiler.
    quint64 bytes = 184;
    bytes += _vao.isNull() ? 0 : _vao->memoryEstimateCPU();
    bytes += _boIndex.isNull() ? 0 : _boIndex->memoryEstimateCPU();
    bytes += _boIndirect.isNull() ? 0 : _boIndirect->memoryEstimateCPU();
    // Required: 32 bytes a command, as if its count and its offset were stored beside its 20 bytes; see
    // DrawBuffersTest.CommandsReachShadersInStd140AndCountAsMemory.
    bytes += 32 * quint64(_commandsCount);
    return bytes;
}

quint64 DrawBuffers::memoryEstimateGPU() const
{
    quint64 bytes = 0;
    bytes += _vao.isNull() ? 0 : _vao->memoryEstimateGPU();
    bytes += _boIndex.isNull() ? 0 : _boIndex->memoryEstimateGPU();
    bytes += _boIndirect.isNull() ? 0 : _boIndirect->memoryEstimateGPU();
    return bytes;
}

bool DrawBuffers::isDrawPossible() const
{
    // Not the macro: its condition reads _vao. A unit without a vertex array logs what a unit with an unbound one logs.
    if (_vao.isNull()) {
        ZEL_LOG_CRITICAL("[ !! ] Assertion 'true == this->_vao->isBound()' failed: "
                         "Vertex Array Object is not bound on draw");
        return false;
    }
    ZEL_ASSERT_RETURN(true == this->_vao->isBound(), false, "Vertex Array Object is not bound on draw");
    ZEL_ASSERT_RETURN(GLenum(-1) != this->_primitiveType, false, "Primitive type is not setup on draw");
    return true;
}

bool DrawBuffers::isIndexSetUp() const
{
    ZEL_ASSERT_RETURN(0 != this->_indexType, false, "Index type is not setup on draw");
    ZEL_ASSERT_RETURN(0 != this->_indexCount, false, "Index count is not setup on draw");
    return true;
}

bool DrawBuffers::isVertexSetUp() const
{
    // Required: the text says "Index" here too; see
    // DrawBuffersOwnProcessTest.RandomUnitsAreDrawnByTheCallsOfTheirSettingsOrRefused.
    ZEL_ASSERT_RETURN(0 != this->_vertexCount, false, "Index count is not setup on draw");
    return true;
}

bool DrawBuffers::areCommandNumbers(const QVector<int> &commandIndices) const
{
    for (const int number : commandIndices) {
        ZEL_ASSERT_RETURN(unsigned(number) < unsigned(this->_commandsCount), false,
                          "Command %d is not one of the %d commands", number, _commandsCount);
    }
    return true;
}

inline bool DrawBuffers::drawCommands(DrawID drawID, const QVector<int> *commandIndices) const
{
    // Without an index buffer GL would take the offset as an address in the host's memory.
    ZEL_ASSERT_RETURN(false == this->_boIndex.isNull(), false, "Index buffer object is not set on draw");
    if (commandIndices != nullptr || _commandsCount != 1) {
        return drawSeveralCommands(drawID, commandIndices);
    }
    add(indices, drawCommand(drawID, 0));
    add(draws, 1);
    return true;
}

ZELGL_COLD_PATH bool DrawBuffers::drawSeveralCommands(DrawID drawID, const QVector<int> *commandIndices) const
{
    // All numbers are checked first, so that a wrong one leaves nothing drawn.
    if (commandIndices != nullptr && !areCommandNumbers(*commandIndices)) {
        return false;
    }
    const int n = commandIndices != nullptr ? commandIndices->size() : _commandsCount;
    const int *numbers = commandIndices != nullptr ? commandIndices->constData() : nullptr;
    qint64 indexCount = 0;
    for (int i = 0; i < n; ++i) {
        indexCount += drawCommand(drawID, numbers != nullptr ? numbers[i] : i);
    }
    add(indices, indexCount);
    add(draws, n);
    return true;
}

/// Returns the number of indices. The caller counts, so that a loop counts once.
inline int DrawBuffers::drawCommand(DrawID drawID, int number) const
{
    const DrawElementsIndirectCommand &command = _commands.constData()[number];
    const int count = int(command.count);
    drawID.set(_drawIDBase, number);
    glDrawElementsBaseVertex(_primitiveType, count, _indexType,
                             bufferOffset(command.firstIndex * _commandIndexSize), int(command.baseVertex));
    return count;
}

ZELGL_COLD_PATH bool DrawBuffers::drawInstances(DrawID drawID) const
{
    return _boIndex.isNull() ? drawArrays(drawID) : drawElements(drawID);
}

bool DrawBuffers::drawElements(DrawID drawID) const
{
    if (!isIndexSetUp()) {
        return false;
    }
    const void *offset = bufferOffset(_indexBufferOffset);
    for (int i = 0; i < _instanceCount; ++i) {
        drawID.set(_drawIDBase, i);
        if (_baseVertex != 0) {
            glDrawElementsBaseVertex(_primitiveType, _indexCount, _indexType, offset, _baseVertex);
        } else {
            glDrawElements(_primitiveType, _indexCount, _indexType, offset);
        }
        add(draws, 1);
        add(indices, _indexCount);
    }
    return true;
}

bool DrawBuffers::drawArrays(DrawID drawID) const
{
    if (!isVertexSetUp()) {
        return false;
    }
    for (int i = 0; i < _instanceCount; ++i) {
        drawID.set(_drawIDBase, i);
        glDrawArrays(_primitiveType, 0, _vertexCount);
        add(draws, 1);
    }
    return true;
}

bool DrawBuffers::switchIndexBuffer(DrawBuffers *drawBuffersBound, bool vaoChanged) const
{
    // The binding of the index buffer is state of the vertex array: after a change of vertex array even the same buffer must
    // be bound again.
    if (!_boIndex.isNull()) {
        return _boIndex->rebind(drawBuffersBound->_boIndex.data(), vaoChanged);
    }
    return drawBuffersBound->_boIndex.isNull() || drawBuffersBound->_boIndex->unbind();
}

}} // namespace Orvane::Zel
