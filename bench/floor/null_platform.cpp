#include "bench/floor/null_platform.h"

#include <cstdio>
#include <cstdlib>

#include "l3lifpd_kavelin.h"
#include "platform_api/fwm.h"
#include "platform_api/if_index.h"
#include "platform_api/libsdk.h"
#include "platform_api/sdwrap.h"
#include "platform_api/sse.h"

namespace {

l3lif *interfaces[5][16];
bool sinks_on;

l3lif *&slot(uint32_t ifindex)
{
    return interfaces[ifindex >> 16][ifindex & 15];
}

} // namespace

void null_platform_register(l3lif *lif)
{
    slot(lif->ifindex) = lif;
}

void null_platform_sinks(bool on)
{
    sinks_on = on;
    if (on && dbg_out_file == nullptr) {
        dbg_out_file = fopen("/dev/null", "w");
        if (dbg_out_file == nullptr)
            abort();
    }
}

extern "C" {

FILE *dbg_out_file;
const char *sdwrap_dbg_modname = "l3lif";

void fwm_ds_trace_add(const char *, const char *, int32_t, int32_t, const char *, ...) {}
void fwm_ds_add(const char *, const char *, int32_t, const char *, ...) {}
const char *fwm_ctime()
{
    return "Thu Jan  1 00:00:00 1970";
}
const char *fwm_debug_elem_descr(int32_t)
{
    return "debug";
}
void fwm_check_flush_dbg_out_file() {}
int32_t sdwrap_hist_event_subtype_check(uint32_t, int32_t)
{
    return sinks_on ? 0 : 1;
}
void sdwrap_hist_event(uint32_t, uint32_t, const sdwrap_hist_event_record *) {}
int32_t sdwrap_chk_int(int32_t, int32_t, int32_t, int32_t)
{
    return sinks_on ? 1 : 0;
}
void buginf(int32_t, const char *, int32_t, const char *, ...) {}

l3lif *l3lif_find_lif_from_ifindex(uint32_t ifindex)
{
    return slot(ifindex);
}
l3_pd *L3LIFPD_GET_PD_CTXT(const l3lif *lif)
{
    return lif->pd_ctxt != nullptr ? lif->pd_ctxt->l3_pd : nullptr;
}
int32_t l3lif_update_sdb_for_intf(l3lif *)
{
    return 0;
}
int32_t l3lif_get_iif_for_ifindex_new(uint32_t, iif_info *info)
{
    info->intf_id = 1;
    return 0;
}

int32_t if_index_get_port(uint32_t ifindex, uint8_t *port)
{
    *port = ifindex & 15;
    return 0;
}
int32_t if_index_is_eth_port_channel_intf(uint32_t ifindex)
{
    return ifindex >> 16 == null_platform_channel >> 16;
}
int32_t if_index_eth_port_channel_get_channel_num(uint32_t ifindex, uint32_t *channel)
{
    *channel = ifindex & 15;
    return 0;
}
int32_t if_index_is_physical_interface(uint32_t ifindex)
{
    return ifindex >> 16 == null_platform_port >> 16;
}
uint32_t if_index_get_mainintf_from_subintf(uint32_t ifindex)
{
    return null_platform_port | (ifindex & 15);
}

int32_t fwm_pm_sdb_store(const fwm_pm_sdb_key *, const fwm_pm_sdb_data *)
{
    return 0;
}
int32_t fwmpd_kvn_if_index_lid_id(uint32_t, uint32_t *lid_id)
{
    *lid_id = 1;
    return 0;
}
int32_t fwmpd_kvn_get_pc_info(uint32_t, uint32_t *, uint32_t *)
{
    return -1;
}
int32_t fwmpd_kvn_reset_pd_pc(uint32_t)
{
    return 0;
}
int32_t fwmpd_kvn_update_pc_sdb(uint32_t, uint32_t)
{
    return 0;
}
int32_t fwmpd_kvn_init_l3_label(uint32_t, int32_t, int32_t)
{
    return 0;
}
int32_t fwmpd_kavelin_batch_flush()
{
    return 0;
}
int32_t fwmpd_pc_member_intf_store(uint32_t, uint32_t, int32_t)
{
    return 0;
}
void cmd_prt(void *, const char *, int32_t) {}
int32_t sse_call2(uint32_t, const port_cmd_msg *, uint32_t)
{
    return 0;
}

int32_t libsdk_intf_create(int32_t, uint32_t, const sdk_intf_create_params *, uint32_t *intf_id)
{
    *intf_id = 1;
    return 0;
}
int32_t libsdk_intf_destroy(int32_t, uint32_t)
{
    return 0;
}
int32_t libsdk_intf_attr_set(int32_t, uint32_t, uint32_t, const sdk_intf_attr_value *)
{
    return 0;
}
int32_t libsdk_intf_attr_get(int32_t, uint32_t, uint32_t, sdk_intf_attr_value *value)
{
    value->param1 = 0;
    return 0;
}
int32_t libsdk_intf_attr_set_batch(int32_t, uint32_t, uint32_t, const sdk_intf_attr_value *)
{
    return 0;
}
int32_t libsdk_switch_config_get(int32_t, uint32_t, sdk_switch_config *request)
{
    request->word[1] = 1;
    return 0;
}
int32_t libsdk_portchannel_create(int32_t, uint32_t *pc_id)
{
    *pc_id = 1;
    return 0;
}
int32_t libsdk_portchannel_destroy(int32_t, uint32_t)
{
    return 0;
}
int32_t libsdk_portchannel_member_add(int32_t, uint32_t, const sdk_port_mask *)
{
    return 0;
}
int32_t libsdk_portchannel_member_delete(int32_t, uint32_t, const sdk_port_mask *, uint32_t)
{
    return 0;
}
int32_t libsdk_lid_entry_create(int32_t, uint32_t *lid_id)
{
    *lid_id = 1;
    return 0;
}
int32_t libsdk_lid_entry_destroy(int32_t, uint32_t)
{
    return 0;
}
int32_t libsdk_lid_entry_path_add(int32_t, uint32_t, const sdk_lid_path *)
{
    return 0;
}
int32_t libsdk_switch_router_mac_create(int32_t, uint32_t, uint16_t, uint32_t *id)
{
    *id = 7;
    return 0;
}
int32_t libsdk_switch_router_mac_destroy(int32_t, uint32_t)
{
    return 0;
}
int32_t libsdk_intf_router_mac_trap_create(int32_t, uint32_t, uint32_t, uint16_t, uint32_t *id)
{
    *id = 8;
    return 0;
}
int32_t libsdk_intf_router_mac_trap_destroy(int32_t, uint32_t)
{
    return 0;
}
}
