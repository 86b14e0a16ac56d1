#pragma once

#include <string>
#include <vector>

#include "sim/state/show.h"
#include "sim/state/snapshot.h"

/* One interface, property by property: what is configured, recorded, programmed and published. */
namespace kvnsim {

/* A property. Sides without it are empty. */
struct ExplainedProperty {
    std::string property; /* "MTU" */
    std::string configured, library, asic, database;
    bool differs = false; /* the audit has a finding about it */
    std::string expected; /* if it differs: the right value when no side has it, else empty */
    std::string call;     /* origin of the ASIC's value, else of the database's */
    COLUMNS(property, configured, library, asic, database, differs, expected, call)
};

struct Explanation {
    std::string interface, kind;
    std::string state;         /* as Index::state: "programmed", "layer 2", "not programmed" ... */
    std::string configured_at; /* "leaf.json:12:5: INTERFACE|Ethernet0", empty when not wanted */
    std::string failure;       /* the last failed step, empty without one */
    std::vector<Finding> reader; /* the configuration reader's findings about its rows */
    std::vector<ExplainedProperty> properties;
    std::vector<AuditFinding> findings; /* the audit's about this interface */
};

/* Explains one of the interface_names(). */
Explanation explain(const Snapshot &snapshot, const std::string &interface);

/* The same for many interfaces: index and audit of the snapshot are built once. */
class Index;
Explanation explain(const Index &index, const std::vector<AuditFinding> &findings,
                    const std::string &interface);

std::string to_text(const Explanation &explanation, const Page &page = {});
void write(Json &json, const Explanation &explanation);

} // namespace kvnsim
