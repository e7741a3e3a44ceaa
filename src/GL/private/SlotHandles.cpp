#include "SlotHandles.h"

#include "../GLUtilities.h"

namespace Orvane { namespace Zel {

bool SlotHandles::isSupported()
{
    return hasGLExtension("GL_ARB_bindless_texture");
}

void SlotHandles::lookUp()
{
    if (isSupported()) {
        _functions.lookUp(BindlessFunctions::eARB);
    }
}

void SlotHandles::create(SlotData &slot) const
{
    slot.bindlessHandle = _functions.handleOf(*slot.texture);
}

void SlotHandles::drop(SlotData &slot) const
{
    // A handle keeps its texture immutable, and a resident one keeps its memory: the slot gets a new texture next.
    _functions.makeNonResident(slot.bindlessHandle);
    slot.bindlessHandle = 0;
    slot.residentCount = 0;
}

void SlotHandles::makeResident(const QVector<SlotData *> &allSlots) const
{
    for (SlotData *slot : allSlots) {
        if (slot->texture == nullptr || slot->bindlessHandle == 0) {
            continue;
        }
        _functions.makeResident(slot->bindlessHandle);
        ++slot->residentCount;
    }
}

void SlotHandles::release(const QVector<SlotData *> &allSlots) const
{
    // Required: the handle itself stays resident.
    for (SlotData *slot : allSlots) {
        slot->residentCount -= slot->residentCount != 0 ? 1 : 0;
    }
}

void SlotHandles::queryResidency(const SlotData &slot) const
{
    _functions.isResident(slot.bindlessHandle);
}

}} // namespace Orvane::Zel
