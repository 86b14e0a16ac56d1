#pragma once

#include <stdexcept>
#include <string>

namespace kvnsim {

/* Why a file cannot be written: "FILE: cannot be written: reason". */
class FileError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/* A file that appears whole or not at all: it is made beside the final one, and gone again unless
 * it was put in its place. Behind a symbolic link the file is replaced, not the link. */
class FileInMaking {
public:
    /* Makes it, empty. FileError, as below. */
    explicit FileInMaking(const std::string &path);
    ~FileInMaking();
    FileInMaking(const FileInMaking &) = delete;
    FileInMaking &operator=(const FileInMaking &) = delete;

    /* Where to write. */
    const std::string &path() const { return path_; }
    /* Once it is written and closed. */
    void put_in_place();

private:
    const std::string name_; /* as given */
    std::string final_, path_;
};

} // namespace kvnsim
