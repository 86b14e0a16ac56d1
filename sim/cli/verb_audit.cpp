#include "sim/cli/stored.h"
#include "sim/cli/verb.h"

namespace kvnsim {
namespace {

int audit_database(const Arguments &arguments, Console &console)
{
    return print_audit(load(arguments.value("--db")), arguments.has("--json"), console);
}

const Registration registration({"audit",
                                 "cross-check records, ASIC, shared database and configuration",
                                 "kvnsim audit --db leaf.db\n",
                                 {db_option, json_option},
                                 audit_database});

} // namespace
} // namespace kvnsim
