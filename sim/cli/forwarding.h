#pragma once

#include "sim/cli/verb.h"
#include "sim/state/snapshot.h"

/* What the ASIC does with frames: the verbs packet and reach, and the shell's commands of that
 * name. */
namespace kvnsim {

class Console;

/* The options of packet that say what the frame is, placed between others. */
std::vector<Option> with_frame(std::vector<Option> before, const std::vector<Option> &behind);

/* Print, and return the exit status: exit_found when the frame is not routed, or when a service is
 * not given or given wrongly. */
int print_packet(const Snapshot &snapshot, const Arguments &given, Console &console);
int print_services(const Snapshot &snapshot, const Arguments &given, Console &console);

} // namespace kvnsim
