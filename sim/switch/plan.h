#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "sim/types/mac.h"
#include "sim/types/source_location.h"

/* What is to be done to bring about what is wanted. */
namespace kvnsim {

struct L3Settings;

/* L3 settings of one interface; empty where a write failed and the value is unknown. */
struct Settings {
    std::optional<uint16_t> mtu; /* bytes */
    std::optional<bool> ipv4, ipv6;
    std::optional<std::string> vrf; /* "" is the default one */
    std::optional<uint32_t> nat_zone;
    friend bool operator==(const Settings &a, const Settings &b);
    friend bool operator!=(const Settings &a, const Settings &b) { return !(a == b); }
};
Settings settings_of(const L3Settings &l3, uint16_t mtu);
/* "MTU 9100, IPv4, VRF Vrf42", of settings that are all known. */
std::string in_words(const Settings &settings);

enum class Setting : uint8_t { mtu, ipv4, ipv6, vrf, nat_zone };
struct SettingChange {
    Setting setting;
    std::string words; /* "MTU 9100 -> 1500", "IPv6 on", "VRF Vrf1 -> default" */
    bool downwards;    /* it falls, is turned off, or falls from an unknown value */
};
/* The settings that differ; those of to are all known. */
std::vector<SettingChange> difference(const Settings &from, const Settings &to);

/* What one step does, in the order in which a plan is carried out. */
enum class StepKind : uint8_t {
    remove_virtual_mac,
    delete_sub_interface,
    delete_svi,
    remove_member,
    unroute_port_channel,
    delete_port_channel,
    unroute_port,
    delete_port,
    remove_router_mac,
    add_router_mac,
    add_port,
    route_port,
    add_port_channel,
    route_port_channel,
    add_member,
    add_svi,
    add_sub_interface,
    change_settings,
    add_virtual_mac
};
constexpr const char *step_kind_names[] = {
    "remove_virtual_mac",   "delete_sub_interface", "delete_svi",     "remove_member",
    "unroute_port_channel", "delete_port_channel",  "unroute_port",   "delete_port",
    "remove_router_mac",    "add_router_mac",       "add_port",       "route_port",
    "add_port_channel",     "route_port_channel",   "add_member",     "add_svi",
    "add_sub_interface",    "change_settings",      "add_virtual_mac"};
inline const char *to_text(StepKind kind)
{
    return step_kind_names[static_cast<size_t>(kind)];
}

struct Step {
    StepKind kind;
    std::string name;       /* the object: "Ethernet0", "PortChannel0001"; of a member the port */
    std::string other;      /* a member's port-channel; else empty */
    Mac mac{};              /* of a MAC step */
    std::string parent;     /* of a new sub-interface */
    uint32_t vlan = 0;      /* of a new sub-interface */
    bool completes = false; /* the port or port-channel exists and gets what an earlier step could
                               not make: its LID or SDK interface */
    Settings settings;      /* of a creation or change: the target */
    std::string changes;    /* of a change: "MTU 9100 -> 1500, IPv6 on" */
    SourceLocation cause;   /* the row behind it; of a deletion, the removed row */

    std::string words() const; /* "route port Ethernet0: MTU 9100, IPv4, VRF Vrf42" */
};

/* Steps in the order of execution. */
struct Plan {
    std::vector<Step> steps;
    bool empty() const { return steps.empty(); }
};

} // namespace kvnsim
