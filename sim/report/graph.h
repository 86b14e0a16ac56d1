#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "sim/state/index.h"

/* Which object of the switch leads to which, from interfaces to front-panel ports. */
namespace kvnsim {

/* In the order from left to right. */
enum class NodeKind : uint8_t {
    interface,
    sdk_interface,
    mac_trap,
    lid,
    port_channel, /* the ASIC's */
    port
};

struct GraphNode {
    NodeKind kind;
    std::string label;  /* as the audit calls it: "Ethernet8", "LID entry 3" */
    std::string detail; /* "routed port, front port 3"; may be empty */
    std::string made;   /* who made it; empty for what the ASIC does not hold */
    bool gone = false;  /* somebody names it, and it is not there */
};

enum class EdgeKind : uint8_t {
    programmed, /* the ASIC, or the library's record of an object of its own, says so */
    recorded,   /* only a record says so, or the host keeps it */
    configured  /* layer 2: what the configuration puts together */
};

struct GraphEdge {
    size_t from, to; /* positions in the nodes */
    EdgeKind kind;
};

struct Graph {
    std::vector<GraphNode> nodes; /* labels are unique within a kind */
    std::vector<GraphEdge> edges; /* each pair of nodes once */
};

Graph object_graph(const Index &index);

} // namespace kvnsim
