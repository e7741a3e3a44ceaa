#include "Memory.h"

namespace Orvane { namespace Zel {

Memory::~Memory() = default;

unsigned char *Memory::range(unsigned char *base, quint64 size, quint64 offset, quint64 length)
{
    // This order of the checks avoids overflow: offset and length may come from a malformed file.
    if (base == nullptr || offset > size || length > size - offset) {
        return nullptr;
    }
    return base + offset;
}

}} // namespace Orvane::Zel
