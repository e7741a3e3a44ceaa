#pragma once

#include <algorithm>
#include <cstddef>
#include <memory>

namespace Orvane { namespace Zel {

/// The objects of one kind that are bound in one context, by GL name: the texture unit or binding point that each holds, and
/// how many binds share it.
///
/// A flat array, searched from its end: few objects are bound at a time, and the most recent is queried first.
///
/// Context: none; the owner provides for threads.
/// Errors:  none are checked.
/// Private to the library; owners are the records of ContextState.
class NameTable
{
public:
    struct Use
    {
        unsigned int name = 0;   ///< GL name
        unsigned int number = 0; ///< texture unit or binding point
        int count = 0;           ///< binds without their unbind
    };

    /// Empties the table and allocates the only memory that it ever uses: \a capacity entries.
    void reserve(int capacity)
    {
        _uses.reset(new Use[static_cast<size_t>(std::max(capacity, 0))]());
        _end = _uses.get();
    }

    /// Null if the object is not bound. The pointer is valid until the next change of the table.
    Use *find(unsigned int name) const
    {
        for (Use *use = _end; use != _uses.get();) {
            if ((--use)->name == name) {
                return use;
            }
        }
        return nullptr;
    }
    bool contains(unsigned int name) const { return find(name) != nullptr; }

    /// The table must not contain the name, and must not be full.
    void insert(unsigned int name, unsigned int number) { *_end++ = {name, number, 1}; }

    void remove(Use *use) { *use = *--_end; }

private:
    std::unique_ptr<Use[]> _uses;
    Use *_end = nullptr; ///< after the last one in use
};

}} // namespace Orvane::Zel
