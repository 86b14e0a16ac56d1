#include "tests/lib/entries.h"

#include <dlfcn.h>

namespace kvntest {

namespace {

Entries *noting = nullptr;

std::string show(uint32_t value)
{
    return value > 0xFFFF && value != 0xFFFFFFFF ? text("%#x", value) : std::to_string(value);
}

std::string show(int32_t value)
{
    return std::to_string(value);
}

std::string show(const l3lif *lif)
{
    return lif ? text("%#x", lif->ifindex) : "NULL";
}

std::string show(const uint8_t *mac)
{
    return text("%02x:%02x", mac[0], mac[5]);
}

std::string show(const char *words)
{
    return words;
}

std::string show(const void *)
{
    return "context";
}

template <typename... Arguments> void note(const char *name, Arguments... arguments)
{
    if (!noting)
        return;
    std::string list;
    ((list += (list.empty() ? "" : ", ") + show(arguments)), ...);
    noting->calls.push_back(name + ("(" + list + ")"));
}

/* What the test says in the library's place, if it says anything. */
const std::function<int64_t()> *replacement(const char *name)
{
    if (!noting)
        return nullptr;
    auto found = noting->instead.find(name);
    return found == noting->instead.end() ? nullptr : &found->second;
}

} // namespace

Entries::Entries()
{
    noting = this;
}

Entries::~Entries()
{
    noting = nullptr;
}

} // namespace kvntest

/* ENTRY(result, name, (parameters), (arguments)) defines l3lifpd_kvn_NAME. */
#define ENTRY(result, name, parameters, arguments)                                                 \
    extern "C" result l3lifpd_kvn_##name parameters                                                \
    {                                                                                              \
        kvntest::note LISTED(name, arguments);                                                     \
        if (const auto *instead = kvntest::replacement(#name))                                     \
            return static_cast<result>((*instead)());                                              \
        static const auto next =                                                                   \
            reinterpret_cast<result(*) parameters>(dlsym(RTLD_NEXT, "l3lifpd_kvn_" #name));        \
        return next arguments;                                                                     \
    }
#define LISTED(name, arguments) (#name, UNPACKED arguments)
#define UNPACKED(...) __VA_ARGS__

ENTRY(uint32_t, ifindex_to_port, (uint32_t ifindex), (ifindex))
ENTRY(uint32_t, get_pc_id_for_ifindex, (uint32_t ifindex), (ifindex))
ENTRY(uint32_t, get_lid_id_for_ifindex, (uint32_t ifindex), (ifindex))
ENTRY(uint32_t, get_intf_id_for_ifindex, (uint32_t ifindex), (ifindex))
ENTRY(int32_t, l3pd_init, (l3lif * lif, int32_t overwrite), (lif, overwrite))
ENTRY(int32_t, add_l3port, (l3lif * lif, int32_t create), (lif, create))
ENTRY(int32_t, destroy_l3_intf, (l3lif * lif), (lif))
ENTRY(int32_t, del_l3port, (l3lif * lif), (lif))
ENTRY(int32_t, del_svi, (l3lif * lif), (lif))
ENTRY(int32_t, del_subint, (l3lif * lif), (lif))
ENTRY(int32_t, add_subint, (l3lif * lif, uint32_t vlan, int32_t create), (lif, vlan, create))
ENTRY(int32_t, add_svi, (l3lif * lif, uint32_t vlan), (lif, vlan))
ENTRY(int32_t, set_l3_property, (l3lif * lif, int32_t type, uint32_t value), (lif, type, value))
ENTRY(int32_t, init_l3_properties, (l3lif * lif), (lif))
ENTRY(int32_t, set_single_l3_property, (uint32_t intf, uint32_t type, uint32_t value),
      (intf, type, value))
ENTRY(int32_t, loopback_enable, (uint32_t ifindex, int32_t enable), (ifindex, enable))
ENTRY(int32_t, alloc_l3pc_add, (l3lif * lif, int32_t create), (lif, create))
ENTRY(int32_t, add_l3pc, (l3lif * lif, int32_t create), (lif, create))
ENTRY(int32_t, port_SupPortMask_set, (l3lif * lif), (lif))
ENTRY(int32_t, pc_SupPortMask_set, (l3lif * lif, l3lif *main, int32_t flag), (lif, main, flag))
ENTRY(int32_t, del_l3pc, (l3lif * lif, int32_t destroy), (lif, destroy))
ENTRY(uint32_t, peer_mac_add, (const uint8_t *mac), (mac))
ENTRY(int32_t, peer_mac_del, (int32_t id), (id))
ENTRY(uint32_t, rmac_add, (const uint8_t *mac), (mac))
ENTRY(int32_t, rmac_del, (int32_t id), (id))
ENTRY(int32_t, fhrp_mac_add, (const uint8_t *mac, uint32_t ifindex), (mac, ifindex))
ENTRY(int32_t, fhrp_mac_del, (const uint8_t *mac, uint32_t ifindex), (mac, ifindex))
ENTRY(uint32_t, dump_l3lif, (void *cli_ctx, const char *prefix, l3lif *lif), (cli_ctx, prefix, lif))
