#pragma once

#include <cstdint>
#include <string>
#include <string_view>

/* Where a running configuration database is. */
namespace kvnsim {

struct DatabaseUrl {
    std::string host; /* a name or an address; empty with a socket */
    uint16_t port = 6379;
    std::string socket;    /* the path of a Unix socket; empty with a host */
    uint32_t database = 4; /* where configurations are by convention */
    std::string user, password;

    /* Complete, and without user and password: "redis://127.0.0.1:6379/4",
     * "redis+unix:///run/db.sock?db=4". */
    std::string name() const;
};

/* Whether it is meant as such a URL and not as a file's name. */
bool is_database_url(std::string_view text);

/* redis://HOST[:PORT][/DATABASE] or redis+unix:///PATH[?db=DATABASE], with [USER]:PASSWORD@ before
 * HOST or /PATH where the server wants one; there %40 is an @. Throws std::invalid_argument, with
 * no password in its text. */
DatabaseUrl parse_database_url(const std::string &text);

/* The text with *** for user and password of each such URL in it. */
std::string without_passwords(std::string_view text);

} // namespace kvnsim
