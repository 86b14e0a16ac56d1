#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "sim/state/snapshot.h"

/* Does everything agree? Records against the ASIC and back, with the shared database, the table of
 * virtual MACs and the configuration. */
namespace kvnsim {

enum class AuditKind : uint8_t {
    orphan,     /* in the ASIC, and no record owns it */
    dangling,   /* names something that is gone */
    difference, /* two places say different things of one object */
    missing,    /* wanted, and not there */
    unwanted    /* there, owned, and not wanted */
};
const char *to_text(AuditKind kind); /* "orphan" */

struct AuditFinding {
    AuditKind kind;
    std::string object;    /* "SDK interface 5", "MAC trap 3", "Ethernet8", "pm_sdb row of ..." */
    std::string property;  /* the property concerned: "MTU"; empty for none in particular */
    std::string interface; /* the interface concerned, by name; empty without one */
    std::string words;     /* one sentence, the object named and who made it */
    std::vector<RequestRef> requests; /* those that made what is concerned, by number */
    std::string other = {}; /* the other interface concerned, by name; empty without one */
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
