#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>

#include <fmt/format.h>

#include "sim/cli/console.h"
#include "sim/cli/stored.h"
#include "sim/cli/tables.h"
#include "sim/cli/verb.h"
#include "sim/report/report.h"
#include "sim/state/file_in_making.h"

namespace kvnsim {
namespace {

void write_all(const std::string &path, std::string_view text, const std::string &name)
{
    std::ofstream file(path);
    file << text;
    file.close();
    if (!file)
        throw InputError(fmt::format("{}: cannot be written: {}", name, std::strerror(errno)));
}

/* A file appears whole or not at all; a pipe or terminal is written directly. */
void write_file(const std::string &path, std::string_view text)
{
    std::error_code none;
    if (std::filesystem::exists(path, none) && !std::filesystem::is_regular_file(path, none)) {
        write_all(path, text, path);
        return;
    }
    FileInMaking file(path);
    write_all(file.path(), text, path);
    file.put_in_place();
}

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
    if (output == "-")
        console.out() << page;
    else
        write_file(output, page);
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
