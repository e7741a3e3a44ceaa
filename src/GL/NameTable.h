#pragma once

#include <cstddef>
#include <vector>

namespace Orvane { namespace Zel {

/// Values by GL name for the few objects that are bound at a time: a flat array, searched from its end, since what was
/// bound last is asked for first. With room reserved for all of them a bind allocates nothing.
///
/// Tables that take and lose the same names in the same order have them at the same places: one search serves all.
///
/// Context: none.
/// Private to the library.
template <typename Value> class NameTable
{
public:
    static constexpr int kNone = -1;

    void reserve(int count)
    {
        if (count > 0) {
            _entries.resize(static_cast<size_t>(count));
        }
    }

    /// Where a name stands, up to the next change; kNone where it has no value.
    int place(unsigned int name) const
    {
        int place = _used - 1;
        while (place >= 0 && _entries[static_cast<size_t>(place)].name != name) {
            --place;
        }
        return place;
    }
    bool contains(unsigned int name) const { return place(name) != kNone; }
    /// The same where the place is known from a table with the same names.
    bool contains(unsigned int name, int place) const
    {
        return place >= 0 && place < _used && _entries[static_cast<size_t>(place)].name == name;
    }

    Value &at(int place) { return _entries[static_cast<size_t>(place)].value; }
    const Value &at(int place) const { return _entries[static_cast<size_t>(place)].value; }

    /// The name must not have a value yet.
    void insert(unsigned int name, Value value)
    {
        if (static_cast<size_t>(_used) == _entries.size()) {
            _entries.resize(2 * _entries.size() + 1);
        }
        _entries[static_cast<size_t>(_used++)] = {name, value};
    }

    void remove(int place) { _entries[static_cast<size_t>(place)] = _entries[static_cast<size_t>(--_used)]; }

private:
    struct Entry
    {
        unsigned int name = 0;
        Value value = {};
    };

    std::vector<Entry> _entries;
    int _used = 0; ///< of them
};

}} // namespace Orvane::Zel
