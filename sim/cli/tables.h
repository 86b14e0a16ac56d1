#pragma once

#include "sim/state/show.h"

/* What `kvnsim run` shows besides the tables of `kvnsim show`. */
namespace kvnsim {

/* The written attributes of each SDK interface. */
Listing attribute_values(const Snapshot &snapshot);

/* The rows of the shared state database, those of one interface side by side. */
Listing shared_database(const Snapshot &snapshot);

/* How many interfaces of each kind are in each state. */
Listing interface_counts(const Index &index);

/* Interfaces that are not as wanted, and what else failed. */
Listing needing_attention(const Index &index);

} // namespace kvnsim
