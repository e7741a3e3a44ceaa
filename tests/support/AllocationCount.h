#pragma once

#include <cstddef>

/// Counts the memory allocations of the calling thread by malloc(), realloc(), new and all functions that use them, also
/// in libraries. The program must link zelgl_allocations.
class AllocationCount
{
public:
    AllocationCount();

    /// Number of allocations since construction.
    size_t taken() const;

private:
    size_t _start;
};
