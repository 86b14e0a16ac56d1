#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "sim/switch/switch.h"

/* Churn: random changes of the configuration with random failures of the library's calls, audited
 * after each. Whatever is wrong must have an injected failure behind it. */
namespace kvnsim {

struct StressOptions {
    uint32_t interfaces = 64; /* about so many L3 interfaces at most */
    uint64_t operations = 10000;
    uint64_t seed = 1;
    double fail_rate = 0.01;    /* of each call that can fail */
    std::function<bool()> stop; /* asked before each operation, and while shortening */
    std::function<void(uint64_t done, uint64_t of)> progress;   /* told after each operation */
    std::function<void(uint64_t tries)> shortening;             /* told before each try */
    std::function<void(Switch &, uint64_t operation)> sabotage; /* for tests: after each apply */
};

/* What is wrong without a failure behind it, and the shortest way found to see it again. */
struct StressProblem {
    std::string what; /* the audit's words, or the failed step's */
    /* What leads there: what is wanted at power-on, then one change after another, each with the
     * calls that failed. */
    std::vector<std::string> power_on, changes;
};

struct StressResult {
    uint64_t operations = 0;
    uint64_t requests = 0;
    uint64_t calls = 0;
    uint64_t injected = 0;     /* failures injected */
    uint64_t failed_steps = 0; /* steps that did not come about, for that reason or in its wake */
    uint64_t findings = 0;     /* of all audits, each explained */
    uint64_t power_cycles = 0; /* switches started afresh, from the configuration so far */
    bool stopped = false;
    std::optional<StressProblem> problem;
};

StressResult stress(const StressOptions &options);

} // namespace kvnsim
