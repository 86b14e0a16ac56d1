/* The test bench as a host in C uses it: with nothing but its header. */
#include <kvnsim/sdk.h>

#include "bench_in_c.h"

#include <stdarg.h>

static char text[4096];
static size_t length;

__attribute__((format(printf, 1, 2))) static void add(const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    const int added = vsnprintf(text + length, sizeof text - length, format, arguments);
    va_end(arguments);
    if (added > 0 && (size_t)added < sizeof text - length)
        length += (size_t)added;
}

static void add_mac(const uint8_t *mac)
{
    add("%02x%02x%02x%02x%02x%02x", mac[0], mac[1], mac[2], mac[3], mac[4], mac[5]);
}

static void add_holders(uint32_t kind, uint32_t id)
{
    struct kvnsim_sdk_holder holder = {0};
    while (kvnsim_sdk_next_holder(kind, id, &holder, sizeof holder))
        add(" <- %s %u", kvnsim_sdk_kind_name(holder.kind), holder.id);
    add("\n");
}

const char *walked_in_c(void)
{
    struct kvnsim_sdk_intf intf = {0};
    struct kvnsim_sdk_attribute attribute = {0};
    struct kvnsim_sdk_lid lid = {0};
    struct kvnsim_sdk_lid_path path = {0};
    struct kvnsim_sdk_port_channel port_channel = {0};
    struct kvnsim_sdk_member member = {0};
    struct kvnsim_sdk_router_mac router_mac = {0};
    struct kvnsim_sdk_trap trap = {0};
    struct kvnsim_sdk_pending_write write = {0};

    length = 0;
    text[0] = '\0';
    while (kvnsim_sdk_next_intf(&intf, sizeof intf)) {
        add("intf %u type %u of %u %u %u %u %u", intf.intf_id, intf.type, intf.param1, intf.param2,
            intf.param3, intf.param4, intf.param5);
        add_holders(KVNSIM_SDK_INTF, intf.intf_id);
    }
    while (kvnsim_sdk_next_attribute(&attribute, sizeof attribute))
        add("intf %u %s (%u) %u\n", attribute.intf_id, attribute.name, attribute.number,
            attribute.value);
    while (kvnsim_sdk_next_lid(&lid, sizeof lid)) {
        add("lid %u ifmap %u", lid.lid_id, lid.ifmap_idx);
        add_holders(KVNSIM_SDK_LID, lid.lid_id);
    }
    while (kvnsim_sdk_next_lid_path(&path, sizeof path))
        add("lid %u path %u type %u port %u pc %u\n", path.lid_id, path.number, path.port_type,
            path.front_port, path.pc_id);
    while (kvnsim_sdk_next_port_channel(&port_channel, sizeof port_channel)) {
        add("pc %u", port_channel.pc_id);
        add_holders(KVNSIM_SDK_PORT_CHANNEL, port_channel.pc_id);
    }
    while (kvnsim_sdk_next_member(&member, sizeof member))
        add("pc %u member %u\n", member.pc_id, member.front_port);
    while (kvnsim_sdk_next_router_mac(&router_mac, sizeof router_mac)) {
        add("rmac %u ", router_mac.peer_mac_id);
        add_mac(router_mac.mac);
        add_holders(KVNSIM_SDK_ROUTER_MAC, router_mac.peer_mac_id);
    }
    while (kvnsim_sdk_next_trap(&trap, sizeof trap)) {
        add("trap %u intf %u ", trap.mac_trap_id, trap.intf_id);
        add_mac(trap.mac);
        add_holders(KVNSIM_SDK_TRAP, trap.mac_trap_id);
    }
    while (kvnsim_sdk_next_pending_write(&write, sizeof write))
        add("write %u intf %u %s (%u) %u\n", write.position, write.intf_id, write.name,
            write.number, write.value);
    return text;
}

void destroyed_in_c(void)
{
    struct kvnsim_sdk_intf intf = {0};
    struct kvnsim_sdk_lid lid = {0};
    struct kvnsim_sdk_port_channel port_channel = {0};

    while (kvnsim_sdk_next_intf(&intf, sizeof intf))
        libsdk_intf_destroy(0, intf.intf_id);
    while (kvnsim_sdk_next_lid(&lid, sizeof lid))
        libsdk_lid_entry_destroy(0, lid.lid_id);
    while (kvnsim_sdk_next_port_channel(&port_channel, sizeof port_channel))
        libsdk_portchannel_destroy(0, port_channel.pc_id);
}
