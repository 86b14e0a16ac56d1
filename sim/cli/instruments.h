#pragma once

#include <fstream>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "sim/cli/verb.h"
#include "sim/record/recorder.h"
#include "sim/record/timeline.h"
#include "sim/state/snapshot.h"
#include "sim/switch/switch.h"

/* What the verbs that run a switch share. */
namespace kvnsim {

class Console;

/* Their options between those of their own: --db, --record, --debug-file, --events, --trace,
 * --fail,
 * --fail-rate, --seed, --limit, --keep-going. */
std::vector<Option> with_instruments(std::vector<Option> before, const std::vector<Option> &behind);

/* What disturbs a switch and what watches it. To be made after the switch, which forgets it all. */
class Instruments {
public:
    Instruments(const Arguments &arguments, Console &console);
    Instruments(const Instruments &) = delete;
    Instruments &operator=(const Instruments &) = delete;

    /* Set faults and capacities, and look at every output file; inputs must not be among them.
     * UsageError and SnapshotError. */
    void prepare(const std::vector<std::string> &inputs, bool writes_files = true);
    /* Open the sinks and the recording. InputError. */
    void open();
    /* Write out every file, the database with this snapshot. What cannot be written is told, and
     * keeps none of the others from it: false then. */
    bool close(const Snapshot &snapshot);
    /* Of --fail: those that nothing came of. */
    void warn_of_unused_faults() const;

    /* Change what is watched in the middle of it; "" or interface for all of them. */
    void start_timeline(const std::string &interface);
    void stop_timeline() { timeline_.reset(); }
    /* Then progress would stand between the lines of it. */
    bool shows_as_it_happens() const;
    /* "debug", "error" or "off". */
    void trace(std::string_view level);

private:
    void check_recording() const;
    TimelineOptions timeline_options(const std::string &interface) const;

    const Arguments &arguments_;
    Console &console_;
    std::ofstream recording_;
    std::optional<Recorder> recorder_;
    std::optional<Timeline> timeline_;
    std::string timeline_interface_;
};

/* Set the capacity of an ASIC table: "intf=4096". UsageError says what is wrong, without the name
 * of the option. */
void set_limit(const std::string &text);

/* One configuration, and what came of it. */
struct ConfigurationRun {
    const Configuration *configuration;
    Plan plan;
    Applied applied;
    uint64_t requests = 0, calls = 0;
};

/* Carry out the plan that was made for a configuration; an interrupt ends it after the step under
 * way. Failures are told. after_step is for the caller. */
ConfigurationRun apply_configuration(Switch &to, const Configuration &configuration, Plan plan,
                                     Console &console, bool shows_progress,
                                     const std::function<void()> &after_step = {});

/* "12 requests, 120 calls, 0 failures" */
std::string summary(const ConfigurationRun &outcome);

} // namespace kvnsim
