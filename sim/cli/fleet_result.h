#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "sim/campaign/result_object.h"
#include "sim/config/finding.h"
#include "sim/service/services.h"
#include "sim/types/json.h"

/* What a fleet's run or check has to say about one file: data that travels as JSON, from which each
 * format is made. */
namespace kvnsim {

class Policy;

/* The worst of what applies, in this order; an exit status of `kvnsim run` for each. */
enum class Verdict : uint8_t { no_result, failures, unreadable, errors, findings, well, not_read };
struct VerdictRow {
    const char *name; /* in JSON */
    int status;
    const char *count; /* in a summary: "3 with findings" */
};
const VerdictRow &row_of(Verdict verdict);

/* A step that failed. */
struct FailedStep {
    std::string words, object, message;
    uint64_t made_up_by = 0; /* the request that did it later; 0: none */
    SourceLocation cause;
};

/* A finding of the audit, beyond those that the reader has. */
struct FleetAuditFinding {
    std::string kind, code, object, property, interface, other, words;
    std::vector<uint64_t> requests;
    std::optional<SourceLocation> configured_at; /* the row that asks for the object */
};

struct FleetResult {
    uint64_t item = 0;
    std::string file; /* UTF-8, with replacements */
    std::string uri;  /* its path with every other byte than A-Z a-z 0-9 - . _ ~ / as %XX */
    Verdict verdict = Verdict::well;
    std::string problem;        /* why there is no more than this */
    bool is_understood = false; /* else nothing is known of what it wants */
    bool is_checked = false;    /* only read and checked */
    bool is_applied = false;
    uint64_t interfaces = 0; /* wanted: routed ports, port-channels, sub-interfaces, SVIs */
    uint64_t requests = 0, calls = 0;
    ServiceCount services;
    std::vector<Finding> findings;                /* of the reader, not ignored */
    std::map<std::string, uint64_t> passed_over;  /* findings ignored, by code */
    std::map<std::string, uint64_t> other_tables; /* not applied, with their rows */
    std::vector<FailedStep> failures;
    std::vector<FleetAuditFinding> audit;
};

/* The path that a result's uri stands for, byte for byte. */
std::string path_of(const std::string &uri);

/* A result that says no more than why: unreadable, no_result, or not_read. */
FleetResult without_result(uint64_t item, const std::string &file, Verdict verdict,
                           const std::string &problem = "");

struct FleetOptions {
    const Policy &policy;
    bool only_check = false, keep_going = false;
    std::vector<std::string> limits = {}; /* capacities, valid for set_limit() */
};

/* Reads, checks and applies a configuration, on a switch of its own. */
FleetResult examine(uint64_t item, const std::string &file, const std::string &text,
                    const FleetOptions &options);

/* The result as an object, and back. */
void write(Json &json, const FleetResult &result);
FleetResult read_fleet_result(const ResultObject &object);

} // namespace kvnsim
