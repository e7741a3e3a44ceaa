#include "InstanceDataAccess.h"

#include "Hints.h"

namespace Orvane { namespace Zel {

// Cold: inlined, it adds about 16 instructions to each draw in the rows sceneown and sceneowntokens of draw_zel.
ZELGL_COLD_PATH const QSharedPointer<BufferObject> &
InstanceDataAccess::newBuffer(InstanceDataCollection *collection, unsigned int target)
{
    static const QSharedPointer<BufferObject> kNone;
    if (collection != nullptr) {
        collection->getUniformBufferObject(target);
    }
    return collection == nullptr || collection->_uniformBufferObject.isNull()
               ? kNone
               : collection->_uniformBufferObject->_bufferObject;
}

}} // namespace Orvane::Zel
