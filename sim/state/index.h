#pragma once

#include <algorithm>
#include <cstdint>
#include <memory_resource>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include "sim/sdk/asic.h"
#include "sim/state/snapshot.h"

/* Lookups in a snapshot, within its tables and across them. */
namespace kvnsim {

/* The row whose member has this value, in rows sorted by it; nullptr without one. Consecutive
 * numbers are found at once, by their distance from the last row. */
template <class Row, class Number>
const Row *find_row(const std::vector<Row> &rows, Number Row::*member, Number value)
{
    if (rows.empty() || rows.back().*member < value)
        return nullptr;
    if (const Number from_last = rows.back().*member - value; from_last < rows.size()) {
        const Row &guess = rows[rows.size() - 1 - static_cast<size_t>(from_last)];
        if (guess.*member == value)
            return &guess;
    }
    const auto at = std::lower_bound(
        rows.begin(), rows.end(), value,
        [&](const Row &row, const Number &wanted) { return row.*member < wanted; });
    return at != rows.end() && (*at).*member == value ? &*at : nullptr;
}

/* All rows whose member has this value, in rows sorted by it. */
template <class Row> struct RowRange {
    const Row *first, *last;
    const Row *begin() const { return first; }
    const Row *end() const { return last; }
    bool empty() const { return first == last; }
    size_t size() const { return static_cast<size_t>(last - first); }
};
/* The same, where first is the position at which they begin. */
template <class Row>
RowRange<Row> rows_from(const std::vector<Row> &rows, size_t first, uint32_t Row::*member,
                        uint32_t value)
{
    size_t last = first;
    while (last < rows.size() && rows[last].*member == value)
        ++last;
    return {rows.data() + first, rows.data() + last};
}
template <class Row>
RowRange<Row> find_rows(const std::vector<Row> &rows, uint32_t Row::*member, uint32_t value)
{
    const auto first =
        std::lower_bound(rows.begin(), rows.end(), value,
                         [&](const Row &row, uint32_t wanted) { return row.*member < wanted; });
    return rows_from(rows, static_cast<size_t>(first - rows.begin()), member, value);
}

/* The value of that key; nullptr or empty without one. */
template <class Map>
const typename Map::mapped_type &found_in(const Map &map, const typename Map::key_type &key)
{
    static const typename Map::mapped_type none{};
    const auto at = map.find(key);
    return at == map.end() ? none : at->second;
}

/* An attribute of an SDK interface: current value and pending write. */
struct AttributeState {
    uint32_t value = 0;                         /* in the ASIC now */
    const AttributeValueRow *written = nullptr; /* nullptr: initial value */
    const PendingRow *waits = nullptr;          /* the last pending write, if any */
    uint32_t after_flush() const { return waits != nullptr ? waits->value : value; }
};

/* Lookups in one snapshot, which must outlive the index. */
class Index {
public:
    explicit Index(const Snapshot &snapshot);

    const Snapshot &snapshot() const { return s_; }

    const HostRow *host(uint32_t ifindex) const
    {
        return find_row(s_.host, &HostRow::ifindex, ifindex);
    }
    const HostRow *host(std::string_view name) const { return found_in(host_by_name_, name); }
    const ContextRow *context(uint32_t ifindex) const
    {
        return find_row(s_.contexts, &ContextRow::ifindex, ifindex);
    }
    const ContextRow *context(const HostRow *host) const
    {
        return host != nullptr ? context(host->ifindex) : nullptr;
    }
    /* The context that serves the interface: a member's is its port-channel's. */
    const ContextRow *serving_context(const HostRow *host) const
    {
        return host != nullptr ? context(host->channel.value_or(host->ifindex)) : nullptr;
    }
    /* The wanted interface; nullptr when not wanted. */
    const WantedInterface *wanted(std::string_view name) const;
    /* The same, for rows of this snapshot. */
    const WantedInterface *wanted(const HostRow &host) const
    {
        return wanted_of_[static_cast<size_t>(&host - s_.host.data())];
    }
    const HostRow *host(const WantedInterface &wanted) const
    {
        return host_of_[static_cast<size_t>(&wanted - s_.wanted_interfaces.data())];
    }
    const WantedPort *wanted_port(std::string_view name) const
    {
        return found_in(wanted_ports_, name);
    }
    const WantedVlan *wanted_vlan(std::string_view name) const
    {
        return found_in(wanted_vlans_, name);
    }
    /* The configuration reader's findings about rows that name it. */
    const std::vector<const Finding *> &reader(std::string_view name) const
    {
        return found_in(reader_, name);
    }
    /* Of a row of the snapshot: it must be in the ASIC, being routed and, for a port-channel, with
     * a member that joins. */
    bool must_exist(const WantedInterface &wanted) const
    {
        return must_exist_[static_cast<size_t>(&wanted - s_.wanted_interfaces.data())];
    }
    /* What a port is configured for: "routed", "member", "switched", "unused". */
    const char *role(std::string_view port) const;
    /* A port's configured membership, not declined; nullptr without one. */
    const WantedMember *membership(std::string_view port) const
    {
        return found_in(membership_, port);
    }
    /* The state of an interface: "programmed"; or, instead, "layer 2", "member of
     * PortChannel1", "switched in Vlan100", "unused"; or what is wrong: "no member", "not
     * programmed", "programmed, not wanted", "left out of the configuration". */
    std::string state(std::string_view name) const;
    std::string state(const WantedInterface &wanted) const; /* a row of the snapshot */
    /* The VLANs configured for a port or port-channel. */
    const std::vector<std::string> &vlans(std::string_view member) const
    {
        return found_in(vlans_, member);
    }
    /* A front port's membership in the ASIC, nullptr without one. */
    const MemberRow *member(uint32_t front_port) const { return found_in(members_, front_port); }
    /* Whether a port has joined it, by the host's records. */
    bool has_joined_members(const HostRow &port_channel) const
    {
        return joined_channels_.count(port_channel.ifindex) != 0;
    }
    /* Whether its record names an SDK interface in the ASIC. */
    bool programmed(const HostRow *host) const;

    const IntfRow *intf(uint32_t id) const { return find_row(s_.intfs, &IntfRow::intf_id, id); }
    const LidRow *lid(uint32_t id) const { return find_row(s_.lids, &LidRow::lid_id, id); }
    const PortChannelRow *port_channel(uint32_t id) const
    {
        return find_row(s_.port_channels, &PortChannelRow::pc_id, id);
    }
    const TrapRow *trap(uint32_t id) const { return find_row(s_.traps, &TrapRow::mac_trap_id, id); }
    RowRange<AttributeValueRow> attributes(uint32_t intf_id) const
    {
        const IntfRow *const row = intf(intf_id);
        return row != nullptr ? attributes(*row) : RowRange<AttributeValueRow>{nullptr, nullptr};
    }
    /* The same, of what intf() found. */
    RowRange<AttributeValueRow> attributes(const IntfRow &intf) const
    {
        return rows_from(s_.attributes,
                         attributes_of_[static_cast<size_t>(&intf - s_.intfs.data())],
                         &AttributeValueRow::intf_id, intf.intf_id);
    }
    /* Whether the flush will apply it: not if the interface is gone or was created since. */
    bool is_for_this_interface(const PendingRow &write) const;
    AttributeState attribute(uint32_t intf_id, uint32_t number) const
    {
        return attribute(attributes(intf_id), intf_id, number);
    }
    /* The same, with the interface's attributes already looked up. */
    AttributeState attribute(const RowRange<AttributeValueRow> &written, uint32_t intf_id,
                             uint32_t number) const
    {
        for (const AttributeValueRow &row : written) {
            if (row.number == number)
                return attribute(&row, intf_id, number);
        }
        return attribute(nullptr, intf_id, number);
    }
    /* The same, with the attribute's row looked up; nullptr when it was not written. */
    AttributeState attribute(const AttributeValueRow *written, uint32_t intf_id,
                             uint32_t number) const
    {
        const uint32_t initial = number < initial_values_.size() ? initial_values_[number] : 0;
        return {written != nullptr ? written->value : initial, written,
                pending_.empty() ? nullptr : waiting(intf_id, number)};
    }

    const L3lifRow *l3lif(uint32_t ifindex) const
    {
        return find_row(s_.l3lif, &L3lifRow::ifindex, ifindex);
    }
    const LabelRow *label(uint32_t ifindex) const
    {
        return find_row(s_.label, &LabelRow::ifindex, ifindex);
    }

    /* The interface whose record names the object; nullptr for an orphan. */
    const HostRow *owner_of_intf(uint32_t id) const { return found_in(intf_owner_, id); }
    const HostRow *owner_of_lid(uint32_t id) const { return found_in(lid_owner_, id); }
    const HostRow *owner_of_port_channel(uint32_t id) const { return found_in(pc_owner_, id); }
    const HostRow *owner_of_front_port(uint32_t front_port) const;

    /* The name of an ifindex, or the number of an unknown one. */
    std::string name(uint32_t ifindex) const;
    /* "5 (routed port, front port 3)" */
    std::string intf_words(uint32_t intf_id) const;
    static std::string kind_words(const IntfRow &row); /* the text in parentheses */
    /* A path's destination: "front port 3", "port-channel 1" */
    static std::string path_words(const LidPathRow &path);
    /* The object's failed step, not yet repaired; empty without one. */
    const FailureRow &failure(std::string_view object) const;

private:
    bool lacks_members(const WantedInterface &wanted) const
    {
        return wanted.kind == InterfaceKind::port_channel &&
               joining_members_.count(wanted.name) == 0;
    }
    const PendingRow *waiting(uint32_t intf_id, uint32_t number) const;
    std::string state(std::string_view name, const HostRow *row,
                      const WantedInterface *interface) const;
    std::string state_of_missing(const WantedInterface &interface) const;
    std::string state_of_port(std::string_view port) const;
    bool not_reached(std::string_view name) const;

    template <class Key, class Value> using Lookup = std::pmr::unordered_map<Key, Value>;

    const Snapshot &s_;
    std::pmr::monotonic_buffer_resource memory_; /* of the lookups */
    Lookup<std::string_view, const HostRow *> host_by_name_{&memory_};
    Lookup<std::string_view, const WantedInterface *> wanted_without_host_{&memory_};
    std::vector<const WantedInterface *> wanted_of_; /* by position of the host's row */
    std::vector<const HostRow *> host_of_;           /* by position of the wanted row */
    std::vector<bool> must_exist_;                   /* likewise */
    std::vector<size_t> attributes_of_;              /* start of each SDK interface's attributes */
    std::vector<uint32_t> initial_values_;           /* of attributes, by number */
    Lookup<std::string_view, const WantedPort *> wanted_ports_{&memory_};
    Lookup<std::string_view, const WantedVlan *> wanted_vlans_{&memory_};
    Lookup<std::string_view, std::vector<const Finding *>> reader_{&memory_};
    Lookup<std::string_view, uint32_t> joining_members_{&memory_};          /* by port-channel */
    Lookup<std::string_view, std::vector<std::string>> declined_{&memory_}; /* not joining */
    Lookup<std::string_view, const WantedMember *> membership_{&memory_};   /* by port */
    Lookup<std::string_view, std::vector<std::string>> vlans_{&memory_};    /* by member */
    Lookup<std::string_view, const FailureRow *> failures_{&memory_};       /* the oldest of each */
    Lookup<uint32_t, const MemberRow *> members_{&memory_};                 /* by front port */
    std::pmr::unordered_set<uint32_t> joined_channels_{&memory_};           /* by ifindex */
    Lookup<uint32_t, const HostRow *> intf_owner_{&memory_}, lid_owner_{&memory_},
        pc_owner_{&memory_};
    Lookup<uint64_t, const PendingRow *> pending_{&memory_}; /* by interface and attribute */
};

} // namespace kvnsim
