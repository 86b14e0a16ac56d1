#pragma once

#include <string>
#include <vector>

#include "sim/switch/entry_points.h"

namespace kvnsim {

/* Why the library must not be asked for this: it would end the process. "PortChannel0001 has no
 * context"; empty when it may be asked. Values that do not fit are left to EntryPoint::call. */
std::string why_not(const EntryPoint &entry, const std::vector<Value> &values);

} // namespace kvnsim
