#include <filesystem>

#include <fmt/format.h>

#include "sim/cli/console.h"
#include "sim/cli/output_file.h"
#include "sim/cli/stored.h"
#include "sim/cli/tables.h"
#include "sim/cli/verb.h"
#include "sim/report/report.h"

namespace kvnsim {
namespace {

constexpr Option page_option{
    "-o HTML", Takes::file, Times::required,
    "the page to write, one file that needs no network; - for standard output"};

int report(const Arguments &arguments, Console &console)
{
    const std::string database = database_of(arguments);
    const std::string &output = arguments.value(page_option.name());
    std::error_code none;
    if (std::filesystem::equivalent(database, output, none))
        throw UsageError(fmt::format("-o {}: that is the database", output));
    check_overwrites(arguments, page_option, OutputKind::page);
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
    {db_operand, db_option, page_option, force_option},
    report};

} // namespace kvnsim
