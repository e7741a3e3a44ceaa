#pragma once

#include <cstddef>

/// Counts the memory allocations of the calling thread: malloc(), realloc(), new and all that stands on them,
/// in the libraries too. For programs that link zelgl_allocations.
class AllocationCount
{
public:
    AllocationCount();

    /// Since construction.
    size_t taken() const;

private:
    size_t _start;
};
