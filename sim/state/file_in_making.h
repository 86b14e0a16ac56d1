#pragma once

#include <stdexcept>
#include <string>

namespace kvnsim {

/* Why a file cannot be written: "FILE: cannot be written: reason". */
class FileError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/* A file that appears complete or not at all: it is written beside the final one, and deleted
 * unless it was renamed to its final name. A symbolic link is kept; the file it points to is
 * replaced. What replaces a file has its permissions. What a killed process left is removed. */
class FileInMaking {
public:
    /* Creates it, empty. Throws FileError, as does put_in_place(). */
    explicit FileInMaking(const std::string &path);
    ~FileInMaking();
    FileInMaking(const FileInMaking &) = delete;
    FileInMaking &operator=(const FileInMaking &) = delete;

    /* The folder that it is written in, which must be writable. */
    static std::string folder_of(const std::string &path);

    /* Where to write. */
    const std::string &path() const { return path_; }
    /* Renames it to its final name, once it is written and closed. */
    void put_in_place();

private:
    const std::string name_; /* as given */
    std::string final_, path_;
    int file_ = -1; /* keeps the lock */
};

} // namespace kvnsim
