#include "sim/switch/entry_points.h"

#include <memory>
#include <optional>
#include <stdexcept>
#include <tuple>
#include <utility>

#include "l3lifpd_kavelin.h"
#include "platform_api/libsdk.h"
#include "sim/config/names.h"
#include "sim/fwm/command_output.h"

namespace kvnsim {
namespace {

std::string current_cause;

/* ---- From values to C arguments ---- */

/* What a value is turned into for the time of one request. */
struct Holder {
    Mac mac{};
    std::string text;
    CommandOutput output;
    char buffer[20] = {};
    explicit Holder(std::string &printed) : output(printed) {}
};

[[noreturn]] void refuse(const Parameter &parameter, const char *expected, const Value &value)
{
    throw std::invalid_argument(std::string(parameter.name) + ": expected " + expected + ", not " +
                                value.to_text());
}

int64_t number_of(const Parameter &parameter, const Value &value)
{
    if (value.kind() != Value::Kind::integer)
        refuse(parameter, "a number", value);
    return value.number();
}

void convert(const Parameter &parameter, const Value &value, Holder &, l3lif *&to)
{
    if (value.kind() == Value::Kind::null) {
        to = nullptr;
        return;
    }
    to = find_interface(value);
    if (to == nullptr)
        refuse(parameter, "an interface", value);
}

void convert(const Parameter &parameter, const Value &value, Holder &holder, const l3lif *&to)
{
    l3lif *interface;
    convert(parameter, value, holder, interface);
    to = interface;
}

void convert(const Parameter &parameter, const Value &value, Holder &, uint32_t &to)
{
    if (parameter.kind == ParameterKind::ifindex && value.kind() == Value::Kind::text) {
        const HostInterface *interface = find_interface(value);
        if (interface == nullptr)
            refuse(parameter, "an interface", value);
        to = interface->ifindex;
        return;
    }
    to = static_cast<uint32_t>(number_of(parameter, value));
}

void convert(const Parameter &parameter, const Value &value, Holder &, int32_t &to)
{
    to = static_cast<int32_t>(number_of(parameter, value));
}

void convert(const Parameter &parameter, const Value &value, Holder &holder, const uint8_t *&to)
{
    const std::optional<Mac> mac = parse_mac(value.string());
    if (!mac)
        refuse(parameter, "a MAC address such as 00:00:5e:00:01:0a", value);
    holder.mac = *mac;
    to = holder.mac.data();
}

void convert(const Parameter &parameter, const Value &value, Holder &holder, const char *&to)
{
    if (value.kind() != Value::Kind::text)
        refuse(parameter, "a text", value);
    holder.text = value.string();
    to = holder.text.c_str();
}

void convert(const Parameter &, const Value &value, Holder &holder, void *&to)
{
    to = value.kind() == Value::Kind::null ? nullptr : &holder.output;
}

void convert(const Parameter &, const Value &, Holder &holder, char *&to)
{
    to = holder.buffer;
}

/* ---- The entry points ---- */

template <class R, class... P> class Entry : public EntryPoint {
public:
    Entry(const char *name, const char *purpose, R (*function)(P...), Outcome outcome,
          std::vector<Parameter> parameters)
        : EntryPoint(name, purpose, outcome, std::move(parameters)), function_(function)
    {}

private:
    int64_t invoke(const std::vector<Value> &values, std::string &output) const override
    {
        return invoke(values, output, std::index_sequence_for<P...>());
    }

    template <size_t... I>
    int64_t invoke([[maybe_unused]] const std::vector<Value> &values, std::string &output,
                   std::index_sequence<I...>) const
    {
        Holder holder(output);
        std::tuple<P...> arguments;
        (convert(parameters()[I], values[I], holder, std::get<I>(arguments)), ...);
        begin(values);
        if constexpr (std::is_pointer_v<R>) {
            output = std::apply(function_, arguments);
            return 0;
        } else {
            return std::apply(function_, arguments);
        }
    }

    R (*function_)(P...);
};

template <class R, class... P>
std::unique_ptr<const EntryPoint> row(const char *name, const char *purpose, R (*function)(P...),
                                      Outcome outcome, std::vector<Parameter> parameters)
{
    return std::make_unique<Entry<R, P...>>(name, purpose, function, outcome,
                                            std::move(parameters));
}

#define ENTRY(function, purpose, outcome, ...)                                                       \
    row(#function, purpose, function, Outcome::outcome, {__VA_ARGS__})

const std::vector<std::unique_ptr<const EntryPoint>> &rows()
{
    using Kind = ParameterKind;
    const Parameter l3lif{"l3lif", Kind::interface}, main_l3lif{"main_l3lif", Kind::interface};
    const Parameter ifindex{"ifindex", Kind::ifindex}, first{"first", Kind::ifindex};
    const Parameter create{"create", Kind::number}, destroy{"destroy", Kind::number};
    const Parameter mac{"mac", Kind::mac}, peer_mac_id{"peer_mac_id", Kind::number};
    const Parameter value{"value", Kind::number}, prop_type{"prop_type", Kind::number};
    const Parameter encap_vlan{"encap_vlan", Kind::number}, flag{"flag", Kind::number};
    const Parameter overwrite{"overwrite", Kind::number}, intf_id{"intf_id", Kind::number};
    const Parameter enable{"enable", Kind::number}, cli_ctx{"cli_ctx", Kind::output};
    const Parameter prefix{"prefix", Kind::text}, buf{"buf", Kind::output};

    static const auto table = [&] {
        std::vector<std::unique_ptr<const EntryPoint>> t;
        t.push_back(
            ENTRY(l3lifpd_kvn_ifindex_to_port, "front-panel port of an interface", answer, ifindex));
        t.push_back(
            ENTRY(l3lifpd_kvn_is_lif_pc_member, "whether a record is a member", answer, l3lif));
        t.push_back(ENTRY(l3lifpd_kvn_is_ifindex_pc_member, "whether an interface is a member",
                        answer, ifindex));
        t.push_back(ENTRY(l3lifpd_kvn_get_pc_id_for_ifindex, "SDK port-channel of an interface",
                        answer, ifindex));
        t.push_back(
            ENTRY(l3lifpd_kvn_get_lid_id_for_ifindex, "LID entry of an interface", answer, ifindex));
        t.push_back(ENTRY(l3lifpd_kvn_get_intf_id_for_ifindex, "SDK interface of an interface",
                        answer, ifindex));
        t.push_back(
            ENTRY(l3lifpd_kvn_l3pd_init, "make an interface's context", status, l3lif, overwrite));
        t.push_back(ENTRY(l3lifpd_kvn_dump_l3lif, "print an interface's identifiers", answer, cli_ctx,
                        prefix, l3lif));
        t.push_back(
            ENTRY(l3lifpd_dump_format_mac_bytes, "write a MAC in dotted form", answer, mac, buf));
        t.push_back(ENTRY(l3lifpd_kvn_add_l3port, "create a routed port", status, l3lif, create));
        t.push_back(ENTRY(l3lifpd_kvn_destroy_l3_intf, "destroy an SDK interface", status, l3lif));
        t.push_back(ENTRY(l3lifpd_kvn_del_l3port, "delete a routed port", status, l3lif));
        t.push_back(ENTRY(l3lifpd_kvn_del_svi, "delete an SVI", status, l3lif));
        t.push_back(ENTRY(l3lifpd_kvn_del_subint, "delete a sub-interface", status, l3lif));
        t.push_back(ENTRY(l3lifpd_kvn_add_l3tun, "tunnel hook, does nothing", status, l3lif, create));
        t.push_back(ENTRY(l3lifpd_kvn_del_l3tun, "tunnel hook, does nothing", status, l3lif));
        t.push_back(ENTRY(l3lifpd_kvn_add_subint, "create a sub-interface", status, l3lif, encap_vlan,
                        create));
        t.push_back(ENTRY(l3lifpd_kvn_add_svi, "create an SVI", status, l3lif, encap_vlan));
        t.push_back(ENTRY(l3lifpd_kvn_set_l3_property, "change an L3 property", status, l3lif,
                        prop_type, value));
        t.push_back(
            ENTRY(l3lifpd_kvn_init_l3_properties, "give the default L3 properties", status, l3lif));
        t.push_back(ENTRY(l3lifpd_process_kvn_l3_prop_batch, "batch hook, does nothing", status));
        t.push_back(ENTRY(l3lifpd_kvn_set_single_l3_property,
                        "write one property of an SDK interface", status, intf_id, prop_type,
                        value));
        t.push_back(ENTRY(l3lifpd_kvn_loopback_enable, "internal loopback of a port, on or off",
                        status, ifindex, enable));
        t.push_back(
            ENTRY(l3lifpd_kvn_alloc_l3pc_add, "make a routed port-channel", status, l3lif, create));
        t.push_back(
            ENTRY(l3lifpd_kvn_add_l3pc, "a port joins a routed port-channel", status, l3lif, create));
        t.push_back(
            ENTRY(l3lifpd_kvn_add_l3pc_member, "member hook, only traces", status, first, ifindex));
        t.push_back(
            ENTRY(l3lifpd_kvn_del_l3pc_member, "member hook, only traces", status, first, ifindex));
        t.push_back(
            ENTRY(l3lifpd_kvn_port_SupPortMask_set, "port mask hook, does nothing", status, l3lif));
        t.push_back(ENTRY(l3lifpd_kvn_pc_SupPortMask_set, "port mask hook, does nothing", status,
                        l3lif, main_l3lif, flag));
        t.push_back(ENTRY(l3lifpd_kvn_del_l3pc, "a port leaves a routed port-channel", status, l3lif,
                        destroy));
        t.push_back(ENTRY(l3lifpd_kvn_peer_mac_add, "add a peer gateway's MAC", router_mac, mac));
        t.push_back(
            ENTRY(l3lifpd_kvn_peer_mac_del, "remove a peer gateway's MAC", status, peer_mac_id));
        t.push_back(ENTRY(l3lifpd_kvn_rmac_add, "add a router MAC", router_mac, mac));
        t.push_back(ENTRY(l3lifpd_kvn_rmac_del, "remove a router MAC", status, peer_mac_id));
        t.push_back(ENTRY(l3lifpd_kvn_fhrp_mac_add, "add a virtual MAC to an interface", status, mac,
                        ifindex));
        t.push_back(ENTRY(l3lifpd_kvn_fhrp_mac_del, "remove a virtual MAC from an interface", status,
                        mac, ifindex));
        return t;
    }();
    return table;
}

#undef ENTRY

std::string shown(const Parameter &parameter, const Value &value)
{
    if (parameter.names_interface() && value.kind() == Value::Kind::integer) {
        if (const HostInterface *interface = find_interface(value))
            return interface->name;
    }
    if (value.kind() == Value::Kind::text && parameter.kind != ParameterKind::text)
        return value.string();
    return value.to_text();
}

} // namespace

HostInterface *find_interface(const Value &value)
{
    const Host &host = Host::instance();
    return value.kind() == Value::Kind::text ? host.find(value.string())
                                             : host.find(static_cast<uint32_t>(value.number()));
}

std::string Response::failure() const
{
    std::string message = "request " + std::to_string(request->number) + ' ' + request->entry +
                          '(' + request->arguments + ") returned " + std::to_string(result);
    if (!request->first_failure().words.empty())
        message += ": " + request->first_failure().words;
    if (!request->first_failure().reason.empty())
        message += " (" + request->first_failure().reason + ")";
    return message;
}

EntryPoint::EntryPoint(const char *name, const char *purpose, Outcome outcome,
                       std::vector<Parameter> parameters)
    : name_(name), purpose_(purpose), outcome_(outcome), parameters_(std::move(parameters))
{}

Response EntryPoint::call(const std::vector<Value> &values) const
{
    if (values.size() != parameters_.size())
        throw std::invalid_argument(std::string(name_) + " takes " +
                                    std::to_string(parameters_.size()) + " arguments, not " +
                                    std::to_string(values.size()));
    std::string output;
    const int64_t result = invoke(values, output);
    return end(result, std::move(output));
}

void EntryPoint::begin(const std::vector<Value> &values) const
{
    auto request = std::make_shared<Request>();
    request->entry = name_;
    request->cause = current_cause;
    for (size_t i = 0; i < values.size(); ++i) {
        const Parameter &parameter = parameters_[i];
        const std::string text = shown(parameter, values[i]);
        if (i != 0)
            request->arguments += ' ';
        request->arguments.append(parameter.name).append("=").append(text);
        if (request->subject.empty() && parameter.names_interface() &&
            find_interface(values[i]) != nullptr)
            request->subject = text;
        if (Journal::instance().observed())
            request->values.push_back({parameter.name, values[i]});
    }
    Journal::instance().begin(std::move(request));
}

Response EntryPoint::end(int64_t result, std::string output) const
{
    Response response;
    response.request = Journal::instance().end(result);
    response.result = result;
    response.output = std::move(output);
    switch (outcome_) {
    case Outcome::status:
        response.refused = result != 0;
        break;
    case Outcome::router_mac:
        response.refused = result == no_id || static_cast<int32_t>(result) < 0;
        break;
    case Outcome::answer:
        break;
    }
    response.failed = response.refused || response.request->failed_calls != 0;
    return response;
}

const std::vector<const EntryPoint *> &EntryPoint::all()
{
    static const auto table = [] {
        std::vector<const EntryPoint *> t;
        for (const auto &entry : rows())
            t.push_back(entry.get());
        return t;
    }();
    return table;
}

const EntryPoint *EntryPoint::find(std::string_view name)
{
    const std::string_view prefix = "l3lifpd_kvn_";
    for (const EntryPoint *entry : all()) {
        const std::string_view full = entry->name();
        if (full == name ||
            (full.substr(0, prefix.size()) == prefix && full.substr(prefix.size()) == name))
            return entry;
    }
    return nullptr;
}

CauseScope::CauseScope(std::string cause) : outer_(std::exchange(current_cause, std::move(cause)))
{}

CauseScope::~CauseScope()
{
    current_cause = std::move(outer_);
}

const std::string &CauseScope::current()
{
    return current_cause;
}

namespace entry {
namespace {

Value named(const HostInterface &interface)
{
    return Value::integer(interface.ifindex, Value::Style::hex);
}

Value number(int64_t value)
{
    return Value::integer(value);
}

Value ifindex_value(uint32_t ifindex)
{
    return Value::integer(ifindex, Value::Style::hex);
}

/* The row is looked up once for each function that calls it. */
#define REQUEST(name, ...)                                                                         \
    do {                                                                                           \
        static const EntryPoint &point = *EntryPoint::find("l3lifpd_kvn_" name);                   \
        return point.call({__VA_ARGS__});                                                          \
    } while (false)

} // namespace

Response add_l3port(HostInterface &interface, int32_t create)
{
    REQUEST("add_l3port", named(interface), number(create));
}
Response del_l3port(HostInterface &interface)
{
    REQUEST("del_l3port", named(interface));
}
Response add_subint(HostInterface &interface, uint32_t encap_vlan, int32_t create)
{
    REQUEST("add_subint", named(interface), number(encap_vlan), number(create));
}
Response del_subint(HostInterface &interface)
{
    REQUEST("del_subint", named(interface));
}
Response add_svi(HostInterface &interface, uint32_t encap_vlan)
{
    REQUEST("add_svi", named(interface), number(encap_vlan));
}
Response del_svi(HostInterface &interface)
{
    REQUEST("del_svi", named(interface));
}
Response set_l3_property(HostInterface &interface, int32_t prop_type, uint32_t value)
{
    REQUEST("set_l3_property", named(interface), number(prop_type), number(value));
}
Response add_l3pc(HostInterface &member, int32_t create)
{
    REQUEST("add_l3pc", named(member), number(create));
}
Response del_l3pc(HostInterface &member, int32_t destroy)
{
    REQUEST("del_l3pc", named(member), number(destroy));
}
Response add_l3pc_member(uint32_t first, uint32_t ifindex)
{
    REQUEST("add_l3pc_member", ifindex_value(first), ifindex_value(ifindex));
}
Response del_l3pc_member(uint32_t first, uint32_t ifindex)
{
    REQUEST("del_l3pc_member", ifindex_value(first), ifindex_value(ifindex));
}
Response rmac_add(const Mac &mac)
{
    REQUEST("rmac_add", Value::text(to_text(mac)));
}
Response rmac_del(int32_t peer_mac_id)
{
    REQUEST("rmac_del", number(peer_mac_id));
}
Response fhrp_mac_add(const Mac &mac, uint32_t ifindex)
{
    REQUEST("fhrp_mac_add", Value::text(to_text(mac)), ifindex_value(ifindex));
}
Response fhrp_mac_del(const Mac &mac, uint32_t ifindex)
{
    REQUEST("fhrp_mac_del", Value::text(to_text(mac)), ifindex_value(ifindex));
}

#undef REQUEST

} // namespace entry

const std::vector<PropertyRow> &properties()
{
    static const std::vector<PropertyRow> table = {
        {L3LIF_PROP_IPV4_UCST_EN, "ipv4_ucst_en", "L3LIF_PROP_IPV4_UCST_EN", SdkIntfAttrIpv4UcstEn,
         false},
        {L3LIF_PROP_IPV4_MCST_EN, "ipv4_mcst_en", "L3LIF_PROP_IPV4_MCST_EN", SdkIntfAttrIpv4McstEn,
         false},
        {L3LIF_PROP_IPV4_VPN, "ipv4_vpn", "L3LIF_PROP_IPV4_VPN", SdkIntfAttrIpv4Vpn, false},
        {L3LIF_PROP_IPV4_RPF_MODE, "ipv4_rpf_mode", "L3LIF_PROP_IPV4_RPF_MODE",
         SdkIntfAttrIpv4RpfMode, false},
        {L3LIF_PROP_IPV4_SAME_IF_CHECK, "ipv4_same_if_check", "L3LIF_PROP_IPV4_SAME_IF_CHECK",
         SdkIntfAttrIpv4SameIfCheck, true},
        {L3LIF_PROP_IPV6_UCST_EN, "ipv6_ucst_en", "L3LIF_PROP_IPV6_UCST_EN", SdkIntfAttrIpv6UcstEn,
         false},
        {L3LIF_PROP_IPV6_MCST_EN, "ipv6_mcst_en", "L3LIF_PROP_IPV6_MCST_EN", SdkIntfAttrIpv6McstEn,
         false},
        {L3LIF_PROP_IPV6_SAME_IF_CHECK, "ipv6_same_if_check", "L3LIF_PROP_IPV6_SAME_IF_CHECK",
         SdkIntfAttrIpv6SameIfCheck, true},
        {L3LIF_PROP_IPV6_VPN, "ipv6_vpn", "L3LIF_PROP_IPV6_VPN", SdkIntfAttrIpv6Vpn, false},
        {L3LIF_PROP_ACL_BD_LABEL, "acl_bd_label", "L3LIF_PROP_ACL_BD_LABEL", SdkIntfAttrAclBdLabel,
         false},
        {L3LIF_PROP_QOS_LABEL, "qos_label", "L3LIF_PROP_QOS_LABEL", 0, false},
        {L3LIF_PROP_MTU, "mtu", "L3LIF_PROP_MTU", SdkIntfAttrMtuIdx, false},
        {L3LIF_PROP_VLAN_TABLE_MISS, "vlan_table_miss", "L3LIF_PROP_VLAN_TABLE_MISS",
         SdkIntfAttrVlanTableMiss, false},
        {L3LIF_PROP_DF_MASK_SET, "df_mask_set", "L3LIF_PROP_DF_MASK_SET", SdkIntfAttrIngTblDfMask,
         false},
        {L3LIF_PROP_DF_MASK_CLEAR, "df_mask_clear", "L3LIF_PROP_DF_MASK_CLEAR",
         SdkIntfAttrIngTblDfMask, false},
        {L3LIF_PROP_IF_NAT, "if_nat", "L3LIF_PROP_IF_NAT", 0, false},
        {L3LIF_PROP_IGMP_SNOOP_LABEL, "igmp_snoop_label", "L3LIF_PROP_IGMP_SNOOP_LABEL",
         SdkIntfAttrIngTblIgmpSnoopLabel, false},
    };
    return table;
}

const PropertyRow *find_property(std::string_view name)
{
    for (const PropertyRow &row : properties()) {
        if (name == row.name || name == row.enumerator || name == std::to_string(row.type))
            return &row;
    }
    return nullptr;
}

} // namespace kvnsim
