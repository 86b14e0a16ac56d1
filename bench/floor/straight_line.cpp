/*
 * The floor below the library: the imported calls of each entry point's main path in a straight
 * line, with the library's arguments and order, and nothing else. The same entry points, so that
 * either can be loaded in the other's place. Compiled four times:
 *
 *     STRAIGHT_LINE_CHECKS   0 no result is looked at; 1 those are that decide the way on
 *     STRAIGHT_LINE_SINKS    0 for a host whose sinks are off; 1 for one whose sinks are all on
 *
 * Each function knows which interface it is given: see life.h.
 */
#include <stdlib.h>
#include <string.h>

#include "l3lifpd_kavelin.h"
#include "platform_api/fwm.h"
#include "platform_api/if_index.h"
#include "platform_api/l3lif.h"
#include "platform_api/libsdk.h"
#include "platform_api/sdwrap.h"
#include "platform_api/sse.h"

#define INLINE __attribute__((always_inline)) static inline
#define EXPORT extern "C" __attribute__((visibility("default")))

/* What a function returns that leaves the main path. */
struct Failure {
    operator int32_t() const { return -1; }
    operator uint32_t() const { return 0xFFFF; }
};

/* A condition that holds on the main path; returns from the function where it is looked at. */
#define REQUIRE(condition)                                                                         \
    do {                                                                                           \
        if (STRAIGHT_LINE_CHECKS && !(condition))                                                  \
            return Failure();                                                                      \
    } while (0)
/* A call whose status is 0 on the main path. */
#define CALL(...)                                                                                  \
    do {                                                                                           \
        const int32_t status = (__VA_ARGS__);                                                      \
        REQUIRE(status == 0);                                                                      \
    } while (0)

namespace {

constexpr uint32_t none = 0xFFFF;
constexpr uint32_t history_event = 0x730000;
constexpr int32_t debug_level = 104;
constexpr const char *file = "asic/forwarding-sw/l3lif/pd_kavelin/l3lifpd_kavelin.cpp";

#pragma GCC diagnostic ignored "-Wformat-nonliteral"
#pragma GCC diagnostic ignored "-Wformat-security"

/* The same wherever it stands in a call of several lines. */
#define LINE __builtin_LINE()

/* One debug record. */
template <typename... Arguments>
INLINE int32_t record_at(int32_t line, const char *function, const char *format,
                         Arguments... arguments)
{
    fwm_ds_trace_add(file, function, line, 0, format, arguments...);
#if STRAIGHT_LINE_SINKS
    REQUIRE(dbg_out_file != nullptr);
    const char *const now = fwm_ctime();
    fprintf(dbg_out_file, "[%s]%s: %s(%d): ", now, fwm_debug_elem_descr(debug_level), function,
            line);
    fprintf(dbg_out_file, format, arguments...);
    fwm_check_flush_dbg_out_file();
    CALL(sdwrap_hist_event_subtype_check(history_event, debug_level));
    sdwrap_hist_event_record event;
    event.level = debug_level;
    snprintf(event.text, sizeof event.text, format, arguments...);
    sdwrap_hist_event(history_event, (uint32_t)strlen(event.text) + 5, &event);
    const int32_t on = sdwrap_chk_int(debug_level, 0, 0, 1);
    REQUIRE(on != 0);
    buginf(1, sdwrap_dbg_modname, 0, format, arguments...);
#else
    REQUIRE(dbg_out_file == nullptr);
    const int32_t off = sdwrap_hist_event_subtype_check(history_event, debug_level);
    REQUIRE(off != 0);
    CALL(sdwrap_chk_int(debug_level, 0, 0, 1));
#endif
    return 0;
}

#define RECORD(...) CALL(record_at(LINE, function, __VA_ARGS__))

/* The context that answers for an interface that is no member of a port-channel. */
INLINE l3_pd *context_of(uint32_t ifindex)
{
    const l3lif *const lif = l3lif_find_lif_from_ifindex(ifindex);
#if STRAIGHT_LINE_CHECKS
    if (lif == nullptr || (lif->main_l3lif != nullptr &&
                           if_index_is_eth_port_channel_intf(lif->main_l3lif->ifindex) != 0))
        return nullptr;
#endif
    return L3LIFPD_GET_PD_CTXT(lif);
}

/* The same of a sub-interface: its parent is asked whether it is a port-channel. */
INLINE l3_pd *context_of_child(uint32_t ifindex)
{
    const l3lif *const lif = l3lif_find_lif_from_ifindex(ifindex);
#if STRAIGHT_LINE_CHECKS
    if (lif == nullptr || lif->main_l3lif == nullptr)
        return nullptr;
#endif
    if (if_index_is_eth_port_channel_intf(lif->main_l3lif->ifindex) != 0 && STRAIGHT_LINE_CHECKS)
        return nullptr;
    return L3LIFPD_GET_PD_CTXT(lif);
}

template <typename Context>
INLINE int32_t find_intf_id(uint32_t ifindex, Context context, uint32_t *intf_id = nullptr)
{
    const char *const function = "l3lifpd_kvn_get_intf_id_for_ifindex";
    const l3_pd *const pd = context(ifindex);
    REQUIRE(pd != nullptr);
    RECORD("ifindex = %#x intf_id = %d.\n", ifindex, pd->intf_id);
    if (intf_id != nullptr)
        *intf_id = pd->intf_id;
    return 0;
}

template <typename Context> INLINE int32_t find_no_intf_id(uint32_t ifindex, Context context)
{
    const char *const function = "l3lifpd_kvn_get_intf_id_for_ifindex";
    const l3_pd *const pd = context(ifindex);
    REQUIRE(pd == nullptr);
    RECORD("ifindex = %#x. No intf_id.\n", ifindex);
    return 0;
}

INLINE int32_t find_lid_id(uint32_t ifindex, uint32_t *lid_id)
{
    const l3_pd *const pd = context_of(ifindex);
    REQUIRE(pd != nullptr);
    *lid_id = pd->lid_id;
    return 0;
}

INLINE int32_t make_context(l3lif *lif)
{
    const char *const function = "l3lifpd_kvn_l3pd_init";
    REQUIRE(lif->pd_ctxt == nullptr);
    lif->pd_ctxt = (l3pd_holder *)malloc(sizeof(l3pd_holder));
    REQUIRE(lif->pd_ctxt != nullptr);
    lif->pd_ctxt->holder_word = 0;
    lif->pd_ctxt->l3_pd = (l3_pd *)malloc(sizeof(l3_pd));
    REQUIRE(lif->pd_ctxt->l3_pd != nullptr);
    memset(lif->pd_ctxt->l3_pd, 0, sizeof(l3_pd));
    l3_pd *const pd = L3LIFPD_GET_PD_CTXT(lif);
    REQUIRE(pd != nullptr);
    pd->lid_id = none;
    pd->intf_id = none;
    pd->pc_id = none;
    RECORD("[%d]: Finished initialization of l3_pd.ifindex = %#x\n", LINE, lif->ifindex);
    return 0;
}

INLINE int32_t keep_context(const l3lif *lif)
{
    const char *const function = "l3lifpd_kvn_l3pd_init";
    REQUIRE(lif->pd_ctxt != nullptr && lif->pd_ctxt->l3_pd != nullptr);
    RECORD("[%d]: l3_pd already exists for ifindex = %#x! No overwrite of previous values.\n", LINE,
           lif->ifindex);
    return 0;
}

INLINE int32_t write_property(uint32_t intf_id, uint32_t attribute, uint32_t word, const char *text)
{
    const char *const function = "l3lifpd_kvn_set_single_l3_property";
    sdk_intf_attr_value value = {};
    value.param1 = word;
    RECORD(text, word, intf_id);
    CALL(libsdk_intf_attr_set(0, intf_id, attribute, &value));
    return 0;
}

constexpr const char *ucst_text = "Setting ipv4_ucst_en=%d in libsdk for intf %d.\n";
constexpr const char *mtu_text = "Setting mtu=%d in libsdk for intf %d.\n";
constexpr const char *mtu_stored = "Storing MTU=%d in l3lif_sdb for ifindex %#x.\n";
constexpr const char *vpn_text = "Setting ipv4_vpn=%d in libsdk for intf %d.\n";
constexpr const char *vpn_stored = "Storing v4_vpn_id=%d in l3lif_sdb for ifindex %#x.\n";
constexpr const char *same_if_text = "Setting ipv4_same_if_check=%d in libsdk for intf %d.\n";
constexpr const char *igmp_text = "Setting igmp_snoop_label=%d in libsdk for intf %d.\n";

/* word: what the attribute gets for the value. stored: the text of a property that is published. */
template <typename Context>
INLINE int32_t set_property(l3lif *lif, Context context, int32_t type, uint32_t value,
                            uint32_t attribute, uint32_t word, const char *text,
                            const char *stored = nullptr)
{
    const char *const function = "l3lifpd_kvn_set_l3_property";
    uint32_t intf_id;
    RECORD("l3lif=%#x, Property type=%d, value=%d.\n", lif->ifindex, type, value);
    CALL(find_intf_id(lif->ifindex, context, &intf_id));
    CALL(write_property(intf_id, attribute, word, text));
    if (stored != nullptr) {
        RECORD(stored, value, lif->ifindex);
        l3lif_update_sdb_for_intf(lif);
    }
    RECORD("Exiting.\n");
    return 0;
}

template <typename Context> INLINE int32_t set_defaults(l3lif *lif, Context context)
{
    const l3lif_ip_cfg *const ip = lif->ip_cfg;
    REQUIRE(ip != nullptr && ip->ipv4_ucst_en != 0 && ip->ipv4_mcst_en == 0 && ip->mtu != 0 &&
            ip->ipv4_same_if != 0);
    CALL(set_property(lif, context, L3LIF_PROP_IPV4_UCST_EN, 1, SdkIntfAttrIpv4UcstEn, 1,
                      ucst_text));
    CALL(set_property(lif, context, L3LIF_PROP_MTU, ip->mtu, SdkIntfAttrMtuIdx, ip->mtu, mtu_text,
                      mtu_stored));
    CALL(set_property(lif, context, L3LIF_PROP_IPV4_SAME_IF_CHECK, 1, SdkIntfAttrIpv4SameIfCheck, 0,
                      same_if_text));
    return 0;
}

INLINE int32_t bind_lid(const char *function, uint32_t intf_id, uint32_t lid_id)
{
    sdk_intf_attr_value value = {};
    value.param1 = lid_id;
    RECORD("[%d]: Calling libsdk_intf_attr_set() with dev_inst = %d, intf_id = %d, "
           "SdkIntfAttrLid, param1(lid_id) = %d.\n",
           LINE, 0, intf_id, lid_id);
    CALL(libsdk_intf_attr_set(0, intf_id, SdkIntfAttrLid, &value));
    return 0;
}

INLINE int32_t create_routed(uint32_t word, uint32_t flag, const char *word_label,
                             const char *flag_label, uint32_t lid_id, uint32_t *intf_id)
{
    const char *const function = "l3lifpd_kvn_add_l3port";
    sdk_intf_create_params params = {};
    params.param1 = word;
    params.param3 = flag;
    *intf_id = none;
    RECORD("[%d]:libsdk_intf_create() called, dev_inst=%d,SDK Interface_type=%d, %s(param1)=%d, "
           "svif(param2)=%d, %s(param3)=%d.\n",
           LINE, 0, 1, word_label, word, 0, flag_label, flag);
    fwmpd_kavelin_batch_flush();
    CALL(libsdk_intf_create(0, 1, &params, intf_id));
    RECORD("[%d]:libsdk_intf_create() returned, sdk intf_id=%d.\n", LINE, *intf_id);
    return bind_lid(function, *intf_id, lid_id);
}

INLINE int32_t finish_routed(l3lif *lif, uint32_t intf_id, uint32_t lid_id)
{
    const char *const function = "l3lifpd_kvn_add_l3port";
    l3_pd *const pd = L3LIFPD_GET_PD_CTXT(lif);
    pd->intf_id = (uint16_t)intf_id;
    pd->lid_id = lid_id;
    CALL(set_defaults(lif, context_of));
    fwmpd_kvn_init_l3_label(lif->ifindex, 1, 0);
    CALL(set_property(lif, context_of, L3LIF_PROP_IGMP_SNOOP_LABEL, 16,
                      SdkIntfAttrIngTblIgmpSnoopLabel, 16, igmp_text));
    lif->pd_state = 3;
    RECORD("Exiting.\n");
    return 0;
}

INLINE int32_t add_port_channel(l3lif *lif, int32_t create)
{
    const char *const function = "l3lifpd_kvn_add_l3port";
    uint32_t lid_id, intf_id, channel;
    RECORD("ifindex %#x create %d\n", lif->ifindex, create);
    CALL(find_intf_id(lif->ifindex, context_of));
    const int32_t is_channel = if_index_is_eth_port_channel_intf(lif->ifindex);
    REQUIRE(is_channel != 0);
    RECORD("[%d]: L3 interface is PC, ifindex %#x\n", LINE, lif->ifindex);
    CALL(find_lid_id(lif->ifindex, &lid_id));
    RECORD("[%d]: Got lid id = %d from l3 lif ifindex %#x.\n", LINE, lid_id, lif->ifindex);
    CALL(create_routed(L3LIFPD_GET_PD_CTXT(lif)->pc_id, 1, "pc_id", "Portchannel", lid_id,
                       &intf_id));
    sdk_intf_attr_value tag = {};
    if_index_eth_port_channel_get_channel_num(lif->ifindex, &channel);
    tag.param1 = (uint16_t)(channel + 1) | 0x8000;
    CALL(libsdk_intf_attr_set(0, intf_id, SdkIntfAttrDefSgt, &tag));
    CALL(keep_context(lif));
    return finish_routed(lif, intf_id, lid_id);
}

INLINE int32_t allocate_port_channel(l3lif *lif, int32_t create)
{
    const char *const function = "l3lifpd_kvn_alloc_l3pc_add";
    RECORD("Entered.\n");
    CALL(find_no_intf_id(lif->ifindex, context_of));
    REQUIRE(lif->pc_membership->member_count == 1);
    uint32_t pc_id = none, lid_id = none;
    const int32_t unknown = fwmpd_kvn_get_pc_info(lif->ifindex, &pc_id, &lid_id);
    REQUIRE(unknown != 0);
    RECORD("libsdk_portchannel_create() called, dev_inst=%d.\n", 0);
    CALL(libsdk_portchannel_create(0, &pc_id));
    RECORD("[%d]:libsdk_portchannel_create() returned, sdk pc_id=%d.\n", LINE, pc_id);
    CALL(libsdk_lid_entry_create(0, &lid_id));
    RECORD("[%d]:libsdk_lid_entry_create() returned for pc %#x. lid_id = %d.\n", LINE, lif->ifindex,
           lid_id);
    sdk_lid_path path = {};
    path.port_type = SdkPortTypeChannel;
    path.pc_id = pc_id;
    RECORD("Calling libsdk_lid_entry_path_add() dev_inst = %d, lid_id = %d, port type = %d(%s), "
           "front_port = %d, pc_id = %d.\n",
           0, lid_id, SdkPortTypeChannel, "SdkPortTypeChannel", 0, pc_id);
    CALL(libsdk_lid_entry_path_add(0, lid_id, &path));
    CALL(make_context(lif));
    l3_pd *const pd = L3LIFPD_GET_PD_CTXT(lif);
    pd->pc_id = pc_id;
    pd->lid_id = lid_id;
    CALL(fwmpd_kvn_update_pc_sdb(lif->ifindex, pc_id));
    CALL(add_port_channel(lif, create));
    REQUIRE(lif->main_l3lif == nullptr);
    RECORD("Exiting.\n");
    return 0;
}

INLINE sdk_port_mask mask_of(uint8_t front_port)
{
    sdk_port_mask mask = {};
    mask.mask_len = sizeof mask.port_bitmap;
    mask.port_bitmap[front_port >> 3] = (uint8_t)(0x80 >> (front_port & 7));
    return mask;
}

template <typename Context>
INLINE int32_t destroy_interface(l3lif *lif, Context context, bool physical)
{
    const char *const function = "l3lifpd_kvn_destroy_l3_intf";
    const uint32_t ifindex = lif->ifindex;
    RECORD("Entered. ifindex=%#x.\n", ifindex);
    CALL(find_intf_id(ifindex, context));
    fwmpd_kvn_init_l3_label(ifindex, 0, 0);
    CALL(set_property(lif, context, L3LIF_PROP_IGMP_SNOOP_LABEL, 0, SdkIntfAttrIngTblIgmpSnoopLabel,
                      0, igmp_text));
    l3_pd *const pd = L3LIFPD_GET_PD_CTXT(lif);
    REQUIRE(pd != nullptr && pd->intf_id != none);
    const uint16_t intf_id = pd->intf_id;
    RECORD("[%d]: Calling libsdk_intf_destroy() for ifindex=%#x, intf_id=%d.\n", LINE, ifindex,
           intf_id);
    fwmpd_kavelin_batch_flush();
    const bool is_physical = if_index_is_physical_interface(ifindex) != 0;
    REQUIRE(is_physical == physical);
    if (physical) {
        fwmpd_pc_member_intf_store(ifindex, intf_id, 1);
    } else {
        const int32_t rc = libsdk_intf_destroy(0, intf_id);
        RECORD("[%d]: libsdk_intf_destroy() returned %d for ifindex=%#x, intf_id=%d.\n", LINE, rc,
               ifindex, intf_id);
        REQUIRE(rc == 0);
    }
    pd->old_intf_id = intf_id;
    pd->intf_id = none;
    pd->pc_id = none;
    pd->lid_id = none;
    lif->pd_state = 4;
    RECORD("Exiting.\n");
    return 0;
}

struct Key {
    uint32_t ifindex;
    uint8_t mac[6];
} __attribute__((packed));

struct Trap {
    Key key;
    uint8_t pad[2];
    uint32_t id;
};

guint hash_of(gconstpointer data)
{
    const Key *const key = (const Key *)data;
    return key->ifindex + key->mac[0] + key->mac[1] + key->mac[2] + key->mac[3] + key->mac[4] +
           key->mac[5];
}

gboolean same_key(gconstpointer a, gconstpointer b)
{
    return memcmp(a, b, sizeof(Key)) == 0;
}

INLINE Key key_of(const uint8_t *mac, uint32_t ifindex)
{
    Key key;
    key.ifindex = ifindex;
    memcpy(key.mac, mac, sizeof key.mac);
    return key;
}

INLINE uint32_t low_word(const uint8_t *mac)
{
    uint32_t word;
    memcpy(&word, mac, sizeof word);
    return word;
}

INLINE uint16_t high_word(const uint8_t *mac)
{
    uint16_t word;
    memcpy(&word, mac + 4, sizeof word);
    return word;
}

INLINE const char *format_mac(const uint8_t *mac, char *text)
{
    snprintf(text, 20, "%02x%02x.%02x%02x.%02x%02x", mac[0], mac[1], mac[2], mac[3], mac[4],
             mac[5]);
    return text;
}

INLINE uint32_t add_router_mac(const uint8_t *mac)
{
    const char *const function = "l3lifpd_kvn_peer_mac_add";
    uint32_t id = 0;
    REQUIRE(low_word(mac) != 0 || high_word(mac) != 0);
    CALL(libsdk_switch_router_mac_create(0, low_word(mac), high_word(mac), &id));
    RECORD("%s[%d]: rmac (%02x:%02x:%02x:%02x:%02x:%02x) peer_mac_id = %#x", function, LINE, mac[0],
           mac[1], mac[2], mac[3], mac[4], mac[5], id);
    return id;
}

INLINE int32_t remove_router_mac(int32_t id)
{
    const int32_t rc = libsdk_switch_router_mac_destroy(0, (uint32_t)id);
    REQUIRE(rc == 0);
    return rc;
}

} // namespace

char l3lifpd_dump_one_line[256];

static GHashTable *traps;

EXPORT int32_t l3lifpd_kvn_l3pd_init(l3lif *lif, int32_t)
{
    return make_context(lif);
}

EXPORT uint32_t l3lifpd_kvn_ifindex_to_port(uint32_t ifindex)
{
    uint8_t port;
    if_index_get_port(ifindex, &port);
    return (uint8_t)(port + 1);
}

INLINE uint32_t is_member(const l3lif *lif)
{
    REQUIRE(lif != nullptr && lif->main_l3lif != nullptr);
    return if_index_is_eth_port_channel_intf(lif->main_l3lif->ifindex) != 0 ? 1 : 0;
}

EXPORT uint32_t l3lifpd_kvn_is_lif_pc_member(const l3lif *lif)
{
    return is_member(lif);
}

EXPORT uint32_t l3lifpd_kvn_is_ifindex_pc_member(uint32_t ifindex)
{
    return is_member(l3lif_find_lif_from_ifindex(ifindex));
}

EXPORT uint32_t l3lifpd_kvn_get_pc_id_for_ifindex(uint32_t ifindex)
{
    const char *const function = "l3lifpd_kvn_get_pc_id_for_ifindex";
    const l3_pd *const pd = context_of(ifindex);
    REQUIRE(pd != nullptr);
    RECORD("ifindex = %#x pc_id = %d.\n", ifindex, pd->pc_id);
    return pd->pc_id;
}

EXPORT uint32_t l3lifpd_kvn_get_intf_id_for_ifindex(uint32_t ifindex)
{
    uint32_t intf_id;
    CALL(find_intf_id(ifindex, context_of, &intf_id));
    return intf_id;
}

EXPORT uint32_t l3lifpd_kvn_get_lid_id_for_ifindex(uint32_t ifindex)
{
    uint32_t lid_id;
    CALL(find_lid_id(ifindex, &lid_id));
    return lid_id;
}

EXPORT uint32_t l3lifpd_kvn_dump_l3lif(void *cli, const char *prefix, l3lif *lif)
{
    char *const line = l3lifpd_dump_one_line;
    const size_t limit = sizeof l3lifpd_dump_one_line - 1;
    uint32_t intf_id, lid_id;
    CALL(find_intf_id(lif->ifindex, context_of, &intf_id));
    CALL(find_lid_id(lif->ifindex, &lid_id));
    const l3_pd *const pd = L3LIFPD_GET_PD_CTXT(lif);
    REQUIRE(lif->main_l3lif == nullptr);
    const int32_t is_channel = if_index_is_eth_port_channel_intf(lif->ifindex);
    REQUIRE(is_channel != 0 && pd != nullptr && cli != nullptr);
    snprintf(line, limit, "%s: intf_id %d lid_id %d pc_id %d.\n", prefix, intf_id, lid_id,
             pd->pc_id);
    cmd_prt(cli, line, 0);
    return 0;
}

EXPORT char *l3lifpd_dump_format_mac_bytes(const uint8_t *mac, char *text)
{
    format_mac(mac, text);
    return text;
}

EXPORT int32_t l3lifpd_kvn_add_l3port(l3lif *lif, int32_t create)
{
    const char *function = "l3lifpd_kvn_add_l3port";
    const uint32_t ifindex = lif->ifindex;
    uint32_t lid_id, intf_id;
    uint8_t port;
    REQUIRE(lif != nullptr);
    RECORD("ifindex %#x create %d\n", ifindex, create);
    CALL(find_no_intf_id(ifindex, context_of));
    CALL(if_index_is_eth_port_channel_intf(ifindex));
    CALL(fwmpd_kvn_if_index_lid_id(ifindex, &lid_id));
    RECORD("[%d]: Got lid id = %d from l2 lif.\n", LINE, lid_id);

    function = "l3lifpd_kvn_if_update_sdb";
    RECORD("ifindex %#x lid %d\n", ifindex, lid_id);
    sdk_switch_config request = {};
    request.word[0] = lid_id;
    CALL(libsdk_switch_config_get(0, 38, &request));
    const fwm_pm_sdb_key key = {1, ifindex};
    const fwm_pm_sdb_data data = {request.word[1], 0, 0};
    CALL(fwm_pm_sdb_store(&key, &data));

    fwmpd_pc_member_intf_store(ifindex, none, 0);
    if_index_get_port(ifindex, &port);
    CALL(create_routed((uint8_t)(port + 1), 0, "front_port", "physical port", lid_id, &intf_id));
    sdk_intf_attr_value tag = {};
    if_index_get_port(ifindex, &port);
    tag.param1 = (uint8_t)(port + 1);
    CALL(libsdk_intf_attr_set(0, intf_id, SdkIntfAttrDefSgt, &tag));
    CALL(make_context(lif));
    return finish_routed(lif, intf_id, lid_id);
}

EXPORT int32_t l3lifpd_kvn_destroy_l3_intf(l3lif *lif)
{
    REQUIRE(lif != nullptr);
    return destroy_interface(lif, context_of, true);
}

EXPORT int32_t l3lifpd_kvn_del_l3port(l3lif *lif)
{
    const char *const function = "l3lifpd_kvn_del_l3port";
    RECORD("Entered.\n");
    REQUIRE(lif != nullptr);
    return destroy_interface(lif, context_of, true);
}

EXPORT int32_t l3lifpd_kvn_del_svi(l3lif *lif)
{
    const char *const function = "l3lifpd_kvn_del_svi";
    RECORD("Entered.\n");
    REQUIRE(lif != nullptr);
    return destroy_interface(lif, context_of, false);
}

EXPORT int32_t l3lifpd_kvn_del_subint(l3lif *lif)
{
    const char *const function = "l3lifpd_kvn_del_subint";
    RECORD("ifindex = %#x\n", lif->ifindex);
    return destroy_interface(lif, context_of_child, false);
}

EXPORT int32_t l3lifpd_kvn_add_l3tun(l3lif *, int32_t)
{
    return 0;
}

EXPORT int32_t l3lifpd_kvn_del_l3tun(l3lif *)
{
    return 0;
}

EXPORT int32_t l3lifpd_kvn_add_subint(l3lif *lif, uint32_t encap_vlan, int32_t create)
{
    const char *const function = "l3lifpd_kvn_add_subint";
    const uint32_t ifindex = lif->ifindex;
    uint32_t lid_id, intf_id = none, parent_id;
    sdk_intf_create_params params = {};
    REQUIRE(lif != nullptr);
    RECORD("ifindex = %#x encap_vlan = %d create = %d\n", ifindex, encap_vlan, create);
    CALL(find_no_intf_id(ifindex, context_of_child));
    const uint32_t parent = if_index_get_mainintf_from_subintf(ifindex);
    CALL(find_lid_id(parent, &lid_id));
    REQUIRE(lid_id != none);
    CALL(find_intf_id(parent, context_of, &params.param1));
    params.param2 = encap_vlan;
    fwmpd_kavelin_batch_flush();
    CALL(libsdk_intf_create(0, 2, &params, &intf_id));
    CALL(bind_lid(function, intf_id, lid_id));
    CALL(make_context(lif));
    l3_pd *const pd = L3LIFPD_GET_PD_CTXT(lif);
    pd->intf_id = (uint16_t)intf_id;
    pd->lid_id = lid_id;
    CALL(set_defaults(lif, context_of_child));
    fwmpd_kvn_init_l3_label(ifindex, 1, 0);
    lif->pd_state = 3;
    CALL(find_intf_id(parent, context_of, &parent_id));
    RECORD("intf_id = %d parent ifindex = %#x (intf %d)\n", intf_id, parent, parent_id);
    return 0;
}

EXPORT int32_t l3lifpd_kvn_add_svi(l3lif *lif, uint32_t encap_vlan)
{
    const char *const function = "l3lifpd_kvn_add_svi";
    const uint32_t ifindex = lif->ifindex;
    uint32_t intf_id = none;
    sdk_intf_create_params params = {};
    RECORD("Entered.\n");
    REQUIRE(lif != nullptr);
    CALL(find_no_intf_id(ifindex, context_of));
    params.param1 = encap_vlan;
    RECORD("[%d]:libsdk_intf_create() called, dev_inst=%d,SDK Interface_type=%d, "
           "param1(encap_vlan)=%d, param2(svif)=%d, param3(pc/pif)=%d.\n",
           LINE, 0, 3, encap_vlan, 0, 0);
    fwmpd_kavelin_batch_flush();
    CALL(libsdk_intf_create(0, 3, &params, &intf_id));
    RECORD("[%d]:libsdk_intf_create() returned, sdk intf_id=%d.\n", LINE, intf_id);
    CALL(make_context(lif));
    L3LIFPD_GET_PD_CTXT(lif)->intf_id = (uint16_t)intf_id;
    CALL(set_defaults(lif, context_of));
    fwmpd_kvn_init_l3_label(ifindex, 1, 1);
    RECORD("Exiting.\n");
    return 0;
}

EXPORT int32_t l3lifpd_kvn_set_single_l3_property(uint32_t intf_id, uint32_t, uint32_t value)
{
    const char *const function = "l3lifpd_kvn_set_single_l3_property";
    sdk_intf_attr_value word = {};
    CALL(libsdk_intf_attr_get(0, intf_id, SdkIntfAttrIngTblDfMask, &word));
    word.param1 |= value;
    RECORD("Setting df_mask=%#x in libsdk for intf %d.\n", word.param1, intf_id);
    CALL(libsdk_intf_attr_set(0, intf_id, SdkIntfAttrIngTblDfMask, &word));
    return 0;
}

EXPORT int32_t l3lifpd_kvn_set_l3_property(l3lif *lif, int32_t type, uint32_t value)
{
    REQUIRE(lif != nullptr);
    return set_property(lif, context_of, type, value, SdkIntfAttrIpv4Vpn, value, vpn_text,
                        vpn_stored);
}

EXPORT int32_t l3lifpd_kvn_init_l3_properties(l3lif *lif)
{
    return set_defaults(lif, context_of);
}

EXPORT int32_t l3lifpd_process_kvn_l3_prop_batch(void)
{
    return 0;
}

EXPORT int32_t l3lifpd_kvn_loopback_enable(uint32_t ifindex, int32_t)
{
    const char *const function = "l3lifpd_kvn_loopback_enable";
    uint8_t port = 0;
    RECORD("%s - Entered with ifindex %x\n", function, ifindex);
    if_index_get_port(ifindex, &port);
    RECORD("%s - front_port  = %d\n", function, port + 1);
    iif_info info = {};
    CALL(l3lif_get_iif_for_ifindex_new(ifindex, &info));
    RECORD("%s - Calling the sse_call to program spico-int for %d\n", function, port + 1);
    port_cmd_msg message = {};
    message.port = port;
    message.cmd = 121;
    CALL(sse_call2(0x8000001, &message, sizeof message));
    sdk_intf_attr_value value = {};
    value.param1 = 2;
    CALL(libsdk_intf_attr_set_batch(0, info.intf_id, SdkIntfAttrNatInside, &value));
    value.param1 = 1;
    CALL(libsdk_intf_attr_set_batch(0, info.intf_id, SdkIntfAttrIpv4UcstEn, &value));
    CALL(libsdk_intf_attr_set_batch(0, info.intf_id, SdkIntfAttrIpv4McstEn, &value));
    CALL(libsdk_intf_attr_set_batch(0, info.intf_id, SdkIntfAttrIpv4Vpn, &value));
    CALL(libsdk_intf_attr_set_batch(0, info.intf_id, SdkIntfAttrIpv6Vpn, &value));
    value.param1 = 3;
    CALL(libsdk_intf_attr_set_batch(0, info.intf_id, SdkIntfAttrNatOutside, &value));
    value.param1 = 1;
    CALL(libsdk_intf_attr_set_batch(0, info.intf_id, SdkIntfAttrIpv4SameIfCheck, &value));
    value.param1 = 3;
    CALL(libsdk_intf_attr_set_batch(0, info.intf_id, SdkIntfAttrNatOutsideEgrBdDb, &value));
    value.param1 = 1;
    CALL(libsdk_intf_attr_set_batch(0, info.intf_id, SdkIntfAttrVlanTableMiss, &value));
    RECORD("%s - Exiting.\n", function);
    return 0;
}

EXPORT int32_t l3lifpd_kvn_alloc_l3pc_add(l3lif *lif, int32_t create)
{
    REQUIRE(lif != nullptr);
    return allocate_port_channel(lif, create);
}

EXPORT int32_t l3lifpd_kvn_add_l3pc(l3lif *lif, int32_t create)
{
    const char *const function = "l3lifpd_kvn_add_l3pc";
    REQUIRE(lif != nullptr && lif->main_l3lif != nullptr);
    RECORD("Entered. ifindex=%#x, create=%d\n", lif->ifindex, create);
    const l3_pd *const member_pd = L3LIFPD_GET_PD_CTXT(lif);
    REQUIRE(member_pd == nullptr && create != 0);
    l3lif *const channel = lif->main_l3lif;
    CALL(allocate_port_channel(channel, create));
    RECORD("%d: PC created for ifindex %#x pc_id=%d.\n", LINE, channel->ifindex,
           channel->pd_ctxt->l3_pd->pc_id);
    uint8_t port;
    if_index_get_port(lif->ifindex, &port);
    const uint8_t front_port = (uint8_t)(port + 1);
    const uint32_t pc_id = L3LIFPD_GET_PD_CTXT(channel)->pc_id;
    const sdk_port_mask mask = mask_of(front_port);
    RECORD("[%d]: Calling libsdk_portchannel_member_add() pc_id=%d, front_port=%d.\n", LINE, pc_id,
           front_port);
    CALL(libsdk_portchannel_member_add(0, pc_id, &mask));
    RECORD("[%d]: libsdk_portchannel_member_add succeeded for pc_id %d front_port %d\n", LINE,
           pc_id, front_port);
    RECORD("Exiting.\n");
    return 0;
}

EXPORT int32_t l3lifpd_kvn_add_l3pc_member(uint32_t, uint32_t ifindex)
{
    const char *const function = "l3lifpd_kvn_add_l3pc_member";
    RECORD("Entered for ifindex %#x\n", ifindex);
    return 0;
}

EXPORT int32_t l3lifpd_kvn_del_l3pc_member(uint32_t, uint32_t ifindex)
{
    const char *const function = "l3lifpd_kvn_del_l3pc_member";
    RECORD("Entered for ifindex %#x\n", ifindex);
    return 0;
}

EXPORT int32_t l3lifpd_kvn_port_SupPortMask_set(l3lif *)
{
    return 0;
}

EXPORT int32_t l3lifpd_kvn_pc_SupPortMask_set(l3lif *, l3lif *, int32_t)
{
    return 0;
}

EXPORT int32_t l3lifpd_kvn_del_l3pc(l3lif *lif, int32_t destroy)
{
    const char *const function = "l3lifpd_kvn_del_l3pc";
    REQUIRE(lif != nullptr && lif->main_l3lif != nullptr);
    RECORD("Entered. ifindex=%#x, destroy=%d\n", lif->ifindex, destroy);
    const l3_pd *const member_pd = L3LIFPD_GET_PD_CTXT(lif);
    REQUIRE(member_pd == nullptr && destroy != 0);
    l3lif *const channel = lif->main_l3lif;
    uint8_t port;
    if_index_get_port(lif->ifindex, &port);
    const uint8_t front_port = (uint8_t)(port + 1);
    const uint32_t pc_id = L3LIFPD_GET_PD_CTXT(channel)->pc_id;
    const sdk_port_mask mask = mask_of(front_port);
    RECORD("[%d]: Calling libsdk_portchannel_member_delete() pc_id=%d, front_port=%d.\n", LINE,
           pc_id, front_port);
    CALL(libsdk_portchannel_member_delete(0, pc_id, &mask, channel->ifindex));
    RECORD("[%d]: libsdk_portchannel_member_delete succeeded for pc_id %d front_port %d\n", LINE,
           pc_id, front_port);
    uint32_t lid_id;
    CALL(find_lid_id(channel->ifindex, &lid_id));
    RECORD("[%d]: Calling libsdk_lid_entry_destroy, lid_id=%d.\n", LINE, lid_id);
    CALL(libsdk_lid_entry_destroy(0, lid_id));
    CALL(destroy_interface(channel, context_of, false));
    RECORD("[%d]: Calling libsdk_portchannel_destroy, pc_id=%d.\n", LINE, pc_id);
    CALL(libsdk_portchannel_destroy(0, pc_id));
    return 0;
}

EXPORT uint32_t l3lifpd_kvn_peer_mac_add(const uint8_t *mac)
{
    return add_router_mac(mac);
}

EXPORT int32_t l3lifpd_kvn_peer_mac_del(int32_t id)
{
    return remove_router_mac(id);
}

EXPORT uint32_t l3lifpd_kvn_rmac_add(const uint8_t *mac)
{
    return add_router_mac(mac);
}

EXPORT int32_t l3lifpd_kvn_rmac_del(int32_t id)
{
    return remove_router_mac(id);
}

/* The table is there after the first one: see life.h. */
EXPORT int32_t l3lifpd_kvn_fhrp_mac_add(const uint8_t *mac, uint32_t ifindex)
{
    const char *function = "l3lifpd_kvn_fhrp_mac_add";
    char text[20];
    RECORD("ifindex = %#x mac = %s\n", ifindex, format_mac(mac, text));
    const Key key = key_of(mac, ifindex);
    if (traps != nullptr) {
        const void *const known = g_hash_table_lookup(traps, &key);
        REQUIRE(known == nullptr);
    }
    uint32_t intf_id;
    CALL(find_intf_id(ifindex, context_of, &intf_id));
    uint32_t id = none;
    CALL(libsdk_intf_router_mac_trap_create(0, intf_id, low_word(mac), high_word(mac), &id));
    function = "l3lifpd_kvn_fhrp_mac_insert";
    RECORD("Entered.\n");
    Trap *const trap = (Trap *)malloc(sizeof(Trap));
    REQUIRE(trap != nullptr);
    if (traps == nullptr)
        traps = g_hash_table_new(hash_of, same_key);
    trap->key = key;
    trap->id = id;
    g_hash_table_insert(traps, trap, trap);
    RECORD("Exiting.\n");
    function = "l3lifpd_kvn_fhrp_mac_add";
    RECORD("mac_trap_id = %d\n", id);
    return 0;
}

EXPORT int32_t l3lifpd_kvn_fhrp_mac_del(const uint8_t *mac, uint32_t ifindex)
{
    const char *function = "l3lifpd_kvn_fhrp_mac_del";
    char text[20];
    RECORD("ifindex = %#x mac = %s\n", ifindex, format_mac(mac, text));
    const Key key = key_of(mac, ifindex);
    const Trap *const trap = (const Trap *)g_hash_table_lookup(traps, &key);
    REQUIRE(trap != nullptr);
    RECORD("mac_trap_id = %d\n", trap->id);
    CALL(libsdk_intf_router_mac_trap_destroy(0, trap->id));
    function = "l3lifpd_kvn_fhrp_mac_remove";
    RECORD("Entered.\n");
    void *const gone = g_hash_table_lookup(traps, &key);
    g_hash_table_remove(traps, &key);
    free(gone);
    RECORD("Exiting.\n");
    function = "l3lifpd_kvn_fhrp_mac_del";
    RECORD("%s:Exiting.\n", function);
    return 0;
}
