#pragma once

#include <string>

#include "sim/config/desired.h"
#include "sim/state/snapshot.h"
#include "sim/switch/switch.h"

/* What must hold of every switch, whatever it was made from. */
namespace kvnsim {

/* Ends the process with a message that libFuzzer takes for a finding. */
[[noreturn]] void wrong(const std::string &what);

/* A new folder for files of the program's own, below TMPDIR; whoever starts it removes it. */
std::string scratch_folder();

/* A text that kvnsim shows is on one line and steers no terminal. */
void expect_visible(const std::string &text);

/* Applies the configuration twice and takes it away: the second time there is nothing to do, after
 * the first one without failures the audit finds nothing, and nothing stays. */
void expect_life(const Desired &want);

/* Everything that kvnsim derives from a switch: tables, audit, services, explanations. */
void look_at(const Snapshot &snapshot);

} // namespace kvnsim
