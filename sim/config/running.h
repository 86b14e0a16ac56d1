#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>

#include "sim/config/configuration.h"
#include "sim/config/database_url.h"

/* The configuration in a running configuration database. */
namespace kvnsim {

/* Why it cannot be read, without the URL. */
class DatabaseError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/* What a configuration database holds. */
struct RunningRows {
    std::map<std::string, std::map<std::string, std::string>> rows; /* "TABLE|key" -> fields */
    uint64_t other_keys = 0; /* no hashes, or not of the form TABLE|key */

    friend bool operator==(const RunningRows &a, const RunningRows &b)
    {
        return a.rows == b.rows && a.other_keys == b.other_keys;
    }
    friend bool operator!=(const RunningRows &a, const RunningRows &b) { return !(a == b); }
};

/* Read a configuration from such rows. Findings have a table and a key, and no line; name is the
 * file in them. */
Configuration read_configuration(const std::string &name, const RunningRows &rows);

/* A connection. It only reads: nothing in the server is changed. Waiting for the server ends with a
 * DatabaseError after a few seconds, or when stop returns true, which is asked often. */
class RunningDatabase {
public:
    /* Connects, authenticates and selects the database. */
    explicit RunningDatabase(const DatabaseUrl &url, std::function<bool()> stop = {});
    ~RunningDatabase();
    RunningDatabase(const RunningDatabase &) = delete;
    RunningDatabase &operator=(const RunningDatabase &) = delete;

    /* All rows. A row that is changed meanwhile is read before or after. */
    RunningRows read();

    /* Ask the server to tell of each change from now on. False if it does not: its notifications
     * are off, or not for this user. Nothing can be read after true. */
    bool follow();
    /* After follow(): whether a change was told, waiting that long for the first. Ends early when
     * stop returns true. */
    bool changed_within(std::chrono::milliseconds time);

private:
    class Connection;
    std::unique_ptr<Connection> connection_;
};

} // namespace kvnsim
