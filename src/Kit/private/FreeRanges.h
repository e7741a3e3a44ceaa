#pragma once

#include <QtCore/QtGlobal>

#include <algorithm>
#include <vector>

namespace Orvane { namespace ZelKit {

/// The unused ranges of an array, such as a buffer of vertices.
///
/// Units: elements.
class FreeRanges
{
public:
    static constexpr qint64 kNone = -1;

    qint64 capacity() const { return _capacity; }
    qint64 used() const { return _used; }

    /// Returns the start of a range in the first gap that is large enough, or kNone.
    qint64 take(qint64 count)
    {
        const auto gap = std::find_if(_gaps.begin(), _gaps.end(),
                                      [count](const Range &range) { return range.count >= count; });
        if (gap == _gaps.end()) {
            return kNone;
        }
        const qint64 first = gap->first;
        gap->first += count;
        gap->count -= count;
        if (gap->count == 0) {
            _gaps.erase(gap);
        }
        _used += count;
        return first;
    }

    void release(qint64 first, qint64 count)
    {
        addGap(first, count);
        _used -= count;
    }

    void grow(qint64 capacity)
    {
        addGap(_capacity, capacity - _capacity);
        _capacity = capacity;
    }

    /// Uses the first \a used elements of an array of \a capacity.
    void reset(qint64 used, qint64 capacity)
    {
        _gaps.clear();
        _used = used;
        _capacity = capacity;
        addGap(used, capacity - used);
    }

private:
    struct Range
    {
        qint64 first;
        qint64 count;
    };

    /// Neighbours become one gap.
    void addGap(qint64 first, qint64 count)
    {
        if (count <= 0) {
            return;
        }
        auto next = std::lower_bound(_gaps.begin(), _gaps.end(), first,
                                     [](const Range &range, qint64 start) { return range.first < start; });
        if (next != _gaps.begin() && (next - 1)->first + (next - 1)->count == first) {
            --next;
            next->count += count;
        } else {
            next = _gaps.insert(next, {first, count});
        }
        const auto after = next + 1;
        if (after != _gaps.end() && next->first + next->count == after->first) {
            next->count += after->count;
            _gaps.erase(after);
        }
    }

    std::vector<Range> _gaps; ///< in ascending order, never adjacent
    qint64 _capacity = 0;
    qint64 _used = 0;
};

}} // namespace Orvane::ZelKit
