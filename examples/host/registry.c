/* The interfaces of the switch, by their index: the kind in the upper bits, the number in the lower
 * ones. A host with thousands has a hash table here, as the library asks on every call. */
#include "host.h"

#include <stdio.h>
#include <stdlib.h>

#include <l3lifpd_kavelin.h>
#include <platform_api/if_index.h>

static struct interface *interfaces;

static const char *const names[] = {
    [PORT] = "Ethernet", [PORT_CHANNEL] = "PortChannel", [SUB_INTERFACE] = ".", [SVI] = "Vlan"};

static uint32_t ifindex_of(enum kind kind, uint32_t number, const struct interface *parent)
{
    uint32_t ifindex = (uint32_t)kind << 28 | number;
    if (parent != NULL)
        ifindex |= (uint32_t)parent->kind << 24 | parent->number << 12;
    return ifindex;
}

struct interface *add_interface(enum kind kind, uint32_t number, struct interface *parent)
{
    const uint32_t ifindex = ifindex_of(kind, number, parent);
    struct interface *added = find_interface(ifindex) == NULL ? calloc(1, sizeof *added) : NULL;
    if (added == NULL)
        return NULL;
    added->l3lif.ifindex = ifindex;
    added->l3lif.ip_cfg = &added->ip_cfg;
    added->ip_cfg.ipv4_ucst_en = 1;
    added->ip_cfg.mtu = 9100;
    if (kind == PORT_CHANNEL)
        added->l3lif.pc_membership = &added->membership;
    added->kind = kind;
    added->number = number;
    added->parent = parent;
    added->lid_id = NONE;
    added->kept_intf = NONE;
    snprintf(added->name, sizeof added->name, "%.20s%s%u", parent != NULL ? parent->name : "",
             names[kind], (unsigned)number);
    added->next = interfaces;
    interfaces = added;
    return added;
}

struct interface *find_interface(uint32_t ifindex)
{
    struct interface *each = interfaces;
    while (each != NULL && each->l3lif.ifindex != ifindex)
        each = each->next;
    return each;
}

void remove_interface(struct interface *interface)
{
    struct interface **link = &interfaces;
    while (*link != interface)
        link = &(*link)->next;
    *link = interface->next;
    /* The library's allocations are the host's to free, with the record. */
    if (interface->l3lif.pd_ctxt != NULL)
        free(interface->l3lif.pd_ctxt->l3_pd);
    free(interface->l3lif.pd_ctxt);
    free(interface);
}

/* ---- What the library asks about indexes ---- */

static struct interface *find_kind(uint32_t ifindex, enum kind kind)
{
    struct interface *found = find_interface(ifindex);
    return found != NULL && found->kind == kind ? found : NULL;
}

struct l3lif *l3lif_find_lif_from_ifindex(uint32_t ifindex)
{
    struct interface *found = find_interface(ifindex);
    return found != NULL ? &found->l3lif : NULL;
}

int32_t if_index_get_port(uint32_t ifindex, uint8_t *port)
{
    const struct interface *found = find_kind(ifindex, PORT);
    if (found == NULL)
        return -1;
    *port = (uint8_t)found->number;
    return 0;
}

/* Asked on every lookup: the index alone must be enough. */
int32_t if_index_is_eth_port_channel_intf(uint32_t ifindex)
{
    return ifindex >> 28 == PORT_CHANNEL;
}

int32_t if_index_eth_port_channel_get_channel_num(uint32_t ifindex, uint32_t *channel)
{
    const struct interface *found = find_kind(ifindex, PORT_CHANNEL);
    if (found == NULL)
        return -1;
    *channel = found->number;
    return 0;
}

int32_t if_index_is_physical_interface(uint32_t ifindex)
{
    return ifindex >> 28 == PORT;
}

uint32_t if_index_get_mainintf_from_subintf(uint32_t ifindex)
{
    const struct interface *found = find_kind(ifindex, SUB_INTERFACE);
    return found != NULL ? found->parent->l3lif.ifindex : 0;
}
