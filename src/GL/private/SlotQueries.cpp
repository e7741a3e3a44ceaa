#include "SlotQueries.h"

#include <algorithm>
#include <iterator>

namespace Orvane { namespace Zel {

SlotData *slotAt(const QVector<SlotData *> &allSlots, int index)
{
    return index >= 0 && index < allSlots.size() ? allSlots.at(index) : nullptr;
}

QVector<int> similarSlots(const QVector<SlotData *> &allSlots, const SlotFormat &format,
                          const QVector<int> &indices)
{
    QVector<int> similar;
    std::copy_if(indices.begin(), indices.end(), std::back_inserter(similar), [&](int index) {
        const SlotData *slot = slotAt(allSlots, index);
        // Hosts may pass indices that no slot has.
        return slot != nullptr && slot->isSimilar(format);
    });
    return similar;
}

QVector<int> slotsByArea(const QVector<SlotData *> &allSlots, const QVector<int> &indices)
{
    const auto area = [&allSlots](int index) {
        const SlotData *slot = slotAt(allSlots, index);
        return slot != nullptr ? slot->format.area() : 0;
    };
    QVector<int> sorted = indices;
    // Stable, so that slots of the same size keep the order of their indices and placements can be repeated.
    std::stable_sort(sorted.begin(), sorted.end(), [&](int a, int b) { return area(a) > area(b); });
    return sorted;
}

int bestSimilarSlot(const QVector<SlotData *> &allSlots, const SlotFormat &format,
                    TextureManager::SlotReallocationMethod method, const SlotData *excluded)
{
    // Unsigned: the scores of slots that would scale a texture down are negative and compare as large numbers.
    unsigned int bestScore = SlotData::kNoFit;
    int best = -1;
    for (int i = 0; i < allSlots.size(); ++i) {
        const SlotData *candidate = allSlots.at(i);
        if (candidate == excluded || !candidate->format.isUsed() || !candidate->isSimilar(format)) {
            continue;
        }
        const unsigned int score = candidate->getFormatDeltaScore(format, method);
        // Of equal scores the first slot wins, so that the same requests give the same placement; see
        // TexturePlacementTest.TexturesFindTheirPlacesInOrderOfPreference.
        if (score < bestScore) {
            bestScore = score;
            best = i;
        }
    }
    return best;
}

int largestSlot(const QVector<SlotData *> &allSlots)
{
    int largestArea = 0;
    int largest = -1;
    for (int i = 0; i < allSlots.size(); ++i) {
        const SlotFormat &format = allSlots.at(i)->format;
        // Of equal areas the last slot wins; see the same test.
        if (format.isUsed() && format.area() >= largestArea) {
            largestArea = format.area();
            largest = i;
        }
    }
    return largest;
}

QString textOfSlots(const QVector<SlotData *> &allSlots)
{
    QString text;
    for (int i = 0; i < allSlots.size(); ++i) {
        const SlotData &slot = *allSlots.at(i);
        const SlotFormat &format = slot.format;
        text += QString::asprintf(" %2d", i);
        if (format.isUsed()) {
            text += QString::asprintf(
                " {(%4dx%4d) 0x%04X C:0x%04X 0x%04X F:0x%04X 0x%04X ,%2d:%2d<%2d}", format.width,
                format.height, format.internalFormat, static_cast<unsigned int>(format.wrapS),
                static_cast<unsigned int>(format.wrapT), static_cast<unsigned int>(format.magFilter),
                static_cast<unsigned int>(format.minFilter), slot.usedLayers, slot.allocatedLayers,
                slot.maxLayers);
        } else {
            text += QLatin1String(" {UNUSED}");
        }
        text += QLatin1String(" \n");
    }
    return text;
}

}} // namespace Orvane::Zel
