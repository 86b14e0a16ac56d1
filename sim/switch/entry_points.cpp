/* The library's entry points as rows. Code, commands and recordings call a library function through
 * its row only, so that each call is a request, and none aborts the process. */
#include "sim/switch/entry_points.h"

#include <algorithm>
#include <cctype>
#include <optional>
#include <stdexcept>
#include <tuple>

#include "platform_api/libsdk.h"
#include "sim/config/names.h"
#include "sim/journal/journal.h"

namespace kvnsim {
namespace {

std::vector<const EntryPoint *> &registry()
{
    static std::vector<const EntryPoint *> table;
    return table;
}

/* ---- Why a call would abort the process, from its arguments. A NULL record does so only where its
 * row says so. ---- */

/* For functions that do not check the pointer to their record. */
template <class... P> std::string null_record(P... arguments)
{
    return std::get<l3lif *>(std::tuple(arguments...)) == nullptr ? "l3lif must not be NULL" : "";
}

const HostInterface *host_record(const l3lif *record)
{
    return record != nullptr ? Host::instance().find(record->ifindex) : nullptr;
}

bool is_port_channel(const HostInterface &interface)
{
    return interface.kind == InterfaceKind::port_channel;
}

/* Whether the library finds an SDK interface for it, its own or its port-channel's. */
bool is_programmed(const HostInterface &interface)
{
    const HostInterface *main = host_record(interface.main_l3lif);
    const HostInterface &serving = main != nullptr && is_port_channel(*main) ? *main : interface;
    return interface.registered && serving.intf_id() != no_id;
}

std::string without_context(const HostInterface &interface)
{
    return interface.context() == nullptr ? interface.name + " has no context" : "";
}

std::string channel_without_context(l3lif *record, int32_t)
{
    const HostInterface *interface = host_record(record);
    return interface != nullptr && is_port_channel(*interface) && !is_programmed(*interface)
               ? without_context(*interface)
               : "";
}

std::string parent_without_lid(l3lif *record, uint32_t, int32_t)
{
    const HostInterface *interface = host_record(record);
    if (interface == nullptr || is_programmed(*interface))
        return "";
    if (interface->kind != InterfaceKind::sub_interface)
        return "not a sub-interface";
    const HostInterface &parent = *interface->parent;
    if (!parent.registered)
        return "parent " + parent.name + " is not routed";
    const HostInterface &serving = parent.channel != nullptr ? *parent.channel : parent;
    const l3_pd *context = serving.context();
    return context == nullptr || context->lid_id == no_id ? "parent " + parent.name + " has no LID"
                                                          : "";
}

std::string no_port_channel(l3lif *record, int32_t)
{
    const HostInterface *interface = host_record(record);
    return interface == nullptr || is_port_channel(*interface) || is_programmed(*interface)
               ? ""
               : interface->name + " is not a port-channel";
}

/* The port-channel that a member joins or leaves, or whatever its record names instead. The library
 * does not use that of a routed port. */
const HostInterface *channel_of(const l3lif *member)
{
    const HostInterface *interface = host_record(member);
    return interface != nullptr && interface->intf_id() == no_id
               ? host_record(interface->main_l3lif)
               : nullptr;
}

std::string left_without_context(l3lif *member, int32_t)
{
    const HostInterface *channel = channel_of(member);
    return channel != nullptr ? without_context(*channel) : "";
}

std::string joined_without_context(l3lif *member, int32_t create)
{
    const HostInterface *channel = channel_of(member);
    return create != 0 && channel != nullptr && !is_programmed(*channel)
               ? no_port_channel(member->main_l3lif, create)
               : left_without_context(member, create);
}

} // namespace

HostInterface *find_interface(const Value &value)
{
    const Host &host = Host::instance();
    return value.kind() == Value::Kind::text ? host.find(value.string())
                                             : host.find(static_cast<uint32_t>(value.number()));
}

EntryPoint::EntryPoint(const char *name, const char *purpose, Outcome outcome,
                       std::vector<Parameter> parameters)
    : name_(name), purpose_(purpose), outcome_(outcome), parameters_(std::move(parameters))
{
    registry().push_back(this);
    const auto is_number = [](const Parameter &each) { return each.kind == ParameterKind::number; };
    if (parameters_.empty() || parameters_.size() > names_.size() ||
        !parameters_.front().names_interface() ||
        !std::all_of(parameters_.begin() + 1, parameters_.end(), is_number))
        return;
    std::transform(parameters_.begin(), parameters_.end(), names_.begin(),
                   [](const Parameter &each) { return each.name; });
}

Response EntryPoint::call(const std::vector<Value> &values) const
{
    if (values.size() != parameters_.size())
        throw std::invalid_argument(std::string(name_) + " takes " +
                                    std::to_string(parameters_.size()) + " arguments, not " +
                                    std::to_string(values.size()));
    Storage storage;
    Response response = call(values, storage);
    response.output += storage.printed;
    return response;
}

Response EntryPoint::would_abort(const std::string &reason) const
{
    return not_made(std::string(name_) + " refused, the library would abort: " + reason);
}

void EntryPoint::begin(std::shared_ptr<Request> request)
{
    Journal::instance().begin(std::move(request));
}

Response EntryPoint::end(int64_t result) const
{
    const bool refused =
        (outcome_ == Outcome::status && result != 0) ||
        (outcome_ == Outcome::router_mac && (result == no_id || static_cast<int32_t>(result) < 0));
    return answer_to(Journal::instance().end(result), result, refused);
}

void EntryPoint::Argument::refuse(const char *expected) const
{
    throw std::invalid_argument(std::string(parameter.name) + ": expected " + expected + ", not " +
                                value.to_text());
}

int64_t EntryPoint::Argument::number() const
{
    if (value.kind() != Value::Kind::integer)
        refuse("a number");
    return value.number();
}

HostInterface &EntryPoint::Argument::interface() const
{
    HostInterface *const found = find_interface(value);
    if (found == nullptr)
        refuse("an interface");
    return *found;
}

EntryPoint::Argument::operator l3lif *() const
{
    return value.kind() == Value::Kind::null ? nullptr : &interface();
}

EntryPoint::Argument::operator uint32_t() const
{
    return parameter.kind == ParameterKind::ifindex && value.kind() == Value::Kind::text
               ? interface().ifindex
               : static_cast<uint32_t>(number());
}

EntryPoint::Argument::operator int32_t() const
{
    return static_cast<int32_t>(number());
}

EntryPoint::Argument::operator const uint8_t *() const
{
    const std::optional<Mac> mac = parse_mac(value.string());
    if (!mac)
        refuse("a MAC address such as 00:00:5e:00:01:0a");
    storage.mac = *mac;
    return storage.mac.data();
}

EntryPoint::Argument::operator const char *() const
{
    if (value.kind() != Value::Kind::text)
        refuse("a text");
    return value.string().c_str();
}

EntryPoint::Argument::operator void *() const
{
    return value.kind() == Value::Kind::null ? nullptr : &storage.output;
}

HostInterface *EntryPoint::interface_of(const Parameter &parameter, const Given &argument)
{
    if (!parameter.names_interface() ||
        (parameter.kind == ParameterKind::interface && argument.pointer == nullptr))
        return nullptr;
    return Host::instance().find(index_of(parameter, argument));
}

uint32_t EntryPoint::index_of(const Parameter &parameter, const Given &argument)
{
    if (parameter.kind == ParameterKind::interface)
        return static_cast<const l3lif *>(argument.pointer)->ifindex;
    return static_cast<uint32_t>(argument.number);
}

Value EntryPoint::value_of(const Parameter &parameter, const Given &argument)
{
    if (parameter.kind == ParameterKind::number)
        return Value::integer(argument.number);
    if (parameter.kind != ParameterKind::ifindex && argument.pointer == nullptr)
        return Value();
    switch (parameter.kind) {
    case ParameterKind::interface:
    case ParameterKind::ifindex:
        return Value::integer(index_of(parameter, argument), Value::Style::hex);
    case ParameterKind::mac: {
        Mac mac;
        std::copy_n(static_cast<const uint8_t *>(argument.pointer), mac.size(), mac.begin());
        return Value::text(to_text(mac));
    }
    case ParameterKind::text:
        return Value::text(static_cast<const char *>(argument.pointer));
    default:
        return Value::text("output");
    }
}

std::shared_ptr<Request> EntryPoint::request_with(std::initializer_list<Given> arguments) const
{
    auto request = std::make_shared<Request>();
    request->entry = name_;
    const Given *const given = arguments.begin();
    if (Journal::instance().observed()) {
        for (size_t i = 0; i < parameters_.size(); ++i)
            request->values.push_back({parameters_[i].name, value_of(parameters_[i], given[i])});
    }
    const HostInterface *const interface =
        names_.front() != nullptr ? interface_of(parameters_.front(), *given) : nullptr;
    if (interface == nullptr) {
        describe(*request, given);
        return request;
    }
    std::array<int64_t, RequestArguments::most - 1> numbers{};
    for (size_t i = 1; i < parameters_.size(); ++i)
        numbers[i - 1] = given[i].number;
    request->subject = interface->name;
    request->arguments = RequestArguments(names_, interface->name, numbers);
    return request;
}

void EntryPoint::describe(Request &request, const Given *given) const
{
    std::string words;
    for (const Parameter &parameter : parameters_) {
        const HostInterface *const interface = interface_of(parameter, *given);
        const Value value = value_of(parameter, *given++);
        const bool bare =
            value.kind() == Value::Kind::text && parameter.kind != ParameterKind::text;
        if (interface != nullptr && request.subject.empty())
            request.subject = interface->name;
        words.append(words.empty() ? "" : " ").append(parameter.name) += '=';
        if (interface != nullptr)
            words += interface->name;
        else
            words += bare ? value.string() : value.to_text();
    }
    request.arguments = std::move(words);
}

const std::vector<const EntryPoint *> &EntryPoint::all()
{
    return registry();
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

namespace entry {
namespace {

constexpr Parameter l3lif{"l3lif", ParameterKind::interface};
constexpr Parameter main_l3lif{"main_l3lif", ParameterKind::interface};
constexpr Parameter ifindex{"ifindex", ParameterKind::ifindex};
constexpr Parameter first{"first", ParameterKind::ifindex};
constexpr Parameter create{"create", ParameterKind::number};
constexpr Parameter destroy{"destroy", ParameterKind::number};
constexpr Parameter mac{"mac", ParameterKind::mac};
constexpr Parameter peer_mac_id{"peer_mac_id", ParameterKind::number};
constexpr Parameter value{"value", ParameterKind::number};
constexpr Parameter prop_type{"prop_type", ParameterKind::number};
constexpr Parameter encap_vlan{"encap_vlan", ParameterKind::number};
constexpr Parameter flag{"flag", ParameterKind::number};
constexpr Parameter overwrite{"overwrite", ParameterKind::number};
constexpr Parameter intf_id{"intf_id", ParameterKind::number};
constexpr Parameter enable{"enable", ParameterKind::number};
constexpr Parameter cli_ctx{"cli_ctx", ParameterKind::output};
constexpr Parameter prefix{"prefix", ParameterKind::text};
constexpr Parameter buf{"buf", ParameterKind::output};

} // namespace

/* In the order of the public header: purpose, meaning of the result, what aborts the process,
 * parameters. */
#define ENTRY(name, purpose, outcome, abort, ...)                                                  \
    const Entry<decltype(l3lifpd_kvn_##name)> name(                                                \
        "l3lifpd_kvn_" #name, purpose, l3lifpd_kvn_##name, Outcome::outcome, abort, {__VA_ARGS__})
ENTRY(ifindex_to_port, "front-panel port of an interface", answer, nullptr, ifindex);
ENTRY(is_lif_pc_member, "whether a record is a member", answer, nullptr, l3lif);
ENTRY(is_ifindex_pc_member, "whether an interface is a member", answer, nullptr, ifindex);
ENTRY(get_pc_id_for_ifindex, "SDK port-channel of an interface", answer, nullptr, ifindex);
ENTRY(get_lid_id_for_ifindex, "LID entry of an interface", answer, nullptr, ifindex);
ENTRY(get_intf_id_for_ifindex, "SDK interface of an interface", answer, nullptr, ifindex);
ENTRY(l3pd_init, "create an interface's context", status, null_record, l3lif, overwrite);
ENTRY(dump_l3lif, "print an interface's identifiers", answer, null_record, cli_ctx, prefix, l3lif);
const Entry<decltype(l3lifpd_dump_format_mac_bytes)>
    dump_format_mac_bytes("l3lifpd_dump_format_mac_bytes", "write a MAC in dotted form",
                          l3lifpd_dump_format_mac_bytes, Outcome::answer, nullptr, {mac, buf});
ENTRY(add_l3port, "create a routed port", status, channel_without_context, l3lif, create);
ENTRY(destroy_l3_intf, "destroy an SDK interface", status, nullptr, l3lif);
ENTRY(del_l3port, "delete a routed port", status, nullptr, l3lif);
ENTRY(del_svi, "delete an SVI", status, nullptr, l3lif);
ENTRY(del_subint, "delete a sub-interface", status, null_record, l3lif);
ENTRY(add_l3tun, "tunnel hook, does nothing", status, nullptr, l3lif, create);
ENTRY(del_l3tun, "tunnel hook, does nothing", status, nullptr, l3lif);
ENTRY(add_subint, "create a sub-interface", status, parent_without_lid, l3lif, encap_vlan, create);
ENTRY(add_svi, "create an SVI", status, nullptr, l3lif, encap_vlan);
ENTRY(set_l3_property, "change an L3 property", status, nullptr, l3lif, prop_type, value);
ENTRY(init_l3_properties, "write the default L3 properties", status, null_record, l3lif);
const Entry<decltype(l3lifpd_process_kvn_l3_prop_batch)>
    process_kvn_l3_prop_batch("l3lifpd_process_kvn_l3_prop_batch", "batch hook, does nothing",
                              l3lifpd_process_kvn_l3_prop_batch, Outcome::status, nullptr, {});
ENTRY(set_single_l3_property, "write one property of an SDK interface", status, nullptr, intf_id,
      prop_type, value);
ENTRY(loopback_enable, "internal loopback of a port, on or off", status, nullptr, ifindex, enable);
ENTRY(alloc_l3pc_add, "create a routed port-channel", status, no_port_channel, l3lif, create);
ENTRY(add_l3pc, "a port joins a routed port-channel", status, joined_without_context, l3lif,
      create);
ENTRY(add_l3pc_member, "member hook, only traces", status, nullptr, first, ifindex);
ENTRY(del_l3pc_member, "member hook, only traces", status, nullptr, first, ifindex);
ENTRY(port_SupPortMask_set, "port mask hook, does nothing", status, nullptr, l3lif);
ENTRY(pc_SupPortMask_set, "port mask hook, does nothing", status, nullptr, l3lif, main_l3lif, flag);
ENTRY(del_l3pc, "a port leaves a routed port-channel", status, left_without_context, l3lif,
      destroy);
ENTRY(peer_mac_add, "add a peer gateway's MAC", router_mac, nullptr, mac);
ENTRY(peer_mac_del, "remove a peer gateway's MAC", status, nullptr, peer_mac_id);
ENTRY(rmac_add, "add a router MAC", router_mac, nullptr, mac);
ENTRY(rmac_del, "remove a router MAC", status, nullptr, peer_mac_id);
ENTRY(fhrp_mac_add, "add a virtual MAC to an interface", status, nullptr, mac, ifindex);
ENTRY(fhrp_mac_del, "remove a virtual MAC from an interface", status, nullptr, mac, ifindex);
#undef ENTRY

} // namespace entry

const std::vector<PropertyRow> &properties()
{
    static const std::vector<PropertyRow> table = {
        {L3LIF_PROP_IPV4_UCST_EN, "ipv4_ucst_en", SdkIntfAttrIpv4UcstEn, false},
        {L3LIF_PROP_IPV4_MCST_EN, "ipv4_mcst_en", SdkIntfAttrIpv4McstEn, false},
        {L3LIF_PROP_IPV4_VPN, "ipv4_vpn", SdkIntfAttrIpv4Vpn, false},
        {L3LIF_PROP_IPV4_RPF_MODE, "ipv4_rpf_mode", SdkIntfAttrIpv4RpfMode, false},
        {L3LIF_PROP_IPV4_SAME_IF_CHECK, "ipv4_same_if_check", SdkIntfAttrIpv4SameIfCheck, true},
        {L3LIF_PROP_IPV6_UCST_EN, "ipv6_ucst_en", SdkIntfAttrIpv6UcstEn, false},
        {L3LIF_PROP_IPV6_MCST_EN, "ipv6_mcst_en", SdkIntfAttrIpv6McstEn, false},
        {L3LIF_PROP_IPV6_SAME_IF_CHECK, "ipv6_same_if_check", SdkIntfAttrIpv6SameIfCheck, true},
        {L3LIF_PROP_IPV6_VPN, "ipv6_vpn", SdkIntfAttrIpv6Vpn, false},
        {L3LIF_PROP_ACL_BD_LABEL, "acl_bd_label", SdkIntfAttrAclBdLabel, false},
        {L3LIF_PROP_QOS_LABEL, "qos_label", 0, false},
        {L3LIF_PROP_MTU, "mtu", SdkIntfAttrMtuIdx, false},
        {L3LIF_PROP_VLAN_TABLE_MISS, "vlan_table_miss", SdkIntfAttrVlanTableMiss, false},
        {L3LIF_PROP_DF_MASK_SET, "df_mask_set", SdkIntfAttrIngTblDfMask, false},
        {L3LIF_PROP_DF_MASK_CLEAR, "df_mask_clear", SdkIntfAttrIngTblDfMask, false},
        {L3LIF_PROP_IF_NAT, "if_nat", 0, false},
        {L3LIF_PROP_IGMP_SNOOP_LABEL, "igmp_snoop_label", SdkIntfAttrIngTblIgmpSnoopLabel, false},
    };
    return table;
}

const PropertyRow *find_property(std::string_view name)
{
    constexpr std::string_view prefix = "L3LIF_PROP_";
    std::string small(name);
    if (name.substr(0, prefix.size()) == prefix) {
        small.erase(0, prefix.size());
        std::transform(small.begin(), small.end(), small.begin(), ::tolower);
    }
    for (const PropertyRow &row : properties()) {
        if (small == row.name || small == std::to_string(row.type))
            return &row;
    }
    return nullptr;
}

} // namespace kvnsim
