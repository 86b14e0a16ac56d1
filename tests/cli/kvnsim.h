#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <rapidjson/document.h>

/* The exit status of kvnsim. */
enum Status {
    well = 0,
    found = 1,
    usage = 2,
    bad_input = 3,
    request_failed = 4,
    fault_unused = 5,
    output_unread = 141
};

/* What a run of kvnsim left. */
struct Result {
    int status = -1; /* exit status; minus the signal that ended it */
    std::string out, err;
    /* Standard output as the one JSON document that it must be. */
    rapidjson::Document json() const;
};

/* Each test has an empty folder, in which kvnsim runs. */
class Kvnsim : public testing::Test {
public:
    Kvnsim();
    ~Kvnsim() override;

    /* Run with these arguments and this standard input. */
    Result kvnsim(const std::vector<std::string> &arguments, const std::string &input = "",
                  const std::vector<std::string> &environment = {});
    /* The same with standard output and standard error on a terminal; all is in Result::out. The
     * terminal has this many columns, or does not tell. */
    Result kvnsim_on_terminal(const std::vector<std::string> &arguments,
                              const std::vector<std::string> &environment = {},
                              unsigned short columns = 0);
    /* With standard error on a terminal, and interrupted by Ctrl-C as soon as that shows the text.
     */
    Result kvnsim_interrupted(const std::vector<std::string> &arguments, const std::string &text);
    /* With standard output going to this file. */
    Result kvnsim_into(const std::string &file, const std::vector<std::string> &arguments);

    /* Files of the test's folder, by their name there. */
    std::string write(const std::string &name, const std::string &text);
    std::string read(const std::string &name) const;
    bool exists(const std::string &name) const;
    std::vector<std::string> files() const;
    std::string path(const std::string &name) const { return folder_ + "/" + name; }

    /* A configuration that comes with kvnsim. */
    static std::string example(const std::string &name) { return KVN_EXAMPLES "/" + name; }

    /* Start with standard output going to this descriptor, and wait for the end. */
    pid_t start(const std::vector<std::string> &arguments, int in, int out, int err,
                const std::vector<std::string> &environment = {});
    static int wait_for(pid_t process);

private:
    std::string folder_;
};

/* A switch with one routed port: Ethernet0, MTU 9100, IPv4. */
extern const char *const one_port;
/* The same with an MTU of 1500. */
extern const char *const one_port_1500;
/* One with this many routed ports, up to 255. */
std::string ports(unsigned count);

std::vector<std::string> lines(const std::string &text);
