#include <algorithm>
#include <optional>

#include <fmt/format.h>

#include "sim/cli/console.h"
#include "sim/cli/input.h"
#include "sim/cli/instruments.h"
#include "sim/cli/interrupt.h"
#include "sim/cli/stored.h"
#include "sim/cli/tables.h"
#include "sim/cli/verb.h"
#include "sim/state/audit.h"
#include "sim/state/interface_names.h"
#include "sim/state/show.h"
#include "sim/state/snapshot.h"
#include "sim/switch/switch.h"

namespace kvnsim {
namespace {

/* The requests that each step of a plan makes. */
class StepRequests : public Observer {
public:
    void request_begins(const Request &request) override { made_.push_back(request); }
    void end_step() { steps_.push_back(std::exchange(made_, {})); }
    std::vector<std::vector<Request>> take() { return std::exchange(steps_, {}); }

private:
    std::vector<Request> made_;
    std::vector<std::vector<Request>> steps_;
};

/* One configuration, and the result. */
struct Outcome : ConfigurationRun {
    std::vector<std::vector<Request>> step_requests; /* of a dry run */
};

class Run {
public:
    Run(const Arguments &arguments, Console &console)
        : arguments_(arguments), console_(console), json_(arguments.has("--json")),
          quiet_(arguments.has("--quiet")), dry_(arguments.has("--dry-run")),
          instruments_(arguments, console)
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
            console_.error("kvnsim: nothing was applied (--keep-going applies the valid rows)");
            if (json_)
                print_json(nullptr, {});
            return exit_input;
        }
        const std::string timeline_interface = interface_of_timeline();
        if (!dry_) {
            instruments_.open();
            if (arguments_.has("--timeline"))
                instruments_.start_timeline(timeline_interface);
        }
        for (const Configuration &configuration : configurations_) {
            if (interrupt_signal() != 0)
                break;
            if (configuration.is_understood)
                apply(configuration);
            else if (!json_ && !quiet_)
                console_.out() << configuration.file << ": not applied\n";
        }
        return finish();
    }

private:
    /* ---- Before ---- */

    void check_arguments()
    {
        if (json_ && arguments_.has("--timeline") && !dry_)
            throw UsageError("--json prints one document, and nothing else: use --record FILE "
                             "instead of --timeline");
        instruments_.prepare(arguments_.values("CONFIG"), !dry_);
    }

    /* Empty for all. */
    std::string interface_of_timeline() const
    {
        if (arguments_.value("--timeline").empty())
            return "";
        Spellings names;
        for (const Configuration &configuration : configurations_)
            names.merge(interface_names(configuration.desired));
        return interface_meant(names, arguments_.value("--timeline"));
    }

    /* ---- Work ---- */

    void progress(const std::string &what)
    {
        if (!instruments_.shows_as_it_happens())
            console_.progress(what);
    }

    void apply(const Configuration &configuration)
    {
        progress(configuration.file + ": planning");
        Plan plan = switch_.plan(configuration.desired);
        console_.clear_progress();
        if (!json_ && !quiet_)
            print_plan(configuration, plan);
        std::optional<StepRequests> requests;
        if (dry_)
            requests.emplace();
        Outcome outcome{apply_configuration(switch_, configuration, std::move(plan), console_,
                                            !instruments_.shows_as_it_happens(),
                                            [&] {
                                                if (requests)
                                                    requests->end_step();
                                            }),
                        {}};
        if (requests)
            outcome.step_requests = requests->take();
        if (!json_ && !quiet_)
            print_result(outcome);
        outcomes_.push_back(std::move(outcome));
    }

    void print_plan(const Configuration &configuration, const Plan &plan)
    {
        console_.out() << fmt::format("{}: {}\n", configuration.file,
                                      counted(plan.steps.size(), "step"));
        console_.out() << ignored_tables(configuration) << std::flush;
    }

    void print_result(const Outcome &outcome)
    {
        std::ostream &out = console_.out();
        for (size_t i = 0; i < outcome.step_requests.size(); ++i) {
            out << "  " << outcome.plan.steps[i].words << "\n";
            for (const Request &request : outcome.step_requests[i])
                out << fmt::format("      {}({})\n", request.entry, request.arguments);
        }
        out << "  " << (dry_ ? "tried: " : "") << summary(outcome) << "\n";
    }

    /* ---- After ---- */

    int finish()
    {
        instruments_.stop_timeline();
        bool found = false;
        if (dry_) {
            if (json_)
                print_json(nullptr, {});
            else if (!quiet_)
                console_.out() << "Nothing was applied: this was a trial on a temporary switch.\n";
        } else {
            const Snapshot snapshot =
                outcomes_.empty()
                    ? capture(switch_)
                    : capture(switch_, applied_files(), outcomes_.back().configuration->findings,
                              outcomes_.back().applied.interrupted);
            files_written_ = instruments_.close(snapshot);
            const std::vector<AuditFinding> findings = audit(snapshot);
            found = !findings.empty();
            if (json_)
                print_json(&snapshot, findings);
            else if (!quiet_)
                print_state(snapshot);
        }
        instruments_.warn_of_unused_faults();
        return status(found);
    }

    std::vector<std::string> applied_files() const
    {
        std::vector<std::string> files;
        for (const Outcome &outcome : outcomes_)
            files.push_back(outcome.configuration->file);
        return files;
    }

    void print_state(const Snapshot &snapshot)
    {
        if (arguments_.has("--tables"))
            print_tables(snapshot);
        print_summary(snapshot);
        print_audit(snapshot, arguments_, console_);
    }

    void print_tables(const Snapshot &snapshot)
    {
        print(show(snapshot, "interfaces"));
        print(attribute_values(snapshot));
        print(show(snapshot, "port-channels"));
        print(show(snapshot, "macs"));
        print(shared_database(snapshot));
    }

    /* How many interfaces are in which state, and what needs attention. */
    void print_summary(const Snapshot &snapshot)
    {
        print(interface_counts(snapshot));
        print(needing_attention(snapshot));
        console_.out() << "\n";
        for (const Configuration &configuration : configurations_) {
            if (has_more_than_notes(configuration))
                console_.out() << fmt::format("{}: {}\n", configuration.file,
                                              finding_counts(configuration));
        }
    }

    static bool has_more_than_notes(const Configuration &configuration)
    {
        return std::any_of(
            configuration.findings.begin(), configuration.findings.end(),
            [](const Finding &finding) { return finding.severity != Finding::Severity::note; });
    }

    void print(const Listing &listing)
    {
        if (listing.rows.empty())
            return;
        console_.out() << "\n";
        console_.print_titled(to_text(listing, page_on(console_, arguments_)));
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
                        [](const Outcome &o) { return !o.applied.failures.empty(); }))
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
        for (const Configuration &configuration : configurations_) {
            const auto found =
                std::find_if(outcomes_.begin(), outcomes_.end(), [&](const Outcome &one) {
                    return one.configuration == &configuration;
                });
            write(json.begin_object(), configuration);
            json.field("applied", !dry_ && found != outcomes_.end());
            if (found != outcomes_.end())
                outcome(json, *found);
            json.end_object();
        }
        json.end_array().field("interrupted", interrupt_signal() != 0);
        json.field("unused_faults", Journal::instance().faults.unused()).key("switch");
        if (snapshot == nullptr) {
            json.null();
        } else {
            write(json, *snapshot, findings);
            for (const auto &[key, listing] :
                 {std::pair("attributes", attribute_values(*snapshot)),
                  std::pair("shared_database", shared_database(*snapshot))})
                write(json.key(key), listing);
        }
        console_.out() << json.end_object().document();
    }

    void outcome(Json &json, const Outcome &outcome) const
    {
        json.field("requests", outcome.requests).field("calls", outcome.calls);
        json.field("steps_done", outcome.applied.steps_done);
        json.key("steps").begin_array();
        for (size_t i = 0; i < outcome.plan.steps.size(); ++i) {
            write_step(json.begin_object(), outcome.plan.steps[i]);
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
            write_failure(json, failure);
        json.end_array();
    }

    static void write_step(Json &json, const Step &step)
    {
        json.field("words", step.words).field("object", step.name);
        write(json.key("cause").begin_object(), step.cause);
        json.end_object();
    }

    static void write_failure(Json &json, const Failure &failure)
    {
        write_step(json.begin_object(), failure.step);
        json.field("message", failure.message).key("request");
        if (failure.request == nullptr) {
            json.null().end_object();
            return;
        }
        const Request &request = *failure.request;
        json.begin_object().field("number", request.number).field("entry", request.entry);
        json.field("arguments", request.arguments).field("result", request.result);
        json.field("failed_calls", request.failed_calls);
        json.field("first_failure", request.first_failure().words);
        json.field("reason", request.first_failure().reason).end_object().end_object();
    }

    const Arguments &arguments_;
    Console &console_;
    const bool json_, quiet_, dry_;
    Switch switch_; /* before the instruments, which it would reset */
    Instruments instruments_;
    std::vector<Configuration> configurations_;
    std::vector<Outcome> outcomes_;
    bool files_written_ = true;
};

int run(const Arguments &arguments, Console &console)
{
    return Run(arguments, console).run();
}

} // namespace

const Verb run_verb{
    "run", "apply configurations one after another, and show the result",
    "kvnsim run examples/leaf.json --db leaf.db\n"
    "kvnsim run examples/small_change_before.json examples/small_change_after.json --timeline\n"
    "kvnsim run examples/leaf.json --fail libsdk_lid_entry_create:2=SDK_E_FULL\n",
    with_instruments(
        {{"CONFIG", Takes::file, Times::some, "config_db.json files; - is standard input"},
         {"--timeline [IF]", Takes::maybe_interface, Times::optional,
          "each request with its calls, of all interfaces or of one"},
         {"--dry-run", Takes::nothing, Times::optional,
          "try the plan on a temporary switch and show its requests; no file is written"}},
        {{"--tables", Takes::nothing, Times::optional,
          "the tables of interfaces, attributes, port-channels, MACs and shared database too"},
         wide_option,
         json_option,
         {"--quiet", Takes::nothing, Times::optional, "errors, warnings and failures only"}}),
    run};

} // namespace kvnsim
