#pragma once

#include "sim/state/show.h"

/* What `kvnsim run` shows besides the tables of `kvnsim show`. */
namespace kvnsim {

/* The attributes of the ASIC's interfaces, for each the ones that were written. */
Listing attribute_values(const Snapshot &snapshot);

/* The rows of the shared state database, those of one interface side by side. */
Listing shared_database(const Snapshot &snapshot);

} // namespace kvnsim
