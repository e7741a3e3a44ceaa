#pragma once

#include "../TextureSlot.h"
#include "BindlessFunctions.h"

#include <QtCore/QVector>

namespace Orvane { namespace Zel {

/// The bindless handles of the slots of Array2DTextureManager.
///
/// A handle stays resident from the first makeResident() until drop(): release() only counts, since a change of residency is
/// expensive in drivers.
///
/// Context: that of the slots must be current.
/// Private to the library; a part of Array2DTextureManager.
class SlotHandles
{
public:
    static bool isSupported();

    /// Call it first. Without the extension no slot gets a handle.
    void lookUp();

    /// After it, the state of the slot's texture can never change.
    void create(SlotData &slot) const;
    void drop(SlotData &slot) const;
    void makeResident(const QVector<SlotData *> &allSlots) const;
    void release(const QVector<SlotData *> &allSlots) const;
    /// Calls GL and ignores the result.
    void queryResidency(const SlotData &slot) const;

private:
    BindlessFunctions _functions;
};

}} // namespace Orvane::Zel
