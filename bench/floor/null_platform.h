/*
 * The least platform that the library can run on: it answers every call at once, and notes nothing.
 */
#pragma once

#include "platform_api/l3lif.h"

/* Indexes of interfaces: the kind in the upper half, a number below 16 in the lower one. */
enum : uint32_t {
    null_platform_port = 0x10000,
    null_platform_channel = 0x20000,
    null_platform_svi = 0x30000,
    null_platform_sub_interface = 0x40000, /* of the port with the same number */
};

/* l3lif_find_lif_from_ifindex answers with it from now on. */
void null_platform_register(l3lif *lif);

/* All sinks of records are on, or off, as at first. */
void null_platform_sinks(bool on);
