#include "l3lifpd_kavelin_context.h"
#include "l3lifpd_kavelin_trace.h"
#include "platform_api/libsdk.h"
#include "platform_api/sse.h"

static_assert(sizeof(port_cmd_msg) == 60, "port command message");
static_assert(offsetof(port_cmd_msg, port) == 1 && offsetof(port_cmd_msg, cmd) == 8,
              "port command message");
static_assert(sizeof(iif_info) == 128 && offsetof(iif_info, intf_id) == 24, "interface info");

/* How a property's value becomes the attribute's. */
enum class Write : uint8_t {
    Value,        /* as it is */
    Inverted,     /* 1 for 0, else 0: the property is the opposite of the hardware flag */
    SetBits,      /* read, set the value's bits, write */
    ClearBits,    /* read, clear the value's bits, write */
    NotProgrammed /* traced only */
};

/* What a failed write's text takes. */
enum class Failure : uint8_t {
    Value, /* function, line, the value asked for, intf_id */
    Status /* intf_id, the SDK's status */
};

struct property_row {
    l3lif_prop_type type;
    uint32_t attribute;
    Write write;
    const char *debug_text; /* takes the value written and intf_id */
    Failure failure;
    const char *failure_text;
};

static constexpr property_row property_rows[] = {
    {L3LIF_PROP_IPV4_UCST_EN, SdkIntfAttrIpv4UcstEn, Write::Value,
     "Setting ipv4_ucst_en=%d in libsdk for intf %d.\n", Failure::Value,
     "%s[%d]: libsdk_intf_attr_set with IPV4_UCST_EN=%d failed for sdk_intf %d.\n"},
    {L3LIF_PROP_IPV4_MCST_EN, SdkIntfAttrIpv4McstEn, Write::Value,
     "Setting ipv4_mcst_en=%d in libsdk for intf %d.\n", Failure::Value,
     "%s[%d]: libsdk_intf_attr_set with IPV4_MCST_EN=%d failed for sdk_intf %d.\n"},
    {L3LIF_PROP_IPV4_VPN, SdkIntfAttrIpv4Vpn, Write::Value,
     "Setting ipv4_vpn=%d in libsdk for intf %d.\n", Failure::Value,
     "%s[%d]: libsdk_intf_attr_set with IPV4_VPN=%d failed for sdk_intf %d.\n"},
    {L3LIF_PROP_IPV4_RPF_MODE, SdkIntfAttrIpv4RpfMode, Write::Value,
     "Setting ipv4_rpf_mode=%d in libsdk for intf %d.\n", Failure::Value,
     "%s[%d]: libsdk_intf_attr_set with ipv4_rpf_mode=%d failed for sdk_intf %d.\n"},
    {L3LIF_PROP_IPV4_SAME_IF_CHECK, SdkIntfAttrIpv4SameIfCheck, Write::Inverted,
     "Setting ipv4_same_if_check=%d in libsdk for intf %d.\n", Failure::Value,
     "%s[%d]: libsdk_intf_attr_set with ipv4_same_if_check=%d failed for sdk_intf %d.\n"},
    {L3LIF_PROP_IPV6_UCST_EN, SdkIntfAttrIpv6UcstEn, Write::Value,
     "Setting ipv6_ucst_en=%d in libsdk for intf %d.\n", Failure::Value,
     "%s[%d]: libsdk_intf_attr_set with IPV6_UCST_EN=%d failed for sdk_intf %d.\n"},
    {L3LIF_PROP_IPV6_MCST_EN, SdkIntfAttrIpv6McstEn, Write::Value,
     "Setting ipv6_mcst_en=%d in libsdk for intf %d.\n", Failure::Value,
     "%s[%d]: libsdk_intf_attr_set with IPV6_MCST_EN=%d failed for sdk_intf %d.\n"},
    {L3LIF_PROP_IPV6_SAME_IF_CHECK, SdkIntfAttrIpv6SameIfCheck, Write::Inverted,
     "Setting ipv6_same_if_check=%d in libsdk for intf %d.\n", Failure::Value,
     "%s[%d]: libsdk_intf_attr_set with ipv6_same_if_check=%d failed for sdk_intf %d.\n"},
    {L3LIF_PROP_IPV6_VPN, SdkIntfAttrIpv6Vpn, Write::Value,
     "Setting ipv6_vpn=%d in libsdk for intf %d.\n", Failure::Value,
     "%s[%d]: libsdk_intf_attr_set with IPV6_VPN=%d failed for sdk_intf %d.\n"},
    {L3LIF_PROP_ACL_BD_LABEL, SdkIntfAttrAclBdLabel, Write::Value,
     "Setting acl_bd_label=%#x in libsdk for intf %d.\n", Failure::Value,
     "%s[%d]: libsdk_intf_attr_set with acl_bd_label=%d failed for sdk_intf %d.\n"},
    {L3LIF_PROP_QOS_LABEL, 0, Write::NotProgrammed, "Setting Qos_label=%d in libsdk for intf %d.\n",
     Failure::Value, nullptr},
    {L3LIF_PROP_MTU, SdkIntfAttrMtuIdx, Write::Value, "Setting mtu=%d in libsdk for intf %d.\n",
     Failure::Value, "%s[%d]: libsdk_intf_attr_set with mtu_idx=%d failed for sdk_intf %d.\n"},
    {L3LIF_PROP_VLAN_TABLE_MISS, SdkIntfAttrVlanTableMiss, Write::Value,
     "Setting vlan_table_miss=%d in libsdk for intf %d.\n", Failure::Value,
     "%s[%d]: libsdk_intf_attr_set with vlan_table_miss=%d failed for sdk_intf %d.\n"},
    {L3LIF_PROP_DF_MASK_SET, SdkIntfAttrIngTblDfMask, Write::SetBits,
     "Setting df_mask=%#x in libsdk for intf %d.\n", Failure::Value,
     "%s[%d]: libsdk_intf_attr_set with df_mask=%#x failed for sdk_intf %d.\n"},
    {L3LIF_PROP_DF_MASK_CLEAR, SdkIntfAttrIngTblDfMask, Write::ClearBits,
     "Setting df_mask=%#x in libsdk for intf %d.\n", Failure::Value,
     "%s[%d]: libsdk_intf_attr_set with df_mask=%#x failed for sdk_intf %d.\n"},
    {L3LIF_PROP_IGMP_SNOOP_LABEL, SdkIntfAttrIngTblIgmpSnoopLabel, Write::Value,
     "Setting igmp_snoop_label=%d in libsdk for intf %d.\n", Failure::Status,
     "SdkIntfAttrIngTblIgmpSnoopLabel is failed for intf %d. st%d \n"},
};

/* The arguments that the code below passes, as conversions. */
static constexpr bool takes(const char *format, const char *decimal, const char *hexadecimal)
{
    return l3lifpd_trace_format_takes(format, decimal) ||
           l3lifpd_trace_format_takes(format, hexadecimal);
}

static constexpr bool property_texts_fit()
{
    for (const property_row &row : property_rows) {
        if (!takes(row.debug_text, "dd", "xd"))
            return false;
        if (row.write == Write::NotProgrammed)
            continue;
        if (row.failure == Failure::Value ? !takes(row.failure_text, "sddd", "sdxd")
                                          : !takes(row.failure_text, "dd", "dd"))
            return false;
    }
    return true;
}
static_assert(property_texts_fit(), "a property's text does not fit its arguments");

static constexpr uint32_t count_types()
{
    uint32_t count = 0;
    for (const property_row &row : property_rows) {
        if (row.type >= count)
            count = row.type + 1;
    }
    return count;
}
enum : uint32_t { PROPERTY_TYPES = count_types() };

/* The rows by type: setting properties is most of what making an interface does. */
struct property_index {
    const property_row *row[PROPERTY_TYPES];
};

static constexpr property_index index_properties()
{
    property_index index = {};
    for (const property_row &row : property_rows)
        index.row[row.type] = &row;
    return index;
}
static constexpr property_index properties = index_properties();

static const property_row *find_property(uint32_t prop_type)
{
    return prop_type < PROPERTY_TYPES ? properties.row[prop_type] : nullptr;
}

int32_t l3lifpd_kvn_set_single_l3_property(uint32_t intf_id, uint32_t prop_type, uint32_t value)
{
    const property_row *const row = find_property(prop_type);
    if (row == nullptr) {
        l3lifpd_trace_debug("[%d]: Unknown property type %d.\n", L3LIFPD_LINE, prop_type);
        return 0;
    }

    sdk_intf_attr_value holder = {};
    switch (row->write) { /* each has a case: GCOVR_EXCL_BR_LINE */
    case Write::Value:
    case Write::NotProgrammed:
        holder.param1 = value;
        break;
    case Write::Inverted:
        holder.param1 = value == 0 ? 1 : 0;
        break;
    case Write::SetBits:
    case Write::ClearBits: {
        const int32_t rc = libsdk_intf_attr_get(L3LIFPD_DEV_INST, intf_id, row->attribute, &holder);
        if (rc != 0) {
            l3lifpd_trace_error("[%d]: libsdk_intf_attr_get failed for  SdkIntfAttrIngTblDfMask "
                                "for intf_id %d.\n",
                                L3LIFPD_LINE, intf_id);
            return rc;
        }
        holder.param1 =
            row->write == Write::SetBits ? holder.param1 | value : holder.param1 & ~value;
        break;
    }
    }

    l3lifpd_trace_debug_text(row->debug_text, holder.param1, intf_id);
    if (row->write == Write::NotProgrammed)
        return 0;
    const int32_t rc = libsdk_intf_attr_set(L3LIFPD_DEV_INST, intf_id, row->attribute, &holder);
    if (rc == 0)
        return 0;
    if (row->failure == Failure::Value)
        l3lifpd_trace_error_text(row->failure_text, __func__, L3LIFPD_LINE, value, intf_id);
    else
        l3lifpd_trace_error_text(row->failure_text, intf_id, rc);
    return rc;
}

int32_t l3lifpd_kvn_set_l3_property(struct l3lif *l3lif, int32_t prop_type, uint32_t value)
{
    if (l3lif == nullptr) {
        l3lifpd_trace_error("%s[%u]: l3lif is NULL.\n", __func__, L3LIFPD_LINE);
        return -1;
    }
    l3lifpd_trace_debug("l3lif=%#x, Property type=%d, value=%d.\n", l3lif->ifindex, prop_type,
                        value);
    const uint32_t intf_id = l3lifpd_kvn_get_intf_id_for_ifindex(l3lif->ifindex);
    if (intf_id == L3LIFPD_NO_ID) {
        l3lifpd_trace_error("[%d]: Got invalid intf_id for ifindex %#x.\n", L3LIFPD_LINE,
                            l3lif->ifindex);
        return 0;
    }
    const int32_t rc = l3lifpd_kvn_set_single_l3_property(intf_id, (uint32_t)prop_type, value);
    if (rc != 0) {
        l3lifpd_trace_debug("[%d]: Error! Returning rc=%d.\n", L3LIFPD_LINE, rc);
        return rc;
    }

    bool stored = true;
    switch (prop_type) {
    case L3LIF_PROP_MTU:
        l3lifpd_trace_debug("Storing MTU=%d in l3lif_sdb for ifindex %#x.\n", value,
                            l3lif->ifindex);
        break;
    case L3LIF_PROP_IPV4_VPN:
        l3lifpd_trace_debug("Storing v4_vpn_id=%d in l3lif_sdb for ifindex %#x.\n", value,
                            l3lif->ifindex);
        break;
    case L3LIF_PROP_IF_NAT:
        l3lifpd_trace_debug("Storing IF_NAT=%d in l3lif_sdb for ifindex %#x.\n", value,
                            l3lif->ifindex);
        break;
    default:
        stored = false;
    }
    if (stored)
        l3lif_update_sdb_for_intf(l3lif);
    l3lifpd_trace_debug("Exiting.\n");
    return 0;
}

/* MTU in bytes of an interface without a configured one. */
enum : uint32_t { DEFAULT_MTU = 1500 };

int32_t l3lifpd_kvn_init_l3_properties(struct l3lif *l3lif)
{
    uint32_t mtu = DEFAULT_MTU;
    uint32_t same_if = 1;
    if (const l3lif_ip_cfg *const ip_cfg = l3lif->ip_cfg) {
        if (ip_cfg->mtu != 0)
            mtu = ip_cfg->mtu;
        if (ip_cfg->ipv4_ucst_en != 0)
            l3lifpd_kvn_set_l3_property(l3lif, L3LIF_PROP_IPV4_UCST_EN, 1);
        if (ip_cfg->ipv4_mcst_en != 0)
            l3lifpd_kvn_set_l3_property(l3lif, L3LIF_PROP_IPV4_MCST_EN, 1);
        same_if = ip_cfg->ipv4_same_if != 0 ? 1 : 0;
    }
    l3lifpd_kvn_set_l3_property(l3lif, L3LIF_PROP_MTU, mtu);
    l3lifpd_kvn_set_l3_property(l3lif, L3LIF_PROP_IPV4_SAME_IF_CHECK, same_if);
    return 0;
}

int32_t l3lifpd_process_kvn_l3_prop_batch(void)
{
    return 0;
}

/* One attribute of the internal loopback; the text takes function, ifindex and intf_id. */
struct loopback_write {
    uint32_t attribute;
    uint32_t value;
    const char *failure_text;
};

/* One direction of the internal loopback. */
struct loopback_direction {
    uint32_t port_cmd;
    const char *port_text;         /* takes function and front_port */
    const char *port_failure_text; /* takes nothing */
    loopback_write writes[9];
};

static constexpr loopback_direction loopback_on = {
    121, /* PORT_CMD_INT_LOOPBACK */
    "%s - Calling the sse_call to program spico-int for %d\n",
    "sse_call2(PORT_CMD_INT_LOOPBACK) failed\n",
    {
        {SdkIntfAttrNatInside, 2, "%s:Error setting NAT Inside on 0x%x:intf_id:%d\n"},
        {SdkIntfAttrIpv4UcstEn, 1, "%s:Error setting IPv4 Ucast Enable on 0x%x:intf_id:%d\n"},
        {SdkIntfAttrIpv4McstEn, 1, "%s:Error setting IPv4 Mcst Enable on 0x%x:intf_id:%d\n"},
        {SdkIntfAttrIpv4Vpn, 1, "%s:Error setting IPv4 VPN Enable on 0x%x:intf_id:%d\n"},
        {SdkIntfAttrIpv6Vpn, 1, "%s:Error setting IPv6 VPN Enable on 0x%x:intf_id:%d\n"},
        {SdkIntfAttrNatOutside, 3, "%s:Error setting NAT Outside on 0x%x:intf_id:%d\n"},
        {SdkIntfAttrIpv4SameIfCheck, 1, "%s:Error setting NAT SameIfCheck on 0x%x:intf_id:%d\n"},
        {SdkIntfAttrNatOutsideEgrBdDb, 3,
         "%s:Error setting NAT Outside egr-bd-db tbl on 0x%x:intf_id:%d\n"},
        {SdkIntfAttrVlanTableMiss, 1, "%s:Error setting IPMC Miss to CPU tbl on 0x%x:intf_id:%d\n"},
    }};

/* Attributes 64 and 58 come in the other order than above, and 58 has no text of its own. */
static constexpr loopback_direction loopback_off = {
    122, /* PORT_CMD_DEL_LOOPBACK */
    "%s - Calling the sse_call to un-program spico-int for %d\n",
    "sse_call2(PORT_CMD_DEL_LOOPBACK) failed\n",
    {
        {SdkIntfAttrNatInside, 0, "%s:Error re-setting NAT Inside on 0x%x:intf_id:%d\n"},
        {SdkIntfAttrIpv4UcstEn, 0, "%s:Error re-setting IPv4 Ucast Enable on 0x%x:intf_id:%d\n"},
        {SdkIntfAttrIpv4McstEn, 0, "%s:Error re-setting IPv4 Mcst Enable on 0x%x:intf_id:%d\n"},
        {SdkIntfAttrIpv4Vpn, 0, "%s:Error re-setting IPv4 VPN Enable on 0x%x:intf_id:%d\n"},
        {SdkIntfAttrIpv6Vpn, 0, "%s:Error re-setting IPv6 VPN Enable on 0x%x:intf_id:%d\n"},
        {SdkIntfAttrNatOutside, 0, "%s:Error re-setting NAT Outside on 0x%x:intf_id:%d\n"},
        {SdkIntfAttrNatOutsideEgrBdDb, 0,
         "%s:Error re-setting NAT Outside in egr-bd-db tbl on 0x%x:intf_id:%d\n"},
        {SdkIntfAttrIpv4SameIfCheck, 0, "%s:Error setting NAT SameIfCheck on 0x%x:intf_id:%d\n"},
        {SdkIntfAttrVlanTableMiss, 0,
         "%s:Error re-setting IPMC Miss to CPU tbl on 0x%x:intf_id:%d\n"},
    }};

static constexpr bool loopback_texts_fit(const loopback_direction &direction)
{
    for (const loopback_write &write : direction.writes) {
        if (!l3lifpd_trace_format_takes(write.failure_text, "sxd"))
            return false;
    }
    return l3lifpd_trace_format_takes(direction.port_text, "sd") &&
           l3lifpd_trace_format_takes(direction.port_failure_text, "");
}
static_assert(loopback_texts_fit(loopback_on) && loopback_texts_fit(loopback_off),
              "a loopback text does not fit its arguments");

/* The port service's call for port commands. */
enum : uint32_t { SSE_CALL_PORT_CMD = 0x8000001 };

int32_t l3lifpd_kvn_loopback_enable(uint32_t ifindex, int32_t enable)
{
    sdk_intf_attr_value holder = {};
    uint8_t port = 0;

    l3lifpd_trace_debug("%s - Entered with ifindex %x\n", __func__, ifindex);
    if_index_get_port(ifindex, &port);
    const uint32_t front_port = port + 1U;
    l3lifpd_trace_debug("%s - front_port  = %d\n", __func__, front_port);

    iif_info info = {};
    if (l3lif_get_iif_for_ifindex_new(ifindex, &info) != 0) {
        l3lifpd_trace_debug("Unable to get if_info for ifindex:0x%x\n", ifindex);
        return -1;
    }

    const loopback_direction &direction = enable != 0 ? loopback_on : loopback_off;
    l3lifpd_trace_debug_text(direction.port_text, __func__, front_port);
    port_cmd_msg msg = {};
    msg.port = (uint8_t)(front_port - 1);
    msg.cmd = direction.port_cmd;
    if (sse_call2(SSE_CALL_PORT_CMD, &msg, sizeof msg) != 0)
        l3lifpd_trace_debug_text(direction.port_failure_text);

    for (const loopback_write &write : direction.writes) {
        holder.param1 = write.value;
        if (libsdk_intf_attr_set_batch(L3LIFPD_DEV_INST, info.intf_id, write.attribute, &holder) !=
            0)
            l3lifpd_trace_debug_text(write.failure_text, __func__, ifindex, info.intf_id);
    }
    l3lifpd_trace_debug("%s - Exiting.\n", __func__);
    return 0;
}
