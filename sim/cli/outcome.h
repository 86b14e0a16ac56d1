#pragma once

#include <optional>
#include <vector>

#include "sim/cli/instruments.h"
#include "sim/service/service_changes.h"
#include "sim/state/listing.h"
#include "sim/types/json.h"

/* What `kvnsim run` and `kvnsim plan` share: reading the configurations, and what came of each. */
namespace kvnsim {

class Arguments;
class Console;
class Policy;

constexpr Option config_operand{"CONFIG", Takes::file, Times::some,
                                "config_db.json files or redis:// URLs; - is standard input"};

/* The configurations of the operand CONFIG, read while progress is shown. */
std::vector<Configuration> read_configurations(const Arguments &arguments, Console &console);

/* Tell the findings; true, and said why, when they keep all from being applied. */
bool are_refused(const std::vector<Configuration> &configurations, const Policy &policy,
                 const Arguments &arguments, Console &console);

/* With --from, make the switch the one saved there; returns what it was saved as, else an empty
 * snapshot. Call before capacities are set. Throws SnapshotError. */
Snapshot go_on_from(const Arguments &arguments, Switch &into);

/* The changes but for what is added, and how many of each kind. */
void print_effect(const std::vector<ServiceChange> &changes, const Page &page, Console &console);

/* Requests that failed, in any of them, and those that made up for them. */
template <class Outcomes> MadeUpFor all_made_up_for(const Outcomes &outcomes)
{
    MadeUpFor all;
    for (const auto &outcome : outcomes)
        all.insert(outcome.applied.made_up_for.begin(), outcome.applied.made_up_for.end());
    return all;
}

/* Whether nothing has made up for it. */
bool is_open(const Failure &failure, const MadeUpFor &made_up_for, const Switch &of);
template <class Outcomes> bool any_open(const Outcomes &outcomes, const Switch &of)
{
    const MadeUpFor made_up_for = all_made_up_for(outcomes);
    for (const auto &outcome : outcomes) {
        for (const Failure &failure : outcome.applied.failures) {
            if (is_open(failure, made_up_for, of))
                return true;
        }
    }
    return false;
}

/* "requests", "calls", "steps_done", "steps" and "failures", within an object; with the requests
 * that each step made, if given. */
void write(Json &json, const ConfigurationRun &outcome, const MadeUpFor &made_up_for,
           const std::vector<std::vector<Request>> &step_requests = {});

} // namespace kvnsim
