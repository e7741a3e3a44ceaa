#pragma once

#include <QtCore/QtGlobal>

#include <vector>

namespace Orvane { namespace ZelKit {

/// Records by number. The number of a removed record is refused until 128 others have used its place.
template <typename Record> class HandleTable
{
public:
    static constexpr int kNone = -1;
    static constexpr int kMaxRecords = 1 << 24;

    /// Returns kNone if the table is full.
    int add(const Record &record)
    {
        if (_free.empty() && _records.size() == size_t(kMaxRecords)) {
            return kNone;
        }
        if (_free.empty()) {
            _free.push_back(int(_records.size()));
            _records.emplace_back();
            _states.push_back(0);
        }
        const int index = _free.back();
        _free.pop_back();
        _records[size_t(index)] = record;
        _states[size_t(index)] |= kLive;
        ++_count;
        return index | (_states[size_t(index)] & ~kLive) << 24;
    }

    /// Returns null for a number that is not in use.
    Record *find(int handle)
    {
        const size_t index = size_t(handle & (kMaxRecords - 1));
        const bool isLive =
            handle >= 0 && index < _records.size() && _states[index] == ((handle >> 24) | kLive);
        return isLive ? &_records[index] : nullptr;
    }

    void remove(int handle)
    {
        if (find(handle) != nullptr) {
            const int index = handle & (kMaxRecords - 1);
            _states[size_t(index)] = quint8(((handle >> 24) + 1) & ~kLive);
            _free.push_back(index);
            --_count;
        }
    }

    /// Calls the function with each record in use.
    template <typename Function> void forEach(Function function)
    {
        for (size_t index = 0; index < _records.size(); ++index) {
            if ((_states[index] & kLive) != 0) {
                function(_records[index]);
            }
        }
    }

    int count() const { return _count; }

    quint64 bytes() const
    {
        return _records.capacity() * sizeof(Record) + _states.capacity() + _free.capacity() * sizeof(int);
    }

private:
    static constexpr int kLive = 0x80;

    std::vector<Record> _records;
    std::vector<quint8> _states; ///< seven bits that change with each removal, and kLive
    std::vector<int> _free;
    int _count = 0;
};

}} // namespace Orvane::ZelKit
