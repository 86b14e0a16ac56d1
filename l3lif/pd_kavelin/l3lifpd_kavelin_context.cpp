#include "l3lifpd_kavelin_context.h"

#include <stdlib.h>
#include <string.h>

#include "l3lifpd_kavelin_trace.h"

uint8_t g_pm_store[260];
uint8_t g_pc_store[260];
uint8_t l3lif_bd_idx_list[4096];
uint8_t assoc_mgr_sdb_uri[256];
uint32_t ddb_mtsops_ix_t;
uint32_t fwm_fwim_lc_tree;
uint32_t fwm_fwim_pc_hash_select_t;
uint32_t fwm_l2mp_non_vpc_edge_port_list;
uint32_t fwm_ethernet_end_host_mode_enabled;
uint32_t eem_lib_map_hash_to_string;
uint32_t fwm_fwim_pvlan_mode_t;

int32_t l3lifpd_kvn_l3pd_init(struct l3lif *l3lif, int32_t overwrite)
{
    if (l3lif->pd_ctxt == nullptr) {
        l3lif->pd_ctxt = (l3pd_holder *)malloc(sizeof(l3pd_holder));
        if (l3lif->pd_ctxt == nullptr) {
            l3lifpd_trace_error("%s:Failed to allocate memory", __func__);
            return -1;
        }
        l3lif->pd_ctxt->holder_word = 0;
        l3lif->pd_ctxt->l3_pd = nullptr;
    }

    if (l3lif->pd_ctxt->l3_pd == nullptr) {
        l3lif->pd_ctxt->l3_pd = (l3_pd *)malloc(sizeof(l3_pd));
        if (l3lif->pd_ctxt->l3_pd == nullptr) {
            l3lifpd_trace_error("%s:Failed to create L3PD context for intf 0x%x", __func__,
                                l3lif->ifindex);
            return -1;
        }
        memset(l3lif->pd_ctxt->l3_pd, 0, sizeof(l3_pd));
    } else if (overwrite == 0) {
        l3lifpd_trace_debug("[%d]: l3_pd already exists for ifindex = %#x! No overwrite of "
                            "previous values.\n",
                            L3LIFPD_LINE, l3lif->ifindex);
        return 0;
    }

    l3_pd *const pd = L3LIFPD_GET_PD_CTXT(l3lif);
    if (pd == nullptr) {
        l3lifpd_trace_error("%s:l3_pd is null for ifindex %#x.\n", __func__, l3lif->ifindex);
        return -1;
    }
    if (overwrite != 0) {
        pd->lid_id = L3LIFPD_NO_ID;
        pd->intf_id = L3LIFPD_NO_ID;
        pd->pc_id = L3LIFPD_NO_ID;
    }
    l3lifpd_trace_debug("[%d]: Finished initialization of l3_pd.ifindex = %#x\n", L3LIFPD_LINE,
                        l3lif->ifindex);
    return 0;
}

/* The context that answers for the interface: the port-channel's for a member, else its own. */
static const l3_pd *serving_context(const struct l3lif *l3lif)
{
    return L3LIFPD_GET_PD_CTXT(l3lifpd_is_pc_member(l3lif) ? l3lif->main_l3lif : l3lif);
}

uint32_t l3lifpd_kvn_ifindex_to_port(uint32_t ifindex)
{
    uint8_t port;
    return l3lifpd_front_port(ifindex, &port);
}

uint32_t l3lifpd_kvn_is_lif_pc_member(const struct l3lif *l3lif)
{
    return l3lif != nullptr && l3lifpd_is_pc_member(l3lif) ? 1 : 0;
}

uint32_t l3lifpd_kvn_is_ifindex_pc_member(uint32_t ifindex)
{
    const struct l3lif *const l3lif = l3lif_find_lif_from_ifindex(ifindex);
    return l3lif != nullptr ? l3lifpd_kvn_is_lif_pc_member(l3lif) : 0;
}

uint32_t l3lifpd_kvn_get_pc_id_for_ifindex(uint32_t ifindex)
{
    const struct l3lif *const l3lif = l3lif_find_lif_from_ifindex(ifindex);
    const l3_pd *const pd = l3lif != nullptr ? serving_context(l3lif) : nullptr;
    if (pd == nullptr) {
        l3lifpd_trace_debug("ifindex = %#x. No pc_id.\n", ifindex);
        return L3LIFPD_NO_ID;
    }
    l3lifpd_trace_debug("ifindex = %#x pc_id = %d.\n", ifindex, pd->pc_id);
    return pd->pc_id;
}

uint32_t l3lifpd_kvn_get_intf_id_for_ifindex(uint32_t ifindex)
{
    const struct l3lif *const l3lif = l3lif_find_lif_from_ifindex(ifindex);
    const l3_pd *const pd = l3lif != nullptr ? serving_context(l3lif) : nullptr;
    if (pd == nullptr) {
        l3lifpd_trace_debug("ifindex = %#x. No intf_id.\n", ifindex);
        return L3LIFPD_NO_ID;
    }
    l3lifpd_trace_debug("ifindex = %#x intf_id = %d.\n", ifindex, pd->intf_id);
    return pd->intf_id;
}

/* Unlike the other two, the LID lookup reports a miss as an error and a hit not at all. */
uint32_t l3lifpd_kvn_get_lid_id_for_ifindex(uint32_t ifindex)
{
    const struct l3lif *const l3lif = l3lif_find_lif_from_ifindex(ifindex);
    if (l3lif == nullptr) {
        l3lifpd_trace_error("l3lif is NULL.\n");
        return L3LIFPD_NO_ID;
    }
    const l3_pd *const pd = serving_context(l3lif);
    if (pd == nullptr) {
        l3lifpd_trace_error("%d: Got l3_pd as NULL.\n", L3LIFPD_LINE);
        return L3LIFPD_NO_ID;
    }
    return pd->lid_id;
}
