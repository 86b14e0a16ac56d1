#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "sim/switch/switch.h"
#include "sim/types/columns.h"

/* What a plan means for each interface, and whether it interrupts the interface's traffic. */
namespace kvnsim {

enum class ChangeKind : uint8_t {
    created,
    deleted,
    recreated,
    joins,
    leaves,
    moves,
    member_joins,
    member_leaves,
    mtu,
    ipv4,
    ipv6,
    vrf,
    nat_zone,
    admin,
    virtual_mac_added,
    virtual_mac_removed,
    router_mac,
    lid
};
const char *to_text(ChangeKind kind); /* "member_leaves" */

/* A change of an interface. */
struct Change {
    std::string interface; /* "switch" for the router MAC */
    ChangeKind change;
    std::string words; /* "MTU 9100 -> 1500" */
    bool interrupts = false;
    std::string reason; /* for the verdict */
    COLUMNS(interface, change, words, interrupts, reason)
};

/* What the plan for what is wanted changes, by interface, in natural order. Interfaces are those of
 * the configurations. A member's joining or leaving is told of the port and of the port-channel. */
std::vector<Change> changes(const Switch &of, const Desired &want, const Plan &plan);

/* How many interfaces they change, and of how many they interrupt the traffic. */
size_t changed_interfaces(const std::vector<Change> &changes);
size_t interrupted_interfaces(const std::vector<Change> &changes);

} // namespace kvnsim
