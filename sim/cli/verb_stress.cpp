#include <fmt/format.h>

#include "sim/cli/console.h"
#include "sim/cli/input.h"
#include "sim/cli/interrupt.h"
#include "sim/cli/verb.h"
#include "sim/stress/stress.h"
#include "sim/types/json.h"
#include "sim/types/text.h"

namespace kvnsim {
namespace {

void print_json(const StressOptions &options, const StressResult &result, Console &console)
{
    Json json;
    json.begin_object();
    json.field("interfaces", options.interfaces).field("seed", options.seed);
    json.field("fail_rate", options.fail_rate);
    json.field("operations", result.operations).field("requests", result.requests);
    json.field("calls", result.calls).field("injected_failures", result.injected);
    json.field("failed_steps", result.failed_steps).field("findings", result.findings);
    json.field("power_cycles", result.power_cycles).field("interrupted", result.stopped);
    json.key("problem");
    if (result.problem) {
        json.begin_object().field("what", result.problem->what);
        json.field("power_on", result.problem->power_on);
        json.field("changes", result.problem->changes).end_object();
    } else {
        json.null();
    }
    console.out() << json.end_object().document();
}

void print_text(const StressOptions &options, const StressResult &result, Console &console)
{
    std::ostream &out = console.out();
    out << fmt::format("{} with seed {}: {}, {}, {}\n", counted(result.operations, "operation"),
                       options.seed, counted(result.requests, "request"),
                       counted(result.calls, "call"), counted(result.power_cycles, "power cycle"));
    out << fmt::format("{} injected; {} failed, {} of the audits\n",
                       counted(result.injected, "failure"), counted(result.failed_steps, "step"),
                       counted(result.findings, "finding"));
    if (!result.problem) {
        if (result.operations != 0)
            out << "All are due to injected failures.\n";
        return;
    }
    out << fmt::format("Wrong, with no failure to explain it: {}\n", result.problem->what);
    if (result.problem->power_on.empty())
        out << "The shortest sequence found, from power-on:\n";
    else
        out << "The shortest sequence found, from power-on with these:\n";
    for (const std::string &object : result.problem->power_on)
        out << fmt::format("  - {}\n", object);
    for (size_t i = 0; i < result.problem->changes.size(); ++i)
        out << fmt::format("  {}. {}\n", i + 1, result.problem->changes[i]);
}

int churn(const Arguments &arguments, Console &console)
{
    StressOptions options;
    const uint64_t interfaces = arguments.count("--interfaces", options.interfaces);
    if (interfaces == 0 || interfaces > 65000)
        throw UsageError(fmt::format("--interfaces: expected 1 to 65000, not {}", interfaces));
    options.interfaces = static_cast<uint32_t>(interfaces);
    options.operations = arguments.count("--operations", options.operations);
    options.seed = arguments.count("--seed", options.seed);
    options.fail_rate = arguments.probability("--fail-rate", options.fail_rate);
    options.stop = [] { return interrupt_signal() != 0; };
    options.progress = [&](uint64_t done, uint64_t of) { console.progress("operation", done, of); };
    options.shortening = [&](uint64_t tries) {
        console.progress(fmt::format("something is wrong; shortening the sequence: try {}", tries));
    };
    const StressResult result = stress(options);
    console.clear_progress();
    if (arguments.has("--json"))
        print_json(options, result, console);
    else
        print_text(options, result, console);
    if (result.problem)
        return exit_found;
    if (result.stopped) {
        console.error("kvnsim: interrupted: the rest was not tried");
        return exit_signal + interrupt_signal();
    }
    return exit_well;
}

} // namespace

const Verb stress_verb{
    "stress",
    "change a random configuration repeatedly while calls fail, and audit each time",
    "kvnsim stress --operations 1000 --seed 7 --fail-rate 0.01\n",
    {{"--interfaces N", Takes::count, Times::optional, "approximate maximum of L3 interfaces (64)"},
     {"--operations N", Takes::count, Times::optional, "how many changes to make (10000)"},
     {"--seed N", Takes::count, Times::optional,
      "the same seed gives the same changes and failures (1)"},
     {"--fail-rate P", Takes::probability, Times::optional,
      "make each call that can fail do so with this probability (0.01)"},
     json_option},
    churn,
    true};

} // namespace kvnsim
