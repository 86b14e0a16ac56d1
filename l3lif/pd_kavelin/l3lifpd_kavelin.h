/*
 * Platform-dependent layer-3 logical-interface library of the switch's forwarding manager.
 *
 * The forwarding manager calls these functions when a routed port, port-channel, sub-interface or
 * SVI comes or goes, an L3 property changes, or a router or virtual MAC is added or removed. Each
 * runs to completion on the caller's thread and programs the ASIC through its SDK. There are no
 * locks: calls must not overlap.
 *
 * Every l3lif record stays the forwarding manager's and must be registered under its ifindex
 * (l3lif_find_lif_from_ifindex) before it is handed in. Nothing is rolled back: what a failing call
 * made before it failed stays. Every failure and every step worth following is traced.
 *
 * A pointer that is said to be not NULL is read as it comes: NULL crashes the call. For the others
 * the result of NULL is given.
 *
 * Interface indexes are 32-bit. 0xFFFF stands for "none" in intf_id, lid_id and pc_id alike, also
 * where the field is 32 bits wide.
 */
#ifndef L3LIFPD_KAVELIN_H
#define L3LIFPD_KAVELIN_H

#include <glib.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#if defined(__GNUC__)
#pragma GCC visibility push(default)
#endif

struct l3lif;

/* The library's context of one interface, allocated by the library, kept until the l3lif goes. */
struct l3_pd {
    uint32_t word0;       /* not used by the library */
    uint16_t intf_id;     /* SDK interface */
    uint16_t old_intf_id; /* SDK interface that the last destruction released */
    uint8_t spare[16];    /* not used by the library */
    uint32_t lid_id;      /* SDK LID entry that the interface is bound to */
    uint32_t pc_id;       /* SDK port-channel */
    uint32_t last_word;   /* not used by the library */
};

/* Hangs the l3_pd on the l3lif's pd_ctxt; l3_pd is NULL when its allocation failed. */
struct l3pd_holder {
    uint32_t holder_word; /* 0, not used by the library */
    struct l3_pd *l3_pd;
};

/* L3 properties; the numbers are shared with the forwarding manager. "Stored" properties are
 * pushed to the shared database once written. */
enum l3lif_prop_type {
    L3LIF_PROP_IPV4_UCST_EN = 1,       /* 1 enables IPv4 unicast routing, 0 disables it */
    L3LIF_PROP_IPV4_MCST_EN = 2,       /* 1 enables IPv4 multicast routing, 0 disables it */
    L3LIF_PROP_IPV4_VPN = 3,           /* IPv4 VPN number; stored */
    L3LIF_PROP_IPV4_RPF_MODE = 4,      /* IPv4 reverse-path check, the SDK's mode code */
    L3LIF_PROP_IPV4_SAME_IF_CHECK = 5, /* 0 turns the hardware check on, all else turns it off */
    L3LIF_PROP_IPV6_UCST_EN = 6,       /* 1 enables IPv6 unicast routing, 0 disables it */
    L3LIF_PROP_IPV6_MCST_EN = 7,       /* 1 enables IPv6 multicast routing, 0 disables it */
    L3LIF_PROP_IPV6_SAME_IF_CHECK = 8, /* as type 5, for IPv6 */
    L3LIF_PROP_IPV6_VPN = 9,           /* IPv6 VPN number */
    L3LIF_PROP_ACL_BD_LABEL = 10,      /* ACL bridge-domain label */
    L3LIF_PROP_QOS_LABEL = 11,         /* QoS label; traced only, never programmed */
    L3LIF_PROP_MTU = 12,               /* MTU in bytes; stored */
    L3LIF_PROP_VLAN_TABLE_MISS = 13,   /* action for a VLAN-table miss, the SDK's code */
    L3LIF_PROP_DF_MASK_SET = 14,       /* bits to set in the DF mask */
    L3LIF_PROP_DF_MASK_CLEAR = 15,     /* bits to clear in the DF mask */
    L3LIF_PROP_IF_NAT = 17,            /* NAT setting; stored, not programmed */
    L3LIF_PROP_IGMP_SNOOP_LABEL = 19   /* IGMP snooping label */
};

/* ---- Lookups: an interface whose main_l3lif is a port-channel answers with the port-channel's
 * context, any other with its own. ---- */

/*
 * 1-based front-panel port of a physical interface, in 8-bit arithmetic (255 gives 0). An unknown
 * ifindex gives an arbitrary value.
 */
uint32_t l3lifpd_kvn_ifindex_to_port(uint32_t ifindex);

/* 1 if the interface's main_l3lif is a port-channel, else 0; 0 for NULL. */
uint32_t l3lifpd_kvn_is_lif_pc_member(const struct l3lif *l3lif);

/* The same for a registered ifindex; 0 for an unknown one. */
uint32_t l3lifpd_kvn_is_ifindex_pc_member(uint32_t ifindex);

/*
 * pc_id, lid_id and intf_id of the interface's context.
 *
 * Returns the identifier (0xFFFF too, when the context holds that)
 *         0xFFFF  the interface is not registered, or has no context
 */
uint32_t l3lifpd_kvn_get_pc_id_for_ifindex(uint32_t ifindex);
uint32_t l3lifpd_kvn_get_lid_id_for_ifindex(uint32_t ifindex);
uint32_t l3lifpd_kvn_get_intf_id_for_ifindex(uint32_t ifindex);

/* ---- Context and dump ---- */

/*
 * Make the interface's l3_pd, or find it made.
 *
 * l3lif      the interface, not NULL; its pd_ctxt is filled here
 * overwrite  non-zero sets intf_id, lid_id and pc_id to 0xFFFF, also in a record that exists;
 *            with 0 a new record starts with the three at 0 and an old one is left alone
 * Returns 0   the l3_pd is there
 *         -1  no memory, or the accessor gives no record
 */
int32_t l3lifpd_kvn_l3pd_init(struct l3lif *l3lif, int32_t overwrite);

/*
 * Write one line with the interface's identifiers.
 *
 * cli_ctx  the command's output for cmd_prt, or NULL to trace the line at debug level
 * prefix   text at the start of the line, NUL-terminated, not NULL
 * l3lif    the interface, not NULL
 * Returns 0, always. The line stays in l3lifpd_dump_one_line, cut to 254 characters.
 */
uint32_t l3lifpd_kvn_dump_l3lif(void *cli_ctx, const char *prefix, struct l3lif *l3lif);

/* Write the 6 bytes of mac as "0011.2233.4455" into buf, of 20 bytes at least; neither is NULL.
 * Returns buf. */
char *l3lifpd_dump_format_mac_bytes(const uint8_t *mac, char *buf);

/* ---- Interfaces ---- */

/*
 * Create the SDK interface of a routed physical port or port-channel.
 *
 * l3lif   the interface. A port-channel's l3_pd must exist already and hold its pc_id and lid_id;
 *         l3lifpd_kvn_alloc_l3pc_add sees to that
 * create  only traced
 * Returns 0     created, or already there (no SDK call is made then)
 *         -1    l3lif is NULL, the port has no layer-2 LID, its database binding failed, or the SDK
 *               refused the interface or its LID
 *         rc    the SDK's status when it refused the security-group tag
 *         rc    of l3lifpd_kvn_l3pd_init when the context cannot be made
 *         A failure after the SDK interface was made leaves it there, unrecorded.
 */
int32_t l3lifpd_kvn_add_l3port(struct l3lif *l3lif, int32_t create);

/*
 * Destroy the SDK interface of any kind of L3 interface and clear its l3_pd (to 0xFFFF). A physical
 * port's SDK interface is not destroyed but handed to fwmpd_pc_member_intf_store.
 *
 * Returns 0   destroyed, or there was none
 *         -1  l3lif is NULL, it has no context of its own, or the SDK refused (the l3_pd is
 *             unchanged then)
 */
int32_t l3lifpd_kvn_destroy_l3_intf(struct l3lif *l3lif);

/* The delete events: trace, then l3lifpd_kvn_destroy_l3_intf, whose result they return. */
int32_t l3lifpd_kvn_del_l3port(struct l3lif *l3lif);
int32_t l3lifpd_kvn_del_svi(struct l3lif *l3lif);
int32_t l3lifpd_kvn_del_subint(struct l3lif *l3lif); /* l3lif is not NULL */

/* Tunnels are not programmed by this platform: both return 0 and do nothing. */
int32_t l3lifpd_kvn_add_l3tun(struct l3lif *l3lif, int32_t create);
int32_t l3lifpd_kvn_del_l3tun(struct l3lif *l3lif);

/*
 * Create the SDK interface of a sub-interface. Aborts the process when the parent has no LID: the
 * parent must have been created first.
 *
 * l3lif       the sub-interface; if_index_get_mainintf_from_subintf must know its parent
 * encap_vlan  VLAN that selects the sub-interface on its parent, host order; not checked here
 * create      only traced
 * Returns 0   created, or already there (no SDK call is made then)
 *         -1  l3lif is NULL, or the SDK refused the interface or its LID
 *         rc  of l3lifpd_kvn_l3pd_init when the context cannot be made; the SDK interface stays
 */
int32_t l3lifpd_kvn_add_subint(struct l3lif *l3lif, uint32_t encap_vlan, int32_t create);

/*
 * Create the SDK interface of a switched virtual interface. Leaves pd_state alone.
 *
 * l3lif       the SVI
 * encap_vlan  VLAN of the SVI, host order; not checked here
 * Returns 0   created, or already there (no SDK call is made then)
 *         -1  l3lif is NULL, or the SDK refused the interface
 *         rc  of l3lifpd_kvn_l3pd_init when the context cannot be made; the SDK interface stays
 */
int32_t l3lifpd_kvn_add_svi(struct l3lif *l3lif, uint32_t encap_vlan);

/* ---- Properties ---- */

/*
 * Write one property into the ASIC and, for a stored property, push the l3lif record to the shared
 * database. The record must hold the new value already.
 *
 * prop_type  enum l3lif_prop_type; unknown types are traced and succeed
 * Returns 0   written, or the interface has no SDK interface (traced as an error)
 *         -1  l3lif is NULL
 *         rc  the SDK's status when it refused; the database is not touched then
 */
int32_t l3lifpd_kvn_set_l3_property(struct l3lif *l3lif, int32_t prop_type, uint32_t value);

/*
 * Give a new interface its defaults: IPv4 unicast and multicast where ip_cfg asks for them, the
 * MTU (1500 if unset) and the IPv4 same-interface property. The interface is not NULL and must have
 * its intf_id.
 *
 * Returns 0, always.
 */
int32_t l3lifpd_kvn_init_l3_properties(struct l3lif *l3lif);

/* Place of a batched property change: does nothing and returns 0. */
int32_t l3lifpd_process_kvn_l3_prop_batch(void);

/*
 * Write one property of an SDK interface.
 *
 * intf_id    a valid SDK interface; not checked here
 * prop_type  enum l3lif_prop_type
 * Returns 0   written, or nothing to write (QoS label, NAT setting, unknown type)
 *         rc  the SDK's status when it refused
 */
int32_t l3lifpd_kvn_set_single_l3_property(uint32_t intf_id, uint32_t prop_type, uint32_t value);

/*
 * Put a physical port into internal loopback for NAT (enable non-zero), or take it out. The
 * attributes are written in a batch that the caller flushes.
 *
 * Returns 0   done; failures of single steps are only traced
 *         -1  the interface has no interface info; nothing was done
 */
int32_t l3lifpd_kvn_loopback_enable(uint32_t ifindex, int32_t enable);

/* ---- Port-channels ---- */

/*
 * Make a routed port-channel in the ASIC: SDK port-channel and LID entry (or those that the
 * forwarding manager holds already) and the SDK interface.
 *
 * l3lif   the port-channel; its pc_membership is not NULL, and member_count there must be 1
 * create  passed on to l3lifpd_kvn_add_l3port
 * Returns 0   made, or already there; also when the shared database or the SDK interface failed
 *         -1  l3lif is NULL, member_count is not 1, or the SDK refused the port-channel or the
 *             LID entry
 *         rc  of l3lifpd_kvn_l3pd_init when the context cannot be made
 */
int32_t l3lifpd_kvn_alloc_l3pc_add(struct l3lif *l3lif, int32_t create);

/*
 * A port joins a routed port-channel.
 *
 * l3lif   the member port; its main_l3lif is the port-channel
 * create  non-zero for the first member: the port-channel is made first. With 0 it must exist
 * Returns 0   joined, or the port is a routed interface of its own (nothing is done then)
 *         -1  l3lif or its main_l3lif is NULL, the port-channel cannot be made, or the SDK refused
 *             the member
 */
int32_t l3lifpd_kvn_add_l3pc(struct l3lif *l3lif, int32_t create);

/* Member events without a programming of their own: trace ifindex, return 0; first is not read. */
int32_t l3lifpd_kvn_add_l3pc_member(uint32_t first, uint32_t ifindex);
int32_t l3lifpd_kvn_del_l3pc_member(uint32_t first, uint32_t ifindex);

/* Hooks for the supported-port masks, called by the library itself: do nothing and return 0. flag
 * is 1 when a member joined and 0 when it left. */
int32_t l3lifpd_kvn_port_SupPortMask_set(struct l3lif *l3lif);
int32_t l3lifpd_kvn_pc_SupPortMask_set(struct l3lif *l3lif, struct l3lif *main_l3lif, int32_t flag);

/*
 * A port leaves a routed port-channel, whose l3_pd must exist.
 *
 * l3lif    the member port; its main_l3lif is the port-channel
 * destroy  non-zero with the last member: LID entry, SDK interface and SDK port-channel go too
 * Returns 0   done
 *         -1  l3lif or its main_l3lif is NULL, the port is a routed interface of its own, or the
 *             SDK refused a step; the later steps are not attempted
 */
int32_t l3lifpd_kvn_del_l3pc(struct l3lif *l3lif, int32_t destroy);

/* ---- Router and virtual MACs: 6 bytes in transmission order, never NULL ---- */

/*
 * Make the MAC a router MAC of the whole switch; the rmac functions are the same under another
 * name.
 *
 * Returns the peer_mac_id to hand to the delete function
 *         the SDK's status when it refused; the caller must tell the two apart
 *         65535  the MAC is all zero
 */
uint32_t l3lifpd_kvn_peer_mac_add(const uint8_t *mac);
uint32_t l3lifpd_kvn_rmac_add(const uint8_t *mac);

/* Remove a router MAC. Returns 0, or the SDK's status when it refused. */
int32_t l3lifpd_kvn_peer_mac_del(int32_t peer_mac_id);
int32_t l3lifpd_kvn_rmac_del(int32_t peer_mac_id);

/*
 * Make the MAC a virtual MAC of one interface, which must have its SDK interface.
 *
 * Returns 0   added, already there, or the SDK refused the trap (nothing is stored then)
 *         -1  the interface has no SDK interface, or the table has no memory (the trap stays)
 */
int32_t l3lifpd_kvn_fhrp_mac_add(const uint8_t *mac, uint32_t ifindex);

/*
 * Remove a virtual MAC of one interface.
 *
 * Returns 0   removed
 *         -1  it was never added, or the SDK refused (the entry stays, the call can be repeated)
 */
int32_t l3lifpd_kvn_fhrp_mac_del(const uint8_t *mac, uint32_t ifindex);

/* ---- Data objects, zero when the library is loaded ---- */

/* Virtual MACs by interface and MAC; NULL until the first one is added. */
extern GHashTable *fhrp_mac_hash;

/* The last line written by l3lifpd_kvn_dump_l3lif. */
extern char l3lifpd_dump_one_line[256];

/* Defined for the forwarding manager; the library does not use them. */
extern uint8_t g_pm_store[260];
extern uint8_t g_pc_store[260];
extern uint8_t l3lif_bd_idx_list[4096];
extern uint8_t assoc_mgr_sdb_uri[256];
extern uint32_t ddb_mtsops_ix_t;
extern uint32_t fwm_fwim_lc_tree;
extern uint32_t fwm_fwim_pc_hash_select_t;
extern uint32_t fwm_l2mp_non_vpc_edge_port_list;
extern uint32_t fwm_ethernet_end_host_mode_enabled;
extern uint32_t eem_lib_map_hash_to_string;
extern uint32_t fwm_fwim_pvlan_mode_t;

#if defined(__GNUC__)
#pragma GCC visibility pop
#endif

#ifdef __cplusplus
}
#endif

#endif
