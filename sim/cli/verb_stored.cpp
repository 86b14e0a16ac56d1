#include "sim/cli/policy.h"
#include "sim/cli/stored.h"
#include "sim/cli/verb.h"

/* The verbs that read a database. */
namespace kvnsim {
namespace {

template <int (*print)(const Snapshot &, const Arguments &, Console &)>
int of_database(const Arguments &given, Console &console)
{
    return print(load_database(given), given, console);
}

int show_of_database(const Arguments &given, Console &console)
{
    show_kind_named(given.value("TABLE")); /* before the database is read */
    return of_database<print_table>(given, console);
}

int compare(const Arguments &given, Console &console)
{
    const Snapshot before = load(given.value("A"));
    return print_differences(before, load(given.value("B")), given, console);
}

} // namespace

const Verb show_verb{
    "show",
    "show a table of the switch",
    "kvnsim show interfaces leaf.db\n"
    "kvnsim show port-channels PortChannel0001 leaf.db\n"
    "kvnsim show attributes Ethernet0 --db leaf.db\n",
    {{"TABLE", Takes::table, Times::required,
      "interfaces, ports, port-channels, lids, macs, errors, summary, vrfs, vlans, "
      "attributes"},
     {"NAME", Takes::interface, Times::any,
      "only the rows about these; for attributes: the interface"},
     db_operand,
     db_option,
     json_option,
     wide_option},
    show_of_database};

const Verb explain_verb{
    "explain",
    "show what is configured, recorded, programmed and published of an interface",
    "kvnsim explain Ethernet0 leaf.db\n",
    {{"IF", Takes::interface, Times::required,
      "the interface: Ethernet0, PortChannel0001, Ethernet0.100, Vlan100"},
     db_operand,
     db_option,
     json_option,
     wide_option},
    of_database<print_explanation>};

const Verb audit_verb{"audit",
                      "cross-check records, ASIC, shared database and configuration",
                      "kvnsim audit leaf.db\n",
                      {db_operand, db_option, ignore_option, json_option, wide_option},
                      of_database<print_audit>};

const Verb diff_verb{
    "diff",
    "show differences in ASIC and shared state between two databases",
    "kvnsim diff before.db after.db\n",
    {{"A", Takes::file, Times::required, "a database that `kvnsim run --db` wrote"},
     {"B", Takes::file, Times::required, "another one"},
     json_option,
     wide_option},
    compare};

} // namespace kvnsim
