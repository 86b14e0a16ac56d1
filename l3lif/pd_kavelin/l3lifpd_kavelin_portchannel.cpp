#include "l3lifpd_kavelin_context.h"
#include "l3lifpd_kavelin_trace.h"
#include "platform_api/libsdk.h"

static_assert(sizeof(sdk_lid_path) == 12 && offsetof(sdk_lid_path, front_port) == 4 &&
                  offsetof(sdk_lid_path, pc_id) == 8,
              "LID path");
static_assert(sizeof(sdk_port_mask) == 36 && offsetof(sdk_port_mask, port_bitmap) == 4,
              "port mask");

/* Of the one record whose intf_id each sink looks up anew, so that the lookup's own record comes
 * once more per sink. */
static constexpr char already_exists_text[] =
    "sdk_intf = %d already exists for l3lif PC ifindex %#x.\n";
static_assert(l3lifpd_trace_format_takes(already_exists_text, "dx"),
              "the text does not fit its arguments");

int32_t l3lifpd_kvn_alloc_l3pc_add(struct l3lif *l3lif, int32_t create)
{
    l3lifpd_trace_debug("Entered.\n");
    if (l3lif == nullptr) {
        l3lifpd_trace_error("%s: Got l3lif as null.\n", __func__);
        return -1;
    }
    const uint32_t ifindex = l3lif->ifindex;
    if (l3lifpd_kvn_get_intf_id_for_ifindex(ifindex) != L3LIFPD_NO_ID) {
        l3lifpd_trace_debug_text(already_exists_text, l3lifpd_trace_intf_id_now{ifindex}, ifindex);
        return 0;
    }
    const uint32_t member_count = l3lif->pc_membership->member_count;
    if (member_count != 1) {
        l3lifpd_trace_error("[%d]: L3 pc creation called for ifindex %#xwhen member count is %d "
                            "(should be 1).\n",
                            L3LIFPD_LINE, ifindex, member_count);
        return -1;
    }

    uint32_t pc_id = L3LIFPD_NO_ID;
    uint32_t lid_id = L3LIFPD_NO_ID;
    int32_t rc;
    if (fwmpd_kvn_get_pc_info(ifindex, &pc_id, &lid_id) == 0) {
        l3lifpd_trace_debug("Portchannel is already created with pcid %d, lid %d\n", pc_id, lid_id);
        fwmpd_kvn_reset_pd_pc(ifindex);
    } else {
        l3lifpd_trace_debug("libsdk_portchannel_create() called, dev_inst=%d.\n", L3LIFPD_DEV_INST);
        rc = libsdk_portchannel_create(L3LIFPD_DEV_INST, &pc_id);
        if (rc != 0) {
            l3lifpd_trace_error("%s:libsdk_portchannel_create returned %d for ifindex %#x.\n",
                                __func__, rc, ifindex);
            return -1;
        }
        l3lifpd_trace_debug("[%d]:libsdk_portchannel_create() returned, sdk pc_id=%d.\n",
                            L3LIFPD_LINE, pc_id);
        rc = libsdk_lid_entry_create(L3LIFPD_DEV_INST, &lid_id);
        if (rc != 0) {
            l3lifpd_trace_error("[%d]: Error getting kvn lid id for pc %#x.\n", L3LIFPD_LINE,
                                ifindex);
            return -1;
        }
        l3lifpd_trace_debug("[%d]:libsdk_lid_entry_create() returned for pc %#x. lid_id = %d.\n",
                            L3LIFPD_LINE, ifindex, lid_id);

        sdk_lid_path path = {};
        path.port_type = SdkPortTypeChannel;
        path.pc_id = pc_id;
        l3lifpd_trace_debug("Calling libsdk_lid_entry_path_add() dev_inst = %d, lid_id = %d, "
                            "port type = %d(%s), front_port = %d, pc_id = %d.\n",
                            L3LIFPD_DEV_INST, lid_id, path.port_type, "SdkPortTypeChannel",
                            path.front_port, path.pc_id);
        rc = libsdk_lid_entry_path_add(L3LIFPD_DEV_INST, lid_id, &path);
        if (rc != 0) {
            l3lifpd_trace_error("%s: Unable to update lid entry in libsdk.\n", __func__);
            return -1;
        }
    }

    rc = l3lifpd_kvn_l3pd_init(l3lif, 1);
    if (rc != 0) {
        l3lifpd_trace_error("%d: l3_pd initialization failed. Returned rc = %d.\n", L3LIFPD_LINE,
                            rc);
        return rc;
    }
    l3_pd *const pd = L3LIFPD_GET_PD_CTXT(l3lif);
    pd->pc_id = pc_id;
    pd->lid_id = lid_id;

    if (fwmpd_kvn_update_pc_sdb(ifindex, pc_id) != 0)
        l3lifpd_trace_error("fwm SDB update for pc id = %d, ifindex=%#x failed\n", pc_id, ifindex);
    if (l3lifpd_kvn_add_l3port(l3lif, create) != 0)
        l3lifpd_trace_error("l3 interface create for pc id = %d, ifindex=%#x failed\n", pc_id,
                            ifindex);
    /* The state goes to the parent's record: l3lifpd_kvn_add_l3port sets the port-channel's own. */
    if (l3lif->main_l3lif != nullptr)
        l3lif->main_l3lif->pd_state = L3LIFPD_STATE_CREATED;
    l3lifpd_trace_debug("Exiting.\n");
    return 0;
}

/* The port mask with the one bit of front_port, most significant bit first. */
static sdk_port_mask port_mask_of(uint8_t front_port)
{
    sdk_port_mask mask = {};
    mask.mask_len = sizeof mask.port_bitmap;
    mask.port_bitmap[front_port >> 3] = (uint8_t)(0x80 >> (front_port & 7));
    return mask;
}

int32_t l3lifpd_kvn_add_l3pc(struct l3lif *l3lif, int32_t create)
{
    if (l3lif == nullptr || l3lif->main_l3lif == nullptr) {
        l3lifpd_trace_error("%s: Got l3lif as null", __func__);
        return -1;
    }
    l3lifpd_trace_debug("Entered. ifindex=%#x, create=%d\n", l3lif->ifindex, create);

    const l3_pd *const member_pd = L3LIFPD_GET_PD_CTXT(l3lif);
    if (member_pd != nullptr && member_pd->intf_id < L3LIFPD_NO_ID) {
        l3lifpd_trace_debug("[%d]: intf_id=%d already exists for member intf %#x.\n", L3LIFPD_LINE,
                            member_pd->intf_id, l3lif->ifindex);
        return 0;
    }

    struct l3lif *const port_channel = l3lif->main_l3lif;
    if (create != 0) {
        if (l3lifpd_kvn_alloc_l3pc_add(port_channel, create) != 0) {
            l3lifpd_trace_error("%s: Creating PC intf failed for ifindex %#x\n", __func__,
                                port_channel->ifindex);
            return -1;
        }
        l3lifpd_trace_debug("%d: PC created for ifindex %#x pc_id=%d.\n", L3LIFPD_LINE,
                            port_channel->ifindex, port_channel->pd_ctxt->l3_pd->pc_id);
    } else {
        l3lifpd_trace_debug("%d: pd PC already exists for ifindex %#x. Not created again.\n",
                            L3LIFPD_LINE, port_channel->ifindex);
    }

    uint8_t port;
    const uint8_t front_port = l3lifpd_front_port(l3lif->ifindex, &port);
    const uint32_t pc_id = L3LIFPD_GET_PD_CTXT(port_channel)->pc_id;
    const sdk_port_mask mask = port_mask_of(front_port);
    l3lifpd_trace_debug("[%d]: Calling libsdk_portchannel_member_add() pc_id=%d, front_port=%d.\n",
                        L3LIFPD_LINE, pc_id, front_port);
    if (libsdk_portchannel_member_add(L3LIFPD_DEV_INST, pc_id, &mask) != 0) {
        l3lifpd_trace_error("%s: libsdk_portchannel_member_add failed for pc_id %d front_port %d\n",
                            __func__, pc_id, front_port);
        return -1;
    }
    l3lifpd_trace_debug("[%d]: libsdk_portchannel_member_add succeeded for pc_id %d front_port "
                        "%d\n",
                        L3LIFPD_LINE, pc_id, front_port);
    if (l3lifpd_kvn_pc_SupPortMask_set(l3lif, port_channel, 1) != 0)
        l3lifpd_trace_error("Error setting Sup_Port_mask table entries for pc %#x.\n",
                            port_channel->ifindex);
    l3lifpd_trace_debug("Exiting.\n");
    return 0;
}

int32_t l3lifpd_kvn_add_l3pc_member(uint32_t, uint32_t ifindex)
{
    l3lifpd_trace_debug("Entered for ifindex %#x\n", ifindex);
    return 0;
}

int32_t l3lifpd_kvn_del_l3pc_member(uint32_t, uint32_t ifindex)
{
    l3lifpd_trace_debug("Entered for ifindex %#x\n", ifindex);
    return 0;
}

int32_t l3lifpd_kvn_port_SupPortMask_set(struct l3lif *)
{
    return 0;
}

int32_t l3lifpd_kvn_pc_SupPortMask_set(struct l3lif *, struct l3lif *, int32_t)
{
    return 0;
}

int32_t l3lifpd_kvn_del_l3pc(struct l3lif *l3lif, int32_t destroy)
{
    if (l3lif == nullptr) {
        l3lifpd_trace_error("[%d]: Got %s as null.\n", L3LIFPD_LINE, "l3lif");
        return -1;
    }
    if (l3lif->main_l3lif == nullptr) {
        l3lifpd_trace_error("[%d]: Got %s as null.\n", L3LIFPD_LINE, "l3lif->main_l3lif");
        return -1;
    }
    l3lifpd_trace_debug("Entered. ifindex=%#x, destroy=%d\n", l3lif->ifindex, destroy);

    const l3_pd *const member_pd = L3LIFPD_GET_PD_CTXT(l3lif);
    if (member_pd != nullptr && member_pd->intf_id < L3LIFPD_NO_ID) {
        l3lifpd_trace_debug("[%d]: intf_id=%d already exists for member intf %#x.\n", L3LIFPD_LINE,
                            member_pd->intf_id, l3lif->ifindex);
        return -1;
    }

    struct l3lif *const port_channel = l3lif->main_l3lif;
    uint8_t port;
    const uint8_t front_port = l3lifpd_front_port(l3lif->ifindex, &port);
    /* Read before anything is destroyed: the destruction below sets it to "none". */
    const uint32_t pc_id = L3LIFPD_GET_PD_CTXT(port_channel)->pc_id;
    const sdk_port_mask mask = port_mask_of(front_port);
    l3lifpd_trace_debug("[%d]: Calling libsdk_portchannel_member_delete() pc_id=%d, "
                        "front_port=%d.\n",
                        L3LIFPD_LINE, pc_id, front_port);
    if (libsdk_portchannel_member_delete(L3LIFPD_DEV_INST, pc_id, &mask, port_channel->ifindex) !=
        0) {
        l3lifpd_trace_error(
            "%s: libsdk_portchannel_member_delete failed for pc_id %d front_port %d\n", __func__,
            pc_id, front_port);
        return -1;
    }
    l3lifpd_trace_debug("[%d]: libsdk_portchannel_member_delete succeeded for pc_id %d front_port "
                        "%d\n",
                        L3LIFPD_LINE, pc_id, front_port);

    if (destroy == 0) {
        if (l3lifpd_kvn_pc_SupPortMask_set(l3lif, port_channel, 0) != 0)
            l3lifpd_trace_error("Error setting SupPortMask entries for pc %#x.\n",
                                port_channel->ifindex);
        return 0;
    }

    /* The teardown's order is fixed, and not the mirror of the creation's: LID entry, interface,
     * port-channel. */
    const uint32_t lid_id = l3lifpd_kvn_get_lid_id_for_ifindex(port_channel->ifindex);
    l3lifpd_trace_debug("[%d]: Calling libsdk_lid_entry_destroy, lid_id=%d.\n", L3LIFPD_LINE,
                        lid_id);
    int32_t rc = libsdk_lid_entry_destroy(L3LIFPD_DEV_INST, lid_id);
    if (rc != 0) {
        l3lifpd_trace_error("[%d]: libsdk_lid_entry_destroy returned rc=%d pc %#x, lid_id %d.\n",
                            L3LIFPD_LINE, rc, port_channel->ifindex, lid_id);
        return -1;
    }
    rc = l3lifpd_kvn_destroy_l3_intf(port_channel);
    if (rc != 0) {
        l3lifpd_trace_error("Could not destroy pc %#x pc_id=%d.l3lifpd_kvn_destroy_l3_intf() "
                            "returned rc=%d.\n",
                            port_channel->ifindex, pc_id, rc);
        return -1;
    }
    l3lifpd_trace_debug("[%d]: Calling libsdk_portchannel_destroy, pc_id=%d.\n", L3LIFPD_LINE,
                        pc_id);
    rc = libsdk_portchannel_destroy(L3LIFPD_DEV_INST, pc_id);
    if (rc != 0) {
        l3lifpd_trace_error("Could not destroy port channel pc_id=%d in "
                            "sdk.libsdk_portchannel_destroy() returned rc=%d.\n",
                            pc_id, rc);
        return -1;
    }
    return 0;
}
