#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "sim/switch/switch.h"

/* Stress test: random configuration changes with injected failures of the library's calls, audited
 * after each. Every problem must have an injected failure behind it. */
namespace kvnsim {

struct StressOptions {
    uint32_t interfaces = 64; /* approximate maximum of L3 interfaces */
    uint64_t operations = 10000;
    uint64_t seed = 1;
    double fail_rate = 0.01;    /* probability, for each call that can fail */
    std::function<bool()> stop; /* polled before each operation and while shortening */
    std::function<void(uint64_t done, uint64_t of)> progress;   /* called after each operation */
    std::function<void(uint64_t tries)> shortening;             /* called before each try */
    std::function<void(Switch &, uint64_t operation)> sabotage; /* for tests: after each apply */
};

/* A problem without a failure behind it, and the shortest sequence found that reproduces it. */
struct StressProblem {
    std::string what; /* the finding, or the failed step */
    /* The sequence: what is wanted at power-on, then the changes, each with its failed calls. */
    std::vector<std::string> power_on, changes;
};

struct StressResult {
    uint64_t operations = 0;
    uint64_t requests = 0;
    uint64_t calls = 0;
    uint64_t injected = 0;     /* failures injected */
    uint64_t failed_steps = 0; /* steps that failed because of them, directly or later */
    uint64_t findings = 0;     /* of all audits, each explained */
    uint64_t power_cycles = 0; /* restarts with the current configuration */
    bool stopped = false;
    std::optional<StressProblem> problem;
};

StressResult stress(const StressOptions &options);

} // namespace kvnsim
