#pragma once

#include "Bindable.h"

#include <QtCore/QObject>
#include <QtCore/QSharedPointer>
#include <QtCore/QVarLengthArray>
#include <QtCore/QVector>

#include <atomic>

namespace Orvane { namespace Zel {

class BufferObject;
class GLSLMacroProcessor;
class ShaderProgram;
class UniformBufferObject;
class VertexArrayObject;

/// GL's record of one indexed draw.
struct DrawElementsIndirectCommand
{
    quint32 count;
    quint32 instanceCount;
    quint32 firstIndex;
    quint32 baseVertex;
    quint32 baseInstance;
};

/// A draw unit: a vertex array, an optional index buffer, a primitive type, and an
/// optional list of sub-draws, the commands.
///
/// It chooses the GL calls that draw the unit, and it sets the draw ID, by which a
/// shader finds its data: getDrawID() of "ZelUtilities.glslh". Instance or command
/// i of a draw unit has the ID setDrawIDBase() + i. The uniform "u_DrawID" carries
/// the ID, with one GL draw for each ID. With useBaseInstanceDrawing() the base
/// instance carries it, with one GL draw for each unit without commands.
///
/// \snippet buffers.cpp DrawBuffers
///
/// Units:   counts are numbers of indices, vertices or instances; the offset into
///          the index buffer is in bytes.
/// Context: construct, use and delete with the same context current; draw with the
///          program and the draw unit bound.
/// Errors:  drawing a unit that is not set up logs a critical message and returns
///          false before any GL draw.
/// Source:  OpenGL 3.2 core; base instance (4.2) with ARB_shader_draw_parameters.
class ZELGL_EXPORT DrawBuffers : public QObject, public Bindable
{
    Q_OBJECT
    Q_DISABLE_COPY(DrawBuffers)

public:
    /// The record is also available as a member name of this class.
    using DrawElementsIndirectCommand = Zel::DrawElementsIndirectCommand;

    static int NumAlive();

    static bool isBaseInstanceDrawingSupported();
    /// Call it once at start, before any shader is built, and only if it is supported.
    static void useBaseInstanceDrawing(bool use);
    /// Adds the define that selects how shaders read the draw ID.
    static void setup(GLSLMacroProcessor *processor);

    /// GL draw calls, draws and indices of all units since the last query. The counts
    /// are exact while only one thread draws.
    static qint64 getAndResetTotalDrawCalls();
    static qint64 getAndResetTotalDrawBatches();
    static qint64 getAndResetTotalDrawIndices();

    explicit DrawBuffers(QObject *parent);
    ~DrawBuffers() override;

    /// Releases the vertex array and the index buffer.
    void clear();

    /// Replaces the vertex array; logs a critical message if there was one.
    void setVAO(QSharedPointer<VertexArrayObject> vao);
    /// Stores GL_QUADS too, but logs a critical message.
    void setPrimitiveType(unsigned int primitiveType);
    void setVertexCount(unsigned int count);
    /// \a indexType is GL_UNSIGNED_SHORT or GL_UNSIGNED_INT.
    void setIndexedDraw(QSharedPointer<BufferObject> indexBuffer, int indexCount, unsigned int indexType);
    void setIndexBufferOffset(unsigned long offset);
    void setDrawIDBase(int base);
    void setBaseVertex(int baseVertex);
    void setInstanceCount(int count);
    /// Copies the sub-draws. Call it after setIndexedDraw(): the offsets follow from
    /// the index type. The fields instanceCount and baseInstance are not used.
    void setDrawElementsIndirectCommands(const DrawElementsIndirectCommand *commands, int count);

    bool bind() override;
    bool unbind() override;
    /// Binds this unit instead of the one that the caller bound last, with the fewest
    /// GL calls. With null it is bind().
    bool rebind(DrawBuffers *drawBuffersBound);

    /// Whether draw() would issue anything.
    bool willDraw(ShaderProgram *program, const QVector<int> *commandIndices) const;

    /// Draws the unit, or only the commands with the given numbers, in that order.
    /// Without a program it looks "u_DrawID" up in the program that GL has in use.
    bool draw();
    bool draw(ShaderProgram *program);
    bool draw(ShaderProgram *program, const QVector<int> *commandIndices);
    /// Ignores the draw ID, the index offset and the base vertex, and counts nothing.
    bool drawInstanced(int instanceCount);
    /// The variants that draw() chooses from. drawBaseInstance() draws no commands.
    bool drawBaseInstance(const QVector<int> *commandIndices);
    bool drawDrawID(ShaderProgram *program, const QVector<int> *commandIndices);
    /// Reads the buffer at GL_DRAW_INDIRECT_BUFFER. The unit does not create one, so
    /// the host must bind it first.
    bool drawMultiDrawElementsIndirect();

    /// The commands, for shaders that include "DrawElementsIndirectCommand.glslh",
    /// which declares 100 of them. The first call creates the buffer; later changes
    /// of the commands do not reach it.
    QSharedPointer<UniformBufferObject> getDrawElementsIndirectCommandsUniformBufferObject();

    // Each call counts a reference: a host that draws often keeps the result.
    QSharedPointer<VertexArrayObject> VAO() const;
    QSharedPointer<BufferObject> indexBO() const;
    int numVerts() const;
    int numIndexes() const;
    unsigned int indexType() const;
    int numDrawCommands() const;
    /// Bytes.
    quint64 memoryEstimateCPU() const;
    quint64 memoryEstimateGPU() const;

private:
    friend class DrawBindings; ///< reads the vertex array with each draw
    class ZELGL_NO_EXPORT DrawID;

    ZELGL_NO_EXPORT bool isDrawPossible() const;
    ZELGL_NO_EXPORT bool isIndexSetUp() const;
    ZELGL_NO_EXPORT bool isVertexSetUp() const;
    ZELGL_NO_EXPORT bool areCommandNumbers(const QVector<int> &commandIndices) const;
    ZELGL_NO_EXPORT bool drawCommands(DrawID drawID, const QVector<int> *commandIndices) const;
    ZELGL_NO_EXPORT bool drawSeveralCommands(DrawID drawID, const QVector<int> *commandIndices) const;
    ZELGL_NO_EXPORT int drawCommand(DrawID drawID, int number) const;
    ZELGL_NO_EXPORT bool drawInstances(DrawID drawID) const;
    ZELGL_NO_EXPORT bool drawElements(DrawID drawID) const;
    ZELGL_NO_EXPORT bool drawArrays(DrawID drawID) const;
    ZELGL_NO_EXPORT bool switchIndexBuffer(DrawBuffers *drawBuffersBound, bool vaoChanged) const;

    ZELGL_NO_EXPORT static std::atomic<int> _numAlive;
    ZELGL_NO_EXPORT static bool _useBaseInstance;

    // The fields that a draw reads come first, so that they share few cache lines.
    unsigned int _primitiveType; ///< -1: not set
    unsigned int _indexType = 0;
    int _drawIDBase = 0;
    int _commandsCount = 0;
    QSharedPointer<VertexArrayObject> _vao;
    QSharedPointer<BufferObject> _boIndex;
    QVarLengthArray<DrawElementsIndirectCommand, 1> _commands; ///< a single one is stored in the unit itself
    quint64 _commandIndexSize = 0; ///< bytes; from the index type when they were set
    bool _useMultiDrawIndirect = false;
    int _indexCount = 0;
    int _vertexCount = 0;
    int _baseVertex = 0;
    int _instanceCount = 1;
    quint64 _indexBufferOffset = 0;
    QSharedPointer<BufferObject> _boIndirect; ///< never set: no function creates it
    QSharedPointer<UniformBufferObject> _commandsUniformBufferObject;
};

}} // namespace Orvane::Zel
