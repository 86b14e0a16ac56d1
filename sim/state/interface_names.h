#pragma once

#include <set>
#include <string>

#include "sim/state/snapshot.h"

/* The names that people may call an interface by. */
namespace kvnsim {

using Names = std::set<std::string, NaturalOrder>;

/* Every interface and port that is wanted or that the host knows. */
Names interface_names(const Snapshot &snapshot);
/* Those of a configuration. */
Names interface_names(const Desired &desired);

} // namespace kvnsim
