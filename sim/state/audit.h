#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "sim/state/properties.h"
#include "sim/state/snapshot.h"

/* Consistency check of the records, the ASIC, the shared database, the table of virtual MACs and
 * the configuration. */
namespace kvnsim {

struct AuditFinding {
    AuditKind kind = AuditKind::orphan;
    std::string object; /* "SDK interface 5", "MAC trap 3", "Ethernet8", "pm_sdb row of ..." */
    PropertyId property = PropertyId::none; /* the property concerned, or none */
    std::string interface;            /* the interface concerned, by name; empty without one */
    std::string words;                /* one sentence that names the object and its origin */
    std::vector<RequestRef> requests; /* the requests that made the objects concerned, by number */
    std::optional<Mac> virtual_mac;   /* the virtual MAC concerned */
    std::string other; /* the other interface concerned, by name; empty without one */
    COLUMNS(kind, object, property, interface, other, words, requests)
    /* Whether this is one of the two interfaces concerned. */
    bool concerns(const std::string &name) const { return name == interface || name == other; }
};

/* Compares records, shared database and configuration with the ASIC as it will be after the flush:
 * a correct request may leave its last writes pending.
 *
 * Returns findings ordered by kind, then as in the snapshot; empty when all agree. What the host
 * keeps on purpose (ports' LIDs, the SDK interface kept for a port's membership, held
 * port-channels) is not a finding. Run time is linear in the number of rows. */
std::vector<AuditFinding> audit(const Snapshot &snapshot);

} // namespace kvnsim
