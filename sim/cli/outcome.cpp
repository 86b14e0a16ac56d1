#include "sim/cli/outcome.h"

#include <algorithm>
#include <iterator>

#include "sim/cli/console.h"
#include "sim/cli/input.h"
#include "sim/cli/policy.h"
#include "sim/state/restore.h"

namespace kvnsim {
namespace {

void write_requests(Json &json, const std::vector<Request> &requests)
{
    json.begin_array();
    for (const Request &request : requests)
        json.begin_object()
            .field("entry", request.entry)
            .field("arguments", request.arguments.to_text())
            .end_object();
    json.end_array();
}

} // namespace

std::vector<Configuration> read_configurations(const Arguments &arguments, Console &console)
{
    console.progress("reading the configurations");
    std::vector<Configuration> configurations = read_configurations(arguments.values("CONFIG"));
    console.clear_progress();
    return configurations;
}

bool are_refused(const std::vector<Configuration> &configurations, const Policy &policy,
                 const Arguments &arguments, Console &console)
{
    tell_findings(configurations, policy, !arguments.has("--quiet"), console);
    /* A file of which nothing is known is not applied as if it wanted nothing. */
    const bool understood = std::all_of(configurations.begin(), configurations.end(),
                                        [](const Configuration &one) { return one.is_understood; });
    if (understood && (!policy.refuses_any(configurations) || arguments.has("--keep-going")))
        return false;
    console.error(understood ? "kvnsim: nothing was applied (--keep-going applies the valid rows)"
                             : "kvnsim: nothing was applied");
    return true;
}

Snapshot go_on_from(const Arguments &arguments, Switch &into)
{
    if (!arguments.has("--from"))
        return {};
    const std::string &file = arguments.value("--from");
    Snapshot saved = load(file);
    restore(saved, into, file);
    return saved;
}

void print_effect(const std::vector<ServiceChange> &changes, const Page &page, Console &console)
{
    std::vector<ServiceChange> told;
    std::copy_if(changes.begin(), changes.end(), std::back_inserter(told),
                 [](const ServiceChange &one) { return one.change != ServiceChangeKind::added; });
    if (!told.empty())
        console.print_titled(to_text(show(told), page));
    console.out() << "  " << summary(changes) << "\n";
}

bool is_open(const Failure &failure, const MadeUpFor &made_up_for, const Switch &of)
{
    /* A step that made no request failed because of another one, which has its own reason. */
    return failure.request != nullptr ? made_up_for.count(failure.request->number) == 0
                                      : of.failures().count(failure.step.name) != 0;
}

void write(Json &json, const ConfigurationRun &outcome, const MadeUpFor &made_up_for,
           const std::vector<std::vector<Request>> &step_requests)
{
    json.field("requests", outcome.requests).field("calls", outcome.calls);
    json.field("steps_done", outcome.applied.steps_done);
    json.key("steps").begin_array();
    for (size_t i = 0; i < outcome.plan.steps.size(); ++i) {
        write(json.begin_object(), outcome.plan.steps[i]);
        if (i < step_requests.size())
            write_requests(json.key("requests"), step_requests[i]);
        json.end_object();
    }
    json.end_array().key("failures").begin_array();
    for (const Failure &failure : outcome.applied.failures)
        write(json, failure, made_up_by(failure, made_up_for));
    json.end_array();
}

} // namespace kvnsim
