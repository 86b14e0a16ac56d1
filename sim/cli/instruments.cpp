/* Fault injection, capacities and output files for the verbs that run a switch: prepare(), open(),
 * run, close(). Nothing is written before prepare() has checked every option and file, and close()
 * writes every file even if another one fails. */
#include "sim/cli/instruments.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <utility>

#include <fmt/format.h>

#include "sim/cli/console.h"
#include "sim/cli/input.h"
#include "sim/cli/interrupt.h"
#include "sim/cli/output_file.h"
#include "sim/config/names.h"
#include "sim/fwm/diagnostics.h"
#include "sim/sdk/asic.h"
#include "sim/types/text.h"

namespace kvnsim {
namespace {

LevelSwitch level_switch(std::string_view level)
{
    return {level == "error" || level == "debug", level == "debug"};
}

constexpr Option record_option{
    "--record FILE", Takes::file, Times::optional,
    "record requests, calls and traces as JSON lines, for `kvnsim replay`"};
constexpr Option debug_file_option{"--debug-file FILE", Takes::file, Times::optional,
                                   "write the library's debug file"};
constexpr Option events_option{"--events FILE", Takes::file, Times::optional,
                               "write the event history, for `kvnsim events`"};
constexpr Option outputs[] = {
    {"--db FILE", Takes::file, Times::optional, "save the shared database and the ASIC's tables"},
    record_option,
    debug_file_option,
    events_option,
    force_option,
    {"--trace debug|error", Takes::choice, Times::optional,
     "show trace records: all, or errors only"}};
constexpr Option faults_and_limits[] = {
    {"--fail CALL[:N][=STATUS]", Takes::fault, Times::any,
     "make a call fail: each time, or the Nth"},
    {"--fail-rate P", Takes::probability, Times::optional,
     "make each call that can fail do so with this probability"},
    {"--seed N", Takes::count, Times::optional,
     "for --fail-rate: the same seed gives the same failures (1)"},
    limit_option,
    keep_going_option};

template <class Options> void append(std::vector<Option> &to, const Options &options)
{
    to.insert(to.end(), std::begin(options), std::end(options));
}

} // namespace

std::vector<Option> with_faults(std::vector<Option> before, const std::vector<Option> &behind)
{
    append(before, faults_and_limits);
    append(before, behind);
    return before;
}

std::vector<Option> with_instruments(std::vector<Option> before, const std::vector<Option> &behind)
{
    append(before, outputs);
    return with_faults(std::move(before), behind);
}

Instruments::Instruments(const Arguments &arguments, Console &console)
    : arguments_(arguments), console_(console)
{
    if (arguments.has("--json") && arguments.has("--timeline"))
        throw UsageError("--json prints documents, and nothing else: use --record FILE instead of "
                         "--timeline");
}

void Instruments::prepare(const std::vector<std::string> &inputs, bool writes_files)
{
    for (const std::string &limit : arguments_.values("--limit"))
        refuse<UsageError>(set_limit(limit), "--limit: ");
    Faults &faults = Journal::instance().faults;
    for (const std::string &fault : arguments_.values("--fail"))
        refuse<UsageError>(faults.add(fault), "--fail: ");
    if (arguments_.has("--seed") && !arguments_.has("--fail-rate"))
        throw UsageError("--seed is for --fail-rate, which is missing");
    if (arguments_.has("--fail-rate"))
        faults.set_rate(arguments_.probability("--fail-rate", 0), arguments_.count("--seed", 1));

    /* No output may overwrite an input or another output; but --db may replace the database that
     * the run goes on from. */
    std::vector<std::string> taken = inputs;
    const bool replaces = same_file(arguments_.value("--from"), arguments_.value("--db"));
    if (arguments_.has("--from") && !replaces)
        taken.push_back(arguments_.value("--from"));
    for (const char *option : {"--db", "--record", "--debug-file", "--events"}) {
        if (!arguments_.has(option))
            continue;
        const std::string &file = arguments_.value(option);
        for (const std::string &other : taken) {
            if (same_file(file, other))
                throw UsageError(fmt::format("{} {}: the file is already in use", option, file));
        }
        taken.push_back(file);
    }
    if (!writes_files)
        return;
    if (arguments_.has("--db"))
        check_can_save(arguments_.value("--db"));
    check_overwrites(arguments_, record_option, OutputKind::recording);
    check_overwrites(arguments_, debug_file_option, OutputKind::debug_file);
    check_overwrites(arguments_, events_option, OutputKind::event_history);
}

void Instruments::open(const std::string &timeline_interface)
{
    /* When one cannot be opened, none has lost what it held. */
    const std::string &recording = arguments_.value(record_option.name());
    if (!recording.empty()) {
        recording_.open(recording, std::ios::app);
        check_recording();
    }
    Sinks sinks;
    sinks.debug_file = arguments_.value("--debug-file");
    sinks.event_file = arguments_.value("--events");
    sinks.console = level_switch(arguments_.value("--trace"));
    refuse<InputError>(Diagnostics::instance().configure(sinks));
    if (recording_.is_open()) {
        if (std::filesystem::is_regular_file(recording))
            std::filesystem::resize_file(recording, 0);
        recorder_.emplace(recording_);
    }
    if (arguments_.has("--timeline"))
        start_timeline(timeline_interface);
}

void Instruments::check_recording() const
{
    if (!recording_)
        throw InputError(
            fmt::format("cannot write {}: {}", arguments_.value("--record"), std::strerror(errno)));
}

void Instruments::start_timeline(const std::string &interface)
{
    const LevelSwitch &traced = Diagnostics::instance().sinks().console;
    TimelineOptions options;
    options.interface = interface;
    options.traces = traced.error;
    options.errors_only = !traced.debug;
    options.colour = console_.out_has_colour();
    timeline_interface_ = interface;
    timeline_.reset();
    timeline_.emplace(console_.out(), options);
}

bool Instruments::shows_as_it_happens() const
{
    return timeline_ || Diagnostics::instance().sinks().console.error;
}

void Instruments::trace(std::string_view level)
{
    Sinks sinks = Diagnostics::instance().sinks();
    sinks.console = level_switch(level);
    refuse<InputError>(Diagnostics::instance().configure(sinks));
    if (timeline_)
        start_timeline(timeline_interface_);
}

bool Instruments::reports(const std::function<void()> &writing)
{
    try {
        writing();
        return true;
    } catch (const std::runtime_error &error) {
        console_.error(fmt::format("kvnsim: {}", error.what()));
        return false;
    }
}

bool Instruments::save_database(const Snapshot &snapshot)
{
    return reports([&] {
        if (arguments_.has("--db"))
            save(snapshot, arguments_.value("--db"));
    });
}

bool Instruments::close(const Snapshot &snapshot)
{
    timeline_.reset();
    recorder_.reset();
    bool all_written = save_database(snapshot);
    all_written &= reports([] { refuse<InputError>(Diagnostics::instance().flush()); });
    all_written &= reports([&] {
        if (recording_.is_open()) {
            recording_.close();
            check_recording();
        }
    });
    return all_written;
}

bool Instruments::warn_of_unused_faults() const
{
    const std::vector<std::string> unused = Journal::instance().faults.unused();
    for (const std::string &fault : unused)
        console_.warning(fmt::format("kvnsim: --fail {} never took effect", fault));
    return !unused.empty();
}

std::string set_limit(const std::string &text)
{
    const size_t equals = text.find('=');
    const auto capacity =
        equals == text.npos
            ? std::nullopt
            : parse_number(std::string_view(text).substr(equals + 1), 0, 999'999'999);
    if (!capacity)
        return fmt::format("expected TABLE=NUMBER, such as intf=4096, not \"{}\"", text);
    return Asic::instance().set_limit(text.substr(0, equals), *capacity);
}

ConfigurationRun carry_out(Switch &to, Configuration &configuration, Plan plan,
                           const std::function<bool()> &stop,
                           const std::function<void(size_t done, size_t of)> &progress)
{
    Journal &journal = Journal::instance();
    ConfigurationRun outcome{
        &configuration, std::move(plan), {}, journal.requests_made(), journal.calls_made};
    outcome.applied = to.apply(
        outcome.plan, std::make_shared<const Desired>(std::exchange(configuration.desired, {})),
        stop, progress);
    outcome.requests = journal.requests_made() - outcome.requests;
    outcome.calls = journal.calls_made - outcome.calls;
    return outcome;
}

ConfigurationRun apply_configuration(Switch &to, Configuration &configuration, Plan plan,
                                     Console &console, bool shows_progress,
                                     const std::function<void()> &after_step)
{
    const std::string step = configuration.file + ": step";
    const ConfigurationRun outcome =
        carry_out(to, configuration, std::move(plan), is_interrupted, [&](size_t done, size_t of) {
            if (after_step)
                after_step();
            if (shows_progress)
                console.progress(step, done, of);
        });
    console.clear_progress();
    MadeUpFor made_up_for = outcome.applied.made_up_for;
    for (const Failure &failure : outcome.applied.failures) {
        const uint64_t by = made_up_by(failure, outcome.applied.made_up_for);
        if (by != 0)
            made_up_for.erase(failure.request->number);
        console.error(fmt::format("{}: failed to {}: {}{}", failure.step.cause.to_text(),
                                  failure.step.words(), failure.message,
                                  by != 0 ? fmt::format("; made up for by request {}", by) : ""));
    }
    /* What is left failed in an earlier configuration. */
    for (const auto &[failed, by] : made_up_for)
        console.note(fmt::format("{}: the failure of request {} is made up for by request {}",
                                 configuration.file, failed, by));
    return outcome;
}

void write(Json &json, const Step &step)
{
    json.field("words", step.words()).field("object", step.name);
    write(json.key("cause").begin_object(), step.cause);
    json.end_object();
}

uint64_t made_up_by(const Failure &failure, const MadeUpFor &made_up_for)
{
    const auto found =
        failure.request != nullptr ? made_up_for.find(failure.request->number) : made_up_for.end();
    return found == made_up_for.end() ? 0 : found->second;
}

void write(Json &json, const Failure &failure, uint64_t made_up_by)
{
    write(json.begin_object(), failure.step);
    json.field("message", failure.message).key("made_up_by");
    if (made_up_by != 0)
        json.value(made_up_by);
    else
        json.null();
    json.key("request");
    if (failure.request == nullptr) {
        json.null().end_object();
        return;
    }
    const Request &request = *failure.request;
    json.begin_object().field("number", request.number).field("entry", request.entry);
    json.field("arguments", request.arguments.to_text()).field("result", request.result);
    json.field("failed_calls", request.failed_calls);
    json.field("first_failure", request.first_failure().words);
    json.field("reason", request.first_failure().reason).end_object().end_object();
}

std::string summary(const ConfigurationRun &outcome)
{
    const auto &failures = outcome.applied.failures;
    const auto made_up = std::count_if(failures.begin(), failures.end(), [&](const Failure &one) {
        return made_up_by(one, outcome.applied.made_up_for) != 0;
    });
    return fmt::format(
        "{}, {}, {}{}{}", counted(outcome.requests, "request"), counted(outcome.calls, "call"),
        counted(failures.size(), "failure"),
        made_up == 0 ? "" : fmt::format(", {} made up for", made_up),
        outcome.applied.interrupted
            ? fmt::format("; interrupted after {}", counted(outcome.applied.steps_done, "step"))
            : "");
}

} // namespace kvnsim
