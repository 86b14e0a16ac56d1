#include "tests/sim/config/contradictions.h"

#include <set>
#include <utility>

#include "sim/config/names.h"

namespace kvnsim {

namespace {

class Checker {
public:
    explicit Checker(const Desired &desired) : desired_(desired) {}

    std::vector<std::string> found;

    void check()
    {
        require(desired_.ports.size() <= most_ports, "more ports than a switch has", "");
        require(!desired_.router_mac || !is_zero(*desired_.router_mac), "router MAC of zeros", "");
        for (const auto &[name, port] : desired_.ports) {
            require_kind(name, InterfaceKind::port);
            require_mtu(name, port.mtu);
        }
        for (const auto &[name, location] : desired_.vrfs)
            require(is_vrf_name(name) && name != "default", "not a VRF's name", name);
        for (const auto &[name, port] : desired_.routed_ports) {
            require(desired_.ports.count(name) == 1, "routed without such a port", name);
            check_l3(name, port.l3);
        }
        for (const auto &[name, channel] : desired_.port_channels)
            check_channel(name, channel);
        for (const auto &[name, sub] : desired_.sub_interfaces)
            check_sub_interface(name, sub);
        for (const auto &[name, vlan] : desired_.vlans) {
            require_kind(name, InterfaceKind::svi);
            for (const auto &[member, location] : vlan.members)
                require(desired_.ports.count(member) + desired_.port_channels.count(member) == 1,
                        "a member of the VLAN is missing", name);
        }
        for (const auto &[name, svi] : desired_.svis) {
            const auto vlan = desired_.vlans.find(name);
            require(vlan != desired_.vlans.end() && vlan->second.vlan == svi.vlan &&
                        vlan_range.has(svi.vlan),
                    "no such VLAN", name);
            require_mtu(name, svi.mtu);
            check_l3(name, svi.l3);
        }
        for (const auto &[virtual_mac, location] : desired_.virtual_macs) {
            require(!is_zero(virtual_mac.mac), "virtual MAC of zeros", virtual_mac.interface);
            require(takes_virtual_mac(virtual_mac.interface), "virtual MAC without an interface",
                    virtual_mac.interface);
        }
    }

private:
    void require(bool holds, const char *contradiction, const std::string &name)
    {
        if (!holds)
            found.push_back(name.empty() ? contradiction : name + ": " + contradiction);
    }
    void require_kind(const std::string &name, InterfaceKind kind)
    {
        const auto parsed = parse_interface_name(name);
        require(parsed && parsed->kind == kind, "a name of the wrong form", name);
    }
    void require_mtu(const std::string &name, uint16_t mtu)
    {
        require(mtu_range.has(mtu), "MTU out of range", name);
    }

    void check_l3(const std::string &name, const L3Settings &l3)
    {
        require(l3.vrf.empty() || desired_.vrfs.count(l3.vrf) == 1, "no such VRF", name);
        require(nat_zone_range.has(l3.nat_zone), "NAT zone out of range", name);
        bool ipv4 = false, ipv6 = false;
        for (const std::string &text : l3.addresses) {
            const auto address = parse_address(text);
            require(address.has_value(), "an address that is none", name);
            if (address)
                (address->ipv6 ? ipv6 : ipv4) = true;
        }
        require(l3.ipv4 == ipv4 && (l3.ipv6 || !ipv6), "IP on or off against its addresses", name);
    }

    void check_channel(const std::string &name, const DesiredPortChannel &channel)
    {
        const auto parsed = parse_interface_name(name);
        require(parsed && parsed->kind == InterfaceKind::port_channel &&
                    parsed->number == channel.number,
                "the number is not the name's", name);
        require(numbers_.insert(channel.number).second, "number taken by another", name);
        require_mtu(name, channel.mtu);
        if (channel.l3)
            check_l3(name, *channel.l3);
        for (const auto &[member, location] : channel.members) {
            require(desired_.ports.count(member) == 1, "a member is missing", name);
            require(members_.insert(member).second, "a member of two port-channels", member);
        }
    }

    void check_sub_interface(const std::string &name, const DesiredSubInterface &sub)
    {
        require_kind(name, InterfaceKind::sub_interface);
        require(vlan_range.has(sub.vlan), "VLAN out of range", name);
        require(encapsulations_.emplace(sub.parent, sub.vlan).second, "VLAN twice under its parent",
                name);
        require_mtu(name, sub.mtu);
        check_l3(name, sub.l3);
        if (const auto channel = desired_.port_channels.find(sub.parent);
            channel != desired_.port_channels.end()) {
            require(channel->second.l3.has_value(), "the parent is not routed", name);
            require(sub.waits != desired_.has_member_that_joins(channel->second),
                    "waits although the parent has a LID, or does not wait for one", name);
            require(sub.mtu <= channel->second.mtu, "MTU above the parent's", name);
            return;
        }
        require(!sub.waits && desired_.routed_ports.count(sub.parent) == 1 &&
                    members_.count(sub.parent) == 0,
                "the parent has no LID", name);
        if (const auto port = desired_.ports.find(sub.parent); port != desired_.ports.end())
            require(sub.mtu <= port->second.mtu, "MTU above the parent's", name);
    }

    bool takes_virtual_mac(const std::string &name) const
    {
        if (const auto sub = desired_.sub_interfaces.find(name);
            sub != desired_.sub_interfaces.end() && sub->second.waits)
            return false;
        if (const auto channel = desired_.port_channels.find(name);
            channel != desired_.port_channels.end())
            return channel->second.l3 && desired_.has_member_that_joins(channel->second);
        return (desired_.routed_ports.count(name) == 1 && members_.count(name) == 0) ||
               desired_.sub_interfaces.count(name) + desired_.svis.count(name) == 1;
    }

    const Desired &desired_;
    std::set<uint32_t> numbers_;
    std::set<std::string> members_;
    std::set<std::pair<std::string, uint32_t>> encapsulations_;
};

} // namespace

std::vector<std::string> contradictions(const Desired &desired)
{
    Checker checker(desired);
    checker.check();
    return std::move(checker.found);
}

} // namespace kvnsim
