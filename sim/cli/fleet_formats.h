#pragma once

#include <string>
#include <vector>

#include "sim/cli/fleet_result.h"

/* The results of a fleet, in the formats that people and other programs read. */
namespace kvnsim {

struct FleetResults {
    std::vector<FleetResult> all; /* in the order of their numbers */
    bool interrupted = false;     /* the rest is not there */

    /* An exit status: that of the worst. */
    int status() const;
};

struct FleetFormat {
    const char *name; /* "sarif" */
    std::string (*text)(const FleetResults &results);
};
/* As --format lists them. */
constexpr const char *fleet_format_names = "text|json|sarif|junit|github";
const FleetFormat &fleet_format(const std::string &name);

} // namespace kvnsim
