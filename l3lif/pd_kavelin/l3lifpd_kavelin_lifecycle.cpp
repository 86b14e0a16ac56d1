#include "l3lifpd_kavelin_context.h"
#include "l3lifpd_kavelin_trace.h"
#include "platform_api/libsdk.h"

static_assert(sizeof(sdk_intf_create_params) == 20, "interface-create parameter block");
static_assert(sizeof(sdk_intf_attr_value) == 12, "attribute value");
static_assert(sizeof(sdk_switch_config) == 32, "switch-configuration request");
static_assert(sizeof(fwm_pm_sdb_key) == 8, "port-manager key");
static_assert(sizeof(fwm_pm_sdb_data) == 10, "port-manager data");

/* Switch-configuration item that answers a LID's ifmap index. */
enum : uint32_t { SDK_CONFIG_LID_IFMAP_IDX = 38 };

/* Kind of the port-manager record that binds a port to its LID. */
enum : uint32_t { PM_SDB_PORT_LID = 1 };

/* Set in a port-channel's default security-group tag. */
enum : uint32_t { SGT_PORT_CHANNEL = 0x8000 };

/* IGMP snooping label of a routed port. */
enum : uint32_t { IGMP_SNOOP_LABEL_ROUTED = 16, IGMP_SNOOP_LABEL_NONE = 0 };

/* Flags of fwmpd_pc_member_intf_store. */
enum : int32_t { MEMBER_INTF_NONE = 0, MEMBER_INTF_KEPT = 1 };

/* Store the port's LID binding in the shared database. */
static int32_t l3lifpd_kvn_if_update_sdb(const struct l3lif *l3lif, uint32_t lid_id)
{
    l3lifpd_trace_debug("ifindex %#x lid %d\n", l3lif->ifindex, lid_id);

    sdk_switch_config request = {};
    request.word[0] = lid_id;
    if (libsdk_switch_config_get(L3LIFPD_DEV_INST, SDK_CONFIG_LID_IFMAP_IDX, &request) != 0) {
        l3lifpd_trace_error("Could not get ifmap_idx for lid_id %d.\n", lid_id);
        return -1;
    }

    const fwm_pm_sdb_key key = {PM_SDB_PORT_LID, l3lif->ifindex};
    const fwm_pm_sdb_data data = {request.word[1], 0, 0};
    if (fwm_pm_sdb_store(&key, &data) != 0) {
        l3lifpd_trace_error("Failed to store pm_sdb for if_index %#x.\n", l3lif->ifindex);
        return -1;
    }
    return 0;
}

/* Bind the port to its LID: in the shared database, then in the supported-port masks. */
static int32_t l3lifpd_kvn_if_set_lid(struct l3lif *l3lif, uint32_t lid_id)
{
    if (l3lifpd_kvn_if_update_sdb(l3lif, lid_id) != 0)
        return -1;
    if (l3lifpd_kvn_port_SupPortMask_set(l3lif) != 0) {
        l3lifpd_trace_error("Could not set SupPortMask for %#x\n", l3lif->ifindex);
        return -1;
    }
    return 0;
}

int32_t l3lifpd_kvn_add_l3port(struct l3lif *l3lif, int32_t create)
{
    uint32_t intf_id = L3LIFPD_NO_ID;
    uint32_t lid_id;
    uint32_t channel;
    uint8_t port;
    uint8_t front_port = 0;
    sdk_intf_create_params params = {};
    const char *param1_label;
    const char *param3_label;

    if (l3lif == nullptr) {
        l3lifpd_trace_error("L3 interface is NULL. Returning failure.\n");
        return -1;
    }
    const uint32_t ifindex = l3lif->ifindex;
    l3lifpd_trace_debug("ifindex %#x create %d\n", ifindex, create);
    if (l3lifpd_kvn_get_intf_id_for_ifindex(ifindex) < L3LIFPD_NO_ID) {
        l3lifpd_trace_debug("l3lif_pd intf already exists. Exiting.\n");
        return 0;
    }

    const bool is_port_channel = if_index_is_eth_port_channel_intf(ifindex) != 0;
    if (is_port_channel) {
        l3lifpd_trace_debug("[%d]: L3 interface is PC, ifindex %#x\n", L3LIFPD_LINE, ifindex);
        lid_id = l3lifpd_kvn_get_lid_id_for_ifindex(ifindex);
        l3lifpd_trace_debug("[%d]: Got lid id = %d from l3 lif ifindex %#x.\n", L3LIFPD_LINE,
                            lid_id, ifindex);
        params.param1 = L3LIFPD_GET_PD_CTXT(l3lif)->pc_id;
        params.param3 = 1;
        param1_label = "pc_id";
        param3_label = "Portchannel";
    } else {
        const int32_t rc = fwmpd_kvn_if_index_lid_id(ifindex, &lid_id);
        if (rc != 0) {
            l3lifpd_trace_error("%s[%d]: fwmpd_kvn_if_index_lid_id returned rc=%d, ifindex=%#x\n",
                                __func__, L3LIFPD_LINE, rc, ifindex);
            return -1;
        }
        l3lifpd_trace_debug("[%d]: Got lid id = %d from l2 lif.\n", L3LIFPD_LINE, lid_id);
        if (l3lifpd_kvn_if_set_lid(l3lif, lid_id) != 0) {
            l3lifpd_trace_error("l3lifpd_kvn_if_set_lid for %#x failed\n", ifindex);
            return -1;
        }
        fwmpd_pc_member_intf_store(ifindex, L3LIFPD_NO_ID, MEMBER_INTF_NONE);
        front_port = l3lifpd_front_port(ifindex, &port);
        params.param1 = front_port;
        param1_label = "front_port";
        param3_label = "physical port";
    }

    l3lifpd_trace_debug("[%d]:libsdk_intf_create() called, dev_inst=%d,SDK Interface_type=%d, "
                        "%s(param1)=%d, svif(param2)=%d, %s(param3)=%d.\n",
                        L3LIFPD_LINE, L3LIFPD_DEV_INST, L3LIFPD_SDK_INTF_ROUTED, param1_label,
                        params.param1, params.param2, param3_label, params.param3);
    fwmpd_kavelin_batch_flush();
    int32_t rc = libsdk_intf_create(L3LIFPD_DEV_INST, L3LIFPD_SDK_INTF_ROUTED, &params, &intf_id);
    if (rc != 0) {
        l3lifpd_trace_error("%s:libsdk_intf_create() returned %d for ifindex %#x.\n", __func__, rc,
                            ifindex);
        return -1;
    }
    l3lifpd_trace_debug("[%d]:libsdk_intf_create() returned, sdk intf_id=%d.\n", L3LIFPD_LINE,
                        intf_id);

    sdk_intf_attr_value lid_value = {};
    lid_value.param1 = lid_id;
    l3lifpd_trace_debug("[%d]: Calling libsdk_intf_attr_set() with dev_inst = %d, intf_id = %d, "
                        "SdkIntfAttrLid, param1(lid_id) = %d.\n",
                        L3LIFPD_LINE, L3LIFPD_DEV_INST, intf_id, lid_id);
    rc = libsdk_intf_attr_set(L3LIFPD_DEV_INST, intf_id, SdkIntfAttrLid, &lid_value);
    if (rc != 0) {
        l3lifpd_trace_error("%s:libsdk_intf_attr_set() returned %d for intf_id=%d lid_id=%d.\n",
                            __func__, rc, intf_id, lid_id);
        return -1;
    }

    sdk_intf_attr_value tag_value = {};
    if (is_port_channel) {
        if_index_eth_port_channel_get_channel_num(ifindex, &channel);
        tag_value.param1 = (uint16_t)(channel + 1) | SGT_PORT_CHANNEL;
    } else {
        tag_value.param1 = l3lifpd_front_port(ifindex, &port);
    }
    rc = libsdk_intf_attr_set(L3LIFPD_DEV_INST, intf_id, SdkIntfAttrDefSgt, &tag_value);
    if (rc != 0) {
        l3lifpd_trace_error("intf_attr_set failed rc = %d for DefSgt. %s=%d\n", rc,
                            is_port_channel ? "PO" : "port",
                            is_port_channel ? channel + 1 : front_port);
        return rc;
    }

    /* A port-channel's context holds its pc_id and lid_id already. */
    rc = l3lifpd_kvn_l3pd_init(l3lif, is_port_channel ? 0 : 1);
    if (rc != 0) {
        l3lifpd_trace_error("%d: l3_pd initialization failed. Returned rc = %d.\n", L3LIFPD_LINE,
                            rc);
        return rc;
    }
    l3_pd *const pd = L3LIFPD_GET_PD_CTXT(l3lif);
    pd->intf_id = (uint16_t)intf_id;
    pd->lid_id = lid_id;

    l3lifpd_kvn_init_l3_properties(l3lif);
    fwmpd_kvn_init_l3_label(ifindex, 1, 0);
    l3lifpd_kvn_set_l3_property(l3lif, L3LIF_PROP_IGMP_SNOOP_LABEL, IGMP_SNOOP_LABEL_ROUTED);
    l3lif->pd_state = L3LIFPD_STATE_CREATED;
    l3lifpd_trace_debug("Exiting.\n");
    return 0;
}

int32_t l3lifpd_kvn_destroy_l3_intf(struct l3lif *l3lif)
{
    if (l3lif == nullptr) {
        l3lifpd_trace_error("[%d]: Got %s as null.\n", L3LIFPD_LINE, "l3lif");
        return -1;
    }
    const uint32_t ifindex = l3lif->ifindex;
    l3lifpd_trace_debug("Entered. ifindex=%#x.\n", ifindex);
    if (l3lifpd_kvn_get_intf_id_for_ifindex(ifindex) >= L3LIFPD_NO_ID) {
        l3lifpd_trace_debug("[%d]: intf_id already cleared for ifindex %#x. Return success.\n",
                            L3LIFPD_LINE, ifindex);
        return 0;
    }

    fwmpd_kvn_init_l3_label(ifindex, 0, 0);
    l3lifpd_kvn_set_l3_property(l3lif, L3LIF_PROP_IGMP_SNOOP_LABEL, IGMP_SNOOP_LABEL_NONE);

    l3_pd *const pd = L3LIFPD_GET_PD_CTXT(l3lif);
    if (pd == nullptr) {
        l3lifpd_trace_error("%s:l3_pd is null for ifindex %#x.\n", __func__, ifindex);
        return -1;
    }
    const uint16_t intf_id = pd->intf_id;
    if (intf_id != L3LIFPD_NO_ID) {
        l3lifpd_trace_debug("[%d]: Calling libsdk_intf_destroy() for ifindex=%#x, intf_id=%d.\n",
                            L3LIFPD_LINE, ifindex, intf_id);
        fwmpd_kavelin_batch_flush();
        if (if_index_is_physical_interface(ifindex) != 0) {
            /* The SDK interface stays with the port for its port-channel membership. */
            fwmpd_pc_member_intf_store(ifindex, intf_id, MEMBER_INTF_KEPT);
        } else {
            const int32_t rc = libsdk_intf_destroy(L3LIFPD_DEV_INST, intf_id);
            l3lifpd_trace_debug(
                "[%d]: libsdk_intf_destroy() returned %d for ifindex=%#x, intf_id=%d.\n",
                L3LIFPD_LINE, rc, ifindex, intf_id);
            if (rc != 0) {
                l3lifpd_trace_error("%s:Failed to destroy interface %#x with intf-id %d.\n",
                                    __func__, ifindex, intf_id);
                return -1;
            }
        }
        pd->old_intf_id = intf_id;
        pd->intf_id = L3LIFPD_NO_ID;
        pd->pc_id = L3LIFPD_NO_ID;
        pd->lid_id = L3LIFPD_NO_ID;
        l3lif->pd_state = L3LIFPD_STATE_DESTROYED;
    }
    l3lifpd_trace_debug("Exiting.\n");
    return 0;
}

int32_t l3lifpd_kvn_del_l3port(struct l3lif *l3lif)
{
    l3lifpd_trace_debug("Entered.\n");
    return l3lifpd_kvn_destroy_l3_intf(l3lif);
}

int32_t l3lifpd_kvn_del_svi(struct l3lif *l3lif)
{
    l3lifpd_trace_debug("Entered.\n");
    return l3lifpd_kvn_destroy_l3_intf(l3lif);
}

int32_t l3lifpd_kvn_del_subint(struct l3lif *l3lif)
{
    l3lifpd_trace_debug("ifindex = %#x\n", l3lif->ifindex);
    return l3lifpd_kvn_destroy_l3_intf(l3lif);
}

int32_t l3lifpd_kvn_add_l3tun(struct l3lif *, int32_t)
{
    return 0;
}

int32_t l3lifpd_kvn_del_l3tun(struct l3lif *)
{
    return 0;
}

int32_t l3lifpd_kvn_add_subint(struct l3lif *l3lif, uint32_t encap_vlan, int32_t create)
{
    uint32_t intf_id = L3LIFPD_NO_ID;

    if (l3lif == nullptr)
        return -1;
    const uint32_t ifindex = l3lif->ifindex;
    l3lifpd_trace_debug("ifindex = %#x encap_vlan = %d create = %d\n", ifindex, encap_vlan, create);
    if (l3lifpd_kvn_get_intf_id_for_ifindex(ifindex) != L3LIFPD_NO_ID)
        return 0;

    const uint32_t parent_ifindex = if_index_get_mainintf_from_subintf(ifindex);
    const uint32_t lid_id = l3lifpd_kvn_get_lid_id_for_ifindex(parent_ifindex);
    if (lid_id == 0xFFFF)
        l3lifpd_trace_error("Parent interface's lid is invalid!\n");
    l3lifpd_assert(lid_id != 0xFFFF);

    sdk_intf_create_params params = {};
    params.param1 = l3lifpd_kvn_get_intf_id_for_ifindex(parent_ifindex);
    params.param2 = encap_vlan;
    fwmpd_kavelin_batch_flush();
    int32_t rc = libsdk_intf_create(L3LIFPD_DEV_INST, L3LIFPD_SDK_INTF_SUBINT, &params, &intf_id);
    if (rc != 0) {
        l3lifpd_trace_error("%s:libsdk_intf_create returned %u for ifindex %#x.\n", __func__, rc,
                            ifindex);
        return -1;
    }

    sdk_intf_attr_value lid_value = {};
    lid_value.param1 = lid_id;
    l3lifpd_trace_debug("[%d]: Calling libsdk_intf_attr_set() with dev_inst = %d, intf_id = %d, "
                        "SdkIntfAttrLid, param1(lid_id) = %d.\n",
                        L3LIFPD_LINE, L3LIFPD_DEV_INST, intf_id, lid_id);
    rc = libsdk_intf_attr_set(L3LIFPD_DEV_INST, intf_id, SdkIntfAttrLid, &lid_value);
    if (rc != 0) {
        l3lifpd_trace_error("%s:libsdk_intf_attr_set() returned %u for intf_id=%d lid_id=%d.\n",
                            __func__, rc, intf_id, lid_id);
        return -1;
    }

    rc = l3lifpd_kvn_l3pd_init(l3lif, 1);
    if (rc != 0) {
        l3lifpd_trace_error("l3_pd initialization failed. Returned rc = %d\n", rc);
        return rc;
    }
    l3_pd *const pd = L3LIFPD_GET_PD_CTXT(l3lif);
    pd->intf_id = (uint16_t)intf_id;
    pd->lid_id = lid_id;

    l3lifpd_kvn_init_l3_properties(l3lif);
    fwmpd_kvn_init_l3_label(ifindex, 1, 0);
    l3lif->pd_state = L3LIFPD_STATE_CREATED;
    const uint16_t parent_intf_id = (uint16_t)l3lifpd_kvn_get_intf_id_for_ifindex(parent_ifindex);
    l3lifpd_trace_debug("intf_id = %d parent ifindex = %#x (intf %d)\n", intf_id, parent_ifindex,
                        parent_intf_id);
    return 0;
}

int32_t l3lifpd_kvn_add_svi(struct l3lif *l3lif, uint32_t encap_vlan)
{
    uint32_t intf_id = L3LIFPD_NO_ID;
    sdk_intf_create_params params = {};

    l3lifpd_trace_debug("Entered.\n");
    if (l3lif == nullptr)
        return -1;
    const uint32_t ifindex = l3lif->ifindex;
    if (l3lifpd_kvn_get_intf_id_for_ifindex(ifindex) != L3LIFPD_NO_ID)
        return 0;

    params.param1 = encap_vlan;
    l3lifpd_trace_debug("[%d]:libsdk_intf_create() called, dev_inst=%d,SDK Interface_type=%d, "
                        "param1(encap_vlan)=%d, param2(svif)=%d, param3(pc/pif)=%d.\n",
                        L3LIFPD_LINE, L3LIFPD_DEV_INST, L3LIFPD_SDK_INTF_SVI, params.param1,
                        params.param2, params.param3);
    fwmpd_kavelin_batch_flush();
    int32_t rc = libsdk_intf_create(L3LIFPD_DEV_INST, L3LIFPD_SDK_INTF_SVI, &params, &intf_id);
    if (rc != 0) {
        l3lifpd_trace_error("%s:libsdk_intf_create returned %d for ifindex %#x.\n", __func__, rc,
                            ifindex);
        return -1;
    }
    l3lifpd_trace_debug("[%d]:libsdk_intf_create() returned, sdk intf_id=%d.\n", L3LIFPD_LINE,
                        intf_id);

    rc = l3lifpd_kvn_l3pd_init(l3lif, 1);
    if (rc != 0) {
        l3lifpd_trace_error("%d: l3_pd initialization failed. Returned rc = %d.\n", L3LIFPD_LINE,
                            rc);
        return rc;
    }
    L3LIFPD_GET_PD_CTXT(l3lif)->intf_id = (uint16_t)intf_id;

    l3lifpd_kvn_init_l3_properties(l3lif);
    fwmpd_kvn_init_l3_label(ifindex, 1, 1);
    l3lifpd_trace_debug("Exiting.\n");
    return 0;
}
