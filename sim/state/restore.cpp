/* Restoring has two guards. ASIC, host and switch check what they are given, so that none of them
 * ever holds a reference to nothing; then the restored switch is captured again and must give the
 * same rows, so that whatever the rows say twice they say the same. After either refuses, the
 * switch is restored as it was before. */
#include "sim/state/restore.h"

#include <algorithm>
#include <map>
#include <tuple>
#include <utility>

#include <fmt/format.h>

#include "l3lifpd_kavelin.h"
#include "sim/config/names.h"
#include "sim/journal/journal.h"
#include "sim/switch/switch.h"
#include "sim/types/bad_row.h"

namespace kvnsim {
namespace {

/* Visit each row with a function that refuses it: refuse(column, reason). */
template <class Row, class Visit> void each_row(const std::vector<Row> &rows, const Visit &visit)
{
    size_t number = 0;
    for (const Row &row : rows) {
        ++number;
        visit(row, [number](std::string_view column, const std::string &reason) {
            throw BadRow(Row::table, number, column, reason);
        });
    }
}

constexpr const char *twice = "it is there twice";

/* Rows come in the order of their keys, so that each belongs behind those before it. false when the
 * key is there already. */
template <class Map, class Key, class Value> bool append(Map &map, Key &&key, Value &&value)
{
    const size_t before = map.size();
    map.emplace_hint(map.end(), std::forward<Key>(key), std::forward<Value>(value));
    return map.size() != before;
}

/* ---- What was wanted or applied ---- */

template <class Refuse> uint16_t to_mtu(uint32_t mtu, const Refuse &refuse)
{
    if (mtu > 0xFFFF)
        refuse("mtu", fmt::format("{} is not 0 to 65535", mtu));
    return static_cast<uint16_t>(mtu);
}

L3Settings l3_of(const WantedInterface &row)
{
    L3Settings l3{row.ipv4, row.ipv6, row.vrf, row.nat_zone, {}};
    std::string_view rest = row.addresses;
    while (!rest.empty()) {
        const size_t end = std::min(rest.find(' '), rest.size());
        l3.addresses.emplace_back(rest.substr(0, end));
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
    return l3;
}

DesiredPortChannel port_channel_of(const WantedInterface &row, uint16_t mtu)
{
    DesiredPortChannel channel;
    channel.number = row.number;
    channel.mtu = mtu;
    channel.admin_up = row.admin_up;
    channel.l3_implied = row.implied;
    channel.location = row.channel.value_or(row.location);
    if (row.routed) {
        channel.l3 = l3_of(row);
        channel.l3_location = row.location;
    }
    return channel;
}

template <class Port, class Interface, class Member, class VirtualMacRow, class RouterMac>
Desired desired_of(const std::vector<Port> &ports, const std::vector<Interface> &interfaces,
                   const std::vector<Member> &members,
                   const std::vector<VirtualMacRow> &virtual_macs,
                   const std::vector<RouterMac> &router_mac)
{
    Desired desired;
    each_row(ports, [&](const Port &row, const auto &refuse) {
        if (!append(desired.ports, row.name,
                    DesiredPort{row.front_port, to_mtu(row.mtu, refuse), row.admin_up, row.alias,
                                row.location}))
            refuse("name", twice);
    });
    each_row(interfaces, [&](const Interface &row, const auto &refuse) {
        const uint16_t mtu = to_mtu(row.mtu, refuse);
        const auto put = [&](auto &into, auto value) {
            if (!append(into, row.name, std::move(value)))
                refuse("name", twice);
        };
        switch (row.kind) {
        case InterfaceKind::port:
            return put(desired.routed_ports,
                       DesiredRoutedPort{l3_of(row), row.implied, row.location});
        case InterfaceKind::port_channel:
            return put(desired.port_channels, port_channel_of(row, mtu));
        case InterfaceKind::sub_interface:
            return put(desired.sub_interfaces,
                       DesiredSubInterface{row.parent, row.number, mtu, l3_of(row), row.location,
                                           row.waits});
        case InterfaceKind::svi:
            return put(desired.svis, DesiredSvi{row.number, mtu, l3_of(row), row.location});
        }
    });
    each_row(members, [&](const Member &row, const auto &refuse) {
        const auto channel = desired.port_channels.find(row.port_channel);
        if (channel == desired.port_channels.end())
            return refuse("port_channel", "there is no such port-channel");
        if (!append(channel->second.members, row.port, row.location))
            refuse("port", twice);
    });
    each_row(virtual_macs, [&](const VirtualMacRow &row, const auto &refuse) {
        if (!append(desired.virtual_macs, VirtualMac{row.interface, row.mac}, row.location))
            refuse("mac", twice);
    });
    each_row(router_mac, [&](const RouterMac &row, const auto &refuse) {
        if (desired.router_mac)
            refuse("mac", "there is at most one");
        desired.router_mac = row.mac;
        desired.router_mac_location = row.location;
    });
    return desired;
}

Desired wanted_of(const Snapshot &from)
{
    Desired want = desired_of(from.wanted_ports, from.wanted_interfaces, from.wanted_members,
                              from.wanted_virtual_macs, from.wanted_router_mac);
    want.hostname = from.meta.hostname;
    each_row(from.wanted_vlans, [&](const WantedVlan &row, const auto &refuse) {
        DesiredVlan vlan;
        vlan.vlan = row.vlan;
        vlan.location = row.location;
        if (!append(want.vlans, row.name, std::move(vlan)))
            refuse("name", twice);
    });
    each_row(from.wanted_vlan_members, [&](const WantedVlanMember &row, const auto &refuse) {
        const auto vlan = want.vlans.find(row.vlan);
        if (vlan == want.vlans.end())
            return refuse("vlan", "there is no such VLAN");
        if (!append(vlan->second.members, row.member, row.location))
            refuse("member", twice);
    });
    each_row(from.wanted_vrfs, [&](const WantedVrf &row, const auto &refuse) {
        if (!append(want.vrfs, row.name, row.location))
            refuse("name", twice);
    });
    return want;
}

SwitchMemory memory_of(const Snapshot &from)
{
    SwitchMemory memory;
    Desired want = wanted_of(from);
    memory.have = desired_of(from.applied_ports, from.applied_interfaces, from.applied_members,
                             from.applied_virtual_macs, from.applied_router_mac);
    memory.have.vlans = want.vlans;
    memory.have.vrfs = want.vrfs;
    memory.have.hostname = want.hostname;
    memory.wanted = std::make_shared<const Desired>(std::move(want));
    for (const AppliedMember &row : from.applied_members) {
        if (row.declined)
            memory.declined.insert({row.port_channel, row.port});
    }
    each_row(from.settings, [&](const SettingsRow &row, const auto &refuse) {
        Settings settings{{}, row.ipv4, row.ipv6, row.vrf, row.nat_zone};
        if (row.mtu)
            settings.mtu = to_mtu(*row.mtu, refuse);
        if (!append(memory.settings, row.name, std::move(settings)))
            refuse("name", twice);
    });
    std::map<uint32_t, std::string> numbers;
    each_row(from.vrfs, [&](const VrfNumber &row, const auto &refuse) {
        if (row.vpn == 0 || !numbers.emplace(row.vpn, row.name).second)
            refuse("vpn", fmt::format("{} is another VRF's number", row.vpn));
        if (!memory.vpns.emplace(row.name, row.vpn).second)
            refuse("name", twice);
    });
    each_row(from.failures, [&](const FailureRow &row, const auto &refuse) {
        std::vector<Reason> &reasons = memory.failures[row.object];
        if (std::any_of(reasons.begin(), reasons.end(), [&](const Reason &other) {
                return other.kind == row.step && other.mac == row.mac;
            }))
            refuse("step", twice);
        reasons.push_back({row.step, row.mac, row.message, row.made, row.in_part});
    });
    each_row(from.owned_router_mac, [&](const OwnedRouterMac &row, const auto &refuse) {
        if (memory.router_mac_id != no_id || !memory.have.router_mac)
            refuse("peer_mac_id", "there is at most one, and none without an applied router MAC");
        memory.router_mac_id = row.peer_mac_id;
    });
    return memory;
}

/* ---- References between the tables ---- */

/* Requests have numbers up to that of the last one. */
void check_requests(const Snapshot &from)
{
    const auto check = [&](uint64_t number, std::string_view column, const char *part,
                           const auto &refuse) {
        if (number > from.meta.requests_made)
            refuse(std::string(column) + part,
                   fmt::format("{}, but {} requests were made", number, from.meta.requests_made));
    };
    Snapshot::tables([&](auto rows) {
        each_row(from.*rows, [&](const auto &row, const auto &refuse) {
            each_column(row, [&](std::string_view name, const auto &value) {
                if constexpr (std::is_same_v<decltype(value), const Origin &>)
                    check(value.number(), name, "_request", refuse);
            });
        });
    });
    each_row(from.errors, [&](const ErrorGroup &row, const auto &refuse) {
        check(row.last_request, "last_request", "", refuse);
    });
}

/* Records may name what is gone, but no identifier that was never handed out. */
class HandedOut {
public:
    explicit HandedOut(const Snapshot &from)
    {
        for (const TableUse &use : from.table_use)
            high_water_[use.name] = use.high_water;
    }
    template <class Refuse>
    void check(uint32_t id, std::string_view table, const char *column, const Refuse &refuse) const
    {
        const uint32_t last = high_water_.at(table);
        if (id != no_id && id > last)
            refuse(column, fmt::format("{} is not 0 to {}, the highest use of the table, or {}", id,
                                       last, no_id));
    }

private:
    std::map<std::string_view, uint32_t> high_water_;
};

/* The host's objects may be gone too: after a failed removal the library may destroy, by a number
 * that it still records, what has the number now. */
void check_identifiers(const Snapshot &from)
{
    const HandedOut handed_out(from);
    each_row(from.host, [&](const HostRow &row, const auto &refuse) {
        const auto check = [&](const std::optional<uint32_t> &id, std::string_view table,
                               const char *column) {
            if (id)
                handed_out.check(*id, table, column, refuse);
        };
        const auto parsed = parse_interface_name(row.name);
        if (!parsed || parsed->kind != row.kind)
            refuse("name",
                   fmt::format("no {} has the name {}", to_text(row.kind), in_quotes(row.name)));
        check(row.port_lid, "lid", "port_lid");
        check(row.held_pc, "pc", "held_pc");
        check(row.held_lid, "lid", "held_lid");
        check(row.kept_intf, "intf", "kept_intf");
    });
    each_row(from.contexts, [&](const ContextRow &row, const auto &refuse) {
        handed_out.check(row.intf_id, "intf", "intf_id", refuse);
        handed_out.check(row.old_intf_id, "intf", "old_intf_id", refuse);
        handed_out.check(row.lid_id, "lid", "lid_id", refuse);
        handed_out.check(row.pc_id, "pc", "pc_id", refuse);
    });
    each_row(from.owned_router_mac, [&](const OwnedRouterMac &row, const auto &refuse) {
        handed_out.check(row.peer_mac_id, "rmac", "peer_mac_id", refuse);
    });
}

void restore_contexts(const Snapshot &from)
{
    each_row(from.contexts, [&](const ContextRow &row, const auto &refuse) {
        HostInterface *const interface = Host::instance().find(row.ifindex);
        if (interface == nullptr)
            return refuse("ifindex", fmt::format("{} is no interface", row.ifindex));
        if (interface->context() != nullptr)
            refuse("ifindex", twice);
        l3_pd &context = interface->make_context();
        context.intf_id = static_cast<uint16_t>(row.intf_id);
        context.old_intf_id = static_cast<uint16_t>(row.old_intf_id);
        context.lid_id = row.lid_id;
        context.pc_id = row.pc_id;
    });
}

/* The library removes an entry only with its trap. */
void restore_virtual_macs(const Snapshot &from)
{
    std::map<uint32_t, Mac> traps;
    for (const TrapRow &row : from.traps)
        traps.emplace(row.mac_trap_id, row.mac);
    each_row(from.virtual_macs, [&](const FhrpRow &row, const auto &refuse) {
        const auto trap = traps.find(row.mac_trap_id);
        if (trap == traps.end() || trap->second != row.mac)
            refuse("mac_trap_id", fmt::format("there is no MAC trap {} of {}, or it is named twice",
                                              row.mac_trap_id, to_text(row.mac)));
        traps.erase(trap);
        if (!put_back_virtual_mac(row))
            refuse("ifindex", fmt::format("{} is no interface index, or has {} twice", row.ifindex,
                                          to_text(row.mac)));
    });
}

void put_back_aliases(const Snapshot &from)
{
    for (const AppliedPort &row : from.applied_ports) {
        if (HostInterface *const port = Host::instance().find(row.name))
            port->alias = row.alias;
    }
}

/* What has been applied exists in the host. */
void check_applied(const Snapshot &from)
{
    const Host &host = Host::instance();
    each_row(from.applied_ports, [&](const AppliedPort &row, const auto &refuse) {
        const HostInterface *const port = host.find(row.name);
        if (port == nullptr || port->kind != InterfaceKind::port)
            return refuse("name", "the host has no such port");
        if (row.front_port != 0 && row.front_port != port->number + 1)
            refuse("front_port", fmt::format("the host has {}", port->number + 1));
    });
    each_row(from.applied_interfaces, [&](const AppliedInterface &row, const auto &refuse) {
        const HostInterface *const interface = host.find(row.name);
        if (interface == nullptr || interface->kind != row.kind)
            return refuse("name", fmt::format("the host has no such {}", to_text(row.kind)));
        const uint32_t number =
            row.kind == InterfaceKind::port_channel ? interface->number : interface->vlan;
        if (row.number != number)
            refuse("number", fmt::format("the host has {}", number));
        if (interface->parent != nullptr && interface->parent->name != row.parent)
            refuse("parent", fmt::format("the host has {}", interface->parent->name));
    });
    each_row(from.settings, [&](const SettingsRow &row, const auto &refuse) {
        if (host.find(row.name) == nullptr)
            refuse("name", "the host has no such interface");
    });
}

/* ---- The whole ---- */

template <class Row> std::string_view differing_column(const Row &a, const Row &b)
{
    std::string_view names = Row::column_names, found;
    const auto x = a.columns(), y = b.columns();
    const auto compare = [&](const auto &in_a, const auto &in_b) {
        const std::string_view name = next_name(names);
        if (found.empty() && !(in_a == in_b))
            found = name;
    };
    std::apply(
        [&](const auto &...in_a) {
            std::apply([&](const auto &...in_b) { (compare(in_a, in_b), ...); }, y);
        },
        x);
    return found;
}

template <class Row>
void expect_same(const std::vector<Row> &read, const std::vector<Row> &restored)
{
    std::string_view names = Row::column_names;
    const std::string_view first = next_name(names);
    for (size_t i = 0; i < std::max(read.size(), restored.size()); ++i) {
        if (i >= restored.size())
            throw BadRow(Row::table, i + 1, first, "the other tables know nothing of it");
        if (i >= read.size())
            throw BadRow(Row::table, i + 1, first, "the row is missing");
        if (const std::string_view column = differing_column(read[i], restored[i]); !column.empty())
            throw BadRow(Row::table, i + 1, column, "the other tables say otherwise");
    }
}

/* Throws BadRow, perhaps half way. */
void put(const Snapshot &from, Switch &into)
{
    SwitchMemory memory = memory_of(from);
    Asic::instance().restore({from.intfs, from.attributes, from.lids, from.lid_paths,
                              from.port_channels, from.members, from.router_macs, from.traps,
                              from.pending, from.table_use});
    forget_virtual_macs();
    Host::instance().restore(
        {from.host, from.pm, from.pc, from.l3lif, from.label, from.member_intf});
    restore_contexts(from);
    restore_virtual_macs(from);
    Diagnostics::instance().restore_errors(from.errors);
    into.resume(std::move(memory));
    Journal::instance().resume(from.meta.requests_made);
}

} // namespace

void check_references(const Snapshot &snapshot, const std::string &name)
{
    try {
        check_requests(snapshot);
        memory_of(snapshot);
    } catch (const BadRow &bad) {
        throw SnapshotError(name + ": " + bad.what());
    }
}

void restore(const Snapshot &snapshot, Switch &into, const std::string &name)
{
    const Snapshot before = capture(into);
    try {
        if (const uint32_t bits = 8 * sizeof(void *); snapshot.meta.word_size != bits)
            throw BadRow(MetaRow::table, 1, "word_size",
                         fmt::format("a switch of {} bits; this kvnsim has {}",
                                     snapshot.meta.word_size, bits));
        check_requests(snapshot);
        put(snapshot, into);
        check_identifiers(snapshot);
        check_applied(snapshot);
        put_back_aliases(snapshot);
        const Snapshot restored =
            capture(into, snapshot.file_names(), snapshot.reader, snapshot.meta.interrupted);
        expect_same<MetaRow>({snapshot.meta}, {restored.meta});
        Snapshot::tables([&](auto rows) { expect_same(snapshot.*rows, restored.*rows); });
    } catch (const BadRow &bad) {
        put(before, into);
        throw SnapshotError(name + ": " + bad.what());
    }
}

} // namespace kvnsim
