#pragma once

#include <fstream>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "sim/cli/verb.h"
#include "sim/config/configuration.h"
#include "sim/record/recorder.h"
#include "sim/record/timeline.h"
#include "sim/state/snapshot.h"
#include "sim/switch/switch.h"
#include "sim/types/json.h"

/* What the verbs that run a switch share. */
namespace kvnsim {

class Console;

constexpr Option limit_option{"--limit TABLE=N", Takes::limit, Times::any,
                              "capacity of an ASIC table, such as intf=4096"};
constexpr Option keep_going_option{"--keep-going", Takes::nothing, Times::optional,
                                   "apply the valid rows of a configuration with errors"};

/* The shared options, placed between the verb's own: --fail, --fail-rate, --seed, --limit,
 * --keep-going; and before them --db, --record, --debug-file, --events, --trace. */
std::vector<Option> with_faults(std::vector<Option> before, const std::vector<Option> &behind);
std::vector<Option> with_instruments(std::vector<Option> before, const std::vector<Option> &behind);

/* Fault injection and observers of a switch. Construct after the switch, which resets them. */
class Instruments {
public:
    /* Throws UsageError when --json and --timeline would share standard output. */
    Instruments(const Arguments &arguments, Console &console);

    /* Set faults and capacities, and check every output file; no input may be among them. Throws
     * UsageError and SnapshotError. */
    void prepare(const std::vector<std::string> &inputs, bool writes_files = true);
    /* Open the sinks and the recording, and with --timeline start one; the interface as for
     * start_timeline(). Throws InputError. */
    void open(const std::string &timeline_interface = "");
    /* Write the database as it is now, if one was asked for. A failure is reported; false then. */
    bool save_database(const Snapshot &snapshot);
    /* Write every file, the database from this snapshot. A failure is reported and the other files
     * are still written; false then. */
    bool close(const Snapshot &snapshot);
    /* Report each --fail that never took effect; false when there is none. */
    bool warn_of_unused_faults() const;

    /* Start or change a timeline while running; "" for all interfaces. */
    void start_timeline(const std::string &interface);
    void stop_timeline() { timeline_.reset(); }
    /* If so, progress would appear between its lines. */
    bool shows_as_it_happens() const;
    /* "debug", "error" or "off". */
    void trace(std::string_view level);

private:
    void check_recording() const;
    /* Whether it could be written; what throws is reported. */
    bool reports(const std::function<void()> &writing);

    const Arguments &arguments_;
    Console &console_;
    std::ofstream recording_;
    std::optional<Recorder> recorder_;
    std::optional<Timeline> timeline_;
    std::string timeline_interface_;
};

/* Throws the error if there is a problem; what names the option that has it. */
template <class Error> void refuse(const std::string &problem, const char *what = "")
{
    if (!problem.empty())
        throw Error(what + problem);
}

/* Set the capacity of an ASIC table: "intf=4096". Returns the problem, or "". */
std::string set_limit(const std::string &text);

/* One configuration, and the result. */
struct ConfigurationRun {
    const Configuration *configuration;
    Plan plan;
    Applied applied;
    uint64_t requests = 0, calls = 0;
};

/* Carry out the plan made for a configuration; stop and progress as Switch::apply(). What the
 * configuration wants is the switch's then, and no longer in the configuration. */
ConfigurationRun carry_out(Switch &to, Configuration &configuration, Plan plan,
                           const std::function<bool()> &stop = {},
                           const std::function<void(size_t done, size_t of)> &progress = {});
/* The same; an interrupt ends it after the current step. Reports failures. Calls after_step after
 * each step. */
ConfigurationRun apply_configuration(Switch &to, Configuration &configuration, Plan plan,
                                     Console &console, bool shows_progress,
                                     const std::function<void()> &after_step = {});

/* "12 requests, 120 calls, 0 failures"; "..., 2 failures, 1 made up for" */
std::string summary(const ConfigurationRun &outcome);

/* "words", "object" and "cause" of a step, within an object. */
void write(Json &json, const Step &step);
/* An object: the step that failed, the message, the number of the request that made up for it, 0
 * for none, and the request that failed. */
void write(Json &json, const Failure &failure, uint64_t made_up_by);
/* The request that did later what a failed one was for; 0: none. */
uint64_t made_up_by(const Failure &failure, const MadeUpFor &made_up_for);

} // namespace kvnsim
