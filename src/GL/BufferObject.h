#pragma once

#include "Bindable.h"

#include <QtCore/QObject>
#include <QtCore/QSet>
#include <QtCore/QVector>

#include <atomic>
#include <memory>

namespace Orvane { namespace Zel {

/// One GL buffer name, with the target it goes to, whether it is bound, and how
/// many values of what size it holds.
///
/// \snippet buffers.cpp BufferObject
///
/// Units:   sizes and offsets are bytes, except where a call counts values.
/// Context: construct, use and delete with one and the same context current. The
///          bound mark belongs to the object, not to the context.
/// Errors:  a wrong order of calls is diagnosed and answered with false or null,
///          and changes nothing; GL errors are not looked at.
/// Source:  OpenGL 3.2 core; direct state access (4.5) and immutable storage (4.4)
///          where the driver has them.
///
/// The usual order: construct, which makes the name; setTarget(); bind() or
/// rebind(); upload; unbind(); delete while unbound. A managed object that is
/// deleted while bound says so and leaks its name.
class ZELGL_EXPORT BufferObject : public QObject, public Bindable
{
    Q_DISABLE_COPY(BufferObject)

public:
    /// Objects alive, of all threads, and those of them that own their GL name.
    static int NumAlive();
    static int NumAliveManaged();

    /// Makes a GL name and owns it.
    explicit BufferObject(QObject *parent);
    /// Wraps a foreign GL name, which is never deleted here.
    BufferObject(unsigned int bo, QObject *parent);
    ~BufferObject() override;

    bool create();
    /// True without a name; false, and the name stays, while bound.
    bool destroy();

    /// The target of later binds. Targets that only exist with an index are
    /// reported, and stored all the same; of these there is one,
    /// GL_ATOMIC_COUNTER_BUFFER.
    void setTarget(unsigned int target);
    /// A target with an index; bind() then binds \a size bytes from \a offset.
    /// Other targets are reported, and stored all the same.
    void setIndexedTarget(unsigned int target, unsigned int index, long offset, long size);

    bool bind() override;
    /// In the range form index 0 is unbound, whatever the index was.
    bool unbind() override;
    /// Binds this in the place of \a bufferObjectBound, the object that the caller
    /// bound last, and saves the GL call where both wrap one name. Null: bind().
    /// \a force renews a binding that GL may have lost, as with the index buffer
    /// after a change of vertex array.
    bool rebind(BufferObject *bufferObjectBound, bool force);

    /// New contents, with \a usage as glBufferData() takes it. An unbound object
    /// can be filled where the driver has direct state access; see
    /// isBindNeededForUpload(). Not for objects with storage, save the last one.
    bool upload(const float *data, int valueCount, unsigned int usage);
    bool upload(const QVector<float> &data, unsigned int usage);
    bool uploadGLuintData(const unsigned int *data, int valueCount, unsigned int usage);
    bool uploadGLushortData(const unsigned short *data, int valueCount, unsigned int usage);
    /// Values of \a valueSize bytes; the one that fills storage.
    bool uploadArbitraryData(const void *data, int valueCount, unsigned int usage, unsigned long valueSize);

    /// Overwrites floats from value number \a offset on. Needs a binding.
    bool subUpload(const float *data, int valueCount, int offset);
    bool subUpload(const QVector<float> &data, int offset);

    /// Whether to bind before an upload. True also before the first contents:
    /// drivers may refuse the named call for a name that was never bound.
    bool isBindNeededForUpload() const;
    /// Gives the name immutable storage of \a size bytes, where the driver has it.
    /// Leaves GL_UNIFORM_BUFFER unbound.
    void useStorageBuffer(int size, int flags);

    /// The contents, by glMapBuffer() on the bound object.
    void *map(unsigned int access);
    /// Unmaps even an object that it had to report: a mapping must not stay.
    bool unmap();

    unsigned int target() const;
    unsigned int getBO() const;
    /// Of the last upload.
    int valueCount() const;
    unsigned long valueSize() const;
    /// Bytes.
    quint64 memoryEstimateCPU() const;
    quint64 memoryEstimateGPU() const;

private:
    /// What glBindBufferRange() wants besides the target and the name.
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
    static QSet<unsigned int> _indexedTargets; ///< filled on first need

    // What a draw reads comes first.
    unsigned int _bo = 0;            ///< GL name; 0: none
    unsigned int _boBountTarget = 0; ///< where it is bound right now; 0: nowhere
    unsigned int _target = 0;        ///< where bind() binds it; 0: not set
    qint32 _valueCount = 0;
    quint64 _valueSize = 0;
    bool _useBindBufferRange = false; ///< bind the range below at the index below
    bool _managed = false;            ///< the name was made here and is deleted here
    bool _storage = false;            ///< immutable storage: only sub-data uploads are possible
    std::unique_ptr<Range> _range;    ///< as last set; few buffers have one
};

}} // namespace Orvane::Zel
