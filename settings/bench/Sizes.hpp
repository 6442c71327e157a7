#pragma once

#include <chrono>

#include <benchmark/benchmark.h>

namespace qbbench {

/// Keys of a product, wherever growth is looked at.
inline constexpr int sizes[] = {100, 1000, 10000, 100000};

inline void forEachSize(benchmark::internal::Benchmark* benchmark) {
    for (int const keys : sizes)
        benchmark->Arg(keys);
}

/// Lets the figure be the time of one key.
inline void countPerKey(benchmark::State& state) {
    state.counters["per"] = static_cast<double>(state.range(0));
}

/// For a benchmark with manual time: the iteration counts as long as this work takes.
template <class Work>
void timed(benchmark::State& state, Work const& work) {
    using Clock = std::chrono::steady_clock;
    auto const start = Clock::now();
    work();
    state.SetIterationTime(std::chrono::duration<double>(Clock::now() - start).count());
}

}  // namespace qbbench
