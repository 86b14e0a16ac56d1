#include "sim/cli/console.h"
#include "sim/cli/input.h"
#include "sim/cli/json.h"
#include "sim/cli/verb.h"
#include "sim/state/compare.h"

namespace kvnsim {
namespace {

int compare(const Arguments &arguments, Console &console)
{
    const auto differences = diff(load(arguments.value("A")), load(arguments.value("B")));
    if (arguments.has("--json")) {
        Json json;
        json.begin_object().field("equal", differences.empty()).key("differences");
        json.raw(to_json(show(differences)), rapidjson::kArrayType).end_object();
        console.out() << json.document();
    } else if (differences.empty()) {
        console.out() << "No difference in ASIC and shared state.\n";
    } else {
        console.print_titled(to_text(show(differences)));
        console.out() << counted(differences.size(), "difference") << "\n";
    }
    return differences.empty() ? exit_well : exit_found;
}

const Registration registration({"diff",
                                 "say what differs in ASIC and shared state of two databases",
                                 "kvnsim diff before.db after.db\n",
                                 {{"A", "", "a database that `kvnsim run --db` left", Takes::text,
                                   Times::required},
                                  {"B", "", "another one", Takes::text, Times::required},
                                  json_option},
                                 compare});

} // namespace
} // namespace kvnsim
