#include <algorithm>

#include <fmt/format.h>

#include "sim/cli/console.h"
#include "sim/cli/input.h"
#include "sim/cli/outcome.h"
#include "sim/cli/policy.h"
#include "sim/cli/verb.h"
#include "sim/types/text.h"

namespace kvnsim {
namespace {

int check(const Arguments &arguments, Console &console)
{
    const std::vector<Configuration> configurations =
        read_configurations(arguments.values("CONFIG"));
    const Policy policy(arguments);
    const bool refused = policy.refuses_any(configurations);
    const bool left_out =
        std::any_of(configurations.begin(), configurations.end(),
                    [&](const Configuration &one) { return policy.leaves_out(one); });
    if (arguments.has("--json")) {
        Json json;
        json.begin_object().field("ok", !refused && !left_out).key("configurations").begin_array();
        for (const Configuration &configuration : configurations) {
            write(json.begin_object(), configuration);
            json.end_object();
        }
        json.end_array().end_object();
        console.out() << json.document();
    } else {
        for (const Configuration &configuration : configurations)
            print_findings(configuration, policy, console);
        for (const Configuration &configuration : configurations)
            console.out() << fmt::format("{}: {}\n{}", visible(configuration.file),
                                         finding_counts(configuration, policy),
                                         ignored_tables(configuration));
    }
    return refused ? exit_input : left_out ? exit_found : exit_well;
}

} // namespace

const Verb check_verb{"check",
                      "read configurations and report what is wrong with them",
                      "kvnsim check examples/broken.json\n",
                      {config_operand, ignore_option, strict_option, json_option},
                      check};

} // namespace kvnsim
