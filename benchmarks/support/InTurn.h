#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <ctime>
#include <vector>

/// The CPU time of the calling thread, without that of other processes on a shared machine.
struct ThreadClock
{
    static std::chrono::nanoseconds now()
    {
        timespec time{};
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
        return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
    }
};

inline double median(std::vector<double> values)
{
    std::nth_element(values.begin(), values.begin() + std::ptrdiff_t(values.size() / 2), values.end());
    return values[values.size() / 2];
}

/// Runs two implementations alternately, so that both have the same conditions. The time of the row is one run of the
/// first; "bare" is the time of the second, "ratio" the first divided by the second, both as medians.
template <typename Clock = std::chrono::steady_clock, typename Ours, typename Bare>
void timeInTurn(benchmark::State &state, int runs, Ours ours, Bare bare)
{
    const auto secondsOf = [runs](auto &work) {
        const auto start = Clock::now();
        for (int i = 0; i < runs; ++i) {
            work();
        }
        return std::chrono::duration<double>(Clock::now() - start).count() / runs;
    };
    std::vector<double> oursSeconds;
    std::vector<double> bareSeconds;
    for (auto _ : state) {
        oursSeconds.push_back(secondsOf(ours));
        bareSeconds.push_back(secondsOf(bare));
        state.SetIterationTime(oursSeconds.back());
    }
    state.counters["bare"] = median(bareSeconds);
    state.counters["ratio"] = median(oursSeconds) / median(bareSeconds);
}
