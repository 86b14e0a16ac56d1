#include "sim/stress/random_desired.h"

#include <algorithm>
#include <iterator>
#include <set>

#include <fmt/format.h>

namespace kvnsim {
namespace {

/* The value, nullptr without one. */
template <class Map> auto *find_in(Map &map, const std::string &name)
{
    const auto found = map.find(name);
    return found != map.end() ? &found->second : nullptr;
}

template <class Map, class Condition> void erase_if(Map &map, Condition condition)
{
    for (auto it = map.begin(); it != map.end();)
        it = condition(*it) ? map.erase(it) : std::next(it);
}

SourceLocation location_of(const std::string &table, const std::string &key)
{
    return {"random", 0, 0, table, key};
}

std::string port_name(uint32_t number)
{
    return fmt::format("Ethernet{}", number * 4);
}

bool is_member(const Desired &desired, const std::string &port)
{
    return std::any_of(
        desired.port_channels.begin(), desired.port_channels.end(),
        [&](const auto &port_channel) { return port_channel.second.members.count(port) != 0; });
}

/* A sub-interface shares its parent's LID: a routed port that is not a member, or a routed
 * port-channel with a member that joins. */
bool can_have_sub_interfaces(const Desired &desired, const std::string &parent)
{
    if (desired.routed_ports.count(parent) != 0)
        return !is_member(desired, parent);
    const auto *channel = find_in(desired.port_channels, parent);
    return channel != nullptr && channel->l3 && desired.has_member_that_joins(*channel);
}

/* The L3 settings of an interface, nullptr without any. */
template <class D>
auto l3_in(D &desired, const std::string &interface) -> decltype(&desired.svis.begin()->second.l3)
{
    if (auto *port = find_in(desired.routed_ports, interface))
        return &port->l3;
    if (auto *svi = find_in(desired.svis, interface))
        return &svi->l3;
    if (auto *sub = find_in(desired.sub_interfaces, interface))
        return &sub->l3;
    auto *channel = find_in(desired.port_channels, interface);
    return channel != nullptr && channel->l3 ? &*channel->l3 : nullptr;
}

template <class Map> void take_over_entry(Map &to, const Map &from, const std::string &name)
{
    to.erase(name);
    if (const auto *found = find_in(from, name))
        to.emplace(name, *found);
}

constexpr uint16_t mtus[] = {1500, 4000, 9000, 9100, 9216};
constexpr const char *the_switch = "switch";
const char *const vrfs[] = {"", "VrfBlue", "VrfGreen", "VrfRed"};

} // namespace

RandomDesired::RandomDesired(uint32_t interfaces)
    : ports_(std::clamp(interfaces / 3, 4U, 250U)),
      port_channels_(std::clamp(interfaces / 8, 2U, 60U)),
      svis_(std::clamp(interfaces / 4, 2U, 4000U)), sub_interfaces_(std::max(interfaces / 3, 2U))
{
    for (uint32_t number = 0; number < ports_; ++number)
        add_port(port_name(number));
    for (const char *vrf : vrfs) {
        if (*vrf != '\0')
            desired_.vrfs.emplace(vrf, location_of("VRF", vrf));
    }
}

void RandomDesired::add_port(const std::string &name)
{
    desired_.ports[name].location = location_of("PORT", name);
}

std::string RandomDesired::random_port()
{
    return port_name(pick(ports_));
}

uint16_t RandomDesired::random_mtu()
{
    return mtus[pick(std::size(mtus))];
}

L3Settings RandomDesired::random_l3()
{
    L3Settings l3;
    l3.ipv4 = often();
    l3.ipv6 = !often();
    l3.vrf = vrfs[pick(std::size(vrfs))];
    l3.nat_zone = often() ? 0 : pick(4);
    return l3;
}

std::string RandomDesired::random_interface()
{
    const auto one_of = [this](auto &map) { return map.empty() ? "" : any(map).first; };
    switch (pick(4)) {
    case 0:
        return one_of(desired_.routed_ports);
    case 1:
        return one_of(desired_.port_channels);
    case 2:
        return one_of(desired_.svis);
    default:
        return one_of(desired_.sub_interfaces);
    }
}

std::string RandomDesired::toggle_port(const std::string &port)
{
    const std::string &name = of(port);
    if (desired_.ports.erase(name) != 0)
        return name + ": absent";
    add_port(name);
    return name + ": present";
}

std::string RandomDesired::toggle_routed_port()
{
    const std::string &name = of(random_port());
    if (desired_.routed_ports.erase(name) != 0)
        return name + ": not routed";
    if (desired_.ports.count(name) == 0)
        return toggle_port(name);
    desired_.routed_ports[name] = {random_l3(), false, location_of("INTERFACE", name)};
    return name + ": routed";
}

std::string RandomDesired::toggle_port_channel()
{
    const uint32_t number = 1 + pick(port_channels_);
    const std::string &name = of(fmt::format("PortChannel{}", number));
    if (desired_.port_channels.count(name) != 0) {
        if (often())
            return toggle_member();
        desired_.port_channels.erase(name);
        return name + ": deleted";
    }
    DesiredPortChannel &port_channel = desired_.port_channels[name];
    port_channel.number = number;
    port_channel.mtu = random_mtu();
    port_channel.location = location_of("PORTCHANNEL", name);
    port_channel.l3_location = location_of("PORTCHANNEL_INTERFACE", name);
    if (often())
        port_channel.l3 = random_l3();
    return name + ": created";
}

std::string RandomDesired::toggle_member()
{
    if (desired_.port_channels.empty())
        return toggle_port_channel();
    const std::string port = random_port();
    for (auto &[name, port_channel] : desired_.port_channels) {
        if (port_channel.members.erase(port) != 0)
            return port + ": leaves " + of(name);
    }
    if (desired_.ports.count(port) == 0)
        return toggle_port(port);
    auto &[name, port_channel] = any(desired_.port_channels);
    /* Mostly ports that the library does not decline. */
    if (desired_.routed_ports.count(port) != 0 && pick(8) != 0)
        return change_settings();
    port_channel.members.emplace(port, location_of("PORTCHANNEL_MEMBER", name + '|' + port));
    return port + ": joins " + of(name);
}

std::string RandomDesired::toggle_routing_of_port_channel()
{
    if (desired_.port_channels.empty())
        return toggle_port_channel();
    auto &[name, port_channel] = any(desired_.port_channels);
    of(name);
    if (port_channel.l3) {
        port_channel.l3.reset();
        return name + ": not routed";
    }
    port_channel.l3 = random_l3();
    return name + ": routed";
}

std::string RandomDesired::toggle_svi()
{
    const uint32_t vlan = 2 + pick(svis_);
    const std::string &name = of(fmt::format("Vlan{}", vlan));
    if (desired_.svis.erase(name) != 0)
        return name + ": deleted";
    desired_.svis[name] = {vlan, random_mtu(), random_l3(), location_of("VLAN_INTERFACE", name)};
    return name + ": created";
}

std::string RandomDesired::toggle_sub_interface()
{
    if (desired_.sub_interfaces.size() >= sub_interfaces_ ||
        (!desired_.sub_interfaces.empty() && !often())) {
        const std::string &name = of(any(desired_.sub_interfaces).first);
        desired_.sub_interfaces.erase(name);
        return name + ": deleted";
    }
    const std::string parent = random_interface();
    if (!can_have_sub_interfaces(desired_, parent))
        return toggle_svi();
    const uint32_t vlan = 1 + pick(std::min(sub_interfaces_, 4094U));
    const std::string &name = of(fmt::format("{}.{}", parent, vlan));
    const DesiredSubInterface sub{
        parent, vlan, random_mtu(), random_l3(), location_of("VLAN_SUB_INTERFACE", name), false};
    return name + (desired_.sub_interfaces.emplace(name, sub).second ? ": created" : ": unchanged");
}

std::string RandomDesired::toggle_virtual_mac()
{
    const VirtualMac mac{random_interface(),
                         {0x00, 0x00, 0x5e, 0x00, random_byte(2), random_byte(4)}};
    if (l3_in(desired_, mac.interface) == nullptr)
        return toggle_routed_port();
    of(mac.interface);
    if (desired_.virtual_macs.erase(mac) != 0)
        return mac.interface + ": without virtual MAC " + to_text(mac.mac);
    desired_.virtual_macs.emplace(mac, location_of("VRRP", mac.interface));
    return mac.interface + ": virtual MAC " + to_text(mac.mac);
}

std::string RandomDesired::change_settings()
{
    const std::string &name = of(random_interface());
    L3Settings *const l3 = l3_in(desired_, name);
    if (l3 == nullptr)
        return toggle_svi();
    *l3 = random_l3();
    const auto change_mtu = [&](auto &map) {
        if (auto *interface = find_in(map, name))
            interface->mtu = random_mtu();
    };
    change_mtu(desired_.svis);
    change_mtu(desired_.sub_interfaces);
    change_mtu(desired_.port_channels);
    return name + ": settings changed";
}

std::string RandomDesired::change_port_mtu()
{
    const std::string &name = of(random_port());
    DesiredPort *const port = find_in(desired_.ports, name);
    if (port == nullptr)
        return toggle_port(name);
    port->mtu = random_mtu();
    return fmt::format("{}: MTU {}", name, port->mtu);
}

std::string RandomDesired::change_router_mac()
{
    of(the_switch);
    if (desired_.router_mac && !often()) {
        desired_.router_mac.reset();
        return "no router MAC";
    }
    desired_.router_mac = Mac{0x00, 0x00, 0x5e, 0x00, 0x53, random_byte(8)};
    desired_.router_mac_location = location_of("DEVICE_METADATA", "localhost");
    return "router MAC " + to_text(*desired_.router_mac);
}

std::string RandomDesired::change(uint64_t seed)
{
    using Change = std::string (RandomDesired::*)();
    static constexpr Change changes[] = {
        &RandomDesired::toggle_routed_port,   &RandomDesired::toggle_routed_port,
        &RandomDesired::toggle_port_channel,  &RandomDesired::toggle_member,
        &RandomDesired::toggle_member,        &RandomDesired::toggle_routing_of_port_channel,
        &RandomDesired::toggle_svi,           &RandomDesired::toggle_svi,
        &RandomDesired::toggle_sub_interface, &RandomDesired::toggle_sub_interface,
        &RandomDesired::toggle_sub_interface, &RandomDesired::toggle_virtual_mac,
        &RandomDesired::toggle_virtual_mac,   &RandomDesired::change_port_mtu,
        &RandomDesired::change_router_mac,    &RandomDesired::toggle_any_port,
        &RandomDesired::change_settings};
    random_.seed(seed);
    std::string words = (this->*changes[pick(std::size(changes))])();
    tidy(desired_);
    return words;
}

void take_over(Desired &to, const Desired &from, const std::string &name)
{
    take_over_entry(to.ports, from.ports, name);
    take_over_entry(to.routed_ports, from.routed_ports, name);
    take_over_entry(to.port_channels, from.port_channels, name);
    take_over_entry(to.svis, from.svis, name);
    take_over_entry(to.sub_interfaces, from.sub_interfaces, name);
    erase_if(to.virtual_macs, [&](const auto &mac) { return mac.first.interface == name; });
    for (const auto &[mac, location] : from.virtual_macs) {
        if (mac.interface == name)
            to.virtual_macs.emplace(mac, location);
    }
    if (name == the_switch) {
        to.router_mac = from.router_mac;
        to.router_mac_location = from.router_mac_location;
    }
}

void tidy(Desired &desired)
{
    const auto is_no_port = [&](const auto &entry) {
        return desired.ports.count(entry.first) == 0;
    };
    erase_if(desired.routed_ports, is_no_port);
    std::set<std::string> members;
    for (auto &[name, port_channel] : desired.port_channels)
        erase_if(port_channel.members, [&](const auto &member) {
            return is_no_port(member) || !members.insert(member.first).second;
        });
    erase_if(desired.sub_interfaces,
             [&](const auto &sub) { return !can_have_sub_interfaces(desired, sub.second.parent); });
    erase_if(desired.virtual_macs,
             [&](const auto &mac) { return l3_in(desired, mac.first.interface) == nullptr; });
}

std::vector<std::string> objects(const Desired &desired, const Desired &bare)
{
    std::vector<std::string> names;
    if (desired.router_mac)
        names.emplace_back(the_switch);
    for (const auto &[name, bare_port] : bare.ports) {
        const DesiredPort *port = find_in(desired.ports, name);
        if (port == nullptr || port->mtu != bare_port.mtu || desired.routed_ports.count(name) != 0)
            names.push_back(name);
    }
    const auto add_all = [&](const auto &map) {
        for (const auto &entry : map)
            names.push_back(entry.first);
    };
    add_all(desired.port_channels);
    add_all(desired.svis);
    add_all(desired.sub_interfaces);
    return names;
}

std::string describe(const Desired &desired, const std::string &name)
{
    std::vector<std::string> parts;
    if (name == the_switch && desired.router_mac)
        parts.push_back("router MAC " + to_text(*desired.router_mac));
    const DesiredPort *port = find_in(desired.ports, name);
    if (port != nullptr && port->mtu != DesiredPort().mtu)
        parts.push_back(fmt::format("MTU {}", port->mtu));
    if (l3_in(desired, name) != nullptr)
        parts.emplace_back("routed");
    const DesiredPortChannel *port_channel = find_in(desired.port_channels, name);
    if (port_channel != nullptr) {
        for (const auto &[member, location] : port_channel->members)
            parts.push_back("with " + member);
    }
    for (const auto &[mac, location] : desired.virtual_macs) {
        if (mac.interface == name)
            parts.push_back("virtual MAC " + to_text(mac.mac));
    }
    if (!parts.empty())
        return fmt::format("{}: {}", name, fmt::join(parts, ", "));
    const bool is_there = port != nullptr || port_channel != nullptr ||
                          desired.svis.count(name) + desired.sub_interfaces.count(name) != 0;
    return name + (is_there ? ": present" : ": absent");
}

} // namespace kvnsim
