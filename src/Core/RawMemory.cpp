#include "RawMemory.h"

namespace Orvane { namespace Zel {

RawMemory::RawMemory(unsigned char *data, unsigned long size)
    : _data(data)
    , _size(data != nullptr ? size : 0)
{
}

RawMemory::~RawMemory() = default;

quint64 RawMemory::size() const
{
    return _size;
}

unsigned char *RawMemory::map(quint64 offset, quint64 length)
{
    return range(_data, _size, offset, length);
}

void RawMemory::unmap(const unsigned char *) {} // views are pointers into the caller's buffer

}} // namespace Orvane::Zel
