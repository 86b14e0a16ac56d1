#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "sim/state/audit.h"
#include "sim/state/snapshot.h"

/* What people and programs look at: tables of a snapshot, as aligned text and as JSON. */
namespace kvnsim {

/* Nothing ("-", null), a flag ("yes" or "-"), a number, a text, or a list of texts or numbers. */
using Cell = std::variant<std::monostate, bool, int64_t, std::string, std::vector<std::string>,
                          std::vector<int64_t>>;

struct Column {
    std::string key;   /* of the JSON object: "lid_id" */
    std::string title; /* of the text: "LID" */
};

struct Listing {
    std::string title;                   /* "Interfaces" */
    std::vector<Column> columns;         /* keys are unique */
    std::vector<std::vector<Cell>> rows; /* as many cells as columns */
};

/* A table that can be shown. */
struct ShowKind {
    const char *name;    /* "port-channels" */
    const char *purpose; /* "port-channels with their members" */
    bool of_interface;   /* shows one interface, which must be named */
    Listing (*make)(const Snapshot &snapshot, const std::string &interface);
    std::string json_key() const; /* its name with '_' for '-' */
};
/* interfaces, ports, port-channels, lids, macs, errors, summary, attributes. */
const std::vector<ShowKind> &show_kinds();
const ShowKind *find_show_kind(std::string_view name); /* nullptr for an unknown one */

/* The table of that name, which must be one of show_kinds(). */
Listing show(const Snapshot &snapshot, std::string_view what, const std::string &interface = {});

/* Findings as a table: kind, object, property, interface, other, words, requests. */
Listing show(const std::vector<AuditFinding> &findings);
/* What the reader of a configuration said: severity, the five parts of the place, message. */
Listing show(const std::vector<ReaderRow> &rows);
/* Attribute writes that wait for the flush; by itself none of them is a finding. */
Listing show_waiting(const Snapshot &snapshot);

/* Heading and rows in columns, numbers to the right; "none" without rows. Ends with a newline. */
std::string to_text(const Listing &listing);
/* An array with an object for each row, keyed by the columns' keys. */
std::string to_json(const Listing &listing);

/* One document of the whole switch: "format", "word_size", "hostname", "files", each show table but
 * attributes under its name with '_' for '-', "failures" and "audit". Ends with a newline. */
std::string to_json(const Snapshot &snapshot, const std::vector<AuditFinding> &findings);

} // namespace kvnsim
