#include "sim/report/graph.h"

#include <optional>
#include <set>
#include <string_view>
#include <unordered_map>
#include <utility>

#include <fmt/format.h>

#include "platform_api/libsdk.h"

namespace kvnsim {
namespace {

class GraphMaker {
public:
    explicit GraphMaker(const Index &index) : index_(index), s_(index.snapshot()) {}

    Graph make()
    {
        interfaces();
        asic_objects();
        ports();
        records();
        asic_references();
        layer_2();
        return std::move(graph_);
    }

private:
    /* ---- Nodes ---- */

    size_t add(NodeKind kind, std::string label, std::string detail)
    {
        graph_.nodes.push_back({kind, std::move(label), std::move(detail), {}});
        return graph_.nodes.size() - 1;
    }

    using ById = std::unordered_map<uint32_t, size_t>;

    void interfaces()
    {
        for (const WantedInterface &wanted : s_.wanted_interfaces)
            interface(wanted.name, wanted.kind);
        for (const HostRow &host : s_.host) {
            if (host.kind != InterfaceKind::port || index_.context(host.ifindex) != nullptr)
                interface(host.name, host.kind);
        }
    }
    void interface(const std::string &name, InterfaceKind kind)
    {
        if (interfaces_.count(name) == 0)
            interfaces_.emplace(name, add(NodeKind::interface, name, to_text(kind)));
    }

    void asic_objects()
    {
        for (const IntfRow &row : s_.intfs)
            is_there(intf(row.intf_id), Index::kind_words(row), row.made);
        for (const TrapRow &row : s_.traps)
            is_there(trap(row.mac_trap_id), to_text(row.mac), row.made);
        for (const LidRow &row : s_.lids)
            is_there(lid(row.lid_id), fmt::format("ifmap {:#x}", row.ifmap_idx), row.made);
        for (const PortChannelRow &row : s_.port_channels)
            is_there(channel(row.pc_id), {}, row.made);
    }
    void is_there(size_t object, std::string detail, const Origin &made)
    {
        GraphNode &node = graph_.nodes[object];
        node = {node.kind, node.label, std::move(detail), made.to_text()};
    }

    void ports()
    {
        for (const HostRow &host : s_.host) {
            if (host.kind == InterfaceKind::port)
                port(host.name, host.number + 1);
        }
        for (const WantedPort &wanted : s_.wanted_ports)
            port(wanted.name, std::nullopt);
    }
    void port(const std::string &name, std::optional<uint32_t> front_port)
    {
        if (ports_.count(name) != 0)
            return;
        const size_t node =
            add(NodeKind::port, name, front_port ? fmt::format("front port {}", *front_port) : "");
        ports_.emplace(name, node);
        if (front_port)
            front_ports_.emplace(*front_port, node);
    }

    /* The object, or a placeholder for a dangling reference. */
    size_t object(ById &nodes, NodeKind kind, const char *what, uint32_t id)
    {
        const auto [at, is_new] = nodes.try_emplace(id, graph_.nodes.size());
        if (is_new)
            graph_.nodes.push_back({kind, fmt::format("{} {}", what, id), "gone", {}, true});
        return at->second;
    }
    size_t intf(uint32_t id)
    {
        return object(intfs_, NodeKind::sdk_interface, "SDK interface", id);
    }
    size_t lid(uint32_t id) { return object(lids_, NodeKind::lid, "LID entry", id); }
    size_t trap(uint32_t id) { return object(traps_, NodeKind::mac_trap, "MAC trap", id); }
    size_t channel(uint32_t id)
    {
        return object(channels_, NodeKind::port_channel, "SDK port-channel", id);
    }
    size_t front_port(uint32_t number)
    {
        return object(front_ports_, NodeKind::port, "front port", number);
    }

    /* ---- Edges ---- */

    void link(size_t from, size_t to, EdgeKind kind)
    {
        if (linked_.emplace(from, to).second)
            graph_.edges.push_back({from, to, kind});
    }

    /* From the records of the library and the host. */
    void records()
    {
        for (const HostRow &host : s_.host) {
            const auto at = interfaces_.find(host.name);
            if (at == interfaces_.end())
                continue;
            const size_t node = at->second;
            if (const ContextRow *context = index_.context(host.ifindex))
                context_of(node, *context);
            if (host.kept_intf && *host.kept_intf != no_id)
                link(node, intf(*host.kept_intf), EdgeKind::recorded);
            if (host.held_lid && *host.held_lid != no_id)
                link(node, lid(*host.held_lid), EdgeKind::recorded);
            if (host.held_pc && *host.held_pc != no_id)
                link(node, channel(*host.held_pc), EdgeKind::recorded);
        }
        for (const FhrpRow &entry : s_.virtual_macs) {
            const HostRow *host = index_.host(entry.ifindex);
            const ContextRow *context = index_.context(entry.ifindex);
            const TrapRow *row = index_.trap(entry.mac_trap_id);
            const bool on_its_own =
                row != nullptr && context != nullptr && row->intf_id == context->intf_id;
            const auto at = host == nullptr ? interfaces_.end() : interfaces_.find(host->name);
            if (at != interfaces_.end() && !on_its_own)
                link(at->second, trap(entry.mac_trap_id), EdgeKind::recorded);
        }
    }
    /* An SDK interface bound to the recorded LID entry already provides the rest of the path. */
    void context_of(size_t node, const ContextRow &context)
    {
        uint32_t bound = no_id;
        if (context.intf_id != no_id) {
            link(node, intf(context.intf_id), EdgeKind::programmed);
            bound = bound_lid(context.intf_id);
        }
        if (context.lid_id != no_id && context.lid_id != bound)
            link(node, lid(context.lid_id), EdgeKind::recorded);
        if (context.pc_id != no_id && !leads_to_channel(bound, context.pc_id))
            link(node, channel(context.pc_id), EdgeKind::recorded);
    }
    uint32_t bound_lid(uint32_t intf_id) const
    {
        const AttributeValueRow *row = index_.attribute(intf_id, SdkIntfAttrLid).written;
        return row != nullptr ? row->value : no_id;
    }
    bool leads_to_channel(uint32_t lid_id, uint32_t pc_id) const
    {
        for (const LidPathRow &path : find_rows(s_.lid_paths, &LidPathRow::lid_id, lid_id)) {
            if (path.port_type == SdkPortTypeChannel && path.pc_id == pc_id)
                return true;
        }
        return false;
    }

    void asic_references()
    {
        for (const AttributeValueRow &row : s_.attributes) {
            if (row.number == SdkIntfAttrLid && row.value != no_id)
                link(intf(row.intf_id), lid(row.value), EdgeKind::programmed);
        }
        for (const TrapRow &row : s_.traps)
            link(intf(row.intf_id), trap(row.mac_trap_id), EdgeKind::programmed);
        for (const LidPathRow &row : s_.lid_paths)
            link(lid(row.lid_id),
                 row.port_type == SdkPortTypeChannel ? channel(row.pc_id)
                                                     : front_port(row.front_port),
                 EdgeKind::programmed);
        for (const MemberRow &row : s_.members)
            link(channel(row.pc_id), front_port(row.front_port), EdgeKind::programmed);
    }

    /* The ASIC's tables have no VLAN members and no layer-2 port-channels. */
    void layer_2()
    {
        std::unordered_map<std::string_view, std::vector<const std::string *>> channel_ports;
        for (const WantedMember &row : s_.wanted_members) {
            const WantedInterface *wanted = index_.wanted(row.port_channel);
            if (wanted == nullptr || wanted->routed)
                continue;
            link_names(row.port_channel, row.port);
            channel_ports[row.port_channel].push_back(&row.port);
        }
        for (const WantedVlanMember &row : s_.wanted_vlan_members) {
            link_names(row.vlan, row.member);
            for (const std::string *port : channel_ports[row.member])
                link_names(row.vlan, *port);
        }
    }
    void link_names(const std::string &interface, const std::string &member)
    {
        const auto from = interfaces_.find(interface);
        const auto to = ports_.find(member);
        if (from != interfaces_.end() && to != ports_.end())
            link(from->second, to->second, EdgeKind::configured);
    }

    const Index &index_;
    const Snapshot &s_;
    Graph graph_;
    std::unordered_map<std::string, size_t> interfaces_, ports_;
    ById intfs_, traps_, lids_, channels_, front_ports_;
    std::set<std::pair<size_t, size_t>> linked_;
};

} // namespace

Graph object_graph(const Index &index)
{
    return GraphMaker(index).make();
}

} // namespace kvnsim
