#include "sim/cli/page_file.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>

#include <fmt/format.h>

#include "sim/cli/console.h"
#include "sim/cli/verb.h"
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

} // namespace

void write_page(const std::string &path, std::string_view page, Console &console)
{
    if (path == "-")
        console.out() << page;
    else
        write_file(path, page);
}

} // namespace kvnsim
