#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "sim/config/desired.h"

/* What is measured: the switches of the configurations that bench_switch is given. */
struct MeasuredSwitch {
    std::string file, text;
    std::shared_ptr<const kvnsim::Desired> desired;
    uint32_t interfaces; /* L3 interfaces: at least one */
};
using MeasuredSwitches = std::vector<MeasuredSwitch>; /* the fewest interfaces first */

/* Add the benchmarks of these switches, which must stay. */
void add_life(const MeasuredSwitches &switches);
void add_reading(const MeasuredSwitches &switches);
