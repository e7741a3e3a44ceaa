#pragma once

#include "Bindable.h"

#include <QtCore/QObject>
#include <QtCore/QSet>
#include <QtCore/QVector>

#include <atomic>
#include <memory>

namespace Orvane { namespace Zel {

/// A GL buffer name with its target, its binding, and the number and size of the
/// values in it.
///
/// \snippet buffers.cpp BufferObject
///
/// Units:   sizes and offsets are in bytes, except where a function counts values.
/// Context: construct, use and delete with the same context current. The object, not
///          the context, records that it is bound.
/// Errors:  a wrong order of calls logs a critical message, returns false or null,
///          and changes nothing. GL errors are not checked.
/// Source:  OpenGL 3.2 core; direct state access (4.5) and immutable storage (4.4)
///          if the driver has them.
///
/// The usual order: construct, which creates the name; setTarget(); bind() or
/// rebind(); upload; unbind(); delete while unbound. An object that owns its name
/// and is deleted while bound logs a critical message and leaks the name.
class ZELGL_EXPORT BufferObject : public QObject, public Bindable
{
    Q_DISABLE_COPY(BufferObject)

public:
    /// The number of objects, of all threads, and of those that own their GL name.
    static int NumAlive();
    static int NumAliveManaged();

    /// Creates a GL name and owns it.
    explicit BufferObject(QObject *parent);
    /// Wraps a GL name of the caller, who deletes it.
    BufferObject(unsigned int bo, QObject *parent);
    ~BufferObject() override;

    bool create();
    /// Deletes the GL name. Returns true also if there is none; returns false and
    /// keeps the name while the object is bound.
    bool destroy();

    /// Sets the target of later binds. Stores GL_ATOMIC_COUNTER_BUFFER too, the one
    /// target that needs an index, but logs a critical message.
    void setTarget(unsigned int target);
    /// Sets a target with an index; bind() then binds \a size bytes from \a offset.
    /// Stores other targets too, but logs a critical message.
    void setIndexedTarget(unsigned int target, unsigned int index, long offset, long size);

    bool bind() override;
    /// After setIndexedTarget() it unbinds index 0, whatever the index is.
    bool unbind() override;
    /// Binds this object instead of \a bufferObjectBound, which the caller bound last,
    /// and makes no GL call if both wrap the same name. With null it is bind().
    /// \a force makes the GL call anyway, for a binding that GL has dropped, such as
    /// the index buffer after a change of vertex array.
    bool rebind(BufferObject *bufferObjectBound, bool force);

    /// Replaces the contents; \a usage is that of glBufferData(). The object need not
    /// be bound if the driver has direct state access: see isBindNeededForUpload().
    /// Only uploadArbitraryData() fills an object with immutable storage.
    bool upload(const float *data, int valueCount, unsigned int usage);
    bool upload(const QVector<float> &data, unsigned int usage);
    bool uploadGLuintData(const unsigned int *data, int valueCount, unsigned int usage);
    bool uploadGLushortData(const unsigned short *data, int valueCount, unsigned int usage);
    /// The same for values of \a valueSize bytes, also into immutable storage.
    bool uploadArbitraryData(const void *data, int valueCount, unsigned int usage, unsigned long valueSize);

    /// Overwrites floats, beginning at value \a offset. The object must be bound.
    bool subUpload(const float *data, int valueCount, int offset);
    bool subUpload(const QVector<float> &data, int offset);

    /// Whether to bind before an upload. True also before the first upload: drivers
    /// may refuse the named call for a name that was never bound.
    bool isBindNeededForUpload() const;
    /// Allocates immutable storage of \a size bytes, if the driver has it. Leaves
    /// GL_UNIFORM_BUFFER unbound.
    void useStorageBuffer(int size, int flags);

    /// Maps the bound object with glMapBuffer().
    void *map(unsigned int access);
    /// Logs a critical message for a wrong order of calls, and unmaps anyway, so that
    /// no mapping remains.
    bool unmap();

    unsigned int target() const;
    unsigned int getBO() const;
    /// The number and size of the values of the last upload.
    int valueCount() const;
    unsigned long valueSize() const;
    /// In bytes.
    quint64 memoryEstimateCPU() const;
    quint64 memoryEstimateGPU() const;

private:
    /// The arguments of glBindBufferRange() besides the target and the name.
    struct Range
    {
        unsigned int index;
        qint64 offset;
        qint64 size;
    };

    ZELGL_NO_EXPORT static void initializeIndexedBufferObjecttargets();
    ZELGL_NO_EXPORT static bool isIndexedTarget(unsigned int target);

    ZELGL_NO_EXPORT bool isUploadPossible(int valueCount) const;
    ZELGL_NO_EXPORT bool specify(const void *data, int valueCount, unsigned int usage,
                                 unsigned long valueSize) const;
    ZELGL_NO_EXPORT bool uploadValues(const void *data, int valueCount, unsigned int usage,
                                      unsigned long valueSize);
    ZELGL_NO_EXPORT void remember(int valueCount, unsigned long valueSize);

    static std::atomic<int> _numAlive;
    static std::atomic<int> _numAliveManaged;
    static QSet<unsigned int> _indexedTargets; ///< filled by the first query

    // The fields that a draw reads come first, so that they share few cache lines.
    unsigned int _bo = 0;            ///< GL name; 0: none
    unsigned int _boBountTarget = 0; ///< where it is bound now; 0: not bound
    unsigned int _target = 0;        ///< where bind() binds it; 0: not set
    qint32 _valueCount = 0;
    quint64 _valueSize = 0;
    bool _useBindBufferRange = false; ///< bind the range below at the index below
    bool _managed = false;            ///< this object created the name and deletes it
    bool _storage = false;            ///< immutable storage: only sub-data uploads are possible
    std::unique_ptr<Range> _range;    ///< as last set; few buffers have one
};

}} // namespace Orvane::Zel
