#pragma once

#include <cstddef>

namespace Orvane { namespace Zel {

/// Memory for the wrappers of GL objects. Wrappers of one size are adjacent, in the order of their construction, and each
/// starts on a cache line: a draw of thousands of them reads memory in order, which the processor prefetches. Objects above
/// 512 bytes are on the heap.
///
/// Released memory is kept for other objects of the same size, and is never returned to the system. With the address
/// sanitizer, or with the build option ZELGL_OBJECT_MEMORY off, all objects are on the heap, so that tools see each use after
/// delete.
///
/// Context: none; any thread.
/// Errors:  as the global operator new.
/// Private to the library; owner is Bindable.
namespace ObjectMemory {

void *allocate(size_t size);

/// \a size is that of allocate(). Null is ignored.
void release(void *memory, size_t size) noexcept;

/// For memory of unknown size: leaves it unused, unless all objects are on the heap.
void abandon(void *memory) noexcept;

} // namespace ObjectMemory

}} // namespace Orvane::Zel
