#pragma once

#include "Export.h"

#include <QtCore/QSharedPointer>

class QString;

namespace Orvane { namespace Zel {

class BufferObject;
class DrawBuffers;
class UniformBufferObject;
class VertexArrayObject;

/// The factory of GL-backed objects, and the holder of the one worth sharing: a
/// full-screen quad. In spite of its name there is one per process, not per context.
///
/// A host that derives from it, to hand out objects of its own, uses an instance of
/// its own: current() is always a plain one.
///
/// \snippet buffers.cpp OpenGLDeviceContext
///
/// Units:   the quad covers clip space at z = -1; texture coordinates go from 0 to
///          1, from the lower left.
/// Context: current() and resetContext() need none, except for the quad that
///          resetContext() deletes; all that makes an object does.
/// Errors:  none of its own.
/// Source:  none; plain objects without a QObject parent.
class ZELGL_EXPORT OpenGLDeviceContext
{
    Q_DISABLE_COPY(OpenGLDeviceContext)

public:
    /// Never null, from library load to process exit.
    static QSharedPointer<OpenGLDeviceContext> current();
    /// Drops the quad, with its context still current; for hosts that replace their
    /// context. No other thread may be asking meanwhile.
    static void resetContext();

    OpenGLDeviceContext();
    virtual ~OpenGLDeviceContext();

    /// A buffer with a GL name of its own.
    virtual QSharedPointer<BufferObject> newBuffer();
    /// A buffer around an existing name.
    virtual QSharedPointer<BufferObject> newBuffer(unsigned int bo);
    /// The shared quad, made by newFullscreenQuad() at first need; not to be changed.
    virtual QSharedPointer<DrawBuffers> fullscreenQuad();
    /// Two triangles with the attributes "va_Vertex" and "va_TexCoord".
    virtual QSharedPointer<DrawBuffers> newFullscreenQuad();
    virtual QSharedPointer<VertexArrayObject> newVAO();
    virtual QSharedPointer<UniformBufferObject> newUniformBuffer(const QString &blockName,
                                                                 QSharedPointer<BufferObject> bufferObject);

private:
    ZELGL_NO_EXPORT QSharedPointer<BufferObject> newArrayBuffer(VertexArrayObject &vao, const QString &name,
                                                                int valuesPerVertex);

    QSharedPointer<DrawBuffers> _fullscreenQuad;
};

}} // namespace Orvane::Zel
