/* Runs the benchmarks and closes with how the time for one interface grows with their number. */
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <string>

namespace {

/* Keeps the best time per interface of each benchmark and size: the least disturbed one. */
class Scaling : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run> &runs) override
    {
        ConsoleReporter::ReportRuns(runs);
        for (const Run &run : runs) {
            const auto counter = run.counters.find("per_interface");
            if (run.run_type != Run::RT_Iteration || run.error_occurred ||
                counter == run.counters.end())
                continue;
            const long size = std::stol(run.run_name.args);
            const auto [best, first] =
                best_[run.run_name.function_name].emplace(size, counter->second);
            if (!first)
                best->second = std::min(best->second, counter->second.value);
        }
    }

    void Finalize() override
    {
        std::printf("\nTime for one interface, best of the repetitions\n");
        for (const auto &[name, sizes] : best_) {
            const auto &[small, small_time] = *sizes.begin();
            const auto &[large, large_time] = *sizes.rbegin();
            std::printf("  %-12s %7ld: %6.2f us  %7ld: %6.2f us  ratio %.2f\n", name.c_str(), small,
                        small_time * 1e6, large, large_time * 1e6, large_time / small_time);
        }
    }

private:
    std::map<std::string, std::map<long, double>> best_;
};

} // namespace

int main(int argc, char **argv)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 2;
    Scaling reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    return 0;
}
