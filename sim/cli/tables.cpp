#include "sim/cli/tables.h"

#include <map>
#include <set>

#include <fmt/format.h>

#include "sim/sdk/attributes.h"
#include "sim/state/index.h"

namespace kvnsim {
namespace {

template <class Row> Cell number(const Row *row, uint32_t Row::*column)
{
    return row == nullptr ? Cell() : Cell(int64_t{row->*column});
}

template <class Row> Cell flag(const Row *row, uint32_t Row::*column)
{
    return row == nullptr ? Cell() : Cell(row->*column != 0);
}

Cell label(const LabelRow *row)
{
    if (row == nullptr)
        return Cell();
    return std::string(!row->enabled ? "off" : row->svi ? "on, SVI" : "on");
}

/* Programmed, and not in the configuration. */
bool is_unwanted(const Index &index, const HostRow &host)
{
    return index.wanted(host) == nullptr && index.programmed(&host);
}

} // namespace

Listing attribute_values(const Snapshot &snapshot)
{
    std::map<uint32_t, std::map<uint32_t, uint32_t>> by_interface;
    std::set<uint32_t> written;
    for (const AttributeValueRow &row : snapshot.attributes) {
        by_interface[row.intf_id][row.number] = row.value;
        written.insert(row.number);
    }
    Listing listing{"Attributes",
                    {{"intf_id", "intf_id", rank_name}, {"interface", "Interface", rank_name}},
                    {}};
    std::vector<const AttributeRow *> columns;
    for (const AttributeRow &attribute : attributes()) {
        if (written.count(attribute.number) == 0)
            continue;
        columns.push_back(&attribute);
        listing.columns.push_back({attribute.name, attribute.short_name});
    }
    const Index index(snapshot);
    for (const IntfRow &intf : snapshot.intfs) {
        const HostRow *owner = index.owner_of_intf(intf.intf_id);
        auto &row = listing.rows.emplace_back();
        row.emplace_back(int64_t{intf.intf_id});
        row.push_back(owner == nullptr ? Cell() : Cell(owner->name));
        const auto &values = by_interface[intf.intf_id];
        for (const AttributeRow *attribute : columns) {
            const auto value = values.find(attribute->number);
            row.push_back(value == values.end() ? Cell() : Cell(int64_t{value->second}));
        }
    }
    return listing;
}

Listing interface_counts(const Index &index)
{
    const Snapshot &snapshot = index.snapshot();
    std::map<InterfaceKind, std::map<std::string, int64_t>> counts;
    for (const WantedInterface &wanted : snapshot.wanted_interfaces)
        ++counts[wanted.kind][index.state(wanted)];
    for (const HostRow &host : snapshot.host) {
        if (is_unwanted(index, host))
            ++counts[host.kind][index.state(host.name)];
    }
    Listing listing{"Interfaces by state",
                    {{"kind", "Kind", rank_name}, {"state", "State"}, {"count", "Count"}}};
    for (const auto &[kind, states] : counts) {
        for (const auto &[state, count] : states)
            listing.rows.push_back({cell(kind), state, count});
    }
    return listing;
}

Listing needing_attention(const Index &index)
{
    const Snapshot &snapshot = index.snapshot();
    Listing listing{"Needs attention",
                    {{"object", "Object", rank_name},
                     {"kind", "Kind", rank_detail},
                     {"state", "State", rank_state},
                     {"failure", "Failure", rank_origin}}};
    std::set<std::string_view> listed;
    const auto add = [&](const std::string &name, const Cell &kind) {
        listing.rows.push_back({name, kind, index.state(name), cell(index.failure(name).message)});
        listed.insert(name);
    };
    for (const WantedInterface &wanted : snapshot.wanted_interfaces) {
        if ((index.must_exist(wanted) && !index.programmed(index.host(wanted))) ||
            !index.failure(wanted.name).message.empty())
            add(wanted.name, cell(wanted.kind));
    }
    for (const HostRow &host : snapshot.host) {
        if (is_unwanted(index, host))
            add(host.name, cell(host.kind));
    }
    for (const FailureRow &failure : snapshot.failures) {
        if (listed.insert(failure.object).second)
            listing.rows.push_back({failure.object, Cell(), Cell(), cell(failure.message)});
    }
    return listing;
}

Listing shared_database(const Snapshot &snapshot)
{
    std::set<uint32_t> ifindexes;
    const auto collect = [&](const auto &rows) {
        for (const auto &row : rows)
            ifindexes.insert(row.ifindex);
    };
    collect(snapshot.l3lif);
    collect(snapshot.pm);
    collect(snapshot.pc);
    collect(snapshot.label);
    collect(snapshot.member_intf);
    const Index index(snapshot);
    Listing listing{"Shared database",
                    {{"interface", "Interface", rank_name},
                     {"ifindex", "ifindex"},
                     {"mtu", "MTU"},
                     {"ipv4", "IPv4"},
                     {"ipv4_multicast", "mcast"},
                     {"ipv4_same_if", "same-if"},
                     {"v4_vpn", "v4 VPN"},
                     {"v6_vpn", "v6 VPN"},
                     {"nat_zone", "NAT"},
                     {"ifmap_idx", "ifmap"},
                     {"pc_id", "pc_id"},
                     {"label", "label"},
                     {"member_intf", "kept intf"}},
                    {}};
    for (const uint32_t ifindex : ifindexes) {
        const HostRow *host = index.host(ifindex);
        const L3lifRow *l3lif = index.l3lif(ifindex);
        listing.rows.push_back(
            {host == nullptr ? Cell() : Cell(host->name), fmt::format("{:#010x}", ifindex),
             number(l3lif, &L3lifRow::mtu), flag(l3lif, &L3lifRow::ipv4_ucst_en),
             flag(l3lif, &L3lifRow::ipv4_mcst_en), flag(l3lif, &L3lifRow::ipv4_same_if),
             number(l3lif, &L3lifRow::v4_vpn_id), number(l3lif, &L3lifRow::v6_vpn_id),
             number(l3lif, &L3lifRow::nat_zone),
             number(find_row(snapshot.pm, &PmRow::ifindex, ifindex), &PmRow::ifmap_idx),
             number(find_row(snapshot.pc, &PcRow::ifindex, ifindex), &PcRow::pc_id),
             label(index.label(ifindex)),
             number(find_row(snapshot.member_intf, &MemberIntfRow::ifindex, ifindex),
                    &MemberIntfRow::intf_id)});
    }
    return listing;
}

} // namespace kvnsim
