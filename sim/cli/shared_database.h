#pragma once

#include "sim/state/show.h"

namespace kvnsim {

/* The rows of the shared state database, those of one interface side by side. */
Listing shared_database(const Snapshot &snapshot);

} // namespace kvnsim
