/* The life of a small switch, from power-on until nothing is left. With --timeline each SDK call is
 * shown. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <kvnsim/sdk.h>

#include "host.h"

static int failures;

/* Tell what was done. Of what could not be done standard error has the reason. */
static void did(int32_t result, const char *name, const char *what)
{
    printf("%s: %s%s\n", name, result == 0 ? "" : "not ", what);
    failures += result != 0;
}

static struct interface *new_interface(enum kind kind, uint32_t number, struct interface *parent)
{
    struct interface *added = add_interface(kind, number, parent);
    if (added == NULL) {
        fputs("no memory\n", stderr);
        exit(EXIT_FAILURE);
    }
    return added;
}

int main(int argc, char **argv)
{
    static const uint8_t router_mac[] = {0x00, 0x00, 0x5e, 0x00, 0x53, 0x01};
    static const uint8_t virtual_mac[] = {0x00, 0x00, 0x5e, 0x00, 0x01, 0x0a};
    struct interface *ports[4], *channel, *sub, *svi;
    int32_t router_mac_id = 0;
    uint32_t i;

    if (argc > 1 && strcmp(argv[1], "--timeline") == 0)
        kvnsim_sdk_timeline(stdout);

    /* Interfaces are registered before the library hears of them. */
    for (i = 0; i < 4; ++i) {
        ports[i] = new_interface(PORT, i, NULL);
        did(power_on(ports[i]), ports[i]->name, "powered on");
    }
    channel = new_interface(PORT_CHANNEL, 1, NULL);
    sub = new_interface(SUB_INTERFACE, 100, channel);
    svi = new_interface(SVI, 10, NULL);

    did(route(ports[0]), ports[0]->name, "routed");
    did(route(ports[1]), ports[1]->name, "routed");

    /* A port-channel of two members. The ASIC does not answer when the second one joins. */
    did(join(ports[2], channel), ports[2]->name, "joined PortChannel1");
    kvnsim_sdk_fail("libsdk_portchannel_member_add:1=SDK_E_TIMEOUT");
    did(join(ports[3], channel), ports[3]->name, "joined PortChannel1");
    printf("calls made to fail: %u\n", (unsigned)kvnsim_sdk_injected(NULL));

    did(create(sub), sub->name, "created");
    did(create(svi), svi->name, "created");
    did(add_router_mac(router_mac, &router_mac_id), "switch", "router MAC added");
    did(add_virtual_mac(svi, virtual_mac), svi->name, "virtual MAC added");
    did(set_mtu(svi, 1500), svi->name, "MTU set to 1500");

    puts("The ASIC holds");
    kvnsim_sdk_leftovers(stdout);

    /* Down again: what refers to something goes before it. */
    did(remove_virtual_mac(svi, virtual_mac), svi->name, "virtual MAC removed");
    did(remove_router_mac(router_mac_id), "switch", "router MAC removed");
    did(destroy(svi), svi->name, "destroyed");
    did(destroy(sub), sub->name, "destroyed");
    did(leave(ports[3]), ports[3]->name, "left PortChannel1");
    did(leave(ports[2]), ports[2]->name, "left PortChannel1");
    did(stop_routing(ports[1]), ports[1]->name, "no longer routed");
    did(stop_routing(ports[0]), ports[0]->name, "no longer routed");
    for (i = 0; i < 4; ++i)
        did(power_off(ports[i]), ports[i]->name, "powered off");

    remove_interface(sub);
    remove_interface(svi);
    remove_interface(channel);
    for (i = 0; i < 4; ++i)
        remove_interface(ports[i]);

    if (kvnsim_sdk_leftovers(stdout) != 0)
        return EXIT_FAILURE;
    puts("nothing stayed");
    return failures == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
