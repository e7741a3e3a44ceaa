#pragma once

#include "Bindable.h"
#include "InstanceData.h"

#include <QtCore/QByteArray>
#include <QtCore/QList>
#include <QtCore/QObject>
#include <QtCore/QSharedPointer>
#include <QtCore/QVector>

namespace Orvane { namespace Zel {

class ShaderProgram;
class UniformBufferObject;

/// The items of one plan as the GPU reads them: their bytes, and the GL objects
/// that hold a copy of these. The first bind creates the GL objects; later binds
/// upload the bytes if they have changed.
///
/// \snippet instance_data.cpp InstanceDataCollection
///
/// The plan must outlive the collection.
///
/// Units:   items count from 0; sizes are bytes.
/// Context: none to construct and fill. Bind, unbind and delete with the same
///          context current.
/// Errors:  a list that is too long for the plan is reported, and stored anyway. One
///          that is too long for a data texture is reported and not uploaded to the
///          texture. Bytes outside the items are neither read nor written. Without
///          a plan, as after an unknown name, there are no items, and bind() and
///          unbind() return false.
class ZELGL_EXPORT InstanceDataCollection : public QObject, public Bindable
{
    Q_OBJECT
    Q_DISABLE_COPY(InstanceDataCollection)

public:
    /// Makes \a numItems items of zeros.
    InstanceDataCollection(InstanceDataPlan *plan, unsigned long numItems);
    /// Copies bytes that are in the plan's layout.
    InstanceDataCollection(InstanceDataPlan *plan, const char *bytes, unsigned long numBytes);
    // With a registered plan.

    InstanceDataCollection(const QString &planName, const QList<InstanceData> &items);
    explicit InstanceDataCollection(const QString &planName);
    ~InstanceDataCollection() override;

    // Replace all items, whose number may change.

    void update(const QList<InstanceData> &items);
    void update(const char *bytes, unsigned long numBytes);

    /// Sets a member of one item. \a size is not compared with the member's: more bytes continue in what follows. A name
    /// that the plan does not contain means offset 0, so that the first member is overwritten, and nothing is logged; see
    /// InstanceDataPlan::contains(). A token that is set like this is not in the list of textures, if that has been made,
    /// before the next update().
    void set(int index, const QString &name, const void *data, unsigned long size);
    void get(int index, const QString &name, void *dest) const;
    /// Copies the bytes of one member over another of the same item: as many as \a from has, even if \a to has fewer.
    void copyInstanceMember(int index, const QString &from, const QString &to);

    /// Returns the number of items.
    int size() const;
    QByteArray dataArray() const;
    InstanceDataPlan *plan() const;
    /// Makes the next bind not upload, unless bytes change before it.
    void clearDirtyStatus();

    // To be called before the first bind.

    /// Sets the usage of glBufferData(); initially GL_STATIC_DRAW.
    void setBOUsageFlags(int flags);
    /// Sets the flags of glBufferStorage(). If they are not 0, the first bind creates an immutable buffer of the size that
    /// the bytes have then; it cannot grow.
    void useStorageBuffer(int flags);

    /// Returns the buffer, which the first call creates with \a target; later calls ignore it. Null if no context is
    /// current. The name of the block is "u_" + plan + "Uniform".
    QSharedPointer<UniformBufferObject> getUniformBufferObject(unsigned int target);

    /// Uploads changed bytes, binds with the plan's mechanism, and binds the textures of the items with the manager. Returns
    /// false if the buffer cannot be created. \a program and \a textureManager may be null. The shorter forms use the
    /// current program and TextureManager::Instance().
    bool bind(ShaderProgram *program, TextureManager *textureManager);
    bool unbind(ShaderProgram *program, TextureManager *textureManager);
    bool bind(TextureManager *textureManager);
    bool unbind(TextureManager *textureManager);
    bool bind() override;
    bool unbind() override;
    /// Calls the manager's bind() with the tokens of all items. They are searched for in the bytes at the first call after
    /// update(), unless the plan has no textures. Does nothing if \a textureManager is null.
    void bindTextureTokens(TextureManager *textureManager);

    quint64 memoryEstimateCPU() const;
    quint64 memoryEstimateGPU() const;

private:
    friend class InstanceDataAccess; // for the mechanisms and the scene

    ZELGL_NO_EXPORT explicit InstanceDataCollection(InstanceDataPlan *plan);

    ZELGL_NO_EXPORT size_t itemSize() const;
    ZELGL_NO_EXPORT void assertFits(unsigned long numBytes) const;
    ZELGL_NO_EXPORT void assertFits(const QList<InstanceData> &instanceDataDataList) const;
    ZELGL_NO_EXPORT void append(const QList<InstanceData> &items);
    ZELGL_NO_EXPORT void copy(const char *bytes, unsigned long numBytes);
    ZELGL_NO_EXPORT bool fitsTexture() const;
    ZELGL_NO_EXPORT void assertFitsTexture() const;
    ZELGL_NO_EXPORT void harvestTextureTokens();
    /// Returns the position of a member of an item in the bytes, or -1 if it is not inside.
    ZELGL_NO_EXPORT qint64 position(int index, size_t offset, size_t size) const;
    ZELGL_NO_EXPORT void getBytes(int index, size_t offset, void *dest, size_t size) const;
    /// Writes at an offset of an item and sets _dirty.
    ZELGL_NO_EXPORT void setBytes(int index, size_t offset, const void *data, size_t size);
    /// Moves bytes within an item and sets _dirty.
    ZELGL_NO_EXPORT void moveBytes(int index, size_t from, size_t to, size_t size);

    bool _dirty = true;                   ///< the bytes changed since the last upload
    InstanceDataPlan *_plan = nullptr;    ///< borrowed
    QByteArray _data;                     ///< the items, without gaps
    QVector<TextureToken> _textureTokens; ///< found in the bytes; empty until the first bind
    QSharedPointer<UniformBufferObject> _uniformBufferObject;
    QSharedPointer<Texture> _textureI; ///< of the texture mechanisms, as integers
    QSharedPointer<Texture> _textureF; ///< the same as floats
    int _boUsageFlags;
    int _storageBufferFlags = 0;
};

}} // namespace Orvane::Zel
