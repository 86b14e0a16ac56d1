#pragma once

#include <string>

#include "sim/state/snapshot.h"

namespace kvnsim {

/* Make the switch, with host, ASIC, library, error store and number of requests, the one that the
 * snapshot was taken from: captured again, it gives an equal snapshot. Faults to inject, sinks and
 * observers are no part of the switch and stay. Throws SnapshotError, "NAME: table asic_trap, row
 * 3, column intf_id: there is no interface 77", and changes nothing, where the rows contradict
 * themselves or belong to another word size. */
void restore(const Snapshot &snapshot, Switch &into, const std::string &name);

/* Throws SnapshotError, in the same form, where rows are there twice or refer to rows or requests
 * that are not there. Says nothing of what only the model can tell, such as the ASIC's rows among
 * themselves. */
void check_references(const Snapshot &snapshot, const std::string &name);

} // namespace kvnsim
