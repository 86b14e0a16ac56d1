/* How long a switch takes to come up: reading its configuration, programming its interfaces, and
 * finding that nothing has changed. */
#include <benchmark/benchmark.h>
#include <fmt/format.h>

#include <iterator>
#include <string>

#include "sim/switch/switch.h"

namespace {

constexpr int ports = 64;

/* Routed ports with count sub-interfaces spread over them. */
std::string configuration_text(int64_t count)
{
    std::string port_rows, routed_rows, sub_rows;
    for (int port = 0; port < ports; ++port) {
        const char *comma = port == 0 ? "" : ",\n";
        fmt::format_to(std::back_inserter(port_rows),
                       "{}\"Ethernet{}\": {{\"mtu\": \"9216\", \"admin_status\": \"up\"}}", comma,
                       port * 4);
        fmt::format_to(std::back_inserter(routed_rows),
                       "{}\"Ethernet{}\": {{}}, \"Ethernet{}|10.0.{}.1/31\": {{}}", comma, port * 4,
                       port * 4, port);
    }
    for (int64_t sub = 0; sub < count; ++sub)
        fmt::format_to(std::back_inserter(sub_rows),
                       "{}\"Ethernet{}.{}\": {{\"admin_status\": \"up\"}}", sub == 0 ? "" : ",\n",
                       sub % ports * 4, 2 + sub / ports);
    return fmt::format(
        "{{\"PORT\": {{{}}}, \"INTERFACE\": {{{}}}, \"VLAN_SUB_INTERFACE\": {{{}}}}}", port_rows,
        routed_rows, sub_rows);
}

kvnsim::Desired wanted(benchmark::State &state)
{
    auto configuration =
        kvnsim::read_configuration("bench.json", configuration_text(state.range()));
    if (configuration.has_errors())
        state.SkipWithError(configuration.findings.front().to_text().c_str());
    return configuration.desired;
}

void count_interfaces(benchmark::State &state)
{
    state.counters["interfaces"] =
        benchmark::Counter(static_cast<double>(state.iterations() * (ports + state.range())),
                           benchmark::Counter::kIsRate);
}

void read_configuration(benchmark::State &state)
{
    const std::string text = configuration_text(state.range());
    for (auto _ : state)
        benchmark::DoNotOptimize(kvnsim::read_configuration("bench.json", text));
    state.SetBytesProcessed(static_cast<int64_t>(text.size()) * state.iterations());
    count_interfaces(state);
}

/* From power-on to all interfaces programmed, the plan included. */
void bring_up(benchmark::State &state)
{
    const kvnsim::Desired desired = wanted(state);
    for (auto _ : state) {
        kvnsim::Switch powered_on;
        if (!powered_on.apply(desired).failures.empty())
            state.SkipWithError("a step failed");
    }
    count_interfaces(state);
}

/* The same configuration once more: the plan is empty. */
void find_nothing_changed(benchmark::State &state)
{
    const kvnsim::Desired desired = wanted(state);
    kvnsim::Switch powered_on;
    powered_on.apply(desired);
    for (auto _ : state)
        if (!powered_on.plan(desired).empty())
            state.SkipWithError("the plan is not empty");
    count_interfaces(state);
}

BENCHMARK(read_configuration)->Arg(0)->Arg(1024)->Arg(4096)->Unit(benchmark::kMillisecond);
BENCHMARK(bring_up)->Arg(0)->Arg(1024)->Arg(4096)->Unit(benchmark::kMillisecond);
BENCHMARK(find_nothing_changed)->Arg(0)->Arg(1024)->Arg(4096)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
