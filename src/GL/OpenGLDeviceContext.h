#pragma once

#include "Export.h"

#include <QtCore/QSharedPointer>

class QString;

namespace Orvane { namespace Zel {

class BufferObject;
class DrawBuffers;
class UniformBufferObject;
class VertexArrayObject;

/// The factory of GL objects, and the owner of the shared full-screen quad. Despite
/// its name there is one per process, not one per context.
///
/// A host that derives from it to create its own classes uses its own instance:
/// current() always returns an object of this class.
///
/// \snippet buffers.cpp OpenGLDeviceContext
///
/// Units:   the quad covers clip space at z = -1; texture coordinates go from 0 to
///          1, from the lower left.
/// Context: functions that create an object need one; current() needs none;
///          resetContext() needs that of the quad if there is one.
/// Errors:  none; the created objects report theirs. They have no QObject parent.
class ZELGL_EXPORT OpenGLDeviceContext
{
    Q_DISABLE_COPY(OpenGLDeviceContext)

public:
    /// Never null, from the load of the library to the exit of the process.
    static QSharedPointer<OpenGLDeviceContext> current();
    /// Releases the quad. For hosts that replace their context; call it while the old
    /// context is current and no other thread calls current().
    static void resetContext();

    OpenGLDeviceContext();
    virtual ~OpenGLDeviceContext();

    /// A buffer that creates and owns its GL name.
    virtual QSharedPointer<BufferObject> newBuffer();
    /// A buffer that wraps an existing name.
    virtual QSharedPointer<BufferObject> newBuffer(unsigned int bo);
    /// The shared quad, created by newFullscreenQuad() in the first call. Do not change
    /// it.
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
