#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "sim/config/spellings.h"
#include "sim/state/audit.h"
#include "sim/state/listing.h"
#include "sim/state/snapshot.h"

/* Show tables of a snapshot, as text and JSON. */
namespace kvnsim {

/* A table that can be shown. */
struct ShowKind {
    const char *name;    /* "port-channels" */
    const char *purpose; /* "port-channels with their members" */
    bool of_interface;   /* shows one interface, which must be named */
    Listing (*make)(const Snapshot &snapshot, const std::string &interface);
    std::vector<std::string_view> about; /* the columns with what a row is about */
    bool is_of_parts; /* is about interfaces, and needs of some only what load_about() loads */
    std::string json_key() const; /* its name with '_' for '-' */
};
const std::vector<ShowKind> &show_kinds();
const ShowKind *find_show_kind(std::string_view name); /* nullptr for an unknown one */

/* The table of that name, which must be one of show_kinds(). */
Listing show(const Snapshot &snapshot, std::string_view what, const std::string &interface = {});

/* The names that rows of the table are about, and every interface. */
Spellings names_in(const ShowKind &kind, const Listing &table, const Snapshot &snapshot);
/* Only the rows about one of these names. */
Listing rows_about(const ShowKind &kind, Listing table, const Names &names);

Listing show(const std::vector<AuditFinding> &findings);
Listing show(const std::vector<FailureRow> &failures);
/* Findings of a configuration's reader. */
Listing show(const std::vector<Finding> &findings);
/* Attribute writes that wait for the flush; they are not findings. */
Listing show_waiting(const Snapshot &snapshot);

/* An object of the whole switch: "format", "word_size", "hostname", "files", each show table but
 * attributes under its name with '_' for '-', "failures" and "audit". */
void write(Json &json, const Snapshot &snapshot, const std::vector<AuditFinding> &findings);

} // namespace kvnsim
