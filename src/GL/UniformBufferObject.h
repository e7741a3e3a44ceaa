#pragma once

#include "Bindable.h"

#include <QtCore/QObject>
#include <QtCore/QSharedPointer>
#include <QtCore/QString>

#include <atomic>

namespace Orvane { namespace Zel {

class BufferObject;
class ShaderProgram;

/// A buffer tied to a named interface block of a shader.
///
/// GL has few indexed binding points and the library many buffers: each context
/// has an allocator of them. A buffer takes a point with its first bind(), keeps
/// it while it is in use, and gives it back when as many unbind() came. The target
/// of the buffer chooses the kind: GL_UNIFORM_BUFFER or GL_SHADER_STORAGE_BUFFER.
///
/// \snippet buffers.cpp UniformBufferObject
///
/// Units:   binding points count from 0, for either kind on its own.
/// Context: bind and unbind with one and the same context current; each context
///          has points of its own. A row of points stays when its context dies.
/// Errors:  reported and answered with false; a block that the program lacks is
///          no error, and the buffer is bound all the same.
/// Source:  OpenGL 3.1 uniform buffers, 4.3 storage buffers, 4.4 multi-bind.
class ZELGL_EXPORT UniformBufferObject : public QObject, public Bindable
{
    Q_OBJECT
    Q_DISABLE_COPY(UniformBufferObject)

public:
    static int NumAlive();

    /// Binding points for uniform blocks in the current context.
    static int maxUniformBlockBindings();

    /// Between the two, bind() only records; the flush then issues one GL call for
    /// each kind. Points inside the range that nobody uses are bound to 0.
    /// unbind() is never deferred.
    static void bindBatchStart();
    static void bindBatchFlush();

    /// The buffer's target should be set by now.
    UniformBufferObject(const QString &blockName, QSharedPointer<BufferObject> bufferObject, QObject *parent);
    /// Gives back no point: bind() and unbind() must be balanced by then.
    ~UniformBufferObject() override;

    /// With ShaderProgram::currentShaderProgram(); without one a warning and false.
    bool bind() override;
    bool unbind() override;
    /// With a given program; null binds the buffer alone. A point that the program
    /// knows from before is taken again if it is free: that saves GL calls.
    bool bind(ShaderProgram *program);
    bool unbind(ShaderProgram *program);

    QSharedPointer<BufferObject> bufferObject() const;
    /// The point held in the current context; 0xFFFFFFFF, and a report, without one.
    unsigned int uniformBlockBinding() const;
    /// Bytes.
    quint64 memoryEstimateCPU() const;
    quint64 memoryEstimateGPU() const;

private:
    friend class UniformBufferMechanism; ///< reads the buffer with each bind

    int blockIndex(const ShaderProgram *program, unsigned int target);
    int findBlockIndex(const ShaderProgram *program, unsigned int target);

    static std::atomic<int> _numAlive;

    QSharedPointer<BufferObject> _bufferObject;
    QString _blockName;
    quint64 _knownLink = 0;        ///< the link for which _knownIndex is valid
    unsigned int _knownTarget = 0; ///< the kind of block for which it is valid
    int _knownIndex = -1;          ///< the block's index there
};

}} // namespace Orvane::Zel
