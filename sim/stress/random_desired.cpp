#include "sim/stress/random_desired.h"

#include <algorithm>
#include <iterator>
#include <set>
#include <vector>

namespace kvnsim {
namespace {

template <class Map> auto random_entry(Map &map, uint32_t index)
{
    return std::next(map.begin(), static_cast<std::ptrdiff_t>(index));
}

SourceLocation location_of(const std::string &table, const std::string &key)
{
    SourceLocation location;
    location.file = "random";
    location.table = table;
    location.key = key;
    return location;
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
    const auto found = desired.port_channels.find(parent);
    if (found == desired.port_channels.end() || !found->second.l3)
        return false;
    const auto &members = found->second.members;
    return std::any_of(members.begin(), members.end(), [&](const auto &member) {
        return desired.routed_ports.count(member.first) == 0;
    });
}

/* The L3 settings of an interface, nullptr without any. */
template <class D>
auto l3_in(D &desired, const std::string &interface) -> decltype(&desired.svis.begin()->second.l3)
{
    if (const auto it = desired.routed_ports.find(interface); it != desired.routed_ports.end())
        return &it->second.l3;
    if (const auto it = desired.port_channels.find(interface);
        it != desired.port_channels.end() && it->second.l3)
        return &*it->second.l3;
    if (const auto it = desired.svis.find(interface); it != desired.svis.end())
        return &it->second.l3;
    if (const auto it = desired.sub_interfaces.find(interface); it != desired.sub_interfaces.end())
        return &it->second.l3;
    return nullptr;
}

template <class Map> void take_over_entry(Map &to, const Map &from, const std::string &name)
{
    const auto found = from.find(name);
    if (found == from.end())
        to.erase(name);
    else
        to.insert_or_assign(name, found->second);
}

DesiredPort new_port(const std::string &name)
{
    DesiredPort port;
    port.location = location_of("PORT", name);
    return port;
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
        desired_.ports.emplace(port_name(number), new_port(port_name(number)));
    for (const char *vrf : vrfs) {
        if (*vrf != '\0')
            desired_.vrfs.emplace(vrf, location_of("VRF", vrf));
    }
}

uint32_t RandomDesired::pick(uint32_t below)
{
    return static_cast<uint32_t>(random_() % below);
}

std::string RandomDesired::port_name(uint32_t number) const
{
    return "Ethernet" + std::to_string(number * 4);
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
    switch (pick(4)) {
    case 0:
        if (!desired_.routed_ports.empty())
            return random_entry(desired_.routed_ports,
                                pick(static_cast<uint32_t>(desired_.routed_ports.size())))
                ->first;
        break;
    case 1:
        if (!desired_.port_channels.empty())
            return random_entry(desired_.port_channels,
                                pick(static_cast<uint32_t>(desired_.port_channels.size())))
                ->first;
        break;
    case 2:
        if (!desired_.svis.empty())
            return random_entry(desired_.svis, pick(static_cast<uint32_t>(desired_.svis.size())))
                ->first;
        break;
    default:
        if (!desired_.sub_interfaces.empty())
            return random_entry(desired_.sub_interfaces,
                                pick(static_cast<uint32_t>(desired_.sub_interfaces.size())))
                ->first;
    }
    return {};
}

std::string RandomDesired::toggle_port(const std::string &port)
{
    const std::string &name = of(port);
    if (desired_.ports.erase(name) != 0)
        return name + ": absent";
    desired_.ports.emplace(name, new_port(name));
    return name + ": present";
}

std::string RandomDesired::toggle_routed_port()
{
    const std::string &name = of(port_name(pick(ports_)));
    if (desired_.routed_ports.erase(name) != 0)
        return name + ": not routed";
    if (desired_.ports.count(name) == 0)
        return toggle_port(name);
    DesiredRoutedPort port;
    port.l3 = random_l3();
    port.location = location_of("INTERFACE", name);
    desired_.routed_ports.emplace(name, port);
    return name + ": routed";
}

std::string RandomDesired::toggle_port_channel()
{
    const uint32_t number = 1 + pick(port_channels_);
    const std::string &name = of("PortChannel" + std::to_string(number));
    if (desired_.port_channels.count(name) != 0) {
        if (often())
            return toggle_member();
        desired_.port_channels.erase(name);
        return name + ": deleted";
    }
    DesiredPortChannel port_channel;
    port_channel.number = number;
    port_channel.mtu = random_mtu();
    port_channel.location = location_of("PORTCHANNEL", name);
    port_channel.l3_location = location_of("PORTCHANNEL_INTERFACE", name);
    if (often())
        port_channel.l3 = random_l3();
    desired_.port_channels.emplace(name, port_channel);
    return name + ": created";
}

std::string RandomDesired::toggle_member()
{
    if (desired_.port_channels.empty())
        return toggle_port_channel();
    const std::string port = port_name(pick(ports_));
    for (auto &[name, port_channel] : desired_.port_channels) {
        if (port_channel.members.erase(port) != 0)
            return port + ": leaves " + of(name);
    }
    if (desired_.ports.count(port) == 0)
        return toggle_port(port);
    auto &[name, port_channel] = *random_entry(
        desired_.port_channels, pick(static_cast<uint32_t>(desired_.port_channels.size())));
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
    auto &[name, port_channel] = *random_entry(
        desired_.port_channels, pick(static_cast<uint32_t>(desired_.port_channels.size())));
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
    const std::string &name = of("Vlan" + std::to_string(vlan));
    if (desired_.svis.erase(name) != 0)
        return name + ": deleted";
    DesiredSvi svi;
    svi.vlan = vlan;
    svi.mtu = random_mtu();
    svi.l3 = random_l3();
    svi.location = location_of("VLAN_INTERFACE", name);
    desired_.svis.emplace(name, svi);
    return name + ": created";
}

std::string RandomDesired::toggle_sub_interface()
{
    if (desired_.sub_interfaces.size() >= sub_interfaces_ ||
        (!desired_.sub_interfaces.empty() && !often())) {
        const auto gone = random_entry(desired_.sub_interfaces,
                                       pick(static_cast<uint32_t>(desired_.sub_interfaces.size())));
        const std::string &name = of(gone->first);
        desired_.sub_interfaces.erase(gone);
        return name + ": deleted";
    }
    const std::string parent = random_interface();
    if (!can_have_sub_interfaces(desired_, parent))
        return toggle_svi();
    const uint32_t vlan = 1 + pick(sub_interfaces_ < 4094 ? sub_interfaces_ : 4094);
    const std::string &name = of(parent + '.' + std::to_string(vlan));
    DesiredSubInterface sub;
    sub.parent = parent;
    sub.vlan = vlan;
    sub.mtu = random_mtu();
    sub.l3 = random_l3();
    sub.location = location_of("VLAN_SUB_INTERFACE", name);
    return name + (desired_.sub_interfaces.emplace(name, sub).second ? ": created" : ": unchanged");
}

std::string RandomDesired::toggle_virtual_mac()
{
    VirtualMac mac;
    mac.interface = random_interface();
    mac.mac = {0x00,
               0x00,
               0x5e,
               0x00,
               static_cast<uint8_t>(1 + pick(2)),
               static_cast<uint8_t>(1 + pick(4))};
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
    if (const auto it = desired_.svis.find(name); it != desired_.svis.end())
        it->second.mtu = random_mtu();
    if (const auto it = desired_.sub_interfaces.find(name); it != desired_.sub_interfaces.end())
        it->second.mtu = random_mtu();
    if (const auto it = desired_.port_channels.find(name); it != desired_.port_channels.end())
        it->second.mtu = random_mtu();
    return name + ": settings changed";
}

std::string RandomDesired::change_port_mtu()
{
    const std::string &name = of(port_name(pick(ports_)));
    const auto port = desired_.ports.find(name);
    if (port == desired_.ports.end())
        return toggle_port(name);
    const uint16_t mtu = random_mtu();
    port->second.mtu = mtu;
    return name + ": MTU " + std::to_string(mtu);
}

std::string RandomDesired::change_router_mac()
{
    of(the_switch);
    if (desired_.router_mac && !often()) {
        desired_.router_mac.reset();
        return "no router MAC";
    }
    desired_.router_mac = Mac{0x00, 0x00, 0x5e, 0x00, 0x53, static_cast<uint8_t>(1 + pick(8))};
    desired_.router_mac_location = location_of("DEVICE_METADATA", "localhost");
    return "router MAC " + to_text(*desired_.router_mac);
}

std::string RandomDesired::change(uint64_t seed)
{
    random_.seed(seed);
    std::string words;
    switch (pick(17)) {
    case 0:
    case 1:
        words = toggle_routed_port();
        break;
    case 2:
        words = toggle_port_channel();
        break;
    case 3:
    case 4:
        words = toggle_member();
        break;
    case 5:
        words = toggle_routing_of_port_channel();
        break;
    case 6:
    case 7:
        words = toggle_svi();
        break;
    case 8:
    case 9:
    case 10:
        words = toggle_sub_interface();
        break;
    case 11:
    case 12:
        words = toggle_virtual_mac();
        break;
    case 13:
        words = change_port_mtu();
        break;
    case 14:
        words = change_router_mac();
        break;
    case 15:
        words = toggle_port(port_name(pick(ports_)));
        break;
    default:
        words = change_settings();
    }
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
    for (auto it = to.virtual_macs.begin(); it != to.virtual_macs.end();)
        it = it->first.interface == name ? to.virtual_macs.erase(it) : std::next(it);
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
    for (auto it = desired.routed_ports.begin(); it != desired.routed_ports.end();)
        it = desired.ports.count(it->first) != 0 ? std::next(it) : desired.routed_ports.erase(it);
    std::set<std::string> members;
    for (auto &[name, port_channel] : desired.port_channels) {
        auto &its = port_channel.members;
        for (auto it = its.begin(); it != its.end();)
            it = desired.ports.count(it->first) != 0 && members.insert(it->first).second
                     ? std::next(it)
                     : its.erase(it);
    }
    for (auto it = desired.sub_interfaces.begin(); it != desired.sub_interfaces.end();)
        it = can_have_sub_interfaces(desired, it->second.parent) ? std::next(it)
                                                                 : desired.sub_interfaces.erase(it);
    for (auto it = desired.virtual_macs.begin(); it != desired.virtual_macs.end();)
        it = l3_in(desired, it->first.interface) != nullptr ? std::next(it)
                                                            : desired.virtual_macs.erase(it);
}

std::vector<std::string> objects(const Desired &desired, const Desired &bare)
{
    std::vector<std::string> names;
    if (desired.router_mac)
        names.emplace_back(the_switch);
    for (const auto &[name, bare_port] : bare.ports) {
        const auto port = desired.ports.find(name);
        if (port == desired.ports.end() || port->second.mtu != bare_port.mtu ||
            desired.routed_ports.count(name) != 0)
            names.push_back(name);
    }
    for (const auto &[name, port_channel] : desired.port_channels)
        names.push_back(name);
    for (const auto &[name, svi] : desired.svis)
        names.push_back(name);
    for (const auto &[name, sub] : desired.sub_interfaces)
        names.push_back(name);
    return names;
}

std::string describe(const Desired &desired, const std::string &name)
{
    std::vector<std::string> parts;
    if (name == the_switch && desired.router_mac)
        parts.push_back("router MAC " + to_text(*desired.router_mac));
    if (const auto port = desired.ports.find(name);
        port != desired.ports.end() && port->second.mtu != DesiredPort().mtu)
        parts.push_back("MTU " + std::to_string(port->second.mtu));
    if (l3_in(desired, name) != nullptr)
        parts.emplace_back("routed");
    if (const auto found = desired.port_channels.find(name); found != desired.port_channels.end()) {
        for (const auto &[member, location] : found->second.members)
            parts.push_back("with " + member);
    }
    for (const auto &[mac, location] : desired.virtual_macs) {
        if (mac.interface == name)
            parts.push_back("virtual MAC " + to_text(mac.mac));
    }
    std::string text = name + ":";
    for (const std::string &part : parts)
        text += (&part == &parts.front() ? " " : ", ") + part;
    if (!parts.empty())
        return text;
    const bool there = desired.ports.count(name) + desired.port_channels.count(name) +
                           desired.svis.count(name) + desired.sub_interfaces.count(name) !=
                       0;
    return name + (there ? ": present" : ": absent");
}

} // namespace kvnsim
