#pragma once

#include <cstddef>
#include <vector>

namespace Orvane { namespace Zel {

/// Values by GL name for the few objects that are bound at a time: a flat array, searched from its beginning. With room
/// reserved for all of them a bind allocates nothing.
///
/// Context: none.
/// Private to the library.
template <typename Value> class NameTable
{
public:
    void reserve(int count)
    {
        if (count > 0) {
            _entries.resize(static_cast<size_t>(count));
        }
    }

    bool contains(unsigned int name) const { return find(name) != nullptr; }

    /// Null where the name has no value.
    const Value *find(unsigned int name) const
    {
        const Entry *entries = _entries.data();
        for (size_t i = 0; i < _used; ++i) {
            if (entries[i].name == name) {
                return &entries[i].value;
            }
        }
        return nullptr;
    }
    Value *find(unsigned int name)
    {
        const NameTable &table = *this;
        return const_cast<Value *>(table.find(name));
    }

    /// The name must not have a value yet.
    void insert(unsigned int name, Value value)
    {
        if (_used == _entries.size()) {
            _entries.resize(2 * _used + 1);
        }
        _entries[_used++] = {name, value};
    }

    void remove(unsigned int name)
    {
        for (size_t i = 0; i < _used; ++i) {
            if (_entries[i].name == name) {
                _entries[i] = _entries[--_used];
                return;
            }
        }
    }

private:
    struct Entry
    {
        unsigned int name = 0;
        Value value = {};
    };

    std::vector<Entry> _entries;
    size_t _used = 0; ///< of them
};

}} // namespace Orvane::Zel
