#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "sim/config/spellings.h"
#include "sim/state/snapshot.h"

/* The interface names that commands accept. */
namespace kvnsim {

struct Desired;

/* Every interface, port and VLAN that is wanted, known to the host, or left out of the
 * configuration, with the aliases of ports. */
Spellings interface_names(const Snapshot &snapshot);
/* Those of a saved snapshot, which is not loaded: what holds no name is not read, nor checked.
 * Throws SnapshotError. */
Spellings saved_interface_names(const std::string &path);
/* Those of a configuration. */
Spellings interface_names(const Desired &desired);

/* The names in a row's key: PORTCHANNEL_MEMBER|PortChannel1|Ethernet0 has two. */
std::vector<std::string_view> interfaces_of(const SourceLocation &row);

} // namespace kvnsim
