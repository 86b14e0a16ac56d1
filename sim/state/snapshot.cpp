/* Copies the state of the switch into rows. A snapshot shares nothing that can change with the
 * switch, and rows have a fixed order, so equal states give equal snapshots. Call capture() between
 * requests, never within one. */
#include "sim/state/snapshot.h"

#include <algorithm>
#include <cstring>

#include <fmt/format.h>

#include "l3lifpd_kavelin.h"
#include "sim/fwm/diagnostics.h"
#include "sim/fwm/host.h"
#include "sim/sdk/asic.h"
#include "sim/switch/switch.h"

namespace kvnsim {
namespace {

/* The library's record of one virtual MAC: both key and value of its table. */
struct FhrpEntry {
    uint32_t ifindex;
    uint8_t mac[6];
    uint8_t pad[2];
    uint32_t mac_trap_id;
};
static_assert(sizeof(FhrpEntry) == 16, "entry of the table of virtual MACs");

std::string joined(const std::vector<std::string> &texts)
{
    return fmt::format("{}", fmt::join(texts, " "));
}

void capture_wanted(const Switch &of, Snapshot &into)
{
    const Desired &want = of.wanted();
    into.meta.hostname = want.hostname;
    for (const auto &[name, port] : want.ports)
        into.wanted_ports.push_back({name, port.mtu, port.admin_up, port.alias, port.location});

    into.wanted_interfaces.reserve(want.routed_ports.size() + want.port_channels.size() +
                                   want.sub_interfaces.size() + want.svis.size());
    const auto add = [&](const std::string &name, InterfaceKind kind, uint32_t number, uint32_t mtu,
                         const L3Settings &l3,
                         const SourceLocation &location) -> WantedInterface & {
        WantedInterface &row = into.wanted_interfaces.emplace_back();
        row.name = name;
        row.kind = kind;
        row.number = number;
        row.mtu = mtu;
        row.ipv4 = l3.ipv4;
        row.ipv6 = l3.ipv6;
        row.vrf = l3.vrf;
        row.vpn = of.vpn_of(l3.vrf);
        row.nat_zone = l3.nat_zone;
        row.addresses = joined(l3.addresses);
        row.location = location;
        return row;
    };
    for (const auto &[name, routed] : want.routed_ports) {
        const auto port = want.ports.find(name);
        const bool known = port != want.ports.end();
        WantedInterface &row = add(name, InterfaceKind::port, 0, known ? port->second.mtu : 0u,
                                   routed.l3, routed.location);
        row.implied = routed.implied;
        row.admin_up = known && port->second.admin_up;
    }
    for (const auto &[name, channel] : want.port_channels) {
        WantedInterface &row = add(name, InterfaceKind::port_channel, channel.number, channel.mtu,
                                   channel.l3.value_or(L3Settings()),
                                   channel.l3 ? channel.l3_location : channel.location);
        row.routed = channel.l3.has_value();
        row.implied = channel.l3_implied;
        row.admin_up = channel.admin_up;
        for (const auto &[port, location] : channel.members)
            into.wanted_members.push_back(
                {name, port, of.declined_members().count({name, port}) != 0, location});
    }
    for (const auto &[name, sub] : want.sub_interfaces)
        add(name, InterfaceKind::sub_interface, sub.vlan, sub.mtu, sub.l3, sub.location).parent =
            sub.parent;
    for (const auto &[name, svi] : want.svis)
        add(name, InterfaceKind::svi, svi.vlan, svi.mtu, svi.l3, svi.location);
    for (const auto &[name, vlan] : want.vlans) {
        into.wanted_vlans.push_back({name, vlan.vlan, vlan.location});
        for (const auto &[member, location] : vlan.members)
            into.wanted_vlan_members.push_back({name, member, location});
    }
    for (const auto &[mac, location] : want.virtual_macs)
        into.wanted_virtual_macs.push_back({mac.interface, mac.mac, location});
    if (want.router_mac)
        into.wanted_router_mac.push_back({*want.router_mac, want.router_mac_location});
    for (const auto &[name, vpn] : of.vpns())
        into.vrfs.push_back({name, vpn});
    if (of.router_mac_id() != no_id)
        into.owned_router_mac.push_back({of.router_mac_id()});
}

void capture_failures(const Switch &of, Snapshot &into)
{
    for (const auto &[object, reasons] : of.failures()) {
        for (const Reason &reason : reasons)
            into.failures.push_back({object, reason.message, reason.origin});
    }
}

void capture_host(Snapshot &into)
{
    const Host &host = Host::instance();
    into.host.reserve(host.size());
    into.contexts.reserve(host.size());
    for (const HostInterface *interface : host.interfaces()) {
        into.host.push_back(host.row(*interface));
        if (const l3_pd *context = interface->context())
            into.contexts.push_back({interface->ifindex, context->intf_id, context->old_intf_id,
                                     context->lid_id, context->pc_id});
    }
}

void capture_virtual_macs(Snapshot &into)
{
    if (fhrp_mac_hash == nullptr)
        return;
    GHashTableIter entries;
    void *value;
    g_hash_table_iter_init(&entries, fhrp_mac_hash);
    while (g_hash_table_iter_next(&entries, nullptr, &value)) {
        FhrpEntry entry;
        std::memcpy(&entry, value, sizeof entry);
        FhrpRow row;
        row.ifindex = entry.ifindex;
        std::copy(std::begin(entry.mac), std::end(entry.mac), row.mac.begin());
        row.mac_trap_id = entry.mac_trap_id;
        into.virtual_macs.push_back(row);
    }
    std::sort(into.virtual_macs.begin(), into.virtual_macs.end(),
              [](const FhrpRow &a, const FhrpRow &b) {
                  return std::tie(a.ifindex, a.mac) < std::tie(b.ifindex, b.mac);
              });
}

/* Rows that are copied unchanged from a model. */
template <class Model, class... Row> void take_rows(const Model &of, std::vector<Row> &...into)
{
    (of.template each<Row>([&](const Row &row) { into.push_back(row); }), ...);
}

void capture_asic(Snapshot &into)
{
    const Asic &asic = Asic::instance();
    take_rows(asic, into.table_use);
    for (const TableUse &use : into.table_use) {
        if (use.name == "intf")
            into.intfs.reserve(use.used);
        else if (use.name == "attr")
            into.attributes.reserve(use.used);
    }
    take_rows(asic, into.intfs, into.attributes, into.lids, into.lid_paths, into.port_channels,
              into.members, into.router_macs, into.traps, into.pending);
}

void capture_database(Snapshot &into)
{
    into.l3lif.reserve(into.host.size());
    into.label.reserve(into.host.size());
    take_rows(Host::instance().db(), into.pm, into.pc, into.l3lif, into.label, into.member_intf);
}

} // namespace

bool operator==(const Snapshot &a, const Snapshot &b)
{
    bool equal = same_row(a.meta, b.meta);
    Snapshot::tables([&](auto rows) {
        const auto &x = a.*rows, &y = b.*rows;
        using Row = typename std::decay_t<decltype(x)>::value_type;
        equal = equal && std::equal(x.begin(), x.end(), y.begin(), y.end(), same_row<Row>);
    });
    return equal;
}

Snapshot capture(const Switch &of, const std::vector<std::string> &files,
                 const std::vector<Finding> &findings, bool interrupted)
{
    Snapshot snapshot;
    snapshot.meta.word_size = 8 * sizeof(void *);
    for (const std::string &file : files)
        snapshot.files.push_back({file});
    snapshot.reader = findings;
    snapshot.meta.interrupted = interrupted;
    capture_wanted(of, snapshot);
    capture_host(snapshot);
    capture_virtual_macs(snapshot);
    capture_failures(of, snapshot);
    capture_asic(snapshot);
    capture_database(snapshot);
    snapshot.errors = Diagnostics::instance().errors();
    return snapshot;
}

} // namespace kvnsim
