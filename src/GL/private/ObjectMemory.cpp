#include "ObjectMemory.h"

#include <mutex>
#include <new>

namespace Orvane { namespace Zel { namespace ObjectMemory {

namespace {

constexpr size_t kLineBytes = 64; ///< of a cache line
constexpr size_t kMaxPooledBytes = 8 * kLineBytes;
constexpr size_t kBlockBytes = 64 * 1024;

/// Released memory.
struct Piece
{
    Piece *next;
};

/// The pieces of one size, which is a whole number of lines.
struct Pool
{
    void *allocate(size_t size);
    void release(void *memory);

    Piece *released;
    char *unused; ///< from here to the end of the newest block, memory was never allocated
    char *end;
};

void *Pool::allocate(size_t size)
{
    if (released != nullptr) {
        Piece *piece = released;
        released = piece->next;
        return piece;
    }
    if (size_t(end - unused) < size) {
        unused = static_cast<char *>(::operator new(kBlockBytes, std::align_val_t(kLineBytes)));
        end = unused + kBlockBytes;
    }
    void *memory = unused;
    unused += size;
    return memory;
}

void Pool::release(void *memory)
{
    released = new (memory) Piece{released};
}

// Neither has a destructor that runs at exit: a host may delete objects in the destructors of its own static variables.
Pool pools[kMaxPooledBytes / kLineBytes];
std::mutex poolsMutex;

#if defined(__SANITIZE_ADDRESS__) || !ZELGL_OBJECT_MEMORY
constexpr bool kIsEnabled = false; // sanitizers check only objects on the heap
#else
constexpr bool kIsEnabled = true;
#endif

bool isPooled(size_t size)
{
    return kIsEnabled && size - 1 < kMaxPooledBytes; // size 0 wraps around: the heap
}

size_t lines(size_t size)
{
    return (size - 1) / kLineBytes + 1;
}

} // namespace

void *allocate(size_t size)
{
    if (!isPooled(size)) {
        return ::operator new(size);
    }
    const std::lock_guard<std::mutex> lock(poolsMutex);
    return pools[lines(size) - 1].allocate(lines(size) * kLineBytes);
}

void release(void *memory, size_t size) noexcept
{
    if (!isPooled(size)) {
        ::operator delete(memory);
        return;
    }
    if (memory != nullptr) {
        const std::lock_guard<std::mutex> lock(poolsMutex);
        pools[lines(size) - 1].release(memory);
    }
}

void abandon(void *memory) noexcept
{
    if (!kIsEnabled) {
        ::operator delete(memory);
    }
}

}}} // namespace Orvane::Zel::ObjectMemory
