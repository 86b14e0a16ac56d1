/*
 * The interface-index utilities: what an interface index names.
 */
#ifndef IF_INDEX_H
#define IF_INDEX_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* 0-based front-panel port of a physical interface into *port; left as it is for an unknown index.
 * The result is not examined. */
int32_t if_index_get_port(uint32_t ifindex, uint8_t *port);

/* Non-zero for an Ethernet port-channel, else 0. */
int32_t if_index_is_eth_port_channel_intf(uint32_t ifindex);

/* Channel number of an Ethernet port-channel into *channel. The result is not examined. */
int32_t if_index_eth_port_channel_get_channel_num(uint32_t ifindex, uint32_t *channel);

/* Non-zero for a physical front-panel port, else 0. */
int32_t if_index_is_physical_interface(uint32_t ifindex);

/* Interface index of a sub-interface's parent. */
uint32_t if_index_get_mainintf_from_subintf(uint32_t ifindex);

#ifdef __cplusplus
}
#endif

#endif
