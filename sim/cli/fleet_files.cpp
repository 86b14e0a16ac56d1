#include "sim/cli/fleet_files.h"

#include <filesystem>
#include <map>

#include <fmt/format.h>

#include "sim/cli/grammar.h"
#include "sim/config/database_url.h"

namespace kvnsim {
namespace {

namespace fs = std::filesystem;

class Listed {
public:
    void add_operand(const std::string &name)
    {
        std::error_code problem;
        const fs::file_status status = fs::status(name, problem);
        if (fs::is_directory(status))
            add_folder(name);
        else if (fs::exists(status) && !fs::is_regular_file(status))
            add(name, FleetFile::Kind::unreadable, "it is no file");
        else
            add(name, FleetFile::Kind::configuration); /* reading it says what is wrong */
    }

    std::vector<FleetFile> take()
    {
        std::vector<FleetFile> files;
        files.reserve(by_name_.size());
        for (auto &[name, file] : by_name_)
            files.push_back(std::move(file));
        return files;
    }

private:
    void add_folder(const fs::path &folder)
    {
        std::error_code problem;
        for (fs::directory_iterator entry(folder, problem), end; !problem && entry != end;
             entry.increment(problem)) {
            std::error_code none; /* then it is no file */
            if (entry->is_directory(none) && !entry->is_symlink(none))
                add_folder(entry->path());
            else
                add(entry->path().string(), kind_of(*entry));
        }
        if (problem)
            add(folder.string(), FleetFile::Kind::unreadable, problem.message());
    }

    static FleetFile::Kind kind_of(const fs::directory_entry &entry)
    {
        std::error_code none;
        const bool is_file = entry.is_regular_file(none) ||
                             (entry.is_symlink(none) && !entry.exists(none)); /* leads nowhere */
        return is_file && entry.path().extension() == ".json" ? FleetFile::Kind::configuration
                                                              : FleetFile::Kind::other;
    }

    void add(const std::string &name, FleetFile::Kind kind, const std::string &problem = "")
    {
        by_name_[name] = {name, kind, problem};
    }

    std::map<std::string, FleetFile> by_name_;
};

} // namespace

std::vector<FleetFile> fleet_files(const std::vector<std::string> &operands)
{
    Listed listed;
    for (const std::string &operand : operands) {
        if (operand == "-" || is_database_url(operand))
            throw UsageError(fmt::format(
                "{}: a fleet is of files and folders; `kvnsim run` takes {}", operand,
                operand == "-" ? "standard input" : "the URL of a running configuration"));
        listed.add_operand(operand);
    }
    return listed.take();
}

} // namespace kvnsim
