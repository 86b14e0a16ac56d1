#pragma once

#include <string>
#include <vector>

#include "sim/state/compare.h"
#include "sim/state/snapshot.h"

/* What the verbs that read a snapshot share; it may come from a database or the live switch. */
namespace kvnsim {

class Arguments;
class Console;

/* Refuse an unknown interface: UsageError with similar names. */
void require_interface(const Snapshot &snapshot, const std::string &name);

/* Print as text, or as one JSON document. */
void print_table(const Snapshot &snapshot, const std::string &what, const std::string &interface,
                 bool json, Console &console);
void print_explanation(const Snapshot &snapshot, const std::string &interface, bool json,
                       Console &console);
/* Returns the exit status: exit_found with findings. */
int print_audit(const Snapshot &snapshot, bool json, Console &console);
int print_differences(const std::vector<Difference> &differences, bool json, Console &console);

} // namespace kvnsim
