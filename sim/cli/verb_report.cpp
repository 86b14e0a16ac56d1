#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fmt/format.h>

#include "sim/cli/console.h"
#include "sim/cli/tables.h"
#include "sim/cli/verb.h"
#include "sim/report/report.h"

namespace kvnsim {
namespace {

[[noreturn]] void cannot_write(const std::string &path)
{
    throw InputError(fmt::format("{}: cannot be written: {}", path, std::strerror(errno)));
}

void write_all(int file, std::string_view text, const std::string &path)
{
    while (!text.empty()) {
        const ssize_t written = ::write(file, text.data(), text.size());
        if (written < 0 && errno == EINTR)
            continue;
        if (written < 0)
            cannot_write(path);
        text.remove_prefix(static_cast<size_t>(written));
    }
}

/* A file that is gone again unless it is put in place. */
class Replacement {
public:
    explicit Replacement(const std::string &path)
        : path_(path), temporary_(fmt::format("{}.{}.part", path, ::getpid())),
          file_(::open(temporary_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666))
    {
        if (file_ < 0)
            cannot_write(path_);
    }
    ~Replacement()
    {
        ::close(file_);
        ::unlink(temporary_.c_str());
    }
    Replacement(const Replacement &) = delete;
    Replacement &operator=(const Replacement &) = delete;

    void put(std::string_view text)
    {
        write_all(file_, text, path_);
        if (::fsync(file_) != 0 || ::rename(temporary_.c_str(), path_.c_str()) != 0)
            cannot_write(path_);
    }

private:
    const std::string path_, temporary_;
    const int file_;
};

/* A file appears whole or not at all; into a pipe or a terminal the text is written as it is. */
void write_file(const std::string &path, std::string_view text)
{
    struct stat found {};
    if (::stat(path.c_str(), &found) != 0 || S_ISREG(found.st_mode)) {
        /* Behind a symbolic link the file is replaced, not the link. */
        std::error_code none;
        const auto real = std::filesystem::canonical(path, none);
        Replacement(none ? path : real.string()).put(text);
        return;
    }
    const int file = ::open(path.c_str(), O_WRONLY | O_CLOEXEC);
    if (file < 0)
        cannot_write(path);
    try {
        write_all(file, text, path);
    } catch (...) {
        ::close(file);
        throw;
    }
    ::close(file);
}

int report(const Arguments &arguments, Console &console)
{
    const std::string &database = arguments.value("--db");
    const std::string &output = arguments.value("-o");
    std::error_code none;
    if (std::filesystem::equivalent(database, output, none))
        throw UsageError(fmt::format("-o {}: that is the database", output));
    const Snapshot snapshot = load(database);
    const std::string page =
        report_page(snapshot, {{"attributes", attribute_values(snapshot)},
                               {"shared-database", shared_database(snapshot)}});
    if (output == "-")
        console.out() << page;
    else
        write_file(output, page);
    return exit_well;
}

const Registration registration(
    {"report",
     "draw the switch: a page with front panel, object graph, tables and findings",
     "kvnsim report --db leaf.db -o leaf.html\n",
     {db_option,
      {"-o", "HTML", "the page to write, one file that needs no network; - for standard output",
       Takes::text, Times::required}},
     report});

} // namespace
} // namespace kvnsim
