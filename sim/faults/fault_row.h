#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "sim/types/columns.h"
#include "sim/types/json.h"

/* What became of a failure: the results of `kvnsim faults`, each a line of JSON. */
namespace kvnsim {

/* A call that was made to fail, and where. */
struct FaultPlace {
    std::string fault;     /* as --fail takes it: "libsdk_intf_attr_set:80" */
    std::string call;      /* "libsdk_intf_attr_set" */
    std::string attribute; /* that it writes: "SdkIntfAttrLid"; empty for other calls */
    std::string arguments; /* "dev_inst=0 intf_id=12 attr=SdkIntfAttrLid value={param1=33}" */
    std::string file;      /* the configuration that was being applied */
    std::string cause;     /* the row of it: "leaf.json:45:9: INTERFACE|Ethernet0" */
    uint64_t request = 0;  /* its number */
    std::string entry;     /* what was requested: "l3lifpd_kvn_add_l3port" */
    std::string requested; /* with these arguments: "l3lif=Ethernet0 create=1" */
    std::optional<int64_t> result; /* that the library returned; none of a task of the host */
    COLUMNS(fault, call, attribute, arguments, file, cause, request, entry, requested, result)
};

/* A finding of the audit that a run without the failure does not have. */
struct FaultFinding {
    std::string kind, code, object, property, interface, words;
    COLUMNS(kind, code, object, property, interface, words)
};

/* A service that is lost or wrong, and in a run without the failure is not. */
struct FaultService {
    std::string interface, port, family, to, state, reason;
    COLUMNS(interface, port, family, to, state, reason)
};

/* Rows in a table of the ASIC. */
struct FaultRemains {
    std::string table; /* "intf" */
    uint64_t rows = 0;
    COLUMNS(table, rows)
};

/* What a failure, or two of them, led to. */
struct FaultRow {
    uint64_t item = 0;
    std::vector<FaultPlace> places; /* in the order of failing */
    std::string death; /* how the process ended, of which the rest is not known; else empty */
    std::vector<FaultFinding> left;     /* at the end of the configuration */
    std::vector<FaultService> services; /* lost or wrong then */
    bool heals = false; /* the configuration applied again: as in a run without the failure */
    std::vector<FaultFinding> left_again;     /* then */
    std::vector<FaultService> services_again; /* lost or wrong then */
    /* After a tear-down: what the audit finds, and what is in the ASIC. */
    std::vector<FaultFinding> left_at_end;
    std::vector<FaultRemains> asic_at_end;
    COLUMNS(item, places, death, left, services, heals, left_again, services_again, left_at_end,
            asic_at_end)
};

void write(Json &json, const FaultRow &row); /* an object */
std::string to_line(const FaultRow &row);
/* Reads such a line; place is named when it is damaged. Throws ResultsError. */
FaultRow fault_row(const std::string &line, const std::string &place);

} // namespace kvnsim
