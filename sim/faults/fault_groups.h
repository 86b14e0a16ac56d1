#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "sim/faults/fault_row.h"
#include "sim/state/listing.h"

/* Results of failures, put together for people. */
namespace kvnsim {

/* Whether the same configuration, applied again, makes the switch as if nothing had failed. */
enum class Healing : uint8_t { died, no, yes };
constexpr const char *healing_names[] = {"died", "no", "yes"};
inline const char *to_text(Healing healing)
{
    return healing_names[static_cast<size_t>(healing)];
}
Healing healing_of(const FaultRow &row);

/* Failures of the same calls within the same requests, with the same consequences. Of pairs each of
 * the first three has two elements. */
struct FaultGroup {
    std::vector<std::string> call;     /* "libsdk_intf_attr_set SdkIntfAttrLid" */
    std::vector<std::string> within;   /* "l3lifpd_kvn_add_l3port" */
    std::vector<std::string> returned; /* by the library: "-1"; "-" for a task of the host */
    Healing heals = Healing::yes;
    uint64_t places = 0;     /* failures */
    uint64_t services = 0;   /* lost or wrong, of all of them together */
    uint64_t interfaces = 0; /* whose services are, of the failure with most of them */
    /* Kinds and codes of findings: "orphan KVN-A001". The last also has the ASIC's tables that are
     * not empty: "intf". */
    std::vector<std::string> left, left_again, left_at_end;
    uint64_t services_again = 0; /* still lost or wrong, of all together */
    std::string example;         /* the first of them, for --fail */
    COLUMNS(call, within, returned, heals, places, services, interfaces, left, left_again,
            services_again, left_at_end, example)
};

/* What costs most comes first: what does not heal, then by the services. */
std::vector<FaultGroup> groups_of(const std::vector<FaultRow> &rows);

Listing show(const std::vector<FaultGroup> &groups);
/* One line for each failure. */
Listing show(const std::vector<FaultRow> &rows);

/* How many there are of each. */
struct FaultSummary {
    uint64_t tried = 0, heal = 0, do_not_heal = 0, die = 0; /* those that die do not heal */
};
FaultSummary summary_of(const std::vector<FaultRow> &rows);

} // namespace kvnsim
