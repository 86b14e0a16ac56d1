/* Runs the benchmarks and reports how the time for one interface grows with their number. */
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <limits>
#include <malloc.h>
#include <map>
#include <string>
#include <vector>

namespace {

double median(std::vector<double> values)
{
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

/* Ends with each phase's time for one interface, by their number. A ratio is that of two times
 * measured one after the other. */
class Scaling : public benchmark::ConsoleReporter {
public:
    Scaling() : ConsoleReporter(OO_None) {}

    void ReportRuns(const std::vector<Run> &runs) override
    {
        ConsoleReporter::ReportRuns(runs);
        for (const Run &run : runs) {
            if (run.run_type != Run::RT_Iteration || run.error_occurred)
                continue;
            for (const auto &[counter, value] : run.counters) {
                const size_t slash = counter.find('/');
                if (slash != counter.npos)
                    times_[counter.substr(0, slash)][std::stol(counter.substr(slash + 1))]
                        .push_back(value);
            }
        }
    }

    void Finalize() override
    {
        if (!times_.empty())
            std::printf("\nTime for one interface: the median, and that of the ratios\n");
        for (const auto &[phase, sizes] : times_) {
            const std::vector<double> &small = sizes.begin()->second,
                                      &large = sizes.rbegin()->second;
            std::vector<double> ratios;
            for (size_t i = 0; i < small.size(); ++i)
                ratios.push_back(large[i] / small[i]);
            std::printf("  %-12s", phase.c_str());
            for (const auto &[size, times] : sizes)
                std::printf(" %7ld: %6.2f us ", size, median(times) * 1e6);
            std::printf(" ratio %.2f\n", median(ratios));
        }
    }

private:
    std::map<std::string, std::map<long, std::vector<double>>> times_;
};

} // namespace

int main(int argc, char **argv)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 2;
    /* Runs with few interfaces reuse their memory; runs with many should too, instead of getting
     * fresh pages each time. */
    mallopt(M_MMAP_MAX, 0);
    mallopt(M_TRIM_THRESHOLD, std::numeric_limits<int>::max());
    Scaling reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    return 0;
}
