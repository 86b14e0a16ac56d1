/* How long reading a configuration takes. */
#include <benchmark/benchmark.h>
#include <fmt/format.h>

#include <iterator>
#include <string>

#include "sim/config/configuration.h"

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

void read_configuration(benchmark::State &state)
{
    const std::string text = configuration_text(state.range());
    for (auto _ : state)
        benchmark::DoNotOptimize(kvnsim::read_configuration("bench.json", text));
    state.SetBytesProcessed(static_cast<int64_t>(text.size()) * state.iterations());
    state.counters["rows"] =
        benchmark::Counter(static_cast<double>(state.iterations() * (ports + state.range())),
                           benchmark::Counter::kIsRate);
}

BENCHMARK(read_configuration)->Arg(0)->Arg(1024)->Arg(65000)->Unit(benchmark::kMillisecond);

} // namespace
