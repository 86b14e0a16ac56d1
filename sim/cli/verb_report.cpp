#include <filesystem>

#include <fmt/format.h>

#include "sim/cli/console.h"
#include "sim/cli/page_file.h"
#include "sim/cli/stored.h"
#include "sim/cli/tables.h"
#include "sim/cli/verb.h"
#include "sim/report/report.h"

namespace kvnsim {
namespace {

int report(const Arguments &arguments, Console &console)
{
    const std::string database = database_of(arguments);
    const std::string &output = arguments.value("-o");
    std::error_code none;
    if (std::filesystem::equivalent(database, output, none))
        throw UsageError(fmt::format("-o {}: that is the database", output));
    const Snapshot snapshot = load_database(arguments);
    const std::string page =
        report_page(snapshot, {{"attributes", attribute_values(snapshot)},
                               {"shared-database", shared_database(snapshot)}});
    write_page(output, page, console);
    return exit_well;
}

} // namespace

const Verb report_verb{
    "report",
    "draw the switch: a page with front panel, object graph, tables and findings",
    "kvnsim report leaf.db -o leaf.html\n",
    {db_operand,
     db_option,
     {"-o HTML", Takes::file, Times::required,
      "the page to write, one file that needs no network; - for standard output"}},
    report};

} // namespace kvnsim
