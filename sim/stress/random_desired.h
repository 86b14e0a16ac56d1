#pragma once

#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "sim/config/desired.h"

/* Random configurations: after each change everything has what it stands on. */
namespace kvnsim {

class RandomDesired {
public:
    /* About so many L3 interfaces at most; the same seed gives the same configurations. */
    explicit RandomDesired(uint32_t interfaces);

    /* Make one random change, chosen by the seed alone; says what it did: "Vlan7: MTU 1500". */
    std::string change(uint64_t seed);
    /* The interface that it was made of, with its virtual MACs; "switch" of the router MAC. */
    const std::string &changed() const { return changed_; }

    const Desired &desired() const { return desired_; }

private:
    using Random = std::mt19937_64;
    uint32_t pick(uint32_t below); /* 0..below-1 */
    bool often() { return pick(3) != 0; }
    std::string port_name(uint32_t number) const;
    L3Settings random_l3();
    uint16_t random_mtu();
    const std::string &of(const std::string &name) { return changed_ = name; }
    std::string random_interface();

    std::string toggle_port(const std::string &port);
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
    Random random_;
};

/* Take what from wants of one interface, or of the switch, over into to. */
void take_over(Desired &to, const Desired &from, const std::string &name);
/* Drop what lost what it stands on, and memberships but the first of each port. An SVI needs no
 * VLAN here: the ports of VLANs are not the library's. */
void tidy(Desired &desired);
/* The interfaces wanted and the switch; of ports those that are not as in the bare one, the
 * configuration that random changes begin with. */
std::vector<std::string> objects(const Desired &desired, const Desired &bare);
/* One of them: "PortChannel1: routed, with Ethernet4", "Ethernet0: routed, MTU 1500". */
std::string describe(const Desired &desired, const std::string &name);

} // namespace kvnsim
