#pragma once

#include "../TextureManager.h"
#include "../TextureSlot.h"

#include <QtCore/QString>
#include <QtCore/QVector>

namespace Orvane { namespace Zel {

// Searches among the slots of Array2DTextureManager; none of them changes a slot.
//
// Context: none.
// Private to the library; for Array2DTextureManager.

/// Returns null for an index out of range.
SlotData *slotAt(const QVector<SlotData *> &allSlots, int index);

/// Returns the elements of \a indices whose slots are similar to \a format, in the same order.
QVector<int> similarSlots(const QVector<SlotData *> &allSlots, const SlotFormat &format,
                          const QVector<int> &indices);

/// Returns \a indices sorted by the area of their slots, the largest first. Equal ones keep their order.
QVector<int> slotsByArea(const QVector<SlotData *> &allSlots, const QVector<int> &indices);

/// Returns the slot of a similar format with the best score, the first among equals, or -1 if there is none.
int bestSimilarSlot(const QVector<SlotData *> &allSlots, const SlotFormat &format,
                    TextureManager::SlotReallocationMethod method, const SlotData *excluded);

/// Returns the slot with the largest area among those with a format, the last among equals, or -1 if there is none.
int largestSlot(const QVector<SlotData *> &allSlots);

/// Returns a line for each slot.
QString textOfSlots(const QVector<SlotData *> &allSlots);

}} // namespace Orvane::Zel
