#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>

#include "sim/config/configuration.h"

/* A configuration that changes: a file, or the rows of a running configuration database. */
namespace kvnsim {

/* Why a source cannot be read or followed now, without its name. */
class SourceError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

class Source {
public:
    virtual ~Source() = default;

    /* The file, or the database's URL without a password. */
    const std::string &name() const { return name_; }

    /* Start to notice changes, before the first reading and again after each SourceError. Returns
     * how they are noticed: "inotify tells of changes". Throws SourceError. */
    virtual std::string open() = 0;
    /* Wait that long for a change, less when there is one or a signal ends the work. Throws
     * SourceError; after that, and before open(), it just waits, perhaps less when the source is
     * back. */
    virtual bool changed_within(std::chrono::milliseconds time) = 0;
    /* The configuration, if it is another than the last one read. Throws SourceError. */
    virtual std::optional<Configuration> read() = 0;

protected:
    explicit Source(std::string name) : name_(std::move(name)) {}

private:
    const std::string name_;
};

/* The source of this name. UsageError for a malformed URL and for standard input. */
std::unique_ptr<Source> make_source(const std::string &given);

} // namespace kvnsim
