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

/// The items of one plan as the GPU sees them: one run of bytes, whether it
/// changed since the last upload, and the GL objects that carry it, which the
/// first bind makes.
///
/// Units:   items count from 0; sizes are bytes.
/// Context: construct and fill anywhere; bind, unbind and delete with one and the
///          same context current.
/// Errors:  a list that is too big for the plan is reported, and stored anyway; one
///          that is too big for a data texture stays out of the texture. Bytes
///          outside the items are neither read nor written.
/// Source:  -
///
/// The plan must outlive the collection.
class ZELGL_EXPORT InstanceDataCollection : public QObject, public Bindable
{
    Q_OBJECT
    Q_DISABLE_COPY(InstanceDataCollection)

public:
    /// That many items of zeros.
    InstanceDataCollection(InstanceDataPlan *plan, unsigned long numItems);
    /// A copy of bytes that are in the plan's layout already.
    InstanceDataCollection(InstanceDataPlan *plan, const char *bytes, unsigned long numBytes);
    // By a registered plan.
    InstanceDataCollection(const QString &planName, const QList<InstanceData> &items);
    explicit InstanceDataCollection(const QString &planName);
    ~InstanceDataCollection() override;

    // New contents, the whole of them.

    void update(const QList<InstanceData> &items);
    void update(const char *bytes, unsigned long numBytes);

    /// A member of one item. A name that the plan does not have means offset 0: the
    /// bytes go over the first member, and nothing is logged; test with contains().
    /// The list of textures is not renewed by it: it lasts until update().
    void set(int index, const QString &name, const void *data, unsigned long size);
    void get(int index, const QString &name, void *dest) const;
    /// Moves the bytes of one member over another of the same item; sizes are not
    /// compared.
    void copyInstanceMember(int index, const QString &from, const QString &to);

    /// Items.
    int size() const;
    QByteArray dataArray() const;
    InstanceDataPlan *plan() const;
    /// The bytes count as uploaded.
    void clearDirtyStatus();

    // Before the first bind.

    /// As glBufferData() takes it; GL_STATIC_DRAW at first.
    void setBOUsageFlags(int flags);
    /// As glBufferStorage() takes it; not 0 makes the buffer immutable, in the size
    /// that the data have then.
    void useStorageBuffer(int flags);

    /// The buffer with its block name, made at the first call; null if it cannot be.
    QSharedPointer<UniformBufferObject> getUniformBufferObject(unsigned int target);

    /// Uploads if dirty, binds by the plan's mechanism, and hands the textures to
    /// the manager. The shorter forms take the current program and
    /// TextureManager::Instance().
    bool bind(ShaderProgram *program, TextureManager *textureManager);
    bool unbind(ShaderProgram *program, TextureManager *textureManager);
    bool bind(TextureManager *textureManager);
    bool unbind(TextureManager *textureManager);
    bool bind() override;
    bool unbind() override;
    /// Tells the manager which textures the next draws may touch: those found among
    /// the bytes, once for each contents. Null: none is told.
    void bindTextureTokens(TextureManager *textureManager);

    quint64 memoryEstimateCPU() const;
    quint64 memoryEstimateGPU() const;

private:
    friend class InstanceDataAccess; // of the mechanisms, which fill the GL objects
    friend class GPUModel;           // writes matrices by offset

    ZELGL_NO_EXPORT explicit InstanceDataCollection(InstanceDataPlan *plan);

    ZELGL_NO_EXPORT size_t itemSize() const;
    ZELGL_NO_EXPORT void assertFits(unsigned long numBytes) const;
    ZELGL_NO_EXPORT void assertFits(const QList<InstanceData> &instanceDataDataList) const;
    ZELGL_NO_EXPORT void append(const QList<InstanceData> &items);
    ZELGL_NO_EXPORT void copy(const char *bytes, unsigned long numBytes);
    ZELGL_NO_EXPORT bool fitsTexture() const;
    ZELGL_NO_EXPORT void assertFitsTexture() const;
    ZELGL_NO_EXPORT void harvestTextureTokens();
    /// Where a member of an item starts, or -1 if it is not inside the data.
    ZELGL_NO_EXPORT qint64 position(int index, size_t offset, size_t size) const;
    ZELGL_NO_EXPORT void getBytes(int index, size_t offset, void *dest, size_t size) const;
    /// Writes at an offset of an item and sets dirty.
    ZELGL_NO_EXPORT void setBytes(int index, size_t offset, const void *data, size_t size);
    /// Moves bytes within an item and sets dirty.
    ZELGL_NO_EXPORT void moveBytes(int index, size_t from, size_t to, size_t size);

    bool _dirty = true;                   ///< the bytes changed since the last upload
    InstanceDataPlan *_plan = nullptr;    ///< borrowed
    QByteArray _data;                     ///< the items back to back
    QVector<TextureToken> _textureTokens; ///< found in the bytes; empty until asked for
    QSharedPointer<UniformBufferObject> _uniformBufferObject;
    QSharedPointer<Texture> _textureI; ///< of the texture mechanisms
    QSharedPointer<Texture> _textureF;
    int _boUsageFlags;
    int _storageBufferFlags = 0;
};

}} // namespace Orvane::Zel
