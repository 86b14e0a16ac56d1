#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "sim/state/properties.h"
#include "sim/state/snapshot.h"

/* Consistency check of the records, the ASIC, the shared database, the table of virtual MACs and
 * the configuration. */
namespace kvnsim {

/* The number in a finding's code; it keeps its meaning, and is not used again. */
enum class AuditId : uint16_t {
    orphan_interface = 1,
    orphan_lid = 2,
    orphan_port_channel = 3,
    orphan_router_mac = 4,
    orphan_trap = 5,

    gone_object_recorded = 10,
    parent_gone = 11,
    bound_to_gone_lid = 12,
    path_to_gone_channel = 13,
    write_for_gone_interface = 14,
    router_mac_gone = 15,
    trap_gone = 16,
    virtual_mac_without_interface = 17,
    row_of_gone_interface = 18,

    property_differs = 20,
    recorded_lid_differs = 21,
    claimed_twice = 22,
    interface_elsewhere = 23,
    lid_elsewhere = 24,
    router_mac_differs = 25,
    trap_differs = 26,
    label_without_interface = 27,

    object_missing = 30,
    row_missing = 31,

    interface_unwanted = 40,
    member_unwanted = 41,
    router_mac_unwanted = 42,
    virtual_mac_unwanted = 43,
    row_unwanted = 44,
};

struct AuditType {
    AuditId id;
    AuditKind kind;
    const char *cause;
    const char *cure;
    std::string code() const; /* "KVN-A012" */
};
/* In the order of their numbers. */
const std::vector<AuditType> &audit_types();
const AuditType &type_of(AuditId id);

/* An object of the ASIC. */
enum class AsicTable : uint8_t { none, interface, lid, port_channel, router_mac, trap };
struct AsicObject {
    AsicTable table = AsicTable::none;
    uint32_t id = no_id;
    friend bool operator<(const AsicObject &a, const AsicObject &b)
    {
        return std::pair(a.table, a.id) < std::pair(b.table, b.id);
    }
};

struct AuditFinding {
    AuditKind kind = AuditKind::orphan;
    std::string code;   /* "KVN-A012"; of a row that was left out the reader's: "KVN-C080" */
    std::string object; /* "SDK interface 5", "MAC trap 3", "Ethernet8", "pm_sdb row of ..." */
    PropertyId property = PropertyId::none; /* the property concerned, or none */
    std::string interface;            /* the interface concerned, by name; empty without one */
    std::string words;                /* one sentence that names the object and its origin */
    std::vector<RequestRef> requests; /* the requests that made the objects concerned, by number */
    std::optional<Mac> virtual_mac;   /* the virtual MAC concerned */
    std::string other; /* the other interface concerned, by name; empty without one */
    AsicObject about;  /* the object of the ASIC that it names as wrong, if it does */
    /* How many services it costs; empty when nobody has looked, or cannot know. */
    std::optional<uint32_t> services;
    COLUMNS(kind, code, object, property, interface, other, words, services, requests)
    /* Whether this is one of the two interfaces concerned. */
    bool concerns(const std::string &name) const { return name == interface || name == other; }
};

/* Compares records, shared database and configuration with the ASIC as it will be after the flush:
 * a correct request may leave its last writes pending.
 *
 * Returns findings ordered by kind, then as in the snapshot; empty when all agree. What the host
 * keeps on purpose (ports' LIDs, the SDK interface kept for a port's membership, held
 * port-channels) is not a finding. Rows of the last configuration that were left out are. Run time
 * is linear in the number of rows. */
std::vector<AuditFinding> audit(const Snapshot &snapshot);
std::vector<AuditFinding> audit(const Index &index);

/* "costs 2 services", "costs no service"; empty when nobody knows. */
std::string cost_words(const AuditFinding &finding);
/* "missing: Ethernet4 is wanted ... but has no SDK interface; costs 2 services [KVN-A030]" */
std::string to_text(const AuditFinding &finding);

/* The result in a sentence, and in the same breath the findings on the configuration that the audit
 * does not repeat, and then more: "2 findings, 1 of what is configured but left out; 3 warnings and
 * 1 note on the configuration". */
std::string verdict(const Snapshot &snapshot, const std::vector<AuditFinding> &findings,
                    const std::string &more = "");

} // namespace kvnsim
