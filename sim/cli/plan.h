#pragma once

#include <vector>

#include "sim/state/listing.h"
#include "sim/switch/changes.h"

namespace kvnsim {

class Arguments;
class Console;

/* Plan the configurations one after another: what each changes, with its steps tried on a temporary
 * switch. No file is written. Returns the exit status. */
int plan_configurations(const Arguments &arguments, Console &console);

/* The changes for people; and with all columns. */
void print_changes(const std::vector<Change> &changes, Console &console);
Listing show(const std::vector<Change> &changes);

} // namespace kvnsim
