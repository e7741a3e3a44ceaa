#pragma once

#include "../InstanceDataCollection.h"
#include "../TextureManager.h"
#include "../UniformBufferObject.h"

namespace Orvane { namespace Zel {

class BufferObject;

/// The state of a collection, for the classes of the library that move its bytes: the mechanisms upload and bind them, the
/// scene writes matrices by offset. InstanceDataCollection has this friend instead of one for each of these classes.
///
/// Context: required by buffer() only, if the collection has no buffer yet.
/// Private to the library; for the mechanisms and the scene.
class InstanceDataAccess
{
public:
    InstanceDataAccess() = delete;

    static bool isDirty(const InstanceDataCollection &collection) { return collection._dirty; }
    static void setDirty(InstanceDataCollection &collection, bool dirty) { collection._dirty = dirty; }

    static const QByteArray &bytes(const InstanceDataCollection &collection) { return collection._data; }
    /// Usage of the buffer, as glBufferData() takes it.
    static int usage(const InstanceDataCollection &collection) { return collection._boUsageFlags; }
    /// Returns false if the bytes are more than a data texture of the plan can hold.
    static bool fitsTexture(const InstanceDataCollection &collection) { return collection.fitsTexture(); }

    /// Returns the position of a member in the bytes, or -1 if it is not inside.
    static qint64 position(const InstanceDataCollection &collection, int item, size_t offset, size_t size)
    {
        return collection.position(item, offset, size);
    }
    /// Writes at an offset of an item; does nothing if that is not inside the bytes.
    static void setBytes(InstanceDataCollection &collection, int item, size_t offset, const void *data,
                         size_t size)
    {
        collection.setBytes(item, offset, data, size);
    }
    /// Moves bytes within an item; does nothing if source or destination is not inside the bytes.
    static void moveBytes(InstanceDataCollection &collection, int item, size_t from, size_t to, size_t size)
    {
        collection.moveBytes(item, from, to, size);
    }

    /// Null until getUniformBufferObject() creates it.
    static const QSharedPointer<UniformBufferObject> &uniformBuffer(const InstanceDataCollection &collection)
    {
        return collection._uniformBufferObject;
    }
    /// Returns the collection's buffer; the first call creates it with \a target. Null if \a collection is null or no
    /// context is current.
    static const QSharedPointer<BufferObject> &buffer(InstanceDataCollection *collection, unsigned int target)
    {
        return collection != nullptr && !collection->_uniformBufferObject.isNull()
                   ? collection->_uniformBufferObject->_bufferObject
                   : newBuffer(collection, target);
    }

    /// The data textures, null until a texture mechanism creates them.
    static QSharedPointer<Texture> &integerTexture(InstanceDataCollection &collection)
    {
        return collection._textureI;
    }
    static QSharedPointer<Texture> &floatTexture(InstanceDataCollection &collection)
    {
        return collection._textureF;
    }

    /// Unbinds what bindTextureTokens() bound; does nothing if \a textureManager is null.
    static void unbindTextureTokens(const InstanceDataCollection &collection, TextureManager *textureManager)
    {
        if (textureManager != nullptr) {
            textureManager->unbind(collection._textureTokens);
        }
    }

private:
    static const QSharedPointer<BufferObject> &newBuffer(InstanceDataCollection *collection,
                                                         unsigned int target);
};

}} // namespace Orvane::Zel
