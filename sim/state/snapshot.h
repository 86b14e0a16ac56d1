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

/* Each row type says the name of its table and, once, its columns: visit("name", &Row::member) for
 * each in turn. Saving, loading, comparing and JSON are made from that alone; a table more is a
 * row type more and its vector in Snapshot. Columns are uint16_t, uint32_t, uint64_t, bool,
 * std::string, Mac, std::optional<uint32_t>, Place (five columns), Made (two) and std::string_view,
 * a word that lives as long as the process. */

/* ---- What is wanted. mtu in bytes; names as the configuration gives them. ---- */

struct WantedPort {
    std::string name;
    uint32_t mtu = 0;
    bool admin_up = false;
    std::string alias;
    SourceLocation location;
    static constexpr const char *table = "wanted_port";
    template <class Visit> static void columns(Visit &&visit)
    {
        visit("name", &WantedPort::name);
        visit("mtu", &WantedPort::mtu);
        visit("admin_up", &WantedPort::admin_up);
        visit("alias", &WantedPort::alias);
        visit("location", &WantedPort::location);
    }
};

/* A routed port, a port-channel, a sub-interface or an SVI. */
struct WantedInterface {
    std::string name;
    std::string_view kind; /* "port", "port-channel", "sub-interface", "SVI" */
    bool routed = true;    /* false: a port-channel of layer 2 */
    bool implied = false;  /* routed only as the parent of a sub-interface */
    bool admin_up = true;
    std::string parent;  /* of a sub-interface */
    uint32_t number = 0; /* channel number, or the VLAN of a sub-interface or SVI */
    uint32_t mtu = 0;
    bool ipv4 = false, ipv6 = false;
    std::string vrf;
    uint32_t vpn = 0; /* the VRF's number */
    uint32_t nat_zone = 0;
    std::string addresses; /* as written, a blank between two */
    SourceLocation location;
    static constexpr const char *table = "wanted_interface";
    template <class Visit> static void columns(Visit &&visit)
    {
        visit("name", &WantedInterface::name);
        visit("kind", &WantedInterface::kind);
        visit("routed", &WantedInterface::routed);
        visit("implied", &WantedInterface::implied);
        visit("admin_up", &WantedInterface::admin_up);
        visit("parent", &WantedInterface::parent);
        visit("number", &WantedInterface::number);
        visit("mtu", &WantedInterface::mtu);
        visit("ipv4", &WantedInterface::ipv4);
        visit("ipv6", &WantedInterface::ipv6);
        visit("vrf", &WantedInterface::vrf);
        visit("vpn", &WantedInterface::vpn);
        visit("nat_zone", &WantedInterface::nat_zone);
        visit("addresses", &WantedInterface::addresses);
        visit("location", &WantedInterface::location);
    }
};

struct WantedMember {
    std::string port_channel, port;
    bool declined = false; /* by the library, because the port is routed */
    SourceLocation location;
    static constexpr const char *table = "wanted_member";
    template <class Visit> static void columns(Visit &&visit)
    {
        visit("port_channel", &WantedMember::port_channel);
        visit("port", &WantedMember::port);
        visit("declined", &WantedMember::declined);
        visit("location", &WantedMember::location);
    }
};

struct WantedVlan {
    std::string name;
    uint32_t vlan = 0;
    SourceLocation location;
    static constexpr const char *table = "wanted_vlan";
    template <class Visit> static void columns(Visit &&visit)
    {
        visit("name", &WantedVlan::name);
        visit("vlan", &WantedVlan::vlan);
        visit("location", &WantedVlan::location);
    }
};

struct WantedVlanMember {
    std::string vlan, member; /* "Vlan100", a port or a port-channel */
    SourceLocation location;
    static constexpr const char *table = "wanted_vlan_member";
    template <class Visit> static void columns(Visit &&visit)
    {
        visit("vlan", &WantedVlanMember::vlan);
        visit("member", &WantedVlanMember::member);
        visit("location", &WantedVlanMember::location);
    }
};

struct WantedVirtualMac {
    std::string interface;
    Mac mac{};
    SourceLocation location;
    static constexpr const char *table = "wanted_virtual_mac";
    template <class Visit> static void columns(Visit &&visit)
    {
        visit("interface", &WantedVirtualMac::interface);
        visit("mac", &WantedVirtualMac::mac);
        visit("location", &WantedVirtualMac::location);
    }
};

/* None or one. */
struct WantedRouterMac {
    Mac mac{};
    SourceLocation location;
    static constexpr const char *table = "wanted_router_mac";
    template <class Visit> static void columns(Visit &&visit)
    {
        visit("mac", &WantedRouterMac::mac);
        visit("location", &WantedRouterMac::location);
    }
};

struct VrfNumber {
    std::string name;
    uint32_t vpn = 0;
    static constexpr const char *table = "vrf";
    template <class Visit> static void columns(Visit &&visit)
    {
        visit("name", &VrfNumber::name);
        visit("vpn", &VrfNumber::vpn);
    }
};

/* ---- The host ---- */

/* An interface as the forwarding manager knows it. */
struct HostRow {
    uint32_t ifindex = 0;
    std::string_view kind; /* as in WantedInterface */
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
    template <class Visit> static void columns(Visit &&visit)
    {
        visit("ifindex", &HostRow::ifindex);
        visit("kind", &HostRow::kind);
        visit("name", &HostRow::name);
        visit("number", &HostRow::number);
        visit("vlan", &HostRow::vlan);
        visit("parent", &HostRow::parent);
        visit("channel", &HostRow::channel);
        visit("pd_state", &HostRow::pd_state);
        visit("registered", &HostRow::registered);
        visit("mtu", &HostRow::mtu);
        visit("ipv4_ucst", &HostRow::ipv4_ucst);
        visit("ipv4_mcst", &HostRow::ipv4_mcst);
        visit("ipv4_same_if", &HostRow::ipv4_same_if);
        visit("v4_vpn", &HostRow::v4_vpn);
        visit("v6_vpn", &HostRow::v6_vpn);
        visit("nat_zone", &HostRow::nat_zone);
        visit("port_lid", &HostRow::port_lid);
        visit("kept_intf", &HostRow::kept_intf);
        visit("held_pc", &HostRow::held_pc);
        visit("held_lid", &HostRow::held_lid);
        visit("loopback", &HostRow::loopback);
    }
};

/* ---- The library ---- */

/* An interface's l3_pd; 65535 is none. */
struct ContextRow {
    uint32_t ifindex = 0;
    uint32_t intf_id = 0, old_intf_id = 0, lid_id = 0, pc_id = 0;
    static constexpr const char *table = "library_context";
    template <class Visit> static void columns(Visit &&visit)
    {
        visit("ifindex", &ContextRow::ifindex);
        visit("intf_id", &ContextRow::intf_id);
        visit("old_intf_id", &ContextRow::old_intf_id);
        visit("lid_id", &ContextRow::lid_id);
        visit("pc_id", &ContextRow::pc_id);
    }
};

/* An entry of the table of virtual MACs. */
struct FhrpRow {
    uint32_t ifindex = 0;
    Mac mac{};
    uint32_t mac_trap_id = 0;
    static constexpr const char *table = "library_virtual_mac";
    template <class Visit> static void columns(Visit &&visit)
    {
        visit("ifindex", &FhrpRow::ifindex);
        visit("mac", &FhrpRow::mac);
        visit("mac_trap_id", &FhrpRow::mac_trap_id);
    }
};

/* The router MAC whose identifier the library gave to the host. None or one. */
struct OwnedRouterMac {
    uint32_t peer_mac_id = 0;
    static constexpr const char *table = "owned_router_mac";
    template <class Visit> static void columns(Visit &&visit)
    {
        visit("peer_mac_id", &OwnedRouterMac::peer_mac_id);
    }
};

/* ---- The ASIC ---- */

struct IntfRow {
    uint32_t intf_id = 0;
    uint32_t type = 0; /* SdkIntfType */
    uint32_t param1 = 0, param2 = 0, param3 = 0, param4 = 0, param5 = 0;
    Made made;
    static constexpr const char *table = "asic_interface";
    template <class Visit> static void columns(Visit &&visit)
    {
        visit("intf_id", &IntfRow::intf_id);
        visit("type", &IntfRow::type);
        visit("param1", &IntfRow::param1);
        visit("param2", &IntfRow::param2);
        visit("param3", &IntfRow::param3);
        visit("param4", &IntfRow::param4);
        visit("param5", &IntfRow::param5);
        visit("made", &IntfRow::made);
    }
};

struct AttributeValueRow {
    uint32_t intf_id = 0, number = 0, value = 0;
    Made made;
    static constexpr const char *table = "asic_attribute";
    template <class Visit> static void columns(Visit &&visit)
    {
        visit("intf_id", &AttributeValueRow::intf_id);
        visit("number", &AttributeValueRow::number);
        visit("value", &AttributeValueRow::value);
        visit("made", &AttributeValueRow::made);
    }
};

struct LidRow {
    uint32_t lid_id = 0, ifmap_idx = 0;
    Made made;
    static constexpr const char *table = "asic_lid";
    template <class Visit> static void columns(Visit &&visit)
    {
        visit("lid_id", &LidRow::lid_id);
        visit("ifmap_idx", &LidRow::ifmap_idx);
        visit("made", &LidRow::made);
    }
};

struct LidPathRow {
    uint32_t lid_id = 0, position = 0; /* 0, 1, ... in the order added */
    uint32_t port_type = 0, front_port = 0, pc_id = 0;
    Made made;
    static constexpr const char *table = "asic_lid_path";
    template <class Visit> static void columns(Visit &&visit)
    {
        visit("lid_id", &LidPathRow::lid_id);
        visit("position", &LidPathRow::position);
        visit("port_type", &LidPathRow::port_type);
        visit("front_port", &LidPathRow::front_port);
        visit("pc_id", &LidPathRow::pc_id);
        visit("made", &LidPathRow::made);
    }
};

struct PortChannelRow {
    uint32_t pc_id = 0;
    Made made;
    static constexpr const char *table = "asic_port_channel";
    template <class Visit> static void columns(Visit &&visit)
    {
        visit("pc_id", &PortChannelRow::pc_id);
        visit("made", &PortChannelRow::made);
    }
};

struct MemberRow {
    uint32_t pc_id = 0, front_port = 0; /* front port 1..255 */
    Made made;
    static constexpr const char *table = "asic_member";
    template <class Visit> static void columns(Visit &&visit)
    {
        visit("pc_id", &MemberRow::pc_id);
        visit("front_port", &MemberRow::front_port);
        visit("made", &MemberRow::made);
    }
};

struct RouterMacRow {
    uint32_t peer_mac_id = 0;
    Mac mac{};
    Made made;
    static constexpr const char *table = "asic_router_mac";
    template <class Visit> static void columns(Visit &&visit)
    {
        visit("peer_mac_id", &RouterMacRow::peer_mac_id);
        visit("mac", &RouterMacRow::mac);
        visit("made", &RouterMacRow::made);
    }
};

struct TrapRow {
    uint32_t mac_trap_id = 0, intf_id = 0;
    Mac mac{};
    Made made;
    static constexpr const char *table = "asic_trap";
    template <class Visit> static void columns(Visit &&visit)
    {
        visit("mac_trap_id", &TrapRow::mac_trap_id);
        visit("intf_id", &TrapRow::intf_id);
        visit("mac", &TrapRow::mac);
        visit("made", &TrapRow::made);
    }
};

/* An attribute write that waits for the flush. */
struct PendingRow {
    uint32_t position = 0; /* 0, 1, ... in the order queued */
    uint32_t intf_id = 0, number = 0, value = 0;
    Made made;
    static constexpr const char *table = "asic_pending";
    template <class Visit> static void columns(Visit &&visit)
    {
        visit("position", &PendingRow::position);
        visit("intf_id", &PendingRow::intf_id);
        visit("number", &PendingRow::number);
        visit("value", &PendingRow::value);
        visit("made", &PendingRow::made);
    }
};

/* How full one of the ASIC's tables is and has been. */
struct TableUseRow {
    std::string name, description; /* "intf", "interfaces" */
    uint32_t used = 0, high_water = 0, capacity = 0;
    static constexpr const char *table = "asic_table";
    template <class Visit> static void columns(Visit &&visit)
    {
        visit("name", &TableUseRow::name);
        visit("description", &TableUseRow::description);
        visit("used", &TableUseRow::used);
        visit("high_water", &TableUseRow::high_water);
        visit("capacity", &TableUseRow::capacity);
    }
};

/* ---- The shared database: its rows of these names, each with who wrote it ---- */

struct DbPm {
    uint32_t kind = 0, ifindex = 0, ifmap_idx = 0;
    Made made;
    static constexpr const char *table = "pm_sdb";
    template <class Visit> static void columns(Visit &&visit)
    {
        visit("kind", &DbPm::kind);
        visit("ifindex", &DbPm::ifindex);
        visit("ifmap_idx", &DbPm::ifmap_idx);
        visit("made", &DbPm::made);
    }
};

struct DbPc {
    uint32_t ifindex = 0, pc_id = 0;
    Made made;
    static constexpr const char *table = "pc_sdb";
    template <class Visit> static void columns(Visit &&visit)
    {
        visit("ifindex", &DbPc::ifindex);
        visit("pc_id", &DbPc::pc_id);
        visit("made", &DbPc::made);
    }
};

struct DbL3lif {
    uint32_t ifindex = 0;
    std::string name;
    uint32_t mtu = 0, ipv4_ucst_en = 0, ipv4_mcst_en = 0, ipv4_same_if = 0;
    uint32_t v4_vpn_id = 0, v6_vpn_id = 0, nat_zone = 0;
    Made made;
    static constexpr const char *table = "l3lif_sdb";
    template <class Visit> static void columns(Visit &&visit)
    {
        visit("ifindex", &DbL3lif::ifindex);
        visit("name", &DbL3lif::name);
        visit("mtu", &DbL3lif::mtu);
        visit("ipv4_ucst_en", &DbL3lif::ipv4_ucst_en);
        visit("ipv4_mcst_en", &DbL3lif::ipv4_mcst_en);
        visit("ipv4_same_if", &DbL3lif::ipv4_same_if);
        visit("v4_vpn_id", &DbL3lif::v4_vpn_id);
        visit("v6_vpn_id", &DbL3lif::v6_vpn_id);
        visit("nat_zone", &DbL3lif::nat_zone);
        visit("made", &DbL3lif::made);
    }
};

struct DbLabel {
    uint32_t ifindex = 0;
    bool enabled = false, svi = false;
    Made made;
    static constexpr const char *table = "label_sdb";
    template <class Visit> static void columns(Visit &&visit)
    {
        visit("ifindex", &DbLabel::ifindex);
        visit("enabled", &DbLabel::enabled);
        visit("svi", &DbLabel::svi);
        visit("made", &DbLabel::made);
    }
};

struct DbMemberIntf {
    uint32_t ifindex = 0, intf_id = 0;
    Made made;
    static constexpr const char *table = "member_intf_sdb";
    template <class Visit> static void columns(Visit &&visit)
    {
        visit("ifindex", &DbMemberIntf::ifindex);
        visit("intf_id", &DbMemberIntf::intf_id);
        visit("made", &DbMemberIntf::made);
    }
};

/* ---- What went wrong ---- */

/* Equal messages of the error store. */
struct ErrorRow {
    std::string function; /* empty: the messages for which it had no room */
    uint32_t line = 0;
    std::string text;
    uint64_t count = 0, last_request = 0;
    static constexpr const char *table = "error";
    template <class Visit> static void columns(Visit &&visit)
    {
        visit("function", &ErrorRow::function);
        visit("line", &ErrorRow::line);
        visit("text", &ErrorRow::text);
        visit("count", &ErrorRow::count);
        visit("last_request", &ErrorRow::last_request);
    }
};

/* A step that failed and whose object is still not as wanted. */
struct FailureRow {
    std::string object, message;
    Made made; /* the request, and its call that failed first */
    static constexpr const char *table = "failure";
    template <class Visit> static void columns(Visit &&visit)
    {
        visit("object", &FailureRow::object);
        visit("message", &FailureRow::message);
        visit("made", &FailureRow::made);
    }
};

/* ---- Meta ---- */

struct MetaRow {
    uint32_t word_size = 0; /* bits of the library that ran */
    std::string hostname;
    bool interrupted = false; /* the last configuration was not applied to its end */
    static constexpr const char *table = "meta";
    template <class Visit> static void columns(Visit &&visit)
    {
        visit("word_size", &MetaRow::word_size);
        visit("hostname", &MetaRow::hostname);
        visit("interrupted", &MetaRow::interrupted);
    }
};

/* A configuration that was applied, in the order applied. */
struct FileRow {
    std::string file;
    static constexpr const char *table = "configuration_file";
    template <class Visit> static void columns(Visit &&visit) { visit("file", &FileRow::file); }
};

/* What the last configuration applied made the reader say, of rows that it left out above all. */
struct ReaderRow {
    std::string severity; /* "error", "warning", "note" */
    SourceLocation location;
    std::string message;
    static constexpr const char *table = "configuration_finding";
    template <class Visit> static void columns(Visit &&visit)
    {
        visit("severity", &ReaderRow::severity);
        visit("location", &ReaderRow::location);
        visit("message", &ReaderRow::message);
    }
};

/* A request that a row of the snapshot names. */
struct RequestRow {
    uint64_t number = 0;
    std::string entry;     /* "l3lifpd_kvn_add_l3port", or "host ..." */
    std::string arguments; /* "l3lif=Ethernet8 create=1" */
    std::string subject;   /* the interface concerned, by name; empty without one */
    std::string cause;     /* the configuration row or command behind it */
    static constexpr const char *table = "request";
    template <class Visit> static void columns(Visit &&visit)
    {
        visit("number", &RequestRow::number);
        visit("entry", &RequestRow::entry);
        visit("arguments", &RequestRow::arguments);
        visit("subject", &RequestRow::subject);
        visit("cause", &RequestRow::cause);
    }
};

/* Rows are in the order of their identifiers or natural order of their names. */
struct Snapshot {
    MetaRow meta;
    std::vector<FileRow> files;
    std::vector<ReaderRow> reader;
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

    /* visit(&Snapshot::rows) for each vector, in this order. */
    template <class Visit> static void tables(Visit &&visit)
    {
        visit(&Snapshot::files);
        visit(&Snapshot::reader);
        visit(&Snapshot::wanted_ports);
        visit(&Snapshot::wanted_interfaces);
        visit(&Snapshot::wanted_members);
        visit(&Snapshot::wanted_vlans);
        visit(&Snapshot::wanted_vlan_members);
        visit(&Snapshot::wanted_virtual_macs);
        visit(&Snapshot::wanted_router_mac);
        visit(&Snapshot::vrfs);
        visit(&Snapshot::host);
        visit(&Snapshot::contexts);
        visit(&Snapshot::virtual_macs);
        visit(&Snapshot::owned_router_mac);
        visit(&Snapshot::intfs);
        visit(&Snapshot::attributes);
        visit(&Snapshot::lids);
        visit(&Snapshot::lid_paths);
        visit(&Snapshot::port_channels);
        visit(&Snapshot::members);
        visit(&Snapshot::router_macs);
        visit(&Snapshot::traps);
        visit(&Snapshot::pending);
        visit(&Snapshot::table_use);
        visit(&Snapshot::pm);
        visit(&Snapshot::pc);
        visit(&Snapshot::l3lif);
        visit(&Snapshot::label);
        visit(&Snapshot::member_intf);
        visit(&Snapshot::errors);
        visit(&Snapshot::failures);
        visit(&Snapshot::requests);
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

/* The switch as it is now. files are the configurations applied; findings those of the last one,
 * and interrupted whether it was not applied to its end. */
Snapshot capture(const Switch &of, const std::vector<std::string> &files = {},
                 const std::vector<Finding> &findings = {}, bool interrupted = false);

/* Keep it in an SQLite file. The file appears whole or not at all: until it does, an older one
 * stays as it was. An existing file is replaced only when it holds a snapshot. */
void save(const Snapshot &snapshot, const std::string &path);
/* Throws now what save() would find wrong with the path, before work is spent. */
void check_can_save(const std::string &path);

/* Fetch what save() kept; equal to what was saved. */
Snapshot load(const std::string &path);

} // namespace kvnsim
