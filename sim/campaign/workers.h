#pragma once

#include <sys/types.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace kvnsim {

/* No child can be started: the system's limits are reached with none running. */
class WorkersError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/* How many jobs a machine can work on at once: its cores, as far as this process may use them. */
uint32_t usable_cores();

/* Works on items in forked children, each from the state that the process has at that moment:
 *
 *     Workers workers(options, done);
 *     for (uint64_t item = 1; item <= items; ++item)
 *         if (workers.start(item))
 *             workers.finish(result_of(item));
 *     workers.finish_all();
 *
 * A child has the parent's standard error, and nothing at its standard input and output, so that it
 * cannot repeat what the parent has yet to write. It neither hears of Ctrl-C and SIGTERM nor
 * outlives the parent. For a process with one thread. */
class Workers {
public:
    struct Options {
        uint32_t jobs = 0;                 /* children at most at once; 0: usable_cores() */
        std::chrono::milliseconds limit{}; /* a child that takes longer is killed; 0: never */
        std::function<bool()> stop;        /* whether to give up, asked several times a second */
    };
    /* What came of an item. */
    struct Result {
        std::string text;  /* what finish() was given */
        std::string death; /* else how the child ended: "killed by signal 11 (Segmentation fault)",
                              "ended with status 3", "killed after 60 s"; empty */
    };
    /* Called in the parent within start() and finish_all(), in the order of ending. */
    using Done = std::function<void(uint64_t item, Result result)>;

    Workers(Options options, Done done);
    /* Kills the children that still work. In a child, which comes here only by an exception, ends
     * the process. */
    ~Workers();
    Workers(const Workers &) = delete;
    Workers &operator=(const Workers &) = delete;

    /* Waits until fewer than the given number of children work, and forks. True in the child.
     * Starts nothing once stop() was true. Throws WorkersError. */
    bool start(uint64_t item);
    /* Ends the child with its result, of any length. */
    [[noreturn]] void finish(std::string_view result);
    /* Waits for the children. */
    void finish_all();
    /* Whether stop() was true: the children were killed, and done not called for them. */
    bool stopped() const { return stopped_; }

private:
    using Clock = std::chrono::steady_clock;
    struct Child {
        uint64_t item;
        pid_t process;
        int pipe;
        Clock::time_point started;
        std::string received;
        bool overdue = false;
    };

    bool try_to_fork(uint64_t item);
    void become_child(int pipe, pid_t parent);
    void wait_for_one();
    void read_from(Child &child);
    void end(Child &child);
    bool stops();
    void kill_all();

    Options options_;
    const Done done_;
    std::vector<Child> children_;
    int to_parent_ = -1; /* in a child */
    bool stopped_ = false;
};

} // namespace kvnsim
