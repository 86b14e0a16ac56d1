/* Lookups for one snapshot. The constructor reads each table once; after that a lookup does not
 * scan a table. Rows are found by binary search in the snapshot's sorted tables or in a hash table,
 * and results point into the snapshot. Audit, explanations, show tables and the report use it. */
#include "sim/state/index.h"

#include <fmt/format.h>

#include "platform_api/libsdk.h"
#include "sim/sdk/asic.h"
#include "sim/sdk/attributes.h"
#include "sim/state/interface_names.h"

namespace kvnsim {
namespace {

uint64_t pair_key(uint32_t intf_id, uint32_t number)
{
    return uint64_t{intf_id} << 32 | number;
}

} // namespace

Index::Index(const Snapshot &snapshot) : s_(snapshot)
{
    host_by_name_.reserve(snapshot.host.size());
    intf_owner_.reserve(snapshot.host.size());
    for (const HostRow &row : snapshot.host) {
        host_by_name_.emplace(row.name, &row);
        if (row.kept_intf)
            intf_owner_.emplace(*row.kept_intf, &row);
        if (row.port_lid)
            lid_owner_.emplace(*row.port_lid, &row);
        if (row.held_lid)
            lid_owner_.emplace(*row.held_lid, &row);
        if (row.held_pc)
            pc_owner_.emplace(*row.held_pc, &row);
        if (row.channel)
            joined_channels_.insert(*row.channel);
    }
    for (const MemberRow &row : snapshot.members)
        members_[row.front_port] = &row;
    for (const ContextRow &row : snapshot.contexts) {
        const HostRow *owner = host(row.ifindex);
        if (owner == nullptr)
            continue;
        if (row.intf_id != no_id)
            intf_owner_.emplace(row.intf_id, owner);
        if (owner->kind == InterfaceKind::port_channel) {
            if (row.lid_id != no_id)
                lid_owner_.emplace(row.lid_id, owner);
            if (row.pc_id != no_id)
                pc_owner_.emplace(row.pc_id, owner);
        }
    }
    wanted_of_.resize(snapshot.host.size());
    host_of_.reserve(snapshot.wanted_interfaces.size());
    for (const WantedInterface &row : snapshot.wanted_interfaces) {
        const HostRow *const has = host(row.name);
        host_of_.push_back(has);
        if (has != nullptr)
            wanted_of_[static_cast<size_t>(has - snapshot.host.data())] = &row;
        else
            wanted_without_host_.emplace(row.name, &row);
    }
    attributes_of_.reserve(snapshot.intfs.size());
    size_t at = 0;
    for (const IntfRow &row : snapshot.intfs) {
        while (at < snapshot.attributes.size() && snapshot.attributes[at].intf_id < row.intf_id)
            ++at;
        attributes_of_.push_back(at);
    }
    initial_values_.resize(kvnsim::attributes().back().number + 1);
    for (const AttributeRow &row : kvnsim::attributes())
        initial_values_[row.number] = row.initial;
    for (const WantedPort &row : snapshot.wanted_ports)
        wanted_ports_.emplace(row.name, &row);
    for (const WantedVlan &row : snapshot.wanted_vlans)
        wanted_vlans_.emplace(row.name, &row);
    for (const Finding &row : snapshot.reader) {
        for (const std::string_view name : interfaces_of(row.location))
            reader_[name].push_back(&row);
    }
    for (const WantedMember &row : snapshot.wanted_members) {
        if (!row.declined)
            membership_.emplace(row.port, &row);
        if (!row.declined && wanted(row.port) == nullptr)
            joining_members_[row.port_channel]++;
        else
            declined_[row.port_channel].push_back(row.port);
    }
    must_exist_.reserve(snapshot.wanted_interfaces.size());
    const WantedInterface *parent = nullptr; /* which sub-interfaces in a row share */
    for (const WantedInterface &row : snapshot.wanted_interfaces) {
        if (row.kind != InterfaceKind::sub_interface) {
            must_exist_.push_back(row.routed && !lacks_members(row));
            continue;
        }
        if (parent == nullptr || parent->name != row.parent)
            parent = wanted(row.parent);
        must_exist_.push_back(parent == nullptr || !lacks_members(*parent));
    }
    for (const WantedVlanMember &row : snapshot.wanted_vlan_members)
        vlans_[row.member].push_back(row.vlan);
    for (const FailureRow &row : snapshot.failures)
        failures_.emplace(row.object, &row);
    for (const PendingRow &row : snapshot.pending) {
        if (is_for_this_interface(row))
            pending_[pair_key(row.intf_id, row.number)] = &row;
    }
}

const WantedInterface *Index::wanted(std::string_view name) const
{
    const HostRow *const has = host(name);
    return has != nullptr ? wanted(*has) : found_in(wanted_without_host_, name);
}

const HostRow *Index::owner_of_front_port(uint32_t front_port) const
{
    /* Ports are the host's first interfaces, in the order of their numbers. */
    const auto at = std::partition_point(s_.host.begin(), s_.host.end(), [&](const HostRow &row) {
        return row.kind == InterfaceKind::port && row.number + 1 < front_port;
    });
    const bool found =
        at != s_.host.end() && at->kind == InterfaceKind::port && at->number + 1 == front_port;
    return found ? &*at : nullptr;
}

bool Index::programmed(const HostRow *host) const
{
    const ContextRow *own = context(host);
    return own != nullptr && intf(own->intf_id) != nullptr;
}

const char *Index::role(std::string_view port) const
{
    if (wanted(port) != nullptr)
        return "routed";
    if (membership(port) != nullptr)
        return "member";
    return vlans(port).empty() ? "unused" : "switched";
}

std::string Index::state(std::string_view name) const
{
    return state(name, host(name), wanted(name));
}

std::string Index::state(const WantedInterface &wanted) const
{
    return state(wanted.name, host(wanted), &wanted);
}

std::string Index::state(std::string_view name, const HostRow *row,
                         const WantedInterface *interface) const
{
    if (programmed(row))
        return interface != nullptr ? "programmed" : "programmed, not wanted";
    if (interface == nullptr && wanted_port(name) == nullptr) {
        if (wanted_vlan(name) != nullptr)
            return "layer 2: no row in VLAN_INTERFACE";
        return row == nullptr && !reader(name).empty() ? "left out of the configuration"
                                                       : "not wanted";
    }
    if (row != nullptr && row->channel)
        return "member of " + this->name(*row->channel);
    return interface != nullptr ? state_of_missing(*interface) : state_of_port(name);
}

std::string Index::state_of_missing(const WantedInterface &interface) const
{
    if (!interface.routed)
        return "layer 2";
    if (must_exist(interface))
        return not_reached(interface.name) ? "not reached, the run was interrupted"
                                           : "not programmed";
    const bool is_sub = interface.kind == InterfaceKind::sub_interface;
    const std::vector<std::string> &declined =
        found_in(declined_, is_sub ? interface.parent : interface.name);
    return declined.empty()
               ? "no member"
               : fmt::format("no member joined (declined: {})", fmt::join(declined, ","));
}

bool Index::not_reached(std::string_view name) const
{
    return s_.meta.interrupted && failure(name).message.empty();
}

std::string Index::state_of_port(std::string_view port) const
{
    if (host(port) == nullptr)
        return not_reached(port) ? "not reached, the run was interrupted" : "not known to the host";
    if (const WantedMember *member = membership(port)) {
        const WantedInterface *channel = wanted(member->port_channel);
        return fmt::format(channel != nullptr && !channel->routed ? "member of {}, layer 2"
                                                                  : "not joined to {}",
                           member->port_channel);
    }
    return vlans(port).empty() ? "unused"
                               : fmt::format("switched in {}", fmt::join(vlans(port), ","));
}

bool Index::is_for_this_interface(const PendingRow &write) const
{
    const IntfRow *row = intf(write.intf_id);
    return row != nullptr && write.made.number() >= row->made.number();
}

const PendingRow *Index::waiting(uint32_t intf_id, uint32_t number) const
{
    return found_in(pending_, pair_key(intf_id, number));
}

std::string Index::name(uint32_t ifindex) const
{
    const HostRow *row = host(ifindex);
    return row != nullptr ? row->name : fmt::format("ifindex {:#x}", ifindex);
}

std::string Index::intf_words(uint32_t intf_id) const
{
    const IntfRow *row = intf(intf_id);
    return row != nullptr ? fmt::format("{} ({})", intf_id, kind_words(*row))
                          : fmt::to_string(intf_id);
}

std::string Index::kind_words(const IntfRow &row)
{
    switch (row.type) {
    case sdk_routed_port:
        return fmt::format("routed port, {} {}", row.param3 == 1 ? "port-channel" : "front port",
                           row.param1);
    case sdk_sub_interface:
        return fmt::format("sub-interface, VLAN {} on SDK interface {}", row.param2, row.param1);
    case sdk_svi:
        return fmt::format("SVI, VLAN {}", row.param1);
    default:
        return fmt::format("type {}", row.type);
    }
}

std::string Index::path_words(const LidPathRow &path)
{
    return path.port_type == SdkPortTypeChannel ? fmt::format("port-channel {}", path.pc_id)
                                                : fmt::format("front port {}", path.front_port);
}

const FailureRow &Index::failure(std::string_view object) const
{
    static const FailureRow none;
    const FailureRow *row = found_in(failures_, object);
    return row != nullptr ? *row : none;
}

} // namespace kvnsim
