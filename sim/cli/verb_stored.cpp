#include "sim/cli/stored.h"
#include "sim/cli/verb.h"

/* The verbs that read a database. */
namespace kvnsim {
namespace {

int show_table(const Arguments &given, Console &console)
{
    print_table(load(given.value("--db")), given.value("WHAT"), given.value("IF"),
                given.has("--json"), console);
    return exit_well;
}

int explain_interface(const Arguments &given, Console &console)
{
    print_explanation(load(given.value("--db")), given.value("IF"), given.has("--json"), console);
    return exit_well;
}

int audit_database(const Arguments &given, Console &console)
{
    return print_audit(load(given.value("--db")), given.has("--json"), console);
}

int compare(const Arguments &given, Console &console)
{
    return print_differences(diff(load(given.value("A")), load(given.value("B"))),
                             given.has("--json"), console);
}

} // namespace

const Verb show_verb{"show",
                     "show a table of the switch",
                     "kvnsim show interfaces --db leaf.db\n"
                     "kvnsim show attributes Ethernet0 --db leaf.db\n",
                     {{"WHAT", Takes::table, Times::required,
                       "interfaces, ports, port-channels, lids, macs, errors, summary, attributes"},
                      {"IF", Takes::interface, Times::optional, "for attributes: the interface"},
                      db_option,
                      json_option},
                     show_table};

const Verb explain_verb{
    "explain",
    "show what is configured, recorded, programmed and published of an interface",
    "kvnsim explain Ethernet0 --db leaf.db\n",
    {{"IF", Takes::interface, Times::required,
      "the interface: Ethernet0, PortChannel0001, Ethernet0.100, Vlan100"},
     db_option,
     json_option},
    explain_interface};

const Verb audit_verb{"audit",
                      "cross-check records, ASIC, shared database and configuration",
                      "kvnsim audit --db leaf.db\n",
                      {db_option, json_option},
                      audit_database};

const Verb diff_verb{
    "diff",
    "show differences in ASIC and shared state between two databases",
    "kvnsim diff before.db after.db\n",
    {{"A", Takes::file, Times::required, "a database that `kvnsim run --db` wrote"},
     {"B", Takes::file, Times::required, "another one"},
     json_option},
    compare};

} // namespace kvnsim
