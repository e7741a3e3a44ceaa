#pragma once

#include <cstdint>

/// Number of heap allocations of this process so far, including those of libraries. The program overrides malloc() by one
/// that counts and calls glibc's.
///
/// Errors: builds with sanitizers, which override malloc() too, count nothing; canCountAllocations() returns false then.
std::uint64_t allocationCount();
bool canCountAllocations();
