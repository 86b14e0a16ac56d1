#include "bench/floor/life.h"

#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>

namespace kvnfloor {
namespace {

const uint8_t mac[6] = {0x00, 0x00, 0x5e, 0x00, 0x53, 0x01};
char text[20];
char command;

template <typename Function> void look_up(void *library, const char *name, Function *&function)
{
    function = reinterpret_cast<Function *>(dlsym(library, name));
    if (function == nullptr) {
        fprintf(stderr, "%s\n", dlerror());
        exit(1);
    }
}

} // namespace

Entries::Entries(const std::string &path)
{
    void *const library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) {
        fprintf(stderr, "%s\n", dlerror());
        exit(1);
    }
#define KVN_FLOOR_LOOK_UP(name) look_up(library, #name, name);
    KVN_FLOOR_ENTRIES(KVN_FLOOR_LOOK_UP)
#undef KVN_FLOOR_LOOK_UP
}

#define STEP(name, ...)                                                                            \
    {                                                                                              \
#name, [](const Entries &library,                                                          \
                  [[maybe_unused]] const Interfaces &of) { library.name(__VA_ARGS__); }            \
    }

/* clang-format off */
const Step life[] = {
    STEP(l3lifpd_kvn_l3pd_init, of.third_port, 1),
    STEP(l3lifpd_kvn_add_l3port, of.port, 1),
    {nullptr, [](const Entries &library, const Interfaces &of) {
         library.l3lifpd_kvn_add_l3port(of.second_port, 1);
     }},
    STEP(l3lifpd_kvn_ifindex_to_port, of.port->ifindex),
    STEP(l3lifpd_kvn_is_lif_pc_member, of.member),
    STEP(l3lifpd_kvn_is_ifindex_pc_member, of.member->ifindex),
    STEP(l3lifpd_kvn_get_pc_id_for_ifindex, of.port->ifindex),
    STEP(l3lifpd_kvn_get_intf_id_for_ifindex, of.port->ifindex),
    STEP(l3lifpd_kvn_get_lid_id_for_ifindex, of.port->ifindex),
    STEP(l3lifpd_kvn_add_subint, of.sub_interface, 100, 1),
    STEP(l3lifpd_kvn_add_svi, of.svi, 10),
    STEP(l3lifpd_kvn_add_l3tun, of.port, 1),
    STEP(l3lifpd_kvn_del_l3tun, of.port),
    STEP(l3lifpd_kvn_alloc_l3pc_add, of.second_channel, 1),
    STEP(l3lifpd_kvn_add_l3pc, of.member, 1),
    STEP(l3lifpd_kvn_add_l3pc_member, of.channel->ifindex, of.member->ifindex),
    STEP(l3lifpd_kvn_port_SupPortMask_set, of.port),
    STEP(l3lifpd_kvn_pc_SupPortMask_set, of.member, of.channel, 1),
    STEP(l3lifpd_kvn_set_single_l3_property, 1, L3LIF_PROP_DF_MASK_SET, 4),
    STEP(l3lifpd_kvn_set_l3_property, of.port, L3LIF_PROP_IPV4_VPN, 5),
    STEP(l3lifpd_kvn_init_l3_properties, of.port),
    STEP(l3lifpd_process_kvn_l3_prop_batch),
    STEP(l3lifpd_kvn_loopback_enable, of.port->ifindex, 1),
    STEP(l3lifpd_kvn_peer_mac_add, mac),
    STEP(l3lifpd_kvn_peer_mac_del, 7),
    STEP(l3lifpd_kvn_rmac_add, mac),
    STEP(l3lifpd_kvn_rmac_del, 7),
    STEP(l3lifpd_kvn_fhrp_mac_add, mac, of.port->ifindex),
    STEP(l3lifpd_kvn_fhrp_mac_del, mac, of.port->ifindex),
    STEP(l3lifpd_kvn_dump_l3lif, &command, "port-channel", of.channel),
    STEP(l3lifpd_dump_format_mac_bytes, mac, text),
    STEP(l3lifpd_kvn_del_l3pc_member, of.channel->ifindex, of.member->ifindex),
    STEP(l3lifpd_kvn_del_l3pc, of.member, 1),
    STEP(l3lifpd_kvn_del_svi, of.svi),
    STEP(l3lifpd_kvn_del_subint, of.sub_interface),
    STEP(l3lifpd_kvn_del_l3port, of.port),
    STEP(l3lifpd_kvn_destroy_l3_intf, of.second_port),
    {nullptr, nullptr},
};
/* clang-format on */

} // namespace kvnfloor
