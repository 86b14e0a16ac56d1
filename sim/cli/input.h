#pragma once

#include <string>
#include <vector>

#include "sim/config/desired.h"
#include "sim/types/json.h"

namespace kvnsim {

class Console;

/* Read and check all configurations, even if one has errors. "-" is standard input. A file that
 * cannot be read has one finding, an error without a line. */
std::vector<Configuration> read_configurations(const std::vector<std::string> &files);
bool have_errors(const std::vector<Configuration> &configurations);

/* Report the findings: all, or all but the notes. */
void tell_findings(const std::vector<Configuration> &configurations, bool notes, Console &console);

/* The same as data: only that a file cannot be read is a message. */
void print_findings(const Configuration &configuration, Console &console);

/* "file", "line", "column", "table", "key", within an object; the last four null without a line. */
void write(Json &json, const SourceLocation &location);
/* "file", "findings" and "ignored" of a configuration, within an object. */
void write(Json &json, const Configuration &configuration);

/* "2 errors, 1 warning, 3 notes"; "nothing found". */
std::string finding_counts(const Configuration &configuration);
/* The line "  not applied: LOOPBACK (1 row), BGP_NEIGHBOR (12 rows)"; empty when all tables count.
 */
std::string ignored_tables(const Configuration &configuration);

/* "1 request", "2 requests"; many is the plural where an s is not enough. */
std::string counted(uint64_t count, const char *what, const char *many = nullptr);

} // namespace kvnsim
