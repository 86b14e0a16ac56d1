/* Writes the state of an interface for a recording and restores it for a replay. After a restore
 * the host holds the interface with exactly the recorded values; an interface with the same name or
 * ifindex is removed first, with its sub-interfaces. */
#include "sim/record/interface_state.h"

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <optional>
#include <string_view>

#include <fmt/format.h>

#include "l3lifpd_kavelin.h"
#include "sim/switch/entry_points.h"
#include "sim/types/text.h"

namespace kvnsim {
namespace {

Host &host()
{
    return Host::instance();
}

HostInterface *record_of(const l3lif *record)
{
    return record != nullptr ? host().find(record->ifindex) : nullptr;
}

/* The arguments of a request that name an interface. */
std::vector<const Value *> interface_arguments(const Request &request)
{
    std::vector<const Value *> arguments;
    const EntryPoint *entry = EntryPoint::find(request.entry);
    if (entry == nullptr)
        return arguments;
    for (size_t i = 0; i < request.values.size(); ++i) {
        if (entry->parameters()[i].names_interface())
            arguments.push_back(&request.values[i].value);
    }
    return arguments;
}

/* The interfaces that it depends on, then itself; each once. */
void collect(HostInterface *interface, std::vector<HostInterface *> &into)
{
    if (interface == nullptr || std::find(into.begin(), into.end(), interface) != into.end())
        return;
    collect(interface->parent, into);
    collect(record_of(interface->main_l3lif), into);
    into.push_back(interface);
}

Value index_of(const l3lif *record)
{
    return record != nullptr ? Value::integer(record->ifindex, Value::Style::hex) : Value();
}

uint32_t number_in(const Value &record, const char *field)
{
    const Value *value = record.find(field);
    return value != nullptr ? static_cast<uint32_t>(value->number()) : 0;
}

/* The interface that a field refers to; empty when there is none such, nullptr for null. */
std::optional<HostInterface *> interface_in(const Value &record, const char *field)
{
    const Value *value = record.find(field);
    if (value == nullptr || value->kind() == Value::Kind::null)
        return nullptr;
    HostInterface *found = value->kind() == Value::Kind::integer ? find_interface(*value) : nullptr;
    return found != nullptr ? std::optional(found) : std::nullopt;
}

/* Which numbers and references an interface of a kind has. */
struct KindRule {
    uint32_t least, most; /* of its number */
    bool has_vlan;        /* else 0 */
    bool has_parent;      /* a port or port-channel, which may be its main_l3lif too */
    bool joins;           /* its main_l3lif may be a port-channel */
    uint32_t most_members;
};
/* In the order of InterfaceKind. */
constexpr KindRule kind_rules[] = {{0, max_port, false, false, true, 0},
                                   {0, max_channel, false, false, false, max_port + 1},
                                   {1, max_vlan, true, false, false, 0},
                                   {0, max_sequence, true, true, false, 0}};

/* The host's state of an interface, as a line tells it. */
struct HostState {
    InterfaceKind kind = InterfaceKind::port;
    uint32_t ifindex = 0, vlan = 0, member_count = 0;
    HostInterface *parent = nullptr, *main = nullptr;
    /* Of its kind below. */
    uint32_t number() const { return ifindex & 0x0FFFFFFF; }
};

bool is_within(const Value &record, const char *field, uint32_t most)
{
    const Value *value = record.find(field);
    return value == nullptr || (value->kind() == Value::Kind::integer && value->number() >= 0 &&
                                value->number() <= most);
}

/* The name of what stands for a free number begins so; no recorded one may. */
constexpr std::string_view placeholder = "(number ";

/* Reads the state; returns the field that no interface of this name can have, or "". Nothing is
 * changed: what the line would replace is still there. */
std::string read_state(const std::string &name, const Value &record, HostState &state)
{
    if (name.empty() || starts_with(name, placeholder))
        return "interface";
    const Value *kind = record.find("kind");
    const auto named = std::find(std::begin(interface_kind_names), std::end(interface_kind_names),
                                 kind != nullptr ? kind->string() : "");
    if (named == std::end(interface_kind_names))
        return "kind";
    state.kind = static_cast<InterfaceKind>(named - std::begin(interface_kind_names));
    const KindRule &rule = kind_rules[static_cast<size_t>(state.kind)];
    state.ifindex = number_in(record, "ifindex");
    if (!is_within(record, "ifindex", UINT32_MAX) || state.number() < rule.least ||
        state.number() > rule.most || ifindex_of(state.kind, state.number()) != state.ifindex)
        return "ifindex";
    state.vlan = number_in(record, "vlan");
    if (!is_within(record, "vlan", rule.has_vlan ? max_vlan : 0) ||
        (rule.has_vlan && state.vlan == 0) ||
        (state.kind == InterfaceKind::svi && state.vlan != state.number()))
        return "vlan";
    const auto parent = interface_in(record, "parent"), main = interface_in(record, "main_l3lif");
    const auto carries = [&](const HostInterface &other) {
        return other.name != name &&
               (other.kind == InterfaceKind::port || other.kind == InterfaceKind::port_channel);
    };
    if (!parent || (*parent != nullptr) != rule.has_parent || (*parent && !carries(**parent)))
        return "parent";
    state.parent = *parent;
    const bool is_own_parent = main && *main != nullptr && *main == state.parent &&
                               state.parent->kind == InterfaceKind::port;
    const bool is_joined = main && *main != nullptr && rule.joins && carries(**main) &&
                           (*main)->kind == InterfaceKind::port_channel;
    if (!main || (*main != nullptr && !is_own_parent && !is_joined))
        return "main_l3lif";
    state.main = *main;
    state.member_count = number_in(record, "member_count");
    if (!is_within(record, "member_count", rule.most_members))
        return "member_count";
    return "";
}

/* Removes an interface that the recorded switch no longer had, with all references to it. */
void evict(HostInterface *gone)
{
    if (gone == nullptr)
        return;
    const bool can_carry =
        gone->kind == InterfaceKind::port || gone->kind == InterfaceKind::port_channel;
    if (can_carry) {
        for (HostInterface *other : host().interfaces()) {
            if (other->main_l3lif == gone) {
                other->main_l3lif = nullptr;
                other->channel = nullptr;
            }
            if (other->parent == gone)
                evict(other);
        }
    }
    gone->channel = nullptr;
    gone->membership.member_count = 0;
    host().remove(*gone);
}

/* Adds a sub-interface with exactly this number, which must be free. Lower free numbers are filled
 * with placeholders, which are evicted when their number is needed. */
HostInterface *add_sub_interface(const std::string &name, uint32_t number, HostInterface &parent,
                                 uint32_t vlan)
{
    HostInterface *made;
    while ((made = host().add_sub_interface(name, parent, vlan)) != nullptr &&
           made->number != number) {
        const std::string free_number = fmt::format("{}{})", placeholder, made->number);
        host().remove(*made);
        host().add_sub_interface(free_number, parent, vlan);
    }
    return made;
}

HostInterface *add(const std::string &name, const HostState &state)
{
    switch (state.kind) {
    case InterfaceKind::port:
        return host().add_port(name, state.number());
    case InterfaceKind::port_channel:
        return host().add_port_channel(name, state.number());
    case InterfaceKind::svi:
        return host().add_svi(name, state.number());
    case InterfaceKind::sub_interface:
        return add_sub_interface(name, state.number(), *state.parent, state.vlan);
    }
    return nullptr;
}

void restore_context(HostInterface &interface, const Value *recorded)
{
    if (recorded == nullptr || recorded->kind() != Value::Kind::record) {
        if (interface.pd_ctxt != nullptr)
            host().unregister_l3(interface);
        return;
    }
    l3_pd &context = interface.make_context();
    context.intf_id = static_cast<uint16_t>(number_in(*recorded, "intf_id"));
    context.old_intf_id = static_cast<uint16_t>(number_in(*recorded, "old_intf_id"));
    context.lid_id = number_in(*recorded, "lid_id");
    context.pc_id = number_in(*recorded, "pc_id");
}

} // namespace

std::vector<HostInterface *> interfaces_of(const Request &request)
{
    std::vector<HostInterface *> found;
    for (const Value *value : interface_arguments(request))
        collect(find_interface(*value), found);
    return found;
}

std::vector<uint32_t> unknown_indexes_of(const Request &request)
{
    std::vector<uint32_t> unknown;
    for (const Value *value : interface_arguments(request)) {
        if (value->kind() == Value::Kind::integer && find_interface(*value) == nullptr)
            unknown.push_back(static_cast<uint32_t>(value->number()));
    }
    return unknown;
}

Value host_state(const HostInterface &interface)
{
    return Value::record(
        {{"ifindex", Value::integer(interface.ifindex)},
         {"kind", Value::text(to_text(interface.kind))},
         {"parent", index_of(interface.parent)},
         {"vlan", Value::integer(interface.vlan)},
         {"registered", Value::integer(interface.registered)},
         {"main_l3lif", index_of(interface.main_l3lif)},
         {"member_count", Value::integer(interface.membership.member_count)},
         {"ip_cfg", Value::record({{"ipv4_ucst_en", Value::integer(interface.ip.ipv4_ucst_en)},
                                   {"ipv4_mcst_en", Value::integer(interface.ip.ipv4_mcst_en)},
                                   {"mtu", Value::integer(interface.ip.mtu)},
                                   {"ipv4_same_if", Value::integer(interface.ip.ipv4_same_if)}})}});
}

Value library_state(const HostInterface &interface)
{
    Value context;
    if (const l3_pd *record = interface.context()) {
        context = Value::record({{"intf_id", Value::integer(record->intf_id)},
                                 {"old_intf_id", Value::integer(record->old_intf_id)},
                                 {"lid_id", Value::integer(record->lid_id)},
                                 {"pc_id", Value::integer(record->pc_id)}});
    }
    return Value::record(
        {{"pd_state", Value::integer(interface.pd_state)}, {"l3_pd", std::move(context)}});
}

std::string restore_interface(const std::string &name, const Value &of_host, const Value &library)
{
    HostState state;
    if (const std::string wrong = read_state(name, of_host, state); !wrong.empty())
        return fmt::format("damaged line: {}: no interface has this \"{}\"", name, wrong);
    HostInterface *interface = host().find(state.ifindex);
    if (interface == nullptr || interface->name != name || interface->parent != state.parent ||
        interface->vlan != state.vlan) {
        /* Neither the parent nor the port-channel goes with them: both have other names. */
        evict(interface);
        evict(host().find(name));
        interface = add(name, state);
        if (interface == nullptr)
            return fmt::format("damaged line: {} cannot be added", name);
    }

    restore_context(*interface, library.find("l3_pd"));
    interface->pd_state = number_in(library, "pd_state");
    /* Set directly: the host's own tasks would count and check. */
    interface->registered = number_in(of_host, "registered") != 0;
    interface->main_l3lif = state.main;
    interface->channel = state.main != nullptr && state.main->kind == InterfaceKind::port_channel
                             ? state.main
                             : nullptr;
    interface->membership.member_count = state.member_count;
    if (const Value *ip = of_host.find("ip_cfg")) {
        interface->ip.ipv4_ucst_en = number_in(*ip, "ipv4_ucst_en");
        interface->ip.ipv4_mcst_en = number_in(*ip, "ipv4_mcst_en");
        interface->ip.mtu = static_cast<uint16_t>(number_in(*ip, "mtu"));
        interface->ip.ipv4_same_if = number_in(*ip, "ipv4_same_if");
    }
    return "";
}

void forget_interface(uint32_t ifindex)
{
    evict(host().find(ifindex));
}

} // namespace kvnsim
