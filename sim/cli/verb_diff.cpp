#include "sim/cli/stored.h"
#include "sim/cli/verb.h"
#include "sim/state/compare.h"

namespace kvnsim {
namespace {

int compare(const Arguments &arguments, Console &console)
{
    return print_differences(diff(load(arguments.value("A")), load(arguments.value("B"))),
                             arguments.has("--json"), console);
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
