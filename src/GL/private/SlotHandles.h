#pragma once

#include "../TextureSlot.h"
#include "BindlessFunctions.h"

#include <QtCore/QVector>

namespace Orvane { namespace Zel {

/// The bindless handles of the slots of Array2DTextureManager.
///
/// A handle stays resident from the first bind to the end of its slot's storage: unbinding only counts.
///
/// Context: that of the slots.
/// Private to the library; a part of Array2DTextureManager.
class SlotHandles
{
public:
    static bool isSupported();

    /// Call it before all others. Without the extension no slot gets a handle.
    void lookUp();

    /// Freezes the state of the slot's texture.
    void create(SlotData &slot) const;
    void drop(SlotData &slot) const;
    void makeResident(const QVector<SlotData *> &allSlots) const;
    void release(const QVector<SlotData *> &allSlots) const;
    /// Makes the call of GL and ignores its result.
    void queryResidency(const SlotData &slot) const;

private:
    BindlessFunctions _functions;
};

}} // namespace Orvane::Zel
