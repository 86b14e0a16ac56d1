#pragma once

#include <string>

#include "sim/config/spellings.h"
#include "sim/service/services.h"
#include "sim/state/compare.h"
#include "sim/state/explain.h"
#include "sim/state/listing.h"
#include "sim/state/show.h"
#include "sim/state/snapshot.h"

/* What the verbs that read a snapshot share; it may come from a database or the live switch. */
namespace kvnsim {

class Arguments;
class Console;

/* The database: an operand or --db, but not both, or else KVNSIM_DB; empty without any. */
std::string database_of(const Arguments &given);
/* The same; UsageError when none is given. */
std::string required_database(const Arguments &given);
/* What it holds. */
Snapshot load_database(const Arguments &given);

/* The table of that name; UsageError with the names of all. */
const ShowKind &show_kind_named(const std::string &name);

/* The one interface meant; UsageError with its candidates or with similar names. */
std::string interface_meant(const Spellings &names, const std::string &written);

/* The page to write for, and what it says of columns that do not fit. */
Page page_on(const Console &console, const Arguments &given,
             const std::string &more = "--wide shows all columns");

/* Print as text or, with --json, as one JSON document, and return the exit status: exit_found with
 * findings or differences. A table is given by TABLE and NAME, an interface by IF. */
int print_table(const Snapshot &snapshot, const Arguments &given, Console &console);
int print_explanation(const Snapshot &snapshot, const Arguments &given, Console &console);
int print_explanation(const Explanation &explanation, const Arguments &given, Console &console);
int print_audit(const Snapshot &snapshot, const Arguments &given, Console &console);
int print_judgement(const Snapshot &snapshot, const Judgement &judgement, const Arguments &given,
                    Console &console);
int print_differences(const Snapshot &before, const Snapshot &after, const Arguments &given,
                      Console &console);

} // namespace kvnsim
