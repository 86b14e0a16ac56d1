#include "tests/lib/expect.h"

#include <cstdarg>
#include <ostream>

#include <gtest/gtest.h>

/* Formats of tables and of callers are formatted here. */
#pragma GCC diagnostic ignored "-Wformat-nonliteral"

namespace kvntest {

namespace {

std::string vformat(const char *format, va_list args)
{
    char buffer[2048];
    vsnprintf(buffer, sizeof buffer, format, args);
    return buffer;
}

Steps row_record(int32_t level, const char *name, const char *format, ...)
{
    va_list args;
    va_start(args, format);
    Steps steps = record_line(level, name_of(name), format, vformat(format, args));
    va_end(args);
    return steps;
}

} // namespace

std::string name_of(const char *name)
{
    return std::string("l3lifpd_kvn_") + name;
}

Steps debug(const char *name, const char *format, ...)
{
    va_list args;
    va_start(args, format);
    Steps steps = record_line(debug_level, name_of(name), format, vformat(format, args));
    va_end(args);
    return steps;
}

Steps error(const char *name, const char *format, ...)
{
    va_list args;
    va_start(args, format);
    Steps steps = record_line(error_level, name_of(name), format, vformat(format, args));
    va_end(args);
    return steps;
}

Steps call(const char *format, ...)
{
    va_list args;
    va_start(args, format);
    Steps steps = vformat(format, args);
    va_end(args);
    return steps;
}

Steps intf_id_found(uint32_t ifindex, uint32_t intf_id)
{
    return debug("get_intf_id_for_ifindex", "ifindex = %#x intf_id = %d.\n", ifindex, intf_id);
}

Steps no_intf_id(uint32_t ifindex)
{
    return debug("get_intf_id_for_ifindex", "ifindex = %#x. No intf_id.\n", ifindex);
}

Steps context_made(const l3lif &lif)
{
    return {call("malloc(%zu)", sizeof(l3pd_holder)), call("malloc(36)"), context_reset(lif)};
}

Steps context_reset(const l3lif &lif)
{
    return debug("l3pd_init", "[%d]: Finished initialization of l3_pd.ifindex = %#x\n", line_no,
                 lif.ifindex);
}

Steps context_kept(const l3lif &lif)
{
    return debug("l3pd_init",
                 "[%d]: l3_pd already exists for ifindex = %#x! No overwrite of previous values.\n",
                 line_no, lif.ifindex);
}

const std::vector<PropertyRow> &property_rows()
{
    static const std::vector<PropertyRow> rows = {
        {1, 36, Written::value, "Setting ipv4_ucst_en=%d in libsdk for intf %d.\n", Refused::value,
         "%s[%d]: libsdk_intf_attr_set with IPV4_UCST_EN=%d failed for sdk_intf %d.\n", nullptr},
        {2, 37, Written::value, "Setting ipv4_mcst_en=%d in libsdk for intf %d.\n", Refused::value,
         "%s[%d]: libsdk_intf_attr_set with IPV4_MCST_EN=%d failed for sdk_intf %d.\n", nullptr},
        {3, 44, Written::value, "Setting ipv4_vpn=%d in libsdk for intf %d.\n", Refused::value,
         "%s[%d]: libsdk_intf_attr_set with IPV4_VPN=%d failed for sdk_intf %d.\n",
         "Storing v4_vpn_id=%d in l3lif_sdb for ifindex %#x.\n"},
        {4, 42, Written::value, "Setting ipv4_rpf_mode=%d in libsdk for intf %d.\n", Refused::value,
         "%s[%d]: libsdk_intf_attr_set with ipv4_rpf_mode=%d failed for sdk_intf %d.\n", nullptr},
        {5, 58, Written::inverted, "Setting ipv4_same_if_check=%d in libsdk for intf %d.\n",
         Refused::value,
         "%s[%d]: libsdk_intf_attr_set with ipv4_same_if_check=%d failed for sdk_intf %d.\n",
         nullptr},
        {6, 38, Written::value, "Setting ipv6_ucst_en=%d in libsdk for intf %d.\n", Refused::value,
         "%s[%d]: libsdk_intf_attr_set with IPV6_UCST_EN=%d failed for sdk_intf %d.\n", nullptr},
        {7, 39, Written::value, "Setting ipv6_mcst_en=%d in libsdk for intf %d.\n", Refused::value,
         "%s[%d]: libsdk_intf_attr_set with IPV6_MCST_EN=%d failed for sdk_intf %d.\n", nullptr},
        {8, 59, Written::inverted, "Setting ipv6_same_if_check=%d in libsdk for intf %d.\n",
         Refused::value,
         "%s[%d]: libsdk_intf_attr_set with ipv6_same_if_check=%d failed for sdk_intf %d.\n",
         nullptr},
        {9, 45, Written::value, "Setting ipv6_vpn=%d in libsdk for intf %d.\n", Refused::value,
         "%s[%d]: libsdk_intf_attr_set with IPV6_VPN=%d failed for sdk_intf %d.\n", nullptr},
        {10, 52, Written::value, "Setting acl_bd_label=%#x in libsdk for intf %d.\n",
         Refused::value,
         "%s[%d]: libsdk_intf_attr_set with acl_bd_label=%d failed for sdk_intf %d.\n", nullptr},
        {11, 0, Written::nowhere, "Setting Qos_label=%d in libsdk for intf %d.\n", Refused::value,
         nullptr, nullptr},
        {12, 60, Written::value, "Setting mtu=%d in libsdk for intf %d.\n", Refused::value,
         "%s[%d]: libsdk_intf_attr_set with mtu_idx=%d failed for sdk_intf %d.\n",
         "Storing MTU=%d in l3lif_sdb for ifindex %#x.\n"},
        {13, 56, Written::value, "Setting vlan_table_miss=%d in libsdk for intf %d.\n",
         Refused::value,
         "%s[%d]: libsdk_intf_attr_set with vlan_table_miss=%d failed for sdk_intf %d.\n", nullptr},
        {14, 46, Written::bits_set, "Setting df_mask=%#x in libsdk for intf %d.\n", Refused::value,
         "%s[%d]: libsdk_intf_attr_set with df_mask=%#x failed for sdk_intf %d.\n", nullptr},
        {15, 46, Written::bits_cleared, "Setting df_mask=%#x in libsdk for intf %d.\n",
         Refused::value, "%s[%d]: libsdk_intf_attr_set with df_mask=%#x failed for sdk_intf %d.\n",
         nullptr},
        {17, 0, Written::unknown, nullptr, Refused::value, nullptr,
         "Storing IF_NAT=%d in l3lif_sdb for ifindex %#x.\n"},
        {19, 54, Written::value, "Setting igmp_snoop_label=%d in libsdk for intf %d.\n",
         Refused::status, "SdkIntfAttrIngTblIgmpSnoopLabel is failed for intf %d. st%d \n",
         nullptr},
    };
    return rows;
}

void PrintTo(const PropertyRow &row, std::ostream *out)
{
    *out << "type " << row.type;
}

namespace {

const PropertyRow *find_property(uint32_t type)
{
    for (const PropertyRow &row : property_rows())
        if (row.type == type)
            return &row;
    return nullptr;
}

} // namespace

const PropertyRow &property_row(uint32_t type)
{
    const PropertyRow *const row = find_property(type);
    EXPECT_NE(row, nullptr) << "no property of type " << type;
    return row != nullptr ? *row : property_rows().front();
}

std::vector<uint32_t> unknown_types()
{
    std::vector<uint32_t> types{0x7FFFFFFF, 0xFFFFFFFF};
    for (uint32_t type = 0; type < 512; ++type)
        if (find_property(type) == nullptr)
            types.push_back(type);
    for (const PropertyRow &row : property_rows())
        types.insert(types.end(), {row.type | 0x10000, row.type | 0x80000000});
    return types;
}

uint32_t written_word(const PropertyRow &row, uint32_t value)
{
    return row.written == Written::inverted ? value == 0 : value;
}

Steps property_written(uint32_t intf_id, uint32_t type, uint32_t value)
{
    const PropertyRow *const row = find_property(type);
    if (row == nullptr || row->written == Written::unknown)
        return debug("set_single_l3_property", "[%d]: Unknown property type %d.\n", line_no, type);
    const uint32_t word = written_word(*row, value);
    Steps steps = row_record(debug_level, "set_single_l3_property", row->setting, word, intf_id);
    if (row->attribute)
        steps = {steps, call("libsdk_intf_attr_set(dev_inst=0, intf_id=%u, attr=%u, "
                             "value={%u, 0, 0})",
                             intf_id, row->attribute, word)};
    return steps;
}

Steps property_set(const l3lif &lif, uint32_t intf_id, uint32_t type, uint32_t value)
{
    Steps steps = {debug("set_l3_property", "l3lif=%#x, Property type=%d, value=%d.\n", lif.ifindex,
                         type, value),
                   intf_id_found(lif.ifindex, intf_id), property_written(intf_id, type, value)};
    const PropertyRow *const row = find_property(type);
    if (row != nullptr && row->stored != nullptr)
        steps = {steps, row_record(debug_level, "set_l3_property", row->stored, value, lif.ifindex),
                 call("l3lif_update_sdb_for_intf(l3lif=%#x)", lif.ifindex)};
    return {steps, debug("set_l3_property", "Exiting.\n")};
}

Steps default_properties(const l3lif &lif, uint32_t intf_id)
{
    Steps steps;
    const l3lif_ip_cfg *ip = lif.ip_cfg;
    if (ip && ip->ipv4_ucst_en)
        steps = {steps, property_set(lif, intf_id, 1, 1)};
    if (ip && ip->ipv4_mcst_en)
        steps = {steps, property_set(lif, intf_id, 2, 1)};
    return {steps, property_set(lif, intf_id, 12, ip && ip->mtu ? ip->mtu : 1500),
            property_set(lif, intf_id, 5, ip ? ip->ipv4_same_if != 0 : 1)};
}

namespace {

bool is_channel(const RoutedInterface &made)
{
    return made.lif.kind == Kind::channel;
}

/* param1 of a routed interface: the 1-based port or the port-channel. */
uint32_t first_word(const RoutedInterface &made)
{
    return is_channel(made) ? made.pc_id : (made.lif.number + 1) & 0xFF;
}

} // namespace

Steps port_bound(const Interface &port, uint32_t lid_id)
{
    return {call("fwmpd_kvn_if_index_lid_id(ifindex=%#x)", port.ifindex),
            debug("add_l3port", "[%d]: Got lid id = %d from l2 lif.\n", line_no, lid_id),
            debug("if_update_sdb", "ifindex %#x lid %d\n", port.ifindex, lid_id),
            call("libsdk_switch_config_get(dev_inst=0, item=38, request={%u, 0, 0, 0, 0, 0, 0, "
                 "0})",
                 lid_id),
            call("fwm_pm_sdb_store(key={1, %#x}, data={900, 0, 0})", port.ifindex),
            call("fwmpd_pc_member_intf_store(ifindex=%#x, intf_id=65535, flag=0)", port.ifindex),
            call("if_index_get_port(ifindex=%#x)", port.ifindex)};
}

Steps create_announced(const RoutedInterface &made)
{
    return debug("add_l3port",
                 "[%d]:libsdk_intf_create() called, dev_inst=%d,SDK Interface_type=%d, "
                 "%s(param1)=%d, svif(param2)=%d, %s(param3)=%d.\n",
                 line_no, 0, 1, is_channel(made) ? "pc_id" : "front_port", first_word(made), 0,
                 is_channel(made) ? "Portchannel" : "physical port", is_channel(made) ? 1 : 0);
}

Steps sdk_create(uint32_t type, const std::string &params)
{
    return {call("fwmpd_kavelin_batch_flush()"),
            call("libsdk_intf_create(dev_inst=0, intf_type=%u, params={%s}, *intf_id=65535)", type,
                 params.c_str())};
}

Steps lid_bound(const char *creator, uint32_t intf_id, uint32_t lid_id)
{
    return {debug(creator,
                  "[%d]: Calling libsdk_intf_attr_set() with dev_inst = %d, intf_id = %d, "
                  "SdkIntfAttrLid, param1(lid_id) = %d.\n",
                  line_no, 0, intf_id, lid_id),
            call("libsdk_intf_attr_set(dev_inst=0, intf_id=%u, attr=1, value={%u, 0, 0})", intf_id,
                 lid_id)};
}

Steps tag_set(const RoutedInterface &made)
{
    const uint32_t number = made.lif.number + 1;
    return {is_channel(made)
                ? call("if_index_eth_port_channel_get_channel_num(ifindex=%#x)", made.lif.ifindex)
                : call("if_index_get_port(ifindex=%#x)", made.lif.ifindex),
            call("libsdk_intf_attr_set(dev_inst=0, intf_id=%u, attr=14, value={%u, 0, 0})",
                 made.intf_id, is_channel(made) ? (number & 0xFFFF) | 0x8000 : number & 0xFF)};
}

Steps routed_interface_finished(const RoutedInterface &made)
{
    const uint32_t found = made.intf_id & 0xFFFF; /* the context's field has 16 bits */
    return {default_properties(made.lif, found),
            call("fwmpd_kvn_init_l3_label(ifindex=%#x, enable=1, svi=0)", made.lif.ifindex),
            property_set(made.lif, found, 19, 16), debug("add_l3port", "Exiting.\n")};
}

namespace {

Steps routed_interface_made(const RoutedInterface &made)
{
    const std::string params = text("%u, 0, %d, 0, 0", first_word(made), is_channel(made) ? 1 : 0);
    return {create_announced(made), sdk_create(1, params),
            debug("add_l3port", "[%d]:libsdk_intf_create() returned, sdk intf_id=%d.\n", line_no,
                  made.intf_id),
            lid_bound("add_l3port", made.intf_id, made.lid_id), tag_set(made)};
}

} // namespace

Steps routed_port_created(const Interface &port, uint32_t intf_id, uint32_t lid_id)
{
    const RoutedInterface made{port, intf_id, lid_id, none};
    return {debug("add_l3port", "ifindex %#x create %d\n", port.ifindex, 1),
            no_intf_id(port.ifindex),
            port_bound(port, lid_id),
            routed_interface_made(made),
            context_made(port),
            routed_interface_finished(made)};
}

Steps port_channel_interface_created(const RoutedInterface &made, int32_t create)
{
    const uint32_t ifindex = made.lif.ifindex;
    return {debug("add_l3port", "ifindex %#x create %d\n", ifindex, create),
            intf_id_found(ifindex, 65535),
            debug("add_l3port", "[%d]: L3 interface is PC, ifindex %#x\n", line_no, ifindex),
            debug("add_l3port", "[%d]: Got lid id = %d from l3 lif ifindex %#x.\n", line_no,
                  made.lid_id, ifindex),
            routed_interface_made(made),
            context_kept(made.lif),
            routed_interface_finished(made)};
}

Steps port_channel_made_in_sdk(const Interface &channel, uint32_t pc_id, uint32_t lid_id)
{
    return {
        debug("alloc_l3pc_add", "libsdk_portchannel_create() called, dev_inst=%d.\n", 0),
        call("libsdk_portchannel_create(dev_inst=0, *pc_id=65535)"),
        debug("alloc_l3pc_add", "[%d]:libsdk_portchannel_create() returned, sdk pc_id=%d.\n",
              line_no, pc_id),
        call("libsdk_lid_entry_create(dev_inst=0, *lid_id=65535)"),
        debug("alloc_l3pc_add",
              "[%d]:libsdk_lid_entry_create() returned for pc %#x. lid_id = %d.\n", line_no,
              channel.ifindex, lid_id),
        debug("alloc_l3pc_add",
              "Calling libsdk_lid_entry_path_add() dev_inst = %d, lid_id = %d, port type = "
              "%d(%s), front_port = %d, pc_id = %d.\n",
              0, lid_id, 1, "SdkPortTypeChannel", 0, pc_id),
        call("libsdk_lid_entry_path_add(dev_inst=0, lid_id=%u, path={1, 0, %u})", lid_id, pc_id)};
}

Steps port_channel_allocated(const RoutedInterface &made, int32_t create)
{
    const uint32_t ifindex = made.lif.ifindex;
    return {debug("alloc_l3pc_add", "Entered.\n"),
            no_intf_id(ifindex),
            call("fwmpd_kvn_get_pc_info(ifindex=%#x, *pc_id=65535, *lid_id=65535)", ifindex),
            port_channel_made_in_sdk(made.lif, made.pc_id, made.lid_id),
            context_made(made.lif),
            call("fwmpd_kvn_update_pc_sdb(ifindex=%#x, pc_id=%u)", ifindex, made.pc_id),
            port_channel_interface_created(made, create),
            debug("alloc_l3pc_add", "Exiting.\n")};
}

Steps member_added(const Interface &port, uint32_t pc_id, const char *bit)
{
    const uint32_t front_port = (port.number + 1) & 0xFF;
    return {call("if_index_get_port(ifindex=%#x)", port.ifindex),
            debug("add_l3pc",
                  "[%d]: Calling libsdk_portchannel_member_add() pc_id=%d, front_port=%d.\n",
                  line_no, pc_id, front_port),
            call("libsdk_portchannel_member_add(dev_inst=0, pc_id=%u, mask={32, %s})", pc_id, bit),
            debug("add_l3pc",
                  "[%d]: libsdk_portchannel_member_add succeeded for pc_id %d front_port %d\n",
                  line_no, pc_id, front_port),
            debug("add_l3pc", "Exiting.\n")};
}

Steps labels_reset(const Interface &lif, uint32_t intf_id)
{
    return {call("fwmpd_kvn_init_l3_label(ifindex=%#x, enable=0, svi=0)", lif.ifindex),
            property_set(lif, intf_id, 19, 0)};
}

Steps interface_destroyed(const Interface &lif, uint32_t intf_id)
{
    Steps steps = {debug("destroy_l3_intf", "Entered. ifindex=%#x.\n", lif.ifindex),
                   intf_id_found(lif.ifindex, intf_id), labels_reset(lif, intf_id),
                   debug("destroy_l3_intf",
                         "[%d]: Calling libsdk_intf_destroy() for ifindex=%#x, intf_id=%d.\n",
                         line_no, lif.ifindex, intf_id),
                   call("fwmpd_kavelin_batch_flush()")};
    if (lif.kind == Kind::port)
        steps = {steps, call("fwmpd_pc_member_intf_store(ifindex=%#x, intf_id=%u, flag=1)",
                             lif.ifindex, intf_id)};
    else
        steps = {steps, call("libsdk_intf_destroy(dev_inst=0, intf_id=%u)", intf_id),
                 debug("destroy_l3_intf",
                       "[%d]: libsdk_intf_destroy() returned %d for ifindex=%#x, intf_id=%d.\n",
                       line_no, 0, lif.ifindex, intf_id)};
    return {steps, debug("destroy_l3_intf", "Exiting.\n")};
}

} // namespace kvntest
