/* Copies the state of the switch into rows. A snapshot shares nothing that can change with the
 * switch, and rows have a fixed order, so equal states give equal snapshots. Call capture() between
 * requests, never within one. */
#include "sim/state/snapshot.h"

#include <algorithm>

#include "l3lifpd_kavelin.h"
#include "sim/fwm/diagnostics.h"
#include "sim/fwm/host.h"
#include "sim/journal/journal.h"
#include "sim/sdk/asic.h"
#include "sim/switch/switch.h"

namespace kvnsim {
namespace {

void join(const std::vector<std::string> &texts, std::string &into)
{
    for (const std::string &text : texts) {
        if (&text != &texts.front())
            into += ' ';
        into += text;
    }
}

/* The rows of a Desired, which is what is wanted or what has been applied. */
template <class Port, class Interface, class Member, class VirtualMacRow, class RouterMac>
void capture_desired(const Desired &desired, const Switch &of, std::vector<Port> &ports,
                     std::vector<Interface> &interfaces, std::vector<Member> &members,
                     std::vector<VirtualMacRow> &virtual_macs, std::vector<RouterMac> &router_mac)
{
    for (const auto &[name, port] : desired.ports) {
        Port &row = ports.emplace_back();
        row.name = name;
        row.front_port = port.front_port;
        row.mtu = port.mtu;
        row.admin_up = port.admin_up;
        row.alias = port.alias;
        row.location = port.location;
    }

    interfaces.reserve(desired.routed_ports.size() + desired.port_channels.size() +
                       desired.sub_interfaces.size() + desired.svis.size());
    const auto add = [&](const std::string &name, InterfaceKind kind, uint32_t number, uint32_t mtu,
                         const L3Settings &l3, const SourceLocation &location) -> Interface & {
        Interface &row = interfaces.emplace_back();
        row.name = name;
        row.kind = kind;
        row.number = number;
        row.mtu = mtu;
        row.ipv4 = l3.ipv4;
        row.ipv6 = l3.ipv6;
        row.vrf = l3.vrf;
        row.vpn = of.vpn_of(l3.vrf);
        row.nat_zone = l3.nat_zone;
        join(l3.addresses, row.addresses);
        row.location = location;
        return row;
    };
    for (const auto &[name, routed] : desired.routed_ports) {
        const auto port = desired.ports.find(name);
        const bool known = port != desired.ports.end();
        Interface &row = add(name, InterfaceKind::port, 0, known ? port->second.mtu : 0u, routed.l3,
                             routed.location);
        row.implied = routed.implied;
        row.admin_up = known && port->second.admin_up;
    }
    for (const auto &[name, channel] : desired.port_channels) {
        Interface &row = add(name, InterfaceKind::port_channel, channel.number, channel.mtu,
                             channel.l3.value_or(L3Settings()),
                             channel.l3 ? channel.l3_location : channel.location);
        row.routed = channel.l3.has_value();
        row.implied = channel.l3_implied;
        row.admin_up = channel.admin_up;
        if (channel.l3)
            row.channel = channel.location;
        for (const auto &[port, location] : channel.members) {
            Member &member = members.emplace_back();
            member.port_channel = name;
            member.port = port;
            member.declined = of.declined_members().count({name, port}) != 0;
            member.location = location;
        }
    }
    for (const auto &[name, sub] : desired.sub_interfaces) {
        Interface &row =
            add(name, InterfaceKind::sub_interface, sub.vlan, sub.mtu, sub.l3, sub.location);
        row.parent = sub.parent;
        row.waits = sub.waits;
    }
    for (const auto &[name, svi] : desired.svis)
        add(name, InterfaceKind::svi, svi.vlan, svi.mtu, svi.l3, svi.location);
    for (const auto &[mac, location] : desired.virtual_macs) {
        VirtualMacRow &row = virtual_macs.emplace_back();
        row.interface = mac.interface;
        row.mac = mac.mac;
        row.location = location;
    }
    if (desired.router_mac) {
        RouterMac &row = router_mac.emplace_back();
        row.mac = *desired.router_mac;
        row.location = desired.router_mac_location;
    }
}

void capture_wanted(const Switch &of, Snapshot &into)
{
    const Desired &want = of.wanted();
    into.meta.hostname = want.hostname;
    capture_desired(want, of, into.wanted_ports, into.wanted_interfaces, into.wanted_members,
                    into.wanted_virtual_macs, into.wanted_router_mac);
    for (const auto &[name, vlan] : want.vlans) {
        into.wanted_vlans.push_back({name, vlan.vlan, vlan.location});
        for (const auto &[member, location] : vlan.members)
            into.wanted_vlan_members.push_back({name, member, location});
    }
    for (const auto &[name, location] : want.vrfs)
        into.wanted_vrfs.push_back({name, location});
}

/* Its VLANs, VRFs and host name are always those wanted. */
void capture_applied(const Switch &of, Snapshot &into)
{
    capture_desired(of.have(), of, into.applied_ports, into.applied_interfaces,
                    into.applied_members, into.applied_virtual_macs, into.applied_router_mac);
    into.settings.reserve(of.settings().size());
    for (const auto &[name, settings] : of.settings())
        into.settings.push_back(
            {name, settings.mtu, settings.ipv4, settings.ipv6, settings.vrf, settings.nat_zone});
    for (const auto &[name, vpn] : of.vpns())
        into.vrfs.push_back({name, vpn});
    if (of.router_mac_id() != no_id)
        into.owned_router_mac.push_back({of.router_mac_id()});
}

void capture_failures(const Switch &of, Snapshot &into)
{
    for (const auto &[object, reasons] : of.failures()) {
        for (const Reason &reason : reasons)
            into.failures.push_back(
                {object, reason.kind, reason.mac, reason.in_part, reason.message, reason.origin});
    }
}

void capture_switch(const Switch &of, Snapshot &into)
{
    capture_wanted(of, into);
    capture_applied(of, into);
    capture_failures(of, into);
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
    into.l3lif.reserve(into.host.size());
    into.label.reserve(into.host.size());
    take_rows(Host::instance().db(), into.pm, into.pc, into.l3lif, into.label, into.member_intf);
}

/* What belongs to no part of the switch. */
Snapshot begun(const std::vector<std::string> &files, const std::vector<Finding> &findings,
               bool interrupted)
{
    Snapshot snapshot;
    snapshot.meta.word_size = 8 * sizeof(void *);
    for (const std::string &file : files)
        snapshot.files.push_back({file});
    snapshot.reader = findings;
    snapshot.meta.interrupted = interrupted;
    snapshot.meta.requests_made = Journal::instance().requests_made();
    snapshot.virtual_macs = library_virtual_macs();
    snapshot.errors = Diagnostics::instance().errors();
    return snapshot;
}

} // namespace

std::vector<std::string> Snapshot::file_names() const
{
    std::vector<std::string> names;
    for (const FileRow &row : files)
        names.push_back(row.file);
    return names;
}

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
    Snapshot snapshot = begun(files, findings, interrupted);
    capture_switch(of, snapshot);
    capture_asic(snapshot);
    capture_host(snapshot);
    return snapshot;
}

Snapshot capture_and_power_off(Switch &of, const std::vector<std::string> &files,
                               const std::vector<Finding> &findings, bool interrupted)
{
    Snapshot snapshot = begun(files, findings, interrupted);
    capture_switch(of, snapshot);
    of.resume({});
    capture_asic(snapshot);
    Asic::instance().reset();
    capture_host(snapshot);
    Host::instance().reset();
    return snapshot;
}

} // namespace kvnsim
