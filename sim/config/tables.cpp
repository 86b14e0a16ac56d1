#include "sim/config/tables.h"

#include <fmt/format.h>

#include <algorithm>
#include <cassert>
#include <cstring>
#include <functional>
#include <iterator>
#include <set>
#include <tuple>

#include "sim/types/text.h"

namespace kvnsim {

namespace {

constexpr const char *untagged = "untagged";

/* The object that a row refers to; nullptr, with a finding, if it is missing. */
template <class Object>
Object *referred(Draft &draft, const Row &row, ByName<Object> &objects, const char *table,
                 std::string_view name, FindingId missing = FindingId::no_row)
{
    if (const auto found = objects.find(name); found != objects.end())
        return &found->second;
    if (const SourceLocation *left_out = draft.left_out(table, name))
        draft.tell(FindingId::left_out_because, {row.location(), *left_out}, left_out->row());
    else
        draft.tell(missing, row.location(), name, table);
    return nullptr;
}

/* The object of that name, made if it is new: mostly they come in order. */
template <class Object> Object &at_end(ByName<Object> &objects, std::string_view name)
{
    return objects.emplace_hint(objects.end(), name, Object())->second;
}

void add_virtual_mac(Draft &draft, const Row &row, std::string_view interface, const Mac &mac)
{
    const auto [there, is_new] =
        draft.desired.virtual_macs.try_emplace({std::string(interface), mac}, row.location());
    if (!is_new)
        draft.tell(FindingId::virtual_mac_twice, {row.location(), there->second}, interface,
                   to_text(mac));
}

/* ---- The switch as a whole ---- */

void read_device_metadata(Draft &draft, const Row &row)
{
    constexpr const char *itself = "localhost";
    if (row.name() != itself) {
        if (spelling(row.name()) == itself)
            draft.tell(FindingId::unknown_row, row.location(), in_quotes(row.name()), itself);
        return;
    }
    draft.desired.hostname = row.text("hostname");
    if (!row.given("mac"))
        return;
    draft.desired.router_mac = row.mac("mac");
    draft.desired.router_mac_location = row.location();
}

void read_vnet(Draft &draft, const Row &row)
{
    draft.vnets.emplace(row.name(), row.location());
}

void read_vrf(Draft &draft, const Row &row)
{
    if (row.name() != "default")
        draft.desired.vrfs.emplace(row.name(), row.location());
}

void read_sag(Draft &draft, const Row &row)
{
    if (row.name() != "GLOBAL") {
        draft.tell(FindingId::unknown_row, row.location(), in_quotes(row.name()), "GLOBAL");
        return;
    }
    if (row.given("gateway_mac"))
        draft.gateway_mac = row.mac("gateway_mac");
}

/* ---- Ports, port-channels, VLANs ---- */

void read_port(Draft &draft, const Row &row)
{
    DesiredPort port;
    port.mtu = static_cast<uint16_t>(row.number("mtu"));
    port.admin_up = row.flag("admin_status");
    port.alias = row.text("alias");
    port.location = row.location();
    draft.desired.ports.emplace(row.name(), std::move(port));
    if (row.given("index"))
        draft.port_indexes.emplace(row.name(), row.number("index"));
    if (!row.given("lanes"))
        draft.ports_without_lanes.push_back(row.location());
    std::map<std::string_view, std::vector<std::string_view>>
        shared; /* port -> lanes that it has, too */
    for (const std::string_view lane : row.elements("lanes")) {
        const auto [there, is_new] = draft.lanes.try_emplace(lane, row.name());
        if (!is_new && there->second != row.name())
            shared[there->second].push_back(lane);
    }
    for (const auto &[other, lanes] : shared)
        draft.tell(FindingId::lane_twice,
                   {row.location_of("lanes"), draft.desired.ports.find(other)->second.location},
                   fmt::format("lane{} {}", lanes.size() == 1 ? "" : "s",
                               printable(fmt::format("{}", fmt::join(lanes, ", ")))),
                   other);
}

void read_port_channel(Draft &draft, const Row &row)
{
    const uint32_t number = row.interface->number;
    const auto [there, is_new] = draft.channel_numbers.try_emplace(number, row.location());
    if (!is_new) {
        draft.tell(FindingId::channel_number_used, {row.location(), there->second}, number,
                   there->second.key());
        draft.leave_out(row.table.name, row.name(), row.location());
        return;
    }
    DesiredPortChannel &channel = draft.desired.port_channels[std::string(row.name())];
    channel.number = number;
    channel.mtu = static_cast<uint16_t>(row.number("mtu"));
    channel.admin_up = row.flag("admin_status");
    channel.location = row.location();
}

void read_port_channel_member(Draft &draft, const Row &row)
{
    const std::string_view port = row.parts[1];
    DesiredPortChannel *channel =
        referred(draft, row, draft.desired.port_channels, "PORTCHANNEL", row.name());
    if (!channel ||
        !referred(draft, row, draft.desired.ports, "PORT", port, FindingId::left_out_no_row))
        return;
    const auto [there, is_new] = draft.joined.try_emplace(port, row.location());
    if (is_new)
        channel->members.emplace(port, row.location());
    else
        draft.tell(FindingId::member_of_another, {row.location(), there->second}, port);
}

void read_vlan(Draft &draft, const Row &row)
{
    const uint32_t number = row.interface->number;
    if (row.given("vlanid") && row.number("vlanid") != number)
        draft.tell(FindingId::value_unlike_key, row.location_of("vlanid"), "vlanid",
                   row.text("vlanid"), number);
    DesiredVlan &vlan = at_end(draft.desired.vlans, row.name());
    vlan.vlan = number;
    vlan.mtu = static_cast<uint16_t>(row.number("mtu"));
    vlan.location = row.location();
}

void read_vlan_member(Draft &draft, const Row &row)
{
    const std::string_view member = row.parts[1];
    DesiredVlan *vlan =
        referred(draft, row, draft.desired.vlans, "VLAN", row.name(), FindingId::left_out_no_row);
    if (!vlan)
        return;
    if (parse_interface_name(member)->kind == InterfaceKind::port) {
        if (!referred(draft, row, draft.desired.ports, "PORT", member, FindingId::left_out_no_row))
            return;
        if (const auto joined = draft.joined.find(member); joined != draft.joined.end())
            draft.tell(FindingId::member_of_both, {row.location(), joined->second}, member);
    } else if (!referred(draft, row, draft.desired.port_channels, "PORTCHANNEL", member,
                         FindingId::left_out_no_row)) {
        return;
    }
    vlan->members.emplace(member, row.location());
    draft.bridged.try_emplace(member, row.location());
    if (row.text("tagging_mode") != untagged)
        return;
    const auto [there, is_new] = draft.untagged.try_emplace(member, row.location());
    if (!is_new)
        draft.tell(FindingId::untagged_twice, {row.location(), there->second}, member);
}

/* ---- Routed interfaces ---- */

/* A routed interface does not take part in a VLAN. */
void warn_of_vlan(Draft &draft, const Row &row, std::string_view routed)
{
    if (const auto bridged = draft.bridged.find(routed); bridged != draft.bridged.end())
        draft.tell(FindingId::routed_member, {row.location(), bridged->second}, routed);
}

void add_address(Draft &draft, const Row &row, L3Settings &l3)
{
    const Address &address = *row.ip;
    if (const char *unusable = unusable_class(address))
        draft.tell(FindingId::unusable_address, row.location(), row.address(), unusable);
    const char *const family = address.ipv6 ? "IPv6" : "IPv4";
    if (row.given("family") && row.text("family") != family)
        draft.tell(FindingId::value_unlike_key, row.location_of("family"), "family",
                   row.text("family"), family);
    draft.add_address(row, l3.vrf);
    if (!address.has_prefix_length)
        draft.tell(FindingId::no_prefix_length, row.location(), row.address());
    (address.ipv6 ? l3.ipv6 : l3.ipv4) = true;
    l3.addresses.emplace_back(row.address());
}

void set_l3(Draft &draft, const Row &row, L3Settings &l3)
{
    l3.ipv6 = row.flag("ipv6_use_link_local_only");
    l3.nat_zone = row.number("nat_zone");
    const std::string_view vrf = row.text("vrf_name");
    if (vrf == "default")
        return;
    l3.vrf = vrf;
    if (draft.desired.vrfs.try_emplace(l3.vrf, row.location()).second)
        draft.tell(FindingId::vrf_without_row, row.location_of("vrf_name"), vrf);
}

void check_vnet(Draft &draft, const Row &row)
{
    const FieldValue &vnet = row.value("vnet_name");
    if (!vnet.given)
        return;
    draft.vnet_of[row.name()] = vnet.text;
    if (draft.vnets.count(vnet.text) == 0)
        draft.tell(FindingId::no_vnet, row.location_of("vnet_name"), vnet.text);
}

/* Common to the rows of all routed interfaces: create makes the interface if it does not exist yet,
 * or returns nullptr with a finding. */
template <class Create> void read_l3_row(Draft &draft, const Row &row, Create &&create)
{
    L3Settings *l3 = row.l3;
    if (!l3) {
        if (draft.left_out(row.table.name, row.name()))
            return;
        l3 = create();
        if (!l3) {
            draft.leave_out(row.table.name, row.name(), row.location());
            return;
        }
        draft.l3_settings.emplace(row.name(), l3);
        if (row.is_address_row)
            draft.tell(FindingId::no_row_of_its_own, row.location(), row.name(),
                       fmt::format("{}|{}", row.table.name, row.name()));
    }
    if (row.is_address_row) {
        add_address(draft, row, *l3);
    } else {
        set_l3(draft, row, *l3);
        check_vnet(draft, row);
    }
}

void read_interface(Draft &draft, const Row &row)
{
    Desired &desired = draft.desired;
    const auto create = [&]() -> L3Settings * {
        if (!referred(draft, row, desired.ports, "PORT", row.name()))
            return nullptr;
        warn_of_vlan(draft, row, row.name());
        DesiredRoutedPort &port = desired.routed_ports[std::string(row.name())];
        port.location = row.location();
        return &port.l3;
    };
    read_l3_row(draft, row, create);
}

void read_port_channel_interface(Draft &draft, const Row &row)
{
    auto &channels = draft.desired.port_channels;
    const auto create = [&]() -> L3Settings * {
        DesiredPortChannel *channel = referred(draft, row, channels, "PORTCHANNEL", row.name());
        if (!channel)
            return nullptr;
        warn_of_vlan(draft, row, row.name());
        channel->l3_location = row.location();
        return &channel->l3.emplace();
    };
    read_l3_row(draft, row, create);
}

void read_vlan_interface(Draft &draft, const Row &row)
{
    Desired &desired = draft.desired;
    const auto create = [&]() -> L3Settings * {
        const DesiredVlan *vlan = referred(draft, row, desired.vlans, "VLAN", row.name());
        if (!vlan)
            return nullptr;
        DesiredSvi &svi = at_end(desired.svis, row.name());
        svi.vlan = vlan->vlan;
        svi.mtu = vlan->mtu;
        svi.location = row.location();
        return &svi.l3;
    };
    read_l3_row(draft, row, create);

    if (row.is_address_row || !row.flag("static_anycast_gateway") ||
        desired.svis.count(row.name()) == 0)
        return;
    if (draft.gateway_mac)
        add_virtual_mac(draft, row, row.name(), *draft.gateway_mac);
    else
        draft.tell(FindingId::no_gateway_mac, row.location_of("static_anycast_gateway"));
}

/* Make the parent of a sub-interface routed, if necessary because of the sub-interface, and with a
 * LID to share. Returns its MTU; 0, with a finding, when it cannot be a parent. */
uint16_t prepare_parent(Draft &draft, const Row &row, const std::string &parent)
{
    Desired &desired = draft.desired;
    const bool is_port = parse_interface_name(parent)->kind == InterfaceKind::port;
    const char *const l3_table = is_port ? "INTERFACE" : "PORTCHANNEL_INTERFACE";

    DesiredPort *const port =
        is_port ? referred(draft, row, desired.ports, "PORT", parent) : nullptr;
    DesiredPortChannel *const channel =
        is_port ? nullptr : referred(draft, row, desired.port_channels, "PORTCHANNEL", parent);
    if (!port && !channel)
        return 0;
    const bool is_routed =
        is_port ? desired.routed_ports.count(parent) != 0 : channel->l3.has_value();
    if (const SourceLocation *left_out = is_routed ? nullptr : draft.left_out(l3_table, parent)) {
        draft.tell(FindingId::left_out_because, {row.location(), *left_out}, left_out->row());
        return 0;
    }
    if (channel) {
        if (!is_routed) {
            warn_of_vlan(draft, row, parent);
            channel->l3.emplace();
            channel->l3_implied = true;
            channel->l3_location = row.location();
        }
        return channel->mtu;
    }
    if (const auto joined = draft.joined.find(parent); joined != draft.joined.end()) {
        draft.tell(FindingId::parent_is_member, {row.location(), joined->second}, parent);
        return 0;
    }
    if (!is_routed) {
        warn_of_vlan(draft, row, parent);
        DesiredRoutedPort &routed = desired.routed_ports[parent];
        routed.implied = true;
        routed.location = row.location();
    }
    return port->mtu;
}

/* The parent of a sub-interface, prepared; nullptr, with a finding, when it cannot be one. */
Draft::Parent *parent_of(Draft &draft, const Row &row, const std::string &name)
{
    const auto known = draft.parents.find(name);
    if (known != draft.parents.end())
        return &known->second;
    const uint16_t mtu = prepare_parent(draft, row, name);
    if (mtu == 0)
        return nullptr;
    Draft::Parent parent{mtu, Draft::VlanRows(&draft.memory), draft.desired.sub_interfaces.end()};
    return &draft.parents.emplace(name, std::move(parent)).first->second;
}

void read_sub_interface(Draft &draft, const Row &row)
{
    const auto create = [&]() -> L3Settings * {
        const InterfaceName &name = *row.interface;
        uint32_t vlan = name.number;
        const FieldValue *const vlan_of_row = row.is_address_row ? nullptr : &row.value("vlan");
        if (vlan_of_row && vlan_of_row->given) {
            vlan = vlan_of_row->number;
        } else if (name.short_form) {
            draft.tell(FindingId::no_vlan_in_short_name, row.location(), to_text(vlan_range),
                       row.name());
            return nullptr;
        } else if (!vlan_range.has(vlan)) {
            draft.tell(FindingId::no_vlan_after_dot, row.location(), vlan, to_text(vlan_range));
            return nullptr;
        }
        Draft::Parent *const parent = parent_of(draft, row, name.parent);
        if (!parent)
            return nullptr;
        const auto [there, is_new] = parent->vlans.try_emplace(vlan);
        if (!is_new) {
            draft.tell(FindingId::encapsulation_used, {row.location(), *there->second}, vlan,
                       name.parent);
            return nullptr;
        }
        /* Mostly they come in order: behind the one before. */
        ByName<DesiredSubInterface> &subs = draft.desired.sub_interfaces;
        const auto hint = parent->newest == subs.end() ? subs.end() : std::next(parent->newest);
        parent->newest =
            subs.emplace_hint(hint, std::piecewise_construct, std::forward_as_tuple(row.name()),
                              std::forward_as_tuple());
        DesiredSubInterface &sub = parent->newest->second;
        there->second = &sub.location;
        sub.parent = name.parent;
        sub.vlan = vlan;
        sub.mtu = parent->mtu;
        sub.location = row.location();
        const FieldValue *const mtu_of_row = row.is_address_row ? nullptr : &row.value("mtu");
        if (mtu_of_row && mtu_of_row->given) {
            const auto mtu = static_cast<uint16_t>(mtu_of_row->number);
            sub.mtu = std::min(mtu, parent->mtu);
            if (mtu > parent->mtu)
                draft.tell(FindingId::mtu_capped, row.location_of("mtu"), mtu, parent->mtu,
                           name.parent);
        }
        return &sub.l3;
    };
    read_l3_row(draft, row, create);
}

/* ---- First-hop redundancy ---- */

/* Whether the ASIC has an interface or the parent of one; if not, says why. */
bool stands(Draft &draft, const Row &row, std::string_view name)
{
    const auto found = draft.desired.port_channels.find(name);
    if (found == draft.desired.port_channels.end())
        return true;
    const auto &absence = draft.absence(found->first, found->second);
    return !absence || draft.tell(FindingId::no_interface_for_virtual_mac,
                                  {row.location(), absence->second}, absence->first);
}

/* Whether the interface is one that a virtual MAC can be set on; if not, says why. */
bool takes_virtual_mac(Draft &draft, const Row &row, std::string_view name)
{
    Desired &desired = draft.desired;
    switch (parse_interface_name(name)->kind) {
    case InterfaceKind::svi:
        return referred(draft, row, desired.svis, "VLAN_INTERFACE", name);
    case InterfaceKind::sub_interface: {
        const DesiredSubInterface *sub =
            referred(draft, row, desired.sub_interfaces, "VLAN_SUB_INTERFACE", name);
        return sub != nullptr && stands(draft, row, sub->parent);
    }
    case InterfaceKind::port: {
        const auto joined = draft.joined.find(name);
        if (joined != draft.joined.end())
            return draft.tell(FindingId::member_with_virtual_mac, {row.location(), joined->second},
                              name);
        return referred(draft, row, desired.routed_ports, "INTERFACE", name);
    }
    case InterfaceKind::port_channel:
        break;
    }
    const auto found = desired.port_channels.find(name);
    if (found == desired.port_channels.end() || !found->second.l3) {
        ByName<DesiredPortChannel> none;
        return referred(draft, row, none, "PORTCHANNEL_INTERFACE", name);
    }
    return stands(draft, row, name);
}

void add_virtual_router(Draft &draft, const Row &row, std::string_view interface, bool ipv6,
                        uint32_t vrid)
{
    if (takes_virtual_mac(draft, row, interface))
        add_virtual_mac(draft, row, interface,
                        {0x00, 0x00, 0x5e, 0x00, static_cast<uint8_t>(ipv6 ? 2 : 1),
                         static_cast<uint8_t>(vrid)});
}

template <bool ipv6> void read_virtual_router(Draft &draft, const Row &row)
{
    const uint32_t vrid = *parse_number(row.parts[1], vrid_range);
    for (const char *field : {"vrid", "vid"}) {
        if (row.given(field) && row.number(field) != vrid)
            draft.tell(FindingId::value_unlike_key, row.location_of(field), field, row.text(field),
                       vrid);
    }
    add_virtual_router(draft, row, row.name(), ipv6, vrid);
}

/* Rows with addresses of the virtual router have no effect of their own. */
void read_virtual_router_interface(Draft &draft, const Row &row)
{
    if (row.is_address_row)
        return;
    if (!row.given("parent_interface")) {
        draft.tell(FindingId::no_parent_interface, row.location());
        return;
    }
    const VirtualRouterName name = *parse_virtual_router_name(row.name());
    add_virtual_router(draft, row, row.text("parent_interface"), name.ipv6, name.vrid);
}

/* ---- The tables ---- */

TableField number(const char *name, const Range &range, const char *fallback, const char *meaning,
                  Use use = Use::applied)
{
    return {name, FieldType::number, range.min, range.max, fallback, meaning, use};
}

TableField text(const char *name, uint32_t most, const char *fallback, const char *meaning, Use use)
{
    return {name, FieldType::text, 0, most, fallback, meaning, use};
}

TableField field(FieldType type, const char *name, const char *fallback, const char *meaning,
                 Use use = Use::applied, const char *choices = "")
{
    return {name, type, 0, 0, fallback, meaning, use, choices};
}

constexpr uint32_t most_text = 255;

TableField mode_field()
{
    return field(FieldType::choice, "mode", nullptr, "how VLANs use it", Use::checked,
                 "routed|access|trunk");
}

TableField admin_status_field(const char *fallback, const char *meaning)
{
    return field(FieldType::choice, "admin_status", fallback, meaning, Use::shown, "down|up");
}

std::vector<TableField> with_l3_fields(std::vector<TableField> more)
{
    std::vector<TableField> fields = {
        field(FieldType::vrf, "vrf_name", "default", "the VRF that the interface routes in"),
        number("nat_zone", nat_zone_range, "0", "the zone for address translation"),
        field(FieldType::boolean, "ipv6_use_link_local_only", "disable",
              "enable IPv6 without an IPv6 address"),
        text("vnet_name", most_text, nullptr, "the VNET that the interface routes in",
             Use::not_modelled),
        field(FieldType::mac, "mac_addr", nullptr, "the interface's own MAC", Use::not_modelled),
        field(FieldType::boolean, "mpls", nullptr, "whether it takes labelled packets",
              Use::not_modelled),
        field(FieldType::choice, "loopback_action", nullptr,
              "what becomes of packets that leave where they came from", Use::checked,
              "drop|forward"),
    };
    fields.insert(fields.end(), more.begin(), more.end());
    return fields;
}

std::vector<TableSchema> make_tables()
{
    const TableField mtu = number("mtu", mtu_range, "9100", "the largest packet, in bytes");
    const auto mtu_elsewhere = [](const char *source) {
        return field(FieldType::elsewhere, "mtu", nullptr, source);
    };
    const TableField members =
        field(FieldType::list, "members", nullptr, "members, as rows of the table of members");
    const std::vector<TableField> vrrp_fields = {
        number("vrid", vrid_range, nullptr, "the same as in the key", Use::checked),
        number("vid", vrid_range, nullptr, "another spelling of vrid", Use::checked),
    };
    return {
        {"DEVICE_METADATA",
         {KeyPart::any},
         {text("hostname", 63, "", "the switch's name", Use::shown),
          field(FieldType::mac, "mac", nullptr, "the router MAC; none if missing")},
         "the switch itself; only the row `localhost` is read",
         read_device_metadata},
        {"VRF",
         {KeyPart::vrf},
         {number("vni", vni_range, nullptr, "the VRF's network in a tunnel", Use::checked)},
         "a VRF; it gets a number",
         read_vrf},
        {"VNET",
         {KeyPart::any},
         {number("vni", vni_range, nullptr, "the VNET's network in a tunnel", Use::checked)},
         "a VNET that interfaces may name",
         read_vnet,
         false,
         Use::checked},
        {"PORT",
         {KeyPart::port},
         {mtu, admin_status_field("down", "administrative state of the port"),
          text("alias", most_text, "", "a second name", Use::shown),
          number("index", {0, UINT32_MAX}, nullptr,
                 "the number on the front panel, where it is 1..255 and no other port has it; else "
                 "the number in the name, from 1; else the lowest free one",
                 Use::checked),
          field(FieldType::list, "lanes", nullptr, "the port's lanes; each belongs to one port",
                Use::checked),
          mode_field()},
         fmt::format("a front-panel port; at most {}", most_ports),
         read_port},
        {"PORTCHANNEL",
         {KeyPart::port_channel},
         {mtu, admin_status_field("up", "administrative state of the port-channel"), members,
          mode_field()},
         "a port-channel; layer 2 unless it is routed by a row below",
         read_port_channel},
        {"PORTCHANNEL_MEMBER",
         {KeyPart::port_channel, KeyPart::port},
         {},
         "a port's membership of a port-channel",
         read_port_channel_member},
        {"VLAN",
         {KeyPart::vlan},
         {number("vlanid", vlan_range, nullptr, "the same as in the name", Use::checked), mtu,
          members},
         "a VLAN; the MTU is that of its interface",
         read_vlan},
        {"VLAN_MEMBER",
         {KeyPart::vlan, KeyPart::port_or_channel},
         {field(FieldType::choice, "tagging_mode", nullptr, "whether its packets have a tag",
                Use::checked, "tagged|untagged|priority_tagged")},
         "a membership of a VLAN",
         read_vlan_member,
         false,
         Use::shown},
        {"INTERFACE",
         {KeyPart::port},
         with_l3_fields({mtu_elsewhere("the port's row in PORT")}),
         "a routed port",
         read_interface,
         true},
        {"PORTCHANNEL_INTERFACE",
         {KeyPart::port_channel},
         with_l3_fields({mtu_elsewhere("the port-channel's row in PORTCHANNEL")}),
         "a routed port-channel",
         read_port_channel_interface,
         true},
        {"VLAN_SUB_INTERFACE",
         {KeyPart::sub_interface},
         with_l3_fields({number("vlan", vlan_range, nullptr,
                                "the encapsulation VLAN; if missing, the number after the dot of "
                                "a long name"),
                         number("mtu", mtu_range, nullptr,
                                "the largest packet, in bytes; the parent's if missing or larger"),
                         admin_status_field(nullptr, "administrative state of the sub-interface")}),
         "a sub-interface; its parent becomes routed if no row made it so",
         read_sub_interface,
         true},
        {"SAG",
         {KeyPart::any},
         {field(FieldType::group_mac, "gateway_mac", nullptr,
                "the MAC that VLAN interfaces with static_anycast_gateway answer to")},
         "the anycast gateway; its row is `GLOBAL`",
         read_sag},
        {"VLAN_INTERFACE",
         {KeyPart::vlan},
         with_l3_fields({field(FieldType::boolean, "static_anycast_gateway", "false",
                               "also answer to gateway_mac of SAG"),
                         mtu_elsewhere("the VLAN's row in VLAN")}),
         "a routed VLAN (SVI)",
         read_vlan_interface,
         true},
        {"VRRP",
         {KeyPart::interface, KeyPart::vrid},
         vrrp_fields,
         "a virtual router: the MAC 00:00:5e:00:01:VRID on its interface",
         read_virtual_router<false>},
        {"VRRP6",
         {KeyPart::interface, KeyPart::vrid},
         vrrp_fields,
         "a virtual router for IPv6: the MAC 00:00:5e:00:02:VRID on its interface",
         read_virtual_router<true>},
        {"VRRP_INTERFACE",
         {KeyPart::virtual_router},
         {field(FieldType::interface, "parent_interface", nullptr,
                "the interface that has the virtual MAC")},
         "a virtual router in another spelling, with the same MACs",
         read_virtual_router_interface,
         true},
        {"LOOPBACK_INTERFACE",
         {KeyPart::any},
         {},
         "a loopback interface",
         nullptr,
         true,
         Use::not_modelled},
        {"MGMT_INTERFACE",
         {KeyPart::any},
         {},
         "an interface of the management network",
         nullptr,
         true,
         Use::not_modelled},
        {"VOQ_INBAND_INTERFACE",
         {KeyPart::any},
         {},
         "an interface between the cards of a chassis",
         nullptr,
         true,
         Use::not_modelled},
    };
}

/* Whether the text has at most so many characters, and no control characters. */
bool is_short_line(std::string_view text, size_t most_characters)
{
    size_t characters = 0;
    for (const char each : text) {
        const auto byte = static_cast<unsigned char>(each);
        if (byte < 0x20 || byte == 0x7f)
            return false;
        characters += (byte & 0xc0) != 0x80;
    }
    return characters <= most_characters;
}

/* "tagged, untagged or priority_tagged" */
std::string in_words(const std::vector<std::string_view> &choices)
{
    return fmt::format("{} or {}", fmt::join(choices.begin(), choices.end() - 1, ", "),
                       choices.back());
}

/* What a part of a key looks like: in the form of a key, in messages, and, of an interface, the
 * kinds it may have. */
struct KeyPartForm {
    const char *words;
    std::string expected;
    std::vector<InterfaceKind> kinds = {};
};

const KeyPartForm &form_of(KeyPart part)
{
    using Kind = InterfaceKind;
    /* In the order of their numbers. */
    static const KeyPartForm forms[] = {
        {"name", "a name"},
        {"EthernetN",
         fmt::format("EthernetN or Ethernet-XXN, N {} without leading zeros",
                     to_text(port_name_range)),
         {Kind::port}},
        {"PortChannelN",
         fmt::format("PortChannelN, N of 1 to {} digits", most_channel_digits),
         {Kind::port_channel}},
        {"VlanN",
         fmt::format("VlanN, N {} without leading zeros", to_text(vlan_range)),
         {Kind::svi}},
        {"sub-interface",
         "EthernetN.VLAN, PortChannelN.VLAN, EthN.ID or PoN.ID",
         {Kind::sub_interface}},
        {"member", "EthernetN or PortChannelN", {Kind::port, Kind::port_channel}},
        {"interface",
         "an interface: EthernetN, PortChannelN, VlanN or a sub-interface",
         {Kind::port, Kind::port_channel, Kind::svi, Kind::sub_interface}},
        {"VRID", "a number " + to_text(vrid_range)},
        {"virtual router", fmt::format("VrrpN-v4 or VrrpN-v6, N {}", to_text(vrid_range))},
        {"VRF", fmt::format("default, or Vrf and 1 to {} letters, digits, '-', '_' or '.'",
                            most_vrf_characters)},
    };
    static_assert(std::size(forms) == static_cast<size_t>(KeyPart::vrf) + 1);
    return forms[static_cast<size_t>(part)];
}

/* Whether the port is one between the parts of a chassis, such as Ethernet-BP0. */
bool is_inner_port(const std::string &name)
{
    return name.find('-') != name.npos;
}

/* The address with zeros after so many bits. */
AddressBytes network(AddressBytes bytes, uint32_t bits)
{
    const size_t whole = bits / 8;
    if (whole < bytes.size()) {
        bytes[whole] &= static_cast<uint8_t>(0xff00U >> bits % 8);
        std::fill(bytes.begin() + whole + 1, bytes.end(), uint8_t{0});
    }
    return bytes;
}

} // namespace

const std::vector<TableField> &address_fields()
{
    static const std::vector<TableField> fields = {
        field(FieldType::choice, "scope", nullptr, "how far the address is known", Use::checked,
              "global|local"),
        field(FieldType::choice, "family", nullptr, "the same as that of the address", Use::checked,
              "IPv4|IPv6"),
    };
    return fields;
}

const std::vector<TableSchema> &tables()
{
    static const std::vector<TableSchema> all = make_tables();
    return all;
}

const TableSchema *find_table(std::string_view name)
{
    for (const TableSchema &table : tables())
        if (name == table.name)
            return &table;
    return nullptr;
}

bool is_known_table(std::string_view name)
{
    return find_table(name) != nullptr;
}

std::string expected(const TableField &field)
{
    switch (field.type) {
    case FieldType::number:
        return "a number " + to_text(Range{field.min, field.max});
    case FieldType::text:
        return fmt::format("at most {} characters, no control characters", field.max);
    case FieldType::boolean:
        return "enable or disable (or true, yes, on, false, no, off)";
    case FieldType::choice:
        return in_words(split(field.choices, '|'));
    case FieldType::group_mac:
        return "six bytes such as 00:11:22:aa:bb:cc, not all of them zero";
    case FieldType::mac:
        return "six bytes such as 00:11:22:aa:bb:cc, neither zero nor multicast";
    case FieldType::vrf:
        return expected(KeyPart::vrf);
    case FieldType::interface:
        return expected(KeyPart::interface);
    case FieldType::list:
        return "a list, or a text with commas";
    case FieldType::elsewhere:
        break;
    }
    return "not read";
}

std::string expected(KeyPart part)
{
    return form_of(part).expected;
}

bool has_form(KeyPart part, std::string_view text)
{
    return has_form(part, text, parse_interface_name(text));
}

bool has_form(KeyPart part, std::string_view text, const std::optional<InterfaceName> &interface)
{
    switch (part) {
    case KeyPart::any:
        return !text.empty();
    case KeyPart::vrid:
        return parse_number(text, vrid_range).has_value();
    case KeyPart::vrf:
        return is_vrf_name(text);
    case KeyPart::virtual_router:
        return parse_virtual_router_name(text).has_value();
    default:
        const std::vector<InterfaceKind> &kinds = form_of(part).kinds;
        return interface && std::find(kinds.begin(), kinds.end(), interface->kind) != kinds.end();
    }
}

std::string key_form(const TableSchema &table)
{
    std::string form;
    for (const KeyPart part : table.key)
        form += (form.empty() ? "" : "|") + std::string(form_of(part).words);
    return table.has_address_rows ? form + " or " + form + "|address" : form;
}

std::optional<FieldValue> parse_field(const TableField &field, std::string_view text)
{
    FieldValue value;
    value.given = true;
    value.text = text;
    bool is_valid = false;
    const auto take_number = [&](const auto &number) {
        is_valid = number.has_value();
        value.number = number.value_or(0);
    };
    switch (field.type) {
    case FieldType::number:
        take_number(parse_number(text, field.min, field.max));
        break;
    case FieldType::text:
        is_valid = is_short_line(text, field.max);
        break;
    case FieldType::boolean:
        take_number(parse_boolean(text));
        break;
    case FieldType::choice: {
        const std::string_view word = trimmed(text);
        uint32_t number = 0;
        each_part(field.choices, '|', [&](std::string_view choice) {
            if (!is_valid && choice.size() == word.size() && same_spelling(choice, word)) {
                is_valid = true;
                value.number = number;
                value.text = choice;
            }
            ++number;
        });
        break;
    }
    case FieldType::mac:
    case FieldType::group_mac:
        value.mac = parse_mac(text).value_or(Mac{});
        is_valid =
            !is_zero(value.mac) && (field.type == FieldType::group_mac || !is_multicast(value.mac));
        break;
    case FieldType::vrf:
        is_valid = is_vrf_name(text);
        break;
    case FieldType::interface:
        is_valid = has_form(KeyPart::interface, text);
        break;
    case FieldType::list:
        is_valid = true;
        break;
    case FieldType::elsewhere:
        break;
    }
    return is_valid ? std::optional(value) : std::nullopt;
}

std::vector<std::string_view> Row::elements(std::string_view field) const
{
    std::vector<std::string_view> elements;
    for (const std::string_view element : split(text(field), ','))
        if (!trimmed(element).empty())
            elements.push_back(trimmed(element));
    return elements;
}

const FieldValue &Row::value(std::string_view field) const
{
    const std::vector<TableField> &all = fields();
    for (size_t i = 0; i < values.size(); ++i)
        if (all[i].name == field)
            return values[i];
    assert(!"a field of the table");
    static const FieldValue none;
    return none;
}

void Draft::leave_out(std::string_view table, std::string_view name, const SourceLocation &row)
{
    left_out_.try_emplace(fmt::format("{}|{}", table, name), row);
}

void Draft::leave_out(std::string_view table, const SourceLocation &location)
{
    left_out_.try_emplace(std::string(table), location);
}

const SourceLocation *Draft::left_out(std::string_view table, std::string_view name) const
{
    if (left_out_.empty())
        return nullptr;
    auto found = left_out_.find(fmt::format("{}|{}", table, name));
    if (found == left_out_.end())
        found = left_out_.find(std::string(table));
    return found == left_out_.end() ? nullptr : &found->second;
}

void Draft::number_ports()
{
    std::map<uint32_t, uint32_t> having; /* index -> how many ports have it */
    for (const auto &[name, index] : port_indexes)
        ++having[index];
    std::set<uint32_t> taken;
    for (auto &[name, port] : desired.ports) {
        const auto index = port_indexes.find(name);
        if (index != port_indexes.end() && front_port_range.has(index->second) &&
            having[index->second] == 1)
            taken.insert(port.front_port = index->second);
    }
    for (const bool is_inner : {false, true}) {
        for (auto &[name, port] : desired.ports) {
            const uint32_t number = parse_interface_name(name)->number + 1;
            if (port.front_port == 0 && is_inner_port(name) == is_inner &&
                front_port_range.has(number) && taken.insert(number).second)
                port.front_port = number;
        }
    }
    uint32_t lowest = front_port_range.min;
    for (auto port = desired.ports.begin(); port != desired.ports.end();) {
        while (taken.count(lowest) != 0)
            ++lowest;
        DesiredPort &placed = port->second;
        if (placed.front_port == 0 && !front_port_range.has(lowest)) {
            tell(FindingId::too_many_ports, placed.location, port->first, most_ports);
            leave_out("PORT", port->first, placed.location);
            port = desired.ports.erase(port);
            continue;
        }
        if (placed.front_port == 0)
            taken.insert(placed.front_port = lowest);
        ++port;
    }
    if (!lanes.empty())
        for (const SourceLocation &port : ports_without_lanes)
            tell(FindingId::no_lanes, port);
}

void Draft::add_address(const Row &row, const std::string &vrf)
{
    const Address &address = *row.ip;
    if (is_link_local(address) || unusable_class(address) != nullptr)
        return;
    const auto vnet = vnet_of.find(row.name());
    std::vector<PlacedAddress> &placed = vnet == vnet_of.end()
                                             ? addresses_[vrf]
                                             : addresses_[fmt::format("{}|{}", vrf, vnet->second)];
    placed.push_back(
        {{address.ipv6, network(address.bytes, address.prefix_length), address.prefix_length},
         address.bytes,
         row.name(),
         row.address(),
         row.source()});
}

bool Draft::Network::holds(const Network &inner) const
{
    return ipv6 == inner.ipv6 && start == network(inner.start, prefix_length);
}

bool Draft::Network::operator<(const Network &other) const
{
    if (ipv6 != other.ipv6)
        return !ipv6;
    const int order = std::memcmp(start.data(), other.start.data(), start.size());
    return order != 0 ? order < 0 : prefix_length < other.prefix_length;
}

bool Draft::Network::operator==(const Network &other) const
{
    return start == other.start && prefix_length == other.prefix_length && ipv6 == other.ipv6;
}

void Draft::sort_addresses()
{
    const auto sort = [](L3Settings &l3) {
        std::sort(l3.addresses.begin(), l3.addresses.end(), NaturalOrder());
    };
    for (auto &[name, port] : desired.routed_ports)
        sort(port.l3);
    for (auto &[name, channel] : desired.port_channels)
        if (channel.l3)
            sort(*channel.l3);
    for (auto &[name, sub] : desired.sub_interfaces)
        sort(sub.l3);
    for (auto &[name, svi] : desired.svis)
        sort(svi.l3);
}

void Draft::check_addresses()
{
    for (const auto &[domain, placed] : addresses_)
        check_addresses(placed);
}

void Draft::check_addresses(const std::vector<PlacedAddress> &all)
{
    std::vector<const PlacedAddress *> in_order;
    in_order.reserve(all.size());
    for (const PlacedAddress &placed : all)
        in_order.push_back(&placed);
    std::stable_sort(
        in_order.begin(), in_order.end(),
        [](const PlacedAddress *a, const PlacedAddress *b) { return a->network < b->network; });
    std::map<std::pair<bool, AddressBytes>, const PlacedAddress *> seen;
    /* Each within the one before; of each network at most two, of two interfaces. */
    std::vector<const PlacedAddress *> around;
    for (auto each = in_order.begin(); each != in_order.end(); ++each) {
        const PlacedAddress &placed = **each;
        while (!around.empty() && !around.back()->network.holds(placed.network))
            around.pop_back();
        const auto next = std::next(each);
        const bool is_alone =
            around.empty() && (next == in_order.end() || !placed.network.holds((*next)->network));
        if (is_alone)
            continue;
        /* Mostly behind all others. */
        const PlacedAddress &first =
            *seen.try_emplace(seen.end(), {placed.network.ipv6, placed.bytes}, &placed)->second;
        const auto other =
            std::find_if(around.rbegin(), around.rend(), [&](const PlacedAddress *outer) {
                return outer->interface != placed.interface;
            });
        if (&first != &placed)
            tell(FindingId::address_twice, {placed.source.location(), first.source.location()},
                 placed.text);
        else if (other != around.rend())
            tell(FindingId::subnets_overlap,
                 {placed.source.location(), (*other)->source.location()}, placed.text,
                 (*other)->text, (*other)->interface);
        const auto same =
            std::find_if_not(around.rbegin(), around.rend(), [&](const PlacedAddress *outer) {
                return outer->network == placed.network;
            });
        const auto there_already = same - around.rbegin();
        if (there_already == 0 ||
            (there_already == 1 && around.back()->interface != placed.interface))
            around.push_back(&placed);
    }
}

const std::optional<Draft::Absence> &Draft::absence(const std::string &name,
                                                    const DesiredPortChannel &channel)
{
    const auto [there, is_new] = absences_.try_emplace(name);
    std::optional<Absence> &why = there->second;
    if (!is_new || desired.has_member_that_joins(channel))
        return why;
    if (channel.members.empty())
        why.emplace(name + " has no member", channel.location);
    else
        why.emplace(name + " has no member that is not routed",
                    desired.routed_ports.at(channel.members.begin()->first).location);
    return why;
}

void Draft::check_members()
{
    for (const auto &[name, channel] : desired.port_channels) {
        for (const auto &[port, location] : channel.members) {
            const auto routed = desired.routed_ports.find(port);
            if (routed != desired.routed_ports.end())
                tell(channel.l3 ? FindingId::declined_member : FindingId::routed_channel_member,
                     {location, routed->second.location}, port, name);
        }
    }
}

void Draft::check_waiting()
{
    const auto is_there = [&](const auto &named) { return !absence(named.first, named.second); };
    if (std::all_of(desired.port_channels.begin(), desired.port_channels.end(), is_there))
        return;
    for (auto &[name, sub] : desired.sub_interfaces) {
        const auto channel = desired.port_channels.find(sub.parent);
        if (channel == desired.port_channels.end())
            continue;
        if (const auto &why = absence(sub.parent, channel->second)) {
            sub.waits = true;
            tell(FindingId::waits, {sub.location, why->second}, why->first);
        }
    }
    for (const auto &[name, channel] : desired.port_channels) {
        if (!channel.l3 || channel.l3_implied)
            continue;
        if (const auto &why = absence(name, channel))
            tell(FindingId::waits, {channel.l3_location, why->second}, why->first);
    }
}

} // namespace kvnsim
