#pragma once

#include <QtCore/QtAlgorithms>

#include <algorithm>
#include <memory>

namespace Orvane { namespace Zel {

/// A set of small numbers, one bit each: the free texture units or binding points of a context.
///
/// Context: none; the owner provides for threads.
/// Errors:  none are checked.
/// Private to the library; owners are the records of ContextState.
class NumberSet
{
public:
    static constexpr unsigned int kNone = ~0u;

    /// Makes the set contain exactly the numbers below \a count.
    void fill(int count)
    {
        const auto size = static_cast<unsigned int>(std::max(count, 0));
        _wordCount = (size + 63) / 64;
        _words.reset(new quint64[_wordCount]());
        for (unsigned int number = 0; number < size; ++number) {
            insert(number);
        }
    }

    // The number must be below the count of fill().
    void insert(unsigned int number) { _words[number / 64] |= bit(number); }
    void remove(unsigned int number) { _words[number / 64] &= ~bit(number); }

    bool contains(unsigned int number) const
    {
        return number / 64 < _wordCount && (_words[number / 64] & bit(number)) != 0;
    }

    /// kNone if the set is empty.
    unsigned int lowest() const
    {
        for (unsigned int word = 0; word < _wordCount; ++word) {
            if (_words[word] != 0) {
                return word * 64 + qCountTrailingZeroBits(_words[word]);
            }
        }
        return kNone;
    }

    /// kNone if the set is empty.
    unsigned int highest() const
    {
        for (unsigned int word = _wordCount; word-- > 0;) {
            if (_words[word] != 0) {
                return word * 64 + 63 - qCountLeadingZeroBits(_words[word]);
            }
        }
        return kNone;
    }

private:
    static quint64 bit(unsigned int number) { return quint64(1) << (number % 64); }

    std::unique_ptr<quint64[]> _words;
    unsigned int _wordCount = 0;
};

}} // namespace Orvane::Zel
