#pragma once

#include <cstddef>

namespace Orvane { namespace ZelKit {

/// Loads bytes into the caches, for a write. Accesses to memory that is far apart wait one after the other; prefetches overlap.
inline void prefetch(const void *bytes, size_t count = 1)
{
    constexpr size_t kCacheLine = 64;
    for (size_t byte = 0; byte < count; byte += kCacheLine) {
        __builtin_prefetch(static_cast<const char *>(bytes) + byte, 1);
    }
    // The first byte need not be the start of a line.
    __builtin_prefetch(static_cast<const char *>(bytes) + count - 1, 1);
    // GCC 12 removes calls of functions that only prefetch, as if they had no effect. This is an effect for it.
    __asm__ volatile("");
}

}} // namespace Orvane::ZelKit
