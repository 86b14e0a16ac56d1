#include "sim/cli/shared_database.h"

#include <map>

#include <fmt/format.h>

namespace kvnsim {
namespace {

/* What the tables hold of one interface; nullptr where one holds nothing. */
struct Rows {
    const DbL3lif *l3lif = nullptr;
    const DbPm *pm = nullptr;
    const DbPc *pc = nullptr;
    const DbLabel *label = nullptr;
    const DbMemberIntf *member_intf = nullptr;
};

template <class Row> Cell number(const Row *row, uint32_t Row::*column)
{
    return row == nullptr ? Cell() : Cell(int64_t{row->*column});
}

template <class Row> Cell flag(const Row *row, uint32_t Row::*column)
{
    return row == nullptr ? Cell() : Cell(row->*column != 0);
}

Cell label(const DbLabel *row)
{
    if (row == nullptr)
        return Cell();
    return std::string(!row->enabled ? "off" : row->svi ? "on, SVI" : "on");
}

} // namespace

Listing shared_database(const Snapshot &snapshot)
{
    std::map<uint32_t, Rows> by_ifindex;
    for (const DbL3lif &row : snapshot.l3lif)
        by_ifindex[row.ifindex].l3lif = &row;
    for (const DbPm &row : snapshot.pm)
        by_ifindex[row.ifindex].pm = &row;
    for (const DbPc &row : snapshot.pc)
        by_ifindex[row.ifindex].pc = &row;
    for (const DbLabel &row : snapshot.label)
        by_ifindex[row.ifindex].label = &row;
    for (const DbMemberIntf &row : snapshot.member_intf)
        by_ifindex[row.ifindex].member_intf = &row;
    std::map<uint32_t, const std::string *> names;
    for (const HostRow &row : snapshot.host)
        names[row.ifindex] = &row.name;

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
                     {"pc_id", "PC"},
                     {"label", "label"},
                     {"member_intf", "kept intf"}},
                    {}};
    for (const auto &[ifindex, rows] : by_ifindex) {
        const auto name = names.find(ifindex);
        listing.rows.push_back(
            {name == names.end() ? Cell() : Cell(*name->second), fmt::format("{:#010x}", ifindex),
             number(rows.l3lif, &DbL3lif::mtu), flag(rows.l3lif, &DbL3lif::ipv4_ucst_en),
             flag(rows.l3lif, &DbL3lif::ipv4_mcst_en), flag(rows.l3lif, &DbL3lif::ipv4_same_if),
             number(rows.l3lif, &DbL3lif::v4_vpn_id), number(rows.l3lif, &DbL3lif::v6_vpn_id),
             number(rows.l3lif, &DbL3lif::nat_zone), number(rows.pm, &DbPm::ifmap_idx),
             number(rows.pc, &DbPc::pc_id), label(rows.label),
             number(rows.member_intf, &DbMemberIntf::intf_id)});
    }
    return listing;
}

} // namespace kvnsim
