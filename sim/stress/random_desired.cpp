#include "sim/stress/random_desired.h"

#include <algorithm>
#include <iterator>
#include <vector>

namespace kvnsim {
namespace {

template <class Map> auto random_entry(Map &map, uint32_t index)
{
    return std::next(map.begin(), static_cast<std::ptrdiff_t>(index));
}

Place place_of(const std::string &table, const std::string &key)
{
    Place place;
    place.file = "random";
    place.table = table;
    place.key = key;
    return place;
}

constexpr uint16_t mtus[] = {1500, 4000, 9000, 9100, 9216};
const char *const vrfs[] = {"", "VrfBlue", "VrfGreen", "VrfRed"};

} // namespace

RandomDesired::RandomDesired(uint32_t interfaces)
    : ports_(std::clamp(interfaces / 3, 4U, 250U)),
      port_channels_(std::clamp(interfaces / 8, 2U, 60U)),
      svis_(std::clamp(interfaces / 4, 2U, 4000U)), sub_interfaces_(std::max(interfaces / 3, 2U))
{
    for (uint32_t number = 0; number < ports_; ++number) {
        DesiredPort port;
        port.place = place_of("PORT", port_name(number));
        desired_.ports.emplace(port_name(number), port);
    }
    for (const char *vrf : vrfs) {
        if (*vrf != '\0')
            desired_.vrfs.emplace(vrf, place_of("VRF", vrf));
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

bool RandomDesired::is_member(const std::string &port) const
{
    return std::any_of(
        desired_.port_channels.begin(), desired_.port_channels.end(),
        [&](const auto &port_channel) { return port_channel.second.members.count(port) != 0; });
}

/* A sub-interface needs a LID to stand on: a routed port that is no member, or a routed
 * port-channel with a member that joins. */
bool RandomDesired::can_have_sub_interfaces(const std::string &parent) const
{
    if (desired_.routed_ports.count(parent) != 0)
        return !is_member(parent);
    const auto found = desired_.port_channels.find(parent);
    if (found == desired_.port_channels.end() || !found->second.l3)
        return false;
    const auto &members = found->second.members;
    return std::any_of(members.begin(), members.end(), [&](const auto &member) {
        return desired_.routed_ports.count(member.first) == 0;
    });
}

L3Settings *RandomDesired::l3_of(const std::string &interface)
{
    if (const auto it = desired_.routed_ports.find(interface); it != desired_.routed_ports.end())
        return &it->second.l3;
    if (const auto it = desired_.port_channels.find(interface);
        it != desired_.port_channels.end() && it->second.l3)
        return &*it->second.l3;
    if (const auto it = desired_.svis.find(interface); it != desired_.svis.end())
        return &it->second.l3;
    if (const auto it = desired_.sub_interfaces.find(interface);
        it != desired_.sub_interfaces.end())
        return &it->second.l3;
    return nullptr;
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

std::string RandomDesired::toggle_routed_port()
{
    const std::string name = port_name(pick(ports_));
    if (desired_.routed_ports.erase(name) != 0)
        return name + ": not routed";
    DesiredRoutedPort port;
    port.l3 = random_l3();
    port.place = place_of("INTERFACE", name);
    desired_.routed_ports.emplace(name, port);
    return name + ": routed";
}

std::string RandomDesired::toggle_port_channel()
{
    const uint32_t number = 1 + pick(port_channels_);
    const std::string name = "PortChannel" + std::to_string(number);
    if (desired_.port_channels.count(name) != 0) {
        if (often())
            return toggle_member();
        desired_.port_channels.erase(name);
        return name + ": deleted";
    }
    DesiredPortChannel port_channel;
    port_channel.number = number;
    port_channel.mtu = random_mtu();
    port_channel.place = place_of("PORTCHANNEL", name);
    port_channel.l3_place = place_of("PORTCHANNEL_INTERFACE", name);
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
            return port + ": leaves " + name;
    }
    auto &[name, port_channel] = *random_entry(
        desired_.port_channels, pick(static_cast<uint32_t>(desired_.port_channels.size())));
    /* Mostly ports that the library will take. */
    if (desired_.routed_ports.count(port) != 0 && pick(8) != 0)
        return change_settings();
    port_channel.members.emplace(port, place_of("PORTCHANNEL_MEMBER", name + '|' + port));
    return port + ": joins " + name;
}

std::string RandomDesired::toggle_routing_of_port_channel()
{
    if (desired_.port_channels.empty())
        return toggle_port_channel();
    auto &[name, port_channel] = *random_entry(
        desired_.port_channels, pick(static_cast<uint32_t>(desired_.port_channels.size())));
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
    const std::string name = "Vlan" + std::to_string(vlan);
    if (desired_.svis.erase(name) != 0)
        return name + ": deleted";
    DesiredSvi svi;
    svi.vlan = vlan;
    svi.mtu = random_mtu();
    svi.l3 = random_l3();
    svi.place = place_of("VLAN_INTERFACE", name);
    desired_.svis.emplace(name, svi);
    return name + ": created";
}

std::string RandomDesired::toggle_sub_interface()
{
    if (desired_.sub_interfaces.size() >= sub_interfaces_ ||
        (!desired_.sub_interfaces.empty() && !often())) {
        const auto gone = random_entry(desired_.sub_interfaces,
                                       pick(static_cast<uint32_t>(desired_.sub_interfaces.size())));
        const std::string name = gone->first;
        desired_.sub_interfaces.erase(gone);
        return name + ": deleted";
    }
    const std::string parent = random_interface();
    if (!can_have_sub_interfaces(parent))
        return toggle_svi();
    const uint32_t vlan = 1 + pick(sub_interfaces_ < 4094 ? sub_interfaces_ : 4094);
    const std::string name = parent + '.' + std::to_string(vlan);
    DesiredSubInterface sub;
    sub.parent = parent;
    sub.vlan = vlan;
    sub.mtu = 1500;
    sub.l3 = random_l3();
    sub.place = place_of("VLAN_SUB_INTERFACE", name);
    return name + (desired_.sub_interfaces.emplace(name, sub).second ? ": created" : ": as it is");
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
    if (l3_of(mac.interface) == nullptr)
        return toggle_routed_port();
    if (desired_.virtual_macs.erase(mac) != 0)
        return mac.interface + ": without virtual MAC " + to_text(mac.mac);
    desired_.virtual_macs.emplace(mac, place_of("VRRP", mac.interface));
    return mac.interface + ": virtual MAC " + to_text(mac.mac);
}

std::string RandomDesired::change_settings()
{
    const std::string name = random_interface();
    L3Settings *const l3 = l3_of(name);
    if (l3 == nullptr)
        return toggle_svi();
    *l3 = random_l3();
    if (const auto it = desired_.svis.find(name); it != desired_.svis.end())
        it->second.mtu = random_mtu();
    return name + ": other settings";
}

std::string RandomDesired::change_port_mtu()
{
    const std::string name = port_name(pick(ports_));
    const uint16_t mtu = random_mtu();
    desired_.ports.at(name).mtu = mtu;
    return name + ": MTU " + std::to_string(mtu);
}

std::string RandomDesired::change_router_mac()
{
    if (desired_.router_mac && !often()) {
        desired_.router_mac.reset();
        return "no router MAC";
    }
    desired_.router_mac = Mac{0x00, 0x00, 0x5e, 0x00, 0x53, static_cast<uint8_t>(1 + pick(8))};
    desired_.router_mac_place = place_of("DEVICE_METADATA", "localhost");
    return "router MAC " + to_text(*desired_.router_mac);
}

void RandomDesired::tidy()
{
    for (auto it = desired_.sub_interfaces.begin(); it != desired_.sub_interfaces.end();)
        it = can_have_sub_interfaces(it->second.parent) ? std::next(it)
                                                        : desired_.sub_interfaces.erase(it);
    for (auto it = desired_.virtual_macs.begin(); it != desired_.virtual_macs.end();)
        it =
            l3_of(it->first.interface) != nullptr ? std::next(it) : desired_.virtual_macs.erase(it);
}

std::string RandomDesired::change(uint64_t seed)
{
    random_.seed(seed);
    std::string words;
    switch (pick(16)) {
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
    default:
        words = change_settings();
    }
    tidy();
    return words;
}

} // namespace kvnsim
