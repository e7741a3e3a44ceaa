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
/// Buffers are registered under GLSL attribute names ("va_Vertex"); only when a
/// program is known are they tied to its locations. So one vertex array serves
/// programs of different layouts, and a switch of program specifies again only the
/// slots whose name changed.
///
/// \snippet buffers.cpp VertexArrayObject
///
/// Units:   strides and offsets are bytes; a value is one component, and
///          valuesPerVertex of them, 1 to 4, make an attribute.
/// Context: construct, use and delete with one and the same context current;
///          registering and uploading touch buffers only.
/// Errors:  a wrong order of calls is diagnosed and answered with false, and
///          changes nothing; likewise what needs the buffer of an attribute that
///          was registered with a null one, and a slot that GL does not have.
/// Source:  OpenGL 3.2 core, vertex array objects.
///
/// destroy() leaves the table of enabled names as it was: dirty the names before a
/// destroyed object is bound again.
class ZELGL_EXPORT VertexArrayObject : public QObject, public Bindable
{
    Q_DISABLE_COPY(VertexArrayObject)

public:
    /// Where one attribute is found, as glVertexAttribPointer() takes it.
    struct ZELGL_EXPORT AttributeData
    {
        /// Tightly packed, unnormalized components.
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
    /// GL_FLOAT, GL_HALF_FLOAT, GL_INT and the unsigned integers; GL_BYTE and
    /// GL_SHORT are not among them.
    static bool isTypeSupported(unsigned int type);

    /// Makes no GL name yet, but asks the context for its number of attributes.
    explicit VertexArrayObject(QObject *parent);
    ~VertexArrayObject() override;

    bool create();
    /// True without a name; false, and the name stays, while bound.
    bool destroy();

    /// Makes the name if there is none.
    bool bind() override;
    bool unbind() override;
    /// Binds this in the place of the object that the caller bound last; null:
    /// bind(). \a didBind says whether the GL binding changed, and so whether
    /// arrays have to be enabled and the index buffer bound again.
    bool rebind(VertexArrayObject *vertexArrayObjectBound, bool &didBind);
    bool isBound() const;

    /// Ties a buffer, filled elsewhere, to a name, in the place of any before it.
    /// A type that is not supported is reported, and stored all the same.
    void registerBO(const QString &name, QSharedPointer<BufferObject> bo, int valuesPerVertex,
                    unsigned int type);
    void registerBO(const QString &name, QSharedPointer<BufferObject> bo, int valuesPerVertex,
                    unsigned int type, bool normalized, unsigned int stride, unsigned int offset);
    /// Makes the next enableArray() of this name specify its slot again.
    void dirtyAttributeName(const QString &name);

    /// registerBO() with a check of the pointer.
    bool upload(const QString &name, QSharedPointer<BufferObject> bo, int valuesPerVertex, unsigned int type);
    /// Fills the buffer with floats and registers it. The count must be a multiple
    /// of \a valuesPerVertex.
    bool upload(const QString &name, QSharedPointer<BufferObject> bo, const float *data, int valueCount,
                int valuesPerVertex, unsigned int usage);
    bool upload(const QString &name, QSharedPointer<BufferObject> bo, const QVector<float> &data,
                int valuesPerVertex, unsigned int usage);
    /// Overwrites floats of a registered attribute from value number \a offset on.
    bool subUpload(const QString &name, const float *data, int valueCount, int valuesPerVertex, int offset);
    bool subUpload(const QString &name, const QVector<float> &data, int valuesPerVertex, int offset);

    /// The buffer of a name; null for an unknown one.
    QSharedPointer<BufferObject> bo(const QString &name);
    /// The buffer's contents for writing. It stays mapped, and unbound, until
    /// unmapBO(); null for an unknown name.
    void *mapBO(const QString &name);
    void unmapBO(const QString &name);

    /// Ties a slot of the bound vertex array to an attribute. Nothing is done where
    /// it is tied already. For an unknown name the slot is disabled and zeroed.
    bool enableArray(const QString &name, int attributeIndex);
    /// The same for every attribute of a program; null is true.
    bool enableShaderProgramArrays(const ShaderProgram *program);

    unsigned int getVAO() const;
    /// Free for the host; the library leaves it null.
    GLContextTracker *getContextTracker();
    /// Bytes. A buffer that two attributes share counts twice.
    quint64 memoryEstimateCPU() const;
    quint64 memoryEstimateGPU() const;

private:
    ZELGL_NO_EXPORT bool enableArraysAt(const QHash<QString, int> &locations);
    ZELGL_NO_EXPORT void setEnabledName(int attributeIndex, const QString &name);
    ZELGL_NO_EXPORT bool holdsNames(const QHash<QString, int> &locations) const;
    ZELGL_NO_EXPORT void specifyArray(const AttributeData &attribute, unsigned int attributeIndex) const;
    ZELGL_NO_EXPORT void disableArray(unsigned int attributeIndex) const;

    static std::atomic<int> _numAlive;

    unsigned int _vao = 0; ///< GL name; 0: none
    bool _vaoBound = false;
    QMap<QString, AttributeData> _attributesData;
    QVector<QString> _enabledAttributeNames; ///< by slot; empty: tied to nothing
    QHash<QString, int> _enabledLocations;   ///< a program's attributes, while the slots hold all of them
    GLContextTracker *_contextTracker = nullptr;
};

}} // namespace Orvane::Zel
