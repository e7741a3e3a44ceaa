#pragma once

#include <algorithm>
#include <cstddef>
#include <memory>

namespace Orvane { namespace Zel {

/// Values by GL name for the few objects that are bound at a time: a flat array, searched from its end, since what was
/// bound last is asked for first.
///
/// Tables that take and lose the same names in the same order have them at the same places: one search serves all.
///
/// Context: none.
/// Private to the library.
template <typename Value> class NameTable
{
public:
    using Place = std::ptrdiff_t;
    static constexpr Place kNone = -1;

    /// Makes room for the only number of names that the table will ever have to hold at a time; empties it.
    void reserve(int count)
    {
        _entries.reset(new Entry[static_cast<size_t>(std::max(count, 0))]());
        _used = 0;
    }

    /// Where a name stands, up to the next change; kNone where it has no value.
    Place place(unsigned int name) const
    {
        Place place = _used - 1;
        while (place >= 0 && _entries[place].name != name) {
            --place;
        }
        return place;
    }
    bool contains(unsigned int name) const { return place(name) != kNone; }
    /// The same where the place is known from a table with the same names.
    bool contains(unsigned int name, Place place) const
    {
        return place >= 0 && place < _used && _entries[place].name == name;
    }

    Value &at(Place place) { return _entries[place].value; }
    const Value &at(Place place) const { return _entries[place].value; }

    /// The name must not have a value yet, and there must be room for it.
    void insert(unsigned int name, Value value) { _entries[_used++] = {name, value}; }

    void remove(Place place) { _entries[place] = _entries[--_used]; }

private:
    struct Entry
    {
        unsigned int name = 0;
        Value value = {};
    };

    std::unique_ptr<Entry[]> _entries;
    Place _used = 0; ///< of them
};

}} // namespace Orvane::Zel
