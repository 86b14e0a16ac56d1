#pragma once

#include <string>

#include "sim/state/compare.h"
#include "sim/state/snapshot.h"

/* What the verbs that read a snapshot share; it may come from a database or the live switch. */
namespace kvnsim {

class Arguments;
class Console;

/* Refuse an unknown interface: UsageError with similar names. */
void require_interface(const Snapshot &snapshot, const std::string &name);

/* Print as text or, with --json, as one JSON document, and return the exit status: exit_found with
 * findings or differences. A table is named by the first operand, an interface by IF. */
int print_table(const Snapshot &snapshot, const Arguments &given, Console &console);
int print_explanation(const Snapshot &snapshot, const Arguments &given, Console &console);
int print_audit(const Snapshot &snapshot, const Arguments &given, Console &console);
int print_differences(const Snapshot &before, const Snapshot &after, const Arguments &given,
                      Console &console);

} // namespace kvnsim
