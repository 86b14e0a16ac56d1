#pragma once

#include <string>
#include <vector>

#include "sim/config/configuration.h"

namespace kvnsim {

/* What a Desired says that cannot be: a reference to something missing, a value out of its range.
 * Empty for everything that read_configuration gives. */
std::vector<std::string> contradictions(const Desired &desired);

} // namespace kvnsim
