#include "sim/cli/stored.h"
#include "sim/cli/verb.h"

namespace kvnsim {
namespace {

int explain_interface(const Arguments &arguments, Console &console)
{
    print_explanation(load(arguments.value("--db")), arguments.value("IF"), arguments.has("--json"),
                      console);
    return exit_well;
}

const Registration
    registration({"explain",
                  "say of an interface what is configured, recorded, programmed and published",
                  "kvnsim explain Ethernet0 --db leaf.db\n",
                  {{"IF", "", "the interface: Ethernet0, PortChannel0001, Ethernet0.100, Vlan100",
                    Takes::text, Times::required},
                   db_option,
                   json_option},
                  explain_interface});

} // namespace
} // namespace kvnsim
