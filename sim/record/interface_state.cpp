/* Writes the state of an interface for a recording and restores it for a replay. After a restore
 * the host holds the interface with exactly the recorded values; an interface with the same name or
 * ifindex is removed first, with its sub-interfaces. */
#include "sim/record/interface_state.h"

#include <algorithm>
#include <iterator>

#include <fmt/format.h>

#include "l3lifpd_kavelin.h"
#include "sim/switch/entry_points.h"

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

HostInterface *interface_in(const Value &record, const char *field)
{
    const Value *value = record.find(field);
    return value != nullptr && value->kind() == Value::Kind::integer ? find_interface(*value)
                                                                     : nullptr;
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

/* Adds a sub-interface with exactly this ifindex, which must be free. Lower free numbers are filled
 * with placeholders, which are evicted when their number is needed. */
HostInterface *add_sub_interface(const std::string &name, uint32_t ifindex, HostInterface &parent,
                                 uint32_t vlan)
{
    HostInterface *made;
    while ((made = host().add_sub_interface(name, parent, vlan)) != nullptr &&
           made->ifindex != ifindex) {
        const std::string free_number = fmt::format("(number {})", made->number);
        host().remove(*made);
        host().add_sub_interface(free_number, parent, vlan);
    }
    return made;
}

HostInterface *add(const std::string &name, InterfaceKind kind, uint32_t ifindex,
                   HostInterface *parent, uint32_t vlan)
{
    const uint32_t number = ifindex & 0x0FFFFFFF;
    switch (kind) {
    case InterfaceKind::port:
        return host().add_port(name, number);
    case InterfaceKind::port_channel:
        return host().add_port_channel(name, number);
    case InterfaceKind::svi:
        return host().add_svi(name, number);
    case InterfaceKind::sub_interface:
        return parent != nullptr && number <= max_sequence
                   ? add_sub_interface(name, ifindex, *parent, vlan)
                   : nullptr;
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
    const uint32_t ifindex = number_in(of_host, "ifindex");
    const uint32_t vlan = number_in(of_host, "vlan");
    HostInterface *const parent = interface_in(of_host, "parent");
    HostInterface *interface = host().find(ifindex);
    if (interface == nullptr || interface->name != name || interface->parent != parent ||
        interface->vlan != vlan) {
        const Value *kind_text = of_host.find("kind");
        const auto named =
            std::find(std::begin(interface_kind_names), std::end(interface_kind_names),
                      kind_text != nullptr ? kind_text->string() : "");
        if (named == std::end(interface_kind_names))
            return "\"kind\": expected port, port-channel, sub-interface or SVI";
        evict(interface);
        evict(host().find(name));
        const auto kind = static_cast<InterfaceKind>(named - std::begin(interface_kind_names));
        interface = add(name, kind, ifindex, parent, vlan);
        if (interface == nullptr || interface->ifindex != ifindex)
            return fmt::format("{} cannot be a {} of ifindex {:#x}", name, *named, ifindex);
    }

    restore_context(*interface, library.find("l3_pd"));
    interface->pd_state = number_in(library, "pd_state");
    /* Set directly: the host's own tasks would count and check. */
    interface->registered = number_in(of_host, "registered") != 0;
    HostInterface *const main = interface_in(of_host, "main_l3lif");
    interface->main_l3lif = main;
    interface->channel =
        main != nullptr && main->kind == InterfaceKind::port_channel ? main : nullptr;
    interface->membership.member_count = number_in(of_host, "member_count");
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
