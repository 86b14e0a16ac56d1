#pragma once

#include <string>
#include <vector>

#include "sim/config/configuration.h"
#include "sim/config/database_url.h"
#include "sim/types/json.h"

namespace kvnsim {

class Console;
class Policy;

/* Read and check all configurations, even if one has errors: files, "-" for standard input, and
 * URLs of running configuration databases. What cannot be read has one finding, an error without a
 * line. UsageError for a malformed URL. */
std::vector<Configuration> read_configurations(const std::vector<std::string> &files);
/* Why the file cannot be read; empty on success. "-" is standard input. At most 256 MiB are read:
 * no file here is larger, and an endless one must not take all memory. */
std::string read_file(const std::string &path, std::string &text);
/* Whether both name one file, or will. */
bool same_file(const std::string &a, const std::string &b);
/* The parts of a URL; UsageError for a malformed one. */
DatabaseUrl database_named(const std::string &url);

/* Report the findings that are not ignored: all, or all but the notes. */
void tell_findings(const std::vector<Configuration> &configurations, const Policy &policy,
                   bool notes, Console &console);

/* The same as data: only that a file cannot be read is a message. */
void print_findings(const Configuration &configuration, const Policy &policy, Console &console);

/* "file", "line", "column", "table", "key", within an object; null for what it does not have. */
void write(Json &json, const SourceLocation &location);
/* "findings", within an object. */
void write_findings(Json &json, const std::vector<Finding> &findings);
/* "file", "findings" and "ignored" of a configuration, within an object. */
void write(Json &json, const Configuration &configuration);

/* "2 errors, 1 warning, 3 notes; 1 left out"; empty without any. */
std::string finding_counts(const std::vector<Finding> &findings);
/* The same of those that are not ignored, or "nothing found", and "; 1 finding ignored (KVN-C080)".
 */
std::string finding_counts(const Configuration &configuration, const Policy &policy);
/* The line "  not applied: LOOPBACK (1 row), BGP_NEIGHBOR (12 rows)"; empty when all tables count.
 */
std::string ignored_tables(const Configuration &configuration);

} // namespace kvnsim
