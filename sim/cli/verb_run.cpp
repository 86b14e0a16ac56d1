#include <algorithm>
#include <optional>

#include <fmt/format.h>

#include "sim/cli/console.h"
#include "sim/cli/input.h"
#include "sim/cli/instruments.h"
#include "sim/cli/interrupt.h"
#include "sim/cli/outcome.h"
#include "sim/cli/plan.h"
#include "sim/cli/policy.h"
#include "sim/cli/stored.h"
#include "sim/cli/tables.h"
#include "sim/cli/verb.h"
#include "sim/config/similar.h"
#include "sim/state/interface_names.h"
#include "sim/state/show.h"
#include "sim/state/snapshot.h"
#include "sim/switch/switch.h"
#include "sim/types/text.h"

namespace kvnsim {
namespace {

class Run {
public:
    Run(const Arguments &arguments, Console &console)
        : arguments_(arguments), console_(console), policy_(arguments),
          json_(arguments.has("--json")), quiet_(arguments.has("--quiet")),
          instruments_(arguments, console)
    {}

    int run()
    {
        check_arguments();
        configurations_ = read_configurations(arguments_, console_);
        if (interrupt_signal() != 0)
            return interrupted("nothing was applied");
        if (are_refused(configurations_, policy_, arguments_, console_)) {
            if (json_)
                print_json(nullptr, {});
            return exit_input;
        }
        tells_effects_ =
            json_ || (!quiet_ && (configurations_.size() > 1 || arguments_.has("--from")));
        if (tells_effects_ && arguments_.has("--from"))
            judgement_ = judge(before_);
        const std::string timeline_interface = interface_of_timeline();
        instruments_.open(timeline_interface);
        for (Configuration &configuration : configurations_) {
            if (interrupt_signal() != 0)
                break;
            apply(configuration);
        }
        return finish();
    }

private:
    /* ---- Before ---- */

    void check_arguments()
    {
        before_ = go_on_from(arguments_, switch_);
        instruments_.prepare(arguments_.values("CONFIG"));
    }

    /* Empty for all. */
    std::string interface_of_timeline() const
    {
        if (arguments_.value("--timeline").empty())
            return "";
        Spellings names = interface_names(before_);
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

    void apply(Configuration &configuration)
    {
        progress(configuration.file + ": planning");
        Plan plan = switch_.plan(configuration.desired);
        std::vector<Change> interrupting;
        if (tells_effects_)
            interrupting = changes(switch_, configuration.desired, plan);
        console_.clear_progress();
        if (!json_ && !quiet_)
            print_plan(configuration, plan);
        outcomes_.push_back(apply_configuration(switch_, configuration, std::move(plan), console_,
                                                !instruments_.shows_as_it_happens()));
        if (!json_ && !quiet_)
            console_.out() << "  " << summary(outcomes_.back()) << "\n";
        if (!json_)
            outcomes_.back().plan = {}; /* only the document has its steps */
        if (!tells_effects_)
            return;
        Judgement now = judge(
            capture(switch_, {}, configuration.findings, outcomes_.back().applied.interrupted));
        effects_.push_back(service_changes(judgement_.services, now.services, interrupting));
        judgement_ = std::move(now);
        if (!json_)
            print_effect(effects_.back(), page_on(console_, arguments_), console_);
    }

    void print_plan(const Configuration &configuration, const Plan &plan)
    {
        console_.out() << fmt::format("{}: {}\n", visible(configuration.file),
                                      counted(plan.steps.size(), "step"));
        console_.out() << ignored_tables(configuration) << std::flush;
    }

    /* ---- After ---- */

    int finish()
    {
        instruments_.stop_timeline();
        is_open_ = any_open(outcomes_, switch_);
        const bool any = !outcomes_.empty();
        const Snapshot snapshot = capture_and_power_off(
            switch_, applied_files(),
            any ? outcomes_.back().configuration->findings : before_.reader,
            any ? outcomes_.back().applied.interrupted : before_.meta.interrupted);
        files_written_ = instruments_.close(snapshot);
        const Index index(snapshot);
        if (quiet_)
            judgement_ = {audit(index), {}}; /* nobody asks for services */
        else if (effects_.empty())
            judgement_ = judge(index);
        const std::vector<AuditFinding> findings = policy_.judge(judgement_.findings);
        if (json_)
            print_json(&snapshot, findings);
        else if (!quiet_)
            print_state(index);
        const bool unused_fault = instruments_.warn_of_unused_faults();
        return status(!findings.empty(), unused_fault);
    }

    std::vector<std::string> applied_files() const
    {
        std::vector<std::string> files = before_.file_names();
        for (const ConfigurationRun &outcome : outcomes_)
            files.push_back(outcome.configuration->file);
        return files;
    }

    void print_state(const Index &index)
    {
        if (arguments_.has("--tables"))
            print_tables(index.snapshot());
        print_summary(index);
        print_judgement(index.snapshot(), judgement_, arguments_, console_);
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
    void print_summary(const Index &index)
    {
        print(interface_counts(index));
        print(needing_attention(index));
        console_.out() << "\n";
        for (const Configuration &configuration : configurations_) {
            if (has_more_than_notes(configuration))
                console_.out() << fmt::format("{}: {}\n", visible(configuration.file),
                                              finding_counts(configuration, policy_));
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

    int status(bool found, bool unused_fault)
    {
        if (interrupt_signal() != 0)
            return interrupted(arguments_.has("--db") ? "the database holds what was done"
                                                      : "the rest was not applied");
        if (is_open_)
            return exit_request;
        if (policy_.refuses_any(configurations_) || !files_written_)
            return exit_input;
        return unused_fault ? exit_unused_fault : found ? exit_found : exit_well;
    }

    /* ---- The JSON document ---- */

    void print_json(const Snapshot *snapshot, const std::vector<AuditFinding> &findings)
    {
        const MadeUpFor made_up_for = all_made_up_for(outcomes_);
        Json json;
        json.begin_object().key("configurations").begin_array();
        for (const Configuration &configuration : configurations_) {
            const auto found =
                std::find_if(outcomes_.begin(), outcomes_.end(), [&](const ConfigurationRun &one) {
                    return one.configuration == &configuration;
                });
            write(json.begin_object(), configuration);
            json.field("applied", found != outcomes_.end());
            if (found != outcomes_.end()) {
                write(json, *found, made_up_for);
                write(json.key("service_changes"),
                      show(effects_[static_cast<size_t>(found - outcomes_.begin())]));
            }
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

    const Arguments &arguments_;
    Console &console_;
    const Policy policy_;
    const bool json_, quiet_;
    Switch switch_; /* before the instruments, which it would reset */
    Instruments instruments_;
    Snapshot before_; /* what --from goes on from; else empty */
    std::vector<Configuration> configurations_;
    std::vector<ConfigurationRun> outcomes_;
    bool tells_effects_ = false; /* what each configuration does to the services */
    Judgement judgement_;        /* the last one made */
    std::vector<std::vector<ServiceChange>> effects_; /* then: of each outcome */
    bool files_written_ = true;
    bool is_open_ = false; /* what failed was not made up for */
};

int run(const Arguments &arguments, Console &console)
{
    return arguments.has("--dry-run") ? plan_configurations(arguments, console)
                                      : Run(arguments, console).run();
}

} // namespace

const Verb run_verb{
    "run",
    "apply configurations one after another, and show the result",
    "kvnsim run examples/leaf.json --db leaf.db\n"
    "kvnsim run examples/small_change_before.json examples/small_change_after.json --timeline\n"
    "kvnsim run examples/leaf.json --fail libsdk_lid_entry_create:2=SDK_E_FULL\n",
    with_instruments(
        {config_operand,
         from_option,
         {"--timeline [IF]", Takes::maybe_interface, Times::optional,
          "each request with its calls, of all interfaces or of one"},
         {"--dry-run", Takes::nothing, Times::optional,
          "as `kvnsim plan`: show what would change, and try it on a temporary switch"}},
        {{"--tables", Takes::nothing, Times::optional,
          "the tables of interfaces, attributes, port-channels, MACs and shared database too"},
         wide_option,
         ignore_option,
         strict_option,
         json_option,
         {"--quiet", Takes::nothing, Times::optional, "errors, warnings and failures only"}}),
    run,
    true};

} // namespace kvnsim
