#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "sim/state/index.h"

/* Which object of the switch leads to which, from interfaces to front-panel ports. */
namespace kvnsim {

/* In order from left to right. */
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
    std::string made;   /* the call that made it; empty for objects outside the ASIC */
    bool gone = false;  /* a dangling reference leads to it */
};

enum class EdgeKind : uint8_t {
    programmed, /* by the ASIC, or by the library's record of its own object */
    recorded,   /* only by a record, or kept by the host */
    configured  /* layer 2: by the configuration */
};

struct GraphEdge {
    size_t from, to; /* indexes of nodes */
    EdgeKind kind;
};

struct Graph {
    std::vector<GraphNode> nodes; /* labels are unique within a kind */
    std::vector<GraphEdge> edges; /* each pair of nodes once */
};

Graph object_graph(const Index &index);

} // namespace kvnsim
