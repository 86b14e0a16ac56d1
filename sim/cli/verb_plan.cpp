/* Plans are made from the switch and tried on it, so that the next one starts from what this one
 * leaves. The switch is temporary: nothing of it is kept. */
#include "sim/cli/plan.h"

#include <algorithm>
#include <utility>

#include <fmt/format.h>

#include "sim/cli/console.h"
#include "sim/cli/input.h"
#include "sim/cli/instruments.h"
#include "sim/cli/interrupt.h"
#include "sim/cli/outcome.h"
#include "sim/cli/policy.h"
#include "sim/cli/stored.h"
#include "sim/cli/verb.h"
#include "sim/switch/switch.h"
#include "sim/types/text.h"

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

/* One configuration as planned and tried. */
struct Trial : ConfigurationRun {
    std::vector<Change> changes;
    std::vector<ServiceChange> service_changes;
    std::vector<std::vector<Request>> step_requests;
};

class PlanRun {
public:
    PlanRun(const Arguments &arguments, Console &console)
        : arguments_(arguments), console_(console), policy_(arguments),
          json_(arguments.has("--json")), prints_(!json_ && !arguments.has("--quiet")),
          instruments_(arguments, console)
    {}

    int run()
    {
        if (const Snapshot before = go_on_from(arguments_, switch_); arguments_.has("--from"))
            services_ = judge(before).services;
        instruments_.prepare(arguments_.values("CONFIG"), false);
        configurations_ = read_configurations(arguments_, console_);
        if (interrupt_signal() == 0 &&
            are_refused(configurations_, policy_, arguments_, console_)) {
            if (json_)
                print_json();
            return exit_input;
        }
        for (Configuration &configuration : configurations_) {
            if (interrupt_signal() != 0)
                break;
            plan(configuration);
        }
        if (json_)
            print_json();
        else if (prints_)
            console_.out() << "Nothing was applied: this was a trial on a temporary switch.\n";
        const bool unused_fault = instruments_.warn_of_unused_faults();
        return status(unused_fault);
    }

private:
    void plan(Configuration &configuration)
    {
        console_.progress(configuration.file + ": planning");
        Plan steps = switch_.plan(configuration.desired);
        std::vector<Change> effect = changes(switch_, configuration.desired, steps);
        console_.clear_progress();
        if (prints_)
            print_plan(configuration, steps, effect);
        StepRequests requests;
        Trial trial{apply_configuration(switch_, configuration, std::move(steps), console_, true,
                                        [&] { requests.end_step(); }),
                    std::move(effect),
                    {},
                    {}};
        trial.step_requests = requests.take();
        std::vector<Service> now = judge(capture(switch_, {}, configuration.findings)).services;
        trial.service_changes = service_changes(services_, now, trial.changes);
        services_ = std::move(now);
        if (prints_)
            print_trial(trial);
        trials_.push_back(std::move(trial));
    }

    void print_plan(const Configuration &configuration, const Plan &steps,
                    const std::vector<Change> &effect)
    {
        console_.out() << fmt::format("{}: {}\n{}", visible(configuration.file),
                                      counted(steps.steps.size(), "step"),
                                      ignored_tables(configuration));
        print_changes(effect, console_);
        console_.out() << std::flush;
    }

    void print_trial(const Trial &trial)
    {
        std::ostream &out = console_.out();
        for (size_t i = 0; i < trial.step_requests.size(); ++i) {
            out << "  " << trial.plan.steps[i].words() << "\n";
            for (const Request &request : trial.step_requests[i])
                out << fmt::format("      {}({})\n", request.entry, request.arguments.to_text());
        }
        out << "  tried: " << summary(trial) << "\n";
        print_effect(trial.service_changes, page_on(console_, arguments_), console_);
    }

    void print_json()
    {
        const MadeUpFor made_up_for = all_made_up_for(trials_);
        Json json;
        json.begin_object().key("configurations").begin_array();
        for (const Configuration &configuration : configurations_) {
            const auto trial = std::find_if(trials_.begin(), trials_.end(), [&](const Trial &one) {
                return one.configuration == &configuration;
            });
            write(json.begin_object(), configuration);
            json.field("applied", false);
            if (trial != trials_.end()) {
                write(json.key("changes"), show(trial->changes));
                write(json.key("service_changes"), show(trial->service_changes));
                write(json, *trial, made_up_for, trial->step_requests);
            }
            json.end_object();
        }
        json.end_array().field("interrupted", interrupt_signal() != 0);
        json.field("unused_faults", Journal::instance().faults.unused()).key("switch").null();
        console_.out() << json.end_object().document();
    }

    int status(bool unused_fault)
    {
        if (interrupt_signal() != 0) {
            console_.error("kvnsim: interrupted: the plan is not complete");
            return exit_signal + interrupt_signal();
        }
        if (any_open(trials_, switch_))
            return exit_request;
        if (policy_.refuses_any(configurations_))
            return exit_input;
        return unused_fault ? exit_unused_fault : exit_well;
    }

    const Arguments &arguments_;
    Console &console_;
    const Policy policy_;
    const bool json_, prints_;
    Switch switch_; /* before the instruments, which it would reset */
    Instruments instruments_;
    std::vector<Service> services_; /* as they are */
    std::vector<Configuration> configurations_;
    std::vector<Trial> trials_;
};

} // namespace

Listing show(const std::vector<Change> &changes)
{
    return listing_of("Changes", changes, {"Interface", "Kind", "Change", "Interrupts", "Because"});
}

void print_changes(const std::vector<Change> &changes, Console &console)
{
    if (changes.empty())
        return;
    Listing listing = show(changes);
    constexpr int kind = 1; /* for programs; the words say it */
    listing.columns.erase(listing.columns.begin() + kind);
    for (auto &row : listing.rows)
        row.erase(row.begin() + kind);
    console.print_titled(to_text(listing));
    console.out() << fmt::format("{} of {} interrupted\n",
                                 counted(interrupted_interfaces(changes), "interface"),
                                 changed_interfaces(changes));
}

int plan_configurations(const Arguments &arguments, Console &console)
{
    return PlanRun(arguments, console).run();
}

const Verb plan_verb{
    "plan", "show what configurations would change, and what that interrupts",
    "kvnsim plan examples/leaf.json\n"
    "kvnsim plan examples/small_change_before.json examples/small_change_after.json\n",
    with_faults({config_operand, from_option}, {ignore_option,
                                                strict_option,
                                                json_option,
                                                {"--quiet", Takes::nothing, Times::optional,
                                                 "errors, warnings and failures only"}}),
    plan_configurations};

} // namespace kvnsim
