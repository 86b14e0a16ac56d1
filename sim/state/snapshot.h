#pragma once

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "sim/config/finding.h"
#include "sim/fwm/diagnostics.h"
#include "sim/fwm/host.h"
#include "sim/fwm/state_db.h"
#include "sim/journal/request.h"
#include "sim/sdk/asic.h"
#include "sim/switch/plan.h"
#include "sim/switch/virtual_macs.h"
#include "sim/types/columns.h"
#include "sim/types/interface_kind.h"
#include "sim/types/source_location.h"

/* The state of the switch at one moment, as plain rows: what is wanted, what the host, the library,
 * the ASIC and the shared database hold, and the request that made each row. */
namespace kvnsim {

class Switch;

/* Rows of the ASIC, the host and the shared database are declared beside their models; rows of what
 * is wanted and of the library are here. To add a table, add a row type and its vector in
 * Snapshot. Columns are integers, bool, std::string, Mac, InterfaceKind, Finding::Severity,
 * StepKind, an std::optional of an integer, bool or text, SourceLocation (five columns, all NULL
 * for an empty optional), Origin (two) and std::string_view, a word that lives as long as the
 * process. */

/* ---- What is wanted. mtu in bytes; names as the configuration gives them. ---- */

struct WantedPort {
    std::string name;
    uint32_t front_port = 0; /* 0: whichever is free */
    uint32_t mtu = 0;
    bool admin_up = false;
    std::string alias;
    SourceLocation location;
    TABLE_ROW("wanted_port", name, front_port, mtu, admin_up, alias, location)
};

/* A routed port, a port-channel, a sub-interface or an SVI. */
struct WantedInterface {
    std::string name;
    InterfaceKind kind = InterfaceKind::port;
    bool routed = true;   /* false: a layer 2 port-channel */
    bool implied = false; /* routed only as the parent of a sub-interface */
    bool waits = false;   /* a sub-interface whose port-channel has no member */
    bool admin_up = true;
    std::string parent;  /* of a sub-interface */
    uint32_t number = 0; /* channel number, or the VLAN of a sub-interface or SVI */
    uint32_t mtu = 0;
    bool ipv4 = false, ipv6 = false;
    std::string vrf;
    uint32_t vpn = 0; /* the VRF's number */
    uint32_t nat_zone = 0;
    std::string addresses; /* as written, separated by blanks */
    SourceLocation location;
    std::optional<SourceLocation> channel; /* of a routed port-channel: its PORTCHANNEL row */
    TABLE_ROW("wanted_interface", name, kind, routed, implied, waits, admin_up, parent, number, mtu,
              ipv4, ipv6, vrf, vpn, nat_zone, addresses, location, channel)
};

struct WantedMember {
    std::string port_channel, port;
    bool declined = false; /* by the library, because the port is routed */
    SourceLocation location;
    TABLE_ROW("wanted_member", port_channel, port, declined, location)
};

struct WantedVlan {
    std::string name;
    uint32_t vlan = 0;
    SourceLocation location;
    TABLE_ROW("wanted_vlan", name, vlan, location)
};

struct WantedVlanMember {
    std::string vlan, member; /* "Vlan100", a port or a port-channel */
    SourceLocation location;
    TABLE_ROW("wanted_vlan_member", vlan, member, location)
};

struct WantedVirtualMac {
    std::string interface;
    Mac mac{};
    SourceLocation location;
    TABLE_ROW("wanted_virtual_mac", interface, mac, location)
};

/* None or one. */
struct WantedRouterMac {
    Mac mac{};
    SourceLocation location;
    TABLE_ROW("wanted_router_mac", mac, location)
};

struct WantedVrf {
    std::string name;
    SourceLocation location;
    TABLE_ROW("wanted_vrf", name, location)
};

/* ---- What has been applied, which after failures is not what is wanted: as above. ---- */

struct AppliedPort : WantedPort {
    static constexpr const char *table = "applied_port";
};
struct AppliedInterface : WantedInterface {
    static constexpr const char *table = "applied_interface";
};
struct AppliedMember : WantedMember {
    static constexpr const char *table = "applied_member";
};
struct AppliedVirtualMac : WantedVirtualMac {
    static constexpr const char *table = "applied_virtual_mac";
};
struct AppliedRouterMac : WantedRouterMac {
    static constexpr const char *table = "applied_router_mac";
};

/* The settings written to an interface; empty where a write failed and the value is unknown. */
struct SettingsRow {
    std::string name;
    std::optional<uint32_t> mtu;
    std::optional<bool> ipv4, ipv6;
    std::optional<std::string> vrf;
    std::optional<uint32_t> nat_zone;
    TABLE_ROW("applied_settings", name, mtu, ipv4, ipv6, vrf, nat_zone)
};

struct VrfNumber {
    std::string name;
    uint32_t vpn = 0;
    TABLE_ROW("vrf", name, vpn)
};

/* ---- The library ---- */

/* An interface's l3_pd; 65535 is none. */
struct ContextRow {
    uint32_t ifindex = 0;
    uint32_t intf_id = no_id, old_intf_id = no_id, lid_id = no_id, pc_id = no_id;
    TABLE_ROW("library_context", ifindex, intf_id, old_intf_id, lid_id, pc_id)
};

/* The router MAC that the library gave the host. None or one. */
struct OwnedRouterMac {
    uint32_t peer_mac_id = 0;
    TABLE_ROW("owned_router_mac", peer_mac_id)
};

/* ---- What went wrong, and the rest ---- */

/* A failed step, not yet repaired. */
struct FailureRow {
    std::string object;
    StepKind step = StepKind::add_port;
    Mac mac{};            /* of a MAC step */
    bool in_part = false; /* it succeeded in part */
    std::string message;
    Origin made; /* the request and its first failed call */
    TABLE_ROW("failure", object, step, mac, in_part, message, made)
};

struct MetaRow {
    uint32_t word_size = 0; /* of the library, in bits */
    std::string hostname;
    bool interrupted = false;   /* the last configuration was not fully applied */
    uint64_t requests_made = 0; /* the next request has the number after it */
    TABLE_ROW("meta", word_size, hostname, interrupted, requests_made)
};

/* A configuration file, in the order applied. */
struct FileRow {
    std::string file;
    TABLE_ROW("configuration_file", file)
};

/* Rows are sorted by identifier, or by name in natural order. */
struct Snapshot {
    MetaRow meta;
    std::vector<FileRow> files;
    std::vector<Finding> reader; /* of the last configuration, such as rows left out */
    std::vector<WantedPort> wanted_ports;
    std::vector<WantedInterface> wanted_interfaces;
    std::vector<WantedMember> wanted_members;
    std::vector<WantedVlan> wanted_vlans;
    std::vector<WantedVlanMember> wanted_vlan_members;
    std::vector<WantedVirtualMac> wanted_virtual_macs;
    std::vector<WantedRouterMac> wanted_router_mac;
    std::vector<WantedVrf> wanted_vrfs;
    std::vector<AppliedPort> applied_ports;
    std::vector<AppliedInterface> applied_interfaces;
    std::vector<AppliedMember> applied_members;
    std::vector<AppliedVirtualMac> applied_virtual_macs;
    std::vector<AppliedRouterMac> applied_router_mac;
    std::vector<SettingsRow> settings;
    std::vector<VrfNumber> vrfs;
    std::vector<HostRow> host;
    std::vector<ContextRow> contexts;
    std::vector<FhrpRow> virtual_macs;
    std::vector<OwnedRouterMac> owned_router_mac;
    std::vector<IntfRow> intfs;
    std::vector<AttributeValueRow> attributes;
    std::vector<LidRow> lids;
    std::vector<LidPathRow> lid_paths;
    std::vector<PortChannelRow> port_channels;
    std::vector<MemberRow> members;
    std::vector<RouterMacRow> router_macs;
    std::vector<TrapRow> traps;
    std::vector<PendingRow> pending;
    std::vector<TableUse> table_use;
    std::vector<PmRow> pm;
    std::vector<PcRow> pc;
    std::vector<L3lifRow> l3lif;
    std::vector<LabelRow> label;
    std::vector<MemberIntfRow> member_intf;
    std::vector<ErrorGroup> errors;
    std::vector<FailureRow> failures;

    std::vector<std::string> file_names() const;

    /* visit(&Snapshot::rows) for each vector, in this order. */
    template <class Visit> static void tables(Visit &&visit)
    {
        const auto each = [&](auto... rows) { (visit(rows), ...); };
        using S = Snapshot;
        each(&S::files, &S::reader, &S::wanted_ports, &S::wanted_interfaces, &S::wanted_members,
             &S::wanted_vlans, &S::wanted_vlan_members, &S::wanted_virtual_macs,
             &S::wanted_router_mac, &S::wanted_vrfs, &S::applied_ports, &S::applied_interfaces,
             &S::applied_members, &S::applied_virtual_macs, &S::applied_router_mac, &S::settings,
             &S::vrfs, &S::host, &S::contexts, &S::virtual_macs, &S::owned_router_mac, &S::intfs,
             &S::attributes, &S::lids, &S::lid_paths, &S::port_channels, &S::members,
             &S::router_macs, &S::traps, &S::pending, &S::table_use, &S::pm, &S::pc, &S::l3lif,
             &S::label, &S::member_intf, &S::errors, &S::failures);
    }
};
bool operator==(const Snapshot &a, const Snapshot &b);
inline bool operator!=(const Snapshot &a, const Snapshot &b)
{
    return !(a == b);
}

/* Why a snapshot cannot be saved or loaded: "FILE: reason". */
class SnapshotError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/* The switch as it is now. files: the configurations applied; findings: those of the last one;
 * interrupted: it was not fully applied. */
Snapshot capture(const Switch &of, const std::vector<std::string> &files = {},
                 const std::vector<Finding> &findings = {}, bool interrupted = false);

/* The same of a switch with which nothing more is done: it is powered off. Each part is given up as
 * soon as its rows are taken, so that memory holds switch or snapshot, not both. */
Snapshot capture_and_power_off(Switch &of, const std::vector<std::string> &files,
                               const std::vector<Finding> &findings, bool interrupted);

/* Saves it as an SQLite file, complete or not at all: on failure an older file stays unchanged.
 * An existing file is replaced only if it holds a snapshot. Throws SnapshotError. */
void save(const Snapshot &snapshot, const std::string &path);
/* Checks the path before work is spent; throws what save() would throw. */
void check_can_save(const std::string &path);

/* Loads a saved snapshot, equal to the original. Throws SnapshotError. */
Snapshot load(const std::string &path);

/* A frame, as far as what it meets must be loaded. */
struct FrameKey {
    uint32_t vlan = 0;          /* of its tag, 0 for none */
    std::optional<Mac> to = {}; /* its destination, if it is given */
};
/* What a saved snapshot holds of some interfaces: enough to show, explain and audit them, and to
 * follow a frame that arrives for the first one. Of other interfaces there may be some rows. */
struct SnapshotPart {
    Snapshot snapshot;
    std::vector<std::string> names; /* of these interfaces */
};
/* Loads it, the interfaces given by any of their spellings. What it takes depends on their members
 * and parents and on the number of ports, not on how many interfaces the switch has. The rows that
 * are read are checked as load() checks them, the others are not. Empty where all must be read: for
 * a name that is not that of one interface, and for whatever load() has to report. */
std::optional<SnapshotPart> load_about(const std::string &path,
                                       const std::vector<std::string> &written,
                                       const FrameKey &frame = {});

} // namespace kvnsim
