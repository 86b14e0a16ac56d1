#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "sim/types/mac.h"
#include "sim/types/natural_order.h"
#include "sim/types/source_location.h"

/* What a configuration wants of the switch, by name, with defaults filled in. */
namespace kvnsim {

/* L3 settings that every kind of routed interface has. */
struct L3Settings {
    bool ipv4 = false, ipv6 = false;
    std::string vrf;                    /* empty = default */
    uint32_t nat_zone = 0;              /* 0..3 */
    std::vector<std::string> addresses; /* as written, for show and explain */
};

struct DesiredPort {
    uint32_t front_port = 0; /* 1..255 */
    uint16_t mtu = 9100;
    bool admin_up = false;
    std::string alias;
    SourceLocation location;
};
struct DesiredRoutedPort { /* MTU from the port */
    L3Settings l3;
    bool implied = false; /* only the parent of a sub-interface; no row of its own */
    SourceLocation location;
};
struct DesiredPortChannel {
    uint32_t number = 0; /* 0..9999 */
    uint16_t mtu = 9100;
    bool admin_up = true;
    std::optional<L3Settings> l3;   /* empty: layer 2 */
    bool l3_implied = false;        /* routed only as the parent of a sub-interface */
    ByName<SourceLocation> members; /* port names */
    SourceLocation location, l3_location;
};
struct DesiredSubInterface {
    std::string parent; /* a port or a port-channel, by full name */
    uint32_t vlan = 0;  /* 1..4094 */
    uint16_t mtu = 0;   /* capped to the parent's */
    L3Settings l3;
    SourceLocation location;
    bool waits = false; /* for a port-channel's first member */
};
struct DesiredSvi {
    uint32_t vlan = 0; /* 1..4094 */
    uint16_t mtu = 9100;
    L3Settings l3;
    SourceLocation location;
};
struct DesiredVlan {
    uint32_t vlan = 0;
    uint16_t mtu = 9100;            /* of its SVI */
    ByName<SourceLocation> members; /* ports and port-channels, for show and report */
    SourceLocation location;
};
/* A virtual MAC of an interface. */
struct VirtualMac {
    std::string interface;
    Mac mac{};
    friend bool operator<(const VirtualMac &a, const VirtualMac &b);
};

struct Desired {
    std::optional<Mac> router_mac;
    SourceLocation router_mac_location;
    std::string hostname;
    ByName<DesiredPort> ports;
    std::map<std::string, SourceLocation> vrfs;
    ByName<DesiredRoutedPort> routed_ports; /* implied ones included */
    ByName<DesiredPortChannel> port_channels;
    ByName<DesiredSubInterface> sub_interfaces;
    ByName<DesiredSvi> svis;
    ByName<DesiredVlan> vlans;
    std::map<VirtualMac, SourceLocation> virtual_macs;

    /* Whether a member joins, which creates the port-channel in the ASIC: the library declines
     * routed ports. */
    bool has_member_that_joins(const DesiredPortChannel &channel) const;
};

} // namespace kvnsim
