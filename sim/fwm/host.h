#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "platform_api/fwm.h"
#include "platform_api/l3lif.h"
#include "platform_api/sse.h"
#include "sim/fwm/state_db.h"
#include "sim/sdk/asic.h"
#include "sim/sdk/table.h"
#include "sim/types/interface_kind.h"

/* The host (the forwarding manager): the interfaces of the switch and what its services know of
 * them. The C services (l3lif_*, fwmpd_*, if_index_*, sse_call2 ...) answer from Host::instance().
 */
namespace kvnsim {

/* Interface indexes of this host: the kind in the upper four bits, a number below.
 *   1  port          0-based front-panel port 0..254
 *   2  port-channel  channel number 0..9999
 *   3  SVI           VLAN 1..4094
 *   4  sub-interface a sequence number, the lowest free one */
constexpr uint32_t max_port = 254;
constexpr uint32_t max_channel = 9999;
constexpr uint32_t max_vlan = 4094;
/* A switch has at most as many sub-interfaces as its ASIC has interfaces. */
constexpr uint32_t max_sequence = 0xFFFF;
constexpr uint32_t ifindex_of(InterfaceKind kind, uint32_t number)
{
    return (static_cast<uint32_t>(kind) + 1) << 28 | number;
}
constexpr uint32_t port_ifindex(uint32_t port)
{
    return ifindex_of(InterfaceKind::port, port);
}

/* One interface of the switch. The base is the record passed to the library: ip_cfg points at
 * ip, and a port-channel's pc_membership at membership. Created and owned by Host, which alone
 * writes the base's pointers, parent, channel and the fields below the line; the caller sets the
 * rest before a request. */
struct HostInterface : public l3lif {
    HostInterface(InterfaceKind kind, std::string name, uint32_t number);
    ~HostInterface(); /* frees the library's context */
    HostInterface(const HostInterface &) = delete;
    HostInterface &operator=(const HostInterface &) = delete;

    const InterfaceKind kind;
    const std::string name; /* unique: "Ethernet0", "PortChannel0001", "Ethernet0.100", "Vlan100" */
    const uint32_t number;  /* what the ifindex holds below its kind */

    std::string alias;      /* of a port; the shell takes it for the name */
    l3lif_ip_cfg ip{};      /* wanted settings; ip.mtu is published */
    uint32_t v4_vpn_id = 0; /* VPN numbers and NAT zone to publish */
    uint32_t v6_vpn_id = 0;
    uint32_t nat_zone = 0;

    /* ---- written by Host ---- */
    uint32_t vlan = 0;                 /* of an SVI or sub-interface, else 0 */
    HostInterface *parent = nullptr;   /* of a sub-interface, else nullptr */
    HostInterface *channel = nullptr;  /* the port-channel that a port is a member of */
    l3lif_pc_membership membership{};  /* of a port-channel */
    uint32_t sub_interfaces = 0;       /* how many name this one as parent */
    bool registered = false;           /* the library finds it by its ifindex */
    std::optional<uint32_t> lid_id;    /* of a port: its layer-2 LID entry */
    std::optional<uint32_t> kept_intf; /* of a port: the SDK interface kept for membership */
    bool loopback = false;             /* of a port: internal loopback, by the port service */

    /* The library's context, nullptr without one, and its identifiers, no_id without one. */
    const struct l3_pd *context() const;
    /* The context, allocated as the library does it if there is none: all zero then. */
    struct l3_pd &make_context();
    uint32_t intf_id() const;
};

/* A copy of what the host knows of an interface. */
struct HostRow {
    uint32_t ifindex = 0;
    InterfaceKind kind = InterfaceKind::port;
    std::string name;
    uint32_t number = 0;             /* as in HostInterface */
    uint32_t vlan = 0;               /* of a sub-interface or SVI */
    std::optional<uint32_t> parent;  /* of a sub-interface: its ifindex */
    std::optional<uint32_t> channel; /* of a member port: its port-channel's ifindex */
    uint32_t pd_state = 0;           /* 0 never made, 3 created, 4 destroyed */
    bool registered = false;
    uint32_t mtu = 0; /* as passed to the library */
    bool ipv4_ucst = false, ipv4_mcst = false, ipv4_same_if = false;
    uint32_t v4_vpn = 0, v6_vpn = 0, nat_zone = 0;
    std::optional<uint32_t> port_lid;          /* a port's layer-2 LID entry */
    std::optional<uint32_t> kept_intf;         /* SDK interface kept for a port's membership */
    std::optional<uint32_t> held_pc, held_lid; /* port-channel held for the library to adopt */
    bool loopback = false;
    TABLE_ROW("host_interface", ifindex, kind, name, number, vlan, parent, channel, pd_state,
              registered, mtu, ipv4_ucst, ipv4_mcst, ipv4_same_if, v4_vpn, v6_vpn, nat_zone,
              port_lid, kept_intf, held_pc, held_lid, loopback)
};

/* A port-channel that the host created in the ASIC before the library knew it. */
struct HeldPortChannel {
    uint32_t pc_id, lid_id;
};

/* The host's rows, each table in its order. */
struct HostRows {
    const std::vector<HostRow> &interfaces;
    const std::vector<PmRow> &pm;
    const std::vector<PcRow> &pc;
    const std::vector<L3lifRow> &l3lif;
    const std::vector<LabelRow> &label;
    const std::vector<MemberIntfRow> &member_intf;
};

class Host {
public:
    static Host &instance() { return instance_; }

    /* ---- Interfaces. Names and numbers are unique: nullptr when taken or out of range. Once
     * added, an interface is known to the if_index_* services and keeps its place in memory. ----
     */
    HostInterface *add_port(const std::string &name, uint32_t port);
    HostInterface *add_port_channel(const std::string &name, uint32_t channel);
    HostInterface *add_svi(const std::string &name, uint32_t vlan);
    /* Sub-interface of a port or port-channel. main_l3lif is set to a port only: with a
     * port-channel, the library would take the sub-interface for a member. */
    HostInterface *add_sub_interface(const std::string &name, HostInterface &parent, uint32_t vlan);
    /* Unregister and delete it. false, and nothing done, while it has sub-interfaces or members or
     * is a member itself. ASIC objects are not changed. */
    bool remove(HostInterface &interface);

    /* Let the library find the l3lif. */
    void register_l3(HostInterface &interface);
    /* The interface is no longer an L3 interface: the library does not find it, its context is
     * freed (nobody else does), pd_state is 0, its rows in the shared database are removed, except
     * that of the kept SDK interface. */
    void unregister_l3(HostInterface &interface);

    HostInterface *find(uint32_t ifindex) const; /* registered or not; nullptr for an unknown one */
    HostInterface *find(uint32_t ifindex, InterfaceKind kind) const; /* nullptr for another kind */
    HostInterface *find(std::string_view name) const;
    /* All, in the order of their ifindexes' kinds and numbers. */
    std::vector<HostInterface *> interfaces() const;
    size_t size() const { return by_name_.size(); }
    HostRow row(const HostInterface &interface) const;

    /* Make a port a member of a port-channel (main_l3lif, member_count), and end its membership.
     * false, and nothing done, when it already is a member, is not one, or the kinds are wrong. */
    bool join(HostInterface &port, HostInterface &port_channel);
    bool leave(HostInterface &port);
    std::vector<HostInterface *> members(const HostInterface &port_channel) const;

    /* ---- What the host itself creates in the ASIC, through the SDK's calls: 0, or the status of
     * the refused call. Then nothing was created, or what could not be deleted still exists, so
     * that the deletion can be repeated. ---- */

    /* The layer-2 LID entry of a port, with its path; 0 when it exists. */
    int32_t make_port_lid(HostInterface &port);
    int32_t release_port_lid(HostInterface &port);
    /* Flush, and destroy the SDK interface kept for the port's membership; 0 without one. */
    int32_t release_kept_intf(HostInterface &port);
    /* Create port-channel, LID entry and path, for the library to adopt; 0 when already held. */
    int32_t hold_port_channel(HostInterface &port_channel);
    /* Destroy what hold_port_channel created, unless given over; 0 when not held. */
    int32_t release_held_port_channel(HostInterface &port_channel);
    /* Store a registered interface's wanted settings in the shared database. */
    int32_t publish_settings(HostInterface &interface);
    std::optional<HeldPortChannel> held_port_channel(uint32_t ifindex) const;

    StateDb &db() { return db_; }

    /* Clear interfaces with their contexts, held port-channels and database. The ASIC and the
     * diagnostics are not changed. */
    void reset();
    /* Become the host that these rows were taken from, without contexts. Throws BadRow, and changes
     * nothing, where they cannot be the rows of one. Whether the ASIC has what they name is not
     * checked. */
    void restore(const HostRows &rows);
    /* While work runs, the library finds an interface with an SDK interface under this ifindex,
     * whatever is really there. false, and nothing done, for an ifindex that no interface can have.
     */
    bool with_stand_in(uint32_t ifindex, const std::function<void()> &work);

    /* ---- What the C services do: 0; or an errno number when refused. Then nothing is done and the
     * journal has the reason. ---- */
    int32_t port_lid(uint32_t ifindex, uint32_t &lid_id) const;
    /* The SDK interface that serves an interface: its port-channel's for a member. */
    int32_t serving_intf(uint32_t ifindex, uint32_t &intf_id) const;
    int32_t keep_intf(uint32_t ifindex, uint32_t intf_id, int32_t flag);
    int32_t give_over_port_channel(uint32_t ifindex);
    int32_t publish(const l3lif *record);
    int32_t store_port_binding(const fwm_pm_sdb_key *key, const fwm_pm_sdb_data *data);
    int32_t store_pc_id(uint32_t ifindex, uint32_t pc_id);
    int32_t store_label(uint32_t ifindex, bool enable, bool svi);
    int32_t port_command(uint32_t call, const port_cmd_msg *message, uint32_t length);

private:
    Host() = default;
    ~Host() = default;
    Host &operator=(Host &&) = default; // NOLINT(readability-identifier-naming): the compiler's
    using Slot = std::unique_ptr<HostInterface>;

    std::vector<Slot> &table_of(InterfaceKind kind) { return tables_[static_cast<size_t>(kind)]; }
    const std::vector<Slot> &table_of(InterfaceKind kind) const
    {
        return tables_[static_cast<size_t>(kind)];
    }
    HostInterface *add(InterfaceKind kind, const std::string &name, uint32_t number);
    void restore(const HostRow &row, size_t number);
    void refer(const HostRow &row, size_t number);
    template <class Row> void restore_db(const std::vector<Row> &rows, InterfaceKind kind);

    static Host instance_;
    /* By kind, then number. A table grows as numbers are used. */
    std::vector<Slot> tables_[4];
    LowestFirst free_sequences_;
    std::unordered_map<std::string_view, HostInterface *> by_name_; /* keys lie in the records */
    /* A name is often looked up several times, then the next one. */
    mutable uint32_t last_found_ = 0;                    /* an ifindex */
    std::unordered_map<uint32_t, HeldPortChannel> held_; /* by ifindex */
    StateDb db_;
};

} // namespace kvnsim
