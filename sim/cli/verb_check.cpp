#include <fmt/format.h>

#include "sim/cli/console.h"
#include "sim/cli/input.h"
#include "sim/cli/verb.h"

namespace kvnsim {
namespace {

int check(const Arguments &arguments, Console &console)
{
    const std::vector<Configuration> configurations =
        read_configurations(arguments.values("CONFIG"));
    const bool errors = have_errors(configurations);
    if (arguments.has("--json")) {
        Json json;
        json.begin_object().field("ok", !errors).key("configurations").begin_array();
        for (const Configuration &configuration : configurations) {
            write(json.begin_object(), configuration);
            json.end_object();
        }
        json.end_array().end_object();
        console.out() << json.document();
    } else {
        for (const Configuration &configuration : configurations)
            print_findings(configuration, console);
        for (const Configuration &configuration : configurations)
            console.out() << fmt::format("{}: {}\n{}", configuration.file,
                                         finding_counts(configuration),
                                         ignored_tables(configuration));
    }
    return errors ? exit_input : exit_well;
}

} // namespace

const Verb check_verb{
    "check",
    "read configurations and report what is wrong with them",
    "kvnsim check examples/broken.json\n",
    {{"CONFIG", Takes::file, Times::some, "config_db.json files; - is standard input"},
     json_option},
    check};

} // namespace kvnsim
