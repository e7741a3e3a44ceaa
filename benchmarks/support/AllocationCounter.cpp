#include "AllocationCounter.h"

#include <atomic>
#include <cstddef>

namespace {

std::atomic<std::uint64_t> gAllocations{0};

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
constexpr bool kCounts = true;

void countOne()
{
    gAllocations.fetch_add(1, std::memory_order_relaxed);
}
#else
constexpr bool kCounts = false;
#endif

} // namespace

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
// glibc's functions under their internal names, which it exports for this purpose; operator new calls malloc(), too.
extern "C" {

void *__libc_malloc(std::size_t size);
void *__libc_calloc(std::size_t count, std::size_t size);
void *__libc_realloc(void *memory, std::size_t size);

__attribute__((visibility("default"))) void *malloc(std::size_t size) noexcept
{
    countOne();
    return __libc_malloc(size);
}

__attribute__((visibility("default"))) void *calloc(std::size_t count, std::size_t size) noexcept
{
    countOne();
    return __libc_calloc(count, size);
}

__attribute__((visibility("default"))) void *realloc(void *memory, std::size_t size) noexcept
{
    countOne();
    return __libc_realloc(memory, size);
}
}
#endif

std::uint64_t allocationCount()
{
    return gAllocations.load(std::memory_order_relaxed);
}

bool canCountAllocations()
{
    return kCounts;
}
