#pragma once

#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "sim/state/snapshot.h"

/* The interface names that commands accept. */
namespace kvnsim {

using Names = std::set<std::string, NaturalOrder>;

/* Every interface, port and VLAN that is wanted, known to the host, or left out of the
 * configuration. */
Names interface_names(const Snapshot &snapshot);
/* The names in a configuration. */
Names interface_names(const Desired &desired);

/* The names in a row's key: PORTCHANNEL_MEMBER|PortChannel1|Ethernet0 has two. */
std::vector<std::string_view> interfaces_of(const SourceLocation &row);

} // namespace kvnsim
