#include "sim/cli/tables.h"

#include <map>
#include <set>

#include <fmt/format.h>

#include "sim/sdk/attributes.h"
#include "sim/state/index.h"

namespace kvnsim {
namespace {

/* The rows of one interface; nullptr where a table has none. */
struct Rows {
    const L3lifRow *l3lif = nullptr;
    const PmRow *pm = nullptr;
    const PcRow *pc = nullptr;
    const LabelRow *label = nullptr;
    const MemberIntfRow *member_intf = nullptr;
};

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

} // namespace

Listing attribute_values(const Snapshot &snapshot)
{
    std::map<uint32_t, std::map<uint32_t, uint32_t>> by_interface;
    std::set<uint32_t> written;
    for (const AttributeValueRow &row : snapshot.attributes) {
        by_interface[row.intf_id][row.number] = row.value;
        written.insert(row.number);
    }
    Listing listing{"Attributes", {{"intf_id", "intf_id"}, {"interface", "Interface"}}, {}};
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

Listing shared_database(const Snapshot &snapshot)
{
    std::map<uint32_t, Rows> by_ifindex;
    for (const L3lifRow &row : snapshot.l3lif)
        by_ifindex[row.ifindex].l3lif = &row;
    for (const PmRow &row : snapshot.pm)
        by_ifindex[row.ifindex].pm = &row;
    for (const PcRow &row : snapshot.pc)
        by_ifindex[row.ifindex].pc = &row;
    for (const LabelRow &row : snapshot.label)
        by_ifindex[row.ifindex].label = &row;
    for (const MemberIntfRow &row : snapshot.member_intf)
        by_ifindex[row.ifindex].member_intf = &row;
    const Index index(snapshot);
    Listing listing{"Shared database",
                    {{"interface", "Interface"},
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
    for (const auto &[ifindex, rows] : by_ifindex) {
        const HostRow *host = index.host(ifindex);
        listing.rows.push_back(
            {host == nullptr ? Cell() : Cell(host->name), fmt::format("{:#010x}", ifindex),
             number(rows.l3lif, &L3lifRow::mtu), flag(rows.l3lif, &L3lifRow::ipv4_ucst_en),
             flag(rows.l3lif, &L3lifRow::ipv4_mcst_en), flag(rows.l3lif, &L3lifRow::ipv4_same_if),
             number(rows.l3lif, &L3lifRow::v4_vpn_id), number(rows.l3lif, &L3lifRow::v6_vpn_id),
             number(rows.l3lif, &L3lifRow::nat_zone), number(rows.pm, &PmRow::ifmap_idx),
             number(rows.pc, &PcRow::pc_id), label(rows.label),
             number(rows.member_intf, &MemberIntfRow::intf_id)});
    }
    return listing;
}

} // namespace kvnsim
