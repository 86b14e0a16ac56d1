#pragma once

#include <string>
#include <vector>

#include "tests/cli/kvnsim.h"

/* A kvnsim that goes on running, with what it prints. */
class Following {
public:
    /* Standard output and standard error together, or only standard output. */
    Following(Kvnsim &test, const std::vector<std::string> &arguments, bool with_messages = true);
    ~Following();
    Following(const Following &) = delete;
    Following &operator=(const Following &) = delete;

    /* What was printed from the last call on to the end of the first line that has this text. The
     * test fails when there is none within a minute. */
    std::string until(const std::string &text);
    /* Its next line, without the end. */
    std::string line();
    void send(int signal) const;
    /* The exit status; what is printed until then goes to rest. */
    int end();
    std::string rest;

private:
    /* False at the end of the output. */
    bool read_more();

    pid_t process_;
    int output_ = -1;
    std::string read_; /* and not yet returned */
};
