#include "InstanceDataAccess.h"

#include "Hints.h"

namespace Orvane { namespace Zel {

ZELGL_COLD_PATH const QSharedPointer<BufferObject> &
InstanceDataAccess::newBuffer(InstanceDataCollection *collection, unsigned int target)
{
    static const QSharedPointer<BufferObject> kNone;
    if (collection != nullptr) {
        collection->getUniformBufferObject(target);
    }
    return collection == nullptr || collection->_uniformBufferObject.isNull()
               ? kNone
               : collection->_uniformBufferObject->bufferObject();
}

}} // namespace Orvane::Zel
