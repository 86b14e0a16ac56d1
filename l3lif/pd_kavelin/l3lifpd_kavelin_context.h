/*
 * What the library's modules share about an interface: which context answers for it, and the value
 * that stands for "none".
 */
#ifndef L3LIFPD_KAVELIN_CONTEXT_H
#define L3LIFPD_KAVELIN_CONTEXT_H

#include <stddef.h>

#include "l3lifpd_kavelin.h"
#include "platform_api/if_index.h"
#include "platform_api/l3lif.h"

/* No intf_id, lid_id or pc_id; 0xFFFF in 32-bit fields too. */
enum : uint32_t { L3LIFPD_NO_ID = 0xFFFF };

/* The SDK device instance: this switch has one. */
enum : int32_t { L3LIFPD_DEV_INST = 0 };

/* Types of libsdk_intf_create. */
enum : uint32_t {
    L3LIFPD_SDK_INTF_ROUTED = 1,
    L3LIFPD_SDK_INTF_SUBINT = 2,
    L3LIFPD_SDK_INTF_SVI = 3
};

/* What the library writes into an l3lif's pd_state. */
enum : uint32_t { L3LIFPD_STATE_CREATED = 3, L3LIFPD_STATE_DESTROYED = 4 };

static_assert(sizeof(l3_pd) == 36, "l3_pd");
static_assert(offsetof(l3_pd, intf_id) == 4, "l3_pd");
static_assert(offsetof(l3_pd, old_intf_id) == 6, "l3_pd");
static_assert(offsetof(l3_pd, lid_id) == 24, "l3_pd");
static_assert(offsetof(l3_pd, pc_id) == 28, "l3_pd");
static_assert(sizeof(l3pd_holder) == 2 * sizeof(void *), "l3pd_holder");
static_assert(offsetof(l3lif, ifindex) == 0, "l3lif");
static_assert(offsetof(l3lif, main_l3lif) == offsetof(l3lif, pc_membership) + sizeof(void *) &&
                  offsetof(l3lif, ip_cfg) == offsetof(l3lif, main_l3lif) + sizeof(void *) &&
                  offsetof(l3lif, pd_ctxt) == offsetof(l3lif, ip_cfg) + sizeof(void *),
              "l3lif: the four pointers follow one another");
static_assert(offsetof(l3lif_pc_membership, member_count) == 8, "l3lif_pc_membership");
static_assert(offsetof(l3lif_ip_cfg, mtu) == 8 && offsetof(l3lif_ip_cfg, ipv4_same_if) == 12,
              "l3lif_ip_cfg");

/* Whether the interface belongs to a port-channel, whose context then serves it. */
inline bool l3lifpd_is_pc_member(const l3lif *l3lif)
{
    return l3lif->main_l3lif != nullptr &&
           if_index_is_eth_port_channel_intf(l3lif->main_l3lif->ifindex) != 0;
}

/* The interface's 1-based front-panel port, in 8-bit arithmetic. *port keeps the 0-based one; it
 * is not preset, so an unknown ifindex gives what if_index_get_port left there. */
inline uint8_t l3lifpd_front_port(uint32_t ifindex, uint8_t *port)
{
    if_index_get_port(ifindex, port);
    return (uint8_t)(*port + 1);
}

#endif
