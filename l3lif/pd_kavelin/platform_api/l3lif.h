/*
 * The platform-independent L3 interface layer: its record of one L3 interface and its services.
 */
#ifndef L3LIF_H
#define L3LIF_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

struct l3_pd;
struct l3pd_holder;

/* Membership record of a port-channel. */
struct l3lif_pc_membership {
    uint32_t word0, word1; /* not read by the library */
    uint32_t member_count; /* ports that are members */
};

/* IP configuration of an interface. */
struct l3lif_ip_cfg {
    uint32_t ipv4_ucst_en; /* non-zero: IPv4 unicast routing is configured */
    uint32_t ipv4_mcst_en; /* non-zero: IPv4 multicast routing is configured */
    uint16_t mtu;          /* bytes, 0 = not configured */
    uint32_t ipv4_same_if; /* non-zero: passed on as same-interface property 1, else 0 */
};

/* One L3 interface. Zero-initialise it; a host may extend it at its end. Everything it points at
 * belongs to the host, but for pd_ctxt, which the library allocates and the host frees with the
 * record. */
struct l3lif {
    uint32_t ifindex;                          /* names the interface throughout the switch */
    uint32_t pd_state;                         /* written by the library: 3 created, 4 destroyed */
    struct l3lif_pc_membership *pc_membership; /* of a port-channel; must be there to build it */
    struct l3lif *main_l3lif;                  /* parent or port-channel, NULL without one */
    struct l3lif_ip_cfg *ip_cfg;               /* NULL without one */
    struct l3pd_holder *pd_ctxt;               /* the library's context, NULL until it is made */
};

/* Interface-info record. */
struct iif_info {
    uint8_t opaque0[24];
    uint32_t intf_id; /* the SDK interface */
    uint8_t opaque28[100];
};

/* The record registered under the interface index, or NULL. */
struct l3lif *l3lif_find_lif_from_ifindex(uint32_t ifindex);

/* Write the record as it stands to the shared database. The result is not examined. */
int32_t l3lif_update_sdb_for_intf(struct l3lif *l3lif);

/* Fill *iif_info for the interface. 0 filled, non-zero there is none. */
int32_t l3lif_get_iif_for_ifindex_new(uint32_t ifindex, struct iif_info *iif_info);

/* The interface's l3_pd through pd_ctxt and its holder, NULL when either is missing. */
struct l3_pd *L3LIFPD_GET_PD_CTXT(const struct l3lif *l3lif);

#ifdef __cplusplus
}
#endif

#endif
