#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "sim/state/properties.h"
#include "sim/state/snapshot.h"

/* Does everything agree? Records against the ASIC and back, with the shared database, the table of
 * virtual MACs and the configuration. */
namespace kvnsim {

struct AuditFinding {
    AuditKind kind = AuditKind::orphan;
    std::string object; /* "SDK interface 5", "MAC trap 3", "Ethernet8", "pm_sdb row of ..." */
    PropertyId property = PropertyId::none; /* the property concerned; none in particular */
    std::string interface;            /* the interface concerned, by name; empty without one */
    std::string words;                /* one sentence, the object named and who made it */
    std::vector<RequestRef> requests; /* those that made what is concerned, by number */
    std::optional<Mac> virtual_mac;   /* of the interface, when it is about that */
    std::string other; /* the other interface concerned, by name; empty without one */
    COLUMNS(kind, object, property, interface, other, words, requests)
    /* Whether it is about this interface, as one of the two. */
    bool concerns(const std::string &name) const { return name == interface || name == other; }
};

/* Records, shared database and configuration are compared with the ASIC as it will be once the
 * writes that wait are flushed: a request that is done right may leave its last writes waiting.
 *
 * All findings, in the order of the kinds, then as in the snapshot. Empty: all agrees. What the
 * host keeps with good reason (ports' LIDs, the SDK interface kept for a port's membership, held
 * port-channels) is no finding. Time grows with the number of rows only. */
std::vector<AuditFinding> audit(const Snapshot &snapshot);

} // namespace kvnsim
