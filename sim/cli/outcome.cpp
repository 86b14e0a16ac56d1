#include "sim/cli/outcome.h"

#include "sim/cli/console.h"
#include "sim/cli/input.h"
#include "sim/state/restore.h"

namespace kvnsim {
namespace {

void write_step(Json &json, const Step &step)
{
    json.field("words", step.words).field("object", step.name);
    write(json.key("cause").begin_object(), step.cause);
    json.end_object();
}

void write_failure(Json &json, const Failure &failure)
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

void write_requests(Json &json, const std::vector<Request> &requests)
{
    json.begin_array();
    for (const Request &request : requests)
        json.begin_object()
            .field("entry", request.entry)
            .field("arguments", request.arguments)
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

bool are_refused(const std::vector<Configuration> &configurations, const Arguments &arguments,
                 Console &console)
{
    tell_findings(configurations, !arguments.has("--quiet"), console);
    if (!have_errors(configurations) || arguments.has("--keep-going"))
        return false;
    console.error("kvnsim: nothing was applied (--keep-going applies the valid rows)");
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

void write(Json &json, const ConfigurationRun &outcome,
           const std::vector<std::vector<Request>> &step_requests)
{
    json.field("requests", outcome.requests).field("calls", outcome.calls);
    json.field("steps_done", outcome.applied.steps_done);
    json.key("steps").begin_array();
    for (size_t i = 0; i < outcome.plan.steps.size(); ++i) {
        write_step(json.begin_object(), outcome.plan.steps[i]);
        if (i < step_requests.size())
            write_requests(json.key("requests"), step_requests[i]);
        json.end_object();
    }
    json.end_array().key("failures").begin_array();
    for (const Failure &failure : outcome.applied.failures)
        write_failure(json, failure);
    json.end_array();
}

} // namespace kvnsim
