#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "sim/config/desired.h"
#include "sim/journal/journal.h"

/* Everything that can be seen of the switch at one moment, as plain rows: what is wanted, what the
 * host, the library, the ASIC and the shared database hold, and which request made each of it. */
namespace kvnsim {

class Switch;

/* Who made a row. */
struct Made {
    uint64_t request = 0;  /* 0: before any request */
    const char *call = ""; /* the imported call; lives as long as the process */
    friend bool operator==(const Made &a, const Made &b);
};

/* Each row type says the name of its table and, once, its columns: visit("name", row.member) for
 * each in turn. Saving, loading, comparing and JSON are made from that alone; a table more is a
 * row type more and its vector in Snapshot. Columns are uint16_t, uint32_t, uint64_t, bool,
 * std::string, Mac, std::optional<uint32_t>, Place (five columns) and Made (two). */

/* ---- What is wanted. mtu in bytes; names as the configuration gives them. ---- */

struct WantedPort {
    std::string name;
    uint32_t mtu = 0;
    bool admin_up = false;
    std::string alias;
    Place place;
    static constexpr const char *table = "wanted_port";
    template <class Row, class Visit> static void columns(Row &row, Visit &&visit)
    {
        visit("name", row.name);
        visit("mtu", row.mtu);
        visit("admin_up", row.admin_up);
        visit("alias", row.alias);
        visit("place", row.place);
    }
};

/* A routed port, a port-channel, a sub-interface or an SVI. */
struct WantedInterface {
    std::string name;
    std::string kind;     /* "port", "port-channel", "sub-interface", "SVI" */
    bool routed = true;   /* false: a port-channel of layer 2 */
    bool implied = false; /* routed only as the parent of a sub-interface */
    bool admin_up = true;
    std::string parent;  /* of a sub-interface */
    uint32_t number = 0; /* channel number, or the VLAN of a sub-interface or SVI */
    uint32_t mtu = 0;
    bool ipv4 = false, ipv6 = false;
    std::string vrf;
    uint32_t vpn = 0; /* the VRF's number */
    uint32_t nat_zone = 0;
    std::string addresses; /* as written, a blank between two */
    Place place;
    static constexpr const char *table = "wanted_interface";
    template <class Row, class Visit> static void columns(Row &row, Visit &&visit)
    {
        visit("name", row.name);
        visit("kind", row.kind);
        visit("routed", row.routed);
        visit("implied", row.implied);
        visit("admin_up", row.admin_up);
        visit("parent", row.parent);
        visit("number", row.number);
        visit("mtu", row.mtu);
        visit("ipv4", row.ipv4);
        visit("ipv6", row.ipv6);
        visit("vrf", row.vrf);
        visit("vpn", row.vpn);
        visit("nat_zone", row.nat_zone);
        visit("addresses", row.addresses);
        visit("place", row.place);
    }
};

struct WantedMember {
    std::string port_channel, port;
    bool declined = false; /* by the library, because the port is routed */
    Place place;
    static constexpr const char *table = "wanted_member";
    template <class Row, class Visit> static void columns(Row &row, Visit &&visit)
    {
        visit("port_channel", row.port_channel);
        visit("port", row.port);
        visit("declined", row.declined);
        visit("place", row.place);
    }
};

struct WantedVlan {
    std::string name;
    uint32_t vlan = 0;
    Place place;
    static constexpr const char *table = "wanted_vlan";
    template <class Row, class Visit> static void columns(Row &row, Visit &&visit)
    {
        visit("name", row.name);
        visit("vlan", row.vlan);
        visit("place", row.place);
    }
};

struct WantedVlanMember {
    std::string vlan, member; /* "Vlan100", a port or a port-channel */
    Place place;
    static constexpr const char *table = "wanted_vlan_member";
    template <class Row, class Visit> static void columns(Row &row, Visit &&visit)
    {
        visit("vlan", row.vlan);
        visit("member", row.member);
        visit("place", row.place);
    }
};

struct WantedVirtualMac {
    std::string interface;
    Mac mac{};
    Place place;
    static constexpr const char *table = "wanted_virtual_mac";
    template <class Row, class Visit> static void columns(Row &row, Visit &&visit)
    {
        visit("interface", row.interface);
        visit("mac", row.mac);
        visit("place", row.place);
    }
};

/* None or one. */
struct WantedRouterMac {
    Mac mac{};
    Place place;
    static constexpr const char *table = "wanted_router_mac";
    template <class Row, class Visit> static void columns(Row &row, Visit &&visit)
    {
        visit("mac", row.mac);
        visit("place", row.place);
    }
};

struct VrfNumber {
    std::string name;
    uint32_t vpn = 0;
    static constexpr const char *table = "vrf";
    template <class Row, class Visit> static void columns(Row &row, Visit &&visit)
    {
        visit("name", row.name);
        visit("vpn", row.vpn);
    }
};

/* ---- The host ---- */

/* An interface as the forwarding manager knows it. */
struct HostRow {
    uint32_t ifindex = 0;
    std::string kind; /* as in WantedInterface */
    std::string name;
    uint32_t number = 0;             /* 0-based front-panel port, channel number, VLAN, sequence */
    uint32_t vlan = 0;               /* of a sub-interface or SVI */
    std::optional<uint32_t> parent;  /* of a sub-interface: its ifindex */
    std::optional<uint32_t> channel; /* of a member port: its port-channel's ifindex */
    uint32_t pd_state = 0;           /* 0 never made, 3 created, 4 destroyed */
    bool registered = false;
    uint32_t mtu = 0; /* as handed to the library */
    bool ipv4_ucst = false, ipv4_mcst = false, ipv4_same_if = false;
    uint32_t v4_vpn = 0, v6_vpn = 0, nat_zone = 0;
    std::optional<uint32_t> port_lid;          /* a port's layer-2 LID entry */
    std::optional<uint32_t> kept_intf;         /* SDK interface kept for a port's membership */
    std::optional<uint32_t> held_pc, held_lid; /* port-channel held for the library to adopt */
    bool loopback = false;
    static constexpr const char *table = "host_interface";
    template <class Row, class Visit> static void columns(Row &row, Visit &&visit)
    {
        visit("ifindex", row.ifindex);
        visit("kind", row.kind);
        visit("name", row.name);
        visit("number", row.number);
        visit("vlan", row.vlan);
        visit("parent", row.parent);
        visit("channel", row.channel);
        visit("pd_state", row.pd_state);
        visit("registered", row.registered);
        visit("mtu", row.mtu);
        visit("ipv4_ucst", row.ipv4_ucst);
        visit("ipv4_mcst", row.ipv4_mcst);
        visit("ipv4_same_if", row.ipv4_same_if);
        visit("v4_vpn", row.v4_vpn);
        visit("v6_vpn", row.v6_vpn);
        visit("nat_zone", row.nat_zone);
        visit("port_lid", row.port_lid);
        visit("kept_intf", row.kept_intf);
        visit("held_pc", row.held_pc);
        visit("held_lid", row.held_lid);
        visit("loopback", row.loopback);
    }
};

/* ---- The library ---- */

/* An interface's l3_pd; 65535 is none. */
struct ContextRow {
    uint32_t ifindex = 0;
    uint32_t intf_id = 0, old_intf_id = 0, lid_id = 0, pc_id = 0;
    static constexpr const char *table = "library_context";
    template <class Row, class Visit> static void columns(Row &row, Visit &&visit)
    {
        visit("ifindex", row.ifindex);
        visit("intf_id", row.intf_id);
        visit("old_intf_id", row.old_intf_id);
        visit("lid_id", row.lid_id);
        visit("pc_id", row.pc_id);
    }
};

/* An entry of the table of virtual MACs. */
struct FhrpRow {
    uint32_t ifindex = 0;
    Mac mac{};
    uint32_t mac_trap_id = 0;
    static constexpr const char *table = "library_virtual_mac";
    template <class Row, class Visit> static void columns(Row &row, Visit &&visit)
    {
        visit("ifindex", row.ifindex);
        visit("mac", row.mac);
        visit("mac_trap_id", row.mac_trap_id);
    }
};

/* The router MAC whose identifier the library gave to the host. None or one. */
struct OwnedRouterMac {
    uint32_t peer_mac_id = 0;
    static constexpr const char *table = "owned_router_mac";
    template <class Row, class Visit> static void columns(Row &row, Visit &&visit)
    {
        visit("peer_mac_id", row.peer_mac_id);
    }
};

/* ---- The ASIC ---- */

struct IntfRow {
    uint32_t intf_id = 0;
    uint32_t type = 0; /* SdkIntfType */
    uint32_t param1 = 0, param2 = 0, param3 = 0, param4 = 0, param5 = 0;
    Made made;
    static constexpr const char *table = "asic_interface";
    template <class Row, class Visit> static void columns(Row &row, Visit &&visit)
    {
        visit("intf_id", row.intf_id);
        visit("type", row.type);
        visit("param1", row.param1);
        visit("param2", row.param2);
        visit("param3", row.param3);
        visit("param4", row.param4);
        visit("param5", row.param5);
        visit("made", row.made);
    }
};

struct AttributeValueRow {
    uint32_t intf_id = 0, number = 0, value = 0;
    Made made;
    static constexpr const char *table = "asic_attribute";
    template <class Row, class Visit> static void columns(Row &row, Visit &&visit)
    {
        visit("intf_id", row.intf_id);
        visit("number", row.number);
        visit("value", row.value);
        visit("made", row.made);
    }
};

struct LidRow {
    uint32_t lid_id = 0, ifmap_idx = 0;
    Made made;
    static constexpr const char *table = "asic_lid";
    template <class Row, class Visit> static void columns(Row &row, Visit &&visit)
    {
        visit("lid_id", row.lid_id);
        visit("ifmap_idx", row.ifmap_idx);
        visit("made", row.made);
    }
};

struct LidPathRow {
    uint32_t lid_id = 0, position = 0; /* 0, 1, ... in the order added */
    uint32_t port_type = 0, front_port = 0, pc_id = 0;
    Made made;
    static constexpr const char *table = "asic_lid_path";
    template <class Row, class Visit> static void columns(Row &row, Visit &&visit)
    {
        visit("lid_id", row.lid_id);
        visit("position", row.position);
        visit("port_type", row.port_type);
        visit("front_port", row.front_port);
        visit("pc_id", row.pc_id);
        visit("made", row.made);
    }
};

struct PortChannelRow {
    uint32_t pc_id = 0;
    Made made;
    static constexpr const char *table = "asic_port_channel";
    template <class Row, class Visit> static void columns(Row &row, Visit &&visit)
    {
        visit("pc_id", row.pc_id);
        visit("made", row.made);
    }
};

struct MemberRow {
    uint32_t pc_id = 0, front_port = 0; /* front port 1..255 */
    Made made;
    static constexpr const char *table = "asic_member";
    template <class Row, class Visit> static void columns(Row &row, Visit &&visit)
    {
        visit("pc_id", row.pc_id);
        visit("front_port", row.front_port);
        visit("made", row.made);
    }
};

struct RouterMacRow {
    uint32_t peer_mac_id = 0;
    Mac mac{};
    Made made;
    static constexpr const char *table = "asic_router_mac";
    template <class Row, class Visit> static void columns(Row &row, Visit &&visit)
    {
        visit("peer_mac_id", row.peer_mac_id);
        visit("mac", row.mac);
        visit("made", row.made);
    }
};

struct TrapRow {
    uint32_t mac_trap_id = 0, intf_id = 0;
    Mac mac{};
    Made made;
    static constexpr const char *table = "asic_trap";
    template <class Row, class Visit> static void columns(Row &row, Visit &&visit)
    {
        visit("mac_trap_id", row.mac_trap_id);
        visit("intf_id", row.intf_id);
        visit("mac", row.mac);
        visit("made", row.made);
    }
};

/* An attribute write that waits for the flush. */
struct PendingRow {
    uint32_t position = 0; /* 0, 1, ... in the order queued */
    uint32_t intf_id = 0, number = 0, value = 0;
    Made made;
    static constexpr const char *table = "asic_pending";
    template <class Row, class Visit> static void columns(Row &row, Visit &&visit)
    {
        visit("position", row.position);
        visit("intf_id", row.intf_id);
        visit("number", row.number);
        visit("value", row.value);
        visit("made", row.made);
    }
};

/* How full one of the ASIC's tables is and has been. */
struct TableUseRow {
    std::string name, description; /* "intf", "interfaces" */
    uint32_t used = 0, high_water = 0, capacity = 0;
    static constexpr const char *table = "asic_table";
    template <class Row, class Visit> static void columns(Row &row, Visit &&visit)
    {
        visit("name", row.name);
        visit("description", row.description);
        visit("used", row.used);
        visit("high_water", row.high_water);
        visit("capacity", row.capacity);
    }
};

/* ---- The shared database: its rows of these names, each with who wrote it ---- */

struct DbPm {
    uint32_t kind = 0, ifindex = 0, ifmap_idx = 0;
    Made made;
    static constexpr const char *table = "pm_sdb";
    template <class Row, class Visit> static void columns(Row &row, Visit &&visit)
    {
        visit("kind", row.kind);
        visit("ifindex", row.ifindex);
        visit("ifmap_idx", row.ifmap_idx);
        visit("made", row.made);
    }
};

struct DbPc {
    uint32_t ifindex = 0, pc_id = 0;
    Made made;
    static constexpr const char *table = "pc_sdb";
    template <class Row, class Visit> static void columns(Row &row, Visit &&visit)
    {
        visit("ifindex", row.ifindex);
        visit("pc_id", row.pc_id);
        visit("made", row.made);
    }
};

struct DbL3lif {
    uint32_t ifindex = 0;
    std::string name;
    uint32_t mtu = 0, ipv4_ucst_en = 0, ipv4_mcst_en = 0, ipv4_same_if = 0;
    uint32_t v4_vpn_id = 0, v6_vpn_id = 0, nat_zone = 0;
    Made made;
    static constexpr const char *table = "l3lif_sdb";
    template <class Row, class Visit> static void columns(Row &row, Visit &&visit)
    {
        visit("ifindex", row.ifindex);
        visit("name", row.name);
        visit("mtu", row.mtu);
        visit("ipv4_ucst_en", row.ipv4_ucst_en);
        visit("ipv4_mcst_en", row.ipv4_mcst_en);
        visit("ipv4_same_if", row.ipv4_same_if);
        visit("v4_vpn_id", row.v4_vpn_id);
        visit("v6_vpn_id", row.v6_vpn_id);
        visit("nat_zone", row.nat_zone);
        visit("made", row.made);
    }
};

struct DbLabel {
    uint32_t ifindex = 0;
    bool enabled = false, svi = false;
    Made made;
    static constexpr const char *table = "label_sdb";
    template <class Row, class Visit> static void columns(Row &row, Visit &&visit)
    {
        visit("ifindex", row.ifindex);
        visit("enabled", row.enabled);
        visit("svi", row.svi);
        visit("made", row.made);
    }
};

struct DbMemberIntf {
    uint32_t ifindex = 0, intf_id = 0;
    Made made;
    static constexpr const char *table = "member_intf_sdb";
    template <class Row, class Visit> static void columns(Row &row, Visit &&visit)
    {
        visit("ifindex", row.ifindex);
        visit("intf_id", row.intf_id);
        visit("made", row.made);
    }
};

/* ---- What went wrong ---- */

/* Equal messages of the error store. */
struct ErrorRow {
    std::string function;
    uint32_t line = 0;
    std::string text;
    uint64_t count = 0, last_request = 0;
    static constexpr const char *table = "error";
    template <class Row, class Visit> static void columns(Row &row, Visit &&visit)
    {
        visit("function", row.function);
        visit("line", row.line);
        visit("text", row.text);
        visit("count", row.count);
        visit("last_request", row.last_request);
    }
};

/* A step that failed and whose object is still not as wanted. */
struct FailureRow {
    std::string object, message;
    static constexpr const char *table = "failure";
    template <class Row, class Visit> static void columns(Row &row, Visit &&visit)
    {
        visit("object", row.object);
        visit("message", row.message);
    }
};

/* ---- Meta ---- */

struct MetaRow {
    uint32_t word_size = 0; /* bits of the library that ran */
    std::string hostname;
    static constexpr const char *table = "meta";
    template <class Row, class Visit> static void columns(Row &row, Visit &&visit)
    {
        visit("word_size", row.word_size);
        visit("hostname", row.hostname);
    }
};

/* A configuration that was applied, in the order applied. */
struct FileRow {
    std::string file;
    static constexpr const char *table = "configuration_file";
    template <class Row, class Visit> static void columns(Row &row, Visit &&visit)
    {
        visit("file", row.file);
    }
};

/* A request that a row of the snapshot names. */
struct RequestRow {
    uint64_t number = 0;
    std::string entry;     /* "l3lifpd_kvn_add_l3port", or "host ..." */
    std::string arguments; /* "l3lif=Ethernet8 create=1" */
    std::string cause;     /* the configuration row or command behind it */
    static constexpr const char *table = "request";
    template <class Row, class Visit> static void columns(Row &row, Visit &&visit)
    {
        visit("number", row.number);
        visit("entry", row.entry);
        visit("arguments", row.arguments);
        visit("cause", row.cause);
    }
};

/* Rows are in the order of their identifiers or natural order of their names. */
struct Snapshot {
    MetaRow meta;
    std::vector<FileRow> files;
    std::vector<WantedPort> wanted_ports;
    std::vector<WantedInterface> wanted_interfaces;
    std::vector<WantedMember> wanted_members;
    std::vector<WantedVlan> wanted_vlans;
    std::vector<WantedVlanMember> wanted_vlan_members;
    std::vector<WantedVirtualMac> wanted_virtual_macs;
    std::vector<WantedRouterMac> wanted_router_mac;
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
    std::vector<TableUseRow> table_use;
    std::vector<DbPm> pm;
    std::vector<DbPc> pc;
    std::vector<DbL3lif> l3lif;
    std::vector<DbLabel> label;
    std::vector<DbMemberIntf> member_intf;
    std::vector<ErrorRow> errors;
    std::vector<FailureRow> failures;
    std::vector<RequestRow> requests; /* by number; filled in by capture and load */

    /* visit(rows) for each vector, in this order. */
    template <class Self, class Visit> static void tables(Self &self, Visit &&visit)
    {
        visit(self.files);
        visit(self.wanted_ports);
        visit(self.wanted_interfaces);
        visit(self.wanted_members);
        visit(self.wanted_vlans);
        visit(self.wanted_vlan_members);
        visit(self.wanted_virtual_macs);
        visit(self.wanted_router_mac);
        visit(self.vrfs);
        visit(self.host);
        visit(self.contexts);
        visit(self.virtual_macs);
        visit(self.owned_router_mac);
        visit(self.intfs);
        visit(self.attributes);
        visit(self.lids);
        visit(self.lid_paths);
        visit(self.port_channels);
        visit(self.members);
        visit(self.router_macs);
        visit(self.traps);
        visit(self.pending);
        visit(self.table_use);
        visit(self.pm);
        visit(self.pc);
        visit(self.l3lif);
        visit(self.label);
        visit(self.member_intf);
        visit(self.errors);
        visit(self.failures);
        visit(self.requests);
    }

    const RequestRow *request(uint64_t number) const; /* nullptr for an unknown one */
    /* "libsdk_intf_create in request 12 l3lifpd_kvn_add_l3port(l3lif=Ethernet8 create=1)" */
    std::string words(const Made &made) const;
};
bool operator==(const Snapshot &a, const Snapshot &b);
inline bool operator!=(const Snapshot &a, const Snapshot &b)
{
    return !(a == b);
}

/* Why a snapshot cannot be kept or fetched: "FILE: reason". */
class SnapshotError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/* The switch as it is now; files are the configurations applied. */
Snapshot capture(const Switch &of, const std::vector<std::string> &files = {});

/* Keep it in an SQLite file. The file appears whole or not at all: until it does, an older one
 * stays as it was. An existing file is replaced only when it holds a snapshot. */
void save(const Snapshot &snapshot, const std::string &path);
/* Throws now what save() would find wrong with the path, before work is spent. */
void check_can_save(const std::string &path);

/* Fetch what save() kept; equal to what was saved. */
Snapshot load(const std::string &path);

} // namespace kvnsim
