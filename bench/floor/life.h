/*
 * Every entry point once, on its main path, in an order in which each finds what it needs:
 * interfaces with an IPv4 address come, change and go. The straight lines are written for exactly
 * these calls.
 */
#pragma once

#include <string>

#include "l3lifpd_kavelin.h"
#include "platform_api/l3lif.h"

namespace kvnfloor {

/* The entry points, as a dynamic library exports them. */
struct Entries {
    /* Loads the library, which stays loaded; ends the program with a message where that fails. */
    explicit Entries(const std::string &path);

#define KVN_FLOOR_ENTRIES(X)                                                                       \
    X(l3lifpd_kvn_l3pd_init)                                                                       \
    X(l3lifpd_kvn_ifindex_to_port)                                                                 \
    X(l3lifpd_kvn_is_lif_pc_member)                                                                \
    X(l3lifpd_kvn_is_ifindex_pc_member)                                                            \
    X(l3lifpd_kvn_get_pc_id_for_ifindex)                                                           \
    X(l3lifpd_kvn_get_intf_id_for_ifindex)                                                         \
    X(l3lifpd_kvn_get_lid_id_for_ifindex)                                                          \
    X(l3lifpd_kvn_dump_l3lif)                                                                      \
    X(l3lifpd_dump_format_mac_bytes)                                                               \
    X(l3lifpd_kvn_add_l3port)                                                                      \
    X(l3lifpd_kvn_destroy_l3_intf)                                                                 \
    X(l3lifpd_kvn_del_l3port)                                                                      \
    X(l3lifpd_kvn_add_svi)                                                                         \
    X(l3lifpd_kvn_del_svi)                                                                         \
    X(l3lifpd_kvn_add_subint)                                                                      \
    X(l3lifpd_kvn_del_subint)                                                                      \
    X(l3lifpd_kvn_add_l3tun)                                                                       \
    X(l3lifpd_kvn_del_l3tun)                                                                       \
    X(l3lifpd_kvn_set_single_l3_property)                                                          \
    X(l3lifpd_kvn_set_l3_property)                                                                 \
    X(l3lifpd_kvn_init_l3_properties)                                                              \
    X(l3lifpd_process_kvn_l3_prop_batch)                                                           \
    X(l3lifpd_kvn_loopback_enable)                                                                 \
    X(l3lifpd_kvn_alloc_l3pc_add)                                                                  \
    X(l3lifpd_kvn_add_l3pc)                                                                        \
    X(l3lifpd_kvn_del_l3pc)                                                                        \
    X(l3lifpd_kvn_add_l3pc_member)                                                                 \
    X(l3lifpd_kvn_del_l3pc_member)                                                                 \
    X(l3lifpd_kvn_port_SupPortMask_set)                                                            \
    X(l3lifpd_kvn_pc_SupPortMask_set)                                                              \
    X(l3lifpd_kvn_peer_mac_add)                                                                    \
    X(l3lifpd_kvn_peer_mac_del)                                                                    \
    X(l3lifpd_kvn_rmac_add)                                                                        \
    X(l3lifpd_kvn_rmac_del)                                                                        \
    X(l3lifpd_kvn_fhrp_mac_add)                                                                    \
    X(l3lifpd_kvn_fhrp_mac_del)
#define KVN_FLOOR_POINTER(name) decltype(&::name) name;
    KVN_FLOOR_ENTRIES(KVN_FLOOR_POINTER)
#undef KVN_FLOOR_POINTER
};

/* Registered, without contexts; each with the IP configuration {1, 0, 9100, 1}. */
struct Interfaces {
    l3lif *port;
    l3lif *second_port; /* a port and no more, like the next */
    l3lif *third_port;
    l3lif *sub_interface; /* of port, which is its main_l3lif */
    l3lif *svi;
    l3lif *channel; /* one member, see there; no main_l3lif, like the next */
    l3lif *second_channel;
    l3lif *member; /* of channel, which is its main_l3lif */
};

/* One call. What it needs to have happened is done by the steps before it. */
struct Step {
    const char *entry; /* the entry point's name; nullptr: done for the sake of what follows */
    void (*run)(const Entries &library, const Interfaces &interfaces);
};

/* In order, up to one whose run is nullptr. */
extern const Step life[];

} // namespace kvnfloor
