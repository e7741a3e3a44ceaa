#include "ObjectMemory.h"

#include <mutex>
#include <new>

namespace Orvane { namespace Zel { namespace ObjectMemory {

namespace {

constexpr size_t kLine = 64;           ///< bytes of a cache line
constexpr size_t kLargest = 8 * kLine; ///< larger objects are left to the heap
constexpr size_t kBlock = 64 * 1024;

/// Memory that was given back.
struct Piece
{
    Piece *next;
};

/// The pieces of one size, which is a number of whole lines.
struct Pool
{
    void *take(size_t size);
    void give(void *memory);

    Piece *given;
    char *fresh; ///< from here to the end of the newest block nothing was taken yet
    char *end;
};

void *Pool::take(size_t size)
{
    if (given != nullptr) {
        Piece *piece = given;
        given = piece->next;
        return piece;
    }
    if (size_t(end - fresh) < size) {
        fresh = static_cast<char *>(::operator new(kBlock, std::align_val_t(kLine)));
        end = fresh + kBlock;
    }
    void *memory = fresh;
    fresh += size;
    return memory;
}

void Pool::give(void *memory)
{
    given = new (memory) Piece{given};
}

// Neither is ever destroyed: statics of a host may hold objects up to its very end.
Pool pools[kLargest / kLine];
std::mutex poolsMutex;

#ifdef __SANITIZE_ADDRESS__
constexpr bool kIsPooled = false; // the sanitizer watches over the heap's objects alone
#else
constexpr bool kIsPooled = true;
#endif

bool isPooled(size_t size)
{
    return kIsPooled && size - 1 < kLargest;
}

size_t lines(size_t size)
{
    return (size - 1) / kLine + 1;
}

} // namespace

void *take(size_t size)
{
    if (!isPooled(size)) {
        return ::operator new(size, std::align_val_t(kLine));
    }
    const std::lock_guard<std::mutex> lock(poolsMutex);
    return pools[lines(size) - 1].take(lines(size) * kLine);
}

void give(void *memory, size_t size) noexcept
{
    if (!isPooled(size)) {
        ::operator delete(memory, std::align_val_t(kLine));
        return;
    }
    if (memory != nullptr) {
        const std::lock_guard<std::mutex> lock(poolsMutex);
        pools[lines(size) - 1].give(memory);
    }
}

}}} // namespace Orvane::Zel::ObjectMemory
