#include <algorithm>
#include <optional>

#include <fmt/format.h>

#include "sim/cli/console.h"
#include "sim/cli/input.h"
#include "sim/cli/instruments.h"
#include "sim/cli/interrupt.h"
#include "sim/cli/policy.h"
#include "sim/cli/stored.h"
#include "sim/cli/tables.h"
#include "sim/cli/verb.h"
#include "sim/config/similar.h"
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
        : arguments_(arguments), console_(console), policy_(arguments),
          json_(arguments.has("--json")), quiet_(arguments.has("--quiet")),
          dry_(arguments.has("--dry-run")), instruments_(arguments, console)
    {}

    int run()
    {
        check_arguments();
        progress("reading the configurations");
        configurations_ = read_configurations(arguments_.values("CONFIG"));
        console_.clear_progress();
        if (interrupt_signal() != 0)
            return interrupted("nothing was applied");
        tell_findings(configurations_, policy_, !quiet_, console_);
        if (is_refused()) {
            if (json_)
                print_json(nullptr, {});
            return exit_input;
        }
        check_timeline_interface();
        if (!dry_) {
            instruments_.open();
            if (arguments_.has("--timeline"))
                instruments_.start_timeline(arguments_.value("--timeline"));
        }
        for (const Configuration &configuration : configurations_) {
            if (interrupt_signal() != 0)
                break;
            apply(configuration);
        }
        return finish();
    }

private:
    /* ---- Before ---- */

    /* A file of which nothing is known is not applied as if it wanted nothing. */
    bool is_refused() const
    {
        const bool understood =
            std::all_of(configurations_.begin(), configurations_.end(),
                        [](const Configuration &one) { return one.is_understood; });
        if (understood && (!policy_.refuses_any(configurations_) || arguments_.has("--keep-going")))
            return false;
        console_.error(understood
                           ? "kvnsim: nothing was applied (--keep-going applies the valid rows)"
                           : "kvnsim: nothing was applied");
        return true;
    }

    void check_arguments()
    {
        if (json_ && arguments_.has("--timeline") && !dry_)
            throw UsageError("--json prints one document, and nothing else: use --record FILE "
                             "instead of --timeline");
        instruments_.prepare(arguments_.values("CONFIG"), !dry_);
    }

    void check_timeline_interface() const
    {
        const std::string &interface = arguments_.value("--timeline");
        if (interface.empty())
            return;
        Names names;
        for (const Configuration &configuration : configurations_)
            names.merge(interface_names(configuration.desired));
        if (names.count(interface) == 0)
            throw UsageError(fmt::format("--timeline: no configuration has an interface \"{}\"{}",
                                         interface,
                                         did_you_mean(interface, {names.begin(), names.end()})));
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
            const std::vector<AuditFinding> findings = policy_.judge(audit(snapshot));
            found = !findings.empty();
            if (json_)
                print_json(&snapshot, findings);
            else if (!quiet_)
                print_tables(snapshot);
        }
        const bool unused = instruments_.warn_of_unused_faults();
        return status(found, unused);
    }

    std::vector<std::string> applied_files() const
    {
        std::vector<std::string> files;
        for (const Outcome &outcome : outcomes_)
            files.push_back(outcome.configuration->file);
        return files;
    }

    void print_tables(const Snapshot &snapshot)
    {
        /* Without columns too wide for a terminal; `kvnsim show` has them. */
        print(without(show(snapshot, "interfaces"), {"parent", "addresses"}));
        print(attribute_values(snapshot));
        print(without(show(snapshot, "port-channels"), {"number"}));
        print(without(show(snapshot, "macs"), {"made_by"}));
        print(shared_database(snapshot));
        console_.out() << "\n";
        print_audit(snapshot, arguments_, console_);
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

    int status(bool found, bool unused_fault)
    {
        if (interrupt_signal() != 0)
            return interrupted(dry_                     ? "the plan is not complete"
                               : arguments_.has("--db") ? "the database holds what was done"
                                                        : "the rest was not applied");
        if (std::any_of(outcomes_.begin(), outcomes_.end(), [this](const Outcome &outcome) {
                const std::vector<Failure> &failures = outcome.applied.failures;
                return std::any_of(failures.begin(), failures.end(),
                                   [this](const Failure &failure) { return is_open(failure); });
            }))
            return exit_request;
        if (policy_.refuses_any(configurations_) || !files_written_)
            return exit_input;
        return unused_fault ? exit_unused_fault : found ? exit_found : exit_well;
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
            write(json.begin_object(), outcome.plan.steps[i]);
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
            write(json, failure, made_up(failure));
        json.end_array();
    }

    /* In this configuration or a later one. */
    uint64_t made_up(const Failure &failure) const
    {
        uint64_t by = 0;
        for (const Outcome &outcome : outcomes_)
            by = std::max(by, made_up_by(failure, outcome.applied));
        return by;
    }

    /* A step that made no request failed because of another one, which has its own reason. */
    bool is_open(const Failure &failure) const
    {
        return failure.request != nullptr ? made_up(failure) == 0
                                          : switch_.failures().count(failure.step.name) != 0;
    }

    const Arguments &arguments_;
    Console &console_;
    const Policy policy_;
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
        {ignore_option,
         strict_option,
         json_option,
         {"--quiet", Takes::nothing, Times::optional, "errors, warnings and failures only"}}),
    run};

} // namespace kvnsim
