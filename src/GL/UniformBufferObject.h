#pragma once

#include "Bindable.h"

#include <QtCore/QObject>
#include <QtCore/QSharedPointer>
#include <QtCore/QString>

#include <atomic>

namespace Orvane { namespace Zel {

class BufferObject;
class ShaderProgram;

/// Connects a buffer with a named interface block of a shader.
///
/// GL has few indexed binding points, so each context has an allocator of them. A
/// buffer acquires a point with its first bind() and releases it with the matching
/// last unbind(). The target of the buffer selects the kind of block:
/// GL_UNIFORM_BUFFER or GL_SHADER_STORAGE_BUFFER.
///
/// \snippet buffers.cpp UniformBufferObject
///
/// Units:   binding points count from 0, separately for each kind.
/// Context: bind and unbind with the same context current; each context has its own
///          points. A new context at the address of an old one inherits its points.
/// Errors:  are logged, and the call returns false. A block that the program does
///          not have is no error: the buffer is bound anyway.
/// Source:  OpenGL 3.1 uniform buffers, 4.3 storage buffers, 4.4 multi-bind.
class ZELGL_EXPORT UniformBufferObject : public QObject, public Bindable
{
    Q_OBJECT
    Q_DISABLE_COPY(UniformBufferObject)

public:
    static int NumAlive();

    /// The number of binding points for uniform blocks in the current context.
    static int maxUniformBlockBindings();

    /// Between these two calls bind() only records; the flush then makes one GL call
    /// for each kind. It binds 0 to unused points within the range of recorded ones.
    /// unbind() is never deferred.
    static void bindBatchStart();
    static void bindBatchFlush();

    /// Set the buffer's target first.
    UniformBufferObject(const QString &blockName, QSharedPointer<BufferObject> bufferObject, QObject *parent);
    /// Releases no point: balance bind() and unbind() before.
    ~UniformBufferObject() override;

    /// Uses ShaderProgram::currentShaderProgram(). If there is none, logs a warning
    /// and returns false.
    bool bind() override;
    bool unbind() override;
    /// Uses the given program; null binds only the buffer. If the point that the
    /// program last had for the block is free, the buffer acquires it again, which
    /// saves a GL call.
    bool bind(ShaderProgram *program);
    bool unbind(ShaderProgram *program);

    QSharedPointer<BufferObject> bufferObject() const;
    /// The point in the current context. If the buffer has none, logs an assertion
    /// and returns 0xFFFFFFFF.
    unsigned int uniformBlockBinding() const;
    /// In bytes.
    quint64 memoryEstimateCPU() const;
    quint64 memoryEstimateGPU() const;

private:
    friend class InstanceDataAccess; ///< reads the buffer with each bind

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
