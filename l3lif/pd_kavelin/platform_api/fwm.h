/*
 * The forwarding manager's services: diagnostics, the shared state database, the platform-dependent
 * services of the layer-2 side, and the command-output printer.
 */
#ifndef FWM_H
#define FWM_H

#include <stdint.h>
#include <stdio.h>

#ifdef __cplusplus
extern "C" {
#endif

#if defined(__GNUC__)
#define FWM_PRINTF(format_at, first_at) __attribute__((format(printf, format_at, first_at)))
#else
#define FWM_PRINTF(format_at, first_at)
#endif

/* Add a printf-style message to the trace buffer, with the source file, function and line that
 * emitted it. zero is always 0. Takes a copy of all it needs. */
void fwm_ds_trace_add(const char *file, const char *function, int32_t line, int32_t zero,
                      const char *format, ...) FWM_PRINTF(5, 6);

/* Add a printf-style message to the error store. Takes a copy of all it needs. */
void fwm_ds_add(const char *file, const char *function, int32_t line, const char *format, ...)
    FWM_PRINTF(4, 5);

/* The debug output file, NULL while debug output is off. Owned by the forwarding manager. */
extern FILE *dbg_out_file;

/* The current time as text; valid until the next call, owned by the forwarding manager. */
const char *fwm_ctime(void);

/* The name of a trace level (102 error, 104 debug); a constant text. */
const char *fwm_debug_elem_descr(int32_t level);

/* Called after each message written to dbg_out_file; flushes or rotates it as is due. */
void fwm_check_flush_dbg_out_file(void);

/* Port-manager record of the shared state database. kind 1: a port's LID binding. */
struct fwm_pm_sdb_key {
    uint32_t kind;
    uint32_t ifindex;
};

/* ifmap_idx is the ifmap index of the port's LID; the other fields are 0. */
struct fwm_pm_sdb_data {
    uint32_t ifmap_idx;
    uint32_t word1;
    uint16_t half2;
}
#if defined(__GNUC__)
__attribute__((packed))
#endif
;

/* Store the record under the key, replacing an older one. 0 stored, non-zero not stored. */
int32_t fwm_pm_sdb_store(const struct fwm_pm_sdb_key *key, const struct fwm_pm_sdb_data *data);

/* LID of a physical port's layer-2 interface into *lid_id. 0 found; non-zero none, *lid_id kept. */
int32_t fwmpd_kvn_if_index_lid_id(uint32_t ifindex, uint32_t *lid_id);

/* Identifiers of a port-channel that the forwarding manager holds already. 0 it does and both are
 * filled; non-zero it has none. */
int32_t fwmpd_kvn_get_pc_info(uint32_t ifindex, uint32_t *pc_id, uint32_t *lid_id);

/* Give the port-channel's identifiers over to the L3 side. The result is not examined. */
int32_t fwmpd_kvn_reset_pd_pc(uint32_t ifindex);

/* Record pc_id of the port-channel in the shared database. 0 recorded, non-zero not. */
int32_t fwmpd_kvn_update_pc_sdb(uint32_t ifindex, uint32_t pc_id);

/* Set up (enable 1) or reset (enable 0) the interface's L3 label; svi is 1 for an SVI. The result
 * is not examined. */
int32_t fwmpd_kvn_init_l3_label(uint32_t ifindex, int32_t enable, int32_t svi);

/* Flush the SDK's pending batch. The result is not examined. */
int32_t fwmpd_kavelin_batch_flush(void);

/* Record the SDK interface kept for a port's port-channel membership: flag 1 keeps intf_id, flag 0
 * with intf_id 0xFFFF says that there is none. The result is not examined. */
int32_t fwmpd_pc_member_intf_store(uint32_t ifindex, uint32_t intf_id, int32_t flag);

/* Print the text into a command's output. cli_ctx is the command's context, zero is always 0. */
void cmd_prt(void *cli_ctx, const char *text, int32_t zero);

#ifdef __cplusplus
}
#endif

#endif
