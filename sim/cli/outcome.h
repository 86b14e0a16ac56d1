#pragma once

#include <optional>
#include <vector>

#include "sim/cli/instruments.h"
#include "sim/types/json.h"

/* What `kvnsim run` and `kvnsim plan` share: reading the configurations, and what came of each. */
namespace kvnsim {

class Arguments;
class Console;

/* The configurations of the operand CONFIG, read while progress is shown. */
std::vector<Configuration> read_configurations(const Arguments &arguments, Console &console);

/* Tell the findings; true, and said why, when they keep all from being applied. */
bool are_refused(const std::vector<Configuration> &configurations, const Arguments &arguments,
                 Console &console);

/* With --from, make the switch the one saved there; returns what it was saved as, else an empty
 * snapshot. Call before capacities are set. Throws SnapshotError. */
Snapshot go_on_from(const Arguments &arguments, Switch &into);

/* Whether a step of one of them failed. */
template <class Outcomes> bool any_failed(const Outcomes &outcomes)
{
    for (const auto &outcome : outcomes) {
        if (!outcome.applied.failures.empty())
            return true;
    }
    return false;
}

/* "requests", "calls", "steps_done", "steps" and "failures", within an object; with the requests
 * that each step made, if given. */
void write(Json &json, const ConfigurationRun &outcome,
           const std::vector<std::vector<Request>> &step_requests = {});

} // namespace kvnsim
