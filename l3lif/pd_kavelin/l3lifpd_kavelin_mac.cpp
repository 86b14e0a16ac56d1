#include <stdlib.h>
#include <string.h>

#include "l3lifpd_kavelin_context.h"
#include "l3lifpd_kavelin_trace.h"
#include "platform_api/libsdk.h"

/* A MAC address as the SDK takes it: bytes 0 to 3 and bytes 4 and 5, each as they lie in memory. */
struct sdk_mac {
    uint32_t lo;
    uint16_t hi;
};

static sdk_mac sdk_mac_of(const uint8_t *mac)
{
    sdk_mac words;
    memcpy(&words.lo, mac, sizeof words.lo);
    memcpy(&words.hi, mac + sizeof words.lo, sizeof words.hi);
    return words;
}

uint32_t l3lifpd_kvn_peer_mac_add(const uint8_t *mac)
{
    uint32_t peer_mac_id = 0;
    const sdk_mac words = sdk_mac_of(mac);
    if (words.lo == 0 && words.hi == 0) {
        l3lifpd_trace_error("%s : peer gwway mac address is NULL\n", __func__);
        return L3LIFPD_NO_ID;
    }
    const int32_t rc =
        libsdk_switch_router_mac_create(L3LIFPD_DEV_INST, words.lo, words.hi, &peer_mac_id);
    if (rc != 0) {
        l3lifpd_trace_error("%s[%d]: error rc = %d\n", __func__, L3LIFPD_LINE, rc);
        return (uint32_t)rc;
    }
    l3lifpd_trace_debug("%s[%d]: rmac (%02x:%02x:%02x:%02x:%02x:%02x) peer_mac_id = %#x", __func__,
                        L3LIFPD_LINE, mac[0], mac[1], mac[2], mac[3], mac[4], mac[5], peer_mac_id);
    return peer_mac_id;
}

int32_t l3lifpd_kvn_peer_mac_del(int32_t peer_mac_id)
{
    const int32_t rc = libsdk_switch_router_mac_destroy(L3LIFPD_DEV_INST, (uint32_t)peer_mac_id);
    if (rc != 0)
        l3lifpd_trace_error("%s[%d]: error rc = %d\n", __func__, L3LIFPD_LINE, rc);
    return rc;
}

uint32_t l3lifpd_kvn_rmac_add(const uint8_t *mac)
{
    return l3lifpd_kvn_peer_mac_add(mac);
}

int32_t l3lifpd_kvn_rmac_del(int32_t peer_mac_id)
{
    return l3lifpd_kvn_peer_mac_del(peer_mac_id);
}

GHashTable *fhrp_mac_hash;

struct __attribute__((packed)) fhrp_mac_key {
    uint32_t ifindex;
    uint8_t mac[6];
};

/* Key and value of the table alike. */
struct fhrp_mac_entry {
    fhrp_mac_key key;
    uint8_t pad[2];
    uint32_t mac_trap_id;
};
static_assert(sizeof(fhrp_mac_key) == 10, "FHRP MAC key");
static_assert(sizeof(fhrp_mac_entry) == 16 && offsetof(fhrp_mac_entry, mac_trap_id) == 12,
              "FHRP MAC entry");

static fhrp_mac_key fhrp_mac_key_of(const uint8_t *mac, uint32_t ifindex)
{
    fhrp_mac_key key;
    key.ifindex = ifindex;
    memcpy(key.mac, mac, sizeof key.mac);
    return key;
}

static guint fhrp_mac_key_hash(gconstpointer data)
{
    const fhrp_mac_key *const key = (const fhrp_mac_key *)data;
    guint sum = key->ifindex;
    for (const uint8_t byte : key->mac)
        sum += byte;
    return sum;
}

static gboolean fhrp_mac_key_equal(gconstpointer a, gconstpointer b)
{
    const fhrp_mac_key *const x = (const fhrp_mac_key *)a;
    const fhrp_mac_key *const y = (const fhrp_mac_key *)b;
    return x->ifindex == y->ifindex && memcmp(x->mac + 2, y->mac + 2, 4) == 0 &&
           memcmp(x->mac, y->mac, 2) == 0;
}

static fhrp_mac_entry *l3lifpd_kvn_fhrp_mac_lookup(const uint8_t *mac, uint32_t ifindex)
{
    if (fhrp_mac_hash == nullptr)
        return nullptr;
    const fhrp_mac_key key = fhrp_mac_key_of(mac, ifindex);
    return (fhrp_mac_entry *)g_hash_table_lookup(fhrp_mac_hash, &key);
}

/* Remember the trap. Returns false when there is no memory for the entry or the table. */
static bool l3lifpd_kvn_fhrp_mac_insert(const uint8_t *mac, uint32_t ifindex, uint32_t mac_trap_id)
{
    l3lifpd_trace_debug("Entered.\n");
    fhrp_mac_entry *const entry = (fhrp_mac_entry *)malloc(sizeof(fhrp_mac_entry));
    if (entry == nullptr)
        return false;
    if (fhrp_mac_hash == nullptr) {
        fhrp_mac_hash = g_hash_table_new(fhrp_mac_key_hash, fhrp_mac_key_equal);
        if (fhrp_mac_hash == nullptr) {
            free(entry);
            return false;
        }
    }
    entry->key = fhrp_mac_key_of(mac, ifindex);
    entry->mac_trap_id = mac_trap_id;
    g_hash_table_insert(fhrp_mac_hash, entry, entry);
    l3lifpd_trace_debug("Exiting.\n");
    return true;
}

/* Forget the trap and free its entry. */
static void l3lifpd_kvn_fhrp_mac_remove(const uint8_t *mac, uint32_t ifindex)
{
    l3lifpd_trace_debug("Entered.\n");
    if (fhrp_mac_hash != nullptr) {
        const fhrp_mac_key key = fhrp_mac_key_of(mac, ifindex);
        void *const entry = g_hash_table_lookup(fhrp_mac_hash, &key);
        g_hash_table_remove(fhrp_mac_hash, &key);
        free(entry);
    }
    l3lifpd_trace_debug("Exiting.\n");
}

int32_t l3lifpd_kvn_fhrp_mac_add(const uint8_t *mac, uint32_t ifindex)
{
    char mac_text[20];
    l3lifpd_trace_debug("ifindex = %#x mac = %s\n", ifindex,
                        l3lifpd_dump_format_mac_bytes(mac, mac_text));

    if (const fhrp_mac_entry *const entry = l3lifpd_kvn_fhrp_mac_lookup(mac, ifindex)) {
        l3lifpd_trace_debug("fhrp mac (%02x:%02x:%02x:%02x:%02x:%02x) already exists on intf %#x "
                            "with mac-trap-id %d\n",
                            mac[0], mac[1], mac[2], mac[3], mac[4], mac[5], ifindex,
                            entry->mac_trap_id);
        return 0;
    }
    const uint32_t intf_id = l3lifpd_kvn_get_intf_id_for_ifindex(ifindex);
    if (intf_id == L3LIFPD_NO_ID)
        return -1;

    uint32_t mac_trap_id = L3LIFPD_NO_ID;
    const sdk_mac words = sdk_mac_of(mac);
    /* A trap that the SDK refuses is reported as success: nothing is stored, nobody is told. */
    if (libsdk_intf_router_mac_trap_create(L3LIFPD_DEV_INST, intf_id, words.lo, words.hi,
                                           &mac_trap_id) == 0 &&
        !l3lifpd_kvn_fhrp_mac_insert(mac, ifindex, mac_trap_id)) {
        l3lifpd_trace_error("%s: fhrp mac (%02x:%02x:%02x:%02x:%02x:%02x) insertion failed on intf "
                            "%#x with mac-trap-id %d\n",
                            __func__, mac[0], mac[1], mac[2], mac[3], mac[4], mac[5], ifindex,
                            mac_trap_id);
        return -1;
    }
    l3lifpd_trace_debug("mac_trap_id = %d\n", mac_trap_id);
    return 0;
}

int32_t l3lifpd_kvn_fhrp_mac_del(const uint8_t *mac, uint32_t ifindex)
{
    char mac_text[20];
    l3lifpd_trace_debug("ifindex = %#x mac = %s\n", ifindex,
                        l3lifpd_dump_format_mac_bytes(mac, mac_text));

    const fhrp_mac_entry *const entry = l3lifpd_kvn_fhrp_mac_lookup(mac, ifindex);
    if (entry == nullptr) {
        l3lifpd_trace_error("%s: fhrp mac (%02x:%02x:%02x:%02x:%02x:%02x) lookup failed on intf "
                            "%#x\n",
                            __func__, mac[0], mac[1], mac[2], mac[3], mac[4], mac[5], ifindex);
        return -1;
    }
    l3lifpd_trace_debug("mac_trap_id = %d\n", entry->mac_trap_id);
    if (libsdk_intf_router_mac_trap_destroy(L3LIFPD_DEV_INST, entry->mac_trap_id) != 0) {
        l3lifpd_trace_error("%s: fhrp mac (%02x:%02x:%02x:%02x:%02x:%02x) deletion on intf %#x "
                            "with mac-trap-id %d.\n",
                            __func__, mac[0], mac[1], mac[2], mac[3], mac[4], mac[5], ifindex,
                            entry->mac_trap_id);
        return -1;
    }
    l3lifpd_kvn_fhrp_mac_remove(mac, ifindex);
    l3lifpd_trace_debug("%s:Exiting.\n", __func__);
    return 0;
}
