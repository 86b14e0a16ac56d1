/* What else the library imports of its host. This host has a shared database of two columns (in the
 * interfaces' records), prints error records, and has no debug output and no event history. */
#include <stdarg.h>
#include <stdio.h>

#include <kvnsim/sdk.h>
#include <l3lifpd_kavelin.h>
#include <platform_api/fwm.h>
#include <platform_api/sdwrap.h>
#include <platform_api/sse.h>

#include "host.h"

/* ---- The interfaces' records ---- */

struct l3_pd *L3LIFPD_GET_PD_CTXT(const struct l3lif *l3lif)
{
    return l3lif != NULL && l3lif->pd_ctxt != NULL ? l3lif->pd_ctxt->l3_pd : NULL;
}

int32_t l3lif_update_sdb_for_intf(struct l3lif *l3lif)
{
    struct interface *interface = find_interface(l3lif->ifindex);
    interface->published_mtu = interface->ip_cfg.mtu;
    return 0;
}

int32_t l3lif_get_iif_for_ifindex_new(uint32_t ifindex, struct iif_info *iif_info)
{
    const uint32_t intf_id = l3lifpd_kvn_get_intf_id_for_ifindex(ifindex);
    if (intf_id == NONE)
        return -1;
    iif_info->intf_id = intf_id;
    return 0;
}

/* ---- Services of the layer-2 side ---- */

int32_t fwmpd_kvn_if_index_lid_id(uint32_t ifindex, uint32_t *lid_id)
{
    const struct interface *port = find_interface(ifindex);
    if (port == NULL || port->lid_id == NONE)
        return -1;
    *lid_id = port->lid_id;
    return 0;
}

/* The library's last word on a port's SDK interface: from now on it is the host's. */
int32_t fwmpd_pc_member_intf_store(uint32_t ifindex, uint32_t intf_id, int32_t flag)
{
    struct interface *port = find_interface(ifindex);
    port->kept_intf = flag != 0 ? intf_id : NONE;
    return 0;
}

/* The library calls this before it destroys an interface: the SDK refuses that while attribute
 * writes wait. */
int32_t fwmpd_kavelin_batch_flush(void)
{
    return kvnsim_sdk_batch_flush() == 0 ? 0 : -1;
}

/* This layer-2 side makes no port-channels, so that there are none to adopt. */
int32_t fwmpd_kvn_get_pc_info(uint32_t ifindex, uint32_t *pc_id, uint32_t *lid_id)
{
    (void)ifindex, (void)pc_id, (void)lid_id;
    return -1;
}

int32_t fwmpd_kvn_reset_pd_pc(uint32_t ifindex)
{
    (void)ifindex;
    return 0;
}

int32_t fwmpd_kvn_update_pc_sdb(uint32_t ifindex, uint32_t pc_id)
{
    (void)ifindex, (void)pc_id;
    return 0;
}

int32_t fwm_pm_sdb_store(const struct fwm_pm_sdb_key *key, const struct fwm_pm_sdb_data *data)
{
    (void)key, (void)data;
    return 0;
}

int32_t fwmpd_kvn_init_l3_label(uint32_t ifindex, int32_t enable, int32_t svi)
{
    (void)ifindex, (void)enable, (void)svi;
    return 0;
}

int32_t sse_call2(uint32_t call, const struct port_cmd_msg *msg, uint32_t length)
{
    (void)call, (void)msg, (void)length;
    return 0;
}

/* ---- Diagnostics ---- */

FILE *dbg_out_file; /* NULL: no debug output */
const char *sdwrap_dbg_modname = "host";

void fwm_ds_add(const char *file, const char *function, int32_t line, const char *format, ...)
{
    va_list arguments;
    (void)file;
    va_start(arguments, format);
    fprintf(stderr, "error record of %s:%d: ", function, line);
    vfprintf(stderr, format, arguments);
    va_end(arguments);
}

void fwm_ds_trace_add(const char *file, const char *function, int32_t line, int32_t zero,
                      const char *format, ...)
{
    (void)file, (void)function, (void)line, (void)zero, (void)format;
}

void cmd_prt(void *cli_ctx, const char *text, int32_t zero)
{
    (void)cli_ctx, (void)zero;
    fputs(text, stdout);
}

const char *fwm_ctime(void)
{
    return "";
}

const char *fwm_debug_elem_descr(int32_t level)
{
    return level == 102 ? "error" : "debug";
}

void fwm_check_flush_dbg_out_file(void) {}

int32_t sdwrap_hist_event_subtype_check(uint32_t event, int32_t level)
{
    (void)event, (void)level;
    return -1; /* not recorded */
}

void sdwrap_hist_event(uint32_t event, uint32_t length,
                       const struct sdwrap_hist_event_record *record)
{
    (void)event, (void)length, (void)record;
}

int32_t sdwrap_chk_int(int32_t level, int32_t a, int32_t b, int32_t c)
{
    (void)level, (void)a, (void)b, (void)c;
    return 0; /* off */
}

void buginf(int32_t one, const char *module, int32_t zero, const char *format, ...)
{
    (void)one, (void)module, (void)zero, (void)format;
}
