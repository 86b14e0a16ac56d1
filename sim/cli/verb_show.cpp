#include "sim/cli/stored.h"
#include "sim/cli/verb.h"

namespace kvnsim {
namespace {

int show_table(const Arguments &arguments, Console &console)
{
    print_table(load(arguments.value("--db")), arguments.value("WHAT"), arguments.value("IF"),
                arguments.has("--json"), console);
    return exit_well;
}

const Registration registration(
    {"show",
     "show a table of the switch",
     "kvnsim show interfaces --db leaf.db\n"
     "kvnsim show attributes Ethernet0 --db leaf.db\n",
     {{"WHAT", "", "interfaces, ports, port-channels, lids, macs, errors, summary, attributes",
       Takes::text, Times::required},
      {"IF", "", "of attributes: the interface"},
      db_option,
      json_option},
     show_table});

} // namespace
} // namespace kvnsim
