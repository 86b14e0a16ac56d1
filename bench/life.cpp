/* A switch with many L3 interfaces: apply, apply again, change, audit, tear down, with the time of
 * each phase for one interface. */
#include <benchmark/benchmark.h>

#include <ctime>
#include <memory>

#include "sim/state/audit.h"
#include "sim/state/snapshot.h"
#include "sim/switch/switch.h"

namespace {

using namespace kvnsim;

/* count L3 interfaces, always in the same proportions: of 65,000, 200 are routed ports, 25 routed
 * port-channels of two members, 4,000 SVIs, the rest sub-interfaces on ports and port-channels. */
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

bool audit_finds_nothing(const Switch &sw)
{
    return audit(capture(sw)).empty();
}

/* Processor time of this process in seconds. */
double processor_time()
{
    timespec time{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
}

/* Run all phases with count interfaces, as often as times; adds each phase's time for one interface
 * to the counters "apply/1000", "change/1000" ..., and the sum to "life/1000". */
void live(benchmark::State &state, uint32_t count, int times)
{
    const auto desired = std::make_shared<const Desired>(switch_with(count));
    const auto with_ipv6 = std::make_shared<const Desired>(changed(*desired));
    const auto phase = [&](const std::string &name, auto &&succeeds) {
        const double start = processor_time();
        if (!succeeds())
            state.SkipWithError(name.c_str());
        const double time = (processor_time() - start) / times / count;
        for (const std::string &of : {name, std::string("life")})
            state.counters[of + '/' + std::to_string(count)].value += time;
    };
    for (int i = 0; i < times; ++i) {
        Switch sw;
        phase("apply", [&] { return sw.apply(desired).failures.empty(); });
        phase("apply_again", [&] { return sw.plan(*desired).empty(); });
        phase("change", [&] { return sw.apply(with_ipv6).failures.empty(); });
        phase("audit", [&] { return audit_finds_nothing(sw); });
        phase("tear_down", [&] { return sw.apply(Desired()).failures.empty(); });
        if (!audit_finds_nothing(sw))
            state.SkipWithError("audit of the empty switch");
    }
}

/* Few and many interfaces in turn, the same total of each: the processor's speed changes within
 * seconds. */
void life(benchmark::State &state)
{
    for (auto _ : state) {
        live(state, 1000, 65);
        live(state, 65000, 1);
    }
}
BENCHMARK(life)->Unit(benchmark::kMillisecond)->Iterations(1)->Repetitions(15);

} // namespace
