/* Writes go to a temporary file beside the final one, which a rename replaces when all is written
 * and synced. Readers see the old file or the new one, never a part. The temporary file is locked
 * as long as its process lives: one without a lock was left by a process that was killed, and is
 * removed by the next one that writes the same file. */
#include "sim/state/file_in_making.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string_view>
#include <system_error>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "sim/types/text.h"

namespace kvnsim {
namespace {

[[noreturn]] void fail(const std::string &path, int reason)
{
    throw FileError(path + ": cannot be written: " + std::strerror(reason));
}

constexpr std::string_view mark = ".kvnsim-", unique = "XXXXXX";

bool lock(int file)
{
    return ::flock(file, LOCK_EX | LOCK_NB) == 0;
}

/* Where a symbolic link leads; else the path itself. */
std::string target_of(const std::string &path)
{
    const std::unique_ptr<char, void (*)(void *)> target(::realpath(path.c_str(), nullptr),
                                                         std::free);
    return target ? target.get() : path;
}

std::string parent_of(const std::filesystem::path &final)
{
    return final.has_parent_path() ? final.parent_path() : ".";
}

void remove_left_behind(const std::filesystem::path &final)
{
    const std::string begin = final.filename().string() + std::string(mark);
    const std::string folder = parent_of(final);
    std::error_code none;
    for (std::filesystem::directory_iterator entry(folder, none), end; entry != end;
         entry.increment(none)) {
        const std::string name = entry->path().filename().string();
        if (name.size() != begin.size() + unique.size() || !starts_with(name, begin))
            continue;
        const int file =
            ::open(entry->path().c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
        if (file < 0)
            continue;
        if (lock(file))
            ::unlink(entry->path().c_str());
        ::close(file);
    }
}

} // namespace

std::string FileInMaking::folder_of(const std::string &path)
{
    return parent_of(target_of(path));
}

FileInMaking::FileInMaking(const std::string &path) : name_(path), final_(target_of(path))
{
    remove_left_behind(final_);
    /* Another process may remove it before it is locked. */
    struct stat made {};
    while (made.st_nlink == 0) {
        if (file_ >= 0)
            ::close(file_);
        path_ = final_ + std::string(mark) + std::string(unique);
        file_ = ::mkostemp(path_.data(), O_CLOEXEC);
        if (file_ < 0)
            fail(name_, errno);
        lock(file_);
        ::fstat(file_, &made);
    }
    const mode_t mask = ::umask(0);
    ::umask(mask);
    struct stat replaced;
    ::fchmod(file_,
             ::stat(final_.c_str(), &replaced) == 0 ? replaced.st_mode & 07777 : 0666 & ~mask);
}

FileInMaking::~FileInMaking()
{
    if (!path_.empty())
        ::unlink(path_.c_str());
    ::close(file_);
}

void FileInMaking::put_in_place()
{
    if (::fsync(file_) != 0)
        fail(name_, errno);
    if (::rename(path_.c_str(), final_.c_str()) != 0)
        fail(name_, errno);
    path_.clear();
}

} // namespace kvnsim
