/*
 * The smallest forwarding manager: a registry of interfaces, the functions that the library
 * imports, and the order in which host and library create and delete interfaces.
 *
 * Functions that return int32_t return 0, or -1 when it could not be done; standard error says why.
 */
#ifndef HOST_H
#define HOST_H

#include <stdint.h>

#include <platform_api/l3lif.h>

#ifdef __cplusplus
extern "C" {
#endif

#define NONE 0xFFFFu /* no SDK interface, LID entry or port-channel */

enum kind { PORT = 1, PORT_CHANNEL = 2, SUB_INTERFACE = 3, SVI = 4 };

/* An interface: the library's record, which a host may extend at its end. */
struct interface {
    struct l3lif l3lif;
    struct l3lif_ip_cfg ip_cfg;
    struct l3lif_pc_membership membership;
    enum kind kind;
    char name[48];
    uint32_t number;          /* of the front-panel port (0-based) or port-channel; the VLAN */
    struct interface *parent; /* of a sub-interface */
    uint32_t users;           /* sub-interfaces and virtual MACs, which must go first */
    uint32_t lid_id;          /* a port's LID entry, made by the layer-2 side */
    uint32_t kept_intf;       /* the SDK interface that the library left with a port */
    uint32_t published_mtu;   /* in the shared database */
    struct interface *next;
};

/* ---- The registry (registry.c) ---- */

/* A new interface, registered under its ifindex; parent is a sub-interface's, else NULL. NULL when
 * there is one already or no memory. */
struct interface *add_interface(enum kind kind, uint32_t number, struct interface *parent);
/* The interface of that index, or NULL. */
struct interface *find_interface(uint32_t ifindex);
/* Free an interface that is in use nowhere, with what the library allocated for it. */
void remove_interface(struct interface *interface);

/* ---- Interfaces in the ASIC (interfaces.c) ---- */

/* The interface's SDK interface, or NONE. A member of a port-channel has the port-channel's. */
uint32_t intf_id_of(const struct interface *interface);

/* A port gets its LID entry from the layer-2 side, and gives it back. */
int32_t power_on(struct interface *port);
int32_t power_off(struct interface *port);

/* A port is routed, and no longer. */
int32_t route(struct interface *port);
int32_t stop_routing(struct interface *port);

/* A port joins a port-channel, which is made with its first member, and leaves it. */
int32_t join(struct interface *port, struct interface *port_channel);
int32_t leave(struct interface *port);

/* A sub-interface or SVI on the VLAN that is its number. */
int32_t create(struct interface *interface);
int32_t destroy(struct interface *interface);

int32_t set_mtu(struct interface *interface, uint16_t mtu);

/* A router MAC of the whole switch; *id is what it is removed by. */
int32_t add_router_mac(const uint8_t *mac, int32_t *id);
int32_t remove_router_mac(int32_t id);

/* A virtual MAC of one interface. */
int32_t add_virtual_mac(struct interface *interface, const uint8_t *mac);
int32_t remove_virtual_mac(struct interface *interface, const uint8_t *mac);

#ifdef __cplusplus
}
#endif

#endif
