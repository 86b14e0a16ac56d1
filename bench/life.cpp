/* The life of a switch with many L3 interfaces: applied, found as wanted, changed, audited and torn
 * down, with the time that each phase takes for one interface. */
#include <benchmark/benchmark.h>

#include <cstdlib>

#include "bench/scaling.h"
#include "sim/state/audit.h"
#include "sim/state/snapshot.h"
#include "sim/switch/switch.h"

namespace {

using namespace kvnsim;

/* Count L3 interfaces in the same mixture for each count: of 65,000 there are 200 routed ports, 25
 * routed port-channels of two members, 4,000 SVIs, and sub-interfaces on ports and port-channels.
 */
Desired switch_with(uint32_t count)
{
    const auto share = [count](uint32_t of_65000) {
        return std::max<uint32_t>(1, count * of_65000 / 65000);
    };
    const uint32_t routed = share(200), channels = share(25), svis = share(4000);
    Desired desired;
    std::vector<std::string> parents;
    const auto port_name = [](uint32_t number) { return "Ethernet" + std::to_string(number); };
    for (uint32_t number = 0; number < routed + 2 * channels; ++number)
        desired.ports[port_name(number)] = DesiredPort();
    for (uint32_t number = 0; number < routed; ++number) {
        desired.routed_ports[port_name(number)].l3.ipv4 = true;
        parents.push_back(port_name(number));
    }
    for (uint32_t number = 0; number < channels; ++number) {
        const std::string name = "PortChannel" + std::to_string(number);
        DesiredPortChannel &channel = desired.port_channels[name];
        channel.number = number;
        channel.l3.emplace().ipv4 = true;
        channel.members[port_name(routed + 2 * number)];
        channel.members[port_name(routed + 2 * number + 1)];
        parents.push_back(name);
    }
    for (uint32_t vlan = 2; vlan < 2 + svis; ++vlan) {
        DesiredSvi &svi = desired.svis["Vlan" + std::to_string(vlan)];
        svi.vlan = vlan;
        svi.l3.ipv4 = true;
    }
    for (uint32_t made = routed + channels + svis, number = 0; made < count; ++made, ++number) {
        const std::string &parent = parents[number % parents.size()];
        const uint32_t vlan = 1 + number / static_cast<uint32_t>(parents.size());
        DesiredSubInterface &sub = desired.sub_interfaces[parent + '.' + std::to_string(vlan)];
        sub.parent = parent;
        sub.vlan = vlan;
        sub.mtu = 9100;
        sub.l3.ipv4 = true;
    }
    return desired;
}

/* IPv6 for every interface. */
Desired changed(Desired desired)
{
    for (auto &[name, port] : desired.routed_ports)
        port.l3.ipv6 = true;
    for (auto &[name, channel] : desired.port_channels)
        channel.l3->ipv6 = true;
    for (auto &[name, sub] : desired.sub_interfaces)
        sub.l3.ipv6 = true;
    for (auto &[name, svi] : desired.svis)
        svi.l3.ipv6 = true;
    return desired;
}

void expect(benchmark::State &state, bool holds, const char *otherwise)
{
    if (!holds)
        state.SkipWithError(otherwise);
}

bool audit_finds_nothing(const Switch &sw)
{
    return audit(capture(sw)).empty();
}

/* One phase of the life is timed, the others are gone through. */
enum class Phase { apply, apply_again, change, audit, tear_down };

template <Phase timed> void life(benchmark::State &state)
{
    const Desired desired = switch_with(static_cast<uint32_t>(state.range()));
    const Desired with_ipv6 = changed(desired);
    const auto phase = [&state](Phase which, auto &&work) {
        if (which == timed)
            state.ResumeTiming();
        work();
        if (which == timed)
            state.PauseTiming();
    };
    for (auto _ : state) {
        state.PauseTiming();
        Switch sw;
        phase(Phase::apply, [&] { expect(state, sw.apply(desired).failures.empty(), "apply"); });
        phase(Phase::apply_again, [&] { expect(state, sw.plan(desired).empty(), "apply again"); });
        phase(Phase::change,
              [&] { expect(state, sw.apply(with_ipv6).failures.empty(), "change"); });
        phase(Phase::audit, [&] { expect(state, audit_finds_nothing(sw), "audit"); });
        phase(Phase::tear_down,
              [&] { expect(state, sw.apply(Desired()).failures.empty(), "tear down"); });
        expect(state, audit_finds_nothing(sw), "audit of the empty switch");
        state.ResumeTiming();
    }
    bench::count(state, state.range());
}

void sizes(benchmark::internal::Benchmark *benchmark)
{
    /* As many interfaces in all for each size. */
    benchmark->Arg(1000)->Iterations(65)->Unit(benchmark::kMillisecond);
}
void large(benchmark::internal::Benchmark *benchmark)
{
    benchmark->Arg(65000)->Iterations(1)->Unit(benchmark::kMillisecond);
}

#define PHASE(name)                                                                                \
    BENCHMARK_TEMPLATE(life, Phase::name)->Name(#name)->Apply(sizes)->Repetitions(3);              \
    BENCHMARK_TEMPLATE(life, Phase::name)->Name(#name)->Apply(large)->Repetitions(3)

PHASE(apply);
PHASE(apply_again);
PHASE(change);
PHASE(audit);
PHASE(tear_down);

} // namespace
