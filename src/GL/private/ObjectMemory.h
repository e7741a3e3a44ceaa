#pragma once

#include <cstddef>

namespace Orvane { namespace Zel {

/// Memory for the wrappers of GL objects. Those of one size lie side by side, from the beginning of a cache line on, in
/// the order in which they were made: a draw of thousands walks over them in that order, and finds the next ones in the
/// cache. Larger objects begin with a line too, but lie on the heap.
///
/// Context: none; any thread.
/// Errors:  as operator new.
/// Private to the library. What is given back is kept for others of its size.
namespace ObjectMemory {

void *take(size_t size);
void give(void *memory, size_t size) noexcept;

} // namespace ObjectMemory

}} // namespace Orvane::Zel
