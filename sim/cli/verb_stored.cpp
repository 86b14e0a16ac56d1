#include <algorithm>

#include "sim/cli/forwarding.h"
#include "sim/cli/policy.h"
#include "sim/cli/stored.h"
#include "sim/cli/verb.h"
#include "sim/config/names.h"

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
    const ShowKind &kind = show_kind_named(given.value("TABLE")); /* before the database is read */
    if (kind.is_of_parts && !given.values("NAME").empty()) {
        if (const auto part = load_about(required_database(given), given.values("NAME")))
            return print_table(part->snapshot, given, console);
    }
    return of_database<print_table>(given, console);
}

/* The services that a finding costs may be those of any interface. */
bool has_findings_with_costs(const Explanation &explanation)
{
    return std::any_of(
        explanation.findings.begin(), explanation.findings.end(),
        [](const AuditFinding &finding) { return finding.kind != AuditKind::left_out; });
}

int explain_of_database(const Arguments &given, Console &console)
{
    if (const auto part = load_about(required_database(given), {given.value("IF")})) {
        const Explanation explanation = explain(part->snapshot, part->names.front());
        if (!has_findings_with_costs(explanation))
            return print_explanation(explanation, given, console);
    }
    const Snapshot snapshot = load_database(given);
    return print_explanation(snapshot, given, console);
}

int packet_of_database(const Arguments &given, Console &console)
{
    const FrameKey frame{parse_number(given.value("--vlan"), vlan_range).value_or(0),
                         parse_mac(given.value("--to"))};
    if (const auto part = load_about(required_database(given), {given.value("IF")}, frame))
        return print_packet(part->snapshot, given, console);
    return of_database<print_packet>(given, console);
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
    explain_of_database};

const Verb audit_verb{"audit",
                      "cross-check records, ASIC, shared database and configuration",
                      "kvnsim audit leaf.db\n",
                      {db_operand, db_option, ignore_option, json_option, wide_option},
                      of_database<print_audit>};

const Verb packet_verb{
    "packet", "follow a frame through the ASIC's tables: routed where, or why not",
    "kvnsim packet Ethernet0 leaf.db\n"
    "kvnsim packet Ethernet36 --vlan 100 --to 00:00:5e:00:53:01 --ipv4 --size 9000 --db leaf.db\n",
    with_frame({{"IF", Takes::interface, Times::required,
                 "the port by which it arrives; or an interface, for a frame of its port and VLAN"},
                db_operand},
               {db_option, json_option, wide_option}),
    packet_of_database};

const Verb reach_verb{
    "reach",
    "follow every kind of frame that the configuration wants routed",
    "kvnsim reach leaf.db\n"
    "kvnsim reach Ethernet0 Vlan100 --db leaf.db\n",
    {{"IF", Takes::interface, Times::any, "only the services of these, all of them"},
     db_operand,
     db_option,
     {"--all", Takes::nothing, Times::optional, "those that are given too"},
     json_option,
     wide_option},
    of_database<print_services>};

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
