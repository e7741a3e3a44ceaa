#pragma once

#include <cstdint>

/// How often this process has asked for heap memory so far, all of its libraries
/// included. The program brings its own malloc() along, which counts and asks glibc's.
///
/// Errors: in a build with sanitizers, which have a malloc() of their own, nothing
///         is counted; canCountAllocations() says so.
std::uint64_t allocationCount();
bool canCountAllocations();
