#pragma once

#include "Bindable.h"

#include <QtCore/QHash>
#include <QtCore/QMap>
#include <QtCore/QObject>
#include <QtCore/QSharedPointer>
#include <QtCore/QString>
#include <QtCore/QVector>

#include <atomic>

namespace Orvane { namespace Zel {

class BufferObject;
class GLContextTracker;
class ShaderProgram;

/// One GL vertex array with a table of attributes by name.
///
/// Buffers are registered under GLSL attribute names ("va_Vertex").
/// enableShaderProgramArrays() connects them to the locations of a program. So one
/// vertex array serves programs of different layouts, and after a switch of program
/// only the slots whose name changed are specified again.
///
/// \snippet buffers.cpp VertexArrayObject
///
/// Units:   strides and offsets are in bytes; a value is one component, and an
///          attribute has valuesPerVertex of them, 1 to 4.
/// Context: construct, use and delete with the same context current; registering
///          and uploading use buffers only, not the GL vertex array.
/// Errors:  a wrong order of calls logs a critical message, returns false and
///          changes nothing. The same holds for a call that needs the buffer of an
///          attribute registered with null, and for a slot that GL does not have.
/// Source:  OpenGL 3.2 core, vertex array objects.
///
/// destroy() does not change the table of enabled names: call dirtyAttributeName()
/// for each name before you bind a destroyed object again.
class ZELGL_EXPORT VertexArrayObject : public QObject, public Bindable
{
    Q_DISABLE_COPY(VertexArrayObject)

public:
    /// The location and format of one attribute, as glVertexAttribPointer() takes it.
    struct ZELGL_EXPORT AttributeData
    {
        /// Sets the format of unnormalized components.
        void setVertex(int valuesPerVertex, unsigned int type);
        void setBO(QSharedPointer<BufferObject> bo);

        int _valuesPerVertex = 0;
        unsigned int _type = 0;
        bool _normalized = true;
        unsigned int _stride = 0;
        unsigned int _offset = 0;
        QSharedPointer<BufferObject> _bo;
    };

    static int NumAlive();
    /// True for GL_FLOAT, GL_HALF_FLOAT, GL_INT and the unsigned integers. False for
    /// GL_BYTE, GL_SHORT and all other types.
    static bool isTypeSupported(unsigned int type);

    /// Queries GL_MAX_VERTEX_ATTRIBS. The first bind() creates the GL name.
    explicit VertexArrayObject(QObject *parent);
    ~VertexArrayObject() override;

    bool create();
    /// Deletes the GL name. Returns true also if there is none; returns false and
    /// keeps the name while the object is bound.
    bool destroy();

    /// Creates the GL name if there is none.
    bool bind() override;
    bool unbind() override;
    /// Binds this object instead of the one that the caller bound last. With null it
    /// is bind(). \a didBind reports whether the GL binding changed: then the arrays
    /// must be enabled and the index buffer must be bound again.
    bool rebind(VertexArrayObject *vertexArrayObjectBound, bool &didBind);
    bool isBound() const;

    /// Registers a buffer, which the caller fills, under a name, and replaces an
    /// earlier one. Stores an unsupported type too, but logs a critical message.
    void registerBO(const QString &name, QSharedPointer<BufferObject> bo, int valuesPerVertex,
                    unsigned int type);
    void registerBO(const QString &name, QSharedPointer<BufferObject> bo, int valuesPerVertex,
                    unsigned int type, bool normalized, unsigned int stride, unsigned int offset);
    /// After this call the next enableArray() of the name specifies its slot again.
    void dirtyAttributeName(const QString &name);

    /// registerBO(), but returns false for a null buffer.
    bool upload(const QString &name, QSharedPointer<BufferObject> bo, int valuesPerVertex, unsigned int type);
    /// Fills the buffer with floats and registers it. \a valueCount must be a
    /// multiple of \a valuesPerVertex.
    bool upload(const QString &name, QSharedPointer<BufferObject> bo, const float *data, int valueCount,
                int valuesPerVertex, unsigned int usage);
    bool upload(const QString &name, QSharedPointer<BufferObject> bo, const QVector<float> &data,
                int valuesPerVertex, unsigned int usage);
    /// Overwrites floats of a registered attribute, beginning at value \a offset.
    bool subUpload(const QString &name, const float *data, int valueCount, int valuesPerVertex, int offset);
    bool subUpload(const QString &name, const QVector<float> &data, int valuesPerVertex, int offset);

    /// The buffer of a name; null for an unknown name.
    QSharedPointer<BufferObject> bo(const QString &name);
    /// Maps the buffer for writing. The buffer stays mapped, but not bound, until
    /// unmapBO(). Returns null for an unknown name.
    void *mapBO(const QString &name);
    void unmapBO(const QString &name);

    /// Connects a slot of the bound vertex array to an attribute. Makes no GL call if
    /// it is connected already. Disables and zeroes the slot for an unknown name.
    bool enableArray(const QString &name, int attributeIndex);
    /// Calls enableArray() for every attribute of a program. Returns true for null.
    bool enableShaderProgramArrays(const ShaderProgram *program);

    unsigned int getVAO() const;
    /// Reserved for the host. The library leaves it null.
    GLContextTracker *getContextTracker();
    /// In bytes. A buffer that two attributes share counts twice.
    quint64 memoryEstimateCPU() const;
    quint64 memoryEstimateGPU() const;

private:
    static constexpr quint64 kNoLink = ~quint64(0); ///< not 0, which programs without a link share

    ZELGL_NO_EXPORT bool enableArraysOf(const ShaderProgram &program);
    ZELGL_NO_EXPORT void setEnabledName(int attributeIndex, const QString &name);
    ZELGL_NO_EXPORT bool holdsNames(const QHash<QString, int> &locations) const;
    ZELGL_NO_EXPORT void specifyArray(const AttributeData &attribute, unsigned int attributeIndex) const;
    ZELGL_NO_EXPORT void disableArray(unsigned int attributeIndex) const;

    static std::atomic<int> _numAlive;

    unsigned int _vao = 0; ///< GL name; 0: none
    bool _vaoBound = false;
    QMap<QString, AttributeData> _attributesData;
    QVector<QString> _enabledAttributeNames; ///< by slot; empty: not connected
    quint64 _enabledLink = kNoLink;          ///< of a program whose attributes are all connected
    GLContextTracker *_contextTracker = nullptr;
};

}} // namespace Orvane::Zel
