/* Writes go to a temporary file beside the final one, which a rename replaces when all is written
 * and synced. Readers see the old file or the new one, never a part. */
#include "sim/state/file_in_making.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace kvnsim {
namespace {

[[noreturn]] void fail(const std::string &path, int reason)
{
    throw FileError(path + ": cannot be written: " + std::strerror(reason));
}

} // namespace

FileInMaking::FileInMaking(const std::string &path) : name_(path), final_(path)
{
    if (char *target = ::realpath(path.c_str(), nullptr)) {
        final_ = target;
        std::free(target);
    }
    std::string name = final_ + ".XXXXXX";
    const int file = ::mkstemp(name.data());
    if (file < 0)
        fail(name_, errno);
    path_ = name;
    const mode_t mask = ::umask(0);
    ::umask(mask);
    struct stat replaced;
    ::fchmod(file,
             ::stat(final_.c_str(), &replaced) == 0 ? replaced.st_mode & 07777 : 0666 & ~mask);
    ::close(file);
}

FileInMaking::~FileInMaking()
{
    if (!path_.empty())
        ::unlink(path_.c_str());
}

void FileInMaking::put_in_place()
{
    const int file = ::open(path_.c_str(), O_RDONLY | O_CLOEXEC);
    const bool kept = file >= 0 && ::fsync(file) == 0;
    const int reason = errno;
    if (file >= 0)
        ::close(file);
    if (!kept)
        fail(name_, reason);
    if (::rename(path_.c_str(), final_.c_str()) != 0)
        fail(name_, errno);
    path_.clear();
}

} // namespace kvnsim
