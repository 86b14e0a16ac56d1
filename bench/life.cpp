/* The life of a switch: applied, found as wanted, changed, audited and torn down, with the time
 * that each phase takes for one interface. */
#include <benchmark/benchmark.h>

#include <ctime>
#include <functional>
#include <memory>

#include "bench/switches.h"
#include "sim/state/audit.h"
#include "sim/state/snapshot.h"
#include "sim/switch/switch.h"

namespace {

using namespace kvnsim;

/* Every interface's IPv6 is the other way round. */
Desired changed(Desired desired)
{
    const auto change = [](L3Settings &l3) { l3.ipv6 = !l3.ipv6; };
    for (auto &[name, port] : desired.routed_ports)
        change(port.l3);
    for (auto &[name, channel] : desired.port_channels) {
        if (channel.l3)
            change(*channel.l3);
    }
    for (auto &[name, sub] : desired.sub_interfaces)
        change(sub.l3);
    for (auto &[name, svi] : desired.svis)
        change(svi.l3);
    return desired;
}

bool audit_finds_nothing(const Switch &sw)
{
    return audit(capture(sw)).empty();
}

/* Processor time in seconds: unlike the clock's it stands still while others have the processor. */
double processor_time()
{
    timespec time{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
}

/* Live through so many times; adds the time that each phase took for one interface, and all of
 * them, to the counters "apply/1000", "change/1000" ... and "life/1000". */
void live(benchmark::State &state, const MeasuredSwitch &one, uint32_t times)
{
    const auto with_other_ipv6 = std::make_shared<const Desired>(changed(*one.desired));
    const auto phase = [&](const std::string &name, auto &&comes_about) {
        const double start = processor_time();
        if (!comes_about())
            state.SkipWithError(name.c_str());
        const double time = (processor_time() - start) / times / one.interfaces;
        for (const std::string &of : {name, std::string("life")})
            state.counters[of + '/' + std::to_string(one.interfaces)].value += time;
    };
    for (uint32_t i = 0; i < times; ++i) {
        Switch sw;
        phase("apply", [&] { return sw.apply(one.desired).failures.empty(); });
        phase("apply_again", [&] { return sw.plan(*one.desired).empty(); });
        phase("change", [&] { return sw.apply(with_other_ipv6).failures.empty(); });
        phase("audit", [&] { return audit_finds_nothing(sw); });
        phase("tear_down", [&] { return sw.apply(Desired()).failures.empty(); });
        if (!audit_finds_nothing(sw))
            state.SkipWithError("audit of the empty switch");
    }
}

/* Few interfaces and many in turns, as many of them in all, so that all have the same processor:
 * its speed changes within seconds. */
void live_in_turns(benchmark::State &state, const MeasuredSwitches &switches)
{
    for (auto _ : state) {
        for (const MeasuredSwitch &one : switches)
            live(state, one, switches.back().interfaces / one.interfaces);
    }
}

} // namespace

void add_life(const MeasuredSwitches &switches)
{
    benchmark::RegisterBenchmark("life", live_in_turns, std::cref(switches))
        ->Unit(benchmark::kMillisecond)
        ->Iterations(1)
        ->Repetitions(15);
}
