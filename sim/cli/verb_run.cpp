#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>

#include <fmt/format.h>

#include "sim/cli/console.h"
#include "sim/cli/input.h"
#include "sim/cli/interrupt.h"
#include "sim/cli/json.h"
#include "sim/cli/near.h"
#include "sim/cli/stored.h"
#include "sim/cli/tables.h"
#include "sim/cli/verb.h"
#include "sim/fwm/diagnostics.h"
#include "sim/record/recorder.h"
#include "sim/record/timeline.h"
#include "sim/sdk/asic.h"
#include "sim/state/audit.h"
#include "sim/state/show.h"
#include "sim/state/snapshot.h"
#include "sim/switch/switch.h"

namespace kvnsim {
namespace {

/* The requests that each step of a plan makes. */
class StepRequests : public Observer {
public:
    StepRequests() { Journal::instance().add(*this); }
    ~StepRequests() override { Journal::instance().remove(*this); }
    StepRequests(const StepRequests &) = delete;
    StepRequests &operator=(const StepRequests &) = delete;

    void request_begins(const Request &request) override { made_.push_back(request); }
    void end_step() { steps_.push_back(std::exchange(made_, {})); }
    std::vector<std::vector<Request>> take() { return std::exchange(steps_, {}); }

private:
    std::vector<Request> made_;
    std::vector<std::vector<Request>> steps_;
};

/* One configuration, and what came of it. */
struct ConfigurationRun {
    const Configuration *configuration;
    Plan plan;
    Applied applied;
    uint64_t requests = 0, calls = 0;
    std::vector<std::vector<Request>> step_requests; /* of a dry run */
};

class Run {
public:
    Run(const Arguments &arguments, Console &console)
        : arguments_(arguments), console_(console), json_(arguments.has("--json")),
          quiet_(arguments.has("--quiet")), dry_(arguments.has("--dry-run"))
    {}

    int run()
    {
        check_arguments();
        progress("reading the configurations");
        configurations_ = read_configurations(arguments_.values("CONFIG"));
        console_.clear_progress();
        if (interrupt_signal() != 0)
            return interrupted("nothing was applied");
        tell_findings(configurations_, !quiet_, console_);
        if (have_errors(configurations_) && !arguments_.has("--keep-going")) {
            console_.error("kvnsim: nothing was applied (--keep-going applies what is sound)");
            if (json_)
                print_json(nullptr, {});
            return exit_input;
        }
        check_timeline_interface();
        if (!dry_)
            open_outputs();
        for (const Configuration &configuration : configurations_) {
            if (interrupt_signal() == 0)
                apply(configuration);
        }
        return finish();
    }

private:
    /* ---- Before ---- */

    void check_arguments()
    {
        for (const std::string &limit : arguments_.values("--limit"))
            set_limit(limit);
        Faults &faults = Journal::instance().faults;
        for (const std::string &fault : arguments_.values("--fail")) {
            const std::string problem = faults.add(fault);
            if (!problem.empty())
                throw UsageError("--fail: " + problem);
        }
        if (arguments_.has("--seed") && !arguments_.has("--fail-rate"))
            throw UsageError("--seed is for --fail-rate, which is missing");
        if (arguments_.has("--fail-rate"))
            faults.set_rate(arguments_.probability("--fail-rate", 0),
                            arguments_.count("--seed", 1));
        if (json_ && arguments_.has("--timeline") && !dry_)
            throw UsageError("--json prints one document, and nothing else: use --record FILE "
                             "instead of --timeline");
        check_output_files();
        if (!dry_ && arguments_.has("--db"))
            check_can_save(arguments_.value("--db"));
    }

    void set_limit(const std::string &text)
    {
        const size_t equals = text.find('=');
        const std::string digits = equals == text.npos ? "" : text.substr(equals + 1);
        if (digits.empty() || digits.size() > 9 ||
            digits.find_first_not_of("0123456789") != digits.npos)
            throw UsageError(
                fmt::format("--limit: expected TABLE=NUMBER, as intf=4096, not \"{}\"", text));
        const std::string problem = Asic::instance().set_limit(
            text.substr(0, equals), static_cast<uint32_t>(std::stoul(digits)));
        if (!problem.empty())
            throw UsageError("--limit: " + problem);
    }

    /* No output may take the place of a configuration or of another output. */
    void check_output_files() const
    {
        std::vector<std::string> taken = arguments_.values("CONFIG");
        for (const char *option : {"--db", "--record", "--debug-file", "--events"}) {
            if (!arguments_.has(option))
                continue;
            const std::string &file = arguments_.value(option);
            for (const std::string &other : taken) {
                std::error_code none;
                if (file == other || std::filesystem::equivalent(file, other, none))
                    throw UsageError(
                        fmt::format("{} {}: the file is used otherwise", option, file));
            }
            taken.push_back(file);
        }
    }

    void check_timeline_interface() const
    {
        const std::string &interface = arguments_.value("--timeline");
        if (interface.empty())
            return;
        std::vector<std::string> names;
        const auto collect = [&](const auto &objects) {
            for (const auto &[name, object] : objects)
                names.push_back(name);
        };
        for (const Configuration &configuration : configurations_) {
            collect(configuration.desired.ports);
            collect(configuration.desired.port_channels);
            collect(configuration.desired.sub_interfaces);
            collect(configuration.desired.svis);
        }
        if (std::find(names.begin(), names.end(), interface) == names.end())
            throw UsageError(fmt::format("--timeline: no configuration has an interface \"{}\"{}",
                                         interface, did_you_mean(interface, names)));
    }

    void open_outputs()
    {
        const bool debug = arguments_.value("--trace") == "debug";
        const LevelSwitch traced{arguments_.has("--trace"), debug};
        Sinks sinks;
        sinks.debug_file = arguments_.value("--debug-file");
        sinks.event_file = arguments_.value("--events");
        sinks.console = traced;
        const std::string problem = Diagnostics::instance().configure(sinks);
        if (!problem.empty())
            throw InputError(problem);
        if (arguments_.has("--record")) {
            recording_.open(arguments_.value("--record"));
            check_recording();
            recorder_.emplace(recording_);
        }
        if (arguments_.has("--timeline")) {
            TimelineOptions options;
            options.interface = arguments_.value("--timeline");
            options.traces = arguments_.has("--trace");
            options.colour = console_.out_has_colour();
            timeline_.emplace(console_.out(), options);
        }
    }

    void check_recording() const
    {
        if (!recording_)
            throw InputError(fmt::format("cannot write {}: {}", arguments_.value("--record"),
                                         std::strerror(errno)));
    }

    /* ---- Work ---- */

    /* Not between the lines of what is shown as it happens. */
    bool shows_progress() const
    {
        return !arguments_.has("--timeline") && !arguments_.has("--trace");
    }
    void progress(const std::string &what)
    {
        if (shows_progress())
            console_.progress(what);
    }

    void apply(const Configuration &configuration)
    {
        Journal &journal = Journal::instance();
        progress(configuration.file + ": planning");
        ConfigurationRun outcome{&configuration, switch_.plan(configuration.desired), {}, 0, 0, {}};
        console_.clear_progress();
        std::optional<StepRequests> requests;
        if (dry_)
            requests.emplace();
        if (!json_ && !quiet_)
            print_plan(outcome);
        outcome.requests = journal.requests_made();
        outcome.calls = journal.calls_made;
        outcome.applied = switch_.apply(
            outcome.plan, configuration.desired, [] { return interrupt_signal() != 0; },
            [&](size_t done, size_t of) {
                if (requests)
                    requests->end_step();
                if (shows_progress())
                    console_.progress(configuration.file + ": step", done, of);
            });
        console_.clear_progress();
        outcome.requests = journal.requests_made() - outcome.requests;
        outcome.calls = journal.calls_made - outcome.calls;
        if (requests)
            outcome.step_requests = requests->take();
        for (const Failure &failure : outcome.applied.failures)
            tell(failure);
        if (!json_ && !quiet_) {
            print_result(outcome);
        }
        outcomes_.push_back(std::move(outcome));
    }

    void tell(const Failure &failure)
    {
        console_.error(
            fmt::format("{}: failed to {}: {}{}", failure.step.cause.to_text(), failure.step.words,
                        failure.request ? fmt::format("request {} ", failure.request->number) : "",
                        failure.message));
    }

    void print_plan(const ConfigurationRun &outcome)
    {
        console_.out() << fmt::format("{}: {}\n", outcome.configuration->file,
                                      counted(outcome.plan.steps.size(), "step"));
        const std::string ignored = ignored_tables(*outcome.configuration);
        if (!ignored.empty())
            console_.out() << "  not applied: " << ignored << "\n";
        console_.out().flush();
    }

    void print_result(const ConfigurationRun &outcome)
    {
        std::ostream &out = console_.out();
        for (size_t i = 0; i < outcome.step_requests.size(); ++i) {
            out << "  " << outcome.plan.steps[i].words << "\n";
            for (const Request &request : outcome.step_requests[i])
                out << fmt::format("      {}({})\n", request.entry, request.arguments);
        }
        out << fmt::format(
            "  {}, {}, {}{}\n", counted(outcome.requests, "request"),
            counted(outcome.calls, "call"), counted(outcome.applied.failures.size(), "failure"),
            outcome.applied.interrupted
                ? fmt::format("; interrupted after {}", counted(outcome.applied.steps_done, "step"))
                : "");
    }

    /* ---- After ---- */

    int finish()
    {
        timeline_.reset();
        recorder_.reset();
        bool found = false;
        if (dry_) {
            if (json_)
                print_json(nullptr, {});
            else if (!quiet_)
                console_.out() << "Nothing was applied.\n";
        } else {
            const Snapshot snapshot = capture(switch_, applied_files());
            keep(snapshot);
            const std::vector<AuditFinding> findings = audit(snapshot);
            found = !findings.empty();
            if (json_)
                print_json(&snapshot, findings);
            else if (!quiet_)
                print_tables(snapshot);
        }
        for (const std::string &fault : Journal::instance().faults.unused())
            console_.warning(fmt::format("kvnsim: --fail {} never struck", fault));
        return status(found);
    }

    /* Write out every file; what cannot be written must not keep the others from it. */
    void keep(const Snapshot &snapshot)
    {
        const auto write = [&](const auto &file) {
            try {
                file();
            } catch (const std::runtime_error &error) {
                console_.error(fmt::format("kvnsim: {}", error.what()));
                files_written_ = false;
            }
        };
        write([&] {
            if (arguments_.has("--db"))
                save(snapshot, arguments_.value("--db"));
        });
        write([&] {
            const std::string problem = Diagnostics::instance().flush();
            if (!problem.empty())
                throw InputError(problem);
        });
        write([&] {
            if (recording_.is_open()) {
                recording_.close();
                check_recording();
            }
        });
    }

    std::vector<std::string> applied_files() const
    {
        std::vector<std::string> files;
        for (const ConfigurationRun &outcome : outcomes_)
            files.push_back(outcome.configuration->file);
        return files;
    }

    void print_tables(const Snapshot &snapshot)
    {
        /* Without what would make lines too long for a terminal; `kvnsim show` has it. */
        print(without(show(snapshot, "interfaces"), {"parent", "addresses"}));
        print(attribute_values(snapshot));
        print(without(show(snapshot, "port-channels"), {"number"}));
        print(without(show(snapshot, "macs"), {"made_by"}));
        print(shared_database(snapshot));
        console_.out() << "\n";
        print_audit(snapshot, false, console_);
    }

    static Listing without(Listing listing, std::initializer_list<std::string_view> keys)
    {
        for (const std::string_view key : keys) {
            const auto column =
                std::find_if(listing.columns.begin(), listing.columns.end(),
                             [&](const Column &candidate) { return candidate.key == key; });
            if (column == listing.columns.end())
                continue;
            const auto position = column - listing.columns.begin();
            listing.columns.erase(column);
            for (auto &row : listing.rows)
                row.erase(row.begin() + position);
        }
        return listing;
    }

    void print(const Listing &listing)
    {
        if (listing.rows.empty())
            return;
        console_.out() << "\n";
        console_.print_titled(to_text(listing));
    }

    int interrupted(const char *what)
    {
        console_.error(fmt::format("kvnsim: interrupted: {}", what));
        return exit_signal + interrupt_signal();
    }

    int status(bool found)
    {
        if (interrupt_signal() != 0)
            return interrupted(dry_                     ? "the plan is not complete"
                               : arguments_.has("--db") ? "the database holds what was done"
                                                        : "the rest was not applied");
        if (std::any_of(outcomes_.begin(), outcomes_.end(),
                        [](const ConfigurationRun &o) { return !o.applied.failures.empty(); }))
            return exit_request;
        if (have_errors(configurations_) || !files_written_)
            return exit_input;
        return found ? exit_found : exit_well;
    }

    /* ---- The JSON document ---- */

    void print_json(const Snapshot *snapshot, const std::vector<AuditFinding> &findings)
    {
        Json json;
        json.begin_object().key("configurations").begin_array();
        for (size_t i = 0; i < configurations_.size(); ++i) {
            json.begin_object().configuration(configurations_[i]);
            json.field("applied", !dry_ && i < outcomes_.size());
            if (i < outcomes_.size())
                outcome(json, outcomes_[i]);
            json.end_object();
        }
        json.end_array().field("interrupted", interrupt_signal() != 0).key("unused_faults");
        json.begin_array();
        for (const std::string &fault : Journal::instance().faults.unused())
            json.value(fault);
        json.end_array().key("switch");
        if (snapshot == nullptr) {
            json.null();
        } else {
            json.raw(to_json(*snapshot, findings), rapidjson::kObjectType);
            for (const auto &[key, listing] :
                 {std::pair("attributes", attribute_values(*snapshot)),
                  std::pair("shared_database", shared_database(*snapshot))})
                json.key(key).raw(to_json(listing), rapidjson::kArrayType);
        }
        console_.out() << json.end_object().document();
    }

    void outcome(Json &json, const ConfigurationRun &outcome) const
    {
        json.field("requests", outcome.requests).field("calls", outcome.calls);
        json.field("steps_done", outcome.applied.steps_done);
        json.key("steps").begin_array();
        for (size_t i = 0; i < outcome.plan.steps.size(); ++i) {
            const Step &step = outcome.plan.steps[i];
            json.begin_object().field("words", step.words).field("object", step.name);
            json.key("cause").begin_object().place(step.cause).end_object();
            if (i < outcome.step_requests.size()) {
                json.key("requests").begin_array();
                for (const Request &request : outcome.step_requests[i])
                    json.begin_object()
                        .field("entry", request.entry)
                        .field("arguments", request.arguments)
                        .end_object();
                json.end_array();
            }
            json.end_object();
        }
        json.end_array().key("failures").begin_array();
        for (const Failure &failure : outcome.applied.failures)
            write(json, failure);
        json.end_array();
    }

    static void write(Json &json, const Failure &failure)
    {
        json.begin_object().field("words", failure.step.words).field("object", failure.step.name);
        json.key("cause").begin_object().place(failure.step.cause).end_object();
        json.field("message", failure.message).key("request");
        if (failure.request == nullptr) {
            json.null().end_object();
            return;
        }
        const Request &request = *failure.request;
        json.begin_object().field("number", request.number).field("entry", request.entry);
        json.field("arguments", request.arguments).key("result");
        if (request.result)
            json.value(*request.result);
        else
            json.null();
        json.field("failed_calls", request.failed_calls);
        json.field("first_failure", request.first_failure);
        json.field("reason", request.first_reason).end_object().end_object();
    }

    const Arguments &arguments_;
    Console &console_;
    const bool json_, quiet_, dry_;
    Switch switch_; /* first of all: it empties the ASIC and the journal */
    std::vector<Configuration> configurations_;
    std::vector<ConfigurationRun> outcomes_;
    std::ofstream recording_;
    bool files_written_ = true;
    std::optional<Recorder> recorder_;
    std::optional<Timeline> timeline_;
};

int run(const Arguments &arguments, Console &console)
{
    return Run(arguments, console).run();
}

const Registration registration(
    {"run",
     "apply configurations one after another, and show what came of them",
     "kvnsim run examples/leaf.json --db leaf.db\n"
     "kvnsim run examples/small_change_before.json examples/small_change_after.json --timeline\n"
     "kvnsim run examples/leaf.json --fail libsdk_lid_entry_create:2=SDK_E_FULL\n",
     {{"CONFIG", "", "config_db.json files; - is standard input", Takes::text, Times::some},
      {"--db", "FILE", "keep the shared database and the ASIC's tables there"},
      {"--timeline", "IF", "each request with its calls, of all interfaces or of one",
       Takes::interface},
      {"--record", "FILE", "the same as JSON lines, for `kvnsim replay`"},
      {"--debug-file", "FILE", "write the library's debug file"},
      {"--events", "FILE", "write the event history, for `kvnsim events`"},
      {"--trace", "debug|error", "show trace records: all, or errors only", Takes::choice},
      {"--dry-run", "", "show the plan and its requests; nothing is applied", Takes::nothing},
      {"--fail", "CALL[:N][=STATUS]", "make a call fail: each time, or the Nth", Takes::text,
       Times::any},
      {"--fail-rate", "P", "make each call that can fail do so with this probability",
       Takes::probability},
      {"--seed", "N", "of --fail-rate: the same one gives the same failures (1)", Takes::count},
      {"--limit", "TABLE=N", "capacity of an ASIC table, as intf=4096", Takes::text, Times::any},
      {"--keep-going", "", "apply what is sound of a configuration with errors", Takes::nothing},
      json_option,
      {"--quiet", "", "errors, warnings and failures only", Takes::nothing}},
     run});

} // namespace
} // namespace kvnsim
