#include "l3lifpd_kavelin_context.h"
#include "l3lifpd_kavelin_trace.h"

char l3lifpd_dump_one_line[256];

uint32_t l3lifpd_kvn_dump_l3lif(void *cli_ctx, const char *prefix, struct l3lif *l3lif)
{
    const size_t limit = sizeof l3lifpd_dump_one_line - 1;
    const uint32_t intf_id = l3lifpd_kvn_get_intf_id_for_ifindex(l3lif->ifindex);
    const uint32_t lid_id = l3lifpd_kvn_get_lid_id_for_ifindex(l3lif->ifindex);
    const l3_pd *const pd = L3LIFPD_GET_PD_CTXT(l3lif);
    const char *const marker = l3lifpd_is_pc_member(l3lif) ? "(from pc)" : "";

    if (if_index_is_eth_port_channel_intf(l3lif->ifindex) != 0)
        snprintf(l3lifpd_dump_one_line, limit, "%s: intf_id %d lid_id %d pc_id %d.\n", prefix,
                 intf_id, lid_id, pd != nullptr ? pd->pc_id : L3LIFPD_NO_ID);
    else
        snprintf(l3lifpd_dump_one_line, limit, "%s: intf_id %s %d lid_id %s %d.\n", prefix, marker,
                 intf_id, marker, lid_id);

    if (cli_ctx != nullptr)
        cmd_prt(cli_ctx, l3lifpd_dump_one_line, 0);
    else
        l3lifpd_trace_debug("%s", l3lifpd_dump_one_line);
    return 0;
}

char *l3lifpd_dump_format_mac_bytes(const uint8_t *mac, char *buf)
{
    snprintf(buf, 20, "%02x%02x.%02x%02x.%02x%02x", mac[0], mac[1], mac[2], mac[3], mac[4], mac[5]);
    return buf;
}
