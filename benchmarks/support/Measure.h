#pragma once

#include "AllocationCounter.h"

#include <benchmark/benchmark.h>

/// Whether the timed loop of a row may allocate.
enum class Allocations {
    eNone, ///< a row that allocates is an error, and is not timed
    eCounted
};

/// Times \a work, which processes \a items items: "per_item" is the time of one item, "allocations" the number in one run,
/// counted in separate runs before the timing.
template <typename Work>
void measure(benchmark::State &state, std::int64_t items, Allocations allowed, Work work)
{
    constexpr int kCountedRuns = 8;
    work(); // warms caches
    const std::uint64_t before = allocationCount();
    for (int i = 0; i < kCountedRuns; ++i) {
        work();
    }
    const std::uint64_t allocations = allocationCount() - before;
    if (allowed == Allocations::eNone && allocations != 0) {
        state.SkipWithError("the hot path allocates");
        return;
    }
    for (auto _ : state) {
        work();
    }
    using benchmark::Counter;
    state.counters["per_item"] =
        Counter(double(items), Counter::kIsIterationInvariantRate | Counter::kInvert);
    if (canCountAllocations()) {
        state.counters["allocations"] = double(allocations) / kCountedRuns;
    }
}
