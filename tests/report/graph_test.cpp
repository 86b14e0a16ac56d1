#include "sim/report/graph.h"

#include <set>

#include <gmock/gmock.h>

#include "tests/sim/state/snapshot_fixture.h"

namespace kvnsim {
namespace {

using testing::Contains;
using testing::IsSubsetOf;
using testing::Not;
using testing::UnorderedElementsAre;

class ObjectGraph : public SnapshotFixture {
protected:
    Graph graph_of(const Snapshot &snapshot)
    {
        const Index index(snapshot);
        return object_graph(index);
    }

    /* "LID entry 3 -> Ethernet8", and "(recorded)" or "(configured)" behind edges that are that. */
    static std::set<std::string> edges(const Graph &graph)
    {
        std::set<std::string> all;
        for (const GraphEdge &edge : graph.edges) {
            const char *kind[] = {"", " (recorded)", " (configured)"};
            all.insert(graph.nodes[edge.from].label + " -> " + graph.nodes[edge.to].label +
                       kind[static_cast<size_t>(edge.kind)]);
        }
        return all;
    }

    /* What an object of that name leads to in the end and on the way. */
    static std::set<std::string> reached(const Graph &graph, NodeKind kind,
                                         const std::string &label)
    {
        std::set<size_t> met;
        for (size_t i = 0; i < graph.nodes.size(); ++i) {
            if (graph.nodes[i].kind == kind && graph.nodes[i].label == label)
                met.insert(i);
        }
        for (size_t before = 0; before != met.size();) {
            before = met.size();
            for (const GraphEdge &edge : graph.edges) {
                if (met.count(edge.from) != 0)
                    met.insert(edge.to);
            }
        }
        std::set<std::string> labels;
        for (const size_t node : met)
            labels.insert(graph.nodes[node].label);
        return labels;
    }
    static std::set<std::string> gone(const Graph &graph)
    {
        std::set<std::string> labels;
        for (const GraphNode &node : graph.nodes) {
            if (node.gone)
                labels.insert(node.label);
        }
        return labels;
    }
};

TEST_F(ObjectGraph, LeadsFromARoutedPortOverItsLidEntryToTheFrontPanel)
{
    bring_about(wanted(R"({"PORT": {"Ethernet0": {}}, "INTERFACE": {"Ethernet0": {}}})"));
    EXPECT_THAT(edges(graph_of(capture(sw))),
                UnorderedElementsAre("Ethernet0 -> SDK interface 1",
                                     "SDK interface 1 -> LID entry 1", "LID entry 1 -> Ethernet0"));
}

TEST_F(ObjectGraph, LeadsFromAPortChannelOverItsLidEntryToEveryMember)
{
    const Graph graph = graph_of(small_switch());
    EXPECT_THAT((std::vector<std::string>{"SDK port-channel 1", "Ethernet8", "Ethernet12"}),
                IsSubsetOf(reached(graph, NodeKind::interface, "PortChannel1")));
    EXPECT_THAT(edges(graph), Contains("SDK port-channel 1 -> Ethernet8"));
    EXPECT_TRUE(gone(graph).empty());
}

TEST_F(ObjectGraph, LeadsFromASubInterfaceToItsParentsPort)
{
    const std::set<std::string> way =
        reached(graph_of(small_switch()), NodeKind::interface, "Ethernet0.10");
    EXPECT_THAT(way, Contains("Ethernet0"));
    EXPECT_THAT(way, Not(Contains("Ethernet4")));
}

TEST_F(ObjectGraph, LeadsFromAnSviToItsMacTrapAndItsVlansMembers)
{
    const Graph graph = graph_of(small_switch());
    EXPECT_THAT(reached(graph, NodeKind::interface, "Vlan100"), Contains("MAC trap 1"));
    EXPECT_THAT(edges(graph), Contains("Vlan100 -> Ethernet16 (configured)"));
}

TEST_F(ObjectGraph, LeadsFromAVlanToThePortsOfASwitchedPortChannel)
{
    bring_about(wanted(R"({"PORT": {"Ethernet0": {}}, "PORTCHANNEL": {"PortChannel1": {}},
        "PORTCHANNEL_MEMBER": {"PortChannel1|Ethernet0": {}}, "VLAN": {"Vlan100": {}},
        "VLAN_MEMBER": {"Vlan100|PortChannel1": {}}, "VLAN_INTERFACE": {"Vlan100": {}}})"));
    EXPECT_THAT(edges(graph_of(capture(sw))),
                testing::IsSupersetOf({"PortChannel1 -> Ethernet0 (configured)",
                                       "Vlan100 -> Ethernet0 (configured)"}));
}

TEST_F(ObjectGraph, TellsWhoMadeWhatTheAsicHolds)
{
    for (const GraphNode &node : graph_of(small_switch()).nodes) {
        const bool in_asic = node.kind != NodeKind::interface && node.kind != NodeKind::port;
        EXPECT_EQ(node.made.empty(), !in_asic) << node.label;
    }
}

TEST_F(ObjectGraph, HasAnObjectThatNothingLeadsTo)
{
    Snapshot snapshot = small_switch();
    snapshot.lids.push_back({999, 0, {}});
    const Graph graph = graph_of(snapshot);
    for (const GraphEdge &edge : graph.edges)
        EXPECT_NE(graph.nodes[edge.to].label, "LID entry 999");
    EXPECT_EQ(graph.nodes[graph.nodes.size() - 1].kind, NodeKind::port);
    size_t found = 0;
    for (const GraphNode &node : graph.nodes)
        found += node.label == "LID entry 999" ? 1 : 0;
    EXPECT_EQ(found, 1u);
}

TEST_F(ObjectGraph, MarksWhatIsNamedAndGone)
{
    Snapshot snapshot = small_switch();
    snapshot.intfs.erase(snapshot.intfs.begin()); /* Ethernet0's */
    snapshot.lids.erase(snapshot.lids.begin());
    EXPECT_THAT(gone(graph_of(snapshot)), UnorderedElementsAre("SDK interface 1", "LID entry 1"));
}

TEST_F(ObjectGraph, TellsARecordThatTheAsicDoesNotBearOut)
{
    Snapshot snapshot = small_switch();
    for (ContextRow &context : snapshot.contexts) {
        if (context.intf_id == 1)
            context.lid_id = 2;
    }
    EXPECT_THAT(edges(graph_of(snapshot)),
                testing::IsSupersetOf(
                    {"Ethernet0 -> LID entry 2 (recorded)", "SDK interface 1 -> LID entry 1"}));
}

} // namespace
} // namespace kvnsim
