#pragma once

#include <sys/types.h>

#include <cstdint>
#include <string>
#include <vector>

namespace kvnsim::test {

/* A configuration database of a test's own: a real server on a free port of the loopback address
 * and on a socket, in a folder of its own, with nothing kept on disk. */
class RedisServer {
public:
    /* Why there can be none; "" if there can. */
    static std::string problem();

    /* Running. A password is asked of every client. */
    explicit RedisServer(std::string password = {});
    ~RedisServer();
    RedisServer(const RedisServer &) = delete;
    RedisServer &operator=(const RedisServer &) = delete;

    /* End it at once; start an empty one on the same port. */
    void kill();
    void start();

    /* "redis://127.0.0.1:PORT/4", as kvnsim names it. */
    std::string url() const;
    std::string socket() const { return folder_ + "/socket"; }
    std::string address() const { return "127.0.0.1:" + std::to_string(port_); }

    /* Execute a command in database 4. An error of the server fails the test. Returns the reply as
     * text. */
    std::string command(const std::vector<std::string> &words) const;
    /* Put the rows of a configuration file there instead of what is there, in one transaction. */
    void load(const std::string &path) const;

private:
    bool answers() const;

    std::string folder_, password_;
    uint16_t port_ = 0;
    pid_t process_ = -1;
};

} // namespace kvnsim::test
