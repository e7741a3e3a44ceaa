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
            _entries.reserve(static_cast<size_t>(count));
        }
    }

    bool contains(unsigned int name) const { return find(name) != nullptr; }

    /// Null where the name has no value.
    const Value *find(unsigned int name) const
    {
        for (const Entry &entry : _entries) {
            if (entry.name == name) {
                return &entry.value;
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
    void insert(unsigned int name, Value value) { _entries.push_back({name, value}); }

    void remove(unsigned int name)
    {
        for (Entry &entry : _entries) {
            if (entry.name == name) {
                entry = _entries.back();
                _entries.pop_back();
                return;
            }
        }
    }

private:
    struct Entry
    {
        unsigned int name;
        Value value;
    };

    std::vector<Entry> _entries;
};

}} // namespace Orvane::Zel
