/* bench_switch [--benchmark_...] CONFIG...
 * Runs the benchmarks on the switches of these configurations and reports how the time for one
 * interface grows with their number. */
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <map>
#include <string>
#include <vector>

#include "bench/switches.h"
#include "sim/config/configuration.h"

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

uint32_t l3_interfaces(const kvnsim::Desired &desired)
{
    const auto routed_channels =
        std::count_if(desired.port_channels.begin(), desired.port_channels.end(),
                      [](const auto &channel) { return channel.second.l3.has_value(); });
    return static_cast<uint32_t>(desired.routed_ports.size() + desired.sub_interfaces.size() +
                                 desired.svis.size() + static_cast<size_t>(routed_channels));
}

/* false, and says why, when a file is no configuration of a switch with L3 interfaces. */
bool read_all(const std::vector<std::string> &files, MeasuredSwitches &switches)
{
    for (const std::string &file : files) {
        std::ifstream stream(file);
        const std::string text{std::istreambuf_iterator<char>(stream), {}};
        kvnsim::Configuration configuration = kvnsim::read_configuration(file, text);
        const uint32_t interfaces = l3_interfaces(configuration.desired);
        if (!stream || configuration.has_errors() || interfaces == 0) {
            std::fprintf(stderr,
                         "bench_switch: %s: cannot be read, has errors, or no L3 interface\n",
                         file.c_str());
            return false;
        }
        switches.push_back(
            {file, text, std::make_shared<const kvnsim::Desired>(std::move(configuration.desired)),
             interfaces});
    }
    std::sort(switches.begin(), switches.end(),
              [](const auto &a, const auto &b) { return a.interfaces < b.interfaces; });
    return true;
}

} // namespace

int main(int argc, char **argv)
{
    benchmark::Initialize(&argc, argv);
    if (argc == 1) {
        std::fprintf(stderr, "usage: bench_switch [--benchmark_...] CONFIG...\n");
        return 2;
    }
    MeasuredSwitches switches;
    if (!read_all({argv + 1, argv + argc}, switches))
        return 2;
    add_life(switches);
    add_reading(switches);
    Scaling reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    return 0;
}
