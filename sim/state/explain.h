#pragma once

#include <string>
#include <vector>

#include "sim/state/show.h"
#include "sim/state/snapshot.h"

/* One interface, property by property: what is configured, recorded, programmed and published. */
namespace kvnsim {

/* A property. A side that does not know the property is empty. */
struct ExplainedProperty {
    std::string property; /* "MTU" */
    std::string configured, library, asic, database;
    bool differs = false; /* the audit found something about it */
    std::string expected; /* of one that differs: what is right when no side tells, else empty */
    std::string call;     /* who wrote the ASIC's value, else the database's */
    COLUMNS(property, configured, library, asic, database, differs, expected, call)
};

struct Explanation {
    std::string interface, kind;
    std::string state;         /* as Index::state: "programmed", "layer 2", "not programmed" ... */
    std::string configured_at; /* "leaf.json:12:5: INTERFACE|Ethernet0", empty when not wanted */
    std::string failure;       /* the last failed step, empty without one */
    std::vector<Finding> reader; /* what the configuration's reader said of its rows */
    std::vector<ExplainedProperty> properties;
    std::vector<AuditFinding> findings; /* the audit's that concern this interface */
};

/* Of one of the interface_names(). */
Explanation explain(const Snapshot &snapshot, const std::string &interface);

/* The same for one of many interfaces: the snapshot's index and audit are made once for all. */
class Index;
Explanation explain(const Index &index, const std::vector<AuditFinding> &findings,
                    const std::string &interface);

std::string to_text(const Explanation &explanation);
void write(Json &json, const Explanation &explanation);

} // namespace kvnsim
