#pragma once

#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "sim/state/snapshot.h"

/* The names that people may call an interface by. */
namespace kvnsim {

using Names = std::set<std::string, NaturalOrder>;

/* Every interface, port and VLAN that is wanted or that the host knows, and those of rows that were
 * left out of the configuration. */
Names interface_names(const Snapshot &snapshot);
/* Those of a configuration. */
Names interface_names(const Desired &desired);

/* Those that the key of a row names: of PORTCHANNEL_MEMBER|PortChannel1|Ethernet0 both. */
std::vector<std::string_view> interfaces_of(const SourceLocation &row);

} // namespace kvnsim
