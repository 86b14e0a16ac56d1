#pragma once

#include <benchmark/benchmark.h>

#include <cstdint>

namespace bench {

/* The run handled this many interfaces in each iteration: shown as time per interface. */
inline void count(benchmark::State &state, int64_t interfaces)
{
    state.counters["per_interface"] = benchmark::Counter(
        static_cast<double>(interfaces),
        benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

} // namespace bench
