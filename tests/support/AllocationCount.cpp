#include "AllocationCount.h"

namespace {

thread_local size_t allocations = 0;

} // namespace

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)

// The sanitizers have their own allocator, with hooks. Declared here, since not every compiler has their headers.
extern "C" int __sanitizer_install_malloc_and_free_hooks(void (*onMalloc)(const volatile void *, size_t),
                                                         void (*onFree)(const volatile void *));

static const int hooked = __sanitizer_install_malloc_and_free_hooks(
    [](const volatile void *, size_t) { ++allocations; }, [](const volatile void *) {});

#else

// Definitions in the program override those of the C library, which remain available under its internal names.
extern "C" {

void *__libc_malloc(size_t size);
void *__libc_calloc(size_t count, size_t size);
void *__libc_realloc(void *memory, size_t size);

void *malloc(size_t size)
{
    ++allocations;
    return __libc_malloc(size);
}

void *calloc(size_t count, size_t size)
{
    ++allocations;
    return __libc_calloc(count, size);
}

void *realloc(void *memory, size_t size)
{
    ++allocations;
    return __libc_realloc(memory, size);
}

} // extern "C"

#endif

AllocationCount::AllocationCount()
    : _start(allocations)
{
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    (void)hooked;
#endif
}

size_t AllocationCount::taken() const
{
    return allocations - _start;
}
