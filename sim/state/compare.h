#pragma once

#include <string>
#include <vector>

#include "sim/state/show.h"
#include "sim/state/snapshot.h"

/* What differs between two moments, or two switches. */
namespace kvnsim {

struct Difference {
    std::string table;  /* the row's table: "asic_interface" */
    std::string object; /* natural key: "Ethernet0", "Ethernet0 SdkIntfAttrMtuIdx" */
    std::string column; /* empty when the row is in one of them only */
    std::string a, b;   /* values; of a whole row its identifiers or value; empty where it is not */
    COLUMNS(table, object, column, a, b)
    friend bool operator==(const Difference &x, const Difference &y) { return same_row(x, y); }
};

/* ASIC and shared state. Rows are matched by the interface that they belong to, not by identifiers
 * that happened to be free; rows that belong to none are matched by identifier. Who made a row is
 * not compared. */
std::vector<Difference> diff(const Snapshot &a, const Snapshot &b);

Listing show(const std::vector<Difference> &differences);

} // namespace kvnsim
