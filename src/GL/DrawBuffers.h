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
class GPUModel;
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

/// A draw unit: a vertex array, perhaps an index buffer, a primitive type, and
/// perhaps a list of sub-draws, the commands.
///
/// It hides the ways to issue a draw, and is the source of the draw ID, by which a
/// shader finds its data: getDrawID() of "ZelUtilities.glslh". Instance or command
/// i of a unit has the ID setDrawIDBase() + i. It travels in the uniform
/// "u_DrawID", one GL call for each ID, or, with useBaseInstanceDrawing(), in the
/// base instance, one GL call for each unit without commands.
///
/// \snippet buffers.cpp DrawBuffers
///
/// Units:   counts are indices, vertices or instances; the index buffer offset is
///          bytes.
/// Context: construct, use and delete with one and the same context current; draw
///          with the program bound and the unit bound.
/// Errors:  a unit that is not set up is diagnosed and answered with false before
///          any GL draw.
/// Source:  OpenGL 3.2 core; base instance (4.2) with ARB_shader_draw_parameters.
class ZELGL_EXPORT DrawBuffers : public QObject, public Bindable
{
    Q_OBJECT
    Q_DISABLE_COPY(DrawBuffers)

public:
    /// Known by this class too.
    using DrawElementsIndirectCommand = Zel::DrawElementsIndirectCommand;

    static int NumAlive();

    static bool isBaseInstanceDrawingSupported();
    /// Once at start and before any shader is built, if supported.
    static void useBaseInstanceDrawing(bool use);
    /// Tells shaders of the way in which the draw ID travels.
    static void setup(GLSLMacroProcessor *processor);

    /// GL draw calls, draws and indices since the last query, of all units. Exact as
    /// long as one thread draws.
    static qint64 getAndResetTotalDrawCalls();
    static qint64 getAndResetTotalDrawBatches();
    static qint64 getAndResetTotalDrawIndices();

    explicit DrawBuffers(QObject *parent);
    ~DrawBuffers() override;

    /// Releases the vertex array and the index buffer.
    void clear();

    /// Replacing a vertex array is reported, and done all the same.
    void setVAO(QSharedPointer<VertexArrayObject> vao);
    /// GL_QUADS is reported, and stored all the same.
    void setPrimitiveType(unsigned int primitiveType);
    void setVertexCount(unsigned int count);
    /// \a indexType is GL_UNSIGNED_SHORT or GL_UNSIGNED_INT.
    void setIndexedDraw(QSharedPointer<BufferObject> indexBuffer, int indexCount, unsigned int indexType);
    void setIndexBufferOffset(unsigned long offset);
    void setDrawIDBase(int base);
    void setBaseVertex(int baseVertex);
    void setInstanceCount(int count);
    /// The sub-draws; copied. After setIndexedDraw(), whose index type they need.
    /// Their instanceCount and baseInstance are not used.
    void setDrawElementsIndirectCommands(const DrawElementsIndirectCommand *commands, int count);

    bool bind() override;
    bool unbind() override;
    /// Binds this in the place of the unit that the caller bound last, with the
    /// fewest GL calls; null: bind().
    bool rebind(DrawBuffers *drawBuffersBound);

    /// Whether draw() would issue anything.
    bool willDraw(ShaderProgram *program, const QVector<int> *commandIndices) const;

    /// Draws the unit, or those of its commands whose numbers are given, in that
    /// order. Without a program the one that GL has in use is asked for "u_DrawID".
    bool draw();
    bool draw(ShaderProgram *program);
    bool draw(ShaderProgram *program, const QVector<int> *commandIndices);
    /// Without draw ID, index offset, base vertex and counters.
    bool drawInstanced(int instanceCount);
    /// The ways that draw() chooses from. Base instance knows no commands.
    bool drawBaseInstance(const QVector<int> *commandIndices);
    bool drawDrawID(ShaderProgram *program, const QVector<int> *commandIndices);
    /// The indirect way reads a buffer at GL_DRAW_INDIRECT_BUFFER, which the unit does
    /// not make: only a host that bound one can call it.
    bool drawMultiDrawElementsIndirect();

    /// The commands for shaders that include "DrawElementsIndirectCommand.glslh";
    /// these see at most 100. Made at the first question and never updated.
    QSharedPointer<UniformBufferObject> getDrawElementsIndirectCommandsUniformBufferObject();

    // Each call counts a reference: a host that draws often keeps what they return.
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
    friend class GPUModel; ///< reads the vertex array with each draw
    class ZELGL_NO_EXPORT DrawID;

    ZELGL_NO_EXPORT bool isDrawPossible() const;
    ZELGL_NO_EXPORT bool isIndexSetUp() const;
    ZELGL_NO_EXPORT bool isVertexSetUp() const;
    ZELGL_NO_EXPORT bool areCommandNumbers(const QVector<int> &commandIndices) const;
    ZELGL_NO_EXPORT bool drawCommands(const DrawID &drawID, const QVector<int> *commandIndices) const;
    ZELGL_NO_EXPORT bool drawChosenCommands(const DrawID &drawID, const QVector<int> &commandIndices) const;
    ZELGL_NO_EXPORT void drawCommand(const DrawID &drawID, int number) const;
    ZELGL_NO_EXPORT bool drawElements(const DrawID &drawID) const;
    ZELGL_NO_EXPORT bool drawArrays(const DrawID &drawID) const;
    ZELGL_NO_EXPORT bool switchIndexBuffer(DrawBuffers *drawBuffersBound, bool vaoChanged) const;

    static std::atomic<int> _numAlive;
    static std::atomic<qint64> _totalDrawCalls;
    static std::atomic<qint64> _totalDrawBatches;
    static std::atomic<qint64> _totalDrawIndices;
    static bool _useBaseInstance;

    // What a draw reads comes first.
    unsigned int _primitiveType; ///< -1: not set
    unsigned int _indexType = 0;
    int _drawIDBase = 0;
    int _commandsCount = 0;
    QSharedPointer<VertexArrayObject> _vao;
    QSharedPointer<BufferObject> _boIndex;
    QVarLengthArray<DrawElementsIndirectCommand, 1>
        _commands;             ///< that of a unit of one is in the unit itself
    int _commandIndexSize = 0; ///< bytes; of the index type when they were set
    bool _useMultiDrawIndirect = false;
    int _indexCount = 0;
    int _vertexCount = 0;
    int _baseVertex = 0;
    int _instanceCount = 1;
    quint64 _indexBufferOffset = 0;
    QSharedPointer<BufferObject> _boIndirect; ///< never set: the indirect path is dormant
    QSharedPointer<UniformBufferObject> _commandsUniformBufferObject;
};

}} // namespace Orvane::Zel
