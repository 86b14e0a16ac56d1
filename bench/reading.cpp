/* How long reading a configuration takes. */
#include <benchmark/benchmark.h>

#include <functional>

#include "bench/switches.h"
#include "sim/config/configuration.h"

namespace {

void measure_reading(benchmark::State &state, const MeasuredSwitch &one)
{
    for (auto _ : state)
        benchmark::DoNotOptimize(kvnsim::read_configuration(one.file, one.text));
    state.SetBytesProcessed(static_cast<int64_t>(one.text.size()) * state.iterations());
    state.counters["interfaces"] =
        benchmark::Counter(one.interfaces, benchmark::Counter::kIsIterationInvariantRate);
}

} // namespace

void add_reading(const MeasuredSwitches &switches)
{
    for (const MeasuredSwitch &one : switches)
        benchmark::RegisterBenchmark(("read/" + std::to_string(one.interfaces)).c_str(),
                                     measure_reading, std::cref(one))
            ->Unit(benchmark::kMillisecond);
}
