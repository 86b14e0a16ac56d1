#pragma once

#include <cstdint>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include "sim/config/desired.h"

/* Random configurations, complete after each change: every object has what it depends on. */
namespace kvnsim {

class RandomDesired {
public:
    /* interfaces: approximate maximum of L3 interfaces. */
    explicit RandomDesired(uint32_t interfaces);

    /* Makes one random change, chosen by the seed alone; returns it in words: "Vlan7: MTU 1500". */
    std::string change(uint64_t seed);
    /* The interface last changed, with its virtual MACs; "switch" for the router MAC. */
    const std::string &changed() const { return changed_; }

    const Desired &desired() const { return desired_; }

private:
    /* 0..below-1 */
    uint32_t pick(size_t below) { return static_cast<uint32_t>(random_() % below); }
    bool often() { return pick(3) != 0; }
    template <class Map> auto &any(Map &map) { return *std::next(map.begin(), pick(map.size())); }
    uint8_t random_byte(uint8_t last) { return static_cast<uint8_t>(1 + pick(last)); } /* 1..last */
    std::string random_port();
    void add_port(const std::string &name);
    L3Settings random_l3();
    uint16_t random_mtu();
    const std::string &of(const std::string &name) { return changed_ = name; }
    std::string random_interface();

    std::string toggle_port(const std::string &port);
    std::string toggle_any_port() { return toggle_port(random_port()); }
    std::string toggle_routed_port();
    std::string toggle_port_channel();
    std::string toggle_member();
    std::string toggle_routing_of_port_channel();
    std::string toggle_svi();
    std::string toggle_sub_interface();
    std::string toggle_virtual_mac();
    std::string change_settings();
    std::string change_port_mtu();
    std::string change_router_mac();

    Desired desired_;
    std::string changed_;
    uint32_t ports_, port_channels_, svis_, sub_interfaces_;
    std::mt19937_64 random_;
};

/* Copies what is wanted of one interface, or of the switch. */
void take_over(Desired &to, const Desired &from, const std::string &name);
/* Drops objects that miss what they depend on, and all but the first membership of each port. An
 * SVI needs no VLAN here: the library does not handle the ports of VLANs. */
void tidy(Desired &desired);
/* The wanted interfaces and the switch; ports only if they differ from bare, the configuration
 * before the first change. */
std::vector<std::string> objects(const Desired &desired, const Desired &bare);
/* One of them: "PortChannel1: routed, with Ethernet4", "Ethernet0: routed, MTU 1500". */
std::string describe(const Desired &desired, const std::string &name);

} // namespace kvnsim
