#pragma once

#include <string>
#include <vector>

#include "sim/state/show.h"
#include "sim/state/snapshot.h"

/* Differences between two snapshots: of two moments or two switches. */
namespace kvnsim {

struct Difference {
    std::string table;  /* the row's table: "asic_interface" */
    std::string object; /* natural key: "Ethernet0", "Ethernet0 SdkIntfAttrMtuIdx" */
    std::string column; /* empty when only one side has the row */
    std::string a, b;   /* values; identifiers or value of a whole row; empty where absent */
    COLUMNS(table, object, column, a, b)
    friend bool operator==(const Difference &x, const Difference &y) { return same_row(x, y); }
};

/* Compares ASIC and shared database. Rows are matched by the interface that owns them, rows without
 * an owner by identifier. Origins are not compared. */
std::vector<Difference> diff(const Snapshot &a, const Snapshot &b);

Listing show(const std::vector<Difference> &differences);

} // namespace kvnsim
