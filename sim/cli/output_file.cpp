#include "sim/cli/output_file.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>

#include <fmt/format.h>

#include "sim/campaign/results_file.h"
#include "sim/cli/console.h"
#include "sim/fwm/event_file.h"
#include "sim/record/recording.h"
#include "sim/report/page.h"
#include "sim/state/file_in_making.h"

namespace kvnsim {
namespace {

/* How such a file begins; '#' is any digit. */
std::string beginning(OutputKind kind)
{
    switch (kind) {
    case OutputKind::recording:
        return fmt::format("{{\"{}\":", recording_key);
    case OutputKind::event_history:
        return std::string(event_file_magic);
    case OutputKind::debug_file:
        return "[####-##-## ##:##:##.######]";
    case OutputKind::page:
        return std::string(page_beginning());
    case OutputKind::results:
        return fmt::format("{{\"{}\":", results_key);
    }
    return "";
}

const char *to_text(OutputKind kind)
{
    switch (kind) {
    case OutputKind::recording:
        return "a recording";
    case OutputKind::event_history:
        return "an event history";
    case OutputKind::debug_file:
        return "a debug file";
    case OutputKind::page:
        return "a page of kvnsim";
    case OutputKind::results:
        return "a file of results";
    }
    return "";
}

bool fits(char wanted, char found)
{
    return wanted == '#' ? found >= '0' && found <= '9' : found == wanted;
}

/* An empty file, and what is no file, as a pipe, can be written by anybody. */
bool holds_something_else(const std::string &path, OutputKind kind)
{
    std::error_code none;
    if (!std::filesystem::is_regular_file(path, none) ||
        std::filesystem::file_size(path, none) == 0)
        return false;
    const std::string wanted = beginning(kind);
    std::string found(wanted.size(), '\0');
    std::ifstream file(path, std::ios::binary);
    file.read(found.data(), static_cast<std::streamsize>(found.size()));
    return !std::equal(wanted.begin(), wanted.end(), found.begin(), fits);
}

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

} // namespace

void check_overwrites(const Arguments &arguments, const Option &option, OutputKind kind)
{
    const std::string &path = arguments.value(option.name());
    if (!path.empty() && !arguments.has(force_option.name()) && holds_something_else(path, kind))
        throw InputError(fmt::format("{} {}: the file is there and is not {}; {} overwrites it",
                                     option.name(), path, to_text(kind), force_option.name()));
}

void write_page(const std::string &path, std::string_view page, Console &console)
{
    if (path == "-")
        console.out() << page;
    else
        write_file(path, page);
}

} // namespace kvnsim
