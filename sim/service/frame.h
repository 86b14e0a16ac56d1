#pragma once

#include <array>
#include <cstdint>
#include <memory_resource>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "sim/sdk/asic.h"
#include "sim/state/index.h"
#include "sim/state/listing.h"

/* What the ASIC does with one frame, by its tables alone. Names of interfaces and VRFs come from
 * the host's and the switch's records; they decide nothing. */
namespace kvnsim {

enum class Family : uint8_t { ipv4, ipv6 };
constexpr const char *family_names[] = {"IPv4", "IPv6"};
inline const char *to_text(Family family)
{
    return family_names[static_cast<size_t>(family)];
}

/* A frame that carries an IP packet. */
struct Frame {
    uint32_t front_port = 0; /* by which it arrives, 1..255; 0: a layer-2 port of its VLAN */
    uint32_t vlan = 0;       /* of its tag, 1..4094; 0: untagged */
    Family family = Family::ipv4;
    Mac to{};          /* zero: a router MAC of the switch, whichever that is */
    uint32_t size = 0; /* of the packet, in bytes as an MTU counts them; 0: whatever fits */
};

/* What the ASIC looks at, in this order. The first that does not let the frame pass decides. */
enum class Stage : uint8_t {
    front_port,
    port_channel,
    sdk_interface,
    lid_entry,
    mac,
    family,
    vpn,
    mtu
};
const char *to_text(Stage stage); /* "LID entry" */

struct StageResult {
    Stage stage;
    std::string found; /* "18 (Ethernet36.100), a sub-interface of 7, VLAN 100" */
    bool passes = true;
    Origin made; /* the call that made or wrote it; empty for what is initial or absent */
};

/* What becomes of a frame, and what it met as far as it went. */
struct Way {
    bool routed = false;
    Stage decided = Stage::front_port; /* when not routed: by this stage */
    uint32_t pc_id = no_id, intf_id = no_id, lid_id = no_id;
    uint32_t peer_mac_id = no_id, mac_trap_id = no_id; /* the entry that has its MAC */
    bool to_group = false;                             /* to a group of its family */
    uint32_t vpn = 0, mtu = 0;
    /* It came by a front port, and this VLAN's SVI has it: if the port is in that VLAN; else 0. */
    uint32_t if_in_vlan = 0;
};

/* The same in words. */
struct Fate : Way {
    std::string reason; /* when not routed: "IPv4 unicast routing is off" */
    Origin made;        /* then: of the value that decides, if it has one */
    std::vector<StageResult> stages;
};

/* The ASIC of one snapshot. The index must outlive it. */
class Forwarding {
public:
    explicit Forwarding(const Index &index);

    /* Constant time. */
    Fate follow(const Frame &frame) const;
    /* The same without words. */
    Way way(const Frame &frame) const;
    /* Whether the interface takes such frames for those to a group: the MAC is one of the family's,
     * and neither a router MAC nor a MAC trap of the interface. */
    bool is_to_group(const IntfRow &intf, Family family, const Mac &to) const;
    /* Whether an interface that has written these attributes routes unicast, or multicast, of the
     * family; if not, it routes no such frame. */
    bool is_on(const RowRange<AttributeValueRow> &written, const IntfRow &intf, Family family,
               bool to_group) const;
    /* "routed in VRF VrfBlue by SDK interface 18 (Ethernet36.100)", or "not routed: IPv4 unicast
     * routing of SDK interface 18 (Ethernet36.100) is off (libsdk_intf_attr_set in request 12
     * ...)". */
    std::string words(const Fate &fate) const;

    /* Why it is not routed, with the call behind it. */
    static std::string reason(const Fate &fate);
    /* ", if the port is in VLAN 100"; empty without a condition */
    static std::string condition(const Way &way);
    /* "VrfBlue", "default"; empty when no VRF has the number */
    std::string vrf_of(uint32_t vpn) const;
    /* "VRF VrfBlue", "VPN 9, which no VRF has" */
    std::string vpn_words(uint32_t vpn) const;
    /* "18 (Ethernet36.100)"; "18 (of no interface)" */
    std::string intf_words(uint32_t intf_id) const;

    const Index &index() const { return index_; }

private:
    friend class Walk;
    /* The interface that was created with these parameters; nullptr without one. */
    const IntfRow *created_with(uint32_t type, uint32_t param1, uint32_t second) const;
    const RouterMacRow *router_mac(const Mac &mac) const;
    const TrapRow *trap(uint32_t intf_id, const Mac &mac) const;

    template <class Key, class Value> using Lookup = std::pmr::unordered_map<Key, Value>;

    const Index &index_;
    std::pmr::monotonic_buffer_resource memory_;        /* of the lookups */
    Lookup<uint64_t, const IntfRow *> intfs_{&memory_}; /* by place_key() */
    Lookup<uint32_t, std::string_view> vrfs_{&memory_}; /* by number */
    Lookup<uint64_t, const RouterMacRow *> router_macs_{&memory_};
    Lookup<uint64_t, const TrapRow *> traps_{&memory_}; /* by interface and MAC */
};

/* How the ASIC reads an attribute of an SDK interface. The stages find their attributes here. */
struct AttributeReading {
    uint32_t number;              /* SdkIntfAttr... */
    std::optional<Stage> stage;   /* that it decides; none: it does not decide */
    std::optional<Family> family; /* only of frames of this one; else of both */
    std::optional<bool> group;    /* only of frames to a group, or to a router MAC; else of both */
    const char *reading;
    constexpr bool is_read(Stage by, Family of, bool to_group) const
    {
        return stage == by && family.value_or(of) == of && group.value_or(to_group) == to_group;
    }
};
/* A row for each attribute, in the order of the numbers. */
using AttributeReadings = std::array<AttributeReading, 19>;
const AttributeReadings &attribute_readings();

/* What a switch needs for routing and the model does not have: "routes", "neighbours", ... */
const std::vector<const char *> &not_modelled();

} // namespace kvnsim
