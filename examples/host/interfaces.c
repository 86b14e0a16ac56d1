/* Who does what in which order, so that library and ASIC agree: docs/library.md has the reasons.
 * The library rolls nothing back; what can be repeated or taken down after a failure is, here. */
#include <stdio.h>

#include <kvnsim/sdk.h>
#include <l3lifpd_kavelin.h>
#include <platform_api/fwm.h>

#include "host.h"

static int32_t failed(const char *what, const struct interface *interface)
{
    fprintf(stderr, "%s: cannot %s: %s\n", interface->name, what, kvnsim_sdk_last_refusal());
    return -1;
}

static int32_t not_now(const struct interface *interface, const char *why)
{
    fprintf(stderr, "%s: %s\n", interface->name, why);
    return -1;
}

uint32_t intf_id_of(const struct interface *interface)
{
    return l3lifpd_kvn_get_intf_id_for_ifindex(interface->l3lif.ifindex);
}

/* ---- Ports ---- */

int32_t power_on(struct interface *port)
{
    struct sdk_lid_path path = {0};
    uint32_t lid_id;
    path.port_type = KVNSIM_SDK_PORT_TYPE_FRONT_PANEL;
    path.front_port = (uint8_t)(port->number + 1);
    if (libsdk_lid_entry_create(0, &lid_id) != 0)
        return failed("get a LID entry", port);
    if (libsdk_lid_entry_path_add(0, lid_id, &path) != 0) {
        failed("get a path", port);
        libsdk_lid_entry_destroy(0, lid_id);
        return -1;
    }
    port->lid_id = lid_id;
    return 0;
}

/* The library does not destroy a port's SDK interface: the host does, before it is made again. */
static int32_t destroy_kept(struct interface *port)
{
    if (port->kept_intf == NONE)
        return 0;
    fwmpd_kavelin_batch_flush();
    if (libsdk_intf_destroy(0, port->kept_intf) != 0)
        return failed("destroy the kept SDK interface", port);
    port->kept_intf = NONE;
    return 0;
}

int32_t power_off(struct interface *port)
{
    if (intf_id_of(port) != NONE)
        return not_now(port, "is routed or a member");
    if (destroy_kept(port) != 0)
        return -1;
    if (port->lid_id != NONE && libsdk_lid_entry_destroy(0, port->lid_id) != 0)
        return failed("destroy the LID entry", port);
    port->lid_id = NONE;
    return 0;
}

int32_t route(struct interface *port)
{
    /* The library would take the port-channel's interface for the port's. */
    if (port->l3lif.main_l3lif != NULL)
        return not_now(port, "is a member of a port-channel");
    if (destroy_kept(port) != 0)
        return -1;
    return l3lifpd_kvn_add_l3port(&port->l3lif, 1) == 0 ? 0 : failed("be routed", port);
}

int32_t stop_routing(struct interface *port)
{
    if (port->users != 0)
        return not_now(port, "has sub-interfaces or virtual MACs");
    return l3lifpd_kvn_del_l3port(&port->l3lif) == 0 ? 0 : failed("stop routing", port);
}

/* ---- Port-channels ---- */

static void set_member(struct interface *port, struct interface *port_channel)
{
    port_channel->membership.member_count++;
    port->l3lif.main_l3lif = &port_channel->l3lif;
}

static void clear_member(struct interface *port, struct interface *port_channel)
{
    port_channel->membership.member_count--;
    port->l3lif.main_l3lif = NULL;
}

int32_t join(struct interface *port, struct interface *port_channel)
{
    const uint32_t channel = port_channel->l3lif.ifindex;
    const int32_t first = port_channel->membership.member_count == 0;
    int32_t result;
    if (port->l3lif.main_l3lif != NULL || intf_id_of(port) != NONE)
        return not_now(port, "is a member or routed");
    if (destroy_kept(port) != 0)
        return -1;
    set_member(port, port_channel);
    result = l3lifpd_kvn_add_l3pc(&port->l3lif, first);
    /* The port-channel is there, and only its member is missing: call again. */
    if (result != 0 && l3lifpd_kvn_get_pc_id_for_ifindex(channel) != NONE) {
        failed("join at once", port);
        result = l3lifpd_kvn_add_l3pc(&port->l3lif, first);
    }
    if (result != 0) {
        clear_member(port, port_channel);
        return failed("join", port);
    }
    l3lifpd_kvn_add_l3pc_member(channel, port->l3lif.ifindex);
    /* The result does not say whether the port-channel has got its SDK interface. */
    if (intf_id_of(port_channel) == NONE) {
        failed("be routed", port_channel);
        leave(port);
        return -1;
    }
    return 0;
}

int32_t leave(struct interface *port)
{
    struct interface *port_channel =
        port->l3lif.main_l3lif != NULL ? find_interface(port->l3lif.main_l3lif->ifindex) : NULL;
    int32_t last;
    if (port_channel == NULL)
        return not_now(port, "is no member");
    last = port_channel->membership.member_count == 1;
    if (last && port_channel->users != 0)
        return not_now(port_channel, "has sub-interfaces or virtual MACs");
    port_channel->membership.member_count--;
    if (l3lifpd_kvn_del_l3pc(&port->l3lif, last) != 0) {
        port_channel->membership.member_count++;
        return failed("leave", port);
    }
    l3lifpd_kvn_del_l3pc_member(port_channel->l3lif.ifindex, port->l3lif.ifindex);
    port->l3lif.main_l3lif = NULL; /* only now: the library looked the port-channel up by it */
    return 0;
}

/* ---- Sub-interfaces and SVIs ---- */

/* main_l3lif stays NULL: under a port-channel it would make the sub-interface a member. */
static int32_t create_sub_interface(struct interface *interface)
{
    const uint32_t parent = interface->parent->l3lif.ifindex;
    /* Without a LID of the parent the library aborts the process. */
    if (l3lifpd_kvn_get_lid_id_for_ifindex(parent) == NONE ||
        l3lifpd_kvn_get_intf_id_for_ifindex(parent) == NONE)
        return not_now(interface, "its parent is not routed");
    if (l3lifpd_kvn_add_subint(&interface->l3lif, interface->number, 1) != 0)
        return failed("be created", interface);
    interface->parent->users++;
    return 0;
}

int32_t create(struct interface *interface)
{
    if (intf_id_of(interface) != NONE)
        return 0;
    if (interface->kind == SUB_INTERFACE)
        return create_sub_interface(interface);
    return l3lifpd_kvn_add_svi(&interface->l3lif, interface->number) == 0
               ? 0
               : failed("be created", interface);
}

int32_t destroy(struct interface *interface)
{
    const int32_t is_sub_interface = interface->kind == SUB_INTERFACE;
    if (interface->users != 0)
        return not_now(interface, "has virtual MACs");
    if (intf_id_of(interface) == NONE)
        return 0;
    if ((is_sub_interface ? l3lifpd_kvn_del_subint : l3lifpd_kvn_del_svi)(&interface->l3lif) != 0)
        return failed("be destroyed", interface);
    if (is_sub_interface)
        interface->parent->users--;
    return 0;
}

/* The record has the new value first: the library publishes it as it is. */
int32_t set_mtu(struct interface *interface, uint16_t mtu)
{
    const uint16_t before = interface->ip_cfg.mtu;
    interface->ip_cfg.mtu = mtu;
    if (l3lifpd_kvn_set_l3_property(&interface->l3lif, L3LIF_PROP_MTU, mtu) == 0)
        return 0;
    interface->ip_cfg.mtu = before; /* the ASIC and the database have it still */
    return failed("have its MTU changed", interface);
}

/* ---- MACs ---- */

int32_t add_router_mac(const uint8_t *mac, int32_t *id)
{
    const uint32_t result = l3lifpd_kvn_rmac_add(mac);
    /* The identifier, the SDK's (negative) status or, for a MAC of zeros, 65535, in one word. */
    if ((int32_t)result < 0 || result == 65535) {
        fprintf(stderr, "router MAC: %s\n", kvnsim_sdk_last_refusal());
        return -1;
    }
    *id = (int32_t)result;
    return 0;
}

int32_t remove_router_mac(int32_t id)
{
    return l3lifpd_kvn_rmac_del(id) == 0 ? 0 : -1;
}

static uint32_t virtual_macs(void)
{
    return fhrp_mac_hash != NULL ? g_hash_table_size(fhrp_mac_hash) : 0;
}

/* The library returns 0 also when the SDK has refused the MAC: its table tells. */
int32_t add_virtual_mac(struct interface *interface, const uint8_t *mac)
{
    const uint32_t before = virtual_macs();
    if (l3lifpd_kvn_fhrp_mac_add(mac, interface->l3lif.ifindex) != 0 || virtual_macs() == before)
        return failed("get the virtual MAC", interface);
    interface->users++;
    return 0;
}

int32_t remove_virtual_mac(struct interface *interface, const uint8_t *mac)
{
    if (l3lifpd_kvn_fhrp_mac_del(mac, interface->l3lif.ifindex) != 0)
        return failed("lose the virtual MAC", interface);
    interface->users--;
    return 0;
}
